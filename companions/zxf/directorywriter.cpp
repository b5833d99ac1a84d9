#include "zxf/directory.h"

namespace zdb::zxfile {

namespace {

Section appendSection(OutputFile& file, StreamWriter& streams, ByteSpan raw) {
  if (raw.size() > kMaxSectionSize) fail(Errc::TooMany, "a section of the directory is full");
  Bytes stored;
  streams.append(stored, raw);
  // See kMaxExpansion: a section that packs better is padded with zero bytes.
  while (raw.size() > kMaxExpansion * stored.size() + kExpansionSlack) {
    stored.resize((raw.size() - kExpansionSlack + kMaxExpansion - 1) / kMaxExpansion);
  }
  Section section;
  section.offset = file.size();
  section.size = stored.size();
  section.checksum = checksumOf(stored);
  file.append(stored);
  return section;
}

Bytes symbolFields(Directory& directory) {
  Bytes bytes;
  FieldWriter fields(bytes);
  fields.text("producer", directory.producer);
  for (SymbolEntry& entry : directory.symbols) visit(fields, entry);
  return bytes;
}

}  // namespace

void writeDirectory(Directory& directory, OutputFile& file, StreamWriter& streams) {
  FileHeader& header = directory.header;
  header.magic = loadInt<std::uint64_t>(kMagic.data());
  header.headerSize = kHeaderSize;
  header.labelCount = directory.labels.list().size();
  header.textCount = directory.texts.size();
  header.symbolCount = static_cast<std::uint32_t>(directory.symbols.size());
  header.labels = appendSection(file, streams, directory.labels.list().stored());
  header.texts = appendSection(file, streams, directory.texts.stored());
  header.symbols = appendSection(file, streams, symbolFields(directory));
  header.fileSize = file.size();

  Bytes bytes;
  FieldWriter fields(bytes);
  visit(fields, header);
  const ByteSpan checked = ByteSpan(bytes).first(kHeaderSize - kChecksumSize);
  storeInt(bytes.data() + checked.size(), checksumOf(checked));
  file.rewriteStart(bytes);
}

}  // namespace zdb::zxfile
