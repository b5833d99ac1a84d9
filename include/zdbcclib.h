/*
 * zdbcclib: an in-memory database for the data of algebraic models.
 *
 * A database holds labels (texts, numbered) and symbols: sets, aliases of sets, parameters,
 * variables and equations with 0 to 20 index positions. A symbol holds records; a record is a key,
 * one label per index position, and its values: one double in sets and parameters, five in
 * variables and equations.
 *
 * A complete program, to be linked with -lzdbcclib; it prints 2.4:
 *
 *     #include <stdio.h>
 *     #include "zdbcclib.h"
 *
 *     int main(void) {
 *       zdbHandle_t db = NULL;
 *       zdbSymbol_t price = NULL;
 *       zdbRecord_t record = NULL;
 *       const char* key[] = {"bread"};
 *       char message[ZDB_TEXT_SIZE];
 *       double level = 0;
 *       if (!zdbcreate(&db, message, sizeof message)) return 1;
 *       if (c__zdbaddsymbol(db, "price", 1, ZDB_PARAMETER, 0, "price of a food", &price) &&
 *           c__zdbmergerecord(db, price, key, &record) && c__zdbsetlevel(db, record, 2.4) &&
 *           c__zdbgetlevel(db, record, &level)) {
 *         printf("%g\n", level);
 *       } else if (c__zdbgetlasterror(db, message)) {
 *         puts(message);
 *       }
 *       if (record != NULL) c__zdbfreesymboliterator(db, record);
 *       return !zdbfree(&db);
 *     }
 *
 * CONVENTIONS, unless a function says otherwise.
 *
 *  1. Results. Functions return 1 for success and 0 for failure. A failure leaves a message, which
 *     c__zdbgetlasterror() returns. The message stays until the next failure, so read it only after
 *     a failure; reaching the end of a walk counts as one. A failing function undoes nothing:
 *     labels that it added before it failed remain.
 *  2. Handles are opaque pointers: zdbHandle_t to a database, zdbSymbol_t to a symbol, zdbRecord_t
 *     to a record (or a label, see 9), zdbDV_t to a domain violation. Model instances of companion
 *     libraries are passed as void*.
 *  3. Ownership. A database owns its symbols, labels and texts; zdbfree() frees them with it.
 *     Record and domain violation handles belong to the caller, who frees each with
 *     c__zdbfreesymboliterator() or c__zdbfreedvhandle() before the database is freed. "Freed by"
 *     at the end of a description says which it is. The library keeps no pointers to arguments
 *     after a call, except callbacks and their user pointer.
 *  4. Validity. A symbol handle becomes invalid when the symbol is moved to another storage
 *     (c__zdbselectrecordstorage) or the database is freed. A record handle becomes invalid when
 *     its record is deleted, also through another handle, when its symbol is cleared, loaded again,
 *     copied into or moved to another storage, and when the database is freed; adding and deleting
 *     other records leaves it valid. Until the database is freed, an invalid record handle is
 *     safe in all storages: reading, changing and moving fail with a message. It must still be
 *     freed.
 *  5. Null. With a null database handle every function returns 0 without a message, as there is
 *     nowhere to put one, and writes nothing except a status output, which becomes 0, and a
 *     short-string output, which becomes empty; c__zdbsetdebug() does not need a database. Any
 *     other null argument is refused with a message, unless the function allows it. A null label is
 *     refused without a message.
 *  6. Handle outputs ("record", "symbol", ...) are set to null first, and are null after a failure.
 *     Other outputs are unchanged after a failure, unless the function says otherwise.
 *  7. Texts are C strings in any encoding that contains ASCII; case is ignored for the letters A to
 *     Z only. A text output needs a buffer of ZDB_TEXT_SIZE (256) bytes. Names have at most 63
 *     bytes and consist of a letter followed by letters, digits and "_". Labels have at most 63
 *     bytes after trailing blanks are removed, no control characters, and not both kinds of quotes.
 *     Symbol names, labels and element texts that differ only in case are the same, and keep their
 *     first spelling. Explanatory texts of symbols and element texts of set records have at most
 *     255 bytes.
 *  8. Numbers. Labels are numbered from 1 in the order in which they were added; 0 is a blank that
 *     is not a label, and -1 means unknown. Symbols are numbered from 0 in the order in which they
 *     were added; -1 is the universe. Positions in a key are counted from 0 in arguments and from 1
 *     in messages. Booleans are ints: 0 is false, anything else is true.
 *  9. The universe "*" is the one-dimensional set of all labels, which every database has. It
 *     can be walked, searched and used as a domain, but not changed. A record handle on it is at
 *     a label.
 * 10. Keys are arrays of dim labels or dim label numbers, where dim is the symbol's number of index
 *     positions; for dim 0 they are not read and may be null. Records are ordered by their label
 *     numbers; the first position is the most significant.
 * 11. Values are arrays of 1 or 5 doubles, in the order of ZDB_LEVEL to ZDB_SCALE. The value of a
 *     set's record is the number of its element text, 0 for none.
 * 12. Threads. Use a database, with all its handles, in one thread at a time, and likewise a model
 *     instance. Apart from that, threads may do anything at the same time: create and free
 *     databases, read and write files, register, prepare and solve models. Only c__zdbsetdebug(),
 *     which is for the whole process, must not overlap with other calls.
 * 13. Cost. Operations on a handle, and on labels by text or number, take constant time;
 *     finding, adding and deleting a record take O(log n) in the symbol's records. Other costs
 *     are noted. A symbol whose records are still in a data exchange file or a model instance,
 *     or come from callbacks, is loaded by the first call that needs them, which then takes as
 *     long as reading them.
 * 14. Failed loads. A symbol whose records could not be loaded remembers why: every call that needs
 *     them fails with that reason, as do writing the database, copying the symbol and
 *     c__zdbinitfromdb(), so that incomplete data is never taken for complete. It can be used again
 *     once it has been cleared, copied into, or reset by a solve or a new source.
 *
 * CALLING FAMILIES. Each function exists as c__name. The forms with other prefixes do the same for
 * clients with other text formats; they are at the end of this file.
 *
 * FUNCTIONS WHOSE NAMES END IN py return the handle that the function without py returns in a
 * parameter (null if it fails), and set *status, their last argument, to that function's result.
 */

#ifndef ZDBCCLIB_H
#define ZDBCCLIB_H

#include <math.h> /* NOLINT(modernize-deprecated-headers): HUGE_VAL, for C clients as well */

/** Version of this header and of the library that it was shipped with. */
#define ZDBCCLIB_VERSION_MAJOR 1
#define ZDBCCLIB_VERSION_MINOR 0
#define ZDBCCLIB_VERSION_PATCH 0
#define ZDBCCLIB_VERSION "1.0.0"
/** The argument for c__xapiversion(). It grows when the meaning of a function changes. */
#define ZDBCCLIB_API_VERSION 5

#if defined(__GNUC__)
#define ZDBCCLIB_API __attribute__((visibility("default")))
#else
#define ZDBCCLIB_API
#endif

/* NOLINTBEGIN(bugprone-reserved-identifier,modernize-*): one header for C and C++ clients alike. */

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Types and constants --------------------------------------------------------------------- */

/**
 * @defgroup zdb_types Types and constants
 * @{
 */

typedef struct zdbDatabase* zdbHandle_t; /**< a database */
typedef struct zdbSymbol* zdbSymbol_t;   /**< a symbol, owned by its database */
typedef struct zdbRecord* zdbRecord_t;   /**< a position at a record, owned by the caller */
typedef struct zdbViolation* zdbDV_t;    /**< a position at a violating record, likewise */

/** Limits. */
enum {
  ZDB_MAX_DIM = 20,   /**< index positions of a symbol */
  ZDB_MAX_VALUES = 5, /**< doubles of a record */
  ZDB_MAX_NAME = 63,  /**< bytes of a symbol name or label */
  ZDB_MAX_TEXT = 255, /**< bytes of an explanatory or element text */
  ZDB_TEXT_SIZE = 256 /**< bytes that a text output needs */
};

/** In a slice of label numbers: any label. */
enum { ZDB_ANY = 0 };
/** The same in a slice of labels. */
#define ZDB_ANY_LABEL " "

/** Types of symbols. */
enum { ZDB_SET = 0, ZDB_PARAMETER = 1, ZDB_VARIABLE = 2, ZDB_EQUATION = 3, ZDB_ALIAS = 4 };

/** Subtypes of variables, with the lower and upper bound of a new record. */
enum {
  ZDB_VAR_UNKNOWN = 0,        /**< 0, 0 */
  ZDB_VAR_BINARY = 1,         /**< 0, 1 */
  ZDB_VAR_INTEGER = 2,        /**< 0, 100 */
  ZDB_VAR_POSITIVE = 3,       /**< 0, infinity */
  ZDB_VAR_NEGATIVE = 4,       /**< -infinity, 0 */
  ZDB_VAR_FREE = 5,           /**< -infinity, infinity */
  ZDB_VAR_SOS1 = 6,           /**< special ordered set of the first kind: 0, infinity */
  ZDB_VAR_SOS2 = 7,           /**< of the second kind: 0, infinity */
  ZDB_VAR_SEMICONTINUOUS = 8, /**< 1, infinity */
  ZDB_VAR_SEMIINTEGER = 9     /**< 1, 100 */
};

