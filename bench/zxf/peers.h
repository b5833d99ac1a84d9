// What the exchange file is measured against: a SQLite file and plain records through stdio.
#pragma once

#include "data.h"

// Each writes a new file and brings it to the disk; each reader returns a sum that needs every
// field.
void writeSqlite(const char* path, const std::vector<Row>& rows);
double readSqlite(const char* path);

void writeStdio(const char* path, const std::vector<Row>& rows);
double readStdio(const char* path);
