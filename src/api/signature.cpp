#include "api/signature.h"

#include <cstring>
#include <iterator>

#include "core/message.h"

namespace zdb {

#define ZDB_CHECK_ROW(name, lower, result, parameters, arguments, ...)                         \
  static_assert(isLowerCaseOf(#lower, #name), #name ": the lower-case name differs");          \
  static_assert(codesFit(CodeList<__VA_ARGS__>(), static_cast<result(*) parameters>(nullptr)), \
                #name ": the type codes do not fit the parameters");
#define ZDB_PLAIN(name, lower, result, parameters, arguments, ...)       \
  ZDB_CHECK_ROW(name, lower, result, parameters, arguments, __VA_ARGS__) \
  static_assert(!CodeList<__VA_ARGS__>::hasTexts(), #name " must be a ZDB_TEXT");
#define ZDB_TEXT(name, lower, result, parameters, arguments, ...)        \
  ZDB_CHECK_ROW(name, lower, result, parameters, arguments, __VA_ARGS__) \
  static_assert(CodeList<__VA_ARGS__>::hasTexts(), #name " must be a ZDB_PLAIN");
#include "api/exports.def"

const Signature kSignatures[] = {
#define ZDB_PLAIN(name, lower, result, parameters, arguments, ...) \
  {#name, CodeList<__VA_ARGS__>::argumentCount, CodeList<__VA_ARGS__>::values},
#define ZDB_TEXT ZDB_PLAIN
#include "api/exports.def"
};
const int kSignatureCount = static_cast<int>(std::size(kSignatures));

bool CheckSign(const Signature& row, const char* name, int count, const int* codes, char* message) {
  message[0] = '\0';
  if (count != row.arguments) {
    writeMessage(message, "zdbcclib: %s has wrong number of arguments.", name);
    return false;
  }
  if (codes == nullptr || !std::equal(codes, codes + count + 1, row.codes)) {
    writeMessage(message, "zdbcclib: %s has wrong argument types.", name);
    return false;
  }
  return true;
}

}  // namespace zdb