/** Subtypes of equations, likewise. */
enum {
  ZDB_EQU_EQUAL = 0,    /**< 0, 0 */
  ZDB_EQU_GREATER = 1,  /**< 0, infinity */
  ZDB_EQU_LESS = 2,     /**< -infinity, 0 */
  ZDB_EQU_FREE = 3,     /**< not binding: -infinity, infinity */
  ZDB_EQU_EXTERNAL = 4, /**< 0, 0 */
  ZDB_EQU_CONE = 5,     /**< 0, infinity */
  ZDB_EQU_LOGIC = 6     /**< 0, 0 */
};

/** Plus infinity, of which -ZDB_INFINITY is minus infinity. */
#define ZDB_INFINITY HUGE_VAL

/** Storages for the records of a symbol. They behave alike and differ in memory and speed. */
enum {
  ZDB_STORAGE_MAP = 0,    /**< ordered tree, for adding and finding in any order; the default */
  ZDB_STORAGE_VECTOR = 1, /**< sorted array, small; for data that is added in key order, since
                             adding or deleting in the middle moves all records after it */
  ZDB_STORAGE_TREE = 2    /**< tree of labels, small if keys share their first labels; deleting
                             records frees no memory until all are removed */
};

/** Positions in a record's values. Sets and parameters have the first only. */
enum { ZDB_LEVEL = 0, ZDB_MARGINAL = 1, ZDB_LOWER = 2, ZDB_UPPER = 3, ZDB_SCALE = 4 };

/** Positions in an array of special values. */
enum {
  ZDB_SV_UNDEFINED = 0,
  ZDB_SV_NOT_AVAILABLE = 1,
  ZDB_SV_PLUS_INFINITY = 2,
  ZDB_SV_MINUS_INFINITY = 3,
  ZDB_SV_EPSILON = 4, /**< an explicit zero */
  ZDB_SV_COUNT = 5
};

/** Keys of c__zdbinfo(). */
enum {
  ZDB_INFO_SYMBOLS_WITHOUT_ALIASES = 0,
  ZDB_INFO_LABELS = 1,
  ZDB_INFO_SYMBOLS = 2,
  ZDB_INFO_DEFAULT_STORAGE = 3, /**< ZDB_STORAGE_... of symbols added from now on */
  ZDB_INFO_SOURCE_ATTACHED = 4  /**< 1 while symbols are loaded from a source on first use */
};

/** Keys of c__zdbsymbolinfo(). ZDB_SYMBOL_NAME and ZDB_SYMBOL_TEXT return texts. */
enum {
  ZDB_SYMBOL_NAME = 0,
  ZDB_SYMBOL_DIM = 1,
  ZDB_SYMBOL_TYPE = 2,
  ZDB_SYMBOL_RECORDS = 3, /**< number of records; for the universe, of labels; for an alias, 0 */
  ZDB_SYMBOL_USER_INFO = 4,
  ZDB_SYMBOL_TEXT = 5,
  ZDB_SYMBOL_NUMBER = 6,  /**< as in c__zdbgetsymbolbynumber() */
  ZDB_SYMBOL_WRITTEN = 7, /**< 1 if changed while write recording was active */
  ZDB_SYMBOL_STORAGE = 8  /**< ZDB_STORAGE_... */
};

/** Type codes with which c__xcheck() compares signatures. */
enum {
  ZDB_CODE_POINTER = 1,     /**< a handle or other pointer */
  ZDB_CODE_POINTER_OUT = 2, /**< address of a handle, or an array of handles */
  ZDB_CODE_INT = 3,
  ZDB_CODE_INT_OUT = 4,
  ZDB_CODE_INT_ARRAY = 8,
  ZDB_CODE_TEXT_IN = 11,
  ZDB_CODE_TEXT_OUT = 12,
  ZDB_CODE_DOUBLE = 13,
  ZDB_CODE_DOUBLE_OUT = 14,
  ZDB_CODE_BOOL = 15,    /**< an int that is true or false; most results */
  ZDB_CODE_STATUS = 20,  /**< address of an int: the status of py functions, or whether found */
  ZDB_CODE_INT_REF = 21, /**< address of an int that is written */
  ZDB_CODE_INTS_IN = 51, /**< label numbers of a key */
  ZDB_CODE_INTS_OUT = 52,
  ZDB_CODE_DOUBLES_IN = 53, /**< values of a record */
  ZDB_CODE_DOUBLES_OUT = 54,
  ZDB_CODE_TEXTS_IN = 55, /**< labels of a key, names of domains */
  ZDB_CODE_TEXTS_OUT = 56,
  ZDB_CODE_SPECIALS_IN = 57, /**< five special values */
  ZDB_CODE_SPECIALS_OUT = 58,
  ZDB_CODE_CALLBACK = 59
};

/*
 * Callbacks that serve as a data source. Texts are short strings: a length byte and up to
 * 255 characters without terminator. Callbacks return 0 for success; `user` is the caller's
 * own pointer.
 */

/** Looks up a symbol by name. */
typedef int (*zdbFindSymbolCallback_t)(const char* name, int* symbolNumber, void* user);
/** Starts reading a symbol and returns its number of records. */
typedef int (*zdbReadStartCallback_t)(int symbolNumber, int* recordCount, void* user);
/**
 * Delivers the next record, in key order: key[dim], values[1 or 5], and the first position of the
 * key that changed.
 */
typedef int (*zdbReadRecordCallback_t)(int* key, double* values, int* firstChanged, void* user);
/** Ends reading a symbol. */
typedef int (*zdbReadDoneCallback_t)(void* user);
/** Gets the element text for the number in a record of a set. */
typedef int (*zdbElemTextCallback_t)(int textNumber, char* text, int capacity, void* user);
/** Receives a line that c__zdbprintlog() writes. */
typedef int (*zdbPrintCallback_t)(const char* text, void* user);

/** @} */

/* ---- Creating and freeing databases ---------------------------------------------------------- */

/**
 * @defgroup zdb_create Creating and freeing databases
 *
 * `db` is the address of the caller's handle variable; a null address is a failure. Set the
 * variable to NULL first: if the creation fails, the message is written to the database in the
 * variable, or to standard output if there is none. Failures are exhausted memory and a null
 * directory. The companion library for data exchange files is searched for next to this library and
 * on the system's search path, or in `directory`. If it cannot be loaded, the database is created
 * all the same, and its last-error text says why.
 *
 * @{
 */

/**
 * Creates a database in *db. Returns 1 and empties `message`; on failure leaves *db null, writes
 * the reason, cut to messageSize - 1 bytes, and returns 0. `message` may be null and messageSize 0.
 * Freed by zdbfree().
 *
 *     zdbHandle_t db = NULL;
 *     char message[ZDB_TEXT_SIZE];
 *     if (!zdbcreate(&db, message, sizeof message)) puts(message);
 */
ZDBCCLIB_API int zdbcreate(zdbHandle_t* db, char* message, int messageSize);

/**
 * The same with the companion library from a directory, which must not be null. Success means only
 * that `db` is not null: look at *db, which is unchanged on failure. Freed by zdbfree().
 */
ZDBCCLIB_API int zdbcreated(zdbHandle_t* db, const char* directory, char* message, int messageSize);

/** zdbcreate() without message and result: look at *db. Freed by zdbfree(). */
ZDBCCLIB_API void xcreate(zdbHandle_t* db);

/**
 * xcreate() under a name that the functions of a host are not likely to have. Freed by zdbfree().
 */
ZDBCCLIB_API void zdbxcreate(zdbHandle_t* db);

/** zdbcreated() without message and result. Freed by zdbfree(). */
ZDBCCLIB_API void xcreated(zdbHandle_t* db, const char* directory);

/** xcreated() under such a name. Freed by zdbfree(). */
ZDBCCLIB_API void zdbxcreated(zdbHandle_t* db, const char* directory);

/**
 * Frees the database in *db and everything that it owns, and sets *db to null; a null handle is
 * allowed. Returns 1 if *db is null afterwards. Its time grows with the number of records.
 */
ZDBCCLIB_API int zdbfree(zdbHandle_t* db);

/** zdbfree() without a result. */
ZDBCCLIB_API void xfree(zdbHandle_t* db);

/** xfree() under a name that the functions of a host are not likely to have. */
ZDBCCLIB_API void zdbxfree(zdbHandle_t* db);

/** @} */

/* ---- Checking that client and library agree -------------------------------------------------- */

/**
 * @defgroup zdb_agree Checking that client and library agree
 * @{
 */

/**
 * Compares the API version that the client was written for with the library's. Writes the result to
 * `message` [ZDB_TEXT_SIZE] as a sentence and to *status as a number: 1 (the client's version is
 * the same), 2 (older, compatible), 3 (newer) or 0 (too old); both may be null. Returns 0 only for
 * the last.
 *
 *     int status;
 *     char message[ZDB_TEXT_SIZE];
 *     if (!c__xapiversion(ZDBCCLIB_API_VERSION, message, &status)) puts(message);
 */
ZDBCCLIB_API int c__xapiversion(int apiVersion, char* message, int* status);

