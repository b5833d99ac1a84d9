/* A line chart as an SVG file. */
#ifndef DIET_CHART_H
#define DIET_CHART_H

typedef struct {
  const char* title;
  const char* xTitle;
  const char* yTitle;
  const double* values; /* positive */
  int count;            /* at least 2 */
  double base;          /* drawn as a dashed line */
  const char* baseText;
} Chart;

/* Draws the chart. Returns 1, or 0 after a message. */
int chartWrite(const Chart* chart, const char* file);

#endif
