/*
 * zkitdclib: model instances for zdbcclib, and the solvers that solve them.
 *
 * The database library changes and solves a model through a model instance: rows, columns and their
 * dictionary, which names them by symbols and labels. This header is for the host that makes the
 * instance, from a model file or call by call, and passes it to the database:
 *
 *     void* instance = NULL;
 *     char message[ZKIT_TEXT_SIZE];
 *     if (!zkitReadModel("diet.mod", NULL, NULL, &instance, message, sizeof message)) return 1;
 *     c__zdbinitfromdict(db, instance);
 *     c__zdbinitupdate(db, instance);
 *     c__zdbcallsolver(db, "clp");
 *     zkitFreeInstance(&instance);
 *
 * THE MODEL. Row i of an instance says
 *
 *     sum_j a[i,j] x[j]  +  sum_jk q[i,j,k] x[j] x[k]  +  c[i]   =, >=, <= or free of   r[i]
 *
 * and every column x[j] has bounds. The objective is one column, to be minimised or maximised: a
 * cost function is a free column and a row that defines it. Columns of symbols whose names end in
 * "_var" are updatable parameters: the database library fixes them at their levels and changes
 * these. A product needs at least one such factor. With a parameter p at level v,
 *
 *     a p        is the constant a v,
 *     q p x      is the coefficient q v of x,
 *     q p p'     is the constant q v v',
 *
 * so with fixed parameters the model is linear. For the gradient update of the database library,
 * zmiEvalGradNLUpdate writes q v to the coefficients of the linear model, in which parameter
 * columns have no coefficients, and returns in g[i] the constants of row i, including c[i]: the row
 * is then sum_j a'[i,j] x[j] = r[i] - g[i]. zkitSolve() does the same by itself.
 *
 * CONVENTIONS, unless a function says otherwise.
 *
 *  1. Functions return 1 for success and 0 for failure. A failed call on a model changes nothing,
 *     and zkitLastError() returns the reason; null handles fail without one.
 *  2. Rows and columns are numbered from 0, symbols from 1, in the order in which they were added.
 *  3. A name has at most 63 bytes and consists of a letter followed by letters, digits and "_"; no
 *     two symbols may have names that differ only in case. A label has 1 to 63 bytes, no control
 *     characters and not both kinds of quotes; labels that differ only in case are the same.
 *  4. A marginal is the change of the objective, as it is minimised or maximised, per unit of
 *     increase of the right-hand side of a row, the bound of a column or the level of a parameter.
 *     If there are integer columns, marginals are those of the model with these columns fixed at
 *     their levels. The level of a row is the value of its whole left-hand side, to be compared
 *     with r[i].
 *  5. A bound of ZKIT_INFINITY or more (-ZKIT_INFINITY or less) is infinite.
 *  6. The caller frees a model with zkitModelFree() and an instance with zkitFreeInstance(), in any
 *     order: an instance does not need its model. Use each from one thread at a time. The library
 *     prints nothing.
 */

#ifndef ZKITDCLIB_H
#define ZKITDCLIB_H

#if defined(__GNUC__)
#define ZKIT_API __attribute__((visibility("default")))
#else
#define ZKIT_API
#endif

/* NOLINTBEGIN(modernize-*): one header for C and C++ clients alike. */

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Types and constants --------------------------------------------------------------------- */

/**
 * @defgroup zkit_types Types and constants
 * @{
 */

enum {
  ZKIT_MAX_DIM = 20,   /**< index positions of a symbol */
  ZKIT_MAX_NAME = 63,  /**< bytes of a name or label */
  ZKIT_TEXT_SIZE = 256 /**< bytes that a text output needs */
};

/** Types of symbols. */
enum { ZKIT_VARIABLE = 5, ZKIT_EQUATION = 6 };

/** Types of rows. */
enum { ZKIT_EQUAL = 0, ZKIT_GREATER = 1, ZKIT_LESS = 2, ZKIT_FREE = 3 };

/** A bound that is none, of columns and rows. */
#define ZKIT_INFINITY 1.0E300