/**
 * Compares the client's declaration of a function with the library's. `name` is the name in mixed
 * case without prefix, as in "zdbGetKeys"; `count` the number of arguments without the database
 * handle; `codes` [count + 1] their ZDB_CODE_..., that of the result first. Returns 1 and empties
 * `message` [ZDB_TEXT_SIZE, may be null] if they agree; otherwise writes the difference to it: the
 * name is unknown, or the number of arguments or the types are wrong.
 *
 *     const int codes[] = {ZDB_CODE_BOOL, ZDB_CODE_TEXT_OUT};
 *     if (!c__xcheck("zdbGetLastError", 1, codes, message)) puts(message);
 */
ZDBCCLIB_API int c__xcheck(const char* name, int count, const int* codes, char* message);

/** @} */

/* ---- Messages and trace ---------------------------------------------------------------------- */

/**
 * @defgroup zdb_messages Messages and trace
 * @{
 */

/**
 * Copies the message of the last failure to `text` [ZDB_TEXT_SIZE]. Returns 1 if there is one, 0 if
 * the text is empty. Does not clear the message.
 */
ZDBCCLIB_API int c__zdbgetlasterror(zdbHandle_t db, char* text);

/**
 * Sets the trace level of the whole process: 0 for no trace, 1 for the name of every function
 * called and the main steps of long operations, 2 and above for smaller steps too. The trace goes
 * to standard output. The database handle is not used and may be null.
 */
ZDBCCLIB_API int c__zdbsetdebug(zdbHandle_t db, int level);

/**
 * Writes a line to the print callback of the data source, or to standard output if there is none.
 */
ZDBCCLIB_API int c__zdbprintlog(zdbHandle_t db, const char* text);

/** @} */

/* ---- Special values -------------------------------------------------------------------------- */

/**
 * @defgroup zdb_special Special values
 *
 * Records can hold values that are not ordinary numbers. The caller may choose which doubles
 * represent them; these are translated on the way in and out. The library's own, which are the
 * default, cost one test per value: 1.0E300 (undefined), the quiet NaN 0x7FF8000000000000 (not
 * available), plus and minus infinity, and the smallest positive subnormal (epsilon). Values are
 * compared bit by bit. All arrays are `values` [ZDB_SV_COUNT] in the order of ZDB_SV_....
 *
 * @{
 */

/**
 * Sets the caller's special values. *state, which may be null, becomes 0 if they are the library's
 * own, 1 if only epsilon differs, 2 if others differ.
 *
 *     double values[ZDB_SV_COUNT];
 *     c__zdbgetspecialvalues(db, values);
 *     values[ZDB_SV_EPSILON] = 0.0;
 *     c__zdbsetspecialvaluesx(db, values, NULL);
 */
ZDBCCLIB_API int c__zdbsetspecialvaluesx(zdbHandle_t db, const double* values, int* state);

/** Sets the caller's special values. */
ZDBCCLIB_API int c__zdbsetspecialvalues(zdbHandle_t db, const double* values);

/** Gets the library's own special values, whatever was set. */
ZDBCCLIB_API int c__zdbgetspecialvalues(zdbHandle_t db, double* values);

/** Gets the special values that were last set, by default the library's own. */
ZDBCCLIB_API int c__zdbgetuserspecialvalues(zdbHandle_t db, double* values);

/** @} */

/* ---- Information and labels ------------------------------------------------------------------ */

/**
 * @defgroup zdb_labels Information and labels
 * @{
 */

/**
 * Gets information about the database: `key` is a ZDB_INFO_..., the answer is written to *integer.
 * All outputs may be null and are cleared first; `real` and `text` get no answer. Fails for an
 * unknown key.
 *
 *     int labels;
 *     c__zdbinfo(db, ZDB_INFO_LABELS, &labels, NULL, NULL);
 */
ZDBCCLIB_API int c__zdbinfo(zdbHandle_t db, int key, int* integer, double* real, char* text);

/**
 * Gets the number of a label, which is added if it is new. Fails for a text that is not a valid
 * label (convention 7), without a message for control characters and null. A text of blanks only
 * has number 0.
 */
ZDBCCLIB_API int c__zdbmergeuel(zdbHandle_t db, const char* label, int* number);

/**
 * Gets the number of a label, or -1 (and returns 1) if there is no such label. Adds nothing; fails
 * like c__zdbmergeuel().
 */
ZDBCCLIB_API int c__zdbfinduel(zdbHandle_t db, const char* label, int* number);

/** Copies the text of label `number`, 1 <= number <= labels, to `label` [ZDB_TEXT_SIZE]. */
ZDBCCLIB_API int c__zdbgetuelbyindex(zdbHandle_t db, int number, char* label);

/**
 * Counts how often each label occurs in the keys of some symbols. `symbols` [count] are symbols of
 * this database; aliases and symbols of dim 0 add nothing, and count may be 0. counters[length] is
 * indexed by label number and set to 0 first; length must be greater than the number of labels.
 * Loads the symbols; its time grows with their records.
 */
ZDBCCLIB_API int c__zdbgetsymbolsuels(zdbHandle_t db, const zdbSymbol_t* symbols, int count,
                                      int* counters, int length);

/** @} */

/* ---- Symbols --------------------------------------------------------------------------------- */

/**
 * @defgroup zdb_symbols Symbols
 * @{
 */

/**
 * Adds an empty symbol whose domains are all the universe. `name`, which must be new, and
 * `explText` are as in convention 7; 0 <= dim <= 20, for a set 1 <= dim; `type` is a ZDB_SET to
 * ZDB_ALIAS, which is not checked. `userInfo` is the caller's for sets and parameters; for
 * variables and equations it is the subtype, a ZDB_VAR_... or ZDB_EQU_..., which determines the
 * bounds of new records (any other number counts as 0); their levels and marginals are 0, their
 * scales 1. For an alias it is the number of the set that it stands for, and an alias of anything
 * else stands for the universe. Freed by zdbfree().
 *
 *     zdbSymbol_t demand;
 *     if (!c__zdbaddsymbol(db, "demand", 1, ZDB_PARAMETER, 0, "cases a day", &demand))
 *       c__zdbgetlasterror(db, message);
 */
ZDBCCLIB_API int c__zdbaddsymbol(zdbHandle_t db, const char* name, int dim, int type, int userInfo,
                                 const char* explText, zdbSymbol_t* symbol);

/** Adds a symbol and returns it. Freed by zdbfree(). */
ZDBCCLIB_API zdbSymbol_t c__zdbaddsymbolpy(zdbHandle_t db, const char* name, int dim, int type,
                                           int userInfo, const char* explText, int* status);

/**
 * Adds a symbol with domains. For position i, domains[i] is the universe or a one-dimensional set
 * or alias of this database; or it is null, and domainNames[i] is a name of at most ZDB_MAX_NAME
 * bytes, which need not be that of a symbol; "*" and " " mean the universe. `domains` may be null
 * if all positions have names, and `domainNames` if none has. Returns 1 even if the symbol cannot
 * be added, unless name, text or an argument is refused: only *symbol shows success. There is no
 * symbol unless 0 <= dim <= 20. Freed by zdbfree().
 *
 *     zdbSymbol_t domains[] = {food, NULL};
 *     const char* names[] = {NULL, "season"};
 *     c__zdbaddsymbolx(db, "cost", 2, ZDB_PARAMETER, 0, "", domains, names, &cost);
 */
ZDBCCLIB_API int c__zdbaddsymbolx(zdbHandle_t db, const char* name, int dim, int type, int userInfo,
                                  const char* explText, const zdbSymbol_t* domains,
                                  const char* const* domainNames, zdbSymbol_t* symbol);

/**
 * Adds a symbol with domains and returns it, or null, which alone tells that it was not added.
 * Freed by zdbfree().
 */
ZDBCCLIB_API zdbSymbol_t c__zdbaddsymbolxpy(zdbHandle_t db, const char* name, int dim, int type,
                                            int userInfo, const char* explText,
                                            const zdbSymbol_t* domains,
                                            const char* const* domainNames, int* status);

/**
 * Finds a symbol by name, without regard to case; "*" is the universe. For an alias, gets the set
 * (or the universe) that it stands for. Freed by zdbfree().
 */
ZDBCCLIB_API int c__zdbfindsymbol(zdbHandle_t db, const char* name, zdbSymbol_t* symbol);

/** Returns the symbol of a name, the set if that is an alias. Freed by zdbfree(). */
ZDBCCLIB_API zdbSymbol_t c__zdbfindsymbolpy(zdbHandle_t db, const char* name, int* status);

/** The same, but for an alias, gets the alias itself. Freed by zdbfree(). */
ZDBCCLIB_API int c__zdbfindsymbolwithalias(zdbHandle_t db, const char* name, zdbSymbol_t* symbol);

/** Returns the symbol or alias of a name. Freed by zdbfree(). */
ZDBCCLIB_API zdbSymbol_t c__zdbfindsymbolwithaliaspy(zdbHandle_t db, const char* name, int* status);

/**
 * Gets the symbol at `index` among those that are not aliases, in the order in which they were
 * added; for -1, the universe. Freed by zdbfree().
 */
ZDBCCLIB_API int c__zdbgetsymbolbyindex(zdbHandle_t db, int index, zdbSymbol_t* symbol);

/** Returns the symbol at an index. Freed by zdbfree(). */
ZDBCCLIB_API zdbSymbol_t c__zdbgetsymbolbyindexpy(zdbHandle_t db, int index, int* status);

