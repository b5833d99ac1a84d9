#include "kit/modelfile/mps.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "kit/modelfile/errors.h"
#include "kit/modelfile/mpsfields.h"
#include "kit/modelfile/text.h"

namespace zdb::kit::modelfile {

namespace {

[[noreturn]] void fail(int line, const std::string& what) {
  throw ReadError(what, line);
}

std::string quoted(std::string_view name) {
  return "\"" + std::string(name) + "\"";
}

// Walks over the lines of a text and keeps what is in the sections that the kit reads itself.
class ExtrasReader {
 public:
  ExtrasReader(std::string& text, FileFormat format) : text_(text), format_(format) {}

  MpsExtras read() {
    std::string_view rest = text_;
    while (!rest.empty() && section_ != Section::End) {
      const std::size_t begin = text_.size() - rest.size();
      const std::string_view line = takeLine(rest);
      ++number_;
      if (isComment(line)) continue;
      if (line.front() != ' ' && line.front() != '\t') {
        beginSection(line);
      } else if (section_ == Section::Sense) {
        readSense(line);
      } else if (section_ == Section::Matrix) {
        readEntries(line);
      }
      if (isOurs()) text_[begin] = '*';
    }
    return std::move(extras_);
  }

 private:
  enum class Section { Other, Sense, Matrix, End };

  static bool isComment(std::string_view line) {
    return line.find_first_not_of(" \t") == std::string_view::npos || line.front() == '*';
  }

  bool isOurs() const { return section_ == Section::Sense || section_ == Section::Matrix; }

  void beginSection(std::string_view line) {
    const std::string word = lowerCase(takeWord(line));
    section_ = word == "endata" ? Section::End : Section::Other;
    if (word == "objsense") {
      section_ = Section::Sense;
      if (line.find_first_not_of(" \t") != std::string_view::npos) readSense(line);
    } else if (word == "quadobj" || word == "qmatrix" || word == "qsection" || word == "qcmatrix") {
      section_ = Section::Matrix;
      beginMatrix(word, line);
    }
  }

  // The name is the rest of the line: in the fixed format it may contain blanks.
  void beginMatrix(const std::string& word, std::string_view line) {
    MpsMatrix matrix;
    matrix.isWhole = word == "qmatrix" || word == "qcmatrix";
    matrix.factor = word == "qcmatrix" ? 1.0 : 0.5;
    matrix.line = number_;
    if (word == "qsection" || word == "qcmatrix") {
      while (!line.empty() && (line.front() == ' ' || line.front() == '\t')) line.remove_prefix(1);
      while (!line.empty() && (line.back() == ' ' || line.back() == '\t')) line.remove_suffix(1);
      matrix.row = line;
      std::replace(matrix.row.begin(), matrix.row.end(), ' ', '_');
    }
    if (word == "qcmatrix" && matrix.row.empty()) fail(number_, "QCMATRIX needs the name of a row");
    extras_.matrices.push_back(std::move(matrix));
  }

  void readSense(std::string_view line) {
    const std::string word = lowerCase(takeWord(line));
    const bool maximize = word == "max" || word == "maximize";
    if (!maximize && word != "min" && word != "minimize") {
      fail(number_, "OBJSENSE must be MAX or MIN, not " + quoted(word));
    }
    extras_.maximize = maximize;
  }

  // Two names and a number, optionally followed by another second name and its number. Programs
  // that write fixed files do not always keep to the columns in these sections.
  void readEntries(std::string_view line) {
    MpsFields fields;
    if (!splitRecord(line, format_, false, fields) || !addEntries(fields)) {
      if (!splitRecord(line, FileFormat::FreeMps, false, fields) || !addEntries(fields)) {
        fail(number_, "two column names and a number expected");
      }
    }
  }

  bool addEntries(const MpsFields& fields) {
    double value1 = 0.0;
    double value2 = 0.0;
    const bool hasSecond = !fields[4].empty();
    if (fields[1].empty() || fields[2].empty() || !isNumber(fields[3], value1)) return false;
    if (hasSecond && !isNumber(fields[5], value2)) return false;
    auto& entries = extras_.matrices.back().entries;
    entries.push_back({fields[1], fields[2], value1, number_});
    if (hasSecond) entries.push_back({fields[1], fields[4], value2, number_});
    return true;
  }

