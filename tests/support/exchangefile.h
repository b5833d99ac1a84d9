// The content of an exchange file as plain data, written and read through the C interface.
//
// Serves tests and fuzzers alike: a call that fails where it must not, or an answer that breaks a
// promise of the interface, throws std::runtime_error, which fails a test and ends a fuzzer.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "zxf/api.h"

namespace zdb::test::zxf {

using Bytes = std::vector<std::uint8_t>;

// A call that failed, with the first error that it left.
struct Refused : std::runtime_error {
  Refused(const std::string& text, int number) : runtime_error(text), error(number) {}
  int error;
};

// A handle of the library, freed with the object.
class Zxf {
 public:
  Zxf() { XCreate(&handle_); }
  ~Zxf() { XFree(&handle_); }
  Zxf(const Zxf&) = delete;
  Zxf& operator=(const Zxf&) = delete;
  operator void*() const { return handle_; }

  // Open a file and return the error number.
  int openRead(const std::string& path) const;
  int openWrite(const std::string& path) const;
  std::string errorText(int number) const;
  // All pending error numbers, oldest first.
  std::vector<int> takeErrors() const;

 private:
  void* handle_ = nullptr;
};

enum class Domain { None = 0, Relaxed = 1, Strict = 2 };

struct Symbol {
  std::string name;
  int dim = 0;
  int type = 1;
  int userInfo = 0;  // of an alias: the number of its set, 0 being the universe
  std::string text = {};
  std::vector<int> keys = {};       // `dim` labels a record
  std::vector<double> values = {};  // width() a record
  Domain domain = Domain::None;
  std::vector<std::string> domains = {};

  int width() const { return type == 2 || type == 3 ? 5 : 1; }
  bool operator==(const Symbol& other) const;  // values by bit pattern
};

struct Content {
  std::vector<std::string> labels = {};
  std::vector<std::string> texts = {};
  std::vector<Symbol> symbols = {};
  bool operator==(const Content&) const = default;
};

// Writes content the way the database does: labels, each symbol with a strict domain before its
// records and a relaxed one after them, texts.
void writeContent(const std::string& path, const Content& content);

// How records are read: one by one; or many at a time, to columns or rows that blocks are unpacked
// to, or piece by piece to columns with gaps.
enum class Reading { OneByOne, Columns, Rows, Pieces };

// Calls every reading function over all labels, texts, symbols and records and checks what they
// promise whatever the file holds: lengths, ranges, the order of keys, the first dimension that
// changed. Stops a symbol at its first failure. `errors` becomes all errors counted, oldest first.
Content readContent(const std::string& path, std::vector<int>& errors,
                    Reading how = Reading::OneByOne);
// The same for a file that has to be sound, in all ways, which have to agree.
Content readContent(const std::string& path);

// The path of a file in memory with these bytes, until the next call.
std::string memoryFile(const Bytes& bytes);
// The errors of reading such a file, in all ways likewise.
std::vector<int> errorsOf(const Bytes& bytes);

}  // namespace zdb::test::zxf