/** Types of models. */
enum { ZKIT_LP = 1, ZKIT_MIP = 2, ZKIT_RMIP = 3 };

/** What is known about the solution. */
enum {
  ZKIT_OPTIMAL = 1,              /**< optimal levels and marginals */
  ZKIT_UNBOUNDED = 3,            /**< the objective can be improved without limit */
  ZKIT_INFEASIBLE = 4,           /**< no levels satisfy all rows and bounds */
  ZKIT_INTERMEDIATE = 6,         /**< stopped before anything was known, with the last levels */
  ZKIT_FEASIBLE = 7,             /**< stopped at levels that satisfy all rows and bounds */
  ZKIT_INTEGER_SOLUTION = 8,     /**< optimal, within the gap, in a model with integer columns */
  ZKIT_INTEGER_INFEASIBLE = 10,  /**< no integer levels satisfy all rows and bounds */
  ZKIT_ERROR_NO_SOLUTION = 13,   /**< the solver failed */
  ZKIT_NO_SOLUTION = 14,         /**< not solved yet */
  ZKIT_NO_SOLUTION_RETURNED = 19 /**< infeasible or unbounded; the solver did not say which */
};

/** How the last solve ended. */
enum {
  ZKIT_COMPLETED = 1,
  ZKIT_ITERATION_LIMIT = 2,
  ZKIT_TIME_LIMIT = 3,
  ZKIT_STOPPED = 4,       /**< stopped by the solver, for example for numerical difficulties */
  ZKIT_INTERRUPTED = 8,   /**< stopped by zkitTerminate() */
  ZKIT_SETUP_FAILED = 9,  /**< the solver did not accept the model */
  ZKIT_SOLVER_FAILED = 10 /**< the solver ended without a result */
};

/** Basis status of a row or column. */
enum { ZKIT_AT_LOWER = 0, ZKIT_AT_UPPER = 1, ZKIT_BASIC = 2, ZKIT_SUPER_BASIC = 3 };

/** Status of a row or column: its level is optimal, or that of a solve that was stopped. */
enum { ZKIT_LEVEL_OK = 0, ZKIT_LEVEL_NOT_OPTIMAL = 1 };

/** A model under construction. */
typedef struct zkitModel* zkitModel_t;

/** @} */

/* ---- Building a model ------------------------------------------------------------------------ */

/**
 * @defgroup zkit_build Building a model
 * @{
 */

/**
 * Makes an empty model. `name` is any text, is not checked and may be null. Freed
 * by zkitModelFree().
 */
ZKIT_API int zkitModelCreate(zkitModel_t* model, const char* name);

/** Frees a model and sets *model to null. Instances made from it are not affected. */
ZKIT_API void zkitModelFree(zkitModel_t* model);

/** Why the last failed call on the model failed, or "" if none has. Valid until the next call. */
ZKIT_API const char* zkitLastError(zkitModel_t model);

/**
 * Adds a symbol without entries: ZKIT_VARIABLE, whose entries are columns, or ZKIT_EQUATION, whose
 * entries are rows, with `dim` labels each. `text` (at most 255 bytes) may be null. *symbol
 * receives its number, from 1.
 *
 * `userInfo` is the subtype that a database gives the symbol, on which the default values of its
 * records depend. With 0, an instance has the subtype on which all entries agree: the type of rows,
 * or for columns 1 (integer with bounds 0 and 1), 2 (integer), 3 (at least 0), 4 (at most 0) or
 * 5 (both signs); 0 if they do not agree, and for updatable parameters.
 */
ZKIT_API int zkitAddSymbol(zkitModel_t model, const char* name, int type, int dim, const char* text,
                           int userInfo, int* symbol);

/**
 * Adds a column: the entry labels[dim] of a variable symbol, which must be new. Labels are added to
 * the dictionary in the order of their first use. `level` is the initial level of the column, for
 * an updatable parameter its value. `column` must not be null.
 */
ZKIT_API int zkitAddColumn(zkitModel_t model, int symbol, const char* const* labels, double lower,
                           double upper, double level, int* column);