/** Gets the symbol with a number (convention 8), which may be an alias. Freed by zdbfree(). */
ZDBCCLIB_API int c__zdbgetsymbolbynumber(zdbHandle_t db, int number, zdbSymbol_t* symbol);

/** Returns the symbol or alias with a number. Freed by zdbfree(). */
ZDBCCLIB_API zdbSymbol_t c__zdbgetsymbolbynumberpy(zdbHandle_t db, int number, int* status);

/**
 * Gets information about a symbol: `key` is a ZDB_SYMBOL_...; the answer is written to *integer or
 * `text` [ZDB_TEXT_SIZE]. All outputs may be null and are cleared first; `real` gets no answer.
 * ZDB_SYMBOL_RECORDS loads the symbol and fails if that fails.
 *
 *     int records;
 *     c__zdbsymbolinfo(db, symbol, ZDB_SYMBOL_RECORDS, &records, NULL, NULL);
 */
ZDBCCLIB_API int c__zdbsymbolinfo(zdbHandle_t db, zdbSymbol_t symbol, int key, int* integer,
                                  double* real, char* text);

/** Gets the number of index positions of a symbol; *dim is -1 on failure. */
ZDBCCLIB_API int c__zdbsymboldim(zdbHandle_t db, zdbSymbol_t symbol, int* dim);

/** Gets the type of a symbol, a ZDB_SET to ZDB_ALIAS; *type is -1 on failure. */
ZDBCCLIB_API int c__zdbsymboltype(zdbHandle_t db, zdbSymbol_t symbol, int* type);

/**
 * Gets the domains of a symbol, for an alias those of its set. For each position, names[i]
 * [ZDB_TEXT_SIZE] becomes the name of the domain, and domains[i] its symbol (if that is an alias,
 * its set), or null if the domain is known by name only. Both arrays have as many entries as the
 * symbol has positions; the argument `dim` is ignored. Nothing is written for a symbol of dim 0;
 * fails for the universe. Freed by zdbfree().
 */
ZDBCCLIB_API int c__zdbgetdomain(zdbHandle_t db, zdbSymbol_t symbol, int dim, zdbSymbol_t* domains,
                                 char* const* names);

/**
 * Sets the user information of a symbol; fails for the universe. Does not change what an alias
 * stands for.
 */
ZDBCCLIB_API int c__zdbsetuserinfo(zdbHandle_t db, zdbSymbol_t symbol, int value);

/**
 * Removes all records of a symbol; those that have not been loaded from its source yet are not
 * loaded any more. Its time grows with the number of records.
 */
ZDBCCLIB_API int c__zdbclearsymbol(zdbHandle_t db, zdbSymbol_t symbol);

/**
 * Replaces the records of `target` by those of `source`, which may belong to another database; `db`
 * is the one that receives the message of a failure. Both have the same dim and type, or the target
 * is a set, which then receives the keys (and, from a set, the element texts). Labels are matched
 * by text and added if they are new. If the source is the universe, all labels are copied; if the
 * target is the universe, labels are added. An alias as the source stands for its set, and cannot
 * be the target. Its time grows with the records of both; a failure leaves what was copied so far.
 */
ZDBCCLIB_API int c__zdbcopysymbol(zdbHandle_t db, zdbSymbol_t target, zdbSymbol_t source);

/**
 * Moves the records of *symbol to another storage (ZDB_STORAGE_...) and replaces the handle in
 * *symbol; the old one and all record handles of the symbol become invalid. Does nothing if the
 * symbol has that storage already. Fails, changing nothing, for an unknown storage. If `symbol` or
 * *symbol is null, sets the storage of symbols that are added later, without checking it: if it is
 * unknown, adding a symbol fails. Its time grows with the number of records. Freed by zdbfree().
 */
ZDBCCLIB_API int c__zdbselectrecordstorage(zdbHandle_t db, zdbSymbol_t* symbol, int storageType);

/**
 * The same with the handle as argument and result. The result is null when the storage of later
 * symbols is set, and on failure, after which the given handle is still valid. Freed by zdbfree().
 */
ZDBCCLIB_API zdbSymbol_t c__zdbselectrecordstoragepy(zdbHandle_t db, zdbSymbol_t symbol,
                                                     int storageType, int* status);

/**
 * Marks each symbol that is added or changed from now on as written (ZDB_SYMBOL_WRITTEN). First
 * removes the marks of all symbols except aliases and symbol number 0. Fails if recording is
 * active already.
 */
ZDBCCLIB_API int c__zdbstartwriterecording(zdbHandle_t db);

/** Stops write recording; the marks remain. Fails if it is not active. */
ZDBCCLIB_API int c__zdbstopwriterecording(zdbHandle_t db);

/** @} */

/* ---- Records: adding, finding, deleting ------------------------------------------------------ */

/**
 * @defgroup zdb_records Records: adding, finding, deleting
 *
 * `symbol` is a symbol of this database; it must not be the universe, except for finding. `record`
 * receives a new handle.
 *
 * @{
 */

/**
 * Adds a record with the default values of the symbol's type and subtype: 0 for sets and
 * parameters, for the others see c__zdbaddsymbol(). keys[dim] are labels, which are added if they
 * are new. Fails if there is a record with this key already, or a text is not a valid label. Freed
 * by c__zdbfreesymboliterator().
 *
 *     const char* keys[] = {"bread", "summer"};
 *     zdbRecord_t record;
 *     if (c__zdbaddrecord(db, cost, keys, &record)) c__zdbfreesymboliterator(db, record);
 */
ZDBCCLIB_API int c__zdbaddrecord(zdbHandle_t db, zdbSymbol_t symbol, const char* const* keys,
                                 zdbRecord_t* record);

/** Adds a record and returns a handle at it. Freed by c__zdbfreesymboliterator(). */
ZDBCCLIB_API zdbRecord_t c__zdbaddrecordpy(zdbHandle_t db, zdbSymbol_t symbol,
                                           const char* const* keys, int* status);

/**
 * Finds the record of a key, or else adds it as above. An existing record keeps its values. Freed
 * by c__zdbfreesymboliterator().
 */
ZDBCCLIB_API int c__zdbmergerecord(zdbHandle_t db, zdbSymbol_t symbol, const char* const* keys,
                                   zdbRecord_t* record);

/** Finds or adds a record and returns a handle at it. Freed by c__zdbfreesymboliterator(). */
ZDBCCLIB_API zdbRecord_t c__zdbmergerecordpy(zdbHandle_t db, zdbSymbol_t symbol,
                                             const char* const* keys, int* status);

/**
 * Adds a record by label numbers keys[dim], the fastest way to fill a symbol. If `haveValues` is
 * true, `values` [1 or 5] are stored, also in an existing record, but not in sets. If not, `values`
 * is not read, a new record gets the default values and an existing one keeps its own. If
 * `checkLabels` is true, unknown label numbers are refused; if not, they are stored, and their text
 * is "?". `record` is written only if `makeHandle` is true, and may be null otherwise. Takes
 * constant time for keys in ascending order. Freed by c__zdbfreesymboliterator().
 */
ZDBCCLIB_API int c__zdbmergerecordint(zdbHandle_t db, zdbSymbol_t symbol, const int* keys,
                                      int checkLabels, int makeHandle, zdbRecord_t* record,
                                      int haveValues, const double* values);

/**
 * The same; without makeHandle the result is null and the status 1. Freed
 * by c__zdbfreesymboliterator().
 */
ZDBCCLIB_API zdbRecord_t c__zdbmergerecordintpy(zdbHandle_t db, zdbSymbol_t symbol, const int* keys,
                                                int checkLabels, int makeHandle, int haveValues,
                                                const double* values, int* status);

/**
 * Finds a record of a set by label numbers, or adds it, and stores its element text, "" for none.
 * The other arguments are those of c__zdbmergerecordint(). Freed by c__zdbfreesymboliterator().
 */
ZDBCCLIB_API int c__zdbmergesetrecordint(zdbHandle_t db, zdbSymbol_t symbol, const int* keys,
                                         int checkLabels, int makeHandle, zdbRecord_t* record,
                                         const char* text);

/**
 * Finds or adds an element, stores its text, and returns a handle at it; without makeHandle, null
 * with the status 1. Freed by c__zdbfreesymboliterator().
 */
ZDBCCLIB_API zdbRecord_t c__zdbmergesetrecordintpy(zdbHandle_t db, zdbSymbol_t symbol,
                                                   const int* keys, int checkLabels, int makeHandle,
                                                   const char* text, int* status);

/**
 * Adds or overwrites a record by label numbers, which are checked: with `values`, or in a set with
 * the element text `text`; the other argument is not read.
 */
ZDBCCLIB_API int c__zdbaddrecordraw(zdbHandle_t db, zdbSymbol_t symbol, const int* keys,
                                    const double* values, const char* text);

/**
 * Finds the record of a key; in the universe, the label. Adds nothing. The message
 * of a failure says which label is unknown, or that there is no such record. Freed
 * by c__zdbfreesymboliterator().
 *
 *     const char* keys[] = {"bread", "summer"};
 *     if (c__zdbfindrecord(db, cost, keys, &record)) {
 *       c__zdbgetlevel(db, record, &level);
 *       c__zdbfreesymboliterator(db, record);
 *     }
 */
ZDBCCLIB_API int c__zdbfindrecord(zdbHandle_t db, zdbSymbol_t symbol, const char* const* keys,
                                  zdbRecord_t* record);

