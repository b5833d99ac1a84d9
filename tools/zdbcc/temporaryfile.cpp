#include "temporaryfile.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "exitcode.h"

namespace zdb::tool {

namespace {

[[noreturn]] void fail(const char* work, const std::string& folder, int error) {
  throw ToolError(std::string("cannot ") + work + " a temporary file in " + folder + ": " +
                  std::strerror(error) + "; TMPDIR names another folder");
}

std::string temporaryFolder() {
  const char* named = std::getenv("TMPDIR");
  return named == nullptr || *named == '\0' ? "/tmp" : named;
}

}  // namespace

TemporaryFile::TemporaryFile() : folder_(temporaryFolder()) {
  std::string name = (std::filesystem::path(folder_) / "zdbcc-XXXXXX").string();
  file_ = zdb::contract::Descriptor(::mkstemp(name.data()));
  if (!file_.valid()) fail("make", folder_, errno);
  ::unlink(name.c_str());
}

void TemporaryFile::append(std::span<const std::byte> bytes) {
  const std::string_view all(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  if (!zdb::contract::writeAll(file_.get(), all)) fail("write", folder_, errno);
  size_ += bytes.size();
}

void TemporaryFile::read(std::uint64_t place, std::span<std::byte> to) const {
  while (!to.empty()) {
    const ssize_t count = zdb::contract::uninterrupted(
        [&] { return ::pread(file_.get(), to.data(), to.size(), static_cast<off_t>(place)); });
    if (count <= 0) fail("read", folder_, count < 0 ? errno : EIO);
    place += static_cast<std::uint64_t>(count);
    to = to.subspan(static_cast<std::size_t>(count));
  }
}

}  // namespace zdb::tool
