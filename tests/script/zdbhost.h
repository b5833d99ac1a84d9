// What scripts over the exported surface of the library need, whichever program runs them.
#pragma once

#include "script/driver.h"
#include "zdbcclib.h"

template <>
inline constexpr const char* zdb::script::kKind<zdbHandle_t> = "object";
template <>
inline constexpr const char* zdb::script::kKind<zdbSymbol_t> = "symbol";
template <>
inline constexpr const char* zdb::script::kKind<zdbRecord_t> = "record";
template <>
inline constexpr const char* zdb::script::kKind<zdbDV_t> = "violation";

namespace zdb::script {

std::string lastError(zdbHandle_t db);

/// Objects are databases; their records are in the storage that the way's setting "storage" says.
class ZdbHost : public Host {
 public:
  explicit ZdbHost(FunctionTable more = {});  ///< with functions beside the exported ones

  void* create(const Way& way) override;
  void destroy(void* object) override;
  void mark(void* object) override;
  std::string message(void* object) override;
  std::string describe(void* object, const std::string& kind, void* handle) override;
  void release(void* object, const std::string& kind, void* handle) override;
  bool releases(const std::string& function) const override;
  void* callback(const std::string& name) const override;

  /// All records of all symbols.
  static std::string picture(void* object);
};

/// The callbacks of a source that has its data in the symbols of another database, which the caller
/// passes as `user`. There, records have one position more, the first, which orders them: any order
/// and equal keys can be delivered. Each step prints its letter (f, s, r, d, t), and so each call
/// of a script shows which it has caused; the print callback prints what it is told.
///
/// From now on `from` is delivered to `to`; the step with the letter `failing` works so often.
void serve(zdbHandle_t from, zdbHandle_t to, const std::string& failing, int works);
/// What &name stands for; null for what is unknown.
void* servingCallback(const std::string& name);

}  // namespace zdb::script
