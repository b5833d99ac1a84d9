/*
 * zdbx: labels and records of a zdbcclib database in bulk, by the column.
 *
 * It stands beside zdbcclib.h, with the same handles and in the same library, and is for programs
 * and languages that hold their data in arrays: a call takes or fills whole columns, where
 * zdbcclib.h has a call for each record. Conventions 2 to 14 of zdbcclib.h hold here too.
 *
 * A complete program, to be linked with -lzdbcclib; it prints "2 records, the last 2.4":
 *
 *     #include <stdio.h>
 *     #include "zdbx.h"
 *
 *     int main(void) {
 *       const char* foods[] = {"bread", "milk"};
 *       const double price[] = {1.7, 2.4};
 *       int32_t number[2];
 *       double back[2];
 *       zdbHandle_t db = NULL;
 *       zdbSymbol_t symbol = NULL;
 *       char message[ZDB_TEXT_SIZE];
 *       zdbx_texts labels = {.size = sizeof labels, .pointers = foods};
 *       zdbx_columns in = {.size = sizeof in, .rows = 2, .keys = {{number}}, .values = {{price}}};
 *       zdbx_buffers out = {.size = sizeof out, .rows = 2, .values = {{back}}};
 *       zdbx_result result = {.size = sizeof result};
 *       if (!zdbcreate(&db, message, sizeof message)) return 1;
 *       if (c__zdbaddsymbol(db, "price", 1, ZDB_PARAMETER, 0, "price of a food", &symbol) &&
 *           zdbx_add_labels(db, &labels, 2, number, ZDBX_UNDO, &result) &&
 *           zdbx_put_records(db, symbol, &in, ZDBX_MERGE, ZDBX_UNDO, &result) &&
 *           zdbx_get_records(db, symbol, NULL, &out, &result)) {
 *         printf("%d records, the last %g\n", (int)result.done, back[1]);
 *       } else {
 *         puts(zdbx_error_text(db));
 *       }
 *       return !zdbfree(&db);
 *     }
 *
 * CONVENTIONS, in addition to those of zdbcclib.h.
 *
 *  1. Structs begin with their size, which the caller sets to sizeof: later versions add members at
 *     the end, and a library uses only what the caller's version has. Members that are zero have
 *     their default, so a struct that begins as {.size = sizeof it} is ready for use. A size that
 *     no version has is refused (ZDBX_ARGUMENT).
 *  2. Columns. A column is the address of its first entry and a stride, the number of bytes from an
 *     entry to the next; a stride of 0 stands for entries without gaps. So an array of rows is a
 *     column for each of its positions, with the size of a row as the stride.
 *  3. Borrowing. The library reads columns and texts, and fills buffers, during the call only. What
 *     it returns as an address says how long it is valid.
 *  4. Results. Functions return 1 for success and 0 for failure. `result`, which may be null, tells
 *     the details in both cases. A failure also becomes the database's last error.
 *  5. Failures in the middle. A call that takes many labels or records is told by `onFailure` what
 *     to do at one that cannot be taken: undo what the call has done, keep it, or skip that one.
 *     With ZDBX_UNDO, the default, the database is as it was. Exhausted memory undoes the call
 *     whatever onFailure says, except that the source of a symbol may have been read.
 *  6. Counts are int64_t, label numbers int32_t. A count that is negative is refused.
 */

#ifndef ZDBX_H
#define ZDBX_H

#include <stddef.h>
#include <stdint.h>

#include "zdbarrow.h"
#include "zdbcclib.h"

/** Version of this header and of the interface in the library that it was shipped with. */
#define ZDBX_VERSION_MAJOR 1
#define ZDBX_VERSION_MINOR 0
#define ZDBX_VERSION "1.0"
/** What zdbx_version() returns for this header: 1000 * major + minor. */
#define ZDBX_VERSION_NUMBER 1000

/* NOLINTBEGIN(bugprone-reserved-identifier,modernize-*): one header for C and C++ clients alike. */

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Types and constants --------------------------------------------------------------------- */

/**
 * @defgroup zdbx_types Types and constants
 * @{
 */

