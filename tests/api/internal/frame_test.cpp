// The frame that all functions share, seen from inside.

#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <stdexcept>
#include <string>

#include "api/guard.h"
#include "api/shortstring.h"

namespace zdb {
namespace {

template <typename Body>
std::string outputOf(Body body) {
  testing::internal::CaptureStdout();
  body();
  return testing::internal::GetCapturedStdout();
}

int zdbSample(ZDB* db, bool (*body)(Call)) {
  return guarded(__func__, db, body);
}

TEST(Guard, Result_IsTheBodys) {
  ZDB db;
  EXPECT_EQ(zdbSample(&db, [](Call) { return true; }), 1);
  EXPECT_EQ(zdbSample(&db, [](Call) { return false; }), 0);
  EXPECT_EQ(zdbSample(nullptr, [](Call) { return true; }), 0);
}

TEST(Guard, OutOfMemory_IsPrintedAndStored) {
  ZDB db;
  EXPECT_EQ(
      outputOf([&] { EXPECT_EQ(zdbSample(&db, [](Call) -> bool { throw std::bad_alloc(); }), 0); }),
      "Out of memory in zdbSample\n");
  EXPECT_STREQ(db.lastError(), "Out of memory in zdbSample");
  // Subclasses count, and one function names another.
  const auto body = [](Call) -> bool { throw std::bad_array_new_length(); };
  EXPECT_EQ(outputOf([&] { EXPECT_EQ(guarded("zdbA", &db, body, "zdbB"), 0); }),
            "Out of memory in zdbB\n");
}

TEST(Guard, OtherExceptions_AreStoredOnly) {
  ZDB db;
  EXPECT_EQ(outputOf([&] {
              EXPECT_EQ(zdbSample(&db, [](Call) -> bool { throw std::length_error("too long"); }),
                        0);
            }),
            "");
  EXPECT_STREQ(db.lastError(), "Unexpected exception in zdbSample: too long");
  EXPECT_EQ(zdbSample(&db, [](Call) -> bool { throw std::runtime_error(std::string(999, 'x')); }),
            0);
  EXPECT_EQ(std::strlen(db.lastError()), 255U);
}

TEST(Guard, WhatIsNoStandardException_Passes) {
  ZDB db;
  EXPECT_THROW(zdbSample(&db, [](Call) -> bool { throw 42; }), int);
}

TEST(PyTwin, HandleIsNullUnlessTheFunctionSucceeded) {
  ZDB db;
  ZDB* object = &db;
  for (int result : {0, 1}) {
    int status = -1;
    ZDB* handle = pyTwin<ZDB>("zdbSamplePy", &db, &status, [&](ZDB** out) {
      *out = object;
      return result;
    });
    EXPECT_EQ(status, result);
    EXPECT_EQ(handle, result == 1 ? object : nullptr);
  }
}

// Outputs have 256 bytes on our side, but a matrix is one piece of memory: a text that runs on
// into the next row must still be cut, and its length byte says how long it was.
TEST(ShortString, LongTexts_AreCutAndKeepTheirLengthModulo256) {
  for (std::size_t length : {0U, 1U, 255U, 256U, 300U}) {
    const std::string text(length, 'x');
    std::string out(258, '#');
    cToShort(text.c_str(), out.data());
    EXPECT_EQ(static_cast<unsigned char>(out[0]), length % 256);
    EXPECT_EQ(out.substr(1, std::min<std::size_t>(length, 255)), text.substr(0, 255));
    EXPECT_EQ(out[std::min<std::size_t>(length, 255) + 1], '#');
  }
}

}  // namespace
}  // namespace zdb
