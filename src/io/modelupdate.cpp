// Writing the values of a parameter to a model instance.
#include <string>
#include <vector>

#include "core/specialvalues.h"
#include "io/datarecords.h"
#include "io/modeldictionary.h"
#include "io/modelsource.h"
#include "loaders/zmi.h"

namespace zdb {

using namespace loaders;

namespace {

enum UpdateAction : int {
  ActionFix = 0,
  ActionUpper = 1,
  ActionLower = 2,
  ActionBounds = 3,
  ActionLevel = 4,
  ActionMarginal = 5,
};

/// What entries without a record get; any other number means their base value.
enum UpdateType : int { UpdateZero = 0, UpdateNothing = 2 };

/// A value for an entry; null means its base value.
using Value = const double*;

/// One update: walks the entries of a model symbol and sets what the action says.
class SymbolUpdate {
 public:
  SymbolUpdate(ZDB& db, const ModelLink& link, const DictionarySymbol& symbol, int action)
      : db_(db),
        link_(link),
        instance_(link.instance),
        symbol_(symbol),
        action_(action),
        entries_(symbol.isVariable() ? link.columns : link.rows) {}

  bool run(DataRecords& data, int updateType);
  int matches() const { return matches_; }

 private:
  bool readKey(int entry, int* key) const;
  bool valueOf(double recorded, double& value) const;
  bool apply(int entry, Value value) const;
  void fix(int column, double value) const;
  void setUpper(int column, Value value) const;
  void setLower(int column, Value value) const;
  void setLevel(int entry, double value) const;
  void setMarginal(int entry, double value) const;
  double ownBound(double (*get)(zmiRec*, int), int column) const;
  double valueOr(Value value, const std::vector<double>& columns, const std::vector<double>& rows,
                 int entry) const {
    if (value != nullptr) return *value;
    return (symbol_.isVariable() ? columns : rows)[static_cast<std::size_t>(entry)];
  }