/** Kinds of errors. They do not change; later versions may add more. */
enum {
  ZDBX_NONE = 0,       /**< no error */
  ZDBX_NOT_FOUND = 1,  /**< no such label, symbol, record or entry */
  ZDBX_END = 2,        /**< no further record */
  ZDBX_ARGUMENT = 3,   /**< an argument that is null, out of range or not of the kind required */
  ZDBX_EXISTS = 4,     /**< a symbol or record that is there already */
  ZDBX_LABEL = 5,      /**< a text that is not a valid label, name or element text */
  ZDBX_HANDLE = 6,     /**< a handle that has become invalid, or belongs to another database */
  ZDBX_STATE = 7,      /**< a call that does not fit the state of the database */
  ZDBX_NO_MEMORY = 8,  /**< memory exhausted */
  ZDBX_SYSTEM = 9,     /**< the system refused: file not found, disk full, access denied ... */
  ZDBX_DAMAGED = 10,   /**< a file whose content is damaged or not of the format */
  ZDBX_DOMAIN = 11,    /**< a record outside a domain, or a domain that does not fit */
  ZDBX_COMPANION = 12, /**< a companion library that is missing, does not fit or reports failure */
  ZDBX_MODEL = 13,     /**< a model that cannot be read, prepared, changed or solved */
  ZDBX_CALLBACK = 14,  /**< a callback or stream of the caller that failed */
  ZDBX_OTHER = 15      /**< anything else; the text says what */
};

/** What to do at a label or record that cannot be taken. */
enum {
  ZDBX_UNDO = 0, /**< fail, and leave everything as it was before the call */
  ZDBX_KEEP = 1, /**< fail, and keep what came before */
  ZDBX_SKIP = 2  /**< leave it out, count it in `skipped` and go on; the first one is described */
};

/** How records meet those that a symbol has. */
enum {
  ZDBX_MERGE = 0,   /**< a key that exists gets the new values, the others are added */
  ZDBX_REPLACE = 1, /**< the symbol has these records afterwards and no others */
  ZDBX_ADD = 2      /**< a key that exists, or comes twice, cannot be taken (ZDBX_EXISTS) */
};

/** What a bulk call has done. */
typedef struct zdbx_result {
  size_t size;      /**< sizeof(zdbx_result), set by the caller */
  int64_t done;     /**< entries taken, delivered or found */
  int64_t added;    /**< labels or records that were not there before */
  int64_t skipped;  /**< entries left out with ZDBX_SKIP, or not found */
  int64_t row;      /**< the first entry not taken or not found, from 0; -1: none */
  int32_t position; /**< the position of its key that was at fault, from 0; the symbol's dimension:
                         its element text; -1: none of them, such as a key that exists */
  int32_t kind;     /**< ZDBX_...: why it was not taken, or the call failed; else ZDBX_NONE */
  char text[ZDB_TEXT_SIZE]; /**< the same as a message; empty for ZDBX_NONE */
} zdbx_result;

/** Texts in one of three forms; members of the other forms are null. */
typedef struct zdbx_texts {
  size_t size;                 /**< sizeof(zdbx_texts), set by the caller */
  const char* const* pointers; /**< a C string each; null: a record without text; not a label */
  const char* bytes;           /**< or one buffer without terminators, with one of: */
  const int32_t* offsets;      /**< where each text begins, and after the last where it ends */
  const int64_t* offsets64;    /**< the same for buffers of 2 GiB and more */
} zdbx_texts;

/** A column that is read. */
typedef struct zdbx_column {
  const void* data; /**< int32_t label numbers or double values; null: see the use */
  int64_t stride;   /**< bytes from an entry to the next; 0: no gaps. May be negative */
} zdbx_column;

/** A column that is filled. */
typedef struct zdbx_buffer {
  void* data;     /**< room for the entries; null: this column is not wanted */
  int64_t stride; /**< as above */
} zdbx_buffer;

/** Records by the column, as they are put into a symbol. */
typedef struct zdbx_columns {
  size_t size;                        /**< sizeof(zdbx_columns), set by the caller */
  int64_t rows;                       /**< number of records */
  zdbx_column keys[ZDB_MAX_DIM];      /**< int32_t; the first dim are read and must not be null */
  zdbx_column values[ZDB_MAX_VALUES]; /**< double, the first 1 or 5 are read; null: the default of
                                         the symbol's type; of a set, the first must be null */
  const zdbx_texts* texts; /**< element texts of a set, null: none; otherwise must be null */
} zdbx_columns;

