/*
 * zdbcclib: an in-memory database of the data of an algebraic model.
 *
 * A database holds labels (texts, numbered) and symbols: sets, aliases of sets, parameters,
 * variables and equations with 0 to 20 index positions. A symbol holds records; a record is a key,
 * one label per index position, and its values: one double in sets and parameters, five in
 * variables and equations.
 *
 * A program, to be compiled with this file and linked with -lzdbcclib64; it prints 2.4:
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
 * CONVENTIONS, which hold unless a function says otherwise.
 *
 *  1. Results. Functions return 1 for success and 0 for failure. A failure leaves one message,
 *     which c__zdbgetlasterror() returns. The message stays until the next failure, so ask for it
 *     after a failure only; the end of a walk counts as one. A failing function undoes nothing:
 *     labels that it added before it failed remain.
 *  2. Handles are opaque pointers: zdbHandle_t a database, zdbSymbol_t a symbol, zdbRecord_t a
 *     record (or a label, see 9), zdbDV_t a domain violation. Model instances of companion
 *     libraries are passed as void*.
 *  3. Ownership. A database owns its symbols, labels and texts and frees them when it is freed.
 *     Record and domain-violation handles belong to the caller, who frees each with
 *     c__zdbfreesymboliterator() or c__zdbfreedvhandle() before the database goes. The library
 *     keeps no pointer to an argument after the call, but for callbacks and their user pointer.
 *  4. Validity. A symbol handle ends when the symbol is moved to another storage
 *     (c__zdbselectrecordstorage) or the database is freed. A record handle ends with its record,
 *     when its symbol is cleared, reset, copied into or moved to another storage, and when the
 *     database is freed; adding and deleting other records leaves it valid. A handle must be freed
 *     even after its record was deleted.
 *  5. Null. A null database handle makes every function return 0 without a message, since there is
 *     nowhere to put one, and touch nothing but a status or a short-string output, which become 0
 *     and empty; c__zdbsetdebug() does not need one. Any other null argument is refused with a
 *     message, unless the function allows it. A label that is null is refused without a message.
 *  6. Handle outputs ("record", "symbol", ...) are set to null first, so a failure leaves null
 *     there. Other outputs keep their content on failure, unless the function says otherwise.
 *  7. Texts are C strings in any encoding that contains ASCII; case is folded for the letters A to
 *     Z only. A text output needs a buffer of ZDB_TEXT_SIZE (256) bytes. Names have at most 63
 *     bytes, begin with a letter and go on with letters, digits and "_". Labels have at most 63
 *     bytes after trailing blanks are cut, no control characters, and not both kinds of quotes.
 *     Symbol names, labels and element texts that differ only in case are the same, and keep their
 *     first spelling. Explanatory texts of symbols and element texts of set records have at most
 *     255 bytes.
 *  8. Numbers. Labels are numbered from 1 in the order in which they were added; 0 is a blank that
 *     is not a label, and -1 means unknown. Symbols are numbered from 0 in the order in which
 *     they were added; -1 is the universe. Positions in a key are counted from 0 as arguments,
 *     from 1 in messages. Booleans are ints: 0 is false, anything else true.
 *  9. The universe "*" is a one-dimensional set of all labels that every database has. It can be
 *     walked, searched and used as a domain, not changed. A record handle on it stands on a label.
 * 10. Keys are arrays of dim labels or dim label numbers, where dim is the symbol's number of
 *     index positions; for dim 0 they are not read and may be null. Records are ordered by their
 *     label numbers, the first position being the most significant.
 * 11. Values are arrays of 1 or 5 doubles, in the order of ZDB_LEVEL to ZDB_SCALE. The value of a
 *     set's record is the number of its element text, 0 for none.
 * 12. Threads. The library starts none and locks nothing: use a database from one thread at a
 *     time. Different databases may be used by different threads at once; but creating and freeing
 *     databases, which goes through the companion library of the whole process, must not overlap,
 *     nor may c__zdbsetdebug().
 * 13. Cost. Operations on a handle, and on labels by text or number, take constant time; finding,
 *     adding and deleting a record take O(log n) in the symbol's records. Others are noted. A
 *     symbol whose records are with a data exchange file, a callback or a model instance is loaded
 *     by the first call that needs them, which then takes as long as reading them.
 *
 * CALLING FAMILIES. Each function exists as c__name. The forms with other prefixes do the same for
 * clients whose texts look different; they stand at the end of this file.
 *
 * FUNCTIONS WHOSE NAMES END IN py return the handle that their namesake puts into its last output,
 * null when it fails, and put the namesake's result into *status, their last argument.
 */

#ifndef ZDBCCLIB_H
#define ZDBCCLIB_H

/** Version of this header, which is that of the library it was shipped with. */
#define ZDBCCLIB_VERSION_MAJOR 1
#define ZDBCCLIB_VERSION_MINOR 0
#define ZDBCCLIB_VERSION_PATCH 0
#define ZDBCCLIB_VERSION "1.0.0"
/** What to pass to c__xapiversion(). It grows when the meaning of a function changes. */
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

typedef struct zdbDatabase* zdbHandle_t; /**< a database */
typedef struct zdbSymbol* zdbSymbol_t;   /**< a symbol, owned by its database */
typedef struct zdbRecord* zdbRecord_t;   /**< a position on a record, owned by the caller */
typedef struct zdbViolation* zdbDV_t;    /**< a position on a violating record, likewise */

/** Limits. */
enum {
  ZDB_MAX_DIM = 20,   /**< index positions of a symbol */
  ZDB_MAX_VALUES = 5, /**< doubles of a record */
  ZDB_MAX_NAME = 63,  /**< bytes of a symbol name or label */
  ZDB_MAX_TEXT = 255, /**< bytes of an explanatory or element text */
  ZDB_TEXT_SIZE = 256 /**< bytes that a text output needs */
};

/** Types of symbols. */
enum { ZDB_SET = 0, ZDB_PARAMETER = 1, ZDB_VARIABLE = 2, ZDB_EQUATION = 3, ZDB_ALIAS = 4 };

/** How the records of a symbol are kept. All behave alike; they differ in memory and speed. */
enum {
  ZDB_STORAGE_MAP = 0,    /**< ordered tree, for any order of adding and finding; the default */
  ZDB_STORAGE_VECTOR = 1, /**< sorted array, small; for data that is added in key order, since
                             adding or deleting in the middle takes time in the records after it */
  ZDB_STORAGE_TREE = 2    /**< tree of labels, small where keys share their first labels; deleting
                             frees nothing until all records go */
};

/** Positions in a record's values. Sets and parameters have the first only. */
enum { ZDB_LEVEL = 0, ZDB_MARGINAL = 1, ZDB_LOWER = 2, ZDB_UPPER = 3, ZDB_SCALE = 4 };

/** Positions in an array of special values. */
enum {
  ZDB_SV_UNDEFINED = 0,
  ZDB_SV_NOT_AVAILABLE = 1,
  ZDB_SV_PLUS_INFINITY = 2,
  ZDB_SV_MINUS_INFINITY = 3,
  ZDB_SV_EPSILON = 4, /**< stands for a zero that is present */
  ZDB_SV_COUNT = 5
};

