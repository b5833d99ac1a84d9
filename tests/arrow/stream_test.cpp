// Arrow streams by their structs: what a consumer may do with ours, what a producer may do wrong,
// and memory that runs out on either side.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "support/allocations.h"
#include "support/client.h"
#include "zdbx.h"

namespace {

using testing::HasSubstr;
using zdb::test::Allocations;

/// A database with a parameter of six records and a set of three with texts.
class ArrowStreams : public testing::Test {
 protected:
  ArrowStreams() {
    for (const int i : {1, 2, 3}) {
      const std::string label = "label" + std::to_string(i);
      const char* key = label.c_str();
      for (const char* other : {"x", "y"}) db.put(parameter, {key, other}, i);
      zdbRecord_t record = nullptr;
      c__zdbmergerecord(db, set, &key, &record);
      c__zdbsetelemtext(db, record, "a text");
      c__zdbfreesymboliterator(db, record);
    }
  }

  ArrowArrayStream exported(zdbSymbol_t symbol, std::int64_t rows = 0) {
    ArrowArrayStream stream;
    EXPECT_TRUE(zdbx_export_stream(db, symbol, nullptr, rows, &stream)) << db.error();
    return stream;
  }

  Database db;
  zdbSymbol_t parameter = db.add("p", 2);
  zdbSymbol_t set = db.add("s", 1, ZDB_SET);
  zdbSymbol_t taken = db.add("taken", 2);
};

template <class Struct>
void release(Struct& given) {
  if (given.release != nullptr) given.release(&given);
}

ArrowArray nextOf(ArrowArrayStream& stream) {
  ArrowArray batch;
  EXPECT_EQ(stream.get_next(&stream, &batch), 0);
  return batch;
}

TEST_F(ArrowStreams, PartsMovedOut_OutliveTheRest) {
  ArrowArrayStream given = exported(parameter, 4);
  ArrowArrayStream stream = std::exchange(given, {});  // streams may be moved
  ArrowArray first = nextOf(stream);
  ArrowArray second = nextOf(stream);
  EXPECT_EQ(first.children[0]->dictionary->buffers[2], second.children[0]->dictionary->buffers[2]);
  ArrowArray labels = std::exchange(*first.children[0], {});
  ArrowArray texts = std::exchange(*labels.dictionary, {});
  ArrowArray values = std::exchange(*second.children[2], {});
  release(stream);
  db = Database();
  release(second);
  release(first);
  EXPECT_EQ(static_cast<const int*>(labels.buffers[1])[3], 1);
  release(labels);
  EXPECT_EQ(std::string(static_cast<const char*>(texts.buffers[2]), 12), "label1label2");
  EXPECT_EQ(static_cast<const double*>(values.buffers[1])[1], 3.0);
  release(texts);
  release(values);
}

TEST_F(ArrowStreams, OddOrderOfCalls_IsAnswered) {
  ArrowArrayStream stream = exported(set);
  for (int i = 0; i < 3; ++i) {
    ArrowSchema schema;
    EXPECT_EQ(stream.get_schema(&stream, &schema), 0);
    ArrowSchema child = std::exchange(*schema.children[1], {});
    release(schema);
    EXPECT_STREQ(child.format, "u");
    release(child);
    ArrowArray batch = nextOf(stream);
    EXPECT_EQ(batch.release == nullptr, i > 0);
    release(batch);
  }
  release(stream);
  ArrowArray batch;
  ArrowSchema schema;
  EXPECT_EQ(stream.get_next(&stream, &batch), EINVAL);
  EXPECT_EQ(stream.get_schema(&stream, &schema), EINVAL);
  EXPECT_STREQ(stream.get_last_error(&stream), "the stream has been released");
}

TEST_F(ArrowStreams, BadArguments_LeaveAReleasedStream) {
  ArrowArrayStream stream;
  const int far[] = {99, 0};
  EXPECT_FALSE(zdbx_export_stream(nullptr, parameter, nullptr, 0, &stream));
  EXPECT_EQ(stream.release, nullptr);
  EXPECT_FALSE(zdbx_export_stream(db, nullptr, nullptr, 0, &stream));
  EXPECT_FALSE(zdbx_export_stream(db, parameter, nullptr, -1, &stream));
  EXPECT_FALSE(zdbx_export_stream(db, parameter, nullptr, 0, nullptr));
  EXPECT_EQ(stream.release, nullptr);
  EXPECT_TRUE(zdbx_export_stream(db, parameter, far, 0, &stream));
  EXPECT_EQ(nextOf(stream).release, nullptr);
  release(stream);
}

/// A producer that gives what an exported stream gave, changed by the test.
class Replay {
 public:
  explicit Replay(ArrowArrayStream from) {
    EXPECT_EQ(from.get_schema(&from, &schema), 0);
    while ((batches.emplace_back(nextOf(from))).release != nullptr) continue;
    batches.pop_back();
    release(from);
  }
  ~Replay() {
    release(schema);
    for (ArrowArray& batch : batches) release(batch);
  }

