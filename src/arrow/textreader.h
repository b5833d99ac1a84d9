#pragma once

#include <optional>
#include <string>
#include <vector>

#include "arrow/take.h"
#include "core/functionref.h"
#include "core/uellist.h"

namespace zdb::arrow {

/// A column of texts, plain or numbers of a dictionary, as a schema declares it.
struct TextFormat {
  /// None if the column is not one of texts.
  static std::optional<TextFormat> parse(const ArrowSchema& schema);

  std::string texts;    ///< format of the texts
  char numbers = '\0';  ///< format of the dictionary's numbers; 0: there is no dictionary
};

/// The texts of such a column in one batch.
class TextReader {
 public:
  /// REQUIRES `array` outlives the reader.
  TextReader(const TextFormat& column, const ArrowArray& array);

  bool isNull(std::int64_t entry) const;
  /// REQUIRES !isNull(entry).
  std::string_view operator[](std::int64_t entry) const;

  /// Writes the numbers of texts, at most kGroup, up to the first that cannot be taken;
  /// returns how many.
  using Translate = FunctionRef<int(const std::string_view* texts, int count, int* numbers)>;
  static constexpr int kGroup = uellist::UELList::kGroup;
  /// Translates entries from `first` on until one is null or cannot be taken; returns how many were
  /// translated. Of a dictionary, unless it is larger than the batch, the texts that occur are
  /// translated once, with the first call.
  std::int64_t read(std::int64_t first, std::int64_t count, Translate translate, int* out);

 private:
  // Instead of the numbers of texts, which are not negative.
  static constexpr int kUnused = -1;
  static constexpr int kUsed = -2;
  static constexpr int kNotTaken = -3;

  std::int64_t place(std::int64_t entry) const;
  std::int64_t checked(std::int64_t place) const;
  std::int64_t readEach(std::int64_t first, std::int64_t count, Translate translate,
                        int* out) const;
  void findUsed(std::int64_t first, std::int64_t count);
  void translateUsed(Translate translate);
  std::int64_t readKnown(std::int64_t first, std::int64_t count, int* out) const;

  char numbers_;
  const void* places_ = nullptr;  ///< the numbers of the dictionary
  std::int64_t first_ = 0;        ///< where the dictionary begins in its buffers
  std::int64_t size_ = 0;         ///< of the dictionary
  Validity validity_;
  TextArray texts_;
  std::vector<int> known_;  ///< by place in the dictionary; empty if it is large or there is none
  bool isTranslated_ = false;
};

}  // namespace zdb::arrow
