// The records that the exchange file benchmarks write and read.
#pragma once

#include <array>
#include <string>
#include <vector>

struct Row {
  std::array<int, 3> key;
  double value;
};

enum class Values { Random, TwoDecimals };

constexpr int kLabels = 400;

/// `count` distinct records in key order: three label numbers, 1 <= number <= kLabels, and a value,
/// 0 <= value < 10000. The same in every run.
std::vector<Row> makeRows(int count, Values values);

/// A file name in the system's folder for temporary files; the file is removed with the object.
class ScratchFile {
 public:
  explicit ScratchFile(const char* ending);
  ~ScratchFile();
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;
  const char* path() const { return path_.c_str(); }
  double size() const;  // bytes

 private:
  std::string path_;
};
