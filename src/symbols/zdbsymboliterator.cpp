#include "symbols/zdbsymboliterator.h"

#include <cstdarg>

#include "core/message.h"
#include "core/uellist.h"
#include "memory/piecepool.h"
#include "symbols/zdbsymboliteratorimpl.h"

namespace zdb {

namespace {

/// The pools: positions in a tree are large, since they are paths of nodes.
using SmallPool = memory::PiecePool<136>;
using LargePool = memory::PiecePool<288>;
constinit thread_local SmallPool smallPool;
constinit thread_local LargePool largePool;

template <class Handle>
constexpr bool kIsPooled = sizeof(Handle) <= LargePool::kBytes;

}  // namespace

void AbstractZDBSymbolIterator::makeRoom(std::size_t bytes) {
  if (bytes <= SmallPool::kBytes) {
    smallPool.ensureOne();
  } else {
    largePool.ensureOne();
  }
}

void* AbstractZDBSymbolIterator::operator new(std::size_t bytes) {
  return bytes <= SmallPool::kBytes ? smallPool.allocate() : largePool.allocate();
}

void AbstractZDBSymbolIterator::operator delete(void* object, std::size_t bytes) noexcept {
  if (bytes <= SmallPool::kBytes) {
    smallPool.free(object);
  } else {
    largePool.free(object);
  }
}

bool AbstractZDBSymbolIterator::failMove(const char* format, ...) {
  if (!message) message = std::make_unique<char[]>(kMessageSize);
  std::va_list arguments;
  va_start(arguments, format);
  writeMessageV(message.get(), format, arguments);
  va_end(arguments);
  return false;
}

template <class It>
ZDBSymbolIterator<It>::ZDBSymbolIterator(AbstractZDBSymbol* walkedSymbol, const It& position,
                                         const Slice& slice)
    : AbstractZDBSymbolIterator(ModeSlice, walkedSymbol), it_(position) {
  sliceKeys = std::make_unique<int[]>(static_cast<std::size_t>(walkedSymbol->dim));
  std::copy_n(slice.keys(), walkedSymbol->dim, sliceKeys.get());
}

template <class It>
void ZDBSymbolIterator<It>::readNotes() const {
  if (notes.hasEnded()) {
    mode = ModeSpent;
    return;
  }
  if constexpr (kRecordsMove) {
    const int number = notes.follow(it_.position());
    if (number < 0) {
      mode = ModeSpent;
    } else {
      it_ = walked().records().withIndex(number);
    }
  } else if (notes.wasErased(StorageOf<It>::address(it_))) {
    mode = ModeSpent;
  }
}

template <class It>
bool ZDBSymbolIterator<It>::nextInSlice() {
  const It before = it_;
  if (stepForward(walked().records(), it_, Slice(sliceKeys.get(), symbol->dim))) return true;
  it_ = before;
  return false;
}

template <class It>
bool ZDBSymbolIterator<It>::prevInSlice() {
  const It before = it_;
  if (stepBackward(walked().records(), it_, Slice(sliceKeys.get(), symbol->dim))) return true;
  it_ = before;
  return false;
}

template <class It>
bool ZDBSymbolIterator<It>::failSpent() {
  return failMove("The record of this handle in symbol %s has been deleted", symbol->name.c_str());
}

template <class It>
bool ZDBSymbolIterator<It>::moveNext(int highestLabel) {
  follow();
  if constexpr (requires { it_.stepInLeaf(); }) {
    if (mode == ModeRecords && it_.stepInLeaf()) [[likely]]
      return true;
  }
  return moveNextSlow(highestLabel);
}

template <class It>
bool ZDBSymbolIterator<It>::moveNextSlow(int highestLabel) {
  if (mode == ModeRecords) {
    ++it_;
    if (it_ != walked().end()) [[likely]]
      return true;
    --it_;
    return failMove("Last record reached in symbol %s", symbol->name.c_str());
  }
  if (mode == ModeSlice) {
    return nextInSlice() ||
           failMove("Last record reached in slice of symbol %s", symbol->name.c_str());
  }
  if (mode == ModeSpent) return failSpent();
  if (uelNr >= highestLabel) return failMove("Last record reached in Universe");
  ++uelNr;
  return true;
}

template <class It>
bool ZDBSymbolIterator<It>::movePrev() {
  follow();
  if (mode == ModeRecords) {
    if (walked().isBegin(it_)) {
      return failMove("First record reached in symbol %s", symbol->name.c_str());
    }
    --it_;
    return true;
  }
  if (mode == ModeSlice) {
    return prevInSlice() ||
           failMove("First record reached in slice of symbol %s", symbol->name.c_str());
  }
  if (mode == ModeSpent) return failSpent();
  if (uelNr <= 1) {
    uelNr = 1;
    return failMove("First record reached in Universe");
  }
  --uelNr;
  return true;
}

template <class It>
bool ZDBSymbolIterator<It>::hasNext(const uellist::IUELList& labels) {
  follow();
  if (mode == ModeSpent) return false;
  if (mode == ModeUniverse) return uelNr < labels.size() - 1;
  It next = it_;
  if (mode == ModeSlice) {
    return stepForward(walked().records(), next, Slice(sliceKeys.get(), symbol->dim));
  }
  ++next;
  return next != walked().end();
}

template <class It>
bool ZDBSymbolIterator<It>::hasPrev() {
  follow();
  if (mode == ModeSpent) return false;
  if (mode == ModeUniverse) return uelNr > 1;
  if (mode == ModeRecords) return !walked().isBegin(it_);
  It previous = it_;
  return stepBackward(walked().records(), previous, Slice(sliceKeys.get(), symbol->dim));
}

template <class It>
bool ZDBSymbolIterator<It>::equalValues(const AbstractZDBSymbolIterator* other) const {
  if (mode == ModeUniverse || other->mode == ModeUniverse) {
    return mode == other->mode && symbol == other->symbol && uelNr == other->uelNr;
  }
  const double* row = getValues();
  return row != nullptr && row == other->getValues();
}

template <class It>
bool ZDBSymbolIterator<It>::getRecordRaw(int* keys, double* values) {
  if (mode == ModeUniverse) {
    keys[0] = uelNr;
    return true;
  }
  if (!isOnRecord()) return false;
  const dmap::VirtualPair record = *it_;
  std::copy_n(record.first, symbol->dim, keys);
  std::copy_n(record.second, valueWidth(symbol->type), values);
  return true;
}

template <class It>
const int* ZDBSymbolIterator<It>::getKeys() const {
  if (mode == ModeUniverse) return &uelNr;
  return isOnRecord() ? (*it_).first : nullptr;
}

template <class It>
void ZDBSymbolIterator<It>::assignIterator(AbstractZDBSymbolIterator* other) {
  auto* from = static_cast<ZDBSymbolIterator<It>*>(other);
  it_ = from->it_;
  notes = from->notes;
  mode = from->mode;
  uelNr = from->uelNr;
  if (!from->sliceKeys) return;
  sliceKeys = std::make_unique<int[]>(static_cast<std::size_t>(symbol->dim));
  std::copy_n(from->sliceKeys.get(), symbol->dim, sliceKeys.get());
}

template <class It>
std::unique_ptr<AbstractZDBSymbolIterator> ZDBSymbolIterator<It>::copy() {
  if (mode == ModeUniverse) return std::make_unique<ZDBSymbolIterator>(symbol, uelNr);
  auto made = std::make_unique<ZDBSymbolIterator>(symbol, It());
  made->assignIterator(this);
  return made;
}

template class ZDBSymbolIterator<dmap::DMapIterator>;
template class ZDBSymbolIterator<dmap::VectorIterator>;
template class ZDBSymbolIterator<dmap::TreeIterator>;
static_assert(sizeof(ZDBSymbolIterator<dmap::DMapIterator>) <= SmallPool::kBytes);
static_assert(kIsPooled<ZDBSymbolIterator<dmap::VectorIterator>>);
static_assert(kIsPooled<ZDBSymbolIterator<dmap::TreeIterator>>);

}  // namespace zdb
