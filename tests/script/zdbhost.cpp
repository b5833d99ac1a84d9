// Scripts over the exported surface of the library.

#include <malloc.h>
#include <unistd.h>

#include <filesystem>

#include "script/driver.h"
#include "zdbcclib.h"

namespace zdb::script {

template <>
inline constexpr const char* kKind<zdbHandle_t> = "object";
template <>
inline constexpr const char* kKind<zdbSymbol_t> = "symbol";
template <>
inline constexpr const char* kKind<zdbRecord_t> = "record";
template <>
inline constexpr const char* kKind<zdbDV_t> = "violation";

namespace {

FunctionTable makeTable() {
  FunctionTable table;
#define ZDB_PLAIN(name, lower, result, parameters, arguments, ...) \
  table.emplace(#name, Function::make(#name, &c__##lower, true, #parameters));
#define ZDB_TEXT ZDB_PLAIN
#include "api/exports.def"
#define ZDB_TEXT(name, lower, ...) table.at(#name).shortStrings = Form(&d__##lower);
#define ZDB_ENTRY(name, ...) \
  table.emplace(#name, Function::make(#name, &name, std::string_view(#name).rfind("n__", 0) == 0));
#include "api/exports.def"
  table.at("zdbGetKeys").flat = Form(&n__zdbgetkeys);
  table.at("zdbGetDomain").flat = Form(&n__zdbgetdomain);
  for (auto& [name, function] : table) {
    if (name.rfind("d__", 0) == 0) std::swap(function.plain, function.shortStrings);
  }
  return table;
}

std::string lastError(zdbHandle_t db) {
  char text[ZDB_TEXT_SIZE] = "";
  c__zdbgetlasterror(db, text);
  return text;
}

class ZdbHost : public Host {
 public:
  ZdbHost() : Host(makeTable()) {
    words["fill"] = onSymbol(&fill);
    words["dump"] = onSymbol(&dump);
    words["marks"] = [](Run& run, const Statement& statement) {
      return takeMarks(static_cast<zdbHandle_t>(run.object(statement.object)));
    };
  }

  void* create(const Way& way) override {
    zdbHandle_t db = nullptr;
    zdbcreate(&db, nullptr, 0);
    if (c__zdbselectrecordstorage(db, nullptr, std::stoi(way.settings.at("storage"))) != 1) {
      throw ScriptError("cannot choose a storage");
    }
    return db;
  }
  void destroy(void* object) override {
    auto* db = static_cast<zdbHandle_t>(object);
    zdbfree(&db);
  }

  void mark(void* object) override {
    zdbSymbol_t none = nullptr;
    c__zdbfindsymbol(static_cast<zdbHandle_t>(object), "?", &none);
  }
  std::string message(void* object) override {
    const std::string text = lastError(static_cast<zdbHandle_t>(object));
    return text == "Cannot find symbol ?" ? "" : text;
  }

  std::string describe(void* object, const std::string& kind, void* handle) override {
    auto* db = static_cast<zdbHandle_t>(object);
    if (kind == "symbol") return nameOf(db, static_cast<zdbSymbol_t>(handle));
    if (kind == "record") return keyOf(db, static_cast<zdbRecord_t>(handle));
    if (kind == "violation") return violation(db, static_cast<zdbDV_t>(handle));
    return kind;
  }
  void release(void* object, const std::string& kind, void* handle) override {
    auto* db = static_cast<zdbHandle_t>(object);
    if (kind == "record") c__zdbfreesymboliterator(db, static_cast<zdbRecord_t>(handle));
    if (kind == "violation") c__zdbfreedvhandle(db, static_cast<zdbDV_t>(handle));
    if (kind == "object") destroy(handle);
  }
  void* callback(const std::string& name) const override {
    return name == "never" ? reinterpret_cast<void*>(+[] { std::abort(); }) : nullptr;
  }
  bool releases(const std::string& function) const override {
    return function == "zdbFreeSymbolIterator" || function == "zdbFreeDVHandle" ||
           function.find("free") != function.npos;
  }

  static std::string picture(void* object) {
    auto* db = static_cast<zdbHandle_t>(object);
    std::string all;
    zdbSymbol_t symbol = nullptr;
    for (int i = 0; c__zdbgetsymbolbynumber(db, i, &symbol) == 1; ++i) {
      all += nameOf(db, symbol) + " " + dump(db, symbol) + "\n";
    }
    return all;
  }

 private:
  static Word onSymbol(std::string (*work)(zdbHandle_t db, zdbSymbol_t symbol)) {
    return [work](Run& run, const Statement& statement) {
      const Variable& symbol = run.variable(statement.arguments.at(0));
      return work(static_cast<zdbHandle_t>(symbol.object), static_cast<zdbSymbol_t>(symbol.handle));
    };
  }
  static std::string nameOf(zdbHandle_t db, zdbSymbol_t symbol) {
    char name[ZDB_TEXT_SIZE];
    const int known = c__zdbsymbolinfo(db, symbol, ZDB_SYMBOL_NAME, nullptr, nullptr, name);
    return known == 1 ? name : "foreign";
  }
  static std::string keyOf(zdbHandle_t db, zdbRecord_t record) {
    char labels[ZDB_MAX_DIM][ZDB_TEXT_SIZE];
    for (auto& label : labels) label[0] = '\1';
    if (n__zdbgetkeys(db, record, ZDB_MAX_DIM, labels[0]) != 1) return "ended";
    std::string key = "(";
    for (const auto& label : labels) {
      if (label[0] != '\1') key.append(key.size() > 1 ? "." : "").append(label);
    }
    return key + ")";
  }
  static std::string violation(zdbHandle_t db, zdbDV_t violation) {
    zdbSymbol_t symbol = nullptr;
    zdbRecord_t record = nullptr;
    int dim = 0;
    int positions[ZDB_MAX_DIM];
    if (c__zdbgetdvsymbol(db, violation, &symbol) != 1) return "ended";
    c__zdbgetdvsymbolrecord(db, violation, &record);
    c__zdbgetdvindicator(db, violation, positions);
    c__zdbsymboldim(db, symbol, &dim);
    std::string text = nameOf(db, symbol) + keyOf(db, record) + ":";
    c__zdbfreesymboliterator(db, record);
    for (int i = 0; i < dim; ++i) text += std::to_string(positions[i]);
    return text;
  }
  /// Merges a thousand records with labels of their own, so that everything has to grow.
  static std::string fill(zdbHandle_t db, zdbSymbol_t symbol) {
    for (int i = 0; i < 1000; ++i) {
      const std::string label = "label " + std::to_string(i);
      const char* const key[] = {label.c_str()};
      zdbRecord_t record = nullptr;
      if (c__zdbmergerecord(db, symbol, key, &record) != 1) return "0 \"" + lastError(db) + "\"";
      c__zdbfreesymboliterator(db, record);
    }
    return "filled";
  }
  static std::string takeMarks(zdbHandle_t db) {
    std::string names;
    zdbSymbol_t symbol = nullptr;
    for (int i = 0; c__zdbgetsymbolbynumber(db, i, &symbol) == 1; ++i) {
      int isWritten = 0;
      c__zdbsymbolinfo(db, symbol, ZDB_SYMBOL_WRITTEN, &isWritten, nullptr, nullptr);
      if (isWritten == 1) names += (names.empty() ? "" : " ") + nameOf(db, symbol);
    }
    if (c__zdbstopwriterecording(db) == 1) c__zdbstartwriterecording(db);
    return names.empty() ? "none" : names;
  }
  static std::string dump(zdbHandle_t db, zdbSymbol_t symbol) {
    int type = 0;
    zdbRecord_t record = nullptr;
    c__zdbsymboltype(db, symbol, &type);
    if (c__zdbfindfirstrecord(db, symbol, &record) != 1) return lastError(db);
    std::string all;
    do {
      const std::string key = keyOf(db, record);
      all += (all.empty() ? "" : " ") + key.substr(1, key.size() - 2);
      char text[ZDB_TEXT_SIZE] = "";
      int numbers[ZDB_MAX_DIM];
      double values[ZDB_MAX_VALUES] = {};
      c__zdbgetrecordraw(db, record, ZDB_MAX_DIM, numbers, values);
      if (type == ZDB_SET) c__zdbgetelemtext(db, record, text);
      if (text[0] != '\0') all.append("'").append(text).append("'");
      const int count = type == ZDB_SET ? 0 : type == ZDB_PARAMETER ? 1 : 5;
      for (int i = 0; i < count; ++i) all += (i == 0 ? "=" : "/") + shown(values[i]);
    } while (c__zdbrecordmovenext(db, record) == 1);
    c__zdbfreesymboliterator(db, record);
    return all;
  }
};

/// A file for this process. Files are synchronised with the disk, which takes no time where there
/// is none.
std::string pathOf(const std::string& name) {
  static const std::filesystem::path memory = "/dev/shm";
  const auto folder = exists(memory) ? memory : std::filesystem::temp_directory_path();
  return folder / (std::to_string(getpid()) + name);
}

/// A new database with what is in another one, by way of a file or by copying.
zdbHandle_t renewed(Run& run, zdbHandle_t old, bool throughFile) {
  static int number = 0;
  auto* const fresh = static_cast<zdbHandle_t>(run.host.create(run.way));
  const std::string file = pathOf(std::to_string(++number));
  if (throughFile && c__zdbwritezxf(old, file.c_str(), 1) != 1) throw ScriptError(lastError(old));
  if ((throughFile ? c__zdbinitfromzxf(fresh, file.c_str()) : c__zdbinitfromdb(fresh, old)) != 1) {
    throw ScriptError(lastError(fresh));
  }
  std::filesystem::remove(file);  // the new database has it open
  double special[ZDB_SV_COUNT];
  c__zdbgetuserspecialvalues(old, special);
  c__zdbsetspecialvalues(fresh, special);
  return fresh;
}

/// Puts every database of a run into a new one, with the symbols in variables. Leaves them alone
/// while a handle on a record is open: nobody could tell what it stands on.
bool renewAll(Run& run, bool throughFile) {
  for (const auto& [name, variable] : run.variables) {
    if (variable.handle != nullptr && variable.kind != "symbol") return false;
  }
  for (auto& [name, object] : run.objects) {
    auto* const old = static_cast<zdbHandle_t>(object);
    zdbHandle_t fresh = renewed(run, old, throughFile);
    for (auto& [ofVariable, variable] : run.variables) {
      if (variable.object != old || variable.handle == nullptr) continue;
      int number = 0;
      auto* symbol = static_cast<zdbSymbol_t>(variable.handle);
      c__zdbsymbolinfo(old, symbol, ZDB_SYMBOL_NUMBER, &number, nullptr, nullptr);
      c__zdbgetsymbolbynumber(fresh, number, &symbol);
      variable = {"symbol", symbol, fresh};
    }
    run.host.destroy(old);
    object = fresh;
  }
  return true;
}

/// Three storages, times C and short strings, times functions and their twins, times what is done
/// after each statement.
std::vector<Way> makeWays() {
  const std::vector<std::string> storages = {"map", "vector", "tree"};
  const std::map<std::string, std::string> ofOneDatabase = {
      {"recording.scr", "marks are of one database"},
      {"storages.scr", "storages are of one database"},
      {"sources.scr", "each would get another source"},
  };
  std::vector<Way> ways;
  for (const std::string harsh : {"", " reopened", " copied"}) {
    for (std::size_t storage = 0; storage < 3; ++storage) {
      for (const std::string forms : {"", " twin", " short", " short twin"}) {
        Way& way = ways.emplace_back();
        way.name.append(storages[storage]).append(forms).append(harsh);
        way.usesShortStrings = forms.find("short") != forms.npos;
        way.usesTwins = forms.find("twin") != forms.npos;
        way.settings = {{"storage", std::to_string(storage)},
                        {"next", std::to_string((storage + 1) % 3)},
                        {"last", std::to_string((storage + 2) % 3)},
                        {"asked", way.usesShortStrings ? "zdbSymbolDim"
                                  : way.usesTwins      ? "zdbFindRecordPy\\nzdbFindRecord"
                                                       : "zdbFindRecord"},
                        {"file", pathOf("script.zxf")},
                        {"kept", way.usesShortStrings ? "\"\"" : "-"}};
        if (harsh.empty()) continue;
        const bool throughFile = harsh == " reopened";
        way.after = [throughFile](Run& run) { return renewAll(run, throughFile); };
        way.leavesOut = ofOneDatabase;
        if (throughFile) way.leavesOut["memory.scr"] = "no file keeps this";
      }
    }
  }
  return ways;
}

const SweepRules kRules = {
    .picture = &ZdbHost::picture,
    .leavePart = {"zdbCopySymbol", "zdbDenseArrayToSymbol", "zdbSparseSymbolToSqzdArray", "fill"},
    .blamed = {{"zdbAddRecordRaw", "zdbMerge(Set)?RecordInt"},
               {"zdbGetRecordRaw", "zdbGetKeys"},
               {"zdbMergeRecordIntPy", "zdbMergeRecordInt"},
               {"zdbSelectRecordStoragePy", "zdbSelectRecordStorage"},
               {"fill", "zdbMergeRecord"}},
    .spoiling = {"zdbDenseArrayToSymbol (0 1 1) ($i) $ii (3)"},
    .nullAnswers =
        {{"symbol", "0.*\"No symbol handle specified\""},
         {"record", "0.*\"No symbol record handle specified\""},
         {"violation", "0.*\"No domain violation handle specified\""},
         {"*",
          "0.*\"((Symbol name|Name of symbol) cannot be NULL|Unexpected exception in \\w+: "
          "basic_string: construction from null is not valid)\""},
         {"zdbAddRecordRaw.keys", "0 \"zdbMergeSetRecordInt: argument keys must not be null\""},
         {"zdbAddRecordRaw.text", "0 \"zdbMergeSetRecordInt: argument text must not be null\""},
         {"zdbAddSymbolX.domains", "0.*\"zdbAddSymbolX: argument domainNames must not be null\""},
         {"zdbCopySymbol.target", "0 \"No target symbol handle specified\""},
         {"zdbCopySymbol.source", "0 \"No source symbol handle specified\""},
         {"zdbCopySymbolIterator.source", "0.*\"No source symbol record handle specified\""},
         {"zdbFreeSymbolIterator.record", "0 \"No iterator to be freed defined\""},
         {"zdbFindUel.label", "0 -"},
         {"zdbMergeUel.label", "0 -"},
         {"zdbInitFromDMRF.findSymbol", "1"},
         {"zdbInitFromDMRF.readStart", "1"},
         {"zdbInitFromDMRF.readRecord", "1"},
         {"zdbInitFromDMRF.readDone", "1"},
         {"zdbInitFromDMRF.elemText", "1"},
         {"zdbInfo.integer", "1"},
         {"zdbSelectRecordStorage.symbol", "1"},
         {"zdbSetSpecialValuesX.state", "1"},
         {"zdbSymbolInfo.integer", "1.*"}},
    // They need a model, change the whole process or are other forms.
    .neverNull = {"zdbCallSolver", "zdbCallSolverTimed", "zdbInitFromDict", "zdbInitUpdate",
                  "zdbRegisterZMI", "zdbUpdateModelSymbol", "zdbSetDebug", "n__zdbgetkeys",
                  "n__zdbgetdomain"},
};

}  // namespace

}  // namespace zdb::script

int main(int argc, char** argv) {
  mallopt(M_PERTURB, 0xA5);  // what is freed is filled with rubbish, for who reads on
  zdb::script::ZdbHost host;
  return zdb::script::runProgram(argc, argv, {host, zdb::script::makeWays(), zdb::script::kRules});
}