/** Makes a column integer, or continuous again. Updatable parameters cannot be integer. */
ZKIT_API int zkitSetColumnInteger(zkitModel_t model, int column, int isInteger);

/**
 * Adds a row: the entry labels[dim] of an equation symbol, which must be new. `rhs` must be finite.
 */
ZKIT_API int zkitAddRow(zkitModel_t model, int symbol, const char* const* labels, int type,
                        double rhs, int* row);

/**
 * Adds `count` columns of one symbol in one call: all of them, or none if anything is wrong, with
 * the place in the array in the message. labels[count * dim] holds the labels of the first column,
 * then those of the second, and so on. lower, upper and level[count] may each be null: at least 0,
 * without an upper bound, level 0.
 *
 * The columns may bring coefficients, compressed: those of column k are rows[i] and values[i] with
 * starts[k] <= i < starts[k + 1], in any order of rows; starts[count + 1] never falls, and null
 * means none. Repeated rows are added up, as by zkitAddCoefficient(). *first receives the number of
 * the first column; the others follow. O(size of the arrays).
 */
ZKIT_API int zkitAddColumns(zkitModel_t model, int symbol, int count, const char* const* labels,
                            const double* lower, const double* upper, const double* level,
                            const int* starts, const int* rows, const double* values, int* first);

/**
 * The same for rows, without coefficients. types and rhs[count] may each be null: ZKIT_EQUAL, 0.
 */
ZKIT_API int zkitAddRows(zkitModel_t model, int symbol, int count, const char* const* labels,
                         const int* types, const double* rhs, int* first);

/**
 * Adds values[k] to the coefficient of columns[k] in rows[k], for 0 <= k < count, as
 * zkitAddCoefficient() does: all of them, or none if anything is wrong.
 */
ZKIT_API int zkitAddCoefficients(zkitModel_t model, int count, const int* rows, const int* columns,
                                 const double* values);

/** Adds to a coefficient, which is initially 0. `value` must be finite. */
ZKIT_API int zkitAddCoefficient(zkitModel_t model, int row, int column, double value);

/**
 * Adds to the coefficient of a product of two columns. Fails unless at least one of them is an
 * updatable parameter; the message names both.
 */
ZKIT_API int zkitAddProduct(zkitModel_t model, int row, int column1, int column2, double value);

/** Adds to the constant on the left-hand side of a row. */
ZKIT_API int zkitAddConstant(zkitModel_t model, int row, double value);

/**
 * Chooses the column to be minimised (direction 1) or maximised (-1). Column -1, the default, means
 * none: any feasible levels are a solution.
 */
ZKIT_API int zkitSetObjective(zkitModel_t model, int column, int direction);

/**
 * Makes an instance of the model as it is now, with dictionary and environment. Its type is
 * ZKIT_MIP if a column is integer, else ZKIT_LP. `systemDirectory` is the directory of the solvers'
 * configuration file, with or without "/" at its end; null means the directory of this library.
 * Takes O(n log n) in the size of the model. Freed by zkitFreeInstance().
 */
ZKIT_API int zkitModelFinish(zkitModel_t model, const char* systemDirectory, void** instance);

/** @} */

/* ---- Reading a model file -------------------------------------------------------------------- */

/**
 * @defgroup zkit_read Reading a model file
 * @{
 */

/**
 * Makes an instance from a model file: free or fixed MPS, CPLEX LP, or GNU MathProg with its data
 * in the model itself or in the file `data`, which may be null. Names such as
 * ship[seattle,chicago] or ship(seattle,chicago) become entries of symbols, as
 * doc/reference/model-files.md describes. On failure `message` (`size` bytes) names the file, the
 * line if it is known, and what is wrong. Freed by zkitFreeInstance().
 *
 * A model may come from anywhere: the program that translates it uses no other files, no network
 * and no other programs. A MathProg statement that would (table, printf with ">") fails the call.
 */
ZKIT_API int zkitReadModel(const char* file, const char* data, const char* systemDirectory,
                           void** instance, char* message, int size);

