// Scripts over the library's exported interface: the ways to run them, and the rules of sweeps.

#include <malloc.h>
#include <sys/mman.h>

#include "script/zdbhost.h"
#include "support/files.h"

namespace zdb::script {

namespace {

/// Where files are, which go at the end. Files are synchronised with the disk, which takes no time
/// where there is none.
const zdb::test::TemporaryFolder& folder() {
  static const char* const memory = "/dev/shm";
  static const zdb::test::TemporaryFolder made(std::filesystem::exists(memory) ? memory : "");
  return made;
}

std::string pathOf(const std::string& name) {
  return folder().path(name);
}

std::map<std::string, std::string> allFiles() {
  std::map<std::string, std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(folder().path())) {
    files[entry.path().filename()] = zdb::test::readFile(entry.path());
  }
  return files;
}

bool isWholeFile(const std::string& name) {
  zdbHandle_t db = nullptr;
  zdbcreate(&db, nullptr, 0);
  const bool isWhole =
      c__zdbinitfromzxf(db, pathOf(name).c_str()) == 1 && c__zdbclosezxf(db, 1) == 1;
  zdbfree(&db);
  return isWhole && name[0] != '.';  // as temporary files are called
}

/// A descriptor of a file in memory, for all statements.
int memoryFile() {
  static const int made = memfd_create("script", MFD_CLOEXEC);
  return made;
}

/// A new database with what is in another one, by way of a file or by copying.
zdbHandle_t renewed(Run& run, zdbHandle_t old, bool throughFile) {
  static int number = 0;
  const std::string file = pathOf(std::to_string(++number));
  if (throughFile && c__zdbwritezxf(old, file.c_str(), 1) != 1) throw ScriptError(lastError(old));
  auto* const fresh = static_cast<zdbHandle_t>(run.host.create(run.way));
  if ((throughFile ? c__zdbinitfromzxf(fresh, file.c_str()) : c__zdbinitfromdb(fresh, old)) != 1) {
    const std::string error = lastError(fresh);
    run.host.destroy(fresh);
    throw ScriptError(error);
  }
  std::filesystem::remove(file);  // the new database has it open
  double special[ZDB_SV_COUNT];
  c__zdbgetuserspecialvalues(old, special);
  c__zdbsetspecialvalues(fresh, special);
  return fresh;
}

/// Saves a database and reads it back. What is refused is refused with a reason.
std::string checkSaved(Run& run, void* object) {
  const std::string picture = ZdbHost::picture(object);
  if (picture == ZdbHost::kAttached) return "";
  run.host.mark(object);
  try {
    zdbHandle_t fresh = renewed(run, static_cast<zdbHandle_t>(object), true);
    c__zdbclosezxf(fresh, 1);
    const std::string saved = ZdbHost::picture(fresh);
    run.host.destroy(fresh);
    return saved == picture ? "" : saved;
  } catch (const ScriptError& error) {
    return *error.what() == '\0' ? "no reason why it cannot be saved" : "";
  }
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
      {"files.scr", "each would get another source"},
      {"errors.scr", "the last error is of one database"},
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
                        {"upper", pathOf("SCRIPT.ZXF")},
                        {"other", pathOf("other.zxf")},
                        {"fd", std::to_string(memoryFile())},
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

SweepRules makeRules() {
  SweepRules rules = ZdbHost::memoryRules();
  rules.check = &checkSaved;
  rules.files = &allFiles;
  rules.isWholeFile = &isWholeFile;
  rules.fileWork =
      "zdb(Write|Close|InitFrom)ZXF|zdbx_(write|init_from)_(fd|memory)|zdbInitFromDB|"
      "zdbCheckSymbolDV";
  rules.nullAnswers = {
      {".*",
       "0.*\"(No [\\w ]+ handle specified|No iterator to be freed defined|(Symbol name|Name of "
       "symbol) cannot be NULL|Unexpected exception in \\w+: basic_string: construction from "
       "null is not valid)\""},
      {"zdbAddRecordRaw.(keys|text)",
       "0 \"zdbMergeSetRecordInt: argument (keys|text) must not be null\""},
      {"zdbAddSymbolX.domains", "0.*\"zdbAddSymbolX: argument domainNames must not be null\""},
      {"zdb(Find|Merge)Uel.label", "0 -"},
      {"zdbInitFromDMRF.*|zdb(Symbol)?Info.integer|zdbSelectRecordStorage.symbol|"
       "zdbSetSpecialValuesX.state",
       "1.*"}};
  // They need a model or a descriptor, change the whole process or are other forms.
  rules.neverNull = {"zdbx_init_from_fd", "zdbx_write_fd", "zdbCallSolver",  "zdbCallSolverTimed",
                     "zdbInitFromDict",   "zdbInitUpdate", "zdbRegisterZMI", "zdbUpdateModelSymbol",
                     "zdbSetDebug",       "n__zdbgetkeys", "n__zdbgetdomain"};
  return rules;
}

}  // namespace

}  // namespace zdb::script

int main(int argc, char** argv) {
  mallopt(M_PERTURB, 0xA5);  // what is freed is filled with rubbish, for who reads on
  zdb::script::ZdbHost host;
  return zdb::script::runProgram(argc, argv,
                                 {host, zdb::script::makeWays(), zdb::script::makeRules()});
}