/** Keys of c__zdbinfo(). */
enum {
  ZDB_INFO_SYMBOLS_WITHOUT_ALIASES = 0,
  ZDB_INFO_LABELS = 1,
  ZDB_INFO_SYMBOLS = 2,
  ZDB_INFO_DEFAULT_STORAGE = 3, /**< ZDB_STORAGE_... of symbols added from now on */
  ZDB_INFO_SOURCE_ATTACHED = 4  /**< 1 while symbols are still loaded from a source on first use */
};

/** Keys of c__zdbsymbolinfo(), which answers ZDB_SYMBOL_NAME and _TEXT with texts. */
enum {
  ZDB_SYMBOL_NAME = 0,
  ZDB_SYMBOL_DIM = 1,
  ZDB_SYMBOL_TYPE = 2,
  ZDB_SYMBOL_RECORDS = 3, /**< number of records; of the universe, of labels; of an alias, 0 */
  ZDB_SYMBOL_USER_INFO = 4,
  ZDB_SYMBOL_TEXT = 5,
  ZDB_SYMBOL_NUMBER = 6,  /**< as in c__zdbgetsymbolbynumber() */
  ZDB_SYMBOL_WRITTEN = 7, /**< 1 if changed while write recording was active */
  ZDB_SYMBOL_STORAGE = 8  /**< ZDB_STORAGE_... */
};

/** Codes by which c__xcheck() compares signatures. */
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
  ZDB_CODE_BOOL = 15,    /**< an int that means true or false; most results */
  ZDB_CODE_STATUS = 20,  /**< address of an int: the status of py functions, found or not */
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
 * Callbacks that stand in for a data source. Texts are short strings: a length byte and up to 255
 * characters without terminator. They return 0 for success; `user` is the caller's own pointer.
 */

/** Looks up a symbol by name. */
typedef int (*zdbFindSymbolCallback_t)(const char* name, int* symbolNumber, void* user);
/** Starts the reading of a symbol and tells how many records it has. */
typedef int (*zdbReadStartCallback_t)(int symbolNumber, int* recordCount, void* user);
/**
 * Delivers the next record, in key order: key[dim], values[1 or 5], and the first position of the
 * key that changed.
 */
typedef int (*zdbReadRecordCallback_t)(int* key, double* values, int* firstChanged, void* user);
/** Ends the reading of a symbol. */
typedef int (*zdbReadDoneCallback_t)(void* user);
/** Gives the element text of a number that a set record carries. */
typedef int (*zdbElemTextCallback_t)(int textNumber, char* text, int capacity, void* user);
/** Takes a line that c__zdbprintlog() writes. */
typedef int (*zdbPrintCallback_t)(const char* text, void* user);

/* ---- Creating and freeing databases ---------------------------------------------------------- */

/*
 * `db` is the address of the caller's handle variable; a null address is ignored (and a failure).
 * Set the variable to NULL first: a creation that fails writes its message into the database that
 * the variable holds, or to standard output when it holds none. Failures are exhausted memory and
 * a null directory. The companion library for data exchange files is looked for beside this
 * library and where the system looks, or in `directory`. When it cannot be loaded, the database is
 * created all the same and its last-error text says why.
 */

/**
 * Creates a database in *db. Returns 1 and empties `message`; else leaves *db null, writes the
 * reason, cut to messageSize - 1 bytes, and returns 0. `message` may be null and messageSize 0.
 *
 *     zdbHandle_t db = NULL;
 *     char message[ZDB_TEXT_SIZE];
 *     if (!zdbcreate(&db, message, sizeof message)) puts(message);
 */
ZDBCCLIB_API int zdbcreate(zdbHandle_t* db, char* message, int messageSize);

/**
 * The same with the companion library from a directory, which must not be null. Success means only
 * that `db` is an address: look at *db, which a failure leaves as it was.
 */
ZDBCCLIB_API int zdbcreated(zdbHandle_t* db, const char* directory, char* message, int messageSize);

/** Creates as above, without a result: look at *db. */
ZDBCCLIB_API void xcreate(zdbHandle_t* db);
ZDBCCLIB_API void zdbxcreate(zdbHandle_t* db);
ZDBCCLIB_API void xcreated(zdbHandle_t* db, const char* directory);
ZDBCCLIB_API void zdbxcreated(zdbHandle_t* db, const char* directory);

/**
 * Frees the database in *db with all that it owns and sets *db to null; a null handle is fine.
 * Returns 1 if *db is null afterwards. Takes time in the number of records.
 */
ZDBCCLIB_API int zdbfree(zdbHandle_t* db);

/** The same without a result. */
ZDBCCLIB_API void xfree(zdbHandle_t* db);
ZDBCCLIB_API void zdbxfree(zdbHandle_t* db);

/* ---- Checking that client and library agree -------------------------------------------------- */

/**
 * Compares the API version that the client was written for with the library's. Writes a sentence
 * into `message` [ZDB_TEXT_SIZE] and into *status 1 (the same), 2 (older, compatible), 3 (newer)
 * or 0 (too old); both may be null. Returns 0 only for the last.
 *
 *     int status;
 *     char message[ZDB_TEXT_SIZE];
 *     if (!c__xapiversion(ZDBCCLIB_API_VERSION, message, &status)) puts(message);
 */
ZDBCCLIB_API int c__xapiversion(int apiVersion, char* message, int* status);

/**
 * Compares the client's idea of a function with the library's. `name` is the name in mixed case
 * without prefix, as in "zdbGetKeys"; `count` the number of arguments without the database handle;
 * `codes` [count + 1] their ZDB_CODE_..., the result's first. Returns 1 and empties `message`
 * [ZDB_TEXT_SIZE, may be null] if they agree; else writes what differs: name unknown, number of
 * arguments, types.
 *
 *     const int codes[] = {ZDB_CODE_BOOL, ZDB_CODE_TEXT_OUT};
 *     if (!c__xcheck("zdbGetLastError", 1, codes, message)) puts(message);
 */
ZDBCCLIB_API int c__xcheck(const char* name, int count, const int* codes, char* message);

/* ---- Messages and trace ---------------------------------------------------------------------- */

/**
 * Copies the message of the last failure into `text` [ZDB_TEXT_SIZE]. Returns 1 if there was one,
 * 0 if the text is empty. Reading does not clear it.
 */
ZDBCCLIB_API int c__zdbgetlasterror(zdbHandle_t db, char* text);

/**
 * Sets the trace level of the whole process: 0 none, 1 the name of every function called and
 * the main steps of long operations, 2 and above smaller steps too, all on standard output. The
 * database handle is not used and may be null.
 */
ZDBCCLIB_API int c__zdbsetdebug(zdbHandle_t db, int level);

/**
 * Writes a line to the print callback of the data source, or else to standard output.
 */
ZDBCCLIB_API int c__zdbprintlog(zdbHandle_t db, const char* text);

/* ---- Special values -------------------------------------------------------------------------- */

/*
 * Records can hold values that are not numbers. The caller may choose how it writes and reads them;
 * they are translated on the way in and out, which costs nothing as long as the library's own are
 * used: 1.0E300 (undefined), the quiet NaN 0x7FF8000000000000 (not available), plus and minus
 * infinity, and the smallest positive subnormal (epsilon). Values are compared bit by bit. All
 * arrays are `values` [ZDB_SV_COUNT] in the order of ZDB_SV_....
 */

