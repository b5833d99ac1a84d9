// Any sequence of calls with any arguments, most of them senseless. Whatever a writer puts in its
// place has to be a file that reads without an error.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <iterator>

#include "support/exchangefile.h"
#include "support/files.h"
#include "support/zxffunctions.h"

namespace {

using zdb::script::Function;
using zdb::script::Parameter;
using zdb::script::Shape;
using zdb::script::Slot;

const zdb::test::TemporaryFolder folder;
const zdb::script::FunctionTable functions = zdb::test::zxf::functionTable();

class Calls {
 public:
  Calls(const std::uint8_t* data, std::size_t size) : at_(data), end_(data + size) {}

  void run() {
    while (at_ != end_ && refused_ < kMostRefused) {
      const auto& [name, function] = *std::next(functions.begin(), byte() % functions.size());
      const int errors = C__zxfErrorCount(zxf_);
      const bool opens = name.rfind("zxfOpen", 0) == 0;
      const bool done = call(function, opens) == 1;
      if (done && name == "zxfOpenWrite") target_ = path_;
      if (done && name == "zxfClose" && !target_.empty()) {
        zdb::test::zxf::readContent(target_);
        target_.clear();
      }
      if (!opens && C__zxfErrorCount(zxf_) < errors) abort();
    }
  }

 private:
  std::uint8_t byte() { return at_ == end_ ? std::uint8_t{0} : *at_++; }

  // Mostly small, sometimes beyond every limit.
  int number() {
    static const int kOdd[] = {-1, 21, 255, 70000, 0x7FFFFFFF, -0x7FFFFFFF - 1};
    const int value = byte();
    return value < 200 ? value % 12 : kOdd[value % std::size(kOdd)];
  }
  double real() {
    static const double kReals[] = {0.0, -0.0, 1.0, 0.01, 1e300, 1.0 / 0.0, 1.0 / 3, 1e-320};
    const std::uint8_t kind = byte();
    return kind < 128 ? kReals[kind % std::size(kReals)] : kind * 0.25;
  }
  const char* text() {
    static const std::string kLong(300, 'x');
    static const std::string k63(63, 'y');
    static const char* const kTexts[] = {nullptr, "",    "*",           "a",        "b", "c",
                                         "A",     "i",   "j",           "p",        " ", "a ",
                                         "\t",    "'\"", kLong.c_str(), k63.c_str()};
    return kTexts[byte() % std::size(kTexts)];
  }

  // Inputs replace the first few of what an earlier call has left there.
  template <typename Array, typename Draw>
  void* array(const Parameter& parameter, Array& items, Draw draw) {
    const std::size_t count = parameter.isOutput ? 0 : byte() % (items.size() + 1);
    std::generate_n(items.begin(), count, draw);
    return items.data();
  }

  void* pointerFor(const Parameter& parameter, std::size_t position) {
    if (parameter.shape == Shape::Int)
      return array(parameter, ints_[position], [&] { return number(); });
    if (parameter.shape == Shape::Double) return array(parameter, reals_, [&] { return real(); });
    if (parameter.isOutput) texts_.fill(buffer_.data());
    const auto draw = [&] { return const_cast<char*>(text()); };
    if (parameter.isArray) return array(parameter, texts_, draw);
    return parameter.isOutput ? buffer_.data() : draw();
  }

  // One call, or some or many of records, which count up in one position and fill blocks.
  int call(const Function& function, bool opens) {
    std::vector<Slot> slots(1);
    slots[0].pointer = zxf_;
    for (const Parameter& parameter : function.parameters) {
      const bool isInt = parameter.shape == Shape::Int && !parameter.isArray;
      Slot& slot = slots.emplace_back();
      if (isInt) slot.integer = number();
      if (!isInt) slot.pointer = pointerFor(parameter, slots.size() - 2);
    }
    if (opens) {
      path_ = folder.path(byte() % 2 == 0 ? "a" : "b");
      slots[1].pointer = path_.data();
    }
    const unsigned odd = byte();
    const bool isRecord = function.name == "zxfDataWriteRaw";
    const bool areMany = odd >= 200 && odd < 240;
    const int count = !isRecord ? 1 : areMany ? 17000 : odd % 8;
    const std::size_t position = isRecord ? byte() % 20 : 0;
    int result = 0;
    for (int i = 0; i < count && refused_ < kMostRefused; ++i) {
      result = function.plain(slots.data()).integer;
      if (isRecord && result == 0) ++refused_;
      if (isRecord && ++records_ >= kMostRecords) return result;
      if (isRecord && ints_[0][position] < 100000) ++ints_[0][position];
      if (isRecord) reals_[i % 5] += 0.5;
    }
    return result;
  }

  // What one input may cost, since an engine takes what is too slow for an input that hangs: a few
  // bytes ask for 17000 calls, and under the sanitizers a refusal takes some microseconds.
  static constexpr int kMostRefused = 2000;
  static constexpr int kMostRecords = 100000;

  const std::uint8_t* at_;
  const std::uint8_t* end_;
  int refused_ = 0;
  int records_ = 0;
  const zdb::test::zxf::Zxf zxf_;
  std::string path_;
  std::string target_;  // of the writer that is open
  std::array<std::array<int, 20>, 5> ints_{};
  std::array<double, 7> reals_{};
  std::array<char*, 20> texts_{};
  std::array<char, 256> buffer_{};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  for (const char* name : {"a", "b"}) std::filesystem::remove(folder.path(name));
  Calls(data, size).run();
  return 0;
}
