#pragma once

#include <sys/stat.h>
#include <map>
#include <memory>
#include <string>

#include "exchangefile.h"

namespace zdb::sqlite {

/// Exchange files by path: the tables of a file share its directory. A file that has been replaced
/// since is opened anew, while tables that are there keep what they have opened.
class OpenFiles {
 public:
  /// Throws ToolError.
  std::shared_ptr<const tool::ExchangeFile> open(const std::string& path);

 private:
  struct Entry {
    std::weak_ptr<const tool::ExchangeFile> file;
    struct stat status;
  };

  std::map<std::string, Entry> files_;
};

}  // namespace zdb::sqlite
