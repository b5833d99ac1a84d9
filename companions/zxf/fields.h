// The fields of the exchange file: one visit function per structure drives the writer, the reader
// and the test that compares the documentation, so that the three cannot diverge.
//
// A visitor has number(name, integer), choice(name, enum, last valid), varint(name, u64),
// text(name, up to 255 bytes) and texts(name, packed texts, count). Only format version 1 exists; a
// later version appends fields at the end of a structure and visits them when the header's version
// says so.
#pragma once

#include <string>
#include <vector>

#include "zxf/format.h"

namespace zdb::zxfile {

/// The position of one part of the directory: a stream, padded with zero bytes up to `size`.
struct Section {
  std::uint64_t offset = 0;
  std::uint64_t size = 0;
  std::uint64_t checksum = 0;  ///< XXH3 64 of the `size` bytes
};

template <typename Visitor>
void visit(Visitor& v, Section& section) {
  v.number("offset", section.offset);
  v.number("size", section.size);
  v.number("checksum", section.checksum);
}

/// The first bytes of every file. Blocks follow immediately, then labels, texts and symbols,
/// without gaps, up to the end of the file.
struct FileHeader {
  std::uint64_t magic = 0;
  std::uint32_t version = kFormatVersion;
  std::uint32_t headerSize = 0;
  std::uint64_t fileSize = 0;
  std::uint32_t labelCount = 0;
  std::uint32_t textCount = 0;
  std::uint32_t symbolCount = 0;
  std::uint32_t reserved = 0;
  Section labels;
  Section texts;
  Section symbols;
  std::uint64_t checksum = 0;  ///< XXH3 64 of all bytes of the header before this field
};

/// Magic, version and size of the header: every later version has them at the same offsets.
template <typename Visitor>
void visitPreamble(Visitor& v, FileHeader& header) {
  v.number("magic", header.magic);
  v.number("version", header.version);
  v.number("header size", header.headerSize);
}

template <typename Visitor>
void visit(Visitor& v, FileHeader& header) {
  visitPreamble(v, header);
  v.number("file size", header.fileSize);
  v.number("labels", header.labelCount);
  v.number("texts", header.textCount);
  v.number("symbols", header.symbolCount);
  v.number("reserved", header.reserved);
  visit(v, header.labels);
  visit(v, header.texts);
  visit(v, header.symbols);
  v.number("header checksum", header.checksum);
}

inline constexpr std::size_t kPreambleSize = 16;
inline constexpr std::size_t kHeaderSize = 120;

/// One symbol of the symbols section. Its blocks are the bytes dataOffset <= i < dataOffset +
/// dataSize of the file.
struct SymbolEntry {
  std::string name;
  SymbolType type = SymbolType::Set;
  std::uint8_t dim = 0;
  DomainKind domainKind = DomainKind::None;
  std::int32_t userInfo = 0;  ///< of an alias: the number of its set, 0 for the universe
  std::uint32_t recordCount = 0;
  std::uint64_t dataOffset = 0;
  std::uint64_t dataSize = 0;
  std::string text;
  /// `dim` names, each a length byte and its bytes; empty without domains. Packed, because a list
  /// of strings would take 32 bytes for each empty name, for which a damaged file needs only one.
  std::string domains;
};

template <typename Visitor>
void visit(Visitor& v, SymbolEntry& entry) {
  v.text("name", entry.name);
  v.choice("type", entry.type, SymbolType::Alias);
  v.number("dimension", entry.dim);
  v.choice("domain kind", entry.domainKind, DomainKind::Strict);
  v.number("user info", entry.userInfo);
  v.number("records", entry.recordCount);
  v.number("data offset", entry.dataOffset);
  v.number("data size", entry.dataSize);
  v.text("text", entry.text);
  if (entry.domainKind != DomainKind::None) v.texts("domain", entry.domains, entry.dim);
}

/// Precedes the payload of each block of records.
struct BlockHeader {
  std::uint32_t payloadSize = 0;
  std::uint32_t recordCount = 0;
  std::uint32_t symbol = 0;
  std::uint32_t firstRecord = 0;  ///< records of the symbol in earlier blocks
  std::uint64_t checksum = 0;     ///< XXH3 64 of the payload, seeded with that of the other fields
};

template <typename Visitor>
void visit(Visitor& v, BlockHeader& header) {
  v.number("payload size", header.payloadSize);
  v.number("records", header.recordCount);
  v.number("symbol", header.symbol);
  v.number("first record", header.firstRecord);
  v.number("checksum", header.checksum);
}

inline constexpr std::size_t kBlockHeaderSize = 24;
inline constexpr std::size_t kChecksumSize = 8;  ///< the last field of both headers

/// Precedes each run of bytes that is packed as one.
struct StreamHeader {
  StreamMethod method = StreamMethod::Stored;
  std::uint64_t rawSize = 0;
  std::uint64_t storedSize = 0;
};

template <typename Visitor>
void visit(Visitor& v, StreamHeader& header) {
  v.choice("method", header.method, StreamMethod::Repeated);
  v.varint("raw size", header.rawSize);
  v.varint("stored size", header.storedSize);
}

/// Precedes each column of values.
struct ColumnHeader {
  ColumnKind kind = ColumnKind::Constant;
  std::uint8_t code = kLiteralCode;  ///< Constant: a slot of the special values, or kLiteralCode
  std::uint64_t bits = 0;            ///< Constant, kLiteralCode: the bit pattern of the value
  std::uint8_t decimals = 0;         ///< Decimal
  std::uint8_t width = 0;            ///< Decimal: bytes of each n, one stream for each
  std::int64_t base = 0;             ///< Decimal
};

template <typename Visitor>
void visit(Visitor& v, ColumnHeader& header) {
  v.choice("kind", header.kind, ColumnKind::Double);
  if (header.kind == ColumnKind::Constant) {
    v.number("code", header.code);
    if (header.code == kLiteralCode) v.number("value", header.bits);
  } else if (header.kind == ColumnKind::Decimal) {
    v.number("decimals", header.decimals);
    v.number("width", header.width);
    v.number("base", header.base);
  }
}

}  // namespace zdb::zxfile