  ZDB& db_;
  const ModelLink& link_;
  zmiRec* instance_;
  const DictionarySymbol& symbol_;
  int action_;
  int entries_;  ///< columns or rows of the instance when the link was prepared
  int matches_ = 0;
};

bool SymbolUpdate::run(DataRecords& data, int updateType) {
  static constexpr double zero = 0.0;
  const Value missing = updateType == UpdateZero ? &zero : nullptr;
  int key[kMaxDim] = {};
  for (RowColWalk walk(link_.dictionary, symbol_); !walk.isAtEnd(); walk.next()) {
    const int entry = walk.current();
    if (!readKey(entry, key)) return false;
    const double* recorded = data.find(key);
    if (recorded == nullptr) {
      if (updateType != UpdateNothing && !apply(entry, missing)) return false;
      continue;
    }
    ++matches_;
    double value;
    if (!valueOf(*recorded, value) || !apply(entry, &value)) return false;
  }
  return true;
}

bool SymbolUpdate::readKey(int entry, int* key) const {
  int symbol;
  int dim;
  const auto getKey = symbol_.isVariable() ? zlxColUels : zlxRowUels;
  const bool isKnown = getKey(link_.dictionary, entry, &symbol, key, &dim) != 0;
  return (isKnown && link_.labels->translate(key, symbol_.dim)) ||
         db_.setLastError(ErrorModel, "The dictionary gives entry %d a label that it does not have",
                          entry);
}

bool SymbolUpdate::valueOf(double recorded, double& value) const {
  constexpr double tooLarge = kLibrarySpecialValues[SpecialUndefined];
  value = sameBits(recorded, kLibrarySpecialValues[SpecialEpsilon]) ? 0.0 : recorded;
  const bool isUsable = value < tooLarge || value == kLibrarySpecialValues[SpecialPlusInfinity];
  return isUsable || db_.setLastError(ErrorArgument, "Bad value %g", value);
}

bool SymbolUpdate::apply(int entry, Value value) const {
  const bool isBound = action_ >= ActionUpper && action_ <= ActionBounds;
  if (value == nullptr && !isBound && entry >= entries_) {
    return db_.setLastError(ErrorState, "Entry %d has no base value: call zdbInitUpdate first",
                            entry);
  }
  switch (action_) {
    case ActionFix:
      fix(entry, valueOr(value, link_.columnLevels, link_.rowLevels, entry));
      break;
    case ActionUpper:
      setUpper(entry, value);
      break;
    case ActionLower:
      setLower(entry, value);
      break;
    case ActionBounds:
      setUpper(entry, value);
      setLower(entry, value);
      break;
    case ActionLevel:
      setLevel(entry, valueOr(value, link_.columnLevels, link_.rowLevels, entry));
      break;
    default:
      setMarginal(entry, valueOr(value, link_.columnMarginals, link_.rowMarginals, entry));
      break;
  }
  return true;
}

void SymbolUpdate::fix(int column, double value) const {
  zmiSetVarLOne(instance_, column, value);
  zmiSetAltVarLowerOne(instance_, column, value);
  zmiSetAltVarUpperOne(instance_, column, value);
}

/// The model's own bound: while alternative bounds are on, the instance returns those.
double SymbolUpdate::ownBound(double (*get)(zmiRec*, int), int column) const {
  zmiAltBoundsSet(instance_, 0);
  const double bound = get(instance_, column);
  zmiAltBoundsSet(instance_, 1);
  return bound;
}

void SymbolUpdate::setUpper(int column, Value value) const {
  const double bound = value != nullptr ? *value : ownBound(zmiGetVarUpperOne, column);
  zmiSetAltVarUpperOne(instance_, column, bound);
  if (zmiGetVarLOne(instance_, column) > bound) zmiSetVarLOne(instance_, column, bound);
}

void SymbolUpdate::setLower(int column, Value value) const {
  const double bound = value != nullptr ? *value : ownBound(zmiGetVarLowerOne, column);
  zmiSetAltVarLowerOne(instance_, column, bound);
  if (bound > zmiGetVarLOne(instance_, column)) zmiSetVarLOne(instance_, column, bound);
}

void SymbolUpdate::setLevel(int entry, double value) const {
  if (symbol_.isVariable()) {
    zmiSetVarLOne(instance_, entry, value);
  } else {
    zmiSetEquLOne(instance_, entry, value);
  }
}

void SymbolUpdate::setMarginal(int entry, double value) const {
  if (symbol_.isVariable()) {
    zmiSetSolutionVarRec(instance_, entry, zmiGetVarLOne(instance_, entry), value,
                         zmiGetVarStatOne(instance_, entry), zmiGetVarCStatOne(instance_, entry));
  } else {
    zmiSetSolutionEquRec(instance_, entry, zmiGetEquLOne(instance_, entry), value,
                         zmiGetEquStatOne(instance_, entry), zmiGetEquCStatOne(instance_, entry));
  }
}

bool canUpdate(ZDB& db, const DictionarySymbol& symbol, int action, const char* name,
               const AbstractZDBSymbol& data) {
  if (action < ActionFix || action > ActionMarginal) {
    return db.setLastError(ErrorArgument, "Invalid actionType, saw %d", action);
  }
  if (!symbol.isVariable() && action < ActionLevel) {
    return db.setLastError(ErrorArgument,
                           "actionType %d needs a variable, but %s is an equation of the model",
                           action, name);
  }
  return symbol.dim == data.dim ||
         db.setLastError(ErrorArgument,
                         "Data symbol %s has %d index positions, %s has %d in the model",
                         data.name.c_str(), data.dim, name, symbol.dim);
}

bool updateSymbol(ZDB& db, ModelLink& link, const AbstractZDBSymbol& modelSymbol, int action,
                  AbstractZDBSymbol& data, int updateType, int& noMatch) {
  if (link.dictionary == nullptr) {
    return db.setLastError(ErrorState,
                           "No model instance is registered: call zdbRegisterZMI first");
  }
  if (!isIdle(db, link) || !db.ensureLoaded(&data)) return false;
  std::string name = modelSymbol.name;
  if (modelSymbol.type == TypeParameter) name += kParameterSuffix;
  link.alternativeBoundsInUse = modelSymbol.type != TypeEquation;
  const DictionarySymbol symbol(link.dictionary, name.c_str());
  if (!symbol.exists()) {
    noMatch = data.size();
    return true;
  }
  if (!canUpdate(db, symbol, action, name.c_str(), data) || !readModelLabels(db, link)) {
    return false;
  }
  DataRecords records(data);
  SymbolUpdate update(db, link, symbol, action);
  if (!update.run(records, updateType)) return false;
  noMatch = records.count() - update.matches();
  return true;
}

}  // namespace

bool ZDB::UpdateSymbolInModel(AbstractZDBSymbol* modelSymbol, int action,
                              AbstractZDBSymbol* dataSymbol, int updateType, int& noMatch) {
  return updateSymbol(*this, modelLink(*this), *modelSymbol, action, *dataSymbol, updateType,
                      noMatch);
}

}  // namespace zdb