/** Room for records by the column. */
typedef struct zdbx_buffers {
  size_t size;                     /**< sizeof(zdbx_buffers), set by the caller */
  int64_t rows;                    /**< room for this many records */
  zdbx_buffer keys[ZDB_MAX_DIM];   /**< int32_t label numbers of the first dim positions */
  zdbx_buffer labels[ZDB_MAX_DIM]; /**< const char*: the same as texts, valid as long as the db */
  zdbx_buffer values[ZDB_MAX_VALUES]; /**< double; of a set, the first is its text's number */
  zdbx_buffer texts; /**< const char*: element texts, "" for none; valid as long as the db */
} zdbx_buffers;

/** A position in the records of a symbol or slice, owned by the caller. */
typedef struct zdbxCursor* zdbxCursor_t;

/** @} */

/* ---- Version and errors ---------------------------------------------------------------------- */

/**
 * @defgroup zdbx_errors Version and errors
 * @{
 */

/** The version of the interface in this library: 1000 * major + minor. */
ZDBCCLIB_API int zdbx_version(void);

/** The version of the library as a text, such as "1.0.0"; static. */
ZDBCCLIB_API const char* zdbx_version_text(void);

/**
 * The kind of the last error (ZDBX_...), of calls of zdbcclib.h as well; ZDBX_NONE if there was
 * none or it was cleared. ZDBX_ARGUMENT for a null database. A call that fails without a message,
 * such as one with a label that has control characters, leaves the last error as it was.
 */
ZDBCCLIB_API int zdbx_error_kind(zdbHandle_t db);

/**
 * The message of the last error, "" if there is none or the database is null. Valid until the next
 * failure or the clearing of the error.
 */
ZDBCCLIB_API const char* zdbx_error_text(zdbHandle_t db);

/**
 * What is behind the message of the last error: the words of the companion or the system, such as
 * "No space left on device" or the place of the damage in a file. Some messages have these words in
 * them. Where a message does not, they also go to the print callback, if there is one. "" if
 * nothing more is known. As valid as the message.
 */
ZDBCCLIB_API const char* zdbx_error_reason(zdbHandle_t db);

/** Forgets the last error; does nothing for a null database. */
ZDBCCLIB_API void zdbx_clear_error(zdbHandle_t db);

/** The name of an error kind, such as "not found"; static. "other" for an unknown kind. */
ZDBCCLIB_API const char* zdbx_kind_name(int kind);

/** @} */

/* ---- Labels ---------------------------------------------------------------------------------- */

/**
 * @defgroup zdbx_labels Labels
 * @{
 */

/**
 * Adds `count` labels, or finds those that are there, and writes their numbers to `numbers`
 * [count]. With ZDBX_SKIP, a text that is not a valid label (ZDBX_LABEL) gets -1; with ZDBX_UNDO,
 * no label is added if one is not valid. A text of blanks only gets the number 0. result.done
 * counts the labels with a number, result.added the new ones. After a failure `numbers` is
 * unspecified, except with ZDBX_KEEP for the first result.done.
 */
ZDBCCLIB_API int zdbx_add_labels(zdbHandle_t db, const zdbx_texts* labels, int64_t count,
                                 int32_t* numbers, int onFailure, zdbx_result* result);

/**
 * Finds `count` labels and writes their numbers to `numbers` [count], -1 for those that are not
 * there or not valid. That is not a failure: result.done counts those found, result.skipped the
 * others, and result.row is the first of these.
 */
ZDBCCLIB_API int zdbx_find_labels(zdbHandle_t db, const zdbx_texts* labels, int64_t count,
                                  int32_t* numbers, zdbx_result* result);

/**
 * Gets the texts of `count` labels from number `first`, which is at least 1: writes them one after
 * the other, without terminators, to `bytes` [capacity], and where each begins, with the end of the
 * last, to `offsets` [count + 1]. *needed is the number of bytes that they take. With null `bytes`
 * only `offsets`, which may be null too, and *needed are written; if `capacity` is too small, fails
 * (ZDBX_ARGUMENT) with these written.
 */