/** Flags of zkitReadModelX() and zkitReadModelWith(). */
enum {
  ZKIT_ALLOW_FILES = 1, /**< statements of the model may use files and load database drivers */
  ZKIT_FORMAT_MPS = 2,  /**< whatever its name is, the model is in this format; at most one */
  ZKIT_FORMAT_LP = 4,
  ZKIT_FORMAT_MATHPROG = 8
};

/** The same with flags. Only a model that you trust may have ZKIT_ALLOW_FILES. */
ZKIT_API int zkitReadModelX(const char* file, const char* data, const char* systemDirectory,
                            int flags, void** instance, char* message, int size);

/**
 * Values of numeric params of a MathProg model: names[i], such as "price[bread]", gets values[i],
 * whether the model or its data give it a value, a default or an expression.
 */
typedef struct zkitParams {
  int count;                /**< number of names and values */
  const char* const* names; /**< a param with its labels each */
  const double* values;     /**< its value each */
} zkitParams;

/**
 * How a model is read. Set everything to 0 first, then `size` and what you need: 0 and null are the
 * defaults. Nothing of it is used after the call.
 */
typedef struct zkitReadOptions {
  int size;         /**< sizeof(zkitReadOptions), which tells the fields that the caller knows */
  int flags;        /**< such as ZKIT_ALLOW_FILES */
  const char* file; /**< the model file; with `text`, only its name: for messages and the format */
  const char* text; /**< the model itself, for example from a pipe, or null to read the file */
  long long textSize;     /**< bytes of `text`, or negative if it ends with a zero */
  const char* data;       /**< data file of a MathProg model, or null; with `dataText` its name */
  const char* dataText;   /**< the data itself, or null to read the file */
  long long dataTextSize; /**< bytes of `dataText`, or negative if it ends with a zero */
  const char* systemDirectory; /**< as of zkitModelFinish() */
  const char* const* changes;  /**< names of what will be changed, see zkitGetChange() */
  int changeCount;             /**< number of names in `changes` */
  const zkitParams* params;    /**< what the model is read with, or null */
  const zkitParams* variants;  /**< what it will be solved with, see zkitUseVariant() */
  int variantCount;            /**< number of `variants` */
} zkitReadOptions;

/**
 * The same with options. A model without `file` is called "model" in messages, and its format is
 * told by its first words.
 */
ZKIT_API int zkitReadModelWith(const zkitReadOptions* options, void** instance, char* message,
                               int size);

/**
 * What became of the entry `change` of zkitReadOptions.changes. Each of these names stands for one
 * number of the model, or without labels for those of all rows or columns of the symbol:
 *
 *     need[ABE].rhs                 right-hand side of a row; the constant, of the objective
 *     buy[bread].lo .up .fx         lower bound, upper bound, both bounds of a column, or of a row
 *                                   that has two
 *     buy[bread].cost               coefficient in the objective
 *     food[iron].coef[buy,bread]    coefficient in a row; without labels, those that are not 0
 *     price[bread]                  the value of an updatable parameter, if there is price_var[bread]
 *
 * `symbol` (`size` bytes, ZKIT_MAX_NAME + 1 suffice) receives the variable whose entries these
 * are, and `action` what becomes of them. A database changes them by c__zdbupdatemodelsymbol() with
 * this action and a parameter of the same labels. For right-hand sides, costs and coefficients, the
 * variable is an updatable parameter that was added, NAME_rhs_var, NAME_cost_var or
 * NAME_coef_COLUMN_var, with the value in the file and the labels of the row, then of the column.
 * `dim` receives the number of labels, `open` how many of them the name leaves open, `entries` for
 * how many numbers it stands. All outputs may be null. Returns 0 if there is no such change.
 */
ZKIT_API int zkitGetChange(void* instance, int change, char* symbol, int size, int* action,
                           int* dim, int* open, int* entries);

/** Whether a change stands for an entry, by the `count` labels that its name leaves open. */
ZKIT_API int zkitHasEntry(void* instance, int change, const char* const* labels, int count);