/** Returns a handle at the record of a key, or at a label. Freed by c__zdbfreesymboliterator(). */
ZDBCCLIB_API zdbRecord_t c__zdbfindrecordpy(zdbHandle_t db, zdbSymbol_t symbol,
                                            const char* const* keys, int* status);

/**
 * Deletes the record at a handle, which must still be freed. Other handles at the same record
 * become invalid and can only be freed. Fails for the universe.
 */
ZDBCCLIB_API int c__zdbdeleterecord(zdbHandle_t db, zdbRecord_t record);

/** Frees a record handle. Fails for null only. */
ZDBCCLIB_API int c__zdbfreesymboliterator(zdbHandle_t db, zdbRecord_t record);

/** Copies a handle with its position and slice. Freed by c__zdbfreesymboliterator(). */
ZDBCCLIB_API int c__zdbcopysymboliterator(zdbHandle_t db, zdbRecord_t source, zdbRecord_t* record);

/** Returns a copy of a handle. Freed by c__zdbfreesymboliterator(). */
ZDBCCLIB_API zdbRecord_t c__zdbcopysymboliteratorpy(zdbHandle_t db, zdbRecord_t source,
                                                    int* status);

/** @} */

/* ---- Records: keys, texts, values ------------------------------------------------------------ */

/**
 * @defgroup zdb_values Records: keys, texts, values
 *
 * `record` is a handle at a record or, where the description says so, at a label of the universe.
 *
 * @{
 */

/**
 * Copies the label numbers of the key, at most `dim` of them, to `keys`, and the values [1 or 5] to
 * `values`. On the universe the key is the label's number, and no values are written.
 */
ZDBCCLIB_API int c__zdbgetrecordraw(zdbHandle_t db, zdbRecord_t record, int dim, int* keys,
                                    double* values);

/**
 * Copies the labels of the key, at most `dim` of them, to the buffers keys[i] [ZDB_TEXT_SIZE]. On
 * the universe the key is the label.
 *
 *     char text[2][ZDB_TEXT_SIZE];
 *     char* keys[] = {text[0], text[1]};
 *     c__zdbgetkeys(db, record, 2, keys);
 */
ZDBCCLIB_API int c__zdbgetkeys(zdbHandle_t db, zdbRecord_t record, int dim, char* const* keys);

/**
 * Copies one label of the key; 0 <= position < dim. On the universe, position 0 is the label.
 */
ZDBCCLIB_API int c__zdbgetkey(zdbHandle_t db, zdbRecord_t record, int position, char* key);

/**
 * Copies the element text of a set record to `text` [ZDB_TEXT_SIZE], empty if it has none. Fails on
 * the universe.
 */
ZDBCCLIB_API int c__zdbgetelemtext(zdbHandle_t db, zdbRecord_t record, char* text);

/** Sets the element text of a set record, "" for none. Fails on the universe. */
ZDBCCLIB_API int c__zdbsetelemtext(zdbHandle_t db, zdbRecord_t record, const char* text);

/** Gets the level; of an element of a set, the number of its text. Fails on the universe. */
ZDBCCLIB_API int c__zdbgetlevel(zdbHandle_t db, zdbRecord_t record, double* value);

/** Gets the marginal of a record of a variable or equation; others have none. */
ZDBCCLIB_API int c__zdbgetmarginal(zdbHandle_t db, zdbRecord_t record, double* value);

/** Gets the lower bound, likewise. */
ZDBCCLIB_API int c__zdbgetlower(zdbHandle_t db, zdbRecord_t record, double* value);

/** Gets the upper bound, likewise. */
ZDBCCLIB_API int c__zdbgetupper(zdbHandle_t db, zdbRecord_t record, double* value);

/** Gets the scale, likewise. */
ZDBCCLIB_API int c__zdbgetscale(zdbHandle_t db, zdbRecord_t record, double* value);

/** Sets the level. Fails on the universe. */
ZDBCCLIB_API int c__zdbsetlevel(zdbHandle_t db, zdbRecord_t record, double value);

/** Sets the marginal of a record of a variable or equation; others have none. */
ZDBCCLIB_API int c__zdbsetmarginal(zdbHandle_t db, zdbRecord_t record, double value);

/** Sets the lower bound, likewise. That it is below the upper one is not checked. */
ZDBCCLIB_API int c__zdbsetlower(zdbHandle_t db, zdbRecord_t record, double value);

/** Sets the upper bound, likewise. */
ZDBCCLIB_API int c__zdbsetupper(zdbHandle_t db, zdbRecord_t record, double value);

/** Sets the scale, likewise. */
ZDBCCLIB_API int c__zdbsetscale(zdbHandle_t db, zdbRecord_t record, double value);

/** @} */

/* ---- Walking records ------------------------------------------------------------------------- */

/**
 * @defgroup zdb_walks Walking records
 * @{
 */

/**
 * Makes a handle at the first record of a symbol, on the universe at the first label.
 * Fails if there is none. Freed by c__zdbfreesymboliterator().
 *
 *     if (c__zdbfindfirstrecord(db, symbol, &record)) {
 *       do {
 *         c__zdbgetlevel(db, record, &level);
 *         sum += level;
 *       } while (c__zdbrecordmovenext(db, record));
 *       c__zdbfreesymboliterator(db, record);
 *     }
 */
ZDBCCLIB_API int c__zdbfindfirstrecord(zdbHandle_t db, zdbSymbol_t symbol, zdbRecord_t* record);

/** Returns a handle at the first record, or label. Freed by c__zdbfreesymboliterator(). */
ZDBCCLIB_API zdbRecord_t c__zdbfindfirstrecordpy(zdbHandle_t db, zdbSymbol_t symbol, int* status);

/**
 * Makes a handle at the last record, from which c__zdbrecordmoveprev() walks back. Freed by
 * c__zdbfreesymboliterator().
 */
ZDBCCLIB_API int c__zdbfindlastrecord(zdbHandle_t db, zdbSymbol_t symbol, zdbRecord_t* record);

/** Returns a handle at the last record, or label. Freed by c__zdbfreesymboliterator(). */
ZDBCCLIB_API zdbRecord_t c__zdbfindlastrecordpy(zdbHandle_t db, zdbSymbol_t symbol, int* status);

/**
 * Makes a handle at the first record of a slice; the handle walks this slice only. A slice is the
 * records that have the labels keys[dim], where ZDB_ANY_LABEL (one blank) stands for any label.
 * Fails if there is no such record, or a label is unknown. Its time grows with the records that
 * share the labels before the first of these. Freed by c__zdbfreesymboliterator().
 *
 *     const char* summer[] = {ZDB_ANY_LABEL, "summer"};
 *     c__zdbfindfirstrecordslice(db, cost, summer, &record);
 */
ZDBCCLIB_API int c__zdbfindfirstrecordslice(zdbHandle_t db, zdbSymbol_t symbol,
                                            const char* const* keys, zdbRecord_t* record);

/** Returns a handle at the first record of a slice. Freed by c__zdbfreesymboliterator(). */
ZDBCCLIB_API zdbRecord_t c__zdbfindfirstrecordslicepy(zdbHandle_t db, zdbSymbol_t symbol,
                                                      const char* const* keys, int* status);

/**
 * Makes a handle at the last record of a slice, which walks this slice only. Freed by
 * c__zdbfreesymboliterator().
 */
ZDBCCLIB_API int c__zdbfindlastrecordslice(zdbHandle_t db, zdbSymbol_t symbol,
                                           const char* const* keys, zdbRecord_t* record);

/** Returns a handle at the last record of a slice. Freed by c__zdbfreesymboliterator(). */
ZDBCCLIB_API zdbRecord_t c__zdbfindlastrecordslicepy(zdbHandle_t db, zdbSymbol_t symbol,
                                                     const char* const* keys, int* status);

/**
 * Moves a handle to the next record of its walk. At the end of the walk the handle does
 * not move, and the function fails with a message that says so.
 */
ZDBCCLIB_API int c__zdbrecordmovenext(zdbHandle_t db, zdbRecord_t record);

/** Moves a handle to the previous record of its walk, or fails at the first one. */
ZDBCCLIB_API int c__zdbrecordmoveprev(zdbHandle_t db, zdbRecord_t record);

/**
 * Returns whether a move to the next record would succeed, 1 or 0, without moving; for a null
 * handle, 0 with a message.
 */
ZDBCCLIB_API int c__zdbrecordhasnext(zdbHandle_t db, zdbRecord_t record);

/** Returns whether a move back would succeed, in the same way. */
ZDBCCLIB_API int c__zdbrecordhasprev(zdbHandle_t db, zdbRecord_t record);

/**
 * Returns whether two handles are at the same record, 1 or 0. Different records with equal values
 * are not the same.
 */
ZDBCCLIB_API int c__zdbsamerecord(zdbHandle_t db, zdbRecord_t first, zdbRecord_t second);

/** @} */

/* ---- Data exchange files and other sources --------------------------------------------------- */

/**
 * @defgroup zdb_sources Data exchange files and other sources
 *
 * A database can be filled from one source, before any symbol is added.
 *
 * @{
 */

