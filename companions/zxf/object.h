// What a handle of the C interface points to, and the guard of all calls with it.
#pragma once

#include <memory>

#include "contract/answers.h"
#include "shared/boundary.h"
#include "zxf/errors.h"
#include "zxf/reader.h"
#include "zxf/writer.h"

namespace zdb::zxfile {

/// A handle is closed, reading or writing. Special values outlive the file; errors are kept until
/// the next file is opened.
struct Object {
  ErrorLog errors;
  SpecialValues written = kDefaultSpecials;    ///< recognised in data that is written
  SpecialValues delivered = kDefaultSpecials;  ///< delivered for them when data is read
  std::unique_ptr<Reader> reader;              ///< at most one of the two is not null
  std::unique_ptr<Writer> writer;

  /// The open file. Fails with NoFileOpen, NotReading or NotWriting.
  Reader& reading() const;
  Writer& writing() const;
  void requireClosed() const;

  /// Counts what a call has thrown. After anything but a ZxfError a writer is unusable.
  void count(const std::exception& error);
};

/// Thrown by calls on a writer whose file has failed. The failure was counted when it happened and
/// must not be counted again.
struct ReportedError : std::exception {};

inline Reader& Object::reading() const {
  if (reader != nullptr) return *reader;
  fail(writer != nullptr ? Errc::NotReading : Errc::NoFileOpen);
}

inline Writer& Object::writing() const {
  if (writer == nullptr) fail(reader != nullptr ? Errc::NotWriting : Errc::NoFileOpen);
  if (writer->broken()) throw ReportedError();
  return *writer;
}

inline void Object::requireClosed() const {
  if (reader != nullptr || writer != nullptr) fail(Errc::FileIsOpen);
}

/// Fails with NullArgument if a pointer is null.
template <typename... Pointers>
void requireAll(const Pointers*... pointers) {
  const bool anyNull = ((pointers == nullptr) || ...);
  if (anyNull) fail(Errc::NullArgument);
}

/// Runs the body of a call: work(Object&) returns the result; whatever it throws is counted, and
/// the result is then 0. A null handle also gives 0; there is nowhere to count that. Costs nothing
/// as long as nothing is thrown.
template <typename Work>
int guarded(void* handle, Work work) noexcept {
  const auto count = [](Object& object, const std::exception& error) { object.count(error); };
  return zdb::boundary::guardedOn<Object>(handle, 0, work, count);
}

/// Copies a text of at most 255 bytes and terminates it.
inline void copyText(std::string_view text, char* to) {
  zdb::boundary::copyText(text, to, zdb::contract::kMessageSize);
}

}  // namespace zdb::zxfile