/**
 * Sets the caller's special values. *state, which may be null, becomes 0 if they are the
 * library's, 1 if only epsilon differs, 2 if another differs.
 *
 *     double values[ZDB_SV_COUNT];
 *     c__zdbgetspecialvalues(db, values);
 *     values[ZDB_SV_EPSILON] = 0.0;
 *     c__zdbsetspecialvaluesx(db, values, NULL);
 */
ZDBCCLIB_API int c__zdbsetspecialvaluesx(zdbHandle_t db, const double* values, int* state);

/** Sets the caller's special values. */
ZDBCCLIB_API int c__zdbsetspecialvalues(zdbHandle_t db, const double* values);

/** Gives the library's own special values, whatever was set. */
ZDBCCLIB_API int c__zdbgetspecialvalues(zdbHandle_t db, double* values);

/** Gives the special values that were set last, at first the library's. */
ZDBCCLIB_API int c__zdbgetuserspecialvalues(zdbHandle_t db, double* values);

/* ---- Information and labels ------------------------------------------------------------------ */

/**
 * Answers a question about the database: `key` is a ZDB_INFO_..., the answer goes to *integer.
 * `real` and `text` are only cleared (0.0, empty). Outputs that are null are not wanted; all are
 * cleared first. Fails for an unknown key.
 *
 *     int labels;
 *     c__zdbinfo(db, ZDB_INFO_LABELS, &labels, NULL, NULL);
 */
ZDBCCLIB_API int c__zdbinfo(zdbHandle_t db, int key, int* integer, double* real, char* text);

/**
 * Gives the number of a label, which is added if it is new. Fails for a text that is not a label
 * (convention 7), without a message for control characters and null. A text of blanks only is
 * number 0.
 */
ZDBCCLIB_API int c__zdbmergeuel(zdbHandle_t db, const char* label, int* number);

/**
 * Gives the number of a label, or -1 (and success) when there is none. Adds nothing; fails as
 * c__zdbmergeuel(). The first call after many labels were added may take time in their number.
 */
ZDBCCLIB_API int c__zdbfinduel(zdbHandle_t db, const char* label, int* number);

/** Copies the text of label `number` (1 to the number of labels) into `label` [ZDB_TEXT_SIZE]. */
ZDBCCLIB_API int c__zdbgetuelbyindex(zdbHandle_t db, int number, char* label);

/**
 * Counts how often each label stands in the keys of some symbols. `symbols` [count] are symbols of
 * this database; aliases and symbols of dim 0 add nothing, and count 0 is fine. counters[length]
 * is indexed by label number and set to 0 first; length must be above the number of labels. Loads
 * the symbols; time in their records.
 */
ZDBCCLIB_API int c__zdbgetsymbolsuels(zdbHandle_t db, const zdbSymbol_t* symbols, int count,
                                      int* counters, int length);

/* ---- Symbols --------------------------------------------------------------------------------- */

/**
 * Adds an empty symbol whose domains are all the universe. `name` and `explText` as in convention
 * 7, the name must be new; `dim` 0 to 20, for a set 1 to 20; `type` a ZDB_SET to ZDB_ALIAS, which
 * is not checked. `userInfo` is the caller's for sets and parameters; for variables and equations
 * it is the subtype, which decides the values of new records; for an alias it is the number of the
 * set that it stands for, and an alias of anything else stands for the universe.
 *
 *     zdbSymbol_t demand;
 *     if (!c__zdbaddsymbol(db, "demand", 1, ZDB_PARAMETER, 0, "cases a day", &demand))
 *       c__zdbgetlasterror(db, message);
 *
 * A new record has level and marginal 0, scale 1, and by subtype these bounds:
 *
 *     variable   0: 0, 0     1: 0, 1       2: 0, 100     3, 6, 7: 0, inf
 *                4: -inf, 0  5: -inf, inf  8: 1, inf     9: 1, 100
 *     equation   0, 4, 6: 0, 0             1, 5: 0, inf  2: -inf, 0  3: -inf, inf
 *     (subtypes that are not listed count as 0)
 */
ZDBCCLIB_API int c__zdbaddsymbol(zdbHandle_t db, const char* name, int dim, int type, int userInfo,
                                 const char* explText, zdbSymbol_t* symbol);
ZDBCCLIB_API zdbSymbol_t c__zdbaddsymbolpy(zdbHandle_t db, const char* name, int dim, int type,
                                           int userInfo, const char* explText, int* status);

/**
 * Adds a symbol with domains. For position i, domains[i] is the universe or a one-dimensional set
 * or alias of this database, or null: then domainNames[i] is a name that need not be known; "*"
 * and " " mean the universe. `domains` may be null when all positions go by name, and
 * `domainNames` when none does. Returns 1 even when the symbol could not be added, unless name,
 * text or an argument was refused: success shows in *symbol alone. `dim` is not checked
 * beforehand; outside 0 to 20 gives no symbol.
 *
 *     zdbSymbol_t domains[] = {food, NULL};
 *     const char* names[] = {NULL, "season"};
 *     c__zdbaddsymbolx(db, "cost", 2, ZDB_PARAMETER, 0, "", domains, names, &cost);
 */
ZDBCCLIB_API int c__zdbaddsymbolx(zdbHandle_t db, const char* name, int dim, int type, int userInfo,
                                  const char* explText, const zdbSymbol_t* domains,
                                  const char* const* domainNames, zdbSymbol_t* symbol);
ZDBCCLIB_API zdbSymbol_t c__zdbaddsymbolxpy(zdbHandle_t db, const char* name, int dim, int type,
                                            int userInfo, const char* explText,
                                            const zdbSymbol_t* domains,
                                            const char* const* domainNames, int* status);

/**
 * Finds a symbol by name, without regard to case; "*" is the universe. An alias gives the set (or
 * the universe) that it stands for.
 */
ZDBCCLIB_API int c__zdbfindsymbol(zdbHandle_t db, const char* name, zdbSymbol_t* symbol);
ZDBCCLIB_API zdbSymbol_t c__zdbfindsymbolpy(zdbHandle_t db, const char* name, int* status);

/** The same, but an alias gives itself. */
ZDBCCLIB_API int c__zdbfindsymbolwithalias(zdbHandle_t db, const char* name, zdbSymbol_t* symbol);
ZDBCCLIB_API zdbSymbol_t c__zdbfindsymbolwithaliaspy(zdbHandle_t db, const char* name, int* status);

/**
 * Gives the symbol at `index` among those that are not aliases, in the order in which they were
 * added; -1 gives the universe.
 */
ZDBCCLIB_API int c__zdbgetsymbolbyindex(zdbHandle_t db, int index, zdbSymbol_t* symbol);
ZDBCCLIB_API zdbSymbol_t c__zdbgetsymbolbyindexpy(zdbHandle_t db, int index, int* status);

/** Gives the symbol with a number (convention 8), aliases included; -1 gives the universe. */
ZDBCCLIB_API int c__zdbgetsymbolbynumber(zdbHandle_t db, int number, zdbSymbol_t* symbol);
ZDBCCLIB_API zdbSymbol_t c__zdbgetsymbolbynumberpy(zdbHandle_t db, int number, int* status);

/**
 * Answers a question about a symbol: `key` is a ZDB_SYMBOL_...; the answer goes to *integer or
 * `text` [ZDB_TEXT_SIZE]. Outputs that are null are not wanted; all are cleared first, `real` is
 * never filled. ZDB_SYMBOL_RECORDS loads the symbol and fails if that fails.
 *
 *     int records;
 *     c__zdbsymbolinfo(db, symbol, ZDB_SYMBOL_RECORDS, &records, NULL, NULL);
 */