/**
 * Gives a number of the model, by its change and the `count` labels that the name leaves open, a
 * value, without a database: the next solve, of a database or by zkitSolve(), uses it, and where
 * the solver can, starts from the last basis. Lower bounds may be -ZKIT_INFINITY, upper ones
 * ZKIT_INFINITY; all else must be less than 1e100 in magnitude. zkitUseVariant() takes it back.
 * `message` (`size` bytes, may be null) receives why it failed. Takes constant time for a name that
 * leaves no label open, else O(log n).
 */
ZKIT_API int zkitSetChange(void* instance, int change, const char* const* labels, int count,
                           double value, char* message, int size);

/** Receives the name of a param. */
typedef void (*zkitNameCallback_t)(const char* name, void* user);

/**
 * Tells which params a model has that can be changed: numeric ones, unless there is an updatable
 * parameter of the name, a variable NAME_var. Looks at the text alone; models in other formats have
 * none. `message` (`size` bytes, may be null) receives why the file cannot be read.
 */
ZKIT_API int zkitListParams(const zkitReadOptions* options, zkitNameCallback_t receive, void* user,
                            char* message, int size);

/** How many entries a param has for which the instance was read with values; else -1. */
ZKIT_API int zkitParamEntries(void* instance, const char* param);

/** What is known of a variant. */
enum {
  ZKIT_VARIANT_FAILED = 0, /**< there is no such model, for example because a check failed */
  ZKIT_VARIANT_FITS = 1,   /**< it has the rows and columns of the instance */
  ZKIT_VARIANT_DIFFERS = 2 /**< it has others; read it as `params` of an instance of its own */
};

/** The state of zkitReadOptions.variants[variant]; `message` (`size` bytes) receives why. */
ZKIT_API int zkitVariantState(void* instance, int variant, char* message, int size);

/**
 * Makes the numbers of the instance those of a variant that fits, or with -1 those of the model
 * that was read, and takes back what zkitSetChange() has changed. The model is translated once for
 * each variant, when the instance is read; this call takes O(1) for each number in which any of the
 * variants differs from the model.
 */
ZKIT_API int zkitUseVariant(void* instance, int variant);

/** How far this system keeps a model, while it is read without ZKIT_ALLOW_FILES, from the rest. */
enum {
  ZKIT_UNCONFINED = 0,      /**< not at all: reading a model fails */
  ZKIT_PARTLY_CONFINED = 1, /**< from files, but faults in GLPK's readers might be used for more */
  ZKIT_CONFINED = 2         /**< from files, network, other processes and programs */
};

/**
 * Finds out, by trying all of it in the program that translates models. `message` (`size` bytes,
 * may be null) receives what was possible, or why nothing could be tried.
 */
ZKIT_API int zkitConfinement(char* message, int size);

/** @} */

/* ---- Instances ------------------------------------------------------------------------------- */

/**
 * @defgroup zkit_instances Instances
 * @{
 */

/**
 * Frees an instance with its dictionary and environment, and sets *instance to null. A database
 * that it was registered with must not use the model after that, and may be freed before or after.
 */
ZKIT_API void zkitFreeInstance(void** instance);

/** The number of columns, parameters included. */
ZKIT_API int zkitColumns(void* instance);

/** The number of rows, free ones included. */
ZKIT_API int zkitRows(void* instance);

/** The number of coefficients and products. */
ZKIT_API int zkitNonZeros(void* instance);

/** The number of integer columns. */
ZKIT_API int zkitIntegerColumns(void* instance);

/**
 * Sets the type of the model; with ZKIT_RMIP integer columns are treated as continuous. Fails for
 * ZKIT_LP if there are integer columns.
 */
ZKIT_API int zkitSetModelType(void* instance, int type);

/** What is known about the solution: ZKIT_OPTIMAL and so on. */
ZKIT_API int zkitModelStatus(void* instance);

/** How the last solve ended: ZKIT_COMPLETED and so on; 0 before the first solve. */
ZKIT_API int zkitSolveStatus(void* instance);

/** The name of a model status, such as "Optimal"; static. */
ZKIT_API const char* zkitModelStatusText(int status);

