// HiGHS' shared library, which is looked for when it is first needed: nothing is needed to build.
#pragma once

#include <cstdint>

namespace zdb::kit {

/// The functions of HiGHS' C interface that the kit calls, and its constants, as its documentation
/// has them (https://ergo-code.github.io/HiGHS/stable/interfaces/c_api/). They are the same in all
/// versions that are accepted, 1.11 to 1.15. HighsInt is an int in the libraries that are accepted.
struct HighsLibrary {
  using Callback = void (*)(int type, const char* message, const void* dataOut, void* dataIn,
                            void* user);

  void* (*create)();
  void (*destroy)(void* highs);
  const char* (*version)();
  int (*versionMajor)();
  int (*versionMinor)();
  int (*getSizeofHighsInt)(const void* highs);

  int (*setBoolOptionValue)(void* highs, const char* option, int value);
  int (*setIntOptionValue)(void* highs, const char* option, int value);
  int (*setDoubleOptionValue)(void* highs, const char* option, double value);
  int (*setStringOptionValue)(void* highs, const char* option, const char* value);

  int (*passLp)(void* highs, int columns, int rows, int nonZeros, int format, int sense,
                double offset, const double* cost, const double* lower, const double* upper,
                const double* rowLower, const double* rowUpper, const int* starts,
                const int* indices, const double* values);
  int (*passMip)(void* highs, int columns, int rows, int nonZeros, int format, int sense,
                 double offset, const double* cost, const double* lower, const double* upper,
                 const double* rowLower, const double* rowUpper, const int* starts,
                 const int* indices, const double* values, const int* integrality);
  int (*changeObjectiveOffset)(void* highs, double offset);
  int (*changeColsCostBySet)(void* highs, int count, const int* set, const double* cost);
  int (*changeColsBoundsBySet)(void* highs, int count, const int* set, const double* lower,
                               const double* upper);
  int (*changeRowsBoundsBySet)(void* highs, int count, const int* set, const double* lower,
                               const double* upper);
  int (*changeCoeff)(void* highs, int row, int column, double value);

  int (*setSolution)(void* highs, const double* level, const double* rowLevel,
                     const double* marginal, const double* rowMarginal);
  int (*clearSolver)(void* highs);
  int (*zeroAllClocks)(const void* highs);
  int (*run)(void* highs);
  int (*getModelStatus)(const void* highs);
  int (*getIntInfoValue)(const void* highs, const char* info, int* value);
  int (*getDoubleInfoValue)(const void* highs, const char* info, double* value);
  int (*getSolution)(const void* highs, double* level, double* marginal, double* rowLevel,
                     double* rowMarginal);
  int (*getBasis)(const void* highs, int* columnStatus, int* rowStatus);
  int (*setBasis)(void* highs, const int* columnStatus, const int* rowStatus);

  int (*setCallback)(void* highs, Callback callback, void* user);
  int (*startCallback)(void* highs, int type);
  const void* (*getCallbackDataOutItem)(const void* dataOut, const char* name);
};

namespace highs {

enum Status { Error = -1 };
enum Format { ByColumn = 1 };
enum Sense { Minimize = 1 };
enum VariableType { Continuous = 0, IntegerVariable = 1 };
enum ModelStatus {
  OptimalModel = 7,
  InfeasibleModel = 8,
  UnboundedOrInfeasibleModel = 9,
  UnboundedModel = 10,
  TimeLimitReached = 13,
  IterationLimitReached = 14,
  UnknownStatus = 15,
  InterruptedByUser = 17
};
enum SolutionStatus { FeasibleSolution = 2 };
enum BasisStatus { BasisLower = 0, BasisBasic = 1, BasisUpper = 2, BasisZero = 3 };
enum CallbackType { Logging = 0, SimplexInterrupt = 1, MipInterrupt = 6 };
enum SimplexStrategy { DualSimplex = 1, PrimalSimplex = 4 };

/// Where a callback says that the run has to end: the first member of what HiGHS passes.
struct CallbackDataIn {
  int userInterrupt;
};

}  // namespace highs

/// Null if there is no library that can be used. Looks for it once in a process, at the first call
/// from any thread: in the file that the environment variable ZKIT_HIGHS names, or else in the
/// folder zkit-highs next to the kit's library, then where the system looks for libhighs.so.1 and
/// libhighs.so. It is never unloaded.
const HighsLibrary* highsLibrary();

/// Why it cannot be used, or "".
const char* highsReason();

}  // namespace zdb::kit
