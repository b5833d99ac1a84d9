// What the tests of the model file reader share.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "kit/modelfile/build.h"
#include "kit/modelfile/errors.h"
#include "kit/modelfile/read.h"
#include "support/files.h"
#include "zkitdclib.h"

namespace zdb::test::modelfile {

using namespace zdb::kit::modelfile;
using zdb::test::readFile;
using zdb::test::TemporaryFolder;

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

// The message of reading it and building an instance, or "".
inline std::string errorOf(const std::string& name, const std::string& text,
                           const FileLimits& limits = {}) {
  try {
    void* instance = buildInstance(readText(name, text, limits), "");
    zkitFreeInstance(&instance);
    return "";
  } catch (const std::runtime_error& error) {
    return error.what();
  }
}

}  // namespace zdb::test::modelfile
