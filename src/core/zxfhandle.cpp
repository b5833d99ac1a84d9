#include "core/zxfhandle.h"

#include "loaders/zxf.h"

namespace zdb {

ZXFHandle::ZXFHandle(const std::string& directory) {
  if (directory.empty()) {
    loaders::zxfCreate(&zxf_, message_, sizeof message_);
  } else {
    loaders::zxfCreateD(&zxf_, directory.c_str(), message_, sizeof message_);
  }
}

ZXFHandle::~ZXFHandle() {
  if (zxf_ != nullptr) loaders::zxfFree(&zxf_);
}

}  // namespace zdb
