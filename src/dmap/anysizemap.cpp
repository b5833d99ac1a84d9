#include "dmap/anysizemap.h"

#include <array>
#include <cstddef>
#include <stdexcept>
#include <utility>

#include "dmap/recordtreekind.h"

namespace zdb::dmap {

namespace {

using MakeTree = std::unique_ptr<RecordTreeBase> (*)();

template <int N, int W>
std::unique_ptr<RecordTreeBase> makeTree() {
  return std::make_unique<RecordTree<N, W>>();
}

template <int W, std::size_t... I>
constexpr std::array<MakeTree, sizeof...(I)> makersFor(std::index_sequence<I...>) {
  return {makeTree<static_cast<int>(I) + 1, W>...};
}

/// Entry N-1 makes a map for keys of N labels.
constexpr auto kOneDouble = makersFor<1>(std::make_index_sequence<kMaxDim>());
constexpr auto kFiveDoubles = makersFor<5>(std::make_index_sequence<kMaxDim>());

}  // namespace

AnySizeMap::AnySizeMap(int keyLength, int valueWidth) {
  if (keyLength < 0 || keyLength > kMaxDim) {
    throw std::invalid_argument("a record key has 0 to " + std::to_string(kMaxDim) +
                                " positions, not " + std::to_string(keyLength));
  }
  if (keyLength == 0) return;
  const auto& makers = doublesPerRecord(valueWidth) == 1 ? kOneDouble : kFiveDoubles;
  tree_ = makers[static_cast<std::size_t>(keyLength) - 1]();
}

}  // namespace zdb::dmap
