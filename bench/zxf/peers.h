// The peers of the exchange file: an SQLite file and plain records through stdio.
#pragma once

#include "data.h"

/// Each writer writes a new file and flushes it to disk; each reader returns a sum over all fields.
void writeSqlite(const char* path, const std::vector<Row>& rows);
double readSqlite(const char* path);

void writeStdio(const char* path, const std::vector<Row>& rows);
double readStdio(const char* path);
