// Streams: runs of bytes that are packed as one, stored, as a repeated byte or as a zstd frame.
#pragma once

#include <memory>

#include "zxf/bytes.h"
#include "zxf/fields.h"

struct ZSTD_CCtx_s;
struct ZSTD_DCtx_s;

namespace zdb::zxfile {

/// Checksum of file bytes, XXH3 with 64 bits.
std::uint64_t checksumOf(ByteSpan bytes, std::uint64_t seed = 0);

/// Packs streams. Runs below kMinPackedSize bytes are stored: a frame's own bytes would take up
/// what is gained, and so small files do not depend on the version of zstd.
class StreamWriter {
 public:
  static constexpr std::size_t kMinPackedSize = 128;

  StreamWriter();
  ~StreamWriter();
  StreamWriter(const StreamWriter&) = delete;
  StreamWriter& operator=(const StreamWriter&) = delete;

  /// Appends header and bytes to `out` by the smallest of the three methods, except that a frame
  /// must save at least a 32nd: less is not worth the time to unpack it.
  void append(Bytes& out, ByteSpan raw);

 private:
  std::size_t packInto(Bytes& packed, ByteSpan raw);

  ZSTD_CCtx_s* context_;
  Bytes packed_;
};

/// Unpacks untrusted streams; fails with the field reader's code.
class StreamReader {
 public:
  StreamReader();
  ~StreamReader();
  StreamReader(const StreamReader&) = delete;
  StreamReader& operator=(const StreamReader&) = delete;

  /// Unpacks the next stream, which must have exactly raw.size() bytes.
  void read(FieldReader& in, std::span<std::uint8_t> raw, const char* name);

  /// The same without a copy of bytes that are stored as they are: they are a view of those that
  /// `in` reads, others are unpacked into `room`.
  ByteSpan view(FieldReader& in, std::span<std::uint8_t> room, const char* name);

  /// Unpacks the next stream into `raw`; before allocating, rejects one of more than `limit` bytes.
  void read(FieldReader& in, Bytes& raw, std::uint64_t limit, const char* name);

 private:
  static StreamHeader readHeader(FieldReader& in);
  void unpack(FieldReader& in, const StreamHeader& header, std::span<std::uint8_t> raw,
              const char* name);

  ZSTD_DCtx_s* context_;
};

}  // namespace zdb::zxfile
