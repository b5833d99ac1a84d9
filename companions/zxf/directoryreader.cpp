#include <algorithm>

#include "zxf/directory.h"

namespace zdb::zxfile {

namespace {

FileHeader readHeader(const InputFile& file) {
  Bytes bytes(std::min<std::uint64_t>(file.size(), kHeaderSize));
  file.read(0, bytes);
  const std::size_t known = std::min(bytes.size(), kMagic.size());
  if (known == 0 || !std::equal(kMagic.begin(), kMagic.begin() + known, bytes.begin())) {
    fail(Errc::ForeignFile);
  }
  FileHeader header;
  // First, because a later version may have changed anything else.
  if (bytes.size() >= kPreambleSize) {
    FieldReader preamble(bytes, Errc::DamagedHeader);
    visitPreamble(preamble, header);
    if (header.version > kFormatVersion)
      fail(Errc::NewerFormat, printed("version %u", header.version));
  }
  if (bytes.size() < kHeaderSize) {
    fail(Errc::TruncatedFile, printed("%zu bytes, less than a header", bytes.size()));
  }
  FieldReader fields(bytes, Errc::DamagedHeader);
  visit(fields, header);
  if (header.checksum != checksumOf(ByteSpan(bytes).first(kHeaderSize - kChecksumSize))) {
    fail(Errc::DamagedHeader, "checksum");
  }
  return header;
}

// A section must begin at the end of the previous one; the last one ends the file.
std::uint64_t checkSection(const Section& section, std::uint64_t begin, std::uint64_t fileSize) {
  if (section.offset != begin || section.size > fileSize - begin) {
    fail(Errc::DamagedHeader, "place of a section");
  }
  return section.offset + section.size;
}

void checkHeader(const FileHeader& header, const InputFile& file) {
  if (header.version != kFormatVersion || header.headerSize != kHeaderSize ||
      header.reserved != 0) {
    fail(Errc::DamagedHeader, "version, header size or reserved field");
  }
  if (file.size() < header.fileSize) {
    fail(Errc::TruncatedFile,
         printed("only %llu of %llu bytes", static_cast<unsigned long long>(file.size()),
                 static_cast<unsigned long long>(header.fileSize)));
  }
  if (std::max({header.labelCount, header.textCount, header.symbolCount}) > kMaxCount) {
    fail(Errc::DamagedHeader, "count");
  }
  // Blocks end where the labels begin; from there on there are no gaps.
  const std::uint64_t begin = header.labels.offset;
  if (begin < kHeaderSize || begin > header.fileSize) {
    fail(Errc::DamagedHeader, "place of a section");
  }
  std::uint64_t end = checkSection(header.labels, begin, header.fileSize);
  end = checkSection(header.texts, end, header.fileSize);
  end = checkSection(header.symbols, end, header.fileSize);
  if (end != header.fileSize || file.size() != header.fileSize) {
    fail(Errc::DamagedHeader, "bytes after the end");
  }
}

Bytes readSection(const InputFile& file, const Section& section, StreamReader& streams,
                  const char* name) {
  Bytes stored(section.size);  // within the file: checkHeader() has checked it
  file.read(section.offset, stored);
  if (checksumOf(stored) != section.checksum) {
    fail(Errc::DamagedDirectory, printed("checksum of the %s at byte %llu", name,
                                         static_cast<unsigned long long>(section.offset)));
  }
  const std::uint64_t limit =
      std::min(kMaxSectionSize, kMaxExpansion * section.size + kExpansionSlack);
  FieldReader in(stored, Errc::DamagedDirectory);
  Bytes raw;
  streams.read(in, raw, limit, name);
  return raw;
}

// Strict domains are earlier one-dimensional sets, aliases of such sets, or the universe.
bool strictDomainsExist(const Directory& directory, const SymbolEntry& entry) {
  bool exist = true;
  forEachDomain(entry, [&](int, std::string_view name) {
    const std::uint32_t number = directory.names.find(name);
    const SymbolEntry* set = number == 0 ? nullptr : &directory.symbols[number - 1];
    exist &= name == "*" || (set != nullptr && isDomainSet(*set));
  });
  return exist;
}

// Checks a symbol, which is not in the list yet, against the earlier ones.
void checkSymbol(const Directory& directory, const SymbolEntry& entry) {
  const std::size_t before = directory.symbols.size();
  const auto damaged = [&](const char* what) {
    fail(Errc::DamagedDirectory, printed("%s of symbol number %zu", what, before + 1));
  };
  if (!isSymbolName(entry.name)) damaged("name");
  if (entry.dim > kMaxDim) damaged("dimension");
  if (entry.recordCount > kMaxCount) damaged("record count");
  if (entry.dim == 0 && entry.recordCount > 1) damaged("record count");
  if (entry.domainKind == DomainKind::Strict && !strictDomainsExist(directory, entry)) {
    damaged("domain");
  }
  // Each block has a header and a limited number of records.
  const std::uint64_t blocks =
      (std::uint64_t{entry.recordCount} + kMaxBlockRecords - 1) / kMaxBlockRecords;
  if (entry.dataSize / kBlockHeaderSize < blocks) damaged("data size");
  if (entry.recordCount == 0 && entry.dataSize > 0) damaged("data size");
  if (entry.type != SymbolType::Alias) return;
  if (entry.recordCount > 0 || entry.domainKind != DomainKind::None) damaged("data of an alias");
  const auto target = static_cast<std::uint32_t>(entry.userInfo);
  if (target > before) damaged("alias target");
  const SymbolEntry* set = target == 0 ? nullptr : &directory.symbols[target - 1];
  if (set != nullptr && set->type != SymbolType::Set) damaged("alias target");
  if (entry.dim != (set == nullptr ? 1 : set->dim)) damaged("dimension");
}

void readSymbols(Directory& directory, ByteSpan raw) {
  FieldReader fields(raw, Errc::DamagedDirectory);
  fields.text("producer", directory.producer);
  std::uint64_t end = kHeaderSize;
  for (std::uint32_t i = 0; i < directory.header.symbolCount; ++i) {
    SymbolEntry entry;
    visit(fields, entry);
    checkSymbol(directory, entry);
    if (entry.dataOffset != end || entry.dataSize > directory.header.labels.offset - end) {
      fail(Errc::DamagedDirectory, printed("data offset of symbol number %u", i + 1));
    }
    end += entry.dataSize;
    if (directory.names.add(entry.name) == 0) {
      fail(Errc::DamagedDirectory, printed("symbol number %u repeats a name", i + 1));
    }
    directory.symbols.push_back(std::move(entry));
  }
  if (fields.left() > 0) fields.damaged("bytes after the last symbol");
  if (end != directory.header.labels.offset) fields.damaged("bytes after the last block");
}

}  // namespace

Directory readDirectory(const InputFile& file) {
  Directory directory;
  directory.header = readHeader(file);
  const FileHeader& header = directory.header;
  checkHeader(header, file);
  StreamReader streams;
  directory.labels.adopt(readSection(file, header.labels, streams, "labels"), header.labelCount,
                         Errc::DamagedDirectory);
  directory.texts.adopt(readSection(file, header.texts, streams, "texts"), header.textCount,
                        Errc::DamagedDirectory);
  readSymbols(directory, readSection(file, header.symbols, streams, "symbols"));
  return directory;
}

}  // namespace zdb::zxfile
