#include "zxf/stream.h"

#include <xxhash.h>
#include <zstd.h>
#include <zstd_errors.h>

#include <new>

namespace zdb::zxfile {

namespace {

// The fastest of the regular levels. Values and key steps have hardly any repeats longer than a few
// bytes, so what is gained is entropy coding, and that is the same on all levels.
constexpr int kPackingLevel = 1;

bool isRepeated(ByteSpan raw) {
  return !raw.empty() && std::memcmp(raw.data(), raw.data() + 1, raw.size() - 1) == 0;
}

// Whether the packing library failed; memory that ran out is neither damage nor a fault.
bool hasFailed(std::size_t result) {
  if (ZSTD_isError(result) == 0) return false;
  if (ZSTD_getErrorCode(result) == ZSTD_error_memory_allocation) throw std::bad_alloc();
  return true;
}

// Frames of the packing library's early formats have other first bytes and are not ours, neither
// alone nor after a frame of today's format.
bool isOneFrame(ByteSpan stored) {
  return stored.size() >= sizeof(std::uint32_t) &&
         loadInt<std::uint32_t>(stored.data()) == ZSTD_MAGICNUMBER &&
         ZSTD_findFrameCompressedSize(stored.data(), stored.size()) == stored.size();
}

}  // namespace

std::uint64_t checksumOf(ByteSpan bytes, std::uint64_t seed) {
  return XXH3_64bits_withSeed(bytes.data(), bytes.size(), seed);
}

StreamWriter::StreamWriter() : context_(ZSTD_createCCtx()) {
  if (context_ == nullptr) throw std::bad_alloc();
}

StreamWriter::~StreamWriter() {
  ZSTD_freeCCtx(context_);
}

// Returns the size of the frame left in `packed`, or 0 when packing does not pay.
std::size_t StreamWriter::packInto(Bytes& packed, ByteSpan raw) {
  if (raw.size() < kMinPackedSize) return 0;
  packed.resize(ZSTD_compressBound(raw.size()));
  const std::size_t size = ZSTD_compressCCtx(context_, packed.data(), packed.size(), raw.data(),
                                             raw.size(), kPackingLevel);
  if (hasFailed(size)) fail(Errc::Unexpected, ZSTD_getErrorName(size));
  return size <= raw.size() - raw.size() / 32 ? size : 0;
}

void StreamWriter::append(Bytes& out, ByteSpan raw) {
  StreamHeader header;
  header.rawSize = raw.size();
  ByteSpan stored = raw;
  if (isRepeated(raw)) {
    header.method = StreamMethod::Repeated;
    stored = raw.first(1);
  } else if (const std::size_t size = packInto(packed_, raw); size > 0) {
    header.method = StreamMethod::Zstd;
    stored = ByteSpan(packed_).first(size);
  }
  header.storedSize = stored.size();
  FieldWriter fields(out);
  visit(fields, header);
  out.insert(out.end(), stored.begin(), stored.end());
}

StreamReader::StreamReader() : context_(ZSTD_createDCtx()) {
  if (context_ == nullptr) throw std::bad_alloc();
}

StreamReader::~StreamReader() {
  ZSTD_freeDCtx(context_);
}

StreamHeader StreamReader::readHeader(FieldReader& in) {
  StreamHeader header;
  visit(in, header);
  return header;
}

void StreamReader::read(FieldReader& in, std::span<std::uint8_t> raw, const char* name) {
  const StreamHeader header = readHeader(in);
  if (header.rawSize != raw.size()) in.damaged(name);
  unpack(in, header, raw, name);
}

ByteSpan StreamReader::view(FieldReader& in, std::span<std::uint8_t> room, const char* name) {
  const StreamHeader header = readHeader(in);
  if (header.rawSize != room.size()) in.damaged(name);
  if (header.method != StreamMethod::Stored) {
    unpack(in, header, room, name);
    return room;
  }
  if (header.storedSize != room.size()) in.damaged(name);
  return in.take(room.size(), name);
}

void StreamReader::read(FieldReader& in, Bytes& raw, std::uint64_t limit, const char* name) {
  const StreamHeader header = readHeader(in);
  if (header.rawSize > limit) in.damaged(name);
  raw.resize(header.rawSize);
  unpack(in, header, raw, name);
}

// The destination has the announced size already, so a frame that holds more runs out of room and
// one that lies about its own size cannot make the packing library allocate.
void StreamReader::unpack(FieldReader& in, const StreamHeader& header, std::span<std::uint8_t> raw,
                          const char* name) {
  if (header.storedSize > in.left()) in.damaged(name);
  const ByteSpan stored = in.take(header.storedSize, name);
  if (header.method == StreamMethod::Zstd) {
    if (!isOneFrame(stored)) in.damaged(name);
    const std::size_t size =
        ZSTD_decompressDCtx(context_, raw.data(), raw.size(), stored.data(), stored.size());
    if (hasFailed(size) || size != raw.size()) in.damaged(name);
  } else if (header.method == StreamMethod::Repeated) {
    if (stored.size() != 1) in.damaged(name);
    if (!raw.empty()) std::memset(raw.data(), stored[0], raw.size());
  } else {
    if (stored.size() != raw.size()) in.damaged(name);
    if (!raw.empty()) std::memcpy(raw.data(), stored.data(), raw.size());
  }
}

}  // namespace zdb::zxfile
