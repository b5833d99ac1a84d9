#include "solvereport.h"

#include <cmath>
#include <cstdio>

#include "values.h"
#include "zkitdclib.h"

namespace zdb::tool {

namespace {

std::string sizeText(void* instance) {
  std::string text = std::to_string(zkitRows(instance)) + " rows, " +
                     std::to_string(zkitColumns(instance)) + " columns, " +
                     std::to_string(zkitNonZeros(instance)) + " non-zeros";
  const int integers = zkitIntegerColumns(instance);
  return integers == 0 ? text : text + ", " + std::to_string(integers) + " integer columns";
}

std::string percent(double ratio) {
  char text[32];
  std::snprintf(text, sizeof text, "%.4g %%", 100 * ratio);
  return text;
}

}  // namespace

bool SolveReport::hasObjective() const {
  return model_.hasSolution() && zkitObjectiveColumn(model_.instance()) >= 0;
}

bool SolveReport::hasBound() const {
  void* instance = model_.instance();
  const int status = zkitModelStatus(instance);
  const bool isSearch =
      status == ZKIT_INTEGER_SOLUTION || status == ZKIT_FEASIBLE || status == ZKIT_INTERMEDIATE;
  return isSearch && zkitIntegerColumns(instance) > 0 && !std::isnan(zkitBound(instance));
}

void SolveReport::print(Console& console) const {
  void* instance = model_.instance();
  ValueFormat format(model_.database().specialValues());
  console.write(reportLine("model", sizeText(instance)));
  console.write(reportLine("solver", solver_));
  console.write(reportLine("status", zkitModelStatusText(zkitModelStatus(instance))));
  console.write(reportLine("solve", zkitSolveStatusText(zkitSolveStatus(instance))));
  if (hasObjective())
    console.write(reportLine("objective", format.tenDigits(zkitObjective(instance))));
  if (hasBound()) console.write(reportLine("bound", format.tenDigits(zkitBound(instance))));
  if (hasBound() && hasObjective()) console.write(reportLine("gap", percent(zkitGap(instance))));
  console.write(reportLine("iterations", std::to_string(zkitIterations(instance))));
  if (!infeasible_) return;
  const char* name = "infeasible";
  for (const std::string& each : infeasible_->lines()) {
    console.write(reportLine(name, printable(each)));
    name = "";
  }
}

void SolveReport::note(Console& console) const {
  void* instance = model_.instance();
  ValueFormat format(model_.database().specialValues());
  std::string text = zkitModelStatusText(zkitModelStatus(instance));
  if (hasObjective()) text += ", objective " + format.tenDigits(zkitObjective(instance));
  if (hasBound() && hasObjective()) text += ", gap " + percent(zkitGap(instance));
  console.note(text);
  if (!infeasible_) return;
  for (const std::string& each : infeasible_->lines()) console.note(each);
}

void SolveReport::writeJson(const std::vector<Shown>& shown, Console& console) const {
  void* instance = model_.instance();
  JsonWriter json(console);
  json.beginObject().field("rows", zkitRows(instance)).field("columns", zkitColumns(instance));
  json.field("nonZeros", zkitNonZeros(instance));
  json.field("integerColumns", zkitIntegerColumns(instance));
  json.field("solver", solver_);
  json.field("status", zkitModelStatusText(zkitModelStatus(instance)));
  json.field("solve", zkitSolveStatusText(zkitSolveStatus(instance)));
  if (hasObjective()) json.field("objective", zkitObjective(instance));
  if (hasBound()) json.field("bound", zkitBound(instance));
  if (hasBound() && hasObjective()) json.field("gap", zkitGap(instance));
  json.field("iterations", zkitIterations(instance));
  if (infeasible_) {
    json.key("infeasible");
    infeasible_->writeJson(json);
  }
  if (model_.hasSolution() && !shown.empty()) {
    json.key("shown");
    writeShown(shown, model_.database(), json);
  }
  json.end();
}

}  // namespace zdb::tool
