// Every container, driven through the same scenarios beside a std::map.

#include <gtest/gtest.h>

#include <climits>
#include <cmath>

#include "dmap/container_model.h"

namespace zdb::test {
namespace {

/// `count` keys of `dim` labels in ascending order, differing in all positions, with `smallest` and
/// the largest label among them, and 0 if `smallest` is less.
std::vector<Key> makeKeys(int count, int dim, int smallest) {
  int base = 3;
  while (dim > 0 && std::pow(base, dim) < count) ++base;
  std::vector<Key> keys(static_cast<std::size_t>(count), Key(static_cast<std::size_t>(dim)));
  for (int id = 0; id < count; ++id) {
    Key& key = keys[static_cast<std::size_t>(id)];
    int rest = id;
    for (auto label = key.rbegin(); label != key.rend(); ++label, rest /= base) {
      const int digit = rest % base;
      const int middle = smallest < 1 ? digit - 1 : digit + 1;
      *label = digit == 0 ? smallest : digit == base - 1 ? INT_MAX : middle;
    }
  }
  return keys;
}

template <class Map>
class Containers : public testing::Test {
 protected:
  /// Runs the scenario, which gets a driver and a number of keys, on few and on many records.
  template <class Scenario>
  static void drive(Scenario scenario) {
    for (int dim = 0; dim <= dmap::kMaxDim; ++dim) {  // each key length has code of its own
      for (const int width : {1, 5}) {
        for (const int keys : {4, 130}) drive(scenario, dim, width, keys);
      }
    }
    for (const int dim : {1, 2, 3, 6}) drive(scenario, dim, dim % 2 + 1, 2500);
    // Enough for three levels of inner nodes.
    if (std::is_same_v<Map, dmap::DMap>) drive(scenario, 2, 1, 20000);
  }

 private:
  template <class Scenario>
  static void drive(Scenario scenario, int dim, int width, int keys) {
    SCOPED_TRACE(testing::Message() << "dim " << dim << ", width " << width << ", keys " << keys);
    const bool canConvert = Driver<Map>::kIsVector || width != 1;
    Driver<Map> driver(dim, width, makeKeys(keys, dim, canConvert ? 1 : INT_MIN), canConvert);
    if (HasFailure()) return;  // one difference is enough
    std::string difference;
    testing::internal::CaptureStdout();
    try {
      scenario(driver, keys);
      driver.check();
    } catch (const std::logic_error& failure) {
      difference = failure.what();
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), driver.output());
    EXPECT_EQ(difference, "");
  }
};

using AllContainers = testing::Types<dmap::DMap, dmap::DMapVector, dmap::DMapUTree>;
TYPED_TEST_SUITE(Containers, AllContainers);

TYPED_TEST(Containers, AnySteps_MatchTheModel) {
  this->drive([](auto& driver, int keys) {
    for (int i = 0; i < 3 * keys + 100; ++i) {
      const int what = driver.pick(6);
      const int key = driver.pick(keys);
      const int hints[] = {-1, -2, key, key + 1, key - 1, driver.pick(keys)};
      if (what < 4) driver.add(static_cast<Way>(what), key, hints[driver.pick(6)]);
      if (what == 4) driver.erase(key);
      if (what == 5) driver.look(key);
      if (i % (keys / 3 + 10) == 0) driver.convert();
      if (i == keys) driver.clear(keys / 2);
    }
  });
}

// One record in twenty stays, so that leaves and inner nodes merge, before runs of records fill the
// gaps, so that leaves split at their edges.
TYPED_TEST(Containers, FilledThinnedOutAndEmptiedInAnyOrder_MatchTheModel) {
  this->drive([](auto& driver, int /*keys*/) {
    for (const Order order : {Order::Up, Order::Down, Order::Mixed}) {
      for (const int key : driver.keysIn(order)) driver.add(Way::Append, key);
      driver.convert();
      for (const int key : driver.keysIn(order)) {
        if (key % 20 != 0) driver.erase(key);
      }
      for (const int key : driver.keysIn(Order::Up)) driver.add(Way::Hint, key, key + 1);
      for (const int key : driver.keysIn(order)) driver.erase(key);
    }
  });
}

}  // namespace
}  // namespace zdb::test