/**
 * Opens a data exchange file: reads its texts, labels and symbols, and leaves the records in the
 * file until they are needed. Fails if the file cannot be read, if the name of a domain in it has
 * more than ZDB_MAX_NAME bytes, or if the database has a source or symbols already. A null file
 * name is reported as an unexpected exception.
 *
 *     if (!c__zdbinitfromzxf(db, "diet.zxf")) c__zdbgetlasterror(db, message);
 */
ZDBCCLIB_API int c__zdbinitfromzxf(zdbHandle_t db, const char* fileName);

/**
 * Closes the file. If `loadRemain` is true, first loads all symbols that have not been loaded yet;
 * if not, these have no records any more: calls that need them fail until the symbol is cleared or
 * copied into, and writing the database leaves them out. Fails, leaving the file open, if a symbol
 * cannot be loaded.
 */
ZDBCCLIB_API int c__zdbclosezxf(zdbHandle_t db, int loadRemain);

/**
 * Writes labels, symbols, records and texts to a new data exchange file; records that were never
 * loaded are copied from the open source. Unless `noDomainCheck` is true, records are checked
 * against domains that are symbols: a record outside its domain is left out of the file and makes
 * the call fail, but the file is still written. A domain whose set comes later in the file is
 * written by name. Writing over the file that the database was opened from loads and closes that
 * file first. If the records of a symbol cannot be loaded, the call fails and an existing file is
 * left unchanged. A null file name is reported as an unexpected exception. Its time grows with all
 * that is written.
 */
ZDBCCLIB_API int c__zdbwritezxf(zdbHandle_t db, const char* fileName, int noDomainCheck);

/**
 * Fills an empty database with a copy of another one: labels and element texts with the same
 * numbers, symbols, domains and records. Symbols that the source has not loaded yet are loaded
 * there first. The copy is independent of the source. Fails if this database has labels or symbols
 * or was filled before. Its time grows with the number of records.
 */
ZDBCCLIB_API int c__zdbinitfromdb(zdbHandle_t db, zdbHandle_t source);

/**
 * Makes callbacks the data source: symbols that the caller adds from now on are loaded through them
 * on first use, in the order find, start, read..., done. Special values in their data are 1.0E300
 * to 5.0E300, in the order of ZDB_SV_UNDEFINED to ZDB_SV_EPSILON. Symbols that exist already lose
 * their records and are loaded in the same way. Callbacks may be null: without `print`,
 * c__zdbprintlog() writes to standard output; a load that needs another one that is null fails with
 * the message of that step. Callbacks and `user` must be valid as long as the database. Keys are
 * label numbers of this database, which are not checked.
 *
 * Callbacks may use this database, too, but not free it. Until they have delivered a symbol, it
 * cannot be read, written, renamed, cleared or copied into, and the database refuses to remove any
 * symbol or move it to another storage, to solve a model and to take another source.
 */
ZDBCCLIB_API int c__zdbinitfromdmrf(zdbHandle_t db, zdbFindSymbolCallback_t findSymbol,
                                    zdbReadStartCallback_t readStart,
                                    zdbReadRecordCallback_t readRecord,
                                    zdbReadDoneCallback_t readDone, zdbElemTextCallback_t elemText,
                                    zdbPrintCallback_t print, void* user);

/** @} */

/* ---- Domain violations ----------------------------------------------------------------------- */

/**
 * @defgroup zdb_violations Domain violations
 *
 * A record violates a domain if its label at some position is not in the set that is the domain of
 * that position. Positions whose domain is the universe or known by name only are not checked; for
 * an alias, its set is checked. A handle is at one violating record; it is spent once a walk finds
 * no more. A walk cannot continue if the record at its handle is deleted. Its time grows with the
 * records of the symbols and their domains.
 *
 *     zdbDV_t violation;
 *     int found = c__zdbgetfirstdbdv(db, &violation) && violation != NULL;
 *     while (found) {
 *       ...
 *       c__zdbmovenextdvinsymbol(db, violation, &found);
 *       if (!found) c__zdbgetfirstdvinnextsymbol(db, violation, &found);
 *     }
 *     if (violation != NULL) c__zdbfreedvhandle(db, violation);
 *     c__zdbdomaincheckdone(db);
 *
 * @{
 */

/** Sets *hasViolation to 1 if any record of the database violates a domain, else to 0. */
ZDBCCLIB_API int c__zdbcheckdbdv(zdbHandle_t db, int* hasViolation);

/** Sets *hasViolation to 1 if a record of the symbol violates a domain, else to 0. */
ZDBCCLIB_API int c__zdbchecksymboldv(zdbHandle_t db, zdbSymbol_t symbol, int* hasViolation);

/**
 * Makes a handle at the first violating record of the database, null if there is none. The
 * sets are read once; later changes to them are not seen until c__zdbdomaincheckdone(). Freed
 * by c__zdbfreedvhandle().
 */
ZDBCCLIB_API int c__zdbgetfirstdbdv(zdbHandle_t db, zdbDV_t* violation);

/**
 * Returns a handle at the first violating record of the database. Freed by c__zdbfreedvhandle().
 */
ZDBCCLIB_API zdbDV_t c__zdbgetfirstdbdvpy(zdbHandle_t db, int* status);

/**
 * Makes a handle at the first violating record of a symbol, null if there is none. Freed
 * by c__zdbfreedvhandle().
 */
ZDBCCLIB_API int c__zdbgetfirstdvinsymbol(zdbHandle_t db, zdbSymbol_t symbol, zdbDV_t* violation);

/** Returns a handle at the first violating record of a symbol. Freed by c__zdbfreedvhandle(). */
ZDBCCLIB_API zdbDV_t c__zdbgetfirstdvinsymbolpy(zdbHandle_t db, zdbSymbol_t symbol, int* status);

/** Moves to the first violating record of a later symbol; *found is 0 if there is none. */
ZDBCCLIB_API int c__zdbgetfirstdvinnextsymbol(zdbHandle_t db, zdbDV_t violation, int* found);

/** Moves to the next violating record of the symbol; *found is 0 if there is none. */
ZDBCCLIB_API int c__zdbmovenextdvinsymbol(zdbHandle_t db, zdbDV_t violation, int* found);

/** Ends a check of the whole database and frees its memory. */
ZDBCCLIB_API int c__zdbdomaincheckdone(zdbHandle_t db);

/** Frees a domain violation handle. */
ZDBCCLIB_API int c__zdbfreedvhandle(zdbHandle_t db, zdbDV_t violation);

/** Gets the symbol of a violating record. Fails for a spent handle. Freed by zdbfree(). */
ZDBCCLIB_API int c__zdbgetdvsymbol(zdbHandle_t db, zdbDV_t violation, zdbSymbol_t* symbol);

/** Returns the symbol of a violating record. Freed by zdbfree(). */
ZDBCCLIB_API zdbSymbol_t c__zdbgetdvsymbolpy(zdbHandle_t db, zdbDV_t violation, int* status);

/** Makes a record handle at the violating record. Freed by c__zdbfreesymboliterator(). */
ZDBCCLIB_API int c__zdbgetdvsymbolrecord(zdbHandle_t db, zdbDV_t violation, zdbRecord_t* record);

/** Returns a record handle at the violating record. Freed by c__zdbfreesymboliterator(). */
ZDBCCLIB_API zdbRecord_t c__zdbgetdvsymbolrecordpy(zdbHandle_t db, zdbDV_t violation, int* status);

/** Sets indicator[dim] to 1 at each position that violates its domain, to 0 elsewhere. */
ZDBCCLIB_API int c__zdbgetdvindicator(zdbHandle_t db, zdbDV_t violation, int* indicator);

/** @} */

/* ---- Model instances ------------------------------------------------------------------------- */

/**
 * @defgroup zdb_models Model instances
 *
 * A database can be tied to a model instance of the companion library `zmi`; it then changes the
 * data of the instance and has it solved again, in place if the solver can do that. `model` is the
 * handle of the instance; instance, dictionary and environment belong to the caller and must
 * outlive the database. The companion libraries are loaded from the directory that the database was
 * created with, see zdbcreated().
 *
 * A parameter p is updatable if the model has a variable p_var in its place, fixed at the values of
 * p. Keys are matched by their labels, whatever their numbers in the model.
 *
 *     zdbSymbol_t price, cost;
 *     int noMatch;
 *     if (!c__zdbinitfromdict(db, model) || !c__zdbinitupdate(db, model)) ...
 *     c__zdbaddsymbol(db, "price", 1, ZDB_PARAMETER, 0, "", &price);
 *     ... records of price ...
 *     if (!c__zdbupdatemodelsymbol(db, price, ZDB_UPDATE_FIX, price, ZDB_MISSING_BASE, &noMatch) ||
 *         !c__zdbcallsolver(db, "clp")) ...
 *     c__zdbfindsymbol(db, "cost", &cost);   records are the solution
 *
 * @{
 */

/** What c__zdbupdatemodelsymbol() sets. The first four are for variables and parameters only. */
enum {
  ZDB_UPDATE_FIX = 0,     /**< level and both bounds; base: the level at c__zdbinitupdate() */
  ZDB_UPDATE_UPPER = 1,   /**< upper bound, and a level above it; base: the model's own bound */
  ZDB_UPDATE_LOWER = 2,   /**< lower bound, and a level below it; base: likewise */
  ZDB_UPDATE_BOUNDS = 3,  /**< the upper, then the lower bound */
  ZDB_UPDATE_LEVEL = 4,   /**< level only; base: the level at c__zdbinitupdate() */
  ZDB_UPDATE_MARGINAL = 5 /**< marginal only; base: the marginal at c__zdbinitupdate() */
};

