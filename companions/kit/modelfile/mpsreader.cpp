#include "kit/modelfile/mpsreader.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "kit/modelfile/errors.h"
#include "kit/modelfile/mpsfields.h"
#include "kit/modelfile/text.h"

namespace zdb::kit::modelfile {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kSmallest = 1e-12;  // a smaller number is 0

// Whether a row or column has what may stand only once: a bit for each.
enum Seen : unsigned char { kRhs = 1, kRange = 2, kLower = 4, kUpper = 8 };

constexpr std::string_view kSections[] = {"NAME",   "ROWS",   "COLUMNS", "RHS",
                                          "RANGES", "BOUNDS", "ENDATA"};
enum class Section : signed char { None = -1, Name, Rows, Columns, Rhs, Ranges, Bounds, End };

// The kinds of bounds: which ends they set, whether they have a number, and whether they make the
// column integer.
struct BoundType {
  std::string_view name;
  unsigned char ends;
  bool hasNumber;
  bool makesInteger;
};
constexpr BoundType kBoundTypes[] = {
    {"LO", kLower, true, false},          {"UP", kUpper, true, false},
    {"FX", kLower | kUpper, true, false}, {"FR", kLower | kUpper, false, false},
    {"MI", kLower, false, false},         {"PL", kUpper, false, false},
    {"LI", kLower, true, true},           {"UI", kUpper, true, true},
    {"BV", kLower | kUpper, false, true},
};

struct Row {
  FileRow content;
  char type = 'N';
  int number = 0;  // in the model; 0: a free row
  double rhs = 0.0;
  double range = 0.0;
  unsigned char seen = 0;
  int lastColumn = 0;  // that has a coefficient here
};

using NumberByName = std::unordered_map<std::string, int>;

class MpsReader {
 public:
  MpsReader(std::string_view text, FileFormat format)
      : rest_(text), isFixed_(format == FileFormat::FixedMps) {}

  FileModel read() {
    while (!isAtEnd_) {
      if (rest_.empty()) fail("the end of the file, ENDATA, is missing");
      const std::string_view line = takeLine(rest_);
      ++number_;
      if (line.empty() || line.front() == '*' || trimmed(line).empty()) continue;
      if (isBlank(line.front())) {
        readRecord(line);
      } else {
        beginSection(line);
      }
    }
    return finish();
  }

 private:
  [[noreturn]] void fail(const std::string& what) const { throw ReadError(what, number_); }

  static std::string quoted(std::string_view name) { return '"' + std::string(name) + '"'; }

  // Sections come in their order up to the columns; after that, programs differ.
  void beginSection(std::string_view line) {
    const std::string_view whole = line;
    const std::string_view word = takeWord(line);
    const auto* found = std::find(std::begin(kSections), std::end(kSections), word);
    if (found == std::end(kSections)) {
      fail("unknown section " + quoted(word) +
           ": there are NAME, ROWS, COLUMNS, RHS, RANGES, BOUNDS, ENDATA, OBJSENSE and matrices "
           "of products");
    }
    const auto section = static_cast<Section>(found - std::begin(kSections));
    if (section < section_ && section <= Section::Columns) {
      fail("the section " + std::string(word) + " comes too late");
    }
    if (section > Section::Columns && section_ < Section::Columns) {
      fail("the section COLUMNS is missing");
    }
    section_ = section;
    isAtEnd_ = section == Section::End;
    vector_.clear();
    hasVector_ = false;
    if (section == Section::Name) takeName(whole);
  }

  // The name is in the third field.
  void takeName(std::string_view line) {
    line.remove_prefix(std::string_view("NAME").size());
    if (!isFixed_) {
      model_.name = takeWord(line);
      return;
    }
    constexpr std::size_t kBefore = 10;  // blanks from the end of NAME to the field
    constexpr std::size_t kWidth = 8;
    if (!trimmed(line.substr(0, kBefore)).empty()) {
      fail("in a fixed file, the name begins in column 15");
    }
    if (line.size() > kBefore) model_.name = trimmed(line.substr(kBefore, kWidth));
    std::replace(model_.name.begin(), model_.name.end(), ' ', '_');
  }

  void readRecord(std::string_view line) {
    const bool hasType = section_ == Section::Rows || section_ == Section::Bounds;
    const FileFormat format = isFixed_ ? FileFormat::FixedMps : FileFormat::FreeMps;
    const bool fits = splitRecord(line, format, hasType, fields_);
    if (!fits || (!hasType && !fields_[0].empty())) {
      fail(isFixed_ ? "text between the columns of a fixed file" : "too many fields");
    }
    switch (section_) {
      case Section::Rows:
        return readRow();
      case Section::Columns:
        return readColumn();
      case Section::Rhs:
        return readRhs();
      case Section::Ranges:
        return readRange();
      case Section::Bounds:
        return readBound();
      default:
        fail("a record outside of a section");
    }
  }

