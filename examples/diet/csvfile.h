/* Reading a CSV file with a heading, row by row. */
#ifndef DIET_CSVFILE_H
#define DIET_CSVFILE_H

enum { CSV_MAX_FIELDS = 64, CSV_MAX_ROW_TEXT = 4096 };

/* One row; its contents are valid only during the call that receives it. */
typedef struct {
  const char* file;
  int line; /* where the row begins, from 1 */
  int count;
  const char* heading[CSV_MAX_FIELDS]; /* the fields of the first row */
  const char* fields[CSV_MAX_FIELDS];
} CsvRow;

/* Receives a row and returns 1, or 0 to stop after it has printed a message. */
typedef int (*CsvRowReader)(const CsvRow* row, void* user);

/* Calls readHeading for the first row and readRow for all others, which must have as many fields as
 * the heading. Blank lines are skipped. Returns 1, or 0 after a message on standard error. */
int csvReadFile(const char* file, CsvRowReader readHeading, CsvRowReader readRow, void* user);

/* Prints "diet_demo: <file>:<line>: <message>" on standard error. Returns 0. */
__attribute__((format(printf, 2, 3))) int csvFail(const CsvRow* row, const char* format, ...);

/* Gets the number in a field: decimal, finite and not negative. Returns 1, or 0 after a message. */
int csvNumber(const CsvRow* row, int field, double* number);

#endif
