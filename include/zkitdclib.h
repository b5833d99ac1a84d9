/*
 * zkitdclib: model instances for zdbcclib, and solvers behind them.
 *
 * The database library changes and solves a model through a model instance: rows, columns and
 * their dictionary, which names them by symbols and labels. This header is for the host that makes
 * the instance, from a model file or call by call, and hands it to the database:
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
 * cost is a free column and the row that defines it. Columns of symbols whose names end in "_var"
 * are updatable parameters: the database library fixes them at their level and changes that. A
 * product needs at least one such factor. With a parameter p at level v,
 *
 *     a p        is the constant a v,
 *     q p x      is the coefficient q v of x,
 *     q p p'     is the constant q v v',
 *
 * so at fixed parameters the model is linear. For the gradient update of the database library,
 * zmiEvalGradNLUpdate puts q v into the coefficients of the linear model, in which parameter
 * columns have no coefficients, and gives in g[i] the constants of row i, c[i] included: the row is
 * then sum_j a'[i,j] x[j] = r[i] - g[i]. A plain solve does the same by itself.
 *
 * CONVENTIONS, which hold unless a function says otherwise.
 *
 *  1. Functions return 1 for success and 0 for failure. A failed call on a model changes nothing
 *     and leaves its reason for zkitLastError(); null handles fail without one.
 *  2. Rows and columns count from 0, symbols from 1, each in the order in which they were added.
 *  3. A name has at most 63 bytes, begins with a letter and goes on with letters, digits and "_";
 *     no two symbols have names that differ in case only. A label has 1 to 63 bytes, no control
 *     characters and not both kinds of quotes; labels that differ in case only are the same.
 *  4. A marginal is the change of the objective, as it is minimised or maximised, per unit of
 *     increase of the right-hand side of a row, the bound of a column or the level of a parameter.
 *     With integer columns it is that of the model in which these are fixed at their levels. The
 *     level of a row is that of its whole left-hand side, to be compared with r[i].
 *  5. An infinite bound is an infinity or anything from 1.0E300 up (-1.0E300 down).
 *  6. A model or an instance belongs to whoever made it, and to one thread at a time. An instance
 *     needs its model no more. The library prints nothing.
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

enum {
  ZKIT_MAX_DIM = 20,   /**< index positions of a symbol */
  ZKIT_MAX_NAME = 63,  /**< bytes of a name or label */
  ZKIT_TEXT_SIZE = 256 /**< bytes that a text output needs */
};

/** Types of symbols. */
enum { ZKIT_VARIABLE = 5, ZKIT_EQUATION = 6 };

/** Types of rows. */
enum { ZKIT_EQUAL = 0, ZKIT_GREATER = 1, ZKIT_LESS = 2, ZKIT_FREE = 3 };

/** Types of models. */
enum { ZKIT_LP = 1, ZKIT_MIP = 2, ZKIT_RMIP = 3 };

/** What is known of the solution. */
enum {
  ZKIT_OPTIMAL = 1,              /**< optimal levels and marginals */
  ZKIT_UNBOUNDED = 3,            /**< the objective can be improved without end */
  ZKIT_INFEASIBLE = 4,           /**< no levels satisfy all rows and bounds */
  ZKIT_INTERMEDIATE = 6,         /**< stopped before anything was known; levels as they were left */
  ZKIT_FEASIBLE = 7,             /**< stopped at levels that satisfy all rows and bounds */
  ZKIT_INTEGER_SOLUTION = 8,     /**< optimal levels of a model with integer columns */
  ZKIT_INTEGER_INFEASIBLE = 10,  /**< none that are integer */
  ZKIT_ERROR_NO_SOLUTION = 13,   /**< the solver failed */
  ZKIT_NO_SOLUTION = 14,         /**< not solved yet */
  ZKIT_NO_SOLUTION_RETURNED = 19 /**< infeasible or unbounded, the solver did not say which */
};