ZDBCCLIB_API int zdbx_get_labels(zdbHandle_t db, int32_t first, int64_t count, char* bytes,
                                 int64_t capacity, int64_t* offsets, int64_t* needed);

/** @} */

/* ---- Records --------------------------------------------------------------------------------- */

/**
 * @defgroup zdbx_records Records
 *
 * Symbols that are read may be the universe, whose records are its labels, and aliases, for which
 * their sets are read. slice[dim] are label numbers, ZDB_ANY where any label will do; null is the
 * whole symbol. A number that is not that of a label matches nothing.
 *
 * @{
 */

/**
 * Puts records into a symbol, which may not be an alias or the universe; `mode` is ZDBX_MERGE,
 * ZDBX_REPLACE or ZDBX_ADD. If a key comes twice, the last one counts, except with ZDBX_ADD. What
 * cannot be taken: a label number that does not exist (ZDBX_NOT_FOUND), an element text that is too
 * long (ZDBX_LABEL), an existing key with ZDBX_ADD (ZDBX_EXISTS). A missing column of values stands
 * for the default of the symbol's type, also where a record exists. At most 2147483647 rows.
 *
 * Replacing ends record handles and cursors of the symbol; otherwise they stay at their records. A
 * symbol that is replaced is not loaded from its source first, and a load of it that
 * failed is forgotten.
 *
 * Takes constant time for each record that comes after all others, and otherwise what adding it
 * takes; in the vector, a call moves the other records once. Records that are not in key order are
 * sorted first. Needs memory for the sorting, and for the addresses of the records unless all come
 * after the others.
 */
ZDBCCLIB_API int zdbx_put_records(zdbHandle_t db, zdbSymbol_t symbol, const zdbx_columns* records,
                                  int mode, int onFailure, zdbx_result* result);

/**
 * Gets the number of records of a symbol or slice. Takes constant time for a whole symbol,
 * otherwise time in the records that share the fixed leading positions. Of a symbol of a file that
 * is not loaded, it is what the file says; that there are so many, only reading them shows.
 */
ZDBCCLIB_API int zdbx_count_records(zdbHandle_t db, zdbSymbol_t symbol, const int32_t* slice,
                                    int64_t* count);

/**
 * Writes the records of a symbol or slice to the columns that `buffers` has, in key order. Fails
 * without writing (ZDBX_ARGUMENT) if there are more than buffers->rows. result.done is the number
 * of records.
 *
 * The first time, all records of a symbol that is not loaded go from an open file straight to the
 * columns, which is fastest if these are arrays and all that a record has is wanted; the symbol is
 * loaded by the second time, or by c__zdbclosezxf(). If it cannot be read, the columns may have
 * been written to.
 */
ZDBCCLIB_API int zdbx_get_records(zdbHandle_t db, zdbSymbol_t symbol, const int32_t* slice,
                                  const zdbx_buffers* buffers, zdbx_result* result);

/**
 * Opens a cursor before the first record of a symbol or slice, for reading in pieces. It remembers
 * the last key read, so it keeps its place while records are added, changed and deleted, that one
 * included. It becomes invalid, and can only be closed, when the symbol is cleared, replaced,
 * loaded again, copied into or moved to another storage. Freed by zdbx_close_cursor().
 */
ZDBCCLIB_API int zdbx_open_cursor(zdbHandle_t db, zdbSymbol_t symbol, const int32_t* slice,
                                  zdbxCursor_t* cursor);

/**
 * Writes the next records, at most buffers->rows, which must be at least 1, and moves past them.
 * result.done is their number, 0 at the end; `result` must not be null. Takes O(log n) in addition
 * to the records that are passed.
 */
ZDBCCLIB_API int zdbx_read_cursor(zdbHandle_t db, zdbxCursor_t cursor, const zdbx_buffers* buffers,
                                  zdbx_result* result);

/**
 * Frees a cursor, which must be done before the database is freed, and sets *cursor to null, which
 * it may be already.
 */
ZDBCCLIB_API int zdbx_close_cursor(zdbHandle_t db, zdbxCursor_t* cursor);