ZDBCCLIB_API int c__zdbsymbolinfo(zdbHandle_t db, zdbSymbol_t symbol, int key, int* integer,
                                  double* real, char* text);

/** Gives the number of index positions of a symbol; *dim is -1 on failure. */
ZDBCCLIB_API int c__zdbsymboldim(zdbHandle_t db, zdbSymbol_t symbol, int* dim);

/** Gives the type of a symbol, a ZDB_SET to ZDB_ALIAS; *type is -1 on failure. */
ZDBCCLIB_API int c__zdbsymboltype(zdbHandle_t db, zdbSymbol_t symbol, int* type);

/**
 * Gives the domains of a symbol, of an alias those of its set. For each position, names[i]
 * [ZDB_TEXT_SIZE] becomes the name of the domain and domains[i] its symbol, for an alias the set
 * that it stands for, or null when the domain is known by name only. Both arrays have as many
 * entries as the symbol has positions; the argument `dim` is ignored. Nothing is written for a
 * symbol of dim 0; the universe fails.
 */
ZDBCCLIB_API int c__zdbgetdomain(zdbHandle_t db, zdbSymbol_t symbol, int dim, zdbSymbol_t* domains,
                                 char* const* names);

/**
 * Sets the user information of a symbol, not of the universe. It does not change what an alias
 * stands for.
 */
ZDBCCLIB_API int c__zdbsetuserinfo(zdbHandle_t db, zdbSymbol_t symbol, int value);

/**
 * Removes all records of a symbol, or, when it has not been loaded from its source yet, drops what
 * is there. Time in the number of records.
 */
ZDBCCLIB_API int c__zdbclearsymbol(zdbHandle_t db, zdbSymbol_t symbol);

/**
 * Replaces the records of `target` by those of `source`, which may belong to another database;
 * `db` is the one that gets the message of a failure. Both have the same dim and type, or the
 * target is a set, which then takes the keys (and, from a set, the element texts). Labels are
 * matched by text and added where missing. The universe as a source stands for all labels, as a
 * target it takes labels in. Time in the records of both; a failure leaves what was copied so far.
 */
ZDBCCLIB_API int c__zdbcopysymbol(zdbHandle_t db, zdbSymbol_t target, zdbSymbol_t source);

/**
 * Moves the records of *symbol to another storage (ZDB_STORAGE_...): the handle in *symbol is
 * replaced, the old one and all record handles of the symbol end. Nothing happens when it is kept
 * that way already. With `symbol` or *symbol null, sets the storage of symbols added later. Fails,
 * changing nothing, for an unknown storage. Time in the number of records.
 */
ZDBCCLIB_API int c__zdbselectrecordstorage(zdbHandle_t db, zdbSymbol_t* symbol, int storageType);

/**
 * The same with the handle as argument and result. It is null for the default storage and on
 * failure, when the given handle stays valid.
 */
ZDBCCLIB_API zdbSymbol_t c__zdbselectrecordstoragepy(zdbHandle_t db, zdbSymbol_t symbol,
                                                     int storageType, int* status);

/**
 * Marks each symbol that is added or changed from now on as written (ZDB_SYMBOL_WRITTEN). Removes
 * the marks of all symbols but aliases and symbol number 0. Fails if recording is active already.
 */
ZDBCCLIB_API int c__zdbstartwriterecording(zdbHandle_t db);

/** Stops write recording; the marks remain. Fails if it is not active. */
ZDBCCLIB_API int c__zdbstopwriterecording(zdbHandle_t db);

/* ---- Records: adding, finding, deleting ------------------------------------------------------ */

/*
 * `symbol` is a symbol of this database; except for finding, it must not be the universe.
 * `record` receives a new handle, which the caller frees.
 */

/**
 * Adds a record with the default values of the symbol's type and subtype: 0 for sets and
 * parameters, see c__zdbaddsymbol() for the others. keys[dim] are labels, added where new. Fails
 * if there is a record with this key, or for a text that is not a label.
 *
 *     const char* keys[] = {"bread", "summer"};
 *     zdbRecord_t record;
 *     if (c__zdbaddrecord(db, cost, keys, &record)) c__zdbfreesymboliterator(db, record);
 */
ZDBCCLIB_API int c__zdbaddrecord(zdbHandle_t db, zdbSymbol_t symbol, const char* const* keys,
                                 zdbRecord_t* record);
ZDBCCLIB_API zdbRecord_t c__zdbaddrecordpy(zdbHandle_t db, zdbSymbol_t symbol,
                                           const char* const* keys, int* status);

/**
 * Finds the record of a key, or else adds it as above. An existing record keeps its values.
 */
ZDBCCLIB_API int c__zdbmergerecord(zdbHandle_t db, zdbSymbol_t symbol, const char* const* keys,
                                   zdbRecord_t* record);
ZDBCCLIB_API zdbRecord_t c__zdbmergerecordpy(zdbHandle_t db, zdbSymbol_t symbol,
                                             const char* const* keys, int* status);

/**
 * Adds a record by label numbers keys[dim], the fastest way to fill a symbol. With `haveValues`,
 * values [1 or 5] are stored, in an existing record as well; not for sets. Without, `values` is
 * not read, a new record gets the default values and an existing one keeps its own. With
 * `checkLabels`, unknown label numbers are refused; without, they are stored, and show as "?"
 * wherever a label is asked for. `record` is written only with `makeHandle` and may be null
 * otherwise. Constant time for keys in ascending order.
 */
ZDBCCLIB_API int c__zdbmergerecordint(zdbHandle_t db, zdbSymbol_t symbol, const int* keys,
                                      int checkLabels, int makeHandle, zdbRecord_t* record,
                                      int haveValues, const double* values);

/** The same; the result is null, with status 1, without makeHandle. */
ZDBCCLIB_API zdbRecord_t c__zdbmergerecordintpy(zdbHandle_t db, zdbSymbol_t symbol, const int* keys,
                                                int checkLabels, int makeHandle, int haveValues,
                                                const double* values, int* status);

/**
 * Adds a record of a set by label numbers, or finds it, and stores its element text, "" for none.
 * The other arguments are those of c__zdbmergerecordint().
 */
ZDBCCLIB_API int c__zdbmergesetrecordint(zdbHandle_t db, zdbSymbol_t symbol, const int* keys,
                                         int checkLabels, int makeHandle, zdbRecord_t* record,
                                         const char* text);
ZDBCCLIB_API zdbRecord_t c__zdbmergesetrecordintpy(zdbHandle_t db, zdbSymbol_t symbol,
                                                   const int* keys, int checkLabels, int makeHandle,
                                                   const char* text, int* status);

/**
 * Stores a record by label numbers, which are checked, with its values, or in a set with its
 * element `text`; the other argument is not read. An existing record is overwritten.
 */
ZDBCCLIB_API int c__zdbaddrecordraw(zdbHandle_t db, zdbSymbol_t symbol, const int* keys,
                                    const double* values, const char* text);

/**
 * Finds the record of a key; in the universe, the label. Adds nothing. Fails with a message that
 * says which label, or that the record is missing.
 *
 *     const char* keys[] = {"bread", "summer"};
 *     if (c__zdbfindrecord(db, cost, keys, &record)) {
 *       c__zdbgetlevel(db, record, &level);
 *       c__zdbfreesymboliterator(db, record);
 *     }
 */
