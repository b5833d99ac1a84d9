#include "fuzz/zxf/readall.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "zxf/api.h"

namespace {

void require(bool good, const char* what) {
  if (good) return;
  std::fprintf(stderr, "broken promise: %s\n", what);
  std::abort();
}

int readLabels(void* zxf) {
  int symbols = 0;
  int labels = 0;
  require(C__zxfSystemInfo(zxf, &symbols, &labels) == 1, "system info");
  char text[256];
  int mapped = 0;
  for (int i = 1; i <= labels; ++i) {
    require(C__zxfUMUelGet(zxf, i, text, &mapped) == 1 && std::strlen(text) <= 63, "label");
  }
  for (int i = 1; C__zxfGetElemText(zxf, i, text, &mapped) == 1; ++i) {
    require(std::strlen(text) <= 255, "text");
  }
  return labels;
}

void readRecords(void* zxf, int number, int dim, int labels) {
  int records = 0;
  if (C__zxfDataReadRawStart(zxf, number, &records) == 0) return;
  std::array<int, 20> key{};
  std::array<int, 20> before{};
  double values[5];
  int changed = 0;
  int read = 0;
  for (; C__zxfDataReadRaw(zxf, key.data(), values, &changed) == 1; ++read, before = key) {
    require(read < records, "record count");
    require(dim == 0 || before < key, "key order");
    require(std::all_of(key.begin(), key.begin() + dim,
                        [&](int label) { return label >= 1 && label <= labels; }),
            "label number");
    const auto differs = std::mismatch(before.begin(), before.begin() + dim, key.begin()).first;
    require(changed == (dim == 0 ? 0 : differs - before.begin() + 1), "first changed dimension");
  }
  require(C__zxfDataReadDone(zxf) == 1, "end of reading");
}

void readSymbol(void* zxf, int number, int labels) {
  char name[256];
  char text[256];
  int dim = 0;
  int type = 0;
  int records = 0;
  int userInfo = 0;
  int found = 0;
  require(C__zxfSymbolInfo(zxf, number, name, &dim, &type) == 1, "symbol info");
  require(dim >= 0 && dim <= 20 && type >= 0 && type <= 4, "dimension and type");
  require(C__zxfSymbolInfoX(zxf, number, &records, &userInfo, text) == 1, "more symbol info");
  require(type != 4 || (userInfo >= 0 && userInfo < number), "alias target");
  require(C__zxfFindSymbol(zxf, name, &found) == 1 && found == number, "finding by name");
  char buffers[20][256];
  char* names[20];
  for (int d = 0; d < 20; ++d) names[d] = buffers[d];
  C__zxfSymbolGetDomainX(zxf, number, names);
  if (type != 4) readRecords(zxf, number, dim, labels);
}

}  // namespace

int readAll(const char* path) {
  void* zxf = nullptr;
  XCreate(&zxf);
  int error = 0;
  if (C__zxfOpenRead(zxf, path, &error) == 1) {
    const int labels = readLabels(zxf);
    char name[256];
    int dim = 0;
    int type = 0;
    int symbols = 0;
    int ignored = 0;
    C__zxfSystemInfo(zxf, &symbols, &ignored);
    for (int s = 1; s <= symbols; ++s) readSymbol(zxf, s, labels);
    require(C__zxfSymbolInfo(zxf, 0, name, &dim, &type) == 1, "universe");
  }
  char text[256];
  while (const int number = C__zxfGetLastError(zxf)) C__zxfErrorStr(zxf, number, text);
  const int errors = C__zxfErrorCount(zxf);
  XFree(&zxf);
  return errors;
}
