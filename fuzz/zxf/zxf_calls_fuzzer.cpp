// Any sequence of calls with any arguments, most of them senseless. Whatever a writer puts in its
// place has to be a file that reads without an error.
#include <stdlib.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

#include "fuzz/zxf/readall.h"
#include "zxf/api.h"

namespace {

// One folder for the process, in memory where the system has such a place.
class Folder {
 public:
  Folder() {
    name_ = std::filesystem::is_directory("/dev/shm") ? "/dev/shm/" : "/tmp/";
    name_ += "zxf_calls_XXXXXX";
    if (mkdtemp(name_.data()) == nullptr) abort();
  }
  ~Folder() { std::filesystem::remove_all(name_); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  std::string path(const char* name) const { return name_ + name; }

 private:
  std::string name_;
};

const Folder folder;

class Calls {
 public:
  Calls(const std::uint8_t* data, std::size_t size) : at_(data), end_(data + size) {
    XCreate(&zxf_);
  }
  ~Calls() { XFree(&zxf_); }
  Calls(const Calls&) = delete;
  Calls& operator=(const Calls&) = delete;

  void run() {
    while (at_ != end_) {
      const int before = C__zxfErrorCount(zxf_);
      const std::uint8_t op = byte();
      if (op % 32 < 8) {
        file(op % 8);
      } else if (op % 32 < 20) {
        write(op % 32 - 8);
      } else {
        read(op % 32 - 20);
      }
      if (op % 32 >= 8 && C__zxfErrorCount(zxf_) < before) abort();
    }
  }

 private:
  std::uint8_t byte() { return at_ == end_ ? std::uint8_t{0} : *at_++; }

  // Mostly small, sometimes beyond every limit.
  int number() {
    const int value = byte();
    if (value < 200) return value % 12;
    static const int kOdd[] = {-1, 21, 255, 70000, 0x7FFFFFFF, -0x7FFFFFFF - 1};
    return kOdd[value % std::size(kOdd)];
  }

  const char* text() {
    static const std::string kLong(300, 'x');
    static const std::string k63(63, 'y');
    static const std::array<const char*, 16> kTexts = {
        nullptr, "",  "*", "a",  "b",  "c",   "A",           "i",
        "j",     "p", " ", "a ", "\t", "'\"", kLong.c_str(), k63.c_str()};
    return kTexts[byte() % kTexts.size()];
  }

  double value() {
    static const double kValues[] = {0.0, -0.0, 1.0, 0.01, 1e300, 1.0 / 0.0, 1.0 / 3, 1e-320};
    const std::uint8_t kind = byte();
    return kind < 128 ? kValues[kind % std::size(kValues)] : kind * 0.25;
  }

  void close() {
    if (C__zxfClose(zxf_) == 0) return;
    if (!target_.empty() && readAll(target_.c_str()) != 0) abort();
    target_.clear();
  }

  void file(int op) {
    int error = 0;
    const std::string path = folder.path(byte() % 2 == 0 ? "/a" : "/b");
    switch (op) {
      case 0:
        C__zxfOpenRead(zxf_, path.c_str(), &error);
        break;
      case 1:
        if (C__zxfOpenWrite(zxf_, path.c_str(), text(), &error) == 1) target_ = path;
        break;
      case 2:
        close();
        break;
      case 3:
        C__zxfSetSpecialValues(zxf_, values_.data());
        break;
      case 4:
        C__zxfSetReadSpecialValues(zxf_, values_.data());
        break;
      case 5:
        C__zxfGetSpecialValues(zxf_, values_.data());
        break;
      case 6:
        C__zxfErrorStr(zxf_, number(), buffer_);
        break;
      default:
        C__zxfGetLastError(zxf_);
    }
  }

  void write(int op) {
    int textNumber = 0;
    switch (op) {
      case 0:
        C__zxfUELRegisterRawStart(zxf_);
        break;
      case 1:
        C__zxfUELRegisterRaw(zxf_, text());
        break;
      case 2:
        C__zxfUELRegisterDone(zxf_);
        break;
      case 3:
        C__zxfAddAlias(zxf_, text(), text());
        break;
      case 4:
        C__zxfDataWriteRawStart(zxf_, text(), text(), number(), number(), number());
        break;
      case 5:
      case 6:
        writeRecords();
        break;
      case 7:
        C__zxfDataWriteDone(zxf_);
        break;
      case 8:
        fillNames();
        C__zxfSymbolSetDomain(zxf_, names_.data());
        break;
      case 9:
        fillNames();
        C__zxfSymbolSetDomainX(zxf_, number(), names_.data());
        break;
      case 10:
        C__zxfAddSetText(zxf_, text(), &textNumber);
        break;
      default:
        C__zxfStoreDomainSetsSet(zxf_, number());
    }
  }

  void fillNames() {
    for (const char*& name : names_) name = text();
  }

  // A run of records that counts up in one position; long enough, it fills blocks.
  void writeRecords() {
    for (int& label : key_) label = number();
    for (double& v : values_) v = value();
    const int length = byte();
    const int count = length < 255 ? length % 8 : 17000;
    const int position = byte() % 20;
    for (int i = 0; i < count; ++i) {
      C__zxfDataWriteRaw(zxf_, key_.data(), values_.data());
      if (key_[position] < 100000) ++key_[position];
      values_[i % 5] += 0.5;
    }
  }

  void read(int op) {
    int a = 0;
    int b = 0;
    char* buffers[20];
    for (char*& buffer : buffers) buffer = buffer_;
    switch (op) {
      case 0:
        C__zxfDataReadRawStart(zxf_, number(), &a);
        break;
      case 1:
      case 2:
        C__zxfDataReadRaw(zxf_, key_.data(), values_.data(), &a);
        break;
      case 3:
        C__zxfDataReadDone(zxf_);
        break;
      case 4:
        C__zxfSymbolInfo(zxf_, number(), buffer_, &a, &b);
        break;
      case 5:
        C__zxfSymbolInfoX(zxf_, number(), &a, &b, buffer_);
        break;
      case 6:
        C__zxfSymbolGetDomainX(zxf_, number(), buffers);
        break;
      case 7:
        C__zxfFindSymbol(zxf_, text(), &a);
        break;
      case 8:
        C__zxfGetElemText(zxf_, number(), buffer_, &a);
        break;
      case 9:
        C__zxfUMUelInfo(zxf_, &a, &b);
        break;
      case 10:
        C__zxfUMUelGet(zxf_, number(), buffer_, &a);
        break;
      default:
        C__zxfSystemInfo(zxf_, &a, &b);
    }
  }

  const std::uint8_t* at_;
  const std::uint8_t* end_;
  void* zxf_ = nullptr;
  std::string target_;  // of the writer that is open
  std::array<int, 20> key_{};
  std::array<double, 7> values_{};
  std::array<const char*, 20> names_{};
  char buffer_[256] = {};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::filesystem::remove(folder.path("/a"));
  std::filesystem::remove(folder.path("/b"));
  Calls(data, size).run();
  return 0;
}
