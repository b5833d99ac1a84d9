// Reading: the content of the directory, and records.
#include <type_traits>

#include "contract/extras.h"
#include "zxf/api.h"
#include "zxf/object.h"

using namespace zdb::zxfile;

namespace {

int asInt(std::uint32_t count) {
  return static_cast<int>(count);
}

}  // namespace

int C__zxfGetElemText(void* zxf, int number, char* text, int* node) {
  return guarded(zxf, [&](Object& object) {
    const TextList& texts = object.reading().directory().texts;
    requireAll(text, node);
    *node = 0;
    *text = '\0';
    if (!texts.holds(number)) return 0;  // callers find the end of the texts so: not an error
    copyText(texts.at(static_cast<std::uint32_t>(number)), text);
    return 1;
  });
}

int C__zxfUMUelInfo(void* zxf, int* count, int* highest) {
  return guarded(zxf, [&](Object& object) {
    const TextList& labels = object.reading().directory().labels.list();
    requireAll(count, highest);
    *count = asInt(labels.size());
    *highest = 0;  // there is no user mapping
    return 1;
  });
}

int C__zxfUMUelGet(void* zxf, int number, char* label, int* mapped) {
  return guarded(zxf, [&](Object& object) {
    const TextList& labels = object.reading().directory().labels.list();
    requireAll(label, mapped);
    if (!labels.holds(number)) {
      fail(Errc::BadLabelNumber, printed("%d is not between 1 and %u", number, labels.size()));
    }
    copyText(labels.at(static_cast<std::uint32_t>(number)), label);
    *mapped = -1;
    return 1;
  });
}

int C__zxfSystemInfo(void* zxf, int* symbols, int* labels) {
  return guarded(zxf, [&](Object& object) {
    const Directory& directory = object.reading().directory();
    requireAll(symbols, labels);
    *symbols = asInt(directory.header.symbolCount);
    *labels = asInt(directory.header.labelCount);
    return 1;
  });
}

int C__zxfSymbolInfo(void* zxf, int number, char* name, int* dim, int* type) {
  return guarded(zxf, [&](Object& object) {
    const Reader& reader = object.reading();
    requireAll(name, dim, type);
    if (number == 0) {
      copyText("*", name);
      *dim = 1;
      *type = static_cast<int>(SymbolType::Set);
      return 1;
    }
    const SymbolEntry& entry = reader.symbol(number);
    copyText(entry.name, name);
    *dim = entry.dim;
    *type = static_cast<int>(entry.type);
    return 1;
  });
}

int C__zxfSymbolInfoX(void* zxf, int number, int* records, int* userInfo, char* explText) {
  return guarded(zxf, [&](Object& object) {
    const Reader& reader = object.reading();
    requireAll(records, userInfo, explText);
    if (number == 0) {
      *records = asInt(reader.directory().header.labelCount);
      *userInfo = 0;
      copyText("universe", explText);
      return 1;
    }
    const SymbolEntry& entry = reader.symbol(number);
    *records = asInt(entry.recordCount);
    *userInfo = entry.userInfo;
    copyText(entry.text, explText);
    return 1;
  });
}

int C__zxfSymbolGetDomainX(void* zxf, int number, char** names) {
  return guarded(zxf, [&](Object& object) {
    const Reader& reader = object.reading();
    requireAll(names);
    if (number == 0) return 0;
    const SymbolEntry& entry = reader.symbol(number);
    // Callers may pass 20 buffers or just one for each dimension of the symbol.
    for (int d = 0; d < entry.dim; ++d) {
      requireAll(names[d]);
      copyText("*", names[d]);
    }
    forEachDomain(entry, [&](int d, std::string_view name) { copyText(name, names[d]); });
    return static_cast<int>(entry.domainKind);
  });
}

int C__zxfFindSymbol(void* zxf, const char* name, int* number) {
  return guarded(zxf, [&](Object& object) {
    const Directory& directory = object.reading().directory();
    requireAll(name, number);
    const std::string_view wanted = name;
    const std::uint32_t found = directory.names.find(wanted);
    const bool known = found != 0 || wanted == "*";
    // Callers look for symbols that need not exist, so a miss is not an error.
    *number = known ? asInt(found) : -1;
    return known ? 1 : 0;
  });
}

int C__zxfDataReadRawStart(void* zxf, int number, int* records) {
  return guarded(zxf, [&](Object& object) {
    Reader& reader = object.reading();
    requireAll(records);
    *records = 0;
    if (number == 0) fail(Errc::NoRecordsOfItsOwn, "the universe consists of labels");
    *records = reader.start(number, object.delivered);
    return 1;
  });
}

int C__zxfDataReadRaw(void* zxf, int* key, double* values, int* firstChanged) {
  return guarded(zxf, [&](Object& object) {
    // Runs once for each record: four predictable branches and the copies.
    Reader& reader = object.reading();
    if (!reader.started()) fail(Errc::NoSymbolOpen);
    if (key == nullptr && reader.dim() > 0) fail(Errc::NullArgument);
    requireAll(values, firstChanged);
    if (!reader.ready(object.delivered)) return 0;  // after the last record
    reader.take(key, values, firstChanged);
    return 1;
  });
}

int C__zxfDataReadRawColumns(void* zxf, int room, int* const* keys, int keyStep,
                             double* const* values, int valueStep, int* count) {
  return guarded(zxf, [&](Object& object) {
    Reader& reader = object.reading();
    if (!reader.started()) fail(Errc::NoSymbolOpen);
    requireAll(count);
    *count = 0;
    if (reader.dim() > 0) requireAll(keys);
    for (int d = 0; d < reader.dim(); ++d) requireAll(keys[d]);
    requireAll(values);
    for (int v = 0; v < reader.width(); ++v) requireAll(values[v]);
    if (room < 1) return 1;
    const ColumnPlaces to{std::span(keys, static_cast<std::size_t>(reader.dim())), keyStep,
                          std::span(values, static_cast<std::size_t>(reader.width())), valueStep};
    *count = asInt(reader.takeMany(static_cast<std::uint32_t>(room), to, object.delivered));
    return 1;
  });
}
static_assert(std::is_same_v<decltype(&C__zxfDataReadRawColumns), zdb::contract::ReadColumns>);

int C__zxfDataReadDone(void* zxf) {
  return guarded(zxf, [](Object& object) {
    Reader& reader = object.reading();
    if (!reader.started()) fail(Errc::NoSymbolOpen);
    reader.stop();
    return 1;
  });
}