  void readRow() {
    const std::string& type = fields_[0];
    const std::string& name = fields_[1];
    if (type.size() != 1 || std::string_view("NGLE").find(type[0]) == std::string_view::npos) {
      fail("a row has type N, G, L or E, not " + quoted(type));
    }
    if (name.empty()) fail("a row without a name");
    if (!fields_[2].empty()) fail("more than the type and the name of a row");
    const int place = static_cast<int>(rows_.size());
    if (!rowPlaces_.emplace(name, place).second) fail("a second row " + quoted(name));
    Row row;
    row.content.name = name;
    row.type = type[0];
    if (row.type != 'N') row.number = ++rowCount_;
    if (row.type == 'N' && objective_ < 0) objective_ = place;
    rows_.push_back(std::move(row));
  }

  void readColumn() {
    if (fields_[2] == "'MARKER'") return readMarker();
    takeColumn(fields_[1]);
    forPairs([this](Row& row, double value) {
      const int column = static_cast<int>(model_.columns.size());
      if (row.lastColumn == column) fail("a second coefficient in row " + quoted(row.content.name));
      row.lastColumn = column;
      if (value == 0.0) return;
      const bool isObjective = objective_ >= 0 && &row == &rows_[objective_];
      if (isObjective || row.number > 0) {
        model_.coefficients.push_back({row.number, column, value});
      }
    });
  }

  // In the free format nothing stands for the fourth field.
  void readMarker() {
    const std::string& word = fields_[isFixed_ ? 4 : 3];
    if (word != "'INTORG'" && word != "'INTEND'") {
      fail("a marker is 'INTORG' or 'INTEND', not " + quoted(word));
    }
    isInteger_ = word == "'INTORG'";
  }

  // A blank name, in the fixed format, is that of the record before.
  void takeColumn(const std::string& name) {
    const bool isFirst = model_.columns.empty();
    if (isFirst && name.empty()) fail("a column without a name");
    if (!isFirst && (name.empty() || name == model_.columns.back().name)) return;
    const int place = static_cast<int>(model_.columns.size());
    if (!columnPlaces_.emplace(name, place).second) {
      fail("column " + quoted(name) + " a second time: its records must follow each other");
    }
    model_.columns.push_back({name, 0.0, isInteger_ ? 1.0 : kInfinity, isInteger_});
    columnSeen_.push_back(0);
  }

  void readRhs() {
    takeVector("right-hand sides");
    forPairs([this](Row& row, double value) {
      see(row.seen, kRhs, "right-hand side for row ", row.content.name);
      row.rhs = value;
    });
  }

  void readRange() {
    takeVector("ranges");
    forPairs([this](Row& row, double value) {
      see(row.seen, kRange, "range for row ", row.content.name);
      row.range = value;
    });
  }

  // A record of pairs has a name before them, which may be missing: words in the free format then
  // stand one field too early.
  void takeVector(const char* of) {
    const auto words = std::count_if(fields_.begin(), fields_.end(),
                                     [](const std::string& field) { return !field.empty(); });
    if (!isFixed_ && words % 2 == 0) shiftFields(1);
    takeVectorName(of);
  }

  void shiftFields(std::size_t from) {
    std::rotate(fields_.begin() + static_cast<std::ptrdiff_t>(from), fields_.end() - 1,
                fields_.end());
  }

  void takeVectorName(const char* of) {
    const std::string& name = fields_[1];
    if (hasVector_ && !name.empty() && name != vector_) {
      fail(std::string("a second vector of ") + of + ", " + quoted(name) +
           ": a model is read with one");
    }
    if (!hasVector_) vector_ = name;
    hasVector_ = true;
  }

  void readBound() {
    const auto* type = std::find_if(std::begin(kBoundTypes), std::end(kBoundTypes),
                                    [this](const BoundType& t) { return fields_[0] == t.name; });
    if (type == std::end(kBoundTypes)) {
      fail("a bound has type LO, UP, FX, FR, MI, PL, LI, UI or BV, not " + quoted(fields_[0]));
    }
    if (!isFixed_ && fields_[type->hasNumber ? 3 : 2].empty()) shiftFields(1);
    takeVectorName("bounds");
    if (!fields_[4].empty() || !fields_[5].empty()) fail("more than one bound in a record");
    const std::string& name = fields_[2];
    const auto found = columnPlaces_.find(name);
    if (found == columnPlaces_.end()) fail("no column " + quoted(name) + " in the COLUMNS section");
    const double value = type->hasNumber ? numberIn(3) : 0.0;
    unsigned char& seen = columnSeen_[found->second];
    FileColumn& column = model_.columns[found->second];
    const bool hasUpper = (seen & kUpper) != 0;
    see(seen, type->ends, "bound for column ", name);
    column.isInteger = column.isInteger || type->makesInteger;
    if (type->name == "LI" && !hasUpper) column.upper = kInfinity;
    if ((type->ends & kLower) != 0) column.lower = lowerOf(type->name, value);
    if ((type->ends & kUpper) != 0) column.upper = upperOf(type->name, value);
  }