  ArrowArrayStream stream() { return {getSchema, getNext, getError, releaseIt, this}; }

  ArrowSchema schema;
  std::vector<ArrowArray> batches;
  int schemaCode = 0;
  int endCode = 0;
  const char* text = nullptr;
  int released = 0;
  std::function<void()> before = [] {};  ///< a batch is given

 private:
  static Replay& of(ArrowArrayStream* stream) {
    return *static_cast<Replay*>(stream->private_data);
  }
  static int getSchema(ArrowArrayStream* stream, ArrowSchema* out) {
    Replay& self = of(stream);
    if (self.schemaCode == 0) *out = std::exchange(self.schema, {});
    return self.schemaCode;
  }
  static int getNext(ArrowArrayStream* stream, ArrowArray* out) {
    Replay& self = of(stream);
    self.before();
    *out = {};
    if (self.next_ == self.batches.size()) return self.endCode;
    *out = std::exchange(self.batches[self.next_++], {});
    return 0;
  }
  static const char* getError(ArrowArrayStream* stream) { return of(stream).text; }
  static void releaseIt(ArrowArrayStream* stream) {
    ++of(stream).released;
    stream->release = nullptr;
  }

  std::size_t next_ = 0;
};

const std::uint8_t kOnlySecond = 2;
const int kFarPlaces[] = {0, 1, 2, 3, 0, 1};
const int kDescending[] = {0, 6, 3, 18};

struct Fault {
  const char* name;
  std::function<void(Replay&)> make;
  int kind;
  const char* text;
  int row = -1;
};

/// A column of the first batch.
ArrowArray& column(Replay& replay, int number) {
  return *replay.batches[0].children[number];
}

const Fault kFaults[] = {
    {"NoSchema", [](Replay& r) { r.schemaCode = EIO; }, ZDBX_CALLBACK, "Input/output error"},
    {"NoBatch",
     [](Replay& r) {
       r.endCode = EIO;
       r.text = "it is torn";
     },
     ZDBX_CALLBACK, "failed: it is torn"},
    {"EmptyErrorText",
     [](Replay& r) {
       r.endCode = ENOMEM;
       r.text = "";
     },
     ZDBX_CALLBACK, "Cannot allocate"},
    {"SchemaReleased", [](Replay& r) { release(r.schema); }, ZDBX_CALLBACK, "has no schema"},
    {"NotRecords", [](Replay& r) { r.schema.format = "i"; }, ZDBX_ARGUMENT, "integer (format i)"},
    {"NoFormat", [](Replay& r) { r.schema.format = nullptr; }, ZDBX_ARGUMENT, "has no format"},
    {"NoColumns", [](Replay& r) { r.schema.children = nullptr; }, ZDBX_CALLBACK, "lacks a column"},
    {"ColumnWithoutFormat", [](Replay& r) { r.schema.children[2]->format = nullptr; },
     ZDBX_CALLBACK, "column 2 (value)"},
    {"ColumnWithoutName",
     [](Replay& r) {
       r.schema.children[2]->name = nullptr;
       r.schema.children[2]->format = "d:9,1,256";
     },
     ZDBX_ARGUMENT, "column 2 of the stream is decimal (format d:9,1,256)"},
    {"UnknownFormat", [](Replay& r) { r.schema.children[2]->format = "?"; }, ZDBX_ARGUMENT,
     "unknown type (format ?)"},
    {"NestedColumn", [](Replay& r) { r.schema.children[0]->format = "+l"; }, ZDBX_ARGUMENT,
     "dictionary of utf8 (format +l)"},
    {"FewerColumns", [](Replay& r) { --r.batches[0].n_children; }, ZDBX_CALLBACK,
     "does not fit its schema"},
    {"NegativeLength", [](Replay& r) { r.batches[0].length = -1; }, ZDBX_CALLBACK,
     "does not fit its schema"},
    {"ShortColumn", [](Replay& r) { --column(r, 1).length; }, ZDBX_CALLBACK,
     "column 1 (label_2) of the stream is shorter"},
    {"OffsetBeyondColumn", [](Replay& r) { r.batches[0].offset = 1; }, ZDBX_CALLBACK,
     "is shorter than its batch"},
    {"NoBuffers", [](Replay& r) { column(r, 2).n_buffers = 1; }, ZDBX_CALLBACK, "too few buffers"},
    {"NoData", [](Replay& r) { column(r, 2).buffers[1] = nullptr; }, ZDBX_CALLBACK, "has no data"},
    {"NoTexts", [](Replay& r) { column(r, 0).dictionary->buffers[2] = nullptr; }, ZDBX_CALLBACK,
     "has no texts"},
    {"NoDictionary", [](Replay& r) { column(r, 0).dictionary = nullptr; }, ZDBX_CALLBACK,
     "has no dictionary"},
    {"FarPlace", [](Replay& r) { column(r, 0).buffers[1] = kFarPlaces; }, ZDBX_CALLBACK,
     "is not in the dictionary"},
    {"Descending", [](Replay& r) { column(r, 0).dictionary->buffers[1] = kDescending; },
     ZDBX_CALLBACK, "decrease"},
    {"NullRecord",
     [](Replay& r) {
       r.batches[0].null_count = -1;
       r.batches[0].buffers[0] = &kOnlySecond;
     },
     ZDBX_ARGUMENT, "row 0 of the stream, the record: null", 0},
    {"NullValue",
     [](Replay& r) {
       column(r, 2).null_count = 5;
       column(r, 2).buffers[0] = &kOnlySecond;
     },
     ZDBX_ARGUMENT, "row 0 of the stream, column 2 (value): null", 0},
    {"NullInLaterBatch",
     [](Replay& r) {
       ArrowArray& values = *r.batches[1].children[2];
       values.null_count = 1;
       values.buffers[0] = &kOnlySecond;
     },
     ZDBX_ARGUMENT, "row 4 of the stream, column 2 (value): null", 4},
};

TEST_F(ArrowStreams, FaultyProducer_IsRefusedAndReleased) {
  for (const Fault& fault : kFaults) {
    for (const int onFailure : {ZDBX_UNDO, ZDBX_KEEP}) {
      SCOPED_TRACE(fault.name);
      zdbx_result result = {};
      result.size = sizeof result;
      Replay replay(exported(parameter, 4));
      fault.make(replay);
      ArrowArrayStream stream = replay.stream();
      EXPECT_FALSE(zdbx_import_stream(db, taken, &stream, ZDBX_MERGE, onFailure, &result));
      EXPECT_EQ(stream.release, nullptr);
      EXPECT_EQ(replay.released, 1);
      EXPECT_EQ(result.kind, fault.kind);
      EXPECT_THAT(result.text, HasSubstr(fault.text));
      EXPECT_EQ(result.row, fault.row);
      EXPECT_EQ(db.info(taken, ZDB_SYMBOL_RECORDS), onFailure == ZDBX_UNDO ? 0 : result.done);
      c__zdbclearsymbol(db, taken);
    }
  }
}

TEST_F(ArrowStreams, OffsetsAndBitmaps_ChooseTheRows) {
  Replay replay(exported(parameter));
  replay.batches[0].offset = 1;
  replay.batches[0].length = 1;
  replay.batches[0].null_count = -1;
  replay.batches[0].buffers[0] = &kOnlySecond;
  ArrowArrayStream stream = replay.stream();
  EXPECT_TRUE(zdbx_import_stream(db, taken, &stream, ZDBX_MERGE, ZDBX_UNDO, nullptr));
  zdbRecord_t record = nullptr;
  const char* key[] = {"label1", "y"};
  EXPECT_EQ(db.info(taken, ZDB_SYMBOL_RECORDS), 1);
  EXPECT_TRUE(c__zdbfindrecord(db, taken, key, &record));
  c__zdbfreesymboliterator(db, record);
}

TEST_F(ArrowStreams, ProducerThatChangesTheDatabase_IsNotUndone) {
  zdbx_result result = {};
  result.size = sizeof result;
  Replay replay(exported(parameter, 4));
  int number = 0;
  replay.before = [&] { number = db.label("its own"); };
  replay.batches[1].null_count = -1;
  replay.batches[1].buffers[0] = &kOnlySecond;
  ArrowArrayStream stream = replay.stream();
  EXPECT_FALSE(zdbx_import_stream(db, taken, &stream, ZDBX_MERGE, ZDBX_UNDO, &result));
  char label[ZDB_TEXT_SIZE];
  EXPECT_TRUE(c__zdbgetuelbyindex(db, number, label)) << db.error();
  EXPECT_STREQ(label, "its own");

  Replay second(exported(parameter));
  second.before = [&] { c__zdbselectrecordstorage(db, &taken, ZDB_STORAGE_VECTOR); };
  stream = second.stream();
  EXPECT_FALSE(zdbx_import_stream(db, taken, &stream, ZDBX_MERGE, ZDBX_UNDO, &result));
  EXPECT_EQ(result.kind, ZDBX_STATE);
}

TEST_F(ArrowStreams, RecordWithoutLabel_IsNamed) {
  const int key[] = {77, 1};
  const double value = 1;
  ASSERT_TRUE(c__zdbmergerecordint(db, parameter, key, 0, 0, nullptr, 1, &value));
  ArrowArrayStream stream;
  EXPECT_FALSE(zdbx_export_stream(db, parameter, nullptr, 0, &stream));
  EXPECT_EQ(db.error(), "symbol p has a record with label 77, which does not exist");
}

TEST_F(ArrowStreams, BadArgumentsOfImport_ReleaseTheStream) {
  zdbSymbol_t universe = nullptr;
  c__zdbfindsymbol(db, "*", &universe);
  const auto put = [&](zdbHandle_t to, zdbSymbol_t symbol, int mode, int onFailure) {
    Replay replay(exported(parameter));
    ArrowArrayStream stream = replay.stream();
    EXPECT_FALSE(zdbx_import_stream(to, symbol, &stream, mode, onFailure, nullptr));
    EXPECT_EQ(replay.released, 1);
    EXPECT_EQ(stream.release, nullptr);
    EXPECT_FALSE(zdbx_import_stream(to, symbol, &stream, mode, onFailure, nullptr));
  };
  put(nullptr, taken, ZDBX_MERGE, ZDBX_UNDO);
  put(db, nullptr, ZDBX_MERGE, ZDBX_UNDO);
  put(db, universe, ZDBX_MERGE, ZDBX_UNDO);
  put(db, taken, 3, ZDBX_UNDO);
  put(db, taken, ZDBX_MERGE, 3);
  EXPECT_FALSE(zdbx_import_stream(db, taken, nullptr, ZDBX_MERGE, ZDBX_UNDO, nullptr));
}

/// Reads a whole stream; whether all calls succeeded. One that fails between batches must not go on
/// as if it had lost nothing.
bool readAll(ArrowArrayStream& stream) {
  ArrowSchema schema;
  ArrowArray batch = {};
  const bool hasSchema = stream.get_schema(&stream, &schema) == 0;
  release(schema);
  int code = 0;
  do {
    release(batch);
    code = stream.get_next(&stream, &batch);
  } while (batch.release != nullptr);
  EXPECT_TRUE(code == 0 || stream.get_next(&stream, &batch) == code);
  if (!hasSchema || code != 0) {
    EXPECT_STREQ(stream.get_last_error(&stream), "memory exhausted");
  }
  release(stream);
  return hasSchema && code == 0;
}

TEST_F(ArrowStreams, ExportWithoutMemory_FailsAndLeavesNothing) {
  for (zdbSymbol_t symbol : {parameter, set}) {
    bool isDone = false;
    for (std::uint64_t failing = 1; !isDone; ++failing) {
      const Allocations allocations(failing);
      ArrowArrayStream stream;
      isDone = zdbx_export_stream(db, symbol, nullptr, 2, &stream) && readAll(stream);
      EXPECT_NE(isDone, allocations.hasFailed());
      EXPECT_EQ(allocations.liveBytes(), 0);
    }
  }
}

TEST_F(ArrowStreams, ImportWithoutMemory_LeavesTheDatabaseAsItWas) {
  const Database other;
  zdbSymbol_t symbol = other.add("taken", 2);
  bool isDone = false;
  for (std::uint64_t failing = 1; !isDone; ++failing) {
    Replay replay(exported(parameter, 4));
    ArrowArrayStream stream = replay.stream();
    {
      const Allocations allocations(failing);
      isDone = zdbx_import_stream(other, symbol, &stream, ZDBX_MERGE, ZDBX_UNDO, nullptr) != 0;
      EXPECT_NE(isDone, allocations.hasFailed());
    }
    int labels = -1;
    c__zdbinfo(other, ZDB_INFO_LABELS, &labels, nullptr, nullptr);
    EXPECT_EQ(replay.released, 1);
    EXPECT_EQ(other.info(symbol, ZDB_SYMBOL_RECORDS), isDone ? 6 : 0);
    EXPECT_EQ(labels, isDone ? 5 : 0);
  }
}

}  // namespace
