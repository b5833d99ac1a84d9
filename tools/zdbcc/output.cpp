#include "output.h"

#include <cerrno>
#include <cstring>

#include "exitcode.h"

namespace zdb::tool {

FileOutput::FileOutput(const std::string& name)
    : name_(name), file_(std::fopen(name.c_str(), "wbe")) {
  if (file_ == nullptr) fail();
}

FileOutput::~FileOutput() {
  if (file_ != nullptr) std::fclose(file_);
}

void FileOutput::write(std::string_view text) {
  if (std::fwrite(text.data(), 1, text.size(), file_) != text.size()) fail();
}

void FileOutput::close() {
  std::FILE* file = file_;
  file_ = nullptr;
  if (std::fclose(file) != 0) fail();
}

void FileOutput::fail() const {
  throw OutputError("cannot write " + name_ + ": " + std::strerror(errno));
}

}  // namespace zdb::tool
