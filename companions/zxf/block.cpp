#include "zxf/block.h"

namespace zdb::zxfile {

std::uint64_t blockChecksum(BlockHeader header, ByteSpan payload) {
  // The checksum of the header seeds that of the payload, so that neither can be exchanged alone.
  Bytes bytes;
  FieldWriter fields(bytes);
  visit(fields, header);
  const std::uint64_t seed = checksumOf(ByteSpan(bytes).first(kBlockHeaderSize - kChecksumSize));
  return checksumOf(payload, seed);
}

void BlockWriter::start(std::uint32_t symbol, int dim, int width) {
  symbol_ = symbol;
  firstRecord_ = 0;
  dim_ = dim;
  width_ = width;
  keys_.start(dim);
  for (int c = 0; c < width; ++c) values_[c].resize(kMaxBlockRecords);
}

ByteSpan BlockWriter::pack(const SpecialMatcher& specials) {
  payload_.clear();
  keys_.append(payload_, streams_);
  for (int c = 0; c < width_; ++c) {
    columns_.append(payload_, std::span(values_[c]).first(keys_.count()), specials);
  }
  BlockHeader header;
  header.payloadSize = static_cast<std::uint32_t>(payload_.size());
  header.recordCount = keys_.count();
  header.symbol = symbol_;
  header.firstRecord = firstRecord_;
  header.checksum = blockChecksum(header, payload_);
  block_.clear();
  FieldWriter fields(block_);
  visit(fields, header);
  block_.insert(block_.end(), payload_.begin(), payload_.end());
  firstRecord_ += keys_.count();
  keys_.start(dim_);
  return block_;
}

void BlockReader::read(ByteSpan payload, const SymbolEntry& symbol, std::uint32_t count,
                       std::uint32_t labelCount, const SpecialValues& delivered, Block& block) {
  FieldReader in(payload, Errc::DamagedRecords);
  block.count = 0;  // what fails leaves no records
  block.rows.resize(std::size_t{count} * symbol.dim);
  block.changed.resize(count);
  keys_.read(in, symbol.dim, labelCount, block.rows, block.changed);
  std::array<double*, 5> columns{};
  for (int c = 0; c < valueWidth(symbol.type); ++c) {
    block.columns[c].resize(count);
    columns[c] = block.columns[c].data();
  }
  readValues(in, symbol.type, count, delivered, columns);
  block.count = count;
}

void BlockReader::read(ByteSpan payload, const SymbolEntry& symbol, std::uint32_t count,
                       std::uint32_t labelCount, const SpecialValues& delivered,
                       const ColumnPlaces& to) {
  FieldReader in(payload, Errc::DamagedRecords);
  if (to.keyStep == 1) {
    keys_.readColumns(in, symbol.dim, labelCount, count, to.keys);
  } else {
    changed_.resize(count);
    const std::span rows(to.keys[0], std::size_t{count} * symbol.dim);
    keys_.read(in, symbol.dim, labelCount, rows, changed_);
  }
  readValues(in, symbol.type, count, delivered, to.values);
}

void BlockReader::readValues(FieldReader& in, SymbolType type, std::uint32_t count,
                             const SpecialValues& delivered, std::span<double* const> columns) {
  for (int c = 0; c < valueWidth(type); ++c) columns_.read(in, {columns[c], count}, delivered);
  if (in.left() > 0) in.damaged("payload of a block");
}

}  // namespace zdb::zxfile
