// The directory of a data file, through the companion that is linked into the tool.
#include "filedirectory.h"

#include "console.h"
#include "zxf/api.h"

namespace zdb::tool {

namespace {

constexpr std::size_t kTextSize = 256;

}  // namespace

FileDirectory::FileDirectory(const std::string& fileName) {
  XCreate(&file_);
  if (file_ == nullptr) throw ToolError("not enough memory to read " + fileName);
  int error = 0;
  C__zxfOpenRead(file_, fileName.c_str(), &error);
  if (error == 0) return;
  char message[kTextSize] = "";
  C__zxfErrorStr(file_, error, message);
  XFree(&file_);
  throw ToolError("cannot read " + fileName + ": " + message);
}

FileDirectory::~FileDirectory() {
  XFree(&file_);  // which closes the file
}

int FileDirectory::recordCount(int position) const {
  int records = 0;
  int userInfo = 0;
  char text[kTextSize] = "";
  C__zxfSymbolInfoX(file_, position + 1, &records, &userInfo, text);  // files count from 1
  return records;
}

}  // namespace zdb::tool
