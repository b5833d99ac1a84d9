// What a handle of the C interface points at, and the guard of all calls on it.
#pragma once

#include <memory>

#include "contract/answers.h"
#include "shared/boundary.h"
#include "zxf/errors.h"
#include "zxf/reader.h"
#include "zxf/writer.h"

namespace zdb::zxfile {

/// A handle is closed, reading or writing; special values outlast the file, errors last until the
/// next one is opened.
struct Object {
  ErrorLog errors;
  SpecialValues written = kDefaultSpecials;    ///< recognised in data that is written
  SpecialValues delivered = kDefaultSpecials;  ///< given for them when data is read
  std::unique_ptr<Reader> reader;              ///< at most one of the two is there
  std::unique_ptr<Writer> writer;

  /// The open file, or a failure: NoFileOpen, NotReading, NotWriting.
  Reader& reading() const;
  Writer& writing() const;
  void requireClosed() const;

  /// Counts what a call has thrown. A writer that was interrupted by something else than a Failure
  /// is of no more use.
  void count(const std::exception& error);
};

/// Thrown by calls on a writer whose file has failed: that was counted when it happened, and no
/// further call may count it again.
struct AlreadyReported : std::exception {};

inline Reader& Object::reading() const {
  if (reader != nullptr) return *reader;
  fail(writer != nullptr ? Errc::NotReading : Errc::NoFileOpen);
}

inline Writer& Object::writing() const {
  if (writer == nullptr) fail(reader != nullptr ? Errc::NotWriting : Errc::NoFileOpen);
  if (writer->broken()) throw AlreadyReported();
  return *writer;
}

inline void Object::requireClosed() const {
  if (reader != nullptr || writer != nullptr) fail(Errc::FileIsOpen);
}

/// Fails when any of the pointers is null.
template <typename... Pointers>
void requireAll(const Pointers*... pointers) {
  const bool anyNull = ((pointers == nullptr) || ...);
  if (anyNull) fail(Errc::NullArgument);
}

/// Runs the body of a call: work(Object&) gives the result; whatever it throws is counted and gives
/// 0, as does a null handle, which has no place to count anything. On a record path it costs
/// nothing.
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
