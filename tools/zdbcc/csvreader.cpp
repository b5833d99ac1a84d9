#include "csvreader.h"

#include <csv.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>

#include "console.h"

namespace zdb::tool {

namespace {

/// Devices and pipes may never end.
constexpr std::size_t kMostBytes = std::size_t{1} << 30;

/// Collects what the parser delivers, field by field.
struct Collector {
  std::vector<CsvRow> rows;
  CsvRow current;
  std::exception_ptr failure;  ///< an exception cannot pass through the parser

  template <typename Work>
  void guarded(Work work) noexcept {
    if (failure) return;
    try {
      work();
    } catch (...) {
      failure = std::current_exception();
    }
  }
};

void onField(void* text, std::size_t length, void* user) {
  auto& collector = *static_cast<Collector*>(user);
  collector.guarded(
      [&] { collector.current.fields.emplace_back(static_cast<char*>(text), length); });
}

void onRowEnd(int, void* user) {
  auto& collector = *static_cast<Collector*>(user);
  collector.guarded([&] {
    ++collector.current.number;
    if (!collector.current.fields.empty()) collector.rows.push_back(collector.current);
    collector.current.fields.clear();
  });
}

struct Parser {
  csv_parser state{};
  Parser() {
    if (csv_init(&state, CSV_STRICT | CSV_STRICT_FINI | CSV_APPEND_NULL) != 0)
      throw std::bad_alloc();
  }
  ~Parser() { csv_free(&state); }
  Parser(const Parser&) = delete;
  Parser& operator=(const Parser&) = delete;
};

}  // namespace

std::vector<CsvRow> readCsv(const std::string& name) {
  const bool isStandardInput = name == "-";
  const std::string file = isStandardInput ? "standard input" : name;
  std::ifstream opened;
  if (!isStandardInput) opened.open(name, std::ios::binary);
  std::istream& in = isStandardInput ? std::cin : opened;
  if (!in) throw ToolError("cannot read " + file + ": " + std::strerror(errno));
  Parser parser;
  Collector collector;
  const auto check = [&](bool holds) {
    if (collector.failure) std::rethrow_exception(collector.failure);
    if (holds) return;
    throw ToolError(file + ":" + std::to_string(collector.current.number + 1) + ": " +
                    csv_strerror(csv_error(&parser.state)));
  };
  char piece[65536];
  std::size_t total = 0;
  while (in.read(piece, sizeof piece) || in.gcount() > 0) {
    const auto size = static_cast<std::size_t>(in.gcount());
    if (std::memchr(piece, 0, size) != nullptr) {
      throw ToolError(file + " contains a zero byte, which no CSV file does");
    }
    total += size;
    if (total > kMostBytes) throw ToolError(file + " has more than 1 GiB, which is too much");
    check(csv_parse(&parser.state, piece, size, onField, onRowEnd, &collector) == size);
  }
  if (in.bad()) throw ToolError("cannot read " + file + ": " + std::strerror(errno));
  check(csv_fini(&parser.state, onField, onRowEnd, &collector) == 0);
  return std::move(collector.rows);
}

}  // namespace zdb::tool
