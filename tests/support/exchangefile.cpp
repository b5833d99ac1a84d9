#include "exchangefile.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <stdexcept>

namespace zdb::test::zxf {

namespace {

void require(bool good, const char* what) {
  if (!good) throw std::runtime_error(what);
}

void requireDone(const Zxf& zxf, int result) {
  if (result == 1) return;
  const int error = C__zxfGetLastError(zxf);
  throw Refused(zxf.errorText(error), error);
}

std::vector<const char*> pointers(const std::vector<std::string>& texts) {
  std::vector<const char*> result(20);
  std::transform(texts.begin(), texts.end(), result.begin(),
                 [](auto& text) { return text.c_str(); });
  return result;
}

void writeAlias(const Zxf& zxf, const Content& content, const Symbol& alias) {
  const std::string set = alias.userInfo == 0 ? "*" : content.symbols[alias.userInfo - 1].name;
  requireDone(zxf, C__zxfAddAlias(zxf, alias.name.c_str(), set.c_str()));
}

void writeSymbol(const Zxf& zxf, int number, const Symbol& symbol) {
  std::vector<const char*> domains = pointers(symbol.domains);
  requireDone(zxf, C__zxfDataWriteRawStart(zxf, symbol.name.c_str(), symbol.text.c_str(),
                                           symbol.dim, symbol.type, symbol.userInfo));
  if (symbol.domain == Domain::Strict) {
    requireDone(zxf, C__zxfSymbolSetDomain(zxf, domains.data()));
  }
  const std::size_t count = symbol.values.size() / symbol.width();
  for (std::size_t i = 0; i < count; ++i) {
    const int* key = symbol.dim == 0 ? nullptr : symbol.keys.data() + i * symbol.dim;
    requireDone(zxf, C__zxfDataWriteRaw(zxf, key, symbol.values.data() + i * symbol.width()));
  }
  requireDone(zxf, C__zxfDataWriteDone(zxf));
  if (symbol.domain == Domain::Relaxed) {
    requireDone(zxf, C__zxfSymbolSetDomainX(zxf, number, domains.data()));
  }
}

void readLabelsAndTexts(const Zxf& zxf, int labels, Content& content) {
  char text[256];
  int number = 0;
  int highest = -1;
  require(C__zxfUMUelInfo(zxf, &number, &highest) == 1 && number == labels && highest == 0,
          "label info");
  for (int i = 1; i <= labels; ++i) {
    require(C__zxfUMUelGet(zxf, i, text, &number) == 1 && std::strlen(text) <= 63, "label");
    content.labels.emplace_back(text);
  }
  for (int i = 1; C__zxfGetElemText(zxf, i, text, &number) == 1; ++i) {
    require(std::strlen(text) <= 255 && number == 0, "text");
    content.texts.emplace_back(text);
  }
}

void readRecords(const Zxf& zxf, int number, int labels, Symbol& symbol) {
  int count = 0;
  if (C__zxfDataReadRawStart(zxf, number, &count) == 0) return;
  const int dim = symbol.dim;
  const int errors = C__zxfErrorCount(zxf);
  std::array<int, 20> key{};
  std::array<int, 20> before{};
  std::array<double, 5> values{};
  int changed = -1;
  int read = 0;
  for (; C__zxfDataReadRaw(zxf, dim == 0 ? nullptr : key.data(), values.data(), &changed) == 1;
       ++read, before = key) {
    const auto same = std::mismatch(key.begin(), key.begin() + dim, before.begin()).first;
    require(dim == 0 ? changed == 0 : changed == same - key.begin() + 1, "first changed dimension");
    require(dim == 0 || before < key, "order of keys");
    require(std::all_of(key.begin(), key.begin() + dim,
                        [&](int label) { return label >= 1 && label <= labels; }),
            "label number");
    symbol.keys.insert(symbol.keys.end(), key.begin(), key.begin() + dim);
    symbol.values.insert(symbol.values.end(), values.begin(), values.begin() + symbol.width());
  }
  const bool failed = C__zxfErrorCount(zxf) > errors;
  require(failed ? read < count : read == count, "record count");
  require(C__zxfDataReadDone(zxf) == 1, "end of reading");
}

// The same many at a time: as many as a call promises, and nothing beyond its room.
void readRuns(const Zxf& zxf, int number, Symbol& symbol, Reading how) {
  int count = 0;
  if (C__zxfDataReadRawStart(zxf, number, &count) == 0) return;
  const int room = how == Reading::Pieces ? 999 : std::min(count + 1, 16384);
  const int gap = how == Reading::Pieces ? 2 : 1;
  const int keyStep = how == Reading::Rows ? std::max(symbol.dim, 1) : gap;
  constexpr int kUntouched = -77;
  std::vector<int> labels(static_cast<std::size_t>(symbol.dim * room * gap) + 1, kUntouched);
  std::vector<double> values(static_cast<std::size_t>(symbol.width() * room * gap) + 1, kUntouched);
  std::array<int*, 20> keyPlaces{};
  std::array<double*, 5> valuePlaces{};
  for (int d = 0; d < symbol.dim; ++d)
    keyPlaces[d] = labels.data() + (how == Reading::Rows ? d : d * room * gap);
  for (int c = 0; c < symbol.width(); ++c) valuePlaces[c] = values.data() + c * room * gap;
  const int errors = C__zxfErrorCount(zxf);
  int read = 0;
  for (int taken = 1; taken > 0; read += taken) {
    if (C__zxfDataReadRawColumns(zxf, room, keyPlaces.data(), keyStep, valuePlaces.data(), gap,
                                 &taken) == 0) {
      require(taken == 0, "count after a failure");
    }
    require(taken <= room && labels.back() == kUntouched && values.back() == kUntouched, "room");
    for (int i = 0; i < taken; ++i) {
      for (int d = 0; d < symbol.dim; ++d) symbol.keys.push_back(keyPlaces[d][i * keyStep]);
      for (int c = 0; c < symbol.width(); ++c) symbol.values.push_back(valuePlaces[c][i * gap]);
    }
  }
  const bool failed = C__zxfErrorCount(zxf) > errors;
  require(failed ? read < count : read == count, "record count of runs");
  require(C__zxfDataReadDone(zxf) == 1, "end of reading");
}

Symbol readSymbol(const Zxf& zxf, int number, int labels, Reading how) {
  Symbol symbol;
  char name[256];
  char text[256];
  int records = -1;
  int found = -1;
  require(C__zxfSymbolInfo(zxf, number, name, &symbol.dim, &symbol.type) == 1, "symbol info");
  require(C__zxfSymbolInfoX(zxf, number, &records, &symbol.userInfo, text) == 1, "more of it");
  require(C__zxfFindSymbol(zxf, name, &found) == 1 && found == number, "finding by name");
  require(symbol.dim >= 0 && symbol.dim <= 20 && symbol.type >= 0 && symbol.type <= 4, "shape");
  symbol.name = name;
  symbol.text = text;
  char buffers[20][256];
  char* names[20];
  for (int d = 0; d < 20; ++d) names[d] = buffers[d];
  symbol.domain = static_cast<Domain>(C__zxfSymbolGetDomainX(zxf, number, names));
  if (symbol.domain != Domain::None) symbol.domains.assign(names, names + symbol.dim);
  if (symbol.type == 4) {
    require(symbol.userInfo >= 0 && symbol.userInfo < number && records == 0, "alias");
    return symbol;
  }
  if (how == Reading::OneByOne) {
    readRecords(zxf, number, labels, symbol);
  } else {
    readRuns(zxf, number, symbol, how);
  }
  return symbol;
}

Content readInAllWays(const std::string& path, std::vector<int>& errors) {
  Content content = readContent(path, errors);
  for (const Reading how : {Reading::Columns, Reading::Rows, Reading::Pieces}) {
    std::vector<int> others;
    require(readContent(path, others, how) == content && others == errors, "records in runs");
  }
  return content;
}

}  // namespace

int Zxf::openRead(const std::string& path) const {
  int error = -1;
  const int result = C__zxfOpenRead(handle_, path.c_str(), &error);
  require((result == 1) == (error == 0), "error number of opening");
  return error;
}

int Zxf::openWrite(const std::string& path) const {
  int error = -1;
  const int result = C__zxfOpenWrite(handle_, path.c_str(), "", &error);
  require((result == 1) == (error == 0), "error number of opening");
  return error;
}

std::string Zxf::errorText(int number) const {
  char text[256] = "";
  require(C__zxfErrorStr(handle_, number, text) == 1 && *text != '\0', "text of an error");
  return text;
}

std::vector<int> Zxf::takeErrors() const {
  std::vector<int> numbers;
  while (const int number = C__zxfGetLastError(handle_)) numbers.push_back(number);
  return numbers;
}

bool Symbol::operator==(const Symbol& other) const {
  const auto areSame = [&](auto... members) { return ((this->*members == other.*members) && ...); };
  const auto bits = [](double value) { return std::bit_cast<std::uint64_t>(value); };
  return areSame(&Symbol::name, &Symbol::dim, &Symbol::type, &Symbol::userInfo, &Symbol::text,
                 &Symbol::keys, &Symbol::domain, &Symbol::domains) &&
         std::ranges::equal(values, other.values, {}, bits, bits);
}

void writeContent(const std::string& path, const Content& content) {
  const Zxf zxf;
  requireDone(zxf, zxf.openWrite(path) == 0 ? 1 : 0);
  requireDone(zxf, C__zxfUELRegisterRawStart(zxf));
  for (const std::string& label : content.labels) {
    requireDone(zxf, C__zxfUELRegisterRaw(zxf, label.c_str()));
  }
  requireDone(zxf, C__zxfUELRegisterDone(zxf));
  int number = 0;
  for (const Symbol& symbol : content.symbols) {
    ++number;
    symbol.type == 4 ? writeAlias(zxf, content, symbol) : writeSymbol(zxf, number, symbol);
  }
  int expected = 0;
  for (const std::string& text : content.texts) {
    requireDone(zxf, C__zxfAddSetText(zxf, text.c_str(), &number));
    require(number == ++expected, "number of a text");
  }
  requireDone(zxf, C__zxfClose(zxf));
  require(C__zxfErrorCount(zxf) == 0, "error count");
}

Content readContent(const std::string& path, std::vector<int>& errors, Reading how) {
  const Zxf zxf;
  Content content;
  if (zxf.openRead(path) == 0) {
    int symbols = 0;
    int labels = 0;
    require(C__zxfSystemInfo(zxf, &symbols, &labels) == 1, "system info");
    readLabelsAndTexts(zxf, labels, content);
    for (int s = 1; s <= symbols; ++s) {
      content.symbols.push_back(readSymbol(zxf, s, labels, how));
    }
    require(C__zxfClose(zxf) == 1, "end of a file");
  }
  const int count = C__zxfErrorCount(zxf);
  errors = zxf.takeErrors();
  require(count == static_cast<int>(errors.size()), "error count");
  for (const int number : errors) zxf.errorText(number);
  return content;
}

Content readContent(const std::string& path) {
  std::vector<int> errors;
  Content content = readInAllWays(path, errors);
  if (!errors.empty()) throw std::runtime_error(path + ": error " + std::to_string(errors[0]));
  return content;
}

std::string memoryFile(const Bytes& bytes) {
  static const int file = memfd_create("zxf", MFD_CLOEXEC);
  const auto size = static_cast<ssize_t>(bytes.size());
  require(ftruncate(file, 0) == 0 && pwrite(file, bytes.data(), bytes.size(), 0) == size, "memory");
  return "/proc/self/fd/" + std::to_string(file);
}

std::vector<int> errorsOf(const Bytes& bytes) {
  std::vector<int> errors;
  readInAllWays(memoryFile(bytes), errors);
  return errors;
}

}  // namespace zdb::test::zxf
