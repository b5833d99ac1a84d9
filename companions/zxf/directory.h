// The directory of a file: header, labels, texts and symbols. It is what opening a file reads.
#pragma once

#include <string>
#include <vector>

#include "zxf/fields.h"
#include "zxf/file.h"
#include "zxf/names.h"
#include "zxf/stream.h"

namespace zdb::zxfile {

struct Directory {
  FileHeader header;
  NameList labels;
  TextList texts;
  std::string producer;
  NameList names;                    ///< of the symbols
  std::vector<SymbolEntry> symbols;  ///< number n is at index n - 1
};

/// Whether a symbol can be a strict domain: a one-dimensional set or an alias of one.
inline bool isDomainSet(const SymbolEntry& entry) {
  return entry.dim == 1 && (entry.type == SymbolType::Set || entry.type == SymbolType::Alias);
}

/// For a symbol with a domain, calls with(d, name) for each dimension, 0 <= d < dim.
template <typename With>
void forEachDomain(const SymbolEntry& entry, With with) {
  const std::string_view packed = entry.domains;
  std::size_t at = 0;
  for (int d = 0; at < packed.size(); ++d) {
    const auto length = static_cast<std::uint8_t>(packed[at]);
    with(d, packed.substr(at + 1, length));
    at += length + std::size_t{1};
  }
}

/// Appends the three sections, fills in the header and writes it over the kHeaderSize bytes
/// reserved at the start.
/// REQUIRES only blocks have been appended after those bytes.
void writeDirectory(Directory& directory, OutputFile& file, StreamWriter& streams);

/// Reads and checks everything but the blocks. Whatever the file holds, the result has these
/// properties: counts, dimensions and types are in range; labels are valid, distinct and numbered
/// without gaps; symbol names are distinct; an alias comes after its set; the blocks of the symbols
/// fill the space between header and labels without gaps. Fails with ForeignFile, NewerFormat,
/// TruncatedFile, DamagedHeader or DamagedDirectory.
Directory readDirectory(const InputFile& file);

}  // namespace zdb::zxfile