ZDBCCLIB_API int c__zdbfindrecord(zdbHandle_t db, zdbSymbol_t symbol, const char* const* keys,
                                  zdbRecord_t* record);
ZDBCCLIB_API zdbRecord_t c__zdbfindrecordpy(zdbHandle_t db, zdbSymbol_t symbol,
                                            const char* const* keys, int* status);

/**
 * Deletes the record under a handle, which must still be freed. Other handles on the same record
 * end with it: they may only be freed. The universe fails.
 */
ZDBCCLIB_API int c__zdbdeleterecord(zdbHandle_t db, zdbRecord_t record);

/** Frees a record handle. Fails only for null. */
ZDBCCLIB_API int c__zdbfreesymboliterator(zdbHandle_t db, zdbRecord_t record);

/** Makes a handle that stands where `source` stands, its slice included. */
ZDBCCLIB_API int c__zdbcopysymboliterator(zdbHandle_t db, zdbRecord_t source, zdbRecord_t* record);
ZDBCCLIB_API zdbRecord_t c__zdbcopysymboliteratorpy(zdbHandle_t db, zdbRecord_t source,
                                                    int* status);

/* ---- Records: keys, texts, values ------------------------------------------------------------ */

/*
 * `record` is a handle that stands on a record or, where that is said, on a label of the universe.
 */

/**
 * Copies the label numbers of the key, at most `dim` of them, into `keys`, and the values [1 or 5]
 * into `values`. On the universe the key is the label's number, and no values are written.
 */
ZDBCCLIB_API int c__zdbgetrecordraw(zdbHandle_t db, zdbRecord_t record, int dim, int* keys,
                                    double* values);

/**
 * Copies the labels of the key, at most `dim` of them, into the buffers keys[i] [ZDB_TEXT_SIZE].
 * On the universe the key is the label.
 *
 *     char text[2][ZDB_TEXT_SIZE];
 *     char* keys[] = {text[0], text[1]};
 *     c__zdbgetkeys(db, record, 2, keys);
 */
ZDBCCLIB_API int c__zdbgetkeys(zdbHandle_t db, zdbRecord_t record, int dim, char* const* keys);

/**
 * Copies one label of the key; `position` 0 to dim - 1. On the universe position 0 is the label.
 */
ZDBCCLIB_API int c__zdbgetkey(zdbHandle_t db, zdbRecord_t record, int position, char* key);

/**
 * Copies the element text of a set record into `text` [ZDB_TEXT_SIZE], empty when it has none. Not
 * on the universe.
 */
ZDBCCLIB_API int c__zdbgetelemtext(zdbHandle_t db, zdbRecord_t record, char* text);

/** Sets the element text of a set record, "" for none. Not on the universe. */
ZDBCCLIB_API int c__zdbsetelemtext(zdbHandle_t db, zdbRecord_t record, const char* text);

/**
 * Gives one of the values; sets and parameters have the level only. Not on the universe.
 */
ZDBCCLIB_API int c__zdbgetlevel(zdbHandle_t db, zdbRecord_t record, double* value);
ZDBCCLIB_API int c__zdbgetmarginal(zdbHandle_t db, zdbRecord_t record, double* value);
ZDBCCLIB_API int c__zdbgetlower(zdbHandle_t db, zdbRecord_t record, double* value);
ZDBCCLIB_API int c__zdbgetupper(zdbHandle_t db, zdbRecord_t record, double* value);
ZDBCCLIB_API int c__zdbgetscale(zdbHandle_t db, zdbRecord_t record, double* value);

/** Sets one of the values, under the same conditions. */
ZDBCCLIB_API int c__zdbsetlevel(zdbHandle_t db, zdbRecord_t record, double value);
ZDBCCLIB_API int c__zdbsetmarginal(zdbHandle_t db, zdbRecord_t record, double value);
ZDBCCLIB_API int c__zdbsetlower(zdbHandle_t db, zdbRecord_t record, double value);
ZDBCCLIB_API int c__zdbsetupper(zdbHandle_t db, zdbRecord_t record, double value);
ZDBCCLIB_API int c__zdbsetscale(zdbHandle_t db, zdbRecord_t record, double value);

/* ---- Walking records ------------------------------------------------------------------------- */

/**
 * Makes a handle on the first (last) record of a symbol; of the universe, on the first (last)
 * label. Fails when there is none.
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
ZDBCCLIB_API zdbRecord_t c__zdbfindfirstrecordpy(zdbHandle_t db, zdbSymbol_t symbol, int* status);
ZDBCCLIB_API int c__zdbfindlastrecord(zdbHandle_t db, zdbSymbol_t symbol, zdbRecord_t* record);
ZDBCCLIB_API zdbRecord_t c__zdbfindlastrecordpy(zdbHandle_t db, zdbSymbol_t symbol, int* status);

/**
 * Makes a handle on the first (last) record of a slice, which is what it walks: the records that
 * have the labels keys[dim], where " " (one blank) stands for any label. Fails when there is none,
 * or a label is unknown. Time in the records that share the labels before the first " ".
 *
 *     const char* summer[] = {" ", "summer"};
 *     c__zdbfindfirstrecordslice(db, cost, summer, &record);
 */
ZDBCCLIB_API int c__zdbfindfirstrecordslice(zdbHandle_t db, zdbSymbol_t symbol,
                                            const char* const* keys, zdbRecord_t* record);
ZDBCCLIB_API zdbRecord_t c__zdbfindfirstrecordslicepy(zdbHandle_t db, zdbSymbol_t symbol,
                                                      const char* const* keys, int* status);
ZDBCCLIB_API int c__zdbfindlastrecordslice(zdbHandle_t db, zdbSymbol_t symbol,
                                           const char* const* keys, zdbRecord_t* record);
ZDBCCLIB_API zdbRecord_t c__zdbfindlastrecordslicepy(zdbHandle_t db, zdbSymbol_t symbol,
                                                     const char* const* keys, int* status);

/**
 * Moves a handle to the next (previous) record of its walk. At the end of the walk it stays where
 * it is, and the function fails with a message that says so.
 */
ZDBCCLIB_API int c__zdbrecordmovenext(zdbHandle_t db, zdbRecord_t record);
ZDBCCLIB_API int c__zdbrecordmoveprev(zdbHandle_t db, zdbRecord_t record);

/**
 * Tells whether a move would succeed, 1 or 0; the handle does not move. 0 with a message for a
 * null handle.
 */
ZDBCCLIB_API int c__zdbrecordhasnext(zdbHandle_t db, zdbRecord_t record);
ZDBCCLIB_API int c__zdbrecordhasprev(zdbHandle_t db, zdbRecord_t record);

/**
 * Tells whether two handles stand on the same record, 1 or 0. Records with equal values are not
 * the same.
 */
ZDBCCLIB_API int c__zdbsamerecord(zdbHandle_t db, zdbRecord_t first, zdbRecord_t second);

/* ---- Data exchange files and other sources --------------------------------------------------- */

/*
 * A database is filled from one source at most, before any symbol is added.
 */

