#include "solvereport.h"

#include "values.h"
#include "zkitdclib.h"

namespace zdb::tool {

namespace {

std::string line(const char* name, const std::string& value) {
  return std::string(name) + std::string(12 - std::string(name).size(), ' ') + value + '\n';
}

std::string sizeText(void* instance) {
  std::string text = std::to_string(zkitRows(instance)) + " rows, " +
                     std::to_string(zkitColumns(instance)) + " columns, " +
                     std::to_string(zkitNonZeros(instance)) + " non-zeros";
  const int integers = zkitIntegerColumns(instance);
  return integers == 0 ? text : text + ", " + std::to_string(integers) + " integer columns";
}

}  // namespace

bool SolveReport::hasObjective() const {
  return model_.hasSolution() && zkitObjectiveColumn(model_.instance()) >= 0;
}

void SolveReport::print(Console& console) const {
  void* instance = model_.instance();
  ValueFormat format(model_.database().specialValues());
  console.write(line("model", sizeText(instance)));
  console.write(line("status", zkitModelStatusText(zkitModelStatus(instance))));
  console.write(line("solve", zkitSolveStatusText(zkitSolveStatus(instance))));
  if (hasObjective()) console.write(line("objective", format.tenDigits(zkitObjective(instance))));
  console.write(line("iterations", std::to_string(zkitIterations(instance))));
}

std::string SolveReport::summary() const {
  void* instance = model_.instance();
  ValueFormat format(model_.database().specialValues());
  std::string text = zkitModelStatusText(zkitModelStatus(instance));
  if (hasObjective()) text += ", objective " + format.tenDigits(zkitObjective(instance));
  return text;
}

void SolveReport::writeJson(const std::vector<Shown>& shown, Console& console) const {
  void* instance = model_.instance();
  JsonWriter json(console);
  json.beginObject().field("rows", zkitRows(instance)).field("columns", zkitColumns(instance));
  json.field("nonZeros", zkitNonZeros(instance));
  json.field("integerColumns", zkitIntegerColumns(instance));
  json.field("status", zkitModelStatusText(zkitModelStatus(instance)));
  json.field("solve", zkitSolveStatusText(zkitSolveStatus(instance)));
  if (hasObjective()) json.field("objective", zkitObjective(instance));
  json.field("iterations", zkitIterations(instance));
  if (model_.hasSolution() && !shown.empty()) {
    json.key("shown");
    writeShown(shown, model_.database(), json);
  }
  json.end();
}

}  // namespace zdb::tool
