/* Two data files side by side. */
#ifndef DIET_COMPARE_H
#define DIET_COMPARE_H

/* Reads both files and prints the number of records of each symbol and every parameter record of
 * `after` that is new or has another value than in `before`. Returns 1, or 0 after a message. */
int dietCompare(const char* before, const char* after);

#endif