/** How the last solve ended. */
enum {
  ZKIT_COMPLETED = 1,
  ZKIT_ITERATION_LIMIT = 2,
  ZKIT_TIME_LIMIT = 3,
  ZKIT_STOPPED = 4,       /**< by the solver, for numerical difficulties and the like */
  ZKIT_INTERRUPTED = 8,   /**< by the terminate flag of the environment */
  ZKIT_SETUP_FAILED = 9,  /**< the solver did not take the model */
  ZKIT_SOLVER_FAILED = 10 /**< without a result */
};

/** Basis status of a row or column. */
enum { ZKIT_AT_LOWER = 0, ZKIT_AT_UPPER = 1, ZKIT_BASIC = 2, ZKIT_SUPER_BASIC = 3 };

/** Status of a row or column: its level is optimal, or that of a solve that was stopped. */
enum { ZKIT_LEVEL_OK = 0, ZKIT_LEVEL_NOT_OPTIMAL = 1 };

/** A model under construction. */
typedef struct zkitModel* zkitModel_t;

/* ---- Building a model ------------------------------------------------------------------------ */

/** Makes an empty model. `name` is a text of its own, may be null and is not checked. */
ZKIT_API int zkitModelCreate(zkitModel_t* model, const char* name);

/** Frees a model and sets *model to null. Instances made of it stay. */
ZKIT_API void zkitModelFree(zkitModel_t* model);

/** Why the last failed call on the model failed; "" before any has. Good until the next call. */
ZKIT_API const char* zkitLastError(zkitModel_t model);

/**
 * Adds a symbol without entries: ZKIT_VARIABLE, whose entries are columns, or ZKIT_EQUATION, whose
 * entries are rows, with `dim` labels each. `text` (at most 255 bytes) may be null. *symbol
 * receives its number, from 1.
 */
ZKIT_API int zkitAddSymbol(zkitModel_t model, const char* name, int type, int dim, const char* text,
                           int userInfo, int* symbol);

/**
 * Adds a column: the entry labels[dim] of a variable symbol, which must be new. Labels join the
 * dictionary in the order of their first use. `level` is where the column begins, and of an
 * updatable parameter its value. *column may not be null.
 */
ZKIT_API int zkitAddColumn(zkitModel_t model, int symbol, const char* const* labels, double lower,
                           double upper, double level, int* column);

/** Lets a column have integer levels only, or any. Updatable parameters cannot be integer. */
ZKIT_API int zkitSetColumnInteger(zkitModel_t model, int column, int isInteger);

/** Adds a row: the entry labels[dim] of an equation symbol. `rhs` is finite. */
ZKIT_API int zkitAddRow(zkitModel_t model, int symbol, const char* const* labels, int type,
                        double rhs, int* row);

/** Adds to a coefficient, which begins at 0. `value` is finite. */
ZKIT_API int zkitAddCoefficient(zkitModel_t model, int row, int column, double value);

/**
 * Adds to the coefficient of a product of two columns, at least one of which is an updatable
 * parameter. Fails for two others, with the names of both.
 */
ZKIT_API int zkitAddProduct(zkitModel_t model, int row, int column1, int column2, double value);

/** Adds to the constant on the left-hand side of a row. */
ZKIT_API int zkitAddConstant(zkitModel_t model, int row, double value);

/**
 * Chooses the column to be minimised (direction 1) or maximised (-1). Column -1, as in the
 * beginning, is none: any feasible levels are a solution.
 */
ZKIT_API int zkitSetObjective(zkitModel_t model, int column, int direction);

/**
 * Makes an instance of the model as it is, with dictionary and environment. Its type is ZKIT_MIP if
 * a column is integer, else ZKIT_LP. `systemDirectory` is where the configuration file of the
 * solvers is, with or without "/" at its end; null stands for the directory of this library. The
 * instance is the caller's until zkitFreeInstance(). Time in the size of the model, n log n.
 */
ZKIT_API int zkitModelFinish(zkitModel_t model, const char* systemDirectory, void** instance);

