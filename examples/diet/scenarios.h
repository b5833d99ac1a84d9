/* The cheapest diet, and what it costs when prices and needs change. */
#ifndef DIET_SCENARIOS_H
#define DIET_SCENARIOS_H

/* Solves the model of the data in `file` and prints the diet; then solves it for 200 days with
 * other prices and needs, each from where the one before ended, prints the cheapest, median and
 * dearest day and draws the cost of all to the file `chart` (SVG). 1, or 0 after a message. */
int dietScenarios(const char* file, const char* chart);

#endif