/**
 * Opens a data exchange file: reads its texts, labels and symbols, and leaves the records in the
 * file until they are needed. Fails if the file cannot be read, or the database has a source or
 * symbols already. A null file name fails as an unexpected exception.
 *
 *     if (!c__zdbinitfromzxf(db, "diet.zxf")) c__zdbgetlasterror(db, message);
 */
ZDBCCLIB_API int c__zdbinitfromzxf(zdbHandle_t db, const char* fileName);

/**
 * Closes the file, after loading all symbols that have not been loaded yet if `loadRemain` holds;
 * those remain empty otherwise. Fails, leaving the file open, if a symbol cannot be loaded.
 */
ZDBCCLIB_API int c__zdbclosezxf(zdbHandle_t db, int loadRemain);

/**
 * Writes labels, symbols, records and texts to a new data exchange file; records that were never
 * loaded are copied from the open source. Domains that are symbols are checked by the file unless
 * `noDomainCheck` holds: a record outside its domain is left out of the file and makes the call
 * fail, though the file is written. A domain that the file does not know yet, since its set comes
 * later, is written by name. Writing over the file that the database was opened from loads and
 * closes that file first. A null file name fails as an unexpected exception. Time in everything
 * that is written.
 */
ZDBCCLIB_API int c__zdbwritezxf(zdbHandle_t db, const char* fileName, int noDomainCheck);

/**
 * Fills an empty database with a copy of another one: labels and element texts under the same
 * numbers, symbols, domains and records. Symbols that the source has not loaded yet are loaded
 * there first. The copy is independent of the source. Fails when this database has labels or
 * symbols or was filled before. Time in the records.
 */
ZDBCCLIB_API int c__zdbinitfromdb(zdbHandle_t db, zdbHandle_t source);

/**
 * Lets callbacks stand in for a data source: symbols that the caller adds from now on are loaded
 * through them on first use, in the order find, start, read..., done. Their special values are
 * 1.0E300 to 5.0E300, in the order of ZDB_SV_UNDEFINED to ZDB_SV_EPSILON. Symbols that exist
 * already lose their records and are loaded in the same way. Every callback but `print` must be
 * given; they and `user` stay valid as long as the database. Keys are delivered as label numbers of
 * this database, which are not checked.
 */
ZDBCCLIB_API int c__zdbinitfromdmrf(zdbHandle_t db, zdbFindSymbolCallback_t findSymbol,
                                    zdbReadStartCallback_t readStart,
                                    zdbReadRecordCallback_t readRecord,
                                    zdbReadDoneCallback_t readDone, zdbElemTextCallback_t elemText,
                                    zdbPrintCallback_t print, void* user);

/* ---- Domain violations ----------------------------------------------------------------------- */

/*
 * A record violates a domain when its label at some position is not a record of the set that is
 * the domain there. Positions whose domain is the universe or known by name only are not checked;
 * an alias is checked through its set. A handle stands on one violating record and is freed with
 * c__zdbfreedvhandle(); it is spent when a walk finds nothing more. Do not delete the record that a
 * handle stands on if the walk is to go on. Time in the records of the symbols and their domains.
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
 */

/** Sets *hasViolation to 1 if any record (of the symbol) violates a domain, else to 0. */
ZDBCCLIB_API int c__zdbcheckdbdv(zdbHandle_t db, int* hasViolation);
ZDBCCLIB_API int c__zdbchecksymboldv(zdbHandle_t db, zdbSymbol_t symbol, int* hasViolation);

/**
 * Makes a handle on the first violating record of the database, null when there is none. The sets
 * are read once; later changes to them are not seen until c__zdbdomaincheckdone().
 */
ZDBCCLIB_API int c__zdbgetfirstdbdv(zdbHandle_t db, zdbDV_t* violation);
ZDBCCLIB_API zdbDV_t c__zdbgetfirstdbdvpy(zdbHandle_t db, int* status);

/** Makes a handle on the first violating record of a symbol, null when there is none. */
ZDBCCLIB_API int c__zdbgetfirstdvinsymbol(zdbHandle_t db, zdbSymbol_t symbol, zdbDV_t* violation);
ZDBCCLIB_API zdbDV_t c__zdbgetfirstdvinsymbolpy(zdbHandle_t db, zdbSymbol_t symbol, int* status);

/** Moves on to the first violating record of a later symbol; *found is 0 when there is none. */
ZDBCCLIB_API int c__zdbgetfirstdvinnextsymbol(zdbHandle_t db, zdbDV_t violation, int* found);

/** Moves on to the next violating record of the symbol; *found is 0 when there is none. */
ZDBCCLIB_API int c__zdbmovenextdvinsymbol(zdbHandle_t db, zdbDV_t violation, int* found);

/** Ends a check of the whole database and frees what it has kept. */
ZDBCCLIB_API int c__zdbdomaincheckdone(zdbHandle_t db);

/** Frees a handle. */
ZDBCCLIB_API int c__zdbfreedvhandle(zdbHandle_t db, zdbDV_t violation);

/** Gives the symbol of a violating record. Fails for a spent handle. */
ZDBCCLIB_API int c__zdbgetdvsymbol(zdbHandle_t db, zdbDV_t violation, zdbSymbol_t* symbol);
ZDBCCLIB_API zdbSymbol_t c__zdbgetdvsymbolpy(zdbHandle_t db, zdbDV_t violation, int* status);

/** Makes a record handle on the violating record, owned by the caller. */
ZDBCCLIB_API int c__zdbgetdvsymbolrecord(zdbHandle_t db, zdbDV_t violation, zdbRecord_t* record);
ZDBCCLIB_API zdbRecord_t c__zdbgetdvsymbolrecordpy(zdbHandle_t db, zdbDV_t violation, int* status);

/** Sets indicator[dim] to 1 at each position that violates its domain, to 0 elsewhere. */
ZDBCCLIB_API int c__zdbgetdvindicator(zdbHandle_t db, zdbDV_t violation, int* indicator);

/* ---- Model instances ------------------------------------------------------------------------- */

/*
 * A database is tied to a model instance of the companion library `zmi`, changes the data of the
 * instance and has it solved again, in place where the solver can. `model` is the handle of the
 * instance; instance, dictionary and environment belong to the caller and outlive the database. The
 * companion libraries come from the directory that the database was created with, see zdbcreated().
 *
 * A parameter p is updatable when the model has a variable p_var in its place, fixed at the values
 * of p. Keys are matched by their labels, whatever their numbers in the model.
 *
 *     zdbSymbol_t price, cost;
 *     int noMatch;
 *     if (!c__zdbinitfromdict(db, model) || !c__zdbinitupdate(db, model)) ...
 *     c__zdbaddsymbol(db, "price", 1, ZDB_PARAMETER, 0, "", &price);
 *     ... records of price ...
 *     if (!c__zdbupdatemodelsymbol(db, price, ZDB_UPDATE_FIX, price, ZDB_MISSING_BASE, &noMatch) ||
 *         !c__zdbcallsolver(db, "clp")) ...
 *     c__zdbfindsymbol(db, "cost", &cost);   records are the solution
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

/** What entries of the model get that have no record in the data. */
enum { ZDB_MISSING_ZERO = 0, ZDB_MISSING_BASE = 1, ZDB_MISSING_KEEP = 2 };

/**
 * Ties the database to a model instance and its dictionary, and makes the instance report infinite
 * bounds as infinities. An instance that was registered before is replaced; the new one has to be
 * prepared. Fails if a companion cannot be loaded or the instance has no dictionary; such an
 * instance is registered all the same, but nothing can be done with it.
 */
