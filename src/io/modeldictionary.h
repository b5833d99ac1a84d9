// Reading the dictionary of a model instance.
#pragma once

#include <new>
#include <string_view>

#include "core/abstractzdbsymbol.h"
#include "core/zdb.h"
#include "io/modellink.h"
#include "loaders/zlx.h"

namespace zdb {

/// The dictionary's codes for the types of its symbols.
enum DictionaryType : int { DictionaryVariable = 5, DictionaryEquation = 6 };

/// Bytes of a name or label in the dictionary, including the terminator.
inline constexpr int kDictionaryNameSize = kMaxNameLength + 1;

/// The suffix of a parameter's name in the dictionary, in which it is a variable that is fixed at
/// the parameter's value.
inline constexpr std::string_view kParameterSuffix = "_var";

/// A symbol as described by the dictionary.
struct DictionarySymbol {
  int index = 0;  ///< from 1; 0 or less if the dictionary does not have it
  int type = 0;   ///< a DictionaryType
  int dim = 0;

  DictionarySymbol(loaders::zlxRec* dictionary, int number);
  /// Finds it by name.
  DictionarySymbol(loaders::zlxRec* dictionary, const char* name);

  bool exists() const { return index > 0; }
  bool isVariable() const { return type == DictionaryVariable; }
  /// The type of such a symbol in a database.
  int databaseType() const { return isVariable() ? TypeVariable : TypeEquation; }
};

/// Walks the columns of a variable or the rows of an equation, in the dictionary's key order.
/// Closes the dictionary's search when it is destroyed. Throws std::bad_alloc if the dictionary has
/// no memory for a search.
class RowColWalk {
 public:
  RowColWalk(loaders::zlxRec* dictionary, const DictionarySymbol& symbol)
      : dictionary_(dictionary) {
    static constexpr int everyRecord[kMaxDim] = {};
    find_ = loaders::zlxFindFirstRowCol(dictionary_, symbol.index, everyRecord, &current_);
    if (current_ != contract::kNoMemoryForWalk) return;
    loaders::zlxFindClose(dictionary_, find_);
    throw std::bad_alloc();
  }
  RowColWalk(const RowColWalk&) = delete;
  RowColWalk& operator=(const RowColWalk&) = delete;
  ~RowColWalk() { loaders::zlxFindClose(dictionary_, find_); }

  bool isAtEnd() const { return current_ < 0; }
  /// The row or column, from 0.
  int current() const { return current_; }
  void next() { loaders::zlxFindNextRowCol(dictionary_, find_, &current_); }

 private:
  loaders::zlxRec* dictionary_;
  void* find_;
  int current_ = -1;
};

/// Whether no solve is under way, whose log may call a host that uses the database; reports it.
bool isIdle(ZDB& db, const ModelLink& link);

/// Whether a symbol is the same in the dictionary and the database; reports a difference.
bool agrees(ZDB& db, const DictionarySymbol& found, const AbstractZDBSymbol& symbol);

/// Finds the number of each label of the dictionary in the database, adding new labels. Done once
/// for a registered instance; later calls cost nothing. An invalid label fails with the label
/// list's message.
bool readModelLabels(ZDB& db, ModelLink& link);

}  // namespace zdb
