#pragma once

#include <string_view>

#include "core/abstractzdbsymbol.h"
#include "core/zdb.h"
#include "io/modellink.h"
#include "loaders/zlx.h"

// What the dictionary of a model instance tells, for all that reads it.
namespace zdb {

/// Codes of the dictionary for the types of its symbols.
enum DictionaryType : int { DictionaryVariable = 5, DictionaryEquation = 6 };

/// Bytes of a name or label in the dictionary, terminator included.
inline constexpr int kDictionaryNameSize = kMaxNameLength + 1;

/// What the name of a parameter has behind it in the dictionary, where it is a variable that is
/// fixed at the parameter's value.
inline constexpr std::string_view kParameterSuffix = "_var";

/// A symbol as the dictionary has it.
struct DictionarySymbol {
  int index = 0;  ///< from 1; 0 or less: the dictionary does not have it
  int type = 0;   ///< a DictionaryType
  int dim = 0;

  DictionarySymbol(loaders::zlxRec* dictionary, int number);
  /// Finds it by name.
  DictionarySymbol(loaders::zlxRec* dictionary, const char* name);

  bool exists() const { return index > 0; }
  bool isVariable() const { return type == DictionaryVariable; }
  /// The type that such a symbol has in a database.
  int databaseType() const { return isVariable() ? TypeVariable : TypeEquation; }
};

/// Walks the columns of a variable or the rows of an equation, in the dictionary's key order. The
/// dictionary's search is closed on every way out.
class RowColWalk {
 public:
  RowColWalk(loaders::zlxRec* dictionary, const DictionarySymbol& symbol)
      : dictionary_(dictionary) {
    static constexpr int everyRecord[kMaxDim] = {};
    find_ = loaders::zlxFindFirstRowCol(dictionary_, symbol.index, everyRecord, &current_);
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

/// Whether the dictionary and the database have a symbol alike; a difference is reported.
bool agrees(ZDB& db, const DictionarySymbol& found, const AbstractZDBSymbol& symbol);

/// Gives each label of the dictionary its number in the database, which gets those that it lacks.
/// Done once for a registered instance; later calls cost nothing. A refused label fails with the
/// label list's message.
bool readModelLabels(ZDB& db, ModelLink& link);

}  // namespace zdb
