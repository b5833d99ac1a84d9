#include "fuzz/zxf/reseal.h"

#include "zxf/block.h"

namespace {

using namespace zdb::zxfile;

// Walks the blocks from the end of the header as far as their sizes lead.
void resealBlocks(Bytes& file, std::uint64_t end) {
  std::uint64_t at = kHeaderSize;
  while (at + kBlockHeaderSize <= end) {
    BlockHeader header;
    FieldReader fields(ByteSpan(file).subspan(at, kBlockHeaderSize), Errc::DamagedRecords);
    visit(fields, header);
    if (header.payloadSize > end - at - kBlockHeaderSize) return;
    const ByteSpan payload = ByteSpan(file).subspan(at + kBlockHeaderSize, header.payloadSize);
    storeInt(file.data() + at + kBlockHeaderSize - kChecksumSize, blockChecksum(header, payload));
    at += kBlockHeaderSize + header.payloadSize;
  }
}

void resealSection(const Bytes& file, Section& section) {
  if (section.offset > file.size() || section.size > file.size() - section.offset) return;
  section.checksum = checksumOf(ByteSpan(file).subspan(section.offset, section.size));
}

}  // namespace

void reseal(std::vector<std::uint8_t>& file) {
  if (file.size() < kHeaderSize) return;
  FileHeader header;
  FieldReader fields(file, Errc::DamagedHeader);
  visit(fields, header);
  header.fileSize = file.size();
  resealBlocks(file, std::min<std::uint64_t>(file.size(), header.labels.offset));
  for (Section* section : {&header.labels, &header.texts, &header.symbols}) {
    resealSection(file, *section);
  }
  Bytes bytes;
  FieldWriter writer(bytes);
  visit(writer, header);
  const ByteSpan checked = ByteSpan(bytes).first(kHeaderSize - kChecksumSize);
  storeInt(bytes.data() + checked.size(), checksumOf(checked));
  std::copy(bytes.begin(), bytes.end(), file.begin());
}
