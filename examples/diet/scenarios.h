/* The cheapest diet, and what it costs when prices and needs change. */
#ifndef DIET_SCENARIOS_H
#define DIET_SCENARIOS_H

/* Solves the model of the data in `file` and prints the diet; then solves it for 200 days with
 * other prices and needs, each solve starting where the last one ended, prints the cheapest, median
 * and dearest day and draws the costs of all in the file `chart` (SVG). Returns 1, or 0
 * after a message. */
int dietScenarios(const char* file, const char* chart);

#endif
