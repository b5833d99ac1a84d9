#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "symbol.h"
#include "zxf/reader.h"

namespace zdb::tool {

/// A symbol of an exchange file, from the file's directory.
struct FileSymbol : SymbolInfo {
  int number = 0;    ///< in the file, from 1; 0 for the set of all labels
  int userInfo = 0;  ///< as the file has it
  std::uint32_t recordCount = 0;
  std::uint64_t size = 0;  ///< bytes that its records take in the file
  zdb::zxfile::DomainKind domainKind = zdb::zxfile::DomainKind::None;

  /// Of a variable or equation, as in zdbcclib.h: in a file, those of equations count from 53.
  int subtype() const {
    constexpr int kEquationInFile = 53;
    return userInfo - (type == ZDB_EQUATION ? kEquationInFile : 0);
  }
};

/// An exchange file, read straight through its companion: opening reads the directory (labels,
/// texts, symbols), records come block by block, so that memory does not grow with them. Functions
/// throw ToolError with the name of the file.
class ExchangeFile {
 public:
  explicit ExchangeFile(const std::string& fileName);

  const std::string& name() const { return name_; }
  std::uint64_t size() const { return size_; }
  const std::string& producer() const { return file_->directory.producer; }
  const std::vector<FileSymbol>& symbols() const { return symbols_; }

  /// Finds a symbol without regard to case; for an alias, its set; for "*", all labels. A name that
  /// is not there is answered with a guess.
  FileSymbol symbol(std::string_view name) const;
  /// The symbol of that name, of an alias itself; null if there is none.
  const FileSymbol* findSymbol(std::string_view name) const;

  int labelCount() const { return static_cast<int>(labels().size()); }
  /// REQUIRES 1 <= number <= labelCount().
  std::string_view label(int number) const {
    return labels().at(static_cast<std::uint32_t>(number));
  }
  /// Number of a label, without regard to case, or 0.
  int findLabel(std::string_view label) const;
  /// The same; a label that is not there is answered with a guess.
  int requireLabel(std::string_view label) const;

  /// The text of an element of a set, by the value of its record; empty if it has none.
  std::string_view elementText(double value) const;
  int textCount() const { return static_cast<int>(file_->directory.texts.size()); }

 private:
  friend class FileRecords;

  const zdb::zxfile::TextList& labels() const { return file_->directory.labels.list(); }
  FileSymbol describe(const zdb::zxfile::SymbolEntry& entry, int number) const;

  std::string name_;
  std::shared_ptr<const zdb::zxfile::OpenFile> file_;
  std::uint64_t size_ = 0;
  std::vector<FileSymbol> symbols_;
};

/// The records of a symbol in the order of their keys (label numbers). The constructor reads
/// the first block; it and other functions throw ToolError for a damaged one.
class FileRecords {
 public:
  FileRecords(const ExchangeFile& file, const FileSymbol& symbol);

  /// Goes to the next record; the first call to the first. False after the last one.
  bool next();
  /// Goes before the first record whose leading labels, given by number, are not below these,
  /// forwards or backwards, past blocks that are neither read nor checked; near a damaged one,
  /// perhaps before an earlier one.
  void seek(std::span<const int> leading);
  /// For many calls of seek(), in any order: keeps blocks that have been read in so many bytes.
  void keepBlocks(std::size_t bytes) {
    if (reader_.started()) reader_.keepBlocks(bytes);
  }
  /// Label numbers of the record; valid until next().
  const int* keys() const { return keys_.data(); }
  /// Its values: 1, or 5 for variables and equations. Special values are those of specials().
  const double* values() const { return values_.data(); }
  /// Text of an element of a set; empty if it has none.
  std::string_view text() const { return file_.elementText(values_[0]); }

  /// Number of records read so far.
  std::uint64_t done() const { return done_; }

  /// Values that no data have by chance; see ValueFormat.
  static const std::array<double, ZDB_SV_COUNT>& specials();

 private:
  bool take();

  const ExchangeFile& file_;
  zdb::zxfile::Reader reader_;
  std::uint64_t done_ = 0;
  int universe_ = 0;  ///< for the set of all labels: the number of labels, else 0
  std::array<int, ZDB_MAX_DIM> keys_{};
  std::array<double, ZDB_MAX_VALUES> values_{};
};

}  // namespace zdb::tool
