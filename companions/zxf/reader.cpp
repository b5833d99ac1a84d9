#include "zxf/reader.h"

#include <algorithm>

namespace zdb::zxfile {

const SymbolEntry& Reader::symbol(int number) const {
  const std::size_t count = directory_.symbols.size();
  if (number < 1 || static_cast<std::size_t>(number) > count) {
    fail(Errc::BadSymbolNumber, printed("%d is not between 1 and %zu", number, count));
  }
  return directory_.symbols[number - 1];
}

int Reader::start(int number, const SpecialValues& delivered) {
  stop();
  const SymbolEntry& entry = symbol(number);
  if (entry.type == SymbolType::Alias) fail(Errc::NoRecordsOfItsOwn, entry.name);
  next_ = {&entry, static_cast<std::uint32_t>(number), entry.dataOffset, 0};
  rowSize_ = entry.dim;
  width_ = valueWidth(entry.type);
  try {
    nextBlock(delivered);
  } catch (...) {
    stop();  // a symbol that could not be started is not open
    throw;
  }
  return static_cast<int>(entry.recordCount);
}

void Reader::stop() {
  next_.symbol = nullptr;
  block_.count = 0;
  at_ = 0;
}

bool Reader::nextBlock(const SpecialValues& delivered) {
  if (next_.symbol == nullptr || next_.firstRecord == next_.symbol->recordCount) return false;
  try {
    readBlock(delivered);
  } catch (...) {
    // The damage is reported once; further calls are after the last record.
    block_.count = 0;
    at_ = 0;
    next_.firstRecord = next_.symbol->recordCount;
    throw;
  }
  return true;
}

BlockHeader readBlockAt(const InputFile& file, const BlockPlace& place, Bytes& payload) {
  const SymbolEntry& symbol = *place.symbol;
  const std::uint64_t left = symbol.dataOffset + symbol.dataSize - place.offset;
  const std::uint32_t recordsLeft = symbol.recordCount - place.firstRecord;
  const auto check = [&](bool good, const char* what) {
    if (!good) fail(Errc::DamagedRecords, what);
  };
  check(left >= kBlockHeaderSize, "room for a header");
  std::array<std::uint8_t, kBlockHeaderSize> bytes;
  file.read(place.offset, bytes);
  BlockHeader header;
  FieldReader fields(bytes, Errc::DamagedRecords);
  visit(fields, header);
  check(header.payloadSize <= left - kBlockHeaderSize, "payload size");
  check(header.recordCount >= 1 && header.recordCount <= std::min(kMaxBlockRecords, recordsLeft),
        "record count");
  check(header.recordCount < recordsLeft || header.payloadSize == left - kBlockHeaderSize,
        "bytes after the last block");
  check(header.symbol == place.number && header.firstRecord == place.firstRecord,
        "symbol or first record");
  // Bounded by the rest of the symbol, which is within the file.
  payload.resize(header.payloadSize);
  file.read(place.offset + kBlockHeaderSize, payload);
  check(header.checksum == blockChecksum(header, payload), "checksum");
  return header;
}

// Says where the damage is.
BlockHeader Reader::readPlacedBlock() {
  try {
    return readBlockAt(file_, next_, payload_);
  } catch (const ZxfError& failure) {
    if (failure.code() != Errc::DamagedRecords) throw;
    fail(Errc::DamagedRecords,
         printed("%s, block at byte %llu, symbol %s", failure.what(),
                 static_cast<unsigned long long>(next_.offset), next_.symbol->name.c_str()));
  }
}

void Reader::readBlock(const SpecialValues& delivered) {
  // The last row is about to be overwritten.
  std::array<int, kMaxDim> previous{};
  if (next_.firstRecord > 0) {
    std::copy_n(block_.rows.end() - rowSize_, rowSize_, previous.begin());
  }
  const BlockHeader header = readPlacedBlock();
  blocks_.read(payload_, *next_.symbol, header.recordCount, directory_.header.labelCount, delivered,
               block_);
  if (next_.firstRecord > 0) joinToPrevious(std::span(previous).first(rowSize_));
  at_ = 0;
  next_.firstRecord += header.recordCount;
  next_.offset += kBlockHeaderSize + header.payloadSize;
}

// Within a block, the coding guarantees the order; between blocks it must be checked.
void Reader::joinToPrevious(std::span<const int> previous) {
  const auto first = std::span<const int>(block_.rows).first(previous.size());
  const auto [was, is] = std::mismatch(previous.begin(), previous.end(), first.begin());
  if (was == previous.end() || *is < *was) {
    fail(Errc::DamagedRecords, printed("order of blocks of symbol %s", next_.symbol->name.c_str()));
  }
  block_.changed[0] = static_cast<std::uint8_t>(was - previous.begin() + 1);
}

}  // namespace zdb::zxfile
