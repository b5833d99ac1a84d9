// The directory of a file: header, labels, texts and symbols; all that is read when a file is
// opened.
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
  NameList names;                    ///< of the symbols, so that they are found by name
  std::vector<SymbolEntry> symbols;  ///< number n stands at n - 1
};

/// Whether a symbol can be a strict domain: a one-dimensional set or an alias, which has the
/// dimension of its set.
inline bool isDomainSet(const SymbolEntry& entry) {
  return entry.dim == 1 && (entry.type == SymbolType::Set || entry.type == SymbolType::Alias);
}

/// Calls with(position from 0, name) for each domain name of a symbol that has any.
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

/// Packs the three sections behind the blocks, fills in the header and writes it over the
/// kHeaderSize bytes kept free at the start. REQUIRES: only blocks have been appended behind those.
void writeDirectory(Directory& directory, OutputFile& file, StreamWriter& streams);

/// Reads and checks everything but the blocks. What it returns keeps these promises, whatever the
/// file holds: counts, dimensions and types are in range; labels are labels, distinct and dense;
/// symbol names are distinct; an alias stands behind the set it names; the blocks of the symbols
/// fill the space between header and labels without gaps. Fails with ForeignFile, NewerFormat,
/// TruncatedFile, DamagedHeader or DamagedDirectory.
Directory readDirectory(const InputFile& file);

}  // namespace zdb::zxfile
