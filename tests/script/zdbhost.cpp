#include "script/zdbhost.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "zdbx.h"

namespace zdb::script {

namespace {

/// Over all that the file has.
int writeDescriptor(zdbHandle_t db, int fd, int noDomainCheck) {
  if (ftruncate(fd, 0) == 0) lseek(fd, 0, SEEK_SET);
  return zdbx_write_fd(db, fd, noDomainCheck);
}

/// A file in memory, of one database for the next.
struct {
  char bytes[1 << 16];
  std::size_t size;
} kept;

int writeMemory(zdbHandle_t db, int noDomainCheck) {
  void* bytes = nullptr;
  std::size_t size = 0;
  const int isDone = zdbx_write_memory(db, noDomainCheck, &bytes, &size);
  if (isDone == 1) {
    if (size > sizeof kept.bytes) std::abort();
    std::memcpy(kept.bytes, bytes, kept.size = size);
  }
  zdbx_free_bytes(bytes);
  return isDone;
}

int initFromMemory(zdbHandle_t db) {
  return zdbx_init_from_memory(db, kept.bytes, kept.size);
}

FunctionTable withExports(FunctionTable table) {
#define ZDB_PLAIN(name, lower, result, parameters, arguments, ...) \
  table.emplace(#name, Function::make(#name, &c__##lower, true, #parameters));
#define ZDB_TEXT ZDB_PLAIN
#include "api/exports.def"
#define ZDB_TEXT(name, lower, ...) table.at(#name).shortStrings = formOf(&d__##lower);
#define ZDB_ENTRY(name, ...) \
  table.emplace(#name, Function::make(#name, &name, std::string_view(#name).rfind("n__", 0) == 0));
#include "api/exports.def"
  const auto add = [&](const char* name, auto* function, const char* parameters) {
    table.emplace(name, Function::make(name, function, true, parameters));
  };
  add("zdbx_remove_symbol", &zdbx_remove_symbol, "(zdbHandle_t db, zdbSymbol_t* symbol)");
  add("zdbx_rename_symbol", &zdbx_rename_symbol,
      "(zdbHandle_t db, zdbSymbol_t symbol, const char* name)");
  add("zdbx_init_from_fd", &zdbx_init_from_fd, "(zdbHandle_t db, int fd)");
  add("zdbx_write_fd", &writeDescriptor, "(zdbHandle_t db, int fd, int noDomainCheck)");
  add("zdbx_write_memory", &writeMemory, "(zdbHandle_t db, int noDomainCheck)");
  add("zdbx_init_from_memory", &initFromMemory, "(zdbHandle_t db)");
  table.at("zdbGetKeys").flat = formOf(&n__zdbgetkeys);
  table.at("zdbGetDomain").flat = formOf(&n__zdbgetdomain);
  for (auto& [name, function] : table) {
    if (name.rfind("d__", 0) == 0) std::swap(function.plain, function.shortStrings);
  }
  return table;
}

zdbHandle_t databaseOf(void* object) {
  return static_cast<zdbHandle_t>(object);
}

std::string nameOf(zdbHandle_t db, zdbSymbol_t symbol) {
  char name[ZDB_TEXT_SIZE];
  const int known = c__zdbsymbolinfo(db, symbol, ZDB_SYMBOL_NAME, nullptr, nullptr, name);
  return known == 1 ? name : "foreign";
}

std::string keyOf(zdbHandle_t db, zdbRecord_t record) {
  char labels[ZDB_MAX_DIM][ZDB_TEXT_SIZE];
  for (auto& label : labels) label[0] = '\1';
  if (n__zdbgetkeys(db, record, ZDB_MAX_DIM, labels[0]) != 1) return "ended";
  std::string key = "(";
  for (const auto& label : labels) {
    if (label[0] != '\1') key.append(key.size() > 1 ? "." : "").append(label);
  }
  return key + ")";
}

std::string violation(zdbHandle_t db, zdbDV_t violation) {
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

std::string takeMarks(zdbHandle_t db) {
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

std::string dump(zdbHandle_t db, zdbSymbol_t symbol) {
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
    if (text[0] != '\0') all.append("'").append(shown(text)).append("'");
    const int count = type == ZDB_SET ? 0 : type == ZDB_PARAMETER ? 1 : 5;
    for (int i = 0; i < count; ++i) all += (i == 0 ? "=" : "/") + shown(values[i]);
  } while (c__zdbrecordmovenext(db, record) == 1);
  c__zdbfreesymboliterator(db, record);
  return all;
}

}  // namespace

std::string lastError(zdbHandle_t db) {
  char text[ZDB_TEXT_SIZE] = "";
  c__zdbgetlasterror(db, text);
  return text;
}

ZdbHost::ZdbHost(FunctionTable more) : Host(withExports(std::move(more))) {
  words["dump"] = [](Run& run, const Statement& statement) {
    const Variable& symbol = run.variable(statement.arguments.at(0));
    return dump(databaseOf(symbol.object), static_cast<zdbSymbol_t>(symbol.handle));
  };
  words["marks"] = [](Run& run, const Statement& statement) {
    return takeMarks(databaseOf(run.object(statement.object)));
  };
  words["why"] = [](Run& run, const Statement& statement) {
    zdbHandle_t db = databaseOf(run.object(statement.object));
    const std::string reason = zdbx_error_reason(db);
    return zdbx_kind_name(zdbx_error_kind(db)) + (reason.empty() ? "" : ": " + reason);
  };
  words["serve"] = [](Run& run, const Statement& statement) {
    const std::vector<Token>& how = statement.arguments;
    serve(databaseOf(run.object(how.at(0).text)), databaseOf(run.object(statement.object)),
          how.size() > 1 ? how[1].text : "", how.size() > 2 ? std::stoi(how[2].text) : 0);
    return std::string("served");
  };
}

void* ZdbHost::create(const Way& way) {
  zdbHandle_t db = nullptr;
  zdbcreate(&db, nullptr, 0);
  if (c__zdbselectrecordstorage(db, nullptr, std::stoi(way.settings.at("storage"))) != 1) {
    throw ScriptError("cannot choose a storage");
  }
  return db;
}

void ZdbHost::destroy(void* object) {
  zdbHandle_t db = databaseOf(object);
  zdbfree(&db);
}

void ZdbHost::mark(void* object) {
  zdbSymbol_t none = nullptr;
  c__zdbfindsymbol(databaseOf(object), "?", &none);
}

std::string ZdbHost::message(void* object) {
  const std::string text = lastError(databaseOf(object));
  return text == "Cannot find symbol ?" ? "" : text;
}

std::string ZdbHost::describe(void* object, const std::string& kind, void* handle) {
  zdbHandle_t db = databaseOf(object);
  if (kind == "symbol") return nameOf(db, static_cast<zdbSymbol_t>(handle));
  if (kind == "record") return keyOf(db, static_cast<zdbRecord_t>(handle));
  if (kind == "violation") return violation(db, static_cast<zdbDV_t>(handle));
  return kind;
}

void ZdbHost::release(void* object, const std::string& kind, void* handle) {
  zdbHandle_t db = databaseOf(object);
  if (kind == "record") c__zdbfreesymboliterator(db, static_cast<zdbRecord_t>(handle));
  if (kind == "violation") c__zdbfreedvhandle(db, static_cast<zdbDV_t>(handle));
  if (kind == "object") destroy(handle);
}

bool ZdbHost::releases(const std::string& function) const {
  return function == "zdbFreeSymbolIterator" || function == "zdbFreeDVHandle" ||
         function.find("free") != function.npos;
}

void* ZdbHost::callback(const std::string& name) const {
  if (name == "never") return reinterpret_cast<void*>(+[] { std::abort(); });
  return servingCallback(name);
}

std::string ZdbHost::picture(void* object) {
  zdbHandle_t db = databaseOf(object);
  int isAttached = 0;
  c__zdbinfo(db, ZDB_INFO_SOURCE_ATTACHED, &isAttached, nullptr, nullptr);
  if (isAttached != 0) return kAttached;
  std::string all;
  zdbSymbol_t symbol = nullptr;
  for (int i = 0; c__zdbgetsymbolbynumber(db, i, &symbol) == 1; ++i) {
    int type = 0;
    c__zdbsymboltype(db, symbol, &type);
    all += nameOf(db, symbol) + " " + (type == ZDB_ALIAS ? "alias" : dump(db, symbol)) + "\n";
  }
  return all;
}

SweepRules ZdbHost::memoryRules() {
  static const char* const kWrites = "zdbWriteZXF|zdbx_write_(fd|memory)";
  static const char* const kReads = "zdbInitFromZXF|zdbx_init_from_(fd|memory)";
  return {
      .picture = &ZdbHost::picture,
      .leavePart = {{"zdbCopySymbol|zdbDenseArraySlicesToSymbol", "they go record by record"},
                    {"zdbSparseSymbolToSqzdArray", "it fills sets of labels on its way"},
                    {"zdbInitFrom.*|zdbx_init_from_.*", "the source is attached, and labels stay"},
                    {"zdb(Close|Write)ZXF|zdbx_write_.*",
                     "what has been read from a file that is closed stays"}},
      .failures =
          {{"(zdbx?|x)created?",
            R"re((0|1|done) \(?(null|object).*Out of memory in zdbCreateD?(\\n)?")re"},
           {kWrites,
            R"re(0 "(ZXF create did not succeed: |Out of memory: |\d+ ZXF Error.s.. First Error: ).*)re"},
           {kWrites, R"re(0 "(Error|Problems) writing (symbol|alias) .* to ZXF".*)re"},
           {kReads, R"re(0 "Error opening ZXF file: Out of memory".*)re"},
           {".*", R"re(0.*"Error reading symbol .* from ZXF file .*: Out of memory".*)re"}},
      .refusals = {{kReads, "0 \"Database has been initialized, cannot initialize from .*"},
                   {"zdbInitFrom(DB|Dict)", "0 \"(Uels|Symbols) present. .*"},
                   {kWrites, "0 \"Problems writing symbol .*"},
                   {".*",
                    ".*(Out of memory|could not be read to its end|Error reading symbol ).*"}},
      .blamed = {{"zdbAddRecordRaw", "zdbMerge(Set)?RecordInt"},
                 {"zdbGetRecordRaw", "zdbGetKeys"},
                 {"zdbMergeRecordIntPy", "zdbMergeRecordInt"},
                 {"zdbSelectRecordStoragePy", "zdbSelectRecordStorage"}},
  };
}

}  // namespace zdb::script
