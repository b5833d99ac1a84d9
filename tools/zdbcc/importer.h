#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "csvscanner.h"
#include "importspec.h"
#include "progress.h"
#include "recordintake.h"

namespace zdb::tool {

/// What to do with an empty field where a number should be.
enum class OnMissing { Skip, Zero, NotAvailable, Error };

/// How files are read, for all of them.
struct ImportRules {
  CsvFormat format;
  bool hasHeading = true;
  std::size_t skippedLines = 0;  ///< before the heading
  bool checksDomains = true;
  OnMissing onMissing = OnMissing::Skip;
  OnDuplicate onDuplicate = OnDuplicate::Last;
};

/// Fills a database from CSV files, symbol by symbol. Functions throw ToolError, with the file and
/// the line where there is one; the database is then not complete.
class Importer {
 public:
  Importer(const ImportRules& rules, std::vector<ImportSpec> specs, Console& console);

  void run();
  const zdbcc::Database& database() const { return db_; }
  const std::vector<SymbolReport>& reports() const { return reports_; }

 private:
  friend class TableImport;

  void addAlias(const ImportSpec& spec);
  /// The domains of a spec's positions as the database knows them; sets that grow and do not exist
  /// are added. A position without a domain gets the heading as a mere name, if one is given.
  std::vector<DomainName> domainsOf(const ImportSpec& spec, bool isWide,
                                    const std::vector<std::string>& headings);
  zdbcc::Symbol addSymbol(const ImportSpec& spec, int type, const std::vector<DomainName>& domains);
  /// Null where every label is allowed.
  Members* membersOf(const DomainName& domain);
  bool isToCome(const std::string& name) const;
  bool isKnown(const std::string& name) const;
  /// Whether a symbol of this import has the name, already or later.
  bool isTaken(const std::string& name) const;
  void requireDomain(const DomainName& domain, const std::string& symbol);
  void addGrown();

  ImportRules rules_;
  std::vector<ImportSpec> specs_;
  Console& console_;
  std::size_t current_ = 0;  ///< spec
  zdbcc::Database db_;
  LabelIntake labels_;
  TextIntake texts_;
  Progress progress_;
  std::uint64_t doneBytes_ = 0;
  std::uint64_t totalBytes_ = 0;
  std::map<std::string, std::unique_ptr<Members>> members_;  ///< by the set's name in lower case
  std::vector<SymbolReport> reports_;
};

}  // namespace zdb::tool
