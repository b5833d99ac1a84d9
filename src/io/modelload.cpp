#include <algorithm>
#include <array>
#include <limits>
#include <numeric>
#include <vector>

#include "io/modeldictionary.h"
#include "loaders/zmi.h"
#include "loaders/zxf.h"

// Reading the solution and bounds of a variable or equation from the model instance.
namespace zdb {

using namespace loaders;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// Reads columns.
struct ColumnReader {
  zmiRec* instance;
  zlxRec* dictionary;

  void read(int column, int* key, double* row) const {
    int symbol;
    int dim;
    int status;
    int basisStatus;
    zlxColUels(dictionary, column, &symbol, key, &dim);
    zmiGetSolutionVarRec(instance, column, &row[0], &row[1], &status, &basisStatus);
    row[2] = zmiGetVarLowerOne(instance, column);
    row[3] = zmiGetVarUpperOne(instance, column);
    row[4] = zmiGetVarScaleOne(instance, column);
  }
};

/// Reads rows, whose bounds follow from the right-hand side and one type for the whole symbol.
struct RowReader {
  zmiRec* instance;
  zlxRec* dictionary;
  bool hasLower;
  bool hasUpper;

  RowReader(zmiRec* model, zlxRec* names, int type)
      : instance(model),
        dictionary(names),
        hasLower(type == 0 || type == 1 || type == 4 || type == 6),
        hasUpper(type == 0 || type == 2 || type == 4 || type == 5 || type == 6) {}

  void read(int number, int* key, double* row) const {
    int symbol;
    int dim;
    int status;
    int basisStatus;
    zlxRowUels(dictionary, number, &symbol, key, &dim);
    zmiGetSolutionEquRec(instance, number, &row[0], &row[1], &status, &basisStatus);
    const double rhs = zmiGetRhsOne(instance, number);
    row[2] = hasLower ? rhs : -kInfinity;
    row[3] = hasUpper ? rhs : kInfinity;
    row[4] = zmiGetEquScaleOne(instance, number);
  }
};

/// Records in any order, to be had in key order.
class RecordSorter {
 public:
  explicit RecordSorter(int dim) : dim_(static_cast<std::size_t>(dim)) {}

  void add(const int* key, const double* row) {
    keys_.insert(keys_.end(), key, key + dim_);
    rows_.push_back({row[0], row[1], row[2], row[3], row[4]});
  }
  template <typename Deliver>
  void deliverSorted(Deliver& deliver) const {
    std::vector<std::size_t> order(rows_.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(), [this](std::size_t a, std::size_t b) {
      return std::lexicographical_compare(keyOf(a), keyOf(a) + dim_, keyOf(b), keyOf(b) + dim_);
    });
    for (const std::size_t i : order) deliver(keyOf(i), rows_[i].data());
  }

 private:
  const int* keyOf(std::size_t i) const { return keys_.data() + i * dim_; }

  std::size_t dim_;
  std::vector<int> keys_;
  std::vector<std::array<double, kMaxValues>> rows_;
};

/// Reads all records of a symbol and hands them to `deliver(key, row)` in the database's key order;
/// false for a label number that the dictionary does not have.
template <typename Reader, typename Deliver>
bool readRecords(const ModelLink& link, RowColWalk& walk, int dim, const Reader& reader,
                 Deliver& deliver) {
  int key[kMaxDim] = {};
  double row[kMaxValues];
  if (link.sameLabels) {
    for (; !walk.isAtEnd(); walk.next()) {
      reader.read(walk.current(), key, row);
      deliver(key, row);
    }
    return true;
  }
  RecordSorter sorter(dim);
  for (; !walk.isAtEnd(); walk.next()) {
    reader.read(walk.current(), key, row);
    if (!link.translateKey(key, dim)) return false;
    sorter.add(key, row);
  }
  sorter.deliverSorted(deliver);
  return true;
}

template <typename Deliver>
bool readSymbol(const ModelLink& link, const DictionarySymbol& symbol, Deliver deliver) {
  RowColWalk walk(link.dictionary, symbol);
  if (symbol.isVariable()) {
    const ColumnReader reader{link.instance, link.dictionary};
    return readRecords(link, walk, symbol.dim, reader, deliver);
  }
  const int type = walk.isAtEnd() ? 0 : zmiGetEquTypeOne(link.instance, walk.current());
  const RowReader reader(link.instance, link.dictionary, type);
  return readRecords(link, walk, symbol.dim, reader, deliver);
}

}  // namespace

bool ZDB::LoadSymbolFromZMI(AbstractZDBSymbol* symbol, zxfRec* target) {
  const char* name = symbol->name.c_str();
  if (model_.dictionary == nullptr) return setLastError("No dictionary available");
  const DictionarySymbol found(model_.dictionary, name);
  if (!found.exists()) return setLastError("Symbol %s does not exist in model", name);
  if (found.dim != symbol->dim) return setLastError("Mismatch in dimension for symbol %s", name);
  if (found.databaseType() != symbol->type) {
    return setLastError("Mismatch in type for symbol %s", name);
  }
  if (!readModelLabels(*this, model_)) return false;
  const bool isRead = target != nullptr
                          ? readSymbol(model_, found,
                                       [target](const int* key, const double* row) {
                                         zxfDataWriteRaw(target, key, row);
                                       })
                          : readSymbol(model_, found, [symbol](const int* key, const double* row) {
                              symbol->addRecordLastIt(key, row);
                            });
  return isRead ||
         setLastError("The dictionary gives symbol %s a label that it does not have", name);
}

}  // namespace zdb