  std::string& text_;
  FileFormat format_;
  Section section_ = Section::Other;
  int number_ = 0;
  MpsExtras extras_;
};

using Numbers = std::unordered_map<std::string, int>;

template <class Item>
Numbers numbersOf(const std::vector<Item>& items) {
  Numbers numbers;
  for (std::size_t i = 0; i < items.size(); ++i) {
    numbers.emplace(items[i].name, static_cast<int>(i) + 1);
  }
  return numbers;
}

// The entries of one matrix by column numbers, each with its line number.
struct Placed {
  double value;
  int line;
};
using PlacedEntries = std::map<std::pair<int, int>, Placed>;

int columnOf(const Numbers& columns, const std::string& name, int line) {
  const auto found = columns.find(name);
  if (found == columns.end()) fail(line, "no column " + quoted(name) + " in the COLUMNS section");
  return found->second;
}

PlacedEntries place(const MpsMatrix& matrix, const Numbers& columns) {
  PlacedEntries placed;
  for (const auto& entry : matrix.entries) {
    const int first = columnOf(columns, entry.column1, entry.line);
    const int second = columnOf(columns, entry.column2, entry.line);
    const bool isNew = placed.try_emplace({first, second}, Placed{entry.value, entry.line}).second;
    const bool isMirrored = !matrix.isWhole && first != second && placed.contains({second, first});
    if (!isNew || isMirrored) {
      fail(entry.line,
           "a second entry for " + quoted(entry.column1) + " and " + quoted(entry.column2));
    }
  }
  return placed;
}

void checkSymmetry(const FileModel& model, const PlacedEntries& placed) {
  for (const auto& [at, entry] : placed) {
    const auto mirror = placed.find({at.second, at.first});
    if (mirror != placed.end() && mirror->second.value == entry.value) continue;
    fail(entry.line, "the entries of " + quoted(model.columns[at.first - 1].name) + " and " +
                         quoted(model.columns[at.second - 1].name) +
                         " differ from those in the other order: the matrix must be symmetric");
  }
}

using Products = std::map<std::pair<int, std::pair<int, int>>, double>;

// One triangle represents both: an entry off the diagonal counts twice.
void addProducts(const MpsMatrix& matrix, int row, const PlacedEntries& placed, Products& sums) {
  for (const auto& [at, entry] : placed) {
    const bool countsTwice = !matrix.isWhole && at.first != at.second;
    const auto pair = std::minmax(at.first, at.second);
    sums[{row, {pair.first, pair.second}}] += matrix.factor * (countsTwice ? 2 : 1) * entry.value;
  }
}

int rowOf(const FileModel& model, const Numbers& rows, const MpsMatrix& matrix) {
  if (matrix.row.empty() || matrix.row == model.objectiveName) return 0;
  const auto found = rows.find(matrix.row);
  if (found == rows.end()) {
    fail(matrix.line, "no row " + quoted(matrix.row) + " in the ROWS section, or it has type N");
  }
  return found->second;
}

}  // namespace

MpsExtras takeMpsExtras(std::string& text, FileFormat format) {
  return ExtrasReader(text, format).read();
}

void addMpsExtras(FileModel& model, const MpsExtras& extras) {
  model.maximize = extras.maximize;
  if (extras.matrices.empty()) return;
  const Numbers rows = numbersOf(model.rows);
  const Numbers columns = numbersOf(model.columns);
  Products sums;
  for (const MpsMatrix& matrix : extras.matrices) {
    const PlacedEntries placed = place(matrix, columns);
    if (matrix.isWhole) checkSymmetry(model, placed);
    addProducts(matrix, rowOf(model, rows, matrix), placed, sums);
  }
  for (const auto& [at, value] : sums) {
    model.products.push_back({at.first, at.second.first, at.second.second, value});
  }
}

}  // namespace zdb::kit::modelfile