  static double lowerOf(std::string_view kind, double value) {
    if (kind == "MI" || kind == "FR") return -kInfinity;
    return kind == "LI" ? std::ceil(value) : value;
  }
  static double upperOf(std::string_view kind, double value) {
    if (kind == "PL" || kind == "FR") return kInfinity;
    if (kind == "BV") return 1.0;
    return kind == "UI" ? std::floor(value) : value;
  }

  void see(unsigned char& seen, unsigned char what, const char* of, const std::string& name) const {
    if ((seen & what) != 0) fail(std::string("a second ") + of + quoted(name));
    seen = static_cast<unsigned char>(seen | what);
  }

  // Rows and numbers, in the third to sixth field.
  template <typename Take>
  void forPairs(Take take) {
    for (const std::size_t at : {std::size_t{2}, std::size_t{4}}) {
      const std::string& name = fields_[at];
      if (name.empty() && at == 4 && fields_[5].empty()) break;
      const auto found = rowPlaces_.find(name);
      if (found == rowPlaces_.end()) {
        fail(name.empty() ? "the name of a row is missing"
                          : "no row " + quoted(name) + " in the ROWS section");
      }
      take(rows_[found->second], numberIn(at + 1));
    }
  }

  double numberIn(std::size_t field) const {
    double value = 0.0;
    if (fields_[field].empty()) fail("a number is missing");
    if (!isNumber(fields_[field], value)) fail(quoted(fields_[field]) + " is not a number");
    return std::abs(value) < kSmallest ? 0.0 : value;
  }

  FileModel finish() {
    for (Row& row : rows_) {
      if (row.number > 0) model_.rows.push_back(bounded(row));
    }
    for (FileColumn& column : model_.columns) {
      column.lower = boundOf(column.lower);
      column.upper = boundOf(column.upper);
    }
    if (objective_ >= 0) {
      model_.objectiveName = rows_[objective_].content.name;
      model_.objectiveConstant = rows_[objective_].rhs;
    }
    sortByRow();
    return std::move(model_);
  }

  static FileRow bounded(Row& row) {
    const bool hasRange = (row.seen & kRange) != 0;
    double lower = row.type == 'L' ? -kInfinity : row.rhs;
    double upper = row.type == 'G' ? kInfinity : row.rhs;
    if (row.type == 'L' && hasRange) lower = row.rhs - std::abs(row.range);
    if (row.type == 'G' && hasRange) upper = row.rhs + std::abs(row.range);
    if (row.type == 'E') (row.range < 0.0 ? lower : upper) = row.rhs + row.range;
    row.content.lower = boundOf(lower);
    row.content.upper = boundOf(upper);
    return std::move(row.content);
  }

  // The objective first, then row by row; in each, columns keep their order.
  void sortByRow() {
    std::vector<std::size_t> next(static_cast<std::size_t>(rowCount_) + 2, 0);
    for (const FileCoefficient& c : model_.coefficients) ++next[c.row + 1];
    for (std::size_t i = 1; i < next.size(); ++i) next[i] += next[i - 1];
    std::vector<FileCoefficient> sorted(model_.coefficients.size());
    for (const FileCoefficient& c : model_.coefficients) sorted[next[c.row]++] = c;
    model_.coefficients = std::move(sorted);
  }

  std::string_view rest_;
  bool isFixed_;
  bool isAtEnd_ = false;
  int number_ = 0;  // of the line
  Section section_ = Section::None;
  MpsFields fields_;
  bool isInteger_ = false;  // between markers
  bool hasVector_ = false;  // in this section
  std::string vector_;

  std::vector<Row> rows_;  // the free ones too
  int rowCount_ = 0;       // without them
  int objective_ = -1;     // its place
  NumberByName rowPlaces_;
  NumberByName columnPlaces_;
  std::vector<unsigned char> columnSeen_;
  FileModel model_;
};

}  // namespace

FileModel readMpsText(std::string_view text, FileFormat format) {
  return MpsReader(text, format).read();
}

}  // namespace zdb::kit::modelfile