/** What entries of the model without a record in the data get. */
enum { ZDB_MISSING_ZERO = 0, ZDB_MISSING_BASE = 1, ZDB_MISSING_KEEP = 2 };

/**
 * Ties the database to a model instance and its dictionary, and makes the instance report infinite
 * bounds as infinities. Replaces an instance that was registered before and forgets its
 * preparation, base values and solver, even if it is the same one: c__zdbinitupdate() must follow.
 * Fails if a companion cannot be loaded or the instance has no dictionary; without a dictionary it
 * is registered, but cannot be used.
 */
ZDBCCLIB_API int c__zdbregisterzmi(zdbHandle_t db, void* model);

/**
 * Registers the instance and copies its labels, with the model's numbers, and its variables and
 * equations, whose domains are the universe. Their records are loaded on first use after
 * c__zdbinitupdate(); if used earlier, they fail and remain empty until the next solve. Fails if
 * the database has labels or a source. It may have symbols: its variables and equations must be in
 * the model, and no other symbol may have the name of one of the model's. After a failure, the
 * labels and symbols copied so far remain.
 */
ZDBCCLIB_API int c__zdbinitfromdict(zdbHandle_t db, void* model);

/**
 * Prepares the registered instance for updates and solves: reads the solver configuration, saves
 * levels and marginals as base values and fixes all variables whose names end in "_var" at their
 * levels. Registers the instance if none is registered; adds labels that the database does not
 * have. From then on symbols are loaded from the instance. Fails if a data exchange file is open,
 * or another instance is registered. A failure after the solver libraries have started to load
 * leaves the instance as the source of symbols, and the call can be repeated. Once the instance is
 * prepared, further calls do nothing and succeed.
 */
ZDBCCLIB_API int c__zdbinitupdate(zdbHandle_t db, void* model);

/**
 * Writes the values of a parameter, `dataSymbol`, to the entries of a symbol of the model: the
 * variable or equation with the name of `modelSymbol`, or p_var for a parameter p. `action` is a
 * ZDB_UPDATE_..., `updateType` a ZDB_MISSING_... (any other number counts as ZDB_MISSING_BASE).
 * *noMatch becomes the number of records without an entry: all of them if the model does not have
 * the symbol, which is not a failure.
 *
 * The instance keeps bounds that are set here as alternatives to its own. Solves use them if the
 * last update was for a parameter or a variable; after one for an equation, only if they were
 * switched on before.
 *
 * Base values are those that c__zdbinitupdate() has saved; an entry that needs one before that
 * fails. Fails for undefined, not available and finite values of 1.0E300 or more; for an unknown
 * action and bounds of equations; for data with another number of index positions than the model's
 * symbol. Entries before the failing one stay changed. Epsilon counts as 0. Its time grows with the
 * symbol's entries and the data's records.
 */
ZDBCCLIB_API int c__zdbupdatemodelsymbol(zdbHandle_t db, zdbSymbol_t modelSymbol, int action,
                                         zdbSymbol_t dataSymbol, int updateType, int* noMatch);

/**
 * Solves the prepared instance with a solver that is named in the configuration. A solver that can
 * change a problem keeps it, and the next call is a hot start; if the solver refuses a change, or
 * cannot change problems at all, the current instance is solved from scratch. For model types 1 to
 * 3 the linear form is solved, with updated coefficients and constant terms.
 *
 * Success means that the solver has run, whatever it found: a model that is infeasible, unbounded
 * or stopped early is not a failure; the instance's model and solve status show it. All variables
 * and equations of the model then lose their records, and their record handles become invalid; each
 * is loaded from the instance when it is next used, with the values that the solver left there.
 *
 * A failure (the solver is unknown or cannot be made or run) leaves labels, symbols and records as
 * they were, and the instance with its own right-hand sides and view, though its levels may be the
 * solver's. The call can be repeated: a solver that could not be made then solves from scratch, one
 * that failed to run continues.
 */
ZDBCCLIB_API int c__zdbcallsolver(zdbHandle_t db, const char* solver);

/**
 * The same; also sets *seconds to 0 after the solver has run: time is not measured. `seconds` may
 * be null.
 */
ZDBCCLIB_API int c__zdbcallsolvertimed(zdbHandle_t db, const char* solver, double* seconds);

/** @} */

/* ---- Dense arrays ---------------------------------------------------------------------------- */

/**
 * @defgroup zdb_dense Dense arrays
 *
 * Copies between symbols and arrays of doubles in row-major order: the last position varies
 * fastest. A label's index along a dimension is its rank, from 0 and in key order, among the
 * records of the set that is the domain; for the universe, a null handle and a domain known by name
 * only, it is the label number - 1. `dims` has the length of each dimension, which is checked; for
 * a scalar, an array of one cell, it may be null, as may `domains`, `squeezed` and `slices`.
 * `field` is ZDB_LEVEL to ZDB_SCALE; sets and parameters have ZDB_LEVEL only. Cells without a
 * record become 0, records of sets 1. The caller's special values are used. For an alias, its set
 * is used, wherever it is given.
 *
 * These are refused: the universe as the symbol, sets of another database, domains that are not
 * one-dimensional sets, and arrays that are larger than the address space. A failure leaves the
 * symbol as it was and the contents of the array unspecified. Its time grows with cells and
 * records.
 *
 *     double cost[2 * 3];
 *     const int dims[] = {2, 3};
 *     c__zdbdensesymboltodensearray(db, cost, dims, symbol, ZDB_LEVEL);
 *
 * @{
 */

/** Copies a symbol over its own domains. Fails if a record is outside them; the message names it.
 */
ZDBCCLIB_API int c__zdbdensesymboltodensearray(zdbHandle_t db, double* array, const int* dims,
                                               zdbSymbol_t symbol, int field);

/**
 * Copies a symbol over sets that the caller chooses, domains[dim]. Records outside them are left
 * out and counted in *dropped.
 */
ZDBCCLIB_API int c__zdbsparsesymboltodensearray(zdbHandle_t db, double* array, const int* dims,
                                                zdbSymbol_t symbol, const zdbSymbol_t* domains,
                                                int field, int* dropped);

/**
 * The same over only those labels of the domains that occur: each of squeezed[dim], distinct
 * one-dimensional sets that this call does not use otherwise, receives the labels that occur at its
 * position, in the order of the domain. Labels of records that are left out, because another
 * position is outside its domain, do not count. If the array is null, only these sets are filled,
 * and `dims` receives their sizes; if not, `dims` is checked as elsewhere.
 */
ZDBCCLIB_API int c__zdbsparsesymboltosqzdarray(zdbHandle_t db, double* array, int* dims,
                                               zdbSymbol_t symbol, const zdbSymbol_t* domains,
                                               const zdbSymbol_t* squeezed, int field,
                                               int* dropped);

/**
 * Replaces the symbol's records by the nonzero cells of the array, over domains[dim]. The cell is
 * the level; the other fields of variables and equations get their defaults, and the records of a
 * set have no text.
 */
ZDBCCLIB_API int c__zdbdensearraytosymbol(zdbHandle_t db, const double* array,
                                          const zdbSymbol_t* domains, zdbSymbol_t symbol,
                                          const int* dims);

/**
 * The same for a slice of the symbol: slices[dim] is a one-dimensional set with one record where
 * a position is fixed, null where it is free. Only the records of the slice are replaced, one after
 * the other, so that the time does not depend on the others: if memory runs out, some are the old
 * ones. `dims` has an entry for each free position, and may be null if there is none; `domains` has
 * one for every position.
 */
ZDBCCLIB_API int c__zdbdensearrayslicestosymbol(zdbHandle_t db, const double* array,
                                                const zdbSymbol_t* domains,
                                                const zdbSymbol_t* slices, zdbSymbol_t symbol,
                                                const int* dims);

/** @} */

/* ---- The same functions for clients with short strings --------------------------------------- */

/**
 * @defgroup zdb_short The same functions for clients with short strings
 *
 * A short string is a length byte (0 to 255) followed by the characters, without terminator, in a
 * buffer of 256 bytes; text outputs write one even if the function fails. An array of texts is a
 * matrix of 20 rows of 256 bytes, one short string each. Only as many rows are read or written as
 * the symbol has positions (records), or as the argument `dim` says (domain names, d__zdbgetkeys,
 * d__zdbgetdomain). `message` of d__zdbcreated is a C string. Everything else is as in the c__
 * form, including which function frees a handle.
 *
 * @{
 */

/** xcreated() with the directory as a short string. */
ZDBCCLIB_API void d__xcreated(zdbHandle_t* db, const char* directory);

/** zdbxcreated(), likewise. */
ZDBCCLIB_API void d__zdbxcreated(zdbHandle_t* db, const char* directory);

/** zdbcreated(), likewise; `message` is a C string. */
ZDBCCLIB_API int d__zdbcreated(zdbHandle_t* db, const char* directory, char* message,
                               int messageSize);

/** c__xapiversion() that writes a short string. */
ZDBCCLIB_API int d__xapiversion(int apiVersion, char* message, int* status);

/** d__xapiversion() under a name with the library's prefix. */
ZDBCCLIB_API int d__zdbxapiversion(int apiVersion, char* message, int* status);

