#pragma once

#include <algorithm>
#include <array>
#include <memory>
#include <optional>

#include "core/abstractzdbsymbol.h"
#include "dmap/dmapvector.h"

namespace zdb {

/// As many records as a block of a file has, so that each is unpacked where it goes.
inline constexpr int kRunLength = 16384;

/// Appends runs of records in key order to a container that takes them row by row.
template <class Map>
class RunAppender final : public RecordRuns {
 public:
  RunAppender(Map& records, int dim, int width)
      : records_(records),
        dim_(dim),
        width_(width),
        keys_(std::make_unique_for_overwrite<int[]>(std::size_t{kRunLength} *
                                                    static_cast<std::size_t>(dim))),
        rows_(std::make_unique_for_overwrite<double[]>(std::size_t{kRunLength} *
                                                       static_cast<std::size_t>(width))) {}

  RecordRoom room() override {
    RecordRoom room{.records = kRunLength, .keyStep = dim_, .valueStep = width_};
    for (int p = 0; p < dim_; ++p) room.keys[static_cast<std::size_t>(p)] = keys_.get() + p;
    for (int v = 0; v < width_; ++v) room.values[static_cast<std::size_t>(v)] = rows_.get() + v;
    return room;
  }
  void taken(int count) override {
    int done = 0;
    records_.appendMany(keys_.get(), rows_.get(), count, done);
  }

 private:
  Map& records_;
  int dim_;
  int width_;
  std::unique_ptr<int[]> keys_;
  std::unique_ptr<double[]> rows_;
};

/// Has them written to the arrays of a vector. Keeps the end of the symbol's records up to date.
class VectorRunAppender final : public RecordRuns {
 public:
  VectorRunAppender(dmap::DMapVector& records, dmap::VectorIterator& end,
                    std::optional<int> expected)
      : records_(records), end_(end), left_(expected.value_or(0)) {}

  RecordRoom room() override {
    // A damaged file may expect more than it has: the first room is bounded, and later ones by what
    // has come.
    constexpr int kMostAtFirst = 1 << 22;
    if (records_.room() == 0) {
      records_.makeRoomFor(static_cast<std::size_t>(std::clamp(left_, kRunLength, kMostAtFirst)));
    }
    const int dim = records_.getDim();
    const int width = dmap::doublesPerRecord(records_.getValueWidth());
    RecordRoom room{.records = static_cast<int>(std::min<std::size_t>(
                        records_.room(), static_cast<std::size_t>(kRunLength))),
                    .keyStep = dim,
                    .valueStep = width};
    for (int p = 0; p < dim; ++p) room.keys[static_cast<std::size_t>(p)] = records_.nextKey() + p;
    for (int v = 0; v < width; ++v)
      room.values[static_cast<std::size_t>(v)] = records_.nextRow() + v;
    return room;
  }
  void taken(int count) override {
    records_.appendWritten(count);
    end_ = records_.end();
    left_ = std::max(0, left_ - count);
  }

 private:
  dmap::DMapVector& records_;
  dmap::VectorIterator& end_;
  int left_;
};

}  // namespace zdb
