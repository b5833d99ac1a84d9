#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "orderedrecords.h"
#include "zxf/writer.h"

namespace zdb::tool {

/// An exchange file that is being written record by record, so that memory does not grow with them.
/// Its name is that of the earlier file, or of none, until publish(). All
/// functions throw ToolError.
class NewFile {
 public:
  explicit NewFile(const std::string& fileName, const std::string& producer = kProducer);

  /// Adds the labels 1 to `count`. `labelOf` must last as long as this.
  void addLabels(int count, const std::function<std::string_view(int)>& labelOf);
  /// An alias, or a symbol with its domains, which come before it.
  void startSymbol(const FileSymbol& symbol);
  /// For symbols that are not sets.
  void add(const int* keys, const double* values);
  /// Also for a set, with its text.
  void add(const OrderedRecords& record);
  void endSymbol();
  void publish();

  std::uint64_t recordCount() const { return recordCount_; }

 private:
  static constexpr const char* kProducer = "zdbcc " ZDBCCLIB_VERSION;

  template <typename Work>
  void writing(Work work);
  void setDomains(const FileSymbol& symbol);
  /// The value of a record of a set for the text that it has in another file.
  double textNumber(const OrderedRecords& record);

  std::string name_;
  zdb::zxfile::Writer writer_;
  std::function<std::string_view(int)> labelOf_;
  FileSymbol symbol_;
  int symbolCount_ = 0;
  std::uint64_t recordCount_ = 0;
  /// Numbers of element texts here by those in other files, 0 for texts that are not used yet.
  std::map<const ExchangeFile*, std::vector<int>> texts_;
};

/// What the report of a verb tells about a file.
struct FileSize {
  std::uint64_t bytes = 0;
  std::size_t symbols = 0;
  std::uint64_t records = 0;
  int labels = 0;
};
FileSize sizeOf(const ExchangeFile& file);

}  // namespace zdb::tool
