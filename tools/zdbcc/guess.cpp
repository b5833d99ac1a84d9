#include "guess.h"

#include "console.h"

namespace zdb::tool {

std::string Guess::text() const {
  const std::string& best = nearest_.best();
  return best.empty() ? "" : "; did you mean " + printable(best) + '?';
}

}  // namespace zdb::tool
