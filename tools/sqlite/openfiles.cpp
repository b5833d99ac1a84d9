#include "openfiles.h"

namespace zdb::sqlite {

namespace {

bool isSame(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
         a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

}  // namespace

std::shared_ptr<const tool::ExchangeFile> OpenFiles::open(const std::string& path) {
  struct stat now {};
  const bool isThere = stat(path.c_str(), &now) == 0;
  Entry& entry = files_[path];
  std::shared_ptr<const tool::ExchangeFile> file = entry.file.lock();
  if (file != nullptr && isThere && isSame(entry.status, now)) return file;
  file = std::make_shared<const tool::ExchangeFile>(path);
  entry = {file, now};
  return file;
}

}  // namespace zdb::sqlite
