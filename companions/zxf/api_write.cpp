// Writing: labels, symbols, records, domains and texts.
#include "zxf/api.h"
#include "zxf/object.h"

using namespace zdb::zxfile;

namespace {

// The body of a call that needs a file open for writing; returns 1 unless something fails.
template <typename Work>
int written(void* zxf, Work work) {
  return guarded(zxf, [&](Object& object) {
    work(object.writing(), object);
    return 1;
  });
}

void requireSymbol(const Writer& writer) {
  if (!writer.inSymbol()) fail(Errc::NoSymbolOpen);
}

// Counts a record that was left out; it is described only if the description will be kept.
int refuse(Object& object, Errc reason, const int* key) {
  const std::string detail =
      object.errors.wantsDetail(reason) ? object.writer->describeRecord(key) : std::string();
  object.errors.add(reason, detail.c_str());
  return 0;
}

}  // namespace

// Domain sets are never stored automatically; the function exists because the interface has it.
int C__zxfStoreDomainSetsSet(void* zxf, int /*flag*/) {
  return guarded(zxf, [](Object&) { return 1; });
}

int C__zxfUELRegisterRawStart(void* zxf) {
  return written(zxf, [](Writer& writer, Object&) { writer.startLabels(); });
}

int C__zxfUELRegisterRaw(void* zxf, const char* label) {
  return written(zxf, [&](Writer& writer, Object&) {
    requireAll(label);
    writer.addLabel(label);
  });
}

int C__zxfUELRegisterDone(void* zxf) {
  return written(zxf, [](Writer& writer, Object&) { writer.endLabels(); });
}

int C__zxfAddAlias(void* zxf, const char* alias, const char* set) {
  return written(zxf, [&](Writer& writer, Object&) {
    requireAll(alias, set);
    writer.addAlias(alias, set);
  });
}

int C__zxfDataWriteRawStart(void* zxf, const char* name, const char* explText, int dim, int type,
                            int userInfo) {
  return written(zxf, [&](Writer& writer, Object&) {
    requireAll(name, explText);
    writer.startSymbol(name, explText, dim, type, userInfo);
  });
}

int C__zxfDataWriteRaw(void* zxf, const int* key, const double* values) {
  return guarded(zxf, [&](Object& object) {
    Writer& writer = object.writing();
    requireSymbol(writer);
    if (key == nullptr && writer.dim() > 0) fail(Errc::NullArgument);
    requireAll(values);
    const Errc reason = writer.addRecord(key, values, object.written);
    return reason == Errc::None ? 1 : refuse(object, reason, key);
  });
}

int C__zxfDataWriteDone(void* zxf) {
  return written(zxf, [](Writer& writer, Object& object) { writer.endSymbol(object.written); });
}

int C__zxfSymbolSetDomain(void* zxf, const char** names) {
  return written(zxf, [&](Writer& writer, Object&) {
    requireAll(names);
    writer.setStrictDomains(names);
  });
}

int C__zxfSymbolSetDomainX(void* zxf, int number, const char** names) {
  return written(zxf, [&](Writer& writer, Object&) {
    requireAll(names);
    writer.setRelaxedDomains(number, names);
  });
}

int C__zxfAddSetText(void* zxf, const char* text, int* number) {
  return written(zxf, [&](Writer& writer, Object&) {
    requireAll(text, number);
    *number = writer.addText(text);
  });
}