ZDBCCLIB_API int c__zdbregisterzmi(zdbHandle_t db, void* model);

/**
 * Registers the instance and takes over its labels, under the model's numbers, and its variables
 * and equations, over the universe. Their records are loaded on first use once c__zdbinitupdate()
 * has been called; used before, they fail and remain empty until the next solve. Fails if the
 * database has labels or a source. Symbols may exist: variables and equations must be the model's,
 * and no other symbol may have the name of one of the model's; on a conflict the labels and symbols
 * taken so far remain.
 */
ZDBCCLIB_API int c__zdbinitfromdict(zdbHandle_t db, void* model);

/**
 * Prepares the registered instance for updates and solves: reads the solver configuration, keeps
 * levels and marginals as base values and fixes all variables whose names end in "_var" at their
 * levels. Registers the instance when none is registered; labels that the database lacks are added.
 * From then on symbols are loaded from the instance. Fails for a database whose data exchange file
 * is open, and for another instance than the registered one; after the loading of the solver
 * libraries has begun, a failure leaves the instance as the source of symbols, and the call can be
 * repeated. Once prepared, further calls do nothing and succeed.
 */
ZDBCCLIB_API int c__zdbinitupdate(zdbHandle_t db, void* model);

/**
 * Puts the values of a parameter, `dataSymbol`, into the entries of a symbol of the model: the
 * variable or equation called like `modelSymbol`, or p_var for a parameter p. `action` is a
 * ZDB_UPDATE_..., `updateType` a ZDB_MISSING_... (any other number: as ZDB_MISSING_BASE). *noMatch
 * becomes the number of records without an entry, which is all of them when the model does not have
 * the symbol; that is not a failure.
 *
 * The instance keeps bounds set here as alternatives to its own. Solves use them when the last
 * update was for a parameter or a variable; after one for an equation, they are used only if they
 * have been switched on before.
 *
 * Fails for undefined, not available and values of 1.0E300 or more that are not infinite; for an
 * unknown action and bounds of equations; for data with another number of index positions than the
 * model's symbol. Entries before the failing one stay changed. Epsilon counts as 0. Time in the
 * symbol's entries and the data's records.
 */
ZDBCCLIB_API int c__zdbupdatemodelsymbol(zdbHandle_t db, zdbSymbol_t modelSymbol, int action,
                                         zdbSymbol_t dataSymbol, int updateType, int* noMatch);

/**
 * Solves the prepared instance with a solver that the configuration names. A solver that can take
 * changes keeps the problem and starts hot when it is called again; if it refuses a change, or
 * cannot take any, the problem is solved from the instance as it stands. The linear form with
 * updated coefficients and constant terms is solved for model types 1 to 3.
 *
 * Success means that the solver has run, whatever it found: a model that is infeasible, unbounded
 * or stopped early is not a failure, and the instance's model and solve status tell which. All
 * variables and equations of the model then lose their records, and their handles end; each is
 * loaded from the instance when it is next used, with the values that the solver left there.
 *
 * A failure (unknown solver, a solver that cannot be made or run) leaves labels, symbols and
 * records as they were, and the instance with its own right-hand sides and view, though its levels
 * may be the solver's. It can be repeated: a solver that could not be made is made anew, one that
 * failed to run is asked to go on.
 */
ZDBCCLIB_API int c__zdbcallsolver(zdbHandle_t db, const char* solver);

/** The same, and sets *seconds to 0 after the solver has run: time is not measured. */
ZDBCCLIB_API int c__zdbcallsolvertimed(zdbHandle_t db, const char* solver, double* seconds);

/* ---- Dense arrays ---------------------------------------------------------------------------- */

/*
 * Copies between symbols and arrays of doubles in row-major order, the last position fastest. A
 * label's place along a dimension is its rank, from 0 and in key order, among the records of the
 * set that stands for the dimension; for the universe, a null handle and a domain known by name
 * only it is the label number - 1. `dims` holds the length of each dimension, which is checked; for
 * a scalar, an array of one cell, it may be null, as may `domains`, `squeezed` and `slices`.
 * `field` is ZDB_LEVEL to ZDB_SCALE; sets and parameters have ZDB_LEVEL only. Cells without a
 * record get 0, records of sets 1. Values are in the caller's special values. An alias stands for
 * its set, wherever it is given.
 *
 * Refused are the universe as the symbol, sets of another database, a symbol that is not a
 * one-dimensional set as a domain, and arrays that are larger than the address space. A failure
 * leaves the symbol as it was and the contents of the array unspecified. Time in cells and records.
 *
 *     double cost[2 * 3];
 *     const int dims[] = {2, 3};
 *     c__zdbdensesymboltodensearray(db, cost, dims, symbol, ZDB_LEVEL);
 */

/** Copies a symbol over its own domains. Fails at a record outside them, which the message names.
 */
ZDBCCLIB_API int c__zdbdensesymboltodensearray(zdbHandle_t db, double* array, const int* dims,
                                               zdbSymbol_t symbol, int field);

/**
 * Copies a symbol over sets of the caller, domains[dim]. Records outside them are left out and
 * counted in *dropped.
 */
ZDBCCLIB_API int c__zdbsparsesymboltodensearray(zdbHandle_t db, double* array, const int* dims,
                                                zdbSymbol_t symbol, const zdbSymbol_t* domains,
                                                int field, int* dropped);

/**
 * The same over only those labels of the domains that occur: each of squeezed[dim], distinct
 * one-dimensional sets that are not otherwise in use in this call, receives the labels that occur
 * at its position, in the order of the domain. Labels of records that are left out, since another
 * position is outside its domain, do not count. With a null array only these sets are filled and
 * `dims` receives their sizes; with an array `dims` is checked as elsewhere.
 */
ZDBCCLIB_API int c__zdbsparsesymboltosqzdarray(zdbHandle_t db, double* array, int* dims,
                                               zdbSymbol_t symbol, const zdbSymbol_t* domains,
                                               const zdbSymbol_t* squeezed, int field,
                                               int* dropped);

/**
 * Replaces the symbol's records by the cells of the array that are not 0, over domains[dim]. The
 * cell is the level; the other fields of variables and equations get their defaults, and the
 * records of a set have no text.
 */
ZDBCCLIB_API int c__zdbdensearraytosymbol(zdbHandle_t db, const double* array,
                                          const zdbSymbol_t* domains, zdbSymbol_t symbol,
                                          const int* dims);

/**
 * The same for a slice of the symbol: slices[dim] holds a one-dimensional set with one record where
 * a position is fixed, null where it is free. Only the records of the slice are replaced. `dims`
 * has an entry for each free position and may be null when there is none, `domains` has one for
 * every position.
 */
ZDBCCLIB_API int c__zdbdensearrayslicestosymbol(zdbHandle_t db, const double* array,
                                                const zdbSymbol_t* domains,
                                                const zdbSymbol_t* slices, zdbSymbol_t symbol,
                                                const int* dims);

/* ---- The same functions for clients with short strings --------------------------------------- */

/*
 * A short string is a length byte (0 to 255) followed by the characters, without terminator, in a
 * buffer of 256 bytes; text outputs write one, also when the function fails. An array of texts is
 * a matrix of 20 rows of 256 bytes, one short string each. Only as many rows are read or written
 * as the symbol has positions (records), or as the argument `dim` says (domain names,
 * d__zdbgetkeys, d__zdbgetdomain). `message` of d__zdbcreated is a C string. Everything else is as
 * in the c__ form.
 */