/** c__xcheck() with name and message as short strings. */
ZDBCCLIB_API int d__xcheck(const char* name, int count, const int* codes, char* message);

/** d__xcheck() under a name with the library's prefix. */
ZDBCCLIB_API int d__zdbxcheck(const char* name, int count, const int* codes, char* message);

/** c__zdbinitfromzxf() with a file name of at most 255 bytes. */
ZDBCCLIB_API int d__zdbinitfromzxf(zdbHandle_t db, const char* fileName);

/** c__zdbwritezxf(), likewise. */
ZDBCCLIB_API int d__zdbwritezxf(zdbHandle_t db, const char* fileName, int noDomainCheck);

/** c__zdbgetlasterror() that writes a short string. */
ZDBCCLIB_API int d__zdbgetlasterror(zdbHandle_t db, char* text);

/** c__zdbprintlog() with a line of at most 255 bytes. */
ZDBCCLIB_API int d__zdbprintlog(zdbHandle_t db, const char* text);

/** c__zdbinfo(); `text` becomes an empty short string. */
ZDBCCLIB_API int d__zdbinfo(zdbHandle_t db, int key, int* integer, double* real, char* text);

/** c__zdbmergeuel() with the label as a short string. */
ZDBCCLIB_API int d__zdbmergeuel(zdbHandle_t db, const char* label, int* number);

/** c__zdbfinduel(), likewise. */
ZDBCCLIB_API int d__zdbfinduel(zdbHandle_t db, const char* label, int* number);

/** c__zdbgetuelbyindex() that writes a short string. */
ZDBCCLIB_API int d__zdbgetuelbyindex(zdbHandle_t db, int number, char* label);

/** c__zdbaddsymbol() with name and text as short strings. */
ZDBCCLIB_API int d__zdbaddsymbol(zdbHandle_t db, const char* name, int dim, int type, int userInfo,
                                 const char* explText, zdbSymbol_t* symbol);

/** c__zdbaddsymbolpy(), likewise. */
ZDBCCLIB_API zdbSymbol_t d__zdbaddsymbolpy(zdbHandle_t db, const char* name, int dim, int type,
                                           int userInfo, const char* explText, int* status);

/** c__zdbaddsymbolx() with a matrix of the names of domains. */
ZDBCCLIB_API int d__zdbaddsymbolx(zdbHandle_t db, const char* name, int dim, int type, int userInfo,
                                  const char* explText, const zdbSymbol_t* domains,
                                  const char* domainNames, zdbSymbol_t* symbol);

/** c__zdbaddsymbolxpy(), likewise. */
ZDBCCLIB_API zdbSymbol_t d__zdbaddsymbolxpy(zdbHandle_t db, const char* name, int dim, int type,
                                            int userInfo, const char* explText,
                                            const zdbSymbol_t* domains, const char* domainNames,
                                            int* status);

/** c__zdbfindsymbol() with the name as a short string. */
ZDBCCLIB_API int d__zdbfindsymbol(zdbHandle_t db, const char* name, zdbSymbol_t* symbol);

/** c__zdbfindsymbolpy(), likewise. */
ZDBCCLIB_API zdbSymbol_t d__zdbfindsymbolpy(zdbHandle_t db, const char* name, int* status);

/** c__zdbfindsymbolwithalias(), likewise. */
ZDBCCLIB_API int d__zdbfindsymbolwithalias(zdbHandle_t db, const char* name, zdbSymbol_t* symbol);

/** c__zdbfindsymbolwithaliaspy(), likewise. */
ZDBCCLIB_API zdbSymbol_t d__zdbfindsymbolwithaliaspy(zdbHandle_t db, const char* name, int* status);

/** c__zdbsymbolinfo() that writes a short string. */
ZDBCCLIB_API int d__zdbsymbolinfo(zdbHandle_t db, zdbSymbol_t symbol, int key, int* integer,
                                  double* real, char* text);

/** c__zdbgetdomain() that writes the names to a matrix, `dim` rows of it. */
ZDBCCLIB_API int d__zdbgetdomain(zdbHandle_t db, zdbSymbol_t symbol, int dim, zdbSymbol_t* domains,
                                 char* names);

/** c__zdbaddrecord() with a matrix of the labels. */
ZDBCCLIB_API int d__zdbaddrecord(zdbHandle_t db, zdbSymbol_t symbol, const char* keys,
                                 zdbRecord_t* record);

/** c__zdbaddrecordpy(), likewise. */
ZDBCCLIB_API zdbRecord_t d__zdbaddrecordpy(zdbHandle_t db, zdbSymbol_t symbol, const char* keys,
                                           int* status);

/** c__zdbmergerecord(), likewise. */
ZDBCCLIB_API int d__zdbmergerecord(zdbHandle_t db, zdbSymbol_t symbol, const char* keys,
                                   zdbRecord_t* record);

/** c__zdbmergerecordpy(), likewise. */
ZDBCCLIB_API zdbRecord_t d__zdbmergerecordpy(zdbHandle_t db, zdbSymbol_t symbol, const char* keys,
                                             int* status);

/** c__zdbmergesetrecordint() with the text as a short string. */
ZDBCCLIB_API int d__zdbmergesetrecordint(zdbHandle_t db, zdbSymbol_t symbol, const int* keys,
                                         int checkLabels, int makeHandle, zdbRecord_t* record,
                                         const char* text);

/** c__zdbmergesetrecordintpy(), likewise. */
ZDBCCLIB_API zdbRecord_t d__zdbmergesetrecordintpy(zdbHandle_t db, zdbSymbol_t symbol,
                                                   const int* keys, int checkLabels, int makeHandle,
                                                   const char* text, int* status);

/** c__zdbaddrecordraw(), likewise. */
ZDBCCLIB_API int d__zdbaddrecordraw(zdbHandle_t db, zdbSymbol_t symbol, const int* keys,
                                    const double* values, const char* text);

/** c__zdbfindrecord() with a matrix of the labels. */
ZDBCCLIB_API int d__zdbfindrecord(zdbHandle_t db, zdbSymbol_t symbol, const char* keys,
                                  zdbRecord_t* record);

/** c__zdbfindrecordpy(), likewise. */
ZDBCCLIB_API zdbRecord_t d__zdbfindrecordpy(zdbHandle_t db, zdbSymbol_t symbol, const char* keys,
                                            int* status);

/** c__zdbfindfirstrecordslice() with a matrix, in which a blank stands for any label. */
ZDBCCLIB_API int d__zdbfindfirstrecordslice(zdbHandle_t db, zdbSymbol_t symbol, const char* keys,
                                            zdbRecord_t* record);

/** c__zdbfindfirstrecordslicepy(), likewise. */
ZDBCCLIB_API zdbRecord_t d__zdbfindfirstrecordslicepy(zdbHandle_t db, zdbSymbol_t symbol,
                                                      const char* keys, int* status);

/** c__zdbfindlastrecordslice(), likewise. */
ZDBCCLIB_API int d__zdbfindlastrecordslice(zdbHandle_t db, zdbSymbol_t symbol, const char* keys,
                                           zdbRecord_t* record);

/** c__zdbfindlastrecordslicepy(), likewise. */
ZDBCCLIB_API zdbRecord_t d__zdbfindlastrecordslicepy(zdbHandle_t db, zdbSymbol_t symbol,
                                                     const char* keys, int* status);

/** c__zdbgetkeys() that writes the labels to a matrix, `dim` rows of it. */
ZDBCCLIB_API int d__zdbgetkeys(zdbHandle_t db, zdbRecord_t record, int dim, char* keys);

/** c__zdbgetkey() that writes a short string. */
ZDBCCLIB_API int d__zdbgetkey(zdbHandle_t db, zdbRecord_t record, int position, char* key);

/** c__zdbgetelemtext() that writes a short string. */
ZDBCCLIB_API int d__zdbgetelemtext(zdbHandle_t db, zdbRecord_t record, char* text);

/** c__zdbsetelemtext() with the text as a short string. */
ZDBCCLIB_API int d__zdbsetelemtext(zdbHandle_t db, zdbRecord_t record, const char* text);

/** c__zdbcallsolver() with the solver's name as a short string. */
ZDBCCLIB_API int d__zdbcallsolver(zdbHandle_t db, const char* solver);

/** c__zdbcallsolvertimed(), likewise. */
ZDBCCLIB_API int d__zdbcallsolvertimed(zdbHandle_t db, const char* solver, double* seconds);

/** @} */

/* ---- The same functions for clients with flat matrices --------------------------------------- */

/**
 * @defgroup zdb_flat The same functions for clients with flat matrices
 *
 * Texts are written to a matrix of 20 rows of 256 bytes, one C string each. Everything else is as
 * in the c__ form.
 *
 * @{
 */

/** c__zdbgetkeys() that writes the labels to a matrix. */
ZDBCCLIB_API int n__zdbgetkeys(zdbHandle_t db, zdbRecord_t record, int dim, char* keys);

/** c__zdbgetdomain() that writes the names of the domains to a matrix. */
ZDBCCLIB_API int n__zdbgetdomain(zdbHandle_t db, zdbSymbol_t symbol, int dim, zdbSymbol_t* domains,
                                 char* names);

/** @} */

#ifdef __cplusplus
}
#endif

/* NOLINTEND(bugprone-reserved-identifier,modernize-*) */

#endif
