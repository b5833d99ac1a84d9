// Numbers of the exchange file format. Append only: every number here stands in files that people
// keep, so none may change its value or its meaning. doc/exchange-file.md describes the layout.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace zdb::zxfile {

/// The high bit catches seven-bit transfers, CR LF and LF catch line-end conversion, 0x1A stops a
/// text listing. A file that has been through either is reported as foreign.
inline constexpr std::array<std::uint8_t, 8> kMagic = {0x89, 'Z', 'X', 'F', 0x0D, 0x0A, 0x1A, 0x0A};
inline constexpr std::uint32_t kFormatVersion = 1;

inline constexpr int kMaxDim = 20;
inline constexpr std::size_t kMaxNameLength = 63;
inline constexpr std::size_t kMaxLabelLength = 63;
inline constexpr std::size_t kMaxTextLength = 255;  ///< texts, relaxed domain names, the producer
inline constexpr std::uint32_t kMaxCount = 0x7FFFFFFF;  ///< labels, texts, symbols, records of one

/// Records of a block. 16384 keeps the decoded block of a three-dimensional parameter (350 KB)
/// inside the second-level cache and bounds what a reader ever allocates for records.
inline constexpr std::uint32_t kMaxBlockRecords = 16384;

/// A section never unpacks to more than this many times its stored size plus the slack; the writer
/// pads a section that would. It lets a reader refuse a lying size before it allocates.
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
  Constant = 0,  ///< every record has the same value
  Decimal = 1,   ///< (base + n) / 10^decimals
  Double = 2,    ///< bit patterns
};

/// Codes of values that are kept aside from their column. 0 to 6 are slots of the special values.
inline constexpr int kSpecialSlots = 7;
inline constexpr int kCodedSlots = 5;            ///< slots 5 and 6 are never matched in data
inline constexpr std::uint8_t kLiteralCode = 7;  ///< the value's bit pattern follows

inline constexpr int kMaxDecimals = 15;
/// Integers up to here survive adding and subtracting 1.5 * 2^52, the conversion used both ways.
inline constexpr std::int64_t kMaxDecimalInteger = std::int64_t{1} << 51;
inline constexpr int kMaxDecimalWidth = 7;  ///< bytes of a difference of two such integers

/// Key tokens: below kFirstDeltaToken the token is the position (from 0) of the first dimension
/// that changed and its step and the labels behind it are in the tail stream; from there on only
/// the last dimension changed, by token - kFirstDeltaToken + 1.
inline constexpr std::uint8_t kFirstDeltaToken = kMaxDim;
inline constexpr int kMaxDeltaStep = 255 - kFirstDeltaToken + 1;

inline constexpr int valueWidth(SymbolType type) {
  return type == SymbolType::Variable || type == SymbolType::Equation ? 5 : 1;
}

}  // namespace zdb::zxfile
