#include "output.h"

#include <cstdint>

#include "blockchecker.h"
#include "exitcode.h"
#include "zxf/errors.h"
#include "zxf/file.h"

namespace zdb::tool {

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
