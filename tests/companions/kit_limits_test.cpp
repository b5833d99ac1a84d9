// Solves that must end early, and print nothing.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "companions/kit_solving.h"
#include "kit/session.h"
#include "zkitdclib.h"

namespace zkittest {

namespace {

using zkit::EqualRow;
using zkit::GreaterRow;
using zkit::Instance;
using zkit::Session;

// A model that takes some iterations: a cover of `size` rows by twice as many columns.
ModelUnderTest cover(int size, double integerShare) {
  std::mt19937 random(3);
  ModelUnderTest model;
  const int cost = model.addObjective(1);
  std::vector<int> columns;
  columns.reserve(2 * static_cast<std::size_t>(size));
  for (int j = 0; j < 2 * size; ++j) {
    const bool isInteger = j < integerShare * 2 * size;
    columns.push_back(model.addColumn(0, isInteger ? 1 : kInfinity, isInteger));
    model.set(cost, columns.back(), std::uniform_real_distribution<double>(10, 20)(random));
  }
  for (int i = 0; i < size; ++i) {
    const int row = model.addRow(GreaterRow, size);
    for (const int column : columns) {
      model.set(row, column, std::uniform_real_distribution<double>(1, 9)(random));
    }
  }
  return model;
}

// Pays every sum exactly with some of the items: hard to decide for trees, and easy to write down.
ModelUnderTest sums(int count, int rows) {
  std::mt19937 random(11);
  ModelUnderTest model;
  const int cost = model.addObjective(1);
  std::vector<int> items(count);
  for (int& item : items) item = model.addColumn(0, 1, true);
  for (int i = 0; i < rows; ++i) {
    std::vector<int> weights(count);
    int total = 0;
    for (int& weight : weights) {
      weight = std::uniform_int_distribution<int>(0, 99)(random);
      total += weight;
    }
    const int half = total / 2;
    const int row = model.addRow(EqualRow, half);
    const int over = model.addColumn(0, kInfinity);
    const int under = model.addColumn(0, kInfinity);
    for (int j = 0; j < count; ++j) model.set(row, items[j], weights[j]);
    model.set(row, over, -1);
    model.set(row, under, 1);
    model.set(cost, over, 1);
    model.set(cost, under, 1);
  }
  return model;
}

TEST(KitLimits, PrintNothing) {
  std::mt19937 random(13);
  RandomShape shape;
  shape.rows = 12;
  shape.columns = 20;
  shape.isBoxed = true;
  shape.integerShare = 0.5;
  std::vector<ModelUnderTest> models;
  for (int k = 0; k < 10; ++k) {
    shape.isFeasible = k % 3 != 0;
    models.push_back(randomModel(shape, random));
  }
  models.push_back(cover(20, 0.5));
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  for (const ModelUnderTest& model : models) {
    for (const zkit::Engine* engine : engines()) {
      Instance instance(model.data(), kNoDirectory);
      if (!engine->solvesMip) instance.type = zkit::RmipModel;
      zkit::solveFromScratch(instance, engine->name);
    }
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(KitLimits, KeepToLimits) {
  for (const zkit::Engine* engine : engines()) {
    Instance instance(cover(60, 0.0).data(), kNoDirectory);
    Session session(*engine);
    instance.environment.limits = {0.0, 5};
    session.solve(instance);
    EXPECT_EQ(instance.solveStatus, ZKIT_ITERATION_LIMIT) << engine->name;
    EXPECT_TRUE(instance.modelStatus == ZKIT_INTERMEDIATE || instance.modelStatus == ZKIT_FEASIBLE);
    EXPECT_LE(instance.iterations, 10) << engine->name;

    instance.environment.limits = {1e-9, 0};
    session.solve(instance);
    EXPECT_EQ(instance.solveStatus, ZKIT_TIME_LIMIT) << engine->name;

    instance.environment.limits = {};
    instance.environment.terminate = true;
    session.solve(instance);
    EXPECT_EQ(instance.solveStatus, ZKIT_INTERRUPTED) << engine->name;

    // And goes on from there.
    instance.environment.terminate = false;
    session.solve(instance);
    ASSERT_EQ(instance.modelStatus, ZKIT_OPTIMAL) << engine->name;
    expectOptimal(instance, engine->name);
  }
}

TEST(KitLimits, StopSearchesWhenTold) {
  const ModelUnderTest model = sums(50, 6);
  for (const zkit::Engine* engine : engines(true)) {
    Instance instance(model.data(), kNoDirectory);
    Session session(*engine);
    instance.environment.limits = {0.0, 3000};
    session.solve(instance);
    EXPECT_EQ(instance.solveStatus, ZKIT_ITERATION_LIMIT) << engine->name;
    EXPECT_GE(instance.iterations, 3000) << engine->name;
    instance.environment.limits = {};

    std::thread stopper([&instance] {
      std::this_thread::sleep_for(std::chrono::milliseconds(300));
      instance.environment.terminate = true;
    });
    session.solve(instance);
    stopper.join();
    EXPECT_EQ(instance.solveStatus, ZKIT_INTERRUPTED) << engine->name;
    EXPECT_TRUE(instance.modelStatus == ZKIT_FEASIBLE || instance.modelStatus == ZKIT_INTERMEDIATE)
        << engine->name;

    instance.environment.terminate = false;
    instance.environment.limits.seconds = 0.3;
    session.solve(instance);
    EXPECT_EQ(instance.solveStatus, ZKIT_TIME_LIMIT) << engine->name;
  }
}

// cbc runs one search at a time; whoever waits for it keeps to its own limit, and may be told to
// stop.
TEST(KitLimits, SearchesThatWaitForAnother_StopByThemselves) {
  const ModelUnderTest model = sums(50, 6);
  for (const zkit::Engine* engine : engines(true)) {
    Instance first(model.data(), kNoDirectory);
    std::atomic<bool> isSearching = true;
    std::thread other([&] {
      Session(*engine).solve(first);
      isSearching = false;
    });
    Instance second(model.data(), kNoDirectory);
    Session session(*engine);
    second.environment.limits.seconds = 0.3;
    session.solve(second);
    EXPECT_EQ(second.solveStatus, ZKIT_TIME_LIMIT) << engine->name;
    second.environment.limits = {};
    second.environment.terminate = true;
    session.solve(second);
    EXPECT_EQ(second.solveStatus, ZKIT_INTERRUPTED) << engine->name;
    EXPECT_TRUE(isSearching) << engine->name;
    first.environment.terminate = true;
    other.join();
    EXPECT_EQ(first.solveStatus, ZKIT_INTERRUPTED) << engine->name;
  }
}

}  // namespace

}  // namespace zkittest
