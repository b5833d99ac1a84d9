// Numbers of the exchange file format. Append only: these numbers are in files that users keep, so
// none may change its value or meaning. doc/reference/exchange-file.md describes the layout.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace zdb::zxfile {

/// The high bit detects seven-bit transfers, CR LF and LF detect line-end conversion, and 0x1A ends
/// a text listing. A file that a transfer has changed so is reported as foreign.
inline constexpr std::array<std::uint8_t, 8> kMagic = {0x89, 'Z', 'X', 'F', 0x0D, 0x0A, 0x1A, 0x0A};
inline constexpr std::uint32_t kFormatVersion = 1;

inline constexpr int kMaxDim = 20;
inline constexpr std::size_t kMaxNameLength = 63;
inline constexpr std::size_t kMaxLabelLength = 63;
inline constexpr std::size_t kMaxTextLength = 255;  ///< texts, relaxed domain names, the producer
inline constexpr std::uint32_t kMaxCount = 0x7FFFFFFF;  ///< labels, texts, symbols, records of one

/// Records of a block. With 16384, the decoded block of a three-dimensional parameter (350 KB) fits
/// into the second-level cache; it also bounds what a reader allocates for records.
inline constexpr std::uint32_t kMaxBlockRecords = 16384;

/// A section never unpacks to more than this many times its stored size plus the slack; the writer
/// pads a section that would. So a reader can reject a wrong size before it allocates.
inline constexpr std::uint64_t kMaxExpansion = 16;
inline constexpr std::uint64_t kExpansionSlack = 65536;
inline constexpr std::uint64_t kMaxSectionSize = 0xFFFFFFFF;  ///< unpacked; offsets into it are u32

enum class SymbolType : std::uint8_t {
  Set = 0,
  Parameter = 1,
  Variable = 2,
  Equation = 3,
  Alias = 4,
};

enum class DomainKind : std::uint8_t {
  None = 0,
  Relaxed = 1,  ///< names only
  Strict = 2,   ///< the records were checked against the named sets when they were written
};

enum class StreamMethod : std::uint8_t {
  Stored = 0,
  Zstd = 1,
  Repeated = 2,  ///< one byte, repeated
};

enum class ColumnKind : std::uint8_t {
  Constant = 0,  ///< all records have the same value
  Decimal = 1,   ///< (base + n) / 10^decimals
  Double = 2,    ///< bit patterns
};

/// Codes of exception values. 0 to 6 are slots of the special values.
inline constexpr int kSpecialSlots = 7;
inline constexpr int kCodedSlots = 5;            ///< slots 5 and 6 are never matched in data
inline constexpr std::uint8_t kLiteralCode = 7;  ///< the value's bit pattern follows

inline constexpr int kMaxDecimals = 15;
/// Integers up to this one are exact when 1.5 * 2^52 is added and subtracted, which is how doubles
/// are rounded.
inline constexpr std::int64_t kMaxDecimalInteger = std::int64_t{1} << 51;
inline constexpr int kMaxDecimalWidth = 7;  ///< bytes of a difference of two such integers

/// Key tokens: a token below kFirstDeltaToken is the position (from 0) of the first dimension that
/// changes, whose step is in the tail stream with the labels after it. Any other token means that
/// only the last dimension changes, by token - kFirstDeltaToken + 1.
inline constexpr std::uint8_t kFirstDeltaToken = kMaxDim;
inline constexpr int kMaxDeltaStep = 255 - kFirstDeltaToken + 1;

inline constexpr int valueWidth(SymbolType type) {
  return type == SymbolType::Variable || type == SymbolType::Equation ? 5 : 1;
}

}  // namespace zdb::zxfile
