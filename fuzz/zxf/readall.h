// Reads whatever the exchange file interface gives of one file.
#pragma once

// Opens `path` and calls every reading function over all labels, texts, symbols and records,
// stopping a symbol at its first failure. Ends the process when something comes out that must not:
// a label number outside the labels, keys out of order, a text that is too long. Returns the number
// of errors counted, those of opening included.
int readAll(const char* path);
