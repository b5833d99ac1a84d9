// The plug-in with the solver glpk: a library of its own, so that the kit needs nothing of GLPK and
// is free of its licence. The kit looks for it when the solver is first asked about.
#pragma once

#include <memory>

#include "kit/solvers/solver.h"

namespace zdb::kit {

inline constexpr const char* kGlpkPlugin = "libzkitglpk64.so";
inline constexpr const char* kGlpkEntry = "zkitGlpk";

/// The Debian package that has the plug-in and the program that reads LP and MathProg files.
inline constexpr const char* kGlpkPackage = "zdbcclib-glpk";

/// What the plug-in gives. Kit and plug-in share C++ classes, so both must be of one build: a
/// change of this struct keeps the first member where it is.
struct GlpkPlugin {
  const char* kitVersion;  ///< ZKIT_VERSION, which the build defines
  const char* (*version)();
  std::unique_ptr<Solver> (*make)();
};

/// The function zkitGlpk of the plug-in; the result is never freed.
using GlpkEntry = const GlpkPlugin* (*)();

}  // namespace zdb::kit
