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
  symbol_ = &entry;
  number_ = static_cast<std::uint32_t>(number);
  rowSize_ = entry.dim;
  width_ = valueWidth(entry.type);
  recordsRead_ = 0;
  offset_ = entry.dataOffset;
  try {
    nextBlock(delivered);
  } catch (...) {
    stop();  // a symbol that could not be started is not open
    throw;
  }
  return static_cast<int>(entry.recordCount);
}

void Reader::stop() {
  symbol_ = nullptr;
  block_.count = 0;
  at_ = 0;
}

bool Reader::nextBlock(const SpecialValues& delivered) {
  if (symbol_ == nullptr || recordsRead_ == symbol_->recordCount) return false;
  try {
    readBlock(delivered);
  } catch (...) {
    // The damage is reported once; further calls are after the last record.
    block_.count = 0;
    at_ = 0;
    recordsRead_ = symbol_->recordCount;
    throw;
  }
  return true;
}

BlockHeader Reader::readBlockHeader() {
  const std::uint64_t left = symbol_->dataOffset + symbol_->dataSize - offset_;
  const std::uint32_t recordsLeft = symbol_->recordCount - recordsRead_;
  const auto check = [&](bool good, const char* what) {
    if (!good) {
      fail(Errc::DamagedRecords,
           printed("%s, block at byte %llu, symbol %s", what,
                   static_cast<unsigned long long>(offset_), symbol_->name.c_str()));
    }
  };
  check(left >= kBlockHeaderSize, "room for a header");
  std::array<std::uint8_t, kBlockHeaderSize> bytes;
  file_.read(offset_, bytes);
  BlockHeader header;
  FieldReader fields(bytes, Errc::DamagedRecords);
  visit(fields, header);
  check(header.payloadSize <= left - kBlockHeaderSize, "payload size");
  check(header.recordCount >= 1 && header.recordCount <= std::min(kMaxBlockRecords, recordsLeft),
        "record count");
  check(header.recordCount < recordsLeft || header.payloadSize == left - kBlockHeaderSize,
        "bytes after the last block");
  check(header.symbol == number_ && header.firstRecord == recordsRead_, "symbol or first record");
  // Bounded by the rest of the symbol, which is within the file.
  payload_.resize(header.payloadSize);
  file_.read(offset_ + kBlockHeaderSize, payload_);
  check(header.checksum == blockChecksum(header, payload_), "checksum");
  return header;
}

void Reader::readBlock(const SpecialValues& delivered) {
  // The last row is about to be overwritten.
  std::array<int, kMaxDim> previous{};
  if (recordsRead_ > 0) {
    std::copy_n(block_.rows.end() - rowSize_, rowSize_, previous.begin());
  }
  const BlockHeader header = readBlockHeader();
  blocks_.read(payload_, *symbol_, header.recordCount, directory_.header.labelCount, delivered,
               block_);
  if (recordsRead_ > 0) joinToPrevious(std::span(previous).first(rowSize_));
  at_ = 0;
  recordsRead_ += header.recordCount;
  offset_ += kBlockHeaderSize + header.payloadSize;
}

// Within a block, the coding guarantees the order; between blocks it must be checked.
void Reader::joinToPrevious(std::span<const int> previous) {
  const auto first = std::span<const int>(block_.rows).first(previous.size());
  const auto [was, is] = std::mismatch(previous.begin(), previous.end(), first.begin());
  if (was == previous.end() || *is < *was) {
    fail(Errc::DamagedRecords, printed("order of blocks of symbol %s", symbol_->name.c_str()));
  }
  block_.changed[0] = static_cast<std::uint8_t>(was - previous.begin() + 1);
}

}  // namespace zdb::zxfile