/** The name of a solve status, such as "Normal completion"; static. */
ZKIT_API const char* zkitSolveStatusText(int status);

/** The number of the objective column, -1 for none. */
ZKIT_API int zkitObjectiveColumn(void* instance);

/** The level of the objective column. */
ZKIT_API double zkitObjective(void* instance);

/** 1 if the objective is minimised, -1 if it is maximised. */
ZKIT_API int zkitDirection(void* instance);

/** Sets the direction: 1 to minimise, -1 to maximise. Later solves may go on from the last one. */
ZKIT_API int zkitSetDirection(void* instance, int direction);

/**
 * What the objective cannot get better than, as far as the last solve has proven it. NaN where that
 * is not known: without an objective or levels, and if a linear model was not solved to its end.
 */
ZKIT_API double zkitBound(void* instance);

/**
 * How far the objective is from its bound: |objective - bound| / |objective|, 0 if they are equal,
 * NaN where zkitBound() is.
 */
ZKIT_API double zkitGap(void* instance);

/**
 * Solves from scratch, without a database, with "clp" (LP, RMIP), "cbc", "glpk" or "highs" (all
 * types; highs where its library is found).
 * Updatable parameters have their current levels. Returns 1 even if the model has no solution,
 * which the statuses show; returns 0 if the solver cannot be used or fails, with the reason in
 * `message` (`size` bytes, may be null). If a solve ends without levels, levels and marginals
 * are unchanged. Those of a linear model may stay with the solver until they are first read: if it
 * fails then, they are lost, which the statuses show.
 */
ZKIT_API int zkitSolve(void* instance, const char* solver, char* message, int size);

/** Why the last solve failed, or "". Valid until the next solve. */
ZKIT_API const char* zkitSolveMessage(void* instance);

/** Simplex iterations of the last solve, of all its runs together. */
ZKIT_API int zkitIterations(void* instance);

/** Seconds that the last solve took. */
ZKIT_API double zkitSeconds(void* instance);

/** The name of a row as "symbol(label,label)", at most `size` - 1 bytes of it. */
ZKIT_API int zkitRowName(void* instance, int row, char* name, int size);

/** The name of a column, likewise. */
ZKIT_API int zkitColumnName(void* instance, int column, char* name, int size);

/**
 * Receives messages of solvers and the database library about a solve, one line at a time. A solver
 * may call it from a thread of its own, while zkitSolve() or the database library waits for it.
 */
typedef void (*zkitLogCallback_t)(const char* text, void* user);

/**
 * Sets the callback for log lines; null, the default, drops them. `user` is passed to it. During a
 * solve it must not free, change or solve the instance; a database that is tied to it refuses that.
 */
ZKIT_API int zkitSetLog(void* instance, zkitLogCallback_t log, void* user);

/**
 * Requests the running solve to stop, as a stop token does; may be called from any thread and from
 * a signal handler. If no solve is running, it stops the next zkitSolve(). A zkitSolve() clears the
 * request when it ends, a solve of the database library when it begins.
 */
ZKIT_API void zkitTerminate(void* instance);

/**
 * Sets limits for later solves: seconds and iterations, 0 or less for none. Iterations are those
 * of all simplex runs of a solve. Solvers look at limits between iterations, glpk and highs in a
 * search for integer levels between nodes and rounds of cuts; presolve and scaling always run to
 * their end.
 */
ZKIT_API int zkitSetLimits(void* instance, double seconds, int iterations);

/**
 * Sets how close later searches for integer levels must come: they may end when the objective is
 * within `relative` times its own size, or within `absolute`, of the bound, and then count as
 * completed with an integer solution. 0, the default of both: the best levels, proven to be so.
 * Fails for negative gaps and NaN.
 */
ZKIT_API int zkitSetGap(void* instance, double relative, double absolute);

/** @} */

/* ---- Why a model is infeasible --------------------------------------------------------------- */

/**
 * @defgroup zkit_infeasible Why a model is infeasible
 * @{
 */

