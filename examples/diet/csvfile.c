#include "csvfile.h"

#include <csv.h>
#include <errno.h>
#include <math.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* The state of reading a file: the row being collected and the texts that it points to. */
typedef struct {
  CsvRow row;
  char headingText[CSV_MAX_ROW_TEXT];
  char text[CSV_MAX_ROW_TEXT];
  size_t textLength;
  int fieldCount;
  int headingCount; /* 0 until the heading has been read */
  int ok;           /* 0 once a message has been printed */
  CsvRowReader readHeading;
  CsvRowReader readRow;
  void* user;
} Reader;

int csvFail(const CsvRow* row, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  fprintf(stderr, "diet_demo: %s:%d: ", row->file, row->line);
  vfprintf(stderr, format, arguments);
  fputc('\n', stderr);
  va_end(arguments);
  return 0;
}

int csvNumber(const CsvRow* row, int field, double* number) {
  const char* text = row->fields[field];
  char* end = NULL;
  *number = strtod(text, &end);
  const int isDecimal = *text != '\0' && text[strspn(text, "0123456789.eE+-")] == '\0';
  if (!isDecimal || *end != '\0' || !isfinite(*number)) {
    return csvFail(row, "%s is \"%s\", which is not a number", row->heading[field], text);
  }
  if (*number < 0)
    return csvFail(row, "%s is %s, but must not be negative", row->heading[field], text);
  return 1;
}

static void keepField(Reader* reader, const char* text, size_t length) {
  if (strlen(text) != length) {
    reader->ok = csvFail(&reader->row, "the text contains a zero byte");
  } else if (reader->fieldCount == CSV_MAX_FIELDS) {
    reader->ok = csvFail(&reader->row, "more than %d fields", CSV_MAX_FIELDS);
  } else if (reader->textLength + length >= CSV_MAX_ROW_TEXT) {
    reader->ok = csvFail(&reader->row, "the row is longer than %d bytes", CSV_MAX_ROW_TEXT - 1);
  } else {
    char* copy = memcpy(reader->text + reader->textLength, text, length + 1);
    reader->row.fields[reader->fieldCount++] = copy;
    reader->textLength += length + 1;
  }
}

static void onField(void* text, size_t length, void* user) {
  Reader* reader = user;
  if (reader->ok) keepField(reader, text, length);
}

static int finishHeading(Reader* reader) {
  memcpy(reader->headingText, reader->text, sizeof reader->text);
  for (int i = 0; i < reader->fieldCount; ++i) {
    reader->row.heading[i] = reader->headingText + (reader->row.fields[i] - reader->text);
  }
  reader->headingCount = reader->row.count;
  return reader->readHeading(&reader->row, reader->user);
}

static int finishRow(Reader* reader) {
  reader->row.count = reader->fieldCount;
  if (reader->headingCount == 0) return finishHeading(reader);
  if (reader->fieldCount != reader->headingCount) {
    return csvFail(&reader->row, "%d fields, but the heading has %d", reader->fieldCount,
                   reader->headingCount);
  }
  return reader->readRow(&reader->row, reader->user);
}

static void onRowEnd(int terminator, void* user) {
  (void)terminator;
  Reader* reader = user;
  if (reader->ok) reader->ok = finishRow(reader);
  reader->fieldCount = 0;
  reader->textLength = 0;
}

static void checkParsed(Reader* reader, const struct csv_parser* parser, int parsed) {
  if (parsed || !reader->ok) return;
  reader->ok = parser->status == CSV_EPARSE
                   ? csvFail(&reader->row, "a quote is inside a field or not closed")
                   : csvFail(&reader->row, "out of memory");
}

static int hasOddQuotes(const char* text, size_t length) {
  int odd = 0;
  for (size_t i = 0; i < length; ++i) odd ^= text[i] == '"';
  return odd;
}

/* Line by line, since the parser does not report its position; an open quote continues a row. */
static void parseLines(Reader* reader, struct csv_parser* parser, FILE* input) {
  char* line = NULL;
  size_t capacity = 0;
  ssize_t length;
  int quoteIsOpen = 0;
  for (int number = 1; reader->ok && (length = getline(&line, &capacity, input)) >= 0; ++number) {
    const size_t size = (size_t)length;
    if (!quoteIsOpen) reader->row.line = number;
    quoteIsOpen ^= hasOddQuotes(line, size);
    checkParsed(reader, parser, csv_parse(parser, line, size, onField, onRowEnd, reader) == size);
  }
  free(line);
}

static int readAll(Reader* reader, FILE* input) {
  struct csv_parser parser;
  csv_init(&parser, CSV_STRICT | CSV_STRICT_FINI | CSV_APPEND_NULL);
  parseLines(reader, &parser, input);
  if (reader->ok && ferror(input)) reader->ok = csvFail(&reader->row, "%s", strerror(errno));
  if (reader->ok) {
    checkParsed(reader, &parser, csv_fini(&parser, onField, onRowEnd, reader) == 0);
  }
  csv_free(&parser);
  if (reader->ok && reader->headingCount == 0) return csvFail(&reader->row, "the file is empty");
  return reader->ok;
}

int csvReadFile(const char* file, CsvRowReader readHeading, CsvRowReader readRow, void* user) {
  FILE* input = fopen(file, "r");
  if (input == NULL) {
    fprintf(stderr, "diet_demo: cannot open %s: %s\n", file, strerror(errno));
    return 0;
  }
  Reader reader = {.row = {.file = file, .line = 1},
                   .ok = 1,
                   .readHeading = readHeading,
                   .readRow = readRow,
                   .user = user};
  const int done = readAll(&reader, input);
  fclose(input);
  return done;
}
