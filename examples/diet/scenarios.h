// The cheapest diet, and what it costs when prices and needs change.
#pragma once

#include <string>

/// Solves the model of the data in `file` and prints the diet; then solves it for 200 days with
/// other prices and needs, each solve starting where the last one ended, prints the cheapest,
/// median and dearest day and draws the costs of all in the file `chart` (SVG).
void runScenarios(const std::string& file, const std::string& chart);