/**
 * Finds the records with keys->rows keys; only the rows and the keys of `keys` are used. Writes
 * what is found to the values and texts of `values`, which has room for as many rows, and 1 or 0 to
 * `found` [rows]; either may be null. For what is not found, nothing else is written. result.done
 * counts those found, result.skipped the others, and result.row is the first of these. Several
 * searches run at a time, so one call takes a fraction of the time of as many.
 */
ZDBCCLIB_API int zdbx_find_records(zdbHandle_t db, zdbSymbol_t symbol, const zdbx_columns* keys,
                                   const zdbx_buffers* values, unsigned char* found,
                                   zdbx_result* result);

/**
 * Makes a handle at the record with these label numbers (of the universe: at this label), like
 * c__zdbfindrecord(). Freed by c__zdbfreesymboliterator().
 */
ZDBCCLIB_API int zdbx_find_record(zdbHandle_t db, zdbSymbol_t symbol, const int32_t* keys,
                                  zdbRecord_t* record);

/**
 * Makes a handle at the first record of a slice, or the last if `last` is true, that walks this
 * slice only, like c__zdbfindfirstrecordslice(). In the universe every position must be open. Freed
 * by c__zdbfreesymboliterator().
 */
ZDBCCLIB_API int zdbx_find_slice(zdbHandle_t db, zdbSymbol_t symbol, const int32_t* slice, int last,
                                 zdbRecord_t* record);

/** @} */

/* ---- Symbols --------------------------------------------------------------------------------- */

/**
 * @defgroup zdbx_symbols Symbols
 * @{
 */

/**
 * Removes a symbol with its records and sets *symbol to null; any other copy of the handle must not
 * be used again. Symbols after it move up: their numbers become smaller by one. Handles on its
 * records are refused from then on (ZDBX_HANDLE) and must still be freed. A symbol that is still to
 * be loaded is not loaded. Positions that have its name for a domain, and not the symbol, keep the
 * name. Refused for the universe, and (ZDBX_STATE) for a set or alias that is a domain of another
 * symbol, or a set that has an alias. Its time grows with the symbols of the database.
 */
ZDBCCLIB_API int zdbx_remove_symbol(zdbHandle_t db, zdbSymbol_t* symbol);

/**
 * Gives a symbol another name, or its name another spelling. Its handles stay valid; positions that
 * have the old name for a domain, and not the symbol, get the new one. A symbol that is still to be
 * loaded is loaded first, since its source knows it by the old name; later, a model or callbacks
 * are asked for it by the new one. Refused for the universe and for a name that is not valid
 * (ZDBX_LABEL) or taken (ZDBX_EXISTS). Its time grows with the symbols of the database.
 */
ZDBCCLIB_API int zdbx_rename_symbol(zdbHandle_t db, zdbSymbol_t symbol, const char* name);

/** @} */

/* ---- Data exchange files in memory and through descriptors ----------------------------------- */

/**
 * @defgroup zdbx_files Data exchange files in memory and through descriptors
 *
 * These need a system with /proc; those that make a file in memory also need memfd_create().
 *
 * @{
 */

/**
 * Like c__zdbinitfromzxf() with a regular file that is open for reading and that this process may
 * open again; `fd` stays the caller's and may be closed after the call. The place of the descriptor
 * is neither used nor moved. The database keeps the file open until it is closed as a source.
 */
ZDBCCLIB_API int zdbx_init_from_fd(zdbHandle_t db, int fd);

/** Like c__zdbinitfromzxf() with the bytes of a file, which are copied to a file in memory. */
ZDBCCLIB_API int zdbx_init_from_memory(zdbHandle_t db, const void* bytes, size_t count);

/**
 * Like c__zdbwritezxf(), but writes to a descriptor, which may be a pipe, from its present place.
 * The file is made in memory first, so a failure to make it writes nothing; a failure to write it
 * (ZDBX_SYSTEM), such as a full disk or a pipe that nobody reads, may leave a part. The signal of
 * such a pipe is held back. What stood at the place is overwritten and not truncated. Waits where
 * the descriptor would not. If the database still reads from this very file, it loads everything
 * and closes it first.
 */
ZDBCCLIB_API int zdbx_write_fd(zdbHandle_t db, int fd, int noDomainCheck);

/**
 * Like c__zdbwritezxf(), but returns the file's bytes; *bytes is null after a failure.
 * Freed by zdbx_free_bytes().
 */
