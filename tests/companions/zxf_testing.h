// What the tests of the exchange file share: a file's content as plain data, written and read
// through the C interface.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "zxf/api.h"
#include "zxf/errors.h"
#include "zxf/format.h"

namespace zxftest {

using zxfile::Errc;

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

struct Record {
  std::vector<int> key;
  std::vector<double> values;                  // 1 or 5
  bool operator==(const Record& other) const;  // values by bit pattern
};

enum class Domain { None = 0, Relaxed = 1, Strict = 2 };

struct Symbol {
  std::string name;
  int dim = 0;
  int type = 1;
  int userInfo = 0;
  std::string text;
  std::vector<Record> records;
  Domain domain = Domain::None;
  std::vector<std::string> domains;
  bool operator==(const Symbol&) const = default;
};

struct Content {
  std::vector<std::string> labels;
  std::vector<std::string> texts;
  std::vector<Symbol> symbols;  // an alias names its set in userInfo, 0 being the universe
  bool operator==(const Content&) const = default;
};

// "s1" from "s" and 1.
std::string numbered(const char* prefix, int number);

// "l1", "l2", ...
std::vector<std::string> makeLabels(int count);

// Writes content the way the database does: labels, each symbol with a strict domain before its
// records and a relaxed one behind them, texts. Checks that every call succeeds.
void writeContent(const std::string& path, const Content& content);

// Reads all that the interface gives. Throws ReadError at the first call that fails. Checks the
// first changed dimension of every record.
Content readContent(const std::string& path);
struct ReadError {
  int number;
  std::string text;
};

// A symbol of each type with a few records, texts, an alias and both kinds of domains.
Content smallContent();

// A folder of its own for each test, removed with the object.
class ScratchFolder {
 public:
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  std::string path(const std::string& name) const { return folder_ + "/" + name; }
  // All names in it, sorted, those beginning with '.' included.
  std::vector<std::string> names() const;

 private:
  std::string folder_;
};

std::vector<std::uint8_t> readBytes(const std::string& path);
void writeBytes(const std::string& path, const std::vector<std::uint8_t>& bytes);

// The most bytes that one operator new was asked for since the reset.
std::size_t largestAllocation();
void resetLargestAllocation();

// A double of the given bit pattern.
double fromBits(std::uint64_t bits);

}  // namespace zxftest
