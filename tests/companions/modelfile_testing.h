// What the tests of the model file reader share.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>

#include "kit/modelfile/build.h"
#include "kit/modelfile/errors.h"
#include "kit/modelfile/read.h"
#include "support/files.h"
#include "zkitdclib.h"

namespace modelfiletest {

using namespace zdb::kit::modelfile;
using testsupport::readFile;
using testsupport::TemporaryFolder;

// A model of the fuzzer's corpus, without the byte that picks its format.
inline std::string sample(const std::string& name) {
  return readFile(MODELFILE_CORPUS "/" + name).substr(1);
}

// Reads a text as a file of the name. Throws with messages that do not show its folder.
inline FileModel readText(const std::string& name, const std::string& text,
                          const FileLimits& limits = {}) {
  const TemporaryFolder folder;
  try {
    return readModelFile(folder.write(name, text).c_str(), nullptr, limits);
  } catch (const FileError& error) {
    EXPECT_TRUE(std::string(error.what()).starts_with(folder.path(name))) << error.what();
    throw FileError(error.what() + folder.path().size());
  }
}

// An instance, or the message why there is none.
class Instance {
 public:
  // As a host reads a file of the name; messages do not show its folder.
  Instance(const std::string& name, const std::string& text) {
    const TemporaryFolder folder;
    std::array<char, 1000> message{};
    const int done = zkitReadModel(folder.write(name, text).c_str(), nullptr, ZKIT_DIRECTORY,
                                   &handle_, message.data(), 1000);
    message_ = message.data();
    EXPECT_EQ(done, message_.empty() ? 1 : 0) << message_;
    if (done == 0) message_.erase(0, folder.path().size());
  }
  // Of a model that stands in no file.
  explicit Instance(const FileModel& model) {
    try {
      handle_ = buildInstance(model, "");
    } catch (const Complaint& complaint) {
      message_ = complaint.what();
    }
  }
  ~Instance() { zkitFreeInstance(&handle_); }
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;

  operator void*() const { return handle_; }
  const std::string& message() const { return message_; }

  // Its columns and rows, as "x(a) y | c", or the message after "? ".
  std::string names() const {
    if (handle_ == nullptr) return "? " + message_;
    std::string all;
    std::array<char, ZKIT_TEXT_SIZE> name{};
    for (int j = 0; zkitColumnName(handle_, j, name.data(), ZKIT_TEXT_SIZE) == 1; ++j) {
      all.append(name.data()).append(" ");
    }
    all += "|";
    for (int i = 0; zkitRowName(handle_, i, name.data(), ZKIT_TEXT_SIZE) == 1; ++i) {
      all.append(" ").append(name.data());
    }
    return all;
  }
  // Its objective after a solve, NaN after one that fails.
  double solvedBy(const std::string& solver) const {
    std::array<char, ZKIT_TEXT_SIZE> message{};
    const int done = zkitSolve(handle_, solver.c_str(), message.data(), ZKIT_TEXT_SIZE);
    EXPECT_EQ(done, 1) << message_ << message.data();
    return done == 1 ? zkitObjective(handle_) : std::nan("");
  }

 private:
  void* handle_ = nullptr;
  std::string message_;
};

// What a model becomes begins so: the names of its instance, or "? " and the message.
inline void expectBegin(const Instance& instance, const std::string& expected) {
  EXPECT_EQ(instance.names().substr(0, expected.size()), expected);
}

}  // namespace modelfiletest