ZDBCCLIB_API void d__xcreated(zdbHandle_t* db, const char* directory);
ZDBCCLIB_API void d__zdbxcreated(zdbHandle_t* db, const char* directory);
ZDBCCLIB_API int d__zdbcreated(zdbHandle_t* db, const char* directory, char* message,
                               int messageSize);
ZDBCCLIB_API int d__xapiversion(int apiVersion, char* message, int* status);
ZDBCCLIB_API int d__zdbxapiversion(int apiVersion, char* message, int* status);
ZDBCCLIB_API int d__xcheck(const char* name, int count, const int* codes, char* message);
ZDBCCLIB_API int d__zdbxcheck(const char* name, int count, const int* codes, char* message);

ZDBCCLIB_API int d__zdbinitfromzxf(zdbHandle_t db, const char* fileName);
ZDBCCLIB_API int d__zdbwritezxf(zdbHandle_t db, const char* fileName, int noDomainCheck);
ZDBCCLIB_API int d__zdbgetlasterror(zdbHandle_t db, char* text);
ZDBCCLIB_API int d__zdbprintlog(zdbHandle_t db, const char* text);
ZDBCCLIB_API int d__zdbinfo(zdbHandle_t db, int key, int* integer, double* real, char* text);
ZDBCCLIB_API int d__zdbmergeuel(zdbHandle_t db, const char* label, int* number);
ZDBCCLIB_API int d__zdbfinduel(zdbHandle_t db, const char* label, int* number);
ZDBCCLIB_API int d__zdbgetuelbyindex(zdbHandle_t db, int number, char* label);
ZDBCCLIB_API int d__zdbaddsymbol(zdbHandle_t db, const char* name, int dim, int type, int userInfo,
                                 const char* explText, zdbSymbol_t* symbol);
ZDBCCLIB_API zdbSymbol_t d__zdbaddsymbolpy(zdbHandle_t db, const char* name, int dim, int type,
                                           int userInfo, const char* explText, int* status);
ZDBCCLIB_API int d__zdbaddsymbolx(zdbHandle_t db, const char* name, int dim, int type, int userInfo,
                                  const char* explText, const zdbSymbol_t* domains,
                                  const char* domainNames, zdbSymbol_t* symbol);
ZDBCCLIB_API zdbSymbol_t d__zdbaddsymbolxpy(zdbHandle_t db, const char* name, int dim, int type,
                                            int userInfo, const char* explText,
                                            const zdbSymbol_t* domains, const char* domainNames,
                                            int* status);
ZDBCCLIB_API int d__zdbfindsymbol(zdbHandle_t db, const char* name, zdbSymbol_t* symbol);
ZDBCCLIB_API zdbSymbol_t d__zdbfindsymbolpy(zdbHandle_t db, const char* name, int* status);
ZDBCCLIB_API int d__zdbfindsymbolwithalias(zdbHandle_t db, const char* name, zdbSymbol_t* symbol);
ZDBCCLIB_API zdbSymbol_t d__zdbfindsymbolwithaliaspy(zdbHandle_t db, const char* name, int* status);
ZDBCCLIB_API int d__zdbsymbolinfo(zdbHandle_t db, zdbSymbol_t symbol, int key, int* integer,
                                  double* real, char* text);
ZDBCCLIB_API int d__zdbgetdomain(zdbHandle_t db, zdbSymbol_t symbol, int dim, zdbSymbol_t* domains,
                                 char* names);
ZDBCCLIB_API int d__zdbaddrecord(zdbHandle_t db, zdbSymbol_t symbol, const char* keys,
                                 zdbRecord_t* record);
ZDBCCLIB_API zdbRecord_t d__zdbaddrecordpy(zdbHandle_t db, zdbSymbol_t symbol, const char* keys,
                                           int* status);
ZDBCCLIB_API int d__zdbmergerecord(zdbHandle_t db, zdbSymbol_t symbol, const char* keys,
                                   zdbRecord_t* record);
ZDBCCLIB_API zdbRecord_t d__zdbmergerecordpy(zdbHandle_t db, zdbSymbol_t symbol, const char* keys,
                                             int* status);
ZDBCCLIB_API int d__zdbmergesetrecordint(zdbHandle_t db, zdbSymbol_t symbol, const int* keys,
                                         int checkLabels, int makeHandle, zdbRecord_t* record,
                                         const char* text);
ZDBCCLIB_API zdbRecord_t d__zdbmergesetrecordintpy(zdbHandle_t db, zdbSymbol_t symbol,
                                                   const int* keys, int checkLabels, int makeHandle,
                                                   const char* text, int* status);
ZDBCCLIB_API int d__zdbaddrecordraw(zdbHandle_t db, zdbSymbol_t symbol, const int* keys,
                                    const double* values, const char* text);
ZDBCCLIB_API int d__zdbfindrecord(zdbHandle_t db, zdbSymbol_t symbol, const char* keys,
                                  zdbRecord_t* record);
ZDBCCLIB_API zdbRecord_t d__zdbfindrecordpy(zdbHandle_t db, zdbSymbol_t symbol, const char* keys,
                                            int* status);
ZDBCCLIB_API int d__zdbfindfirstrecordslice(zdbHandle_t db, zdbSymbol_t symbol, const char* keys,
                                            zdbRecord_t* record);
ZDBCCLIB_API zdbRecord_t d__zdbfindfirstrecordslicepy(zdbHandle_t db, zdbSymbol_t symbol,
                                                      const char* keys, int* status);
ZDBCCLIB_API int d__zdbfindlastrecordslice(zdbHandle_t db, zdbSymbol_t symbol, const char* keys,
                                           zdbRecord_t* record);
ZDBCCLIB_API zdbRecord_t d__zdbfindlastrecordslicepy(zdbHandle_t db, zdbSymbol_t symbol,
                                                     const char* keys, int* status);
ZDBCCLIB_API int d__zdbgetkeys(zdbHandle_t db, zdbRecord_t record, int dim, char* keys);
ZDBCCLIB_API int d__zdbgetkey(zdbHandle_t db, zdbRecord_t record, int position, char* key);
ZDBCCLIB_API int d__zdbgetelemtext(zdbHandle_t db, zdbRecord_t record, char* text);
ZDBCCLIB_API int d__zdbsetelemtext(zdbHandle_t db, zdbRecord_t record, const char* text);
ZDBCCLIB_API int d__zdbcallsolver(zdbHandle_t db, const char* solver);
ZDBCCLIB_API int d__zdbcallsolvertimed(zdbHandle_t db, const char* solver, double* seconds);

/* ---- The same functions for clients with flat matrices --------------------------------------- */

/*
 * Texts go into a matrix of 20 rows of 256 bytes, one C string each.
 */

ZDBCCLIB_API int n__zdbgetkeys(zdbHandle_t db, zdbRecord_t record, int dim, char* keys);
ZDBCCLIB_API int n__zdbgetdomain(zdbHandle_t db, zdbSymbol_t symbol, int dim, zdbSymbol_t* domains,
                                 char* names);

#ifdef __cplusplus
}
#endif

/* NOLINTEND(bugprone-reserved-identifier,modernize-*) */

#endif
