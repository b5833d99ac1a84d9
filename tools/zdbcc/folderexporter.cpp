// Folders with a file for each symbol.
#include <algorithm>
#include <filesystem>

#include "columns.h"
#include "console.h"
#include "exporter.h"
#include "importspec.h"
#include "output.h"
#include "recordtext.h"
#include "values.h"

namespace zdb::tool {

namespace {

namespace fs = std::filesystem;

/// No symbol has such a name.
constexpr const char* kLabelFile = "_labels.csv";

/// Writes a symbol as import reads it.
class SpecWriter {
 public:
  explicit SpecWriter(const std::vector<FileSymbol>& exported) : exported_(exported) {}

  std::string operator()(const FileSymbol& symbol, const std::string& file) const {
    std::string spec = typeName(symbol.type);
    if (symbol.subtype() != 0 && !symbol.isAlias()) {
      spec.append("(").append(std::to_string(symbol.subtype())).append(")");
    }
    spec.append(" ").append(symbol.name);
    if (!symbol.text.empty()) spec.append(" ").append(specText(symbol.text));
    if (symbol.isAlias()) return spec + '=' + symbol.aliasOf;
    spec.append("=").append(file).append(":");
    const std::vector<std::string> names = columnNames(symbol);
    const auto dim = static_cast<std::size_t>(symbol.dim);
    for (std::size_t i = 0; i < names.size(); ++i) {
      if (i > 0 && i != dim) spec += ',';
      if (i == dim) spec += "->";
      spec += specName(names[i]);
      if (i < dim) spec += domain(symbol, symbol.domains[i]);
    }
    return spec;
  }

 private:
  std::string domain(const FileSymbol& owner, const Domain& domain) const {
    if (domain.name == "*") return owner.type == ZDB_SET && owner.dim == 1 ? "" : "(*)";
    const bool isThere = std::any_of(exported_.begin(), exported_.end(), [&](const auto& symbol) {
      return symbol.name == domain.name;
    });
    return '(' + (isThere && !domain.relaxed ? domain.name : specText(domain.name)) + ')';
  }

  const std::vector<FileSymbol>& exported_;
};

class FolderExporter : public Exporter {
 public:
  FolderExporter(const ExportJob& job, TextForm form)
      : job_(job), form_(form), folder_(job.target) {
    if (!job.isForced) refuseToWriteOver();
    std::error_code failed;
    fs::create_directories(folder_, failed);
    if (failed) throw ToolError("cannot make the folder " + job.target + ": " + failed.message());
    if (form_ != TextForm::Csv) return;
    fs::remove(folder_ / kSpecFile, failed);  // a folder without it is not complete
    writeLabels();
  }

  void begin(const FileSymbol& symbol) override {
    const std::string name = fileOf(symbol);
    specs_ += SpecWriter(job_.symbols)(symbol, name) + '\n';
    if (symbol.isAlias()) return;
    output_ = std::make_unique<NewFileOutput>(folder_ / name);
    text_ = recordText(form_, job_.file, symbol, *output_);
    text_->heading();
  }
  void record(const FileRecords& record) override { text_->record(record); }
  void end() override {
    if (output_ != nullptr) output_->publish();
    output_ = nullptr;
  }
  void finish() override {
    if (form_ != TextForm::Csv) return;
    NewFileOutput specs(folder_ / kSpecFile);
    specs.write("# zdbcc import OUT.zxf FOLDER reads this.\n");
    specs.write(std::string("*=") + kLabelFile + ":label\n" + specs_);
    specs.publish();
  }

 private:
  std::string fileOf(const FileSymbol& symbol) const {
    return symbol.name + (form_ == TextForm::Csv ? ".csv" : ".jsonl");
  }

  void refuseToWriteOver() const {
    const auto refuse = [&](const std::string& name) {
      if (!fs::exists(folder_ / name)) return;
      throw ToolError((folder_ / name).string() + " exists; use --force to write over it");
    };
    if (form_ == TextForm::Csv) refuse(kSpecFile);
    if (form_ == TextForm::Csv) refuse(kLabelFile);
    for (const FileSymbol& symbol : job_.symbols) {
      if (!symbol.isAlias()) refuse(fileOf(symbol));
    }
  }

  /// Their order is that of records.
  void writeLabels() const {
    NewFileOutput output(folder_ / kLabelFile);
    const FileSymbol universe = job_.file.symbol("*");
    const auto text = recordText(form_, job_.file, universe, output);
    text->heading();
    FileRecords labels(job_.file, universe);
    while (labels.next()) text->record(labels);
    output.publish();
  }

  ExportJob job_;
  TextForm form_;
  fs::path folder_;
  std::unique_ptr<NewFileOutput> output_;
  std::unique_ptr<RecordText> text_;
  std::string specs_;
};

}  // namespace

std::unique_ptr<Exporter> csvFolderExporter(const ExportJob& job) {
  return std::make_unique<FolderExporter>(job, TextForm::Csv);
}

std::unique_ptr<Exporter> jsonLinesFolderExporter(const ExportJob& job) {
  return std::make_unique<FolderExporter>(job, TextForm::JsonLines);
}

}  // namespace zdb::tool
