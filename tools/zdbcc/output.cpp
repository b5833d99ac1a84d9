#include "output.h"

#include <cerrno>
#include <cstring>

#include "blockchecker.h"
#include "exitcode.h"
#include "zxf/errors.h"
#include "zxf/file.h"

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

namespace {

template <typename Work>
auto writing(const std::string& file, Work work) {
  try {
    return work();
  } catch (const zdb::zxfile::ZxfError& failure) {
    throw OutputError("cannot write " + file + ": " + describe(failure, file));
  }
}

}  // namespace

NewFileOutput::NewFileOutput(const std::string& name)
    : name_(name),
      file_(
          writing(name, [&] { return std::make_unique<zdb::zxfile::OutputFile>(name.c_str()); })) {}

NewFileOutput::~NewFileOutput() = default;

void NewFileOutput::write(std::string_view text) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  writing(name_, [&] { file_->append({bytes, text.size()}); });
}

void NewFileOutput::publish() {
  writing(name_, [&] { file_->publish(); });
}

}  // namespace zdb::tool
