#include "kit/modelfile/wire.h"

#include <algorithm>
#include <cstdint>

#include "contract/packing.h"
#include "kit/modelfile/errors.h"

namespace zdb::kit::modelfile {

namespace {

// The one list of fields, for both directions.
template <class Wire, class Model>
void visit(Wire& wire, Model& model) {
  wire.text(model.name);
  wire.list(model.rows, [](Wire& w, auto& row) {
    w.text(row.name);
    w.number(row.lower);
    w.number(row.upper);
  });
  wire.list(model.columns, [](Wire& w, auto& column) {
    w.text(column.name);
    w.number(column.lower);
    w.number(column.upper);
    w.number(column.isInteger);
  });
  wire.list(model.coefficients, [](Wire& w, auto& entry) { w.number(entry); });
  wire.text(model.objectiveName);
  wire.number(model.objectiveConstant);
  wire.number(model.maximize);
  wire.number(model.objectiveRow);
  wire.list(model.notes, [](Wire& w, auto& note) { w.text(note); });
}

[[noreturn]] void failCut() {
  throw ReadError("the process that translated the model sent an incomplete one");
}

bool isIn(int number, int first, std::size_t count) {
  return number >= first && number <= static_cast<std::int64_t>(count);
}

}  // namespace

std::string packModel(const FileModel& model) {
  contract::Packer wire;
  visit(wire, model);
  return wire.take();
}

FileModel unpackModel(const std::string& bytes) {
  contract::Unpacker wire(bytes);
  FileModel model;
  try {
    visit(wire, model);
  } catch (const contract::CutError&) {
    failCut();
  }
  const bool isSound =
      isIn(model.objectiveRow, 0, model.rows.size()) &&
      std::all_of(
          model.coefficients.begin(), model.coefficients.end(), [&](const FileCoefficient& c) {
            return isIn(c.row, 0, model.rows.size()) && isIn(c.column, 1, model.columns.size());
          });
  if (!isSound || !wire.isEmpty()) failCut();
  return model;
}

}  // namespace zdb::kit::modelfile
