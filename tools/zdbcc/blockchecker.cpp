#include "blockchecker.h"

#include <algorithm>
#include <bit>

namespace zdb::tool {

using namespace zdb::zxfile;

namespace {

// The unit of disks: where one cannot be read, the next may be.
constexpr std::uint64_t kPieceSize = 4096;

BlockHeader headerIn(ByteSpan bytes) {
  BlockHeader header;
  FieldReader fields(bytes, Errc::DamagedRecords);
  visit(fields, header);
  return header;
}

}  // namespace

std::string describe(const ZxfError& failure) {
  const std::string text = errorText(static_cast<int>(failure.code()));
  return *failure.what() == '\0' ? text : text + ": " + failure.what();
}

std::string describe(const ZxfError& failure, const std::string& file) {
  const std::string detail = failure.what();
  if (detail == file) return errorText(static_cast<int>(failure.code()));
  return detail.starts_with(file + ": ") ? detail.substr(file.size() + 2) : describe(failure);
}

const SpecialValues& neutralSpecials() {
  static const SpecialValues values = [] {
    SpecialValues result{};
    for (std::size_t i = 0; i < result.size(); ++i) {
      result[i] = std::bit_cast<double>(std::uint64_t{0x7FF45A5846C3D200} + i);
    }
    return result;
  }();
  return values;
}

void BlockChecker::check(std::uint32_t number, const std::function<void(const Block&)>& onBlock,
                         const std::function<void(const Damage&)>& onDamage) {
  const SymbolEntry& symbol = directory_.symbols[number - 1];
  BlockPlace place{&symbol, number, symbol.dataOffset, 0};
  lastKey_.clear();
  bytesToTry_ = 8 * symbol.dataSize;
  for (std::uint32_t block = 1; place.firstRecord < symbol.recordCount; ++block) {
    const BlockPlace before = place;
    std::string reason;
    if (read(place, reason)) {
      onBlock(block_);
      continue;
    }
    place = nextReadable(before);
    onDamage({symbol.name, block, before.offset, place.firstRecord - before.firstRecord, reason});
  }
}

// Reads the block at a place, which becomes the next one, or says why not.
bool BlockChecker::read(BlockPlace& place, std::string& reason) {
  try {
    const BlockHeader header = readBlockAt(file_, place, payload_);
    blocks_.read(payload_, *place.symbol, header.recordCount, directory_.header.labelCount,
                 neutralSpecials(), block_);
    const auto first = std::span<const int>(block_.rows).first(place.symbol->dim);
    if (!lastKey_.empty() && !std::ranges::lexicographical_compare(lastKey_, first))
      fail(Errc::DamagedRecords, "order of blocks");
    lastKey_.assign(block_.rows.end() - place.symbol->dim, block_.rows.end());
    place.firstRecord += header.recordCount;
    place.offset += kBlockHeaderSize + header.payloadSize;
    return true;
  } catch (const ZxfError& failure) {
    const bool isPart = failure.code() == Errc::DamagedRecords;  // which the text names
    reason = isPart ? failure.what() : describe(failure);
    return false;
  }
}

// The next place at which a block can be read, or the end of the symbol.
BlockPlace BlockChecker::nextReadable(const BlockPlace& damaged) {
  const SymbolEntry& symbol = *damaged.symbol;
  const std::uint64_t end = symbol.dataOffset + symbol.dataSize;
  Bytes piece;
  for (std::uint64_t at = damaged.offset + 1; at + kBlockHeaderSize <= end; at += kPieceSize) {
    piece.resize(std::min(end - at, kPieceSize + kBlockHeaderSize - 1));
    try {
      file_.read(at, piece);
    } catch (const ZxfError&) {
      continue;
    }
    for (std::size_t i = 0; i + kBlockHeaderSize <= piece.size(); ++i) {
      const BlockHeader header = headerIn(ByteSpan(piece).subspan(i, kBlockHeaderSize));
      if (header.symbol != damaged.number || header.firstRecord <= damaged.firstRecord) continue;
      if (header.firstRecord >= symbol.recordCount) continue;
      const BlockPlace place{&symbol, damaged.number, at + i, header.firstRecord};
      if (holdsBlock(place)) return place;
    }
  }
  return {&symbol, damaged.number, end, symbol.recordCount};
}

// By its checksum, whatever is in it.
bool BlockChecker::holdsBlock(const BlockPlace& place) {
  if (bytesToTry_ == 0) return false;
  payload_.clear();
  bool isGood = true;
  try {
    readBlockAt(file_, place, payload_);
  } catch (const ZxfError&) {
    isGood = false;
  }
  bytesToTry_ -= std::min<std::uint64_t>(bytesToTry_, kBlockHeaderSize + payload_.size());
  return isGood;
}

}  // namespace zdb::tool