/** Results of zkitInfeasibleSet(). */
enum {
  ZKIT_IRREDUCIBLE = 1, /**< without any one of its sides, the rest can be satisfied */
  ZKIT_REDUCIBLE = 2    /**< infeasible, but some of it may not be needed */
};

/** Sides of a row or column in an infeasible set, added up: what it must at least or at most be. */
enum { ZKIT_LOWER_SIDE = 1, ZKIT_UPPER_SIDE = 2 };

/**
 * Finds rows and bounds of columns that exclude each other, in the instance as it is now, with
 * alternative bounds and right-hand sides while they are on and with parameters at their levels.
 * Integer columns count as continuous ones between whole bounds. Returns ZKIT_IRREDUCIBLE;
 * ZKIT_REDUCIBLE if `seconds` (0: no limit) were over, after zkitTerminate(), which it forgets when
 * it ends, or if the solver could not decide a step; or 0 with the reason in `message` (`size`
 * bytes, may be null), also if the model is feasible. *rowCount and *columnCount receive the sizes
 * of the set.
 *
 * Takes about two solves from scratch, one of them with up to two more columns for each row, and
 * then one solve from the last basis for each side of the first set found, which usually has few.
 * Uses the first solver that works in place. Levels, marginals and statuses are unchanged.
 */
ZKIT_API int zkitInfeasibleSet(void* instance, double seconds, int* rowCount, int* columnCount,
                               char* message, int size);

/**
 * The rows of the last set found, ascending, each with its sides: arrays of rowCount elements. A
 * set is kept with the instance until the next is looked for.
 */
ZKIT_API int zkitInfeasibleRows(void* instance, int* rows, int* sides);

/** The columns of the last set found, likewise, in arrays of columnCount elements. */
ZKIT_API int zkitInfeasibleColumns(void* instance, int* columns, int* sides);

/** @} */

/* ---- Solvers --------------------------------------------------------------------------------- */

/**
 * @defgroup zkit_solvers Solvers
 * @{
 */

/** What a solver solves, added up. */
enum { ZKIT_SOLVES_LP = 1, ZKIT_SOLVES_MIP = 2, ZKIT_SOLVES_RMIP = 4 };

/** The number of solvers that this kit knows, whether or not they can be used here. */
ZKIT_API int zkitSolverCount(void);

/**
 * Tells of solver 0 .. zkitSolverCount() - 1: the name of its type, its version ("" if it cannot be
 * used), the types of models that it solves, whether it works in place (1 or 0), and why it cannot
 * be used here ("" if it can). Outputs may be null; texts are never freed. Returns 0 for other
 * numbers.
 */
ZKIT_API int zkitSolverInfo(int solver, const char** name, const char** version, int* modelTypes,
                            int* worksInPlace, const char** whyNot);

/**
 * The name of the solver to use if nobody asks for another: of those that can be used here and that
 * the configuration of the instance has for models of its type, the one that is usually fastest,
 * see doc/reference/model-kit.md. Reads the configuration file. `name` (`size` bytes,
 * ZKIT_MAX_NAME + 1 are enough) receives it. Returns 0 if there is none, with the reason in
 * `message` (`messageSize` bytes, may be null).
 */
ZKIT_API int zkitDefaultSolver(void* instance, char* name, int size, char* message,
                               int messageSize);

/** Where a solve of the database library starts that goes on with a solver. */
enum {
  ZKIT_START_LAST = 0, /**< where the last solve ended; the default */
  ZKIT_START_FIRST = 1 /**< where the first solve ended */
};

/**
 * Chooses where later solves start. With ZKIT_START_FIRST, each starts where the first one ended
 * after the solver had got the model: what a model with the same changes gives then does not depend
 * on what was solved in between, also where several levels are optimal. To be called before that
 * first solve. Going back takes about as long as changing the model. A solver that always starts
 * from scratch is not concerned; one that cannot go back, or whose first solve found no basis,
 * starts from scratch then. Fails for another number.
 */
ZKIT_API int zkitSetStart(void* instance, int start);

/** @} */

#ifdef __cplusplus
}
#endif

/* NOLINTEND(modernize-*) */

#endif