/* ---- Reading a model file -------------------------------------------------------------------- */

/**
 * Makes an instance of a model file: free or fixed MPS, CPLEX LP, or GNU MathProg with its data in
 * the model itself or in the file `data`, which may be null. Names such as ship[seattle,chicago] or
 * ship(seattle,chicago) become entries of symbols; doc/model-files.md says how. On failure
 * `message` (`size` bytes) says which file, which line where that is known, and what is wrong.
 */
ZKIT_API int zkitReadModel(const char* file, const char* data, const char* systemDirectory,
                           void** instance, char* message, int size);

/* ---- Instances ------------------------------------------------------------------------------- */

/** Frees an instance with its dictionary and environment, and sets *instance to null. A database
 * that it was registered with must not use the model after that, and may be freed before or after.
 */
ZKIT_API void zkitFreeInstance(void** instance);

/** Numbers of columns, of rows, of coefficients and products, and of integer columns. */
ZKIT_API int zkitColumns(void* instance);
ZKIT_API int zkitRows(void* instance);
ZKIT_API int zkitNonZeros(void* instance);
ZKIT_API int zkitIntegerColumns(void* instance);

/**
 * Sets the type of the model: ZKIT_RMIP solves one with integer columns as if they were not. Fails
 * for ZKIT_LP if there are integer columns.
 */
ZKIT_API int zkitSetModelType(void* instance, int type);

/** What is known of the solution, how the last solve ended, and a name for each. */
ZKIT_API int zkitModelStatus(void* instance);
ZKIT_API int zkitSolveStatus(void* instance); /* 0 before the first */
ZKIT_API const char* zkitModelStatusText(int status);
ZKIT_API const char* zkitSolveStatusText(int status);

/** The column that is the objective, -1 for none, its level, and 1 or -1 for its direction. */
ZKIT_API int zkitObjectiveColumn(void* instance);
ZKIT_API double zkitObjective(void* instance);
ZKIT_API int zkitDirection(void* instance);

/**
 * Solves from scratch, without a database, with "clp" (LP, RMIP), "cbc" or "glpk" (all types).
 * Updatable parameters are at their levels. 1 also for a model without a solution, which the
 * statuses tell; 0 if the solver could not be used or failed, with the reason in `message` (`size`
 * bytes, may be null). A solve that ends without levels leaves levels and marginals as they were.
 */
ZKIT_API int zkitSolve(void* instance, const char* solver, char* message, int size);

/** Why the last solve failed, or "". Good until the next solve. */
ZKIT_API const char* zkitSolveMessage(void* instance);

/** Simplex iterations and seconds of the last solve. */
ZKIT_API int zkitIterations(void* instance);
ZKIT_API double zkitSeconds(void* instance);

/** The name of a row or column as "symbol(label,label)", at most `size` - 1 bytes of it. */
ZKIT_API int zkitRowName(void* instance, int row, char* name, int size);
ZKIT_API int zkitColumnName(void* instance, int column, char* name, int size);

/** Takes what solvers and the database library say about a solve, a line at a time. */
typedef void (*zkitLogCallback_t)(const char* text, void* user);

/** Where log lines go; null, as in the beginning, is nowhere. `user` is passed to the callback. */
ZKIT_API int zkitSetLog(void* instance, zkitLogCallback_t log, void* user);

/**
 * Asks the solve that is running to stop; may be called from any thread and from a signal handler.
 * Where none is running it stops the next zkitSolve, which forgets it at its end. The database
 * library's solves forget it at their beginning.
 */
ZKIT_API void zkitTerminate(void* instance);

/**
 * Limits of the solves to come: seconds and iterations, 0 or less for none. They are looked at
 * between iterations and nodes; the presolve of clp and cbc runs to its end first.
 */
ZKIT_API int zkitSetLimits(void* instance, double seconds, int iterations);

#ifdef __cplusplus
}
#endif

/* NOLINTEND(modernize-*) */

#endif
