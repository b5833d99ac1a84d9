// Reading the solution and bounds of a variable or equation from the model instance.
#include <algorithm>
#include <array>
#include <limits>
#include <numeric>
#include <vector>

#include "io/modeldictionary.h"
#include "io/modelsource.h"
#include "loaders/zmi.h"

namespace zdb {

using namespace loaders;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// Reads columns.
struct ColumnReader {
  zmiRec* instance;
  zlxRec* dictionary;

  bool read(int column, int* key, double* row) const {
    row[0] = row[1] = 0;  // for an instance that has no solution to give
    int symbol;
    int dim;
    int status;
    int basisStatus;
    if (zlxColUels(dictionary, column, &symbol, key, &dim) == 0) return false;
    zmiGetSolutionVarRec(instance, column, &row[0], &row[1], &status, &basisStatus);
    row[2] = zmiGetVarLowerOne(instance, column);
    row[3] = zmiGetVarUpperOne(instance, column);
    row[4] = zmiGetVarScaleOne(instance, column);
    return true;
  }
};

/// Reads rows, whose bounds follow from the right-hand side and the type of the whole symbol.
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

  bool read(int number, int* key, double* row) const {
    row[0] = row[1] = 0;
    int symbol;
    int dim;
    int status;
    int basisStatus;
    if (zlxRowUels(dictionary, number, &symbol, key, &dim) == 0) return false;
    zmiGetSolutionEquRec(instance, number, &row[0], &row[1], &status, &basisStatus);
    const double rhs = zmiGetRhsOne(instance, number);
    row[2] = hasLower ? rhs : -kInfinity;
    row[3] = hasUpper ? rhs : kInfinity;
    row[4] = zmiGetEquScaleOne(instance, number);
    return true;
  }
};

/// Collects records in any order and delivers them in key order.
class RecordSorter {
 public:
  explicit RecordSorter(int dim) : dim_(static_cast<std::size_t>(dim)) {}

  void add(const int* key, const double* row) {
    keys_.insert(keys_.end(), key, key + dim_);
    rows_.push_back({row[0], row[1], row[2], row[3], row[4]});
  }
  void deliverSorted(RecordSink sink) const {
    std::vector<std::size_t> order(rows_.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(), [this](std::size_t a, std::size_t b) {
      return std::lexicographical_compare(keyOf(a), keyOf(a) + dim_, keyOf(b), keyOf(b) + dim_);
    });
    for (const std::size_t i : order) sink(keyOf(i), rows_[i].data());
  }

 private:
  const int* keyOf(std::size_t i) const { return keys_.data() + i * dim_; }

  std::size_t dim_;
  std::vector<int> keys_;
  std::vector<std::array<double, kMaxValues>> rows_;
};

/// Delivers all records of a symbol in the database's key order; false for an entry without a key
/// or with an unknown label number.
template <typename Reader>
bool readRecords(const LabelNumbers& labels, RowColWalk& walk, int dim, const Reader& reader,
                 RecordSink sink) {
  int key[kMaxDim] = {};
  double row[kMaxValues];
  if (labels.areSame()) {
    for (; !walk.isAtEnd(); walk.next()) {
      if (!reader.read(walk.current(), key, row)) return false;
      sink(key, row);
    }
    return true;
  }
  RecordSorter sorter(dim);
  for (; !walk.isAtEnd(); walk.next()) {
    if (!reader.read(walk.current(), key, row) || !labels.translate(key, dim)) return false;
    sorter.add(key, row);
  }
  sorter.deliverSorted(sink);
  return true;
}

bool readSymbol(const ModelLink& link, const DictionarySymbol& symbol, RecordSink sink) {
  RowColWalk walk(link.dictionary, symbol);
  if (symbol.isVariable()) {
    const ColumnReader reader{link.instance, link.dictionary};
    return readRecords(*link.labels, walk, symbol.dim, reader, sink);
  }
  const int type = walk.isAtEnd() ? 0 : zmiGetEquTypeOne(link.instance, walk.current());
  const RowReader reader(link.instance, link.dictionary, type);
  return readRecords(*link.labels, walk, symbol.dim, reader, sink);
}

}  // namespace

bool ModelSource::read(const AbstractZDBSymbol& symbol, RecordSink sink) {
  const char* name = symbol.name.c_str();
  if (link_.dictionary == nullptr) return db_.setLastError(ErrorModel, "No dictionary available");
  const DictionarySymbol found(link_.dictionary, name);
  if (!found.exists())
    return db_.setLastError(ErrorModel, "Symbol %s does not exist in model", name);
  if (!agrees(db_, found, symbol) || !readModelLabels(db_, link_)) return false;
  return readSymbol(link_, found, sink) ||
         db_.setLastError(ErrorModel,
                          "The dictionary gives symbol %s a label that it does not have", name);
}

bool ZDB::LoadSymbolFromZMI(AbstractZDBSymbol* symbol, RecordSink sink) const {
  return source(FROM_ZMI)->read(*symbol, sink);
}

}  // namespace zdb
