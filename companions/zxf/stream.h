// Runs of bytes that are packed as one: stored, a repeated byte, or a zstd frame.
#pragma once

#include <memory>

#include "zxf/bytes.h"
#include "zxf/fields.h"

struct ZSTD_CCtx_s;
struct ZSTD_DCtx_s;

namespace zdb::zxfile {

/// Checksum of file bytes, XXH3 with 64 bits.
std::uint64_t checksumOf(ByteSpan bytes, std::uint64_t seed = 0);

/// Packs streams. Runs below kMinPackedSize bytes are stored: a frame's own bytes eat what could be
/// gained, and small files do not depend on the version of the packing library.
class StreamWriter {
 public:
  static constexpr std::size_t kMinPackedSize = 128;

  StreamWriter();
  ~StreamWriter();
  StreamWriter(const StreamWriter&) = delete;
  StreamWriter& operator=(const StreamWriter&) = delete;

  /// Appends header and bytes to `out`, whichever of the three methods is smallest, except that a
  /// frame has to save at least a 32nd: less is not worth the time to unpack it.
  void append(Bytes& out, ByteSpan raw);

 private:
  std::size_t packInto(Bytes& packed, ByteSpan raw);

  ZSTD_CCtx_s* context_;
  Bytes packed_;
};

/// Unpacks streams that nothing is known about. Every failure throws with the reader's own code.
class StreamReader {
 public:
  StreamReader();
  ~StreamReader();
  StreamReader(const StreamReader&) = delete;
  StreamReader& operator=(const StreamReader&) = delete;

  /// Unpacks the next stream, which must have exactly raw.size() bytes.
  void read(FieldReader& in, std::span<std::uint8_t> raw, const char* name);

  /// Unpacks the next stream into `raw`, refusing one of more than `limit` bytes before it
  /// allocates.
  void read(FieldReader& in, Bytes& raw, std::uint64_t limit, const char* name);

 private:
  static StreamHeader readHeader(FieldReader& in);
  void unpack(FieldReader& in, const StreamHeader& header, std::span<std::uint8_t> raw,
              const char* name);

  ZSTD_DCtx_s* context_;
};

}  // namespace zdb::zxfile
