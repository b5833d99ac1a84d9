#include "zxf/reader.h"

#include <algorithm>

namespace zdb::zxfile {

const SymbolEntry& Reader::symbol(int number) const {
  const std::size_t count = directory().symbols.size();
  if (number < 1 || static_cast<std::size_t>(number) > count) {
    fail(Errc::BadSymbolNumber, printed("%d is not between 1 and %zu", number, count));
  }
  return directory().symbols[number - 1];
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
  landmarks_.clear();
  kept_.reset(0);
  block_.count = 0;
  at_ = 0;
  isLastKeyKnown_ = false;
}

bool Reader::nextBlock(const SpecialValues& delivered) {
  if (next_.symbol == nullptr || next_.firstRecord == next_.symbol->recordCount) return false;
  try {
    readBlock(delivered);
  } catch (...) {
    giveUp();
    throw;
  }
  return true;
}

// The damage is reported once; further calls are after the last record.
void Reader::giveUp() {
  landmarks_.clear();
  kept_.clear();
  block_.count = 0;
  at_ = 0;
  next_.firstRecord = next_.symbol->recordCount;
}

namespace {

void check(bool good, const char* what) {
  if (!good) fail(Errc::DamagedRecords, what);
}

/// Whether the work met no damage among the records; other failures are passed on.
template <typename Work>
bool unlessDamaged(Work work) {
  try {
    work();
  } catch (const ZxfError& failure) {
    if (failure.code() != Errc::DamagedRecords) throw;
    return false;
  }
  return true;
}

}  // namespace

BlockHeader readHeaderAt(const InputFile& file, const BlockPlace& place) {
  const SymbolEntry& symbol = *place.symbol;
  const std::uint64_t left = symbol.dataOffset + symbol.dataSize - place.offset;
  const std::uint32_t recordsLeft = symbol.recordCount - place.firstRecord;
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
  return header;
}

BlockHeader readBlockAt(const InputFile& file, const BlockPlace& place, Bytes& payload) {
  const BlockHeader header = readHeaderAt(file, place);
  // Bounded by the rest of the symbol, which is within the file.
  payload.resize(header.payloadSize);
  file.read(place.offset + kBlockHeaderSize, payload);
  check(header.checksum == blockChecksum(header, payload), "checksum");
  return header;
}

// Says where the damage is.
BlockHeader Reader::readPlacedBlock() {
  try {
    return readBlockAt(file_->input, next_, payload_);
  } catch (const ZxfError& failure) {
    if (failure.code() != Errc::DamagedRecords) throw;
    fail(Errc::DamagedRecords,
         printed("%s, block at byte %llu, symbol %s", failure.what(),
                 static_cast<unsigned long long>(next_.offset), next_.symbol->name.c_str()));
  }
}

void Reader::readBlock(const SpecialValues& delivered) {
  unpack(readPlacedBlock(), delivered);
}

void Reader::unpack(const BlockHeader& header, const SpecialValues& delivered) {
  blocks_.read(payload_, *next_.symbol, header.recordCount, directory().header.labelCount,
               delivered, block_);
  const std::span<const int> rows(block_.rows);
  if (isLastKeyKnown_) {
    block_.changed[0] = static_cast<std::uint8_t>(joinToPrevious(rows.first(rowSize_)));
  }
  rememberLastKey();
  at_ = 0;
  pass(header);
}

void Reader::unpack(const BlockHeader& header, const ColumnPlaces& to,
                    const SpecialValues& delivered) {
  blocks_.read(payload_, *next_.symbol, header.recordCount, directory().header.labelCount,
               delivered, to);
  std::array<int, kMaxDim> firstKey{};
  for (int d = 0; d < rowSize_; ++d) firstKey[d] = to.keys[d][0];
  if (isLastKeyKnown_) joinToPrevious(std::span(firstKey).first(rowSize_));
  const std::ptrdiff_t last = (std::ptrdiff_t{header.recordCount} - 1) * to.keyStep;
  for (int d = 0; d < rowSize_; ++d) lastKey_[d] = to.keys[d][last];
  isLastKeyKnown_ = true;
  block_.count = 0;
  at_ = 0;
  pass(header);
}

void Reader::rememberLastKey() {
  std::copy(block_.rows.end() - rowSize_, block_.rows.end(), lastKey_.begin());
  isLastKeyKnown_ = true;
}

void Reader::pass(const BlockHeader& header) {
  next_.firstRecord += header.recordCount;
  next_.offset += kBlockHeaderSize + header.payloadSize;
}

std::uint32_t Reader::takeMany(std::uint32_t room, const ColumnPlaces& to,
                               const SpecialValues& delivered) {
  if (at_ < block_.count) return copyOut(room, to);
  if (next_.firstRecord == next_.symbol->recordCount) return 0;
  try {
    const BlockHeader header = readPlacedBlock();
    if (header.recordCount <= room && to.areDense()) {
      unpack(header, to, delivered);
      return header.recordCount;
    }
    unpack(header, delivered);
  } catch (...) {
    giveUp();
    throw;
  }
  return copyOut(room, to);
}

std::uint32_t Reader::copyOut(std::uint32_t room, const ColumnPlaces& to) {
  const std::uint32_t count = std::min(room, block_.count - at_);
  const int* const rows = block_.rows.data() + std::size_t{at_} * rowSize_;
  for (int d = 0; d < rowSize_; ++d) {
    for (std::uint32_t i = 0; i < count; ++i) {
      to.keys[d][i * to.keyStep] = rows[std::ptrdiff_t{i} * rowSize_ + d];
    }
  }
  for (int c = 0; c < width_; ++c) {
    const double* const values = block_.columns[c].data() + at_;
    for (std::uint32_t i = 0; i < count; ++i) to.values[c][i * to.valueStep] = values[i];
  }
  at_ += count;
  return count;
}

// Within a block, the coding guarantees the order; between blocks it must be checked.
int Reader::joinToPrevious(std::span<const int> firstKey) const {
  const auto [is, was] = std::ranges::mismatch(firstKey, lastKey_);
  if (is == firstKey.end() || *is < *was) {
    fail(Errc::DamagedRecords, printed("order of blocks of symbol %s", next_.symbol->name.c_str()));
  }
  return static_cast<int>(is - firstKey.begin()) + 1;
}

// Up to one whose header is damaged.
void Reader::findBlocks() {
  BlockPlace place{next_.symbol, next_.number, next_.symbol->dataOffset, 0};
  while (place.firstRecord < place.symbol->recordCount) {
    landmarks_.push_back({place.offset, place.firstRecord});
    BlockHeader header;
    const bool isSound = unlessDamaged([&] { header = readHeaderAt(file_->input, place); });
    if (!isSound) return;
    place.firstRecord += header.recordCount;
    place.offset += kBlockHeaderSize + header.payloadSize;
  }
}

void Reader::keepBlocks(std::size_t bytes) {
  const std::size_t record = rowSize_ * sizeof(int) + width_ * sizeof(double) + 1;
  kept_.reset(bytes / (record * kMaxBlockRecords));
}

void Reader::jumpTo(std::size_t n, const SpecialValues& delivered) {
  Landmark& there = landmarks_[n];
  const bool isAtHand = block_.count > 0 && next_.firstRecord - block_.count == there.firstRecord;
  if (!isAtHand) {
    if (block_.count > 0) kept_.put(next_.firstRecord - block_.count, next_.offset, block_);
    next_.offset = there.offset;
    next_.firstRecord = there.firstRecord;
    isLastKeyKnown_ = false;
    if (kept_.take(there.firstRecord, next_.offset, block_)) {
      next_.firstRecord += block_.count;
      rememberLastKey();
    } else {
      block_.count = 0;
      readBlock(delivered);
    }
  }
  at_ = 0;
  there.firstKey.assign(block_.rows.begin(), block_.rows.begin() + rowSize_);
}

// False for a damaged block: the way to the labels is then the one from before, on which its damage
// shows if it is in the way.
bool Reader::isBefore(std::size_t block, std::span<const int> leading,
                      const SpecialValues& delivered) {
  const std::vector<int>& key = landmarks_[block].firstKey;
  if (key.empty() && !unlessDamaged([&] { jumpTo(block, delivered); })) return false;
  return std::lexicographical_compare(key.begin(), key.begin() + std::ssize(leading),
                                      leading.begin(), leading.end());
}

void Reader::seek(std::span<const int> leading, const SpecialValues& delivered) {
  if (rowSize_ == 0 || next_.symbol->recordCount == 0) return;
  try {
    if (landmarks_.empty()) findBlocks();
    // The block that begins last before the labels is the first one that can have them.
    std::size_t first = 0;
    for (std::size_t end = leading.empty() ? 1 : landmarks_.size(); end - first > 1;) {
      const std::size_t middle = first + (end - first) / 2;
      (isBefore(middle, leading, delivered) ? first : end) = middle;
    }
    jumpTo(first, delivered);
  } catch (...) {
    giveUp();
    throw;
  }
  goTo(leading);
}

// Within the block at hand; to its end if all records are below.
void Reader::goTo(std::span<const int> leading) {
  for (std::uint32_t end = block_.count; at_ < end;) {
    const std::uint32_t middle = at_ + (end - at_) / 2;
    const int* row = block_.rows.data() + std::size_t{middle} * rowSize_;
    const bool isBelow =
        std::lexicographical_compare(row, row + leading.size(), leading.begin(), leading.end());
    if (isBelow) {
      at_ = middle + 1;
    } else {
      end = middle;
    }
  }
}

}  // namespace zdb::zxfile