ZDBCCLIB_API int zdbx_write_memory(zdbHandle_t db, int noDomainCheck, void** bytes, size_t* count);

/** Frees what zdbx_write_memory() returned; null is allowed. */
ZDBCCLIB_API void zdbx_free_bytes(void* bytes);

/** @} */

/* ---- Arrow ----------------------------------------------------------------------------------- */

/**
 * @defgroup zdbx_arrow Arrow
 *
 * A symbol as a stream of Arrow's C data interface, and records from such a stream, so that
 * programs which speak it take symbols over without copying code. The structs are in zdbarrow.h.
 *
 * @{
 */

/**
 * Fills `stream` with the records of a symbol, the universe included, or of a slice, in key order,
 * in batches of at most `batchRows` (0: of a suitable size), and never more than 1,048,576. On
 * failure *stream is released, that is, its `release` is null.
 *
 * Columns: for each position a dictionary of the labels that occur there (utf8, int32 indices,
 * ordered: by label number); then "level", "marginal", "lower", "upper" and "scale" as float64, for
 * parameters "value" instead, and for sets "text" as utf8. A position is named by its domain, or
 * "label" for "*"; a second "city" becomes "city_2", as in the tool's CSV. There are no nulls:
 * special values are the doubles that the caller uses for them (c__zdbsetspecialvalues()). The
 * schema's metadata has the keys zdb:symbol, zdb:type, zdb:dimension and zdb:text.
 *
 * An alias has the records of its set. Labels, names and texts are bytes here but UTF-8 there: one
 * that is not makes this call fail (ZDBX_LABEL), an element text the stream (EILSEQ).
 *
 * Takes a pass over the keys for the labels, and 4 bytes for each position and label of the
 * database while the stream is open. The batches share the dictionaries, unless records with other
 * labels are added while the stream is read.
 *
 * Arrays and schemas are the consumer's: they outlive stream and database and may be released in
 * any thread. The stream reads the database and so is used in its thread, or while nobody else uses
 * it. It keeps its place like a cursor. When the symbol's records have been removed or moved to
 * another storage, or the symbol or the database is gone, the stream fails (EINVAL) and can still
 * be released. A stream that has failed keeps failing.
 */
ZDBCCLIB_API int zdbx_export_stream(zdbHandle_t db, zdbSymbol_t symbol, const int32_t* slice,
                                    int64_t batchRows, struct ArrowArrayStream* stream);

/**
 * Puts the records of a stream into a symbol, like zdbx_put_records(), once all have been read:
 * it takes memory for the keys and values of all of them. The stream is released in any case.
 *
 * The stream has `dim` columns of labels first, which are utf8, large utf8, utf8 views or
 * dictionaries of these with any index type. Values follow: as many as the symbol has, or fewer,
 * those that are missing having the default of the symbol's type. They are integers, floats of 16
 * to 64 bits, decimals of 32 to 128 bits or booleans, and become doubles, which round what has more
 * than 15 digits. For a set, a column of texts may follow, in the types of labels. Columns are
 * taken by place, whatever their names. A stream of another shape is refused (ZDBX_ARGUMENT) with
 * the column and its format.
 *
 * A record with a null in any column, or with a text that is not a valid label, cannot be taken; it
 * ends the reading unless `onFailure` is ZDBX_SKIP. result.row counts the records of the stream and
 * result.position its columns, from 0. A stream that fails (ZDBX_CALLBACK) has its own text in the
 * message and ends the call: with ZDBX_UNDO nothing has changed, otherwise the records before the
 * failure are put.
 *
 * Labels are added as they come, those of a dictionary in its order. With ZDBX_UNDO a failed call
 * leaves none of them, unless the producer itself has added labels to this database. With the other
 * two, labels may remain of records that were not taken.
 */
ZDBCCLIB_API int zdbx_import_stream(zdbHandle_t db, zdbSymbol_t symbol,
                                    struct ArrowArrayStream* stream, int mode, int onFailure,
                                    zdbx_result* result);

/** @} */

#ifdef __cplusplus
}
#endif

/* NOLINTEND(bugprone-reserved-identifier,modernize-*) */

#endif /* ZDBX_H */
