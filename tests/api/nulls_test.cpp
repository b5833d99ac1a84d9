// Nothing but zeros and nulls, to every function.

#include <map>
#include <set>
#include <string>

#include "client.h"

namespace {

/// Calls a function with a database, and 0 or null for everything else; true unless the result is
/// 0 or null.
template <typename Result, typename... Arguments>
bool succeedsOnNulls(Result (*function)(zdbHandle_t, Arguments...), zdbHandle_t db) {
  return function(db, Arguments{}...) != Result{};
}

struct Function {
  std::string name;
  bool (*call)(zdbHandle_t db);
};

const std::vector<Function>& functions() {
  static const std::vector<Function> all = {
#define ZDB_PLAIN(name, lower, ...) \
  {"c__" #name, [](zdbHandle_t db) { return succeedsOnNulls(&c__##lower, db); }},
#define ZDB_TEXT ZDB_PLAIN
#include "api/exports.def"
#define ZDB_TEXT(name, lower, ...) \
  {"d__" #name, [](zdbHandle_t db) { return succeedsOnNulls(&d__##lower, db); }},
#include "api/exports.def"
      {"n__zdbGetKeys", [](zdbHandle_t db) { return succeedsOnNulls(&n__zdbgetkeys, db); }},
      {"n__zdbGetDomain", [](zdbHandle_t db) { return succeedsOnNulls(&n__zdbgetdomain, db); }},
  };
  return all;
}

TEST(Nulls, NoDatabase_EveryFunctionFailsQuietly) {
  EXPECT_EQ(outputOf([] {
              for (const Function& function : functions()) {
                EXPECT_EQ(function.call(nullptr), function.name == "c__zdbSetDebug")
                    << function.name;
              }
            }),
            "");
}

/// Functions for which 0 and null are arguments as good as any.
const std::set<std::string> kContent = {"zdbSetDebug", "zdbInfo", "zdbStartWriteRecording",
                                        "zdbSelectRecordStorage", "zdbDomainCheckDone"};

/// The messages that are not ours to choose.
const std::map<std::string, std::string> kMessages = {
    {"zdbInitFromZXF",
     "Unexpected exception in zdbInitFromZXF: basic_string: construction from null is not valid"},
    {"zdbWriteZXF",
     "Unexpected exception in zdbWriteZXF: basic_string: construction from null is not valid"},
    {"zdbCloseZXF", "Database not initialized from ZXF"},
    {"zdbStopWriteRecording", "Write Recording not active"},
    {"zdbCopySymbol", "No source symbol handle specified"},
    {"zdbFreeSymbolIterator", "No iterator to be freed defined"},
    {"zdbUpdateModelSymbol", "No ZARN symbol handle specified"},
};

bool isExpected(const std::string& name, const std::string& error) {
  const auto known = kMessages.find(name);
  if (known != kMessages.end()) return error == known->second;
  const bool namesFunction =
      error.find(name) == 0 || error.find(name.substr(0, name.size() - 2)) == 0;
  return namesFunction || error == "No symbol handle specified" ||
         error == "No symbol record handle specified" ||
         error == "No domain violation handle specified";
}

TEST(Nulls, EveryFunction_RefusesThemWithItsMessage) {
  for (const Function& function : functions()) {
    Database db;
    const std::string name = function.name.substr(3);
    const bool succeeded = function.call(db);
    if (kContent.count(name) != 0) {
      EXPECT_TRUE(succeeded) << function.name;
    } else {
      EXPECT_FALSE(succeeded) << function.name;
      EXPECT_TRUE(isExpected(name, db.error())) << function.name << ": " << db.error();
    }
  }
}

TEST(Nulls, SecondArgument_IsNamed) {
  Database db;
  zdbSymbol_t p = db.add("p", 2);
  Record record(db, p, {"a", "b"});
  zdbSymbol_t symbol;
  zdbSymbol_t domains[2] = {};
  const char* withHole[] = {"*", nullptr};
  const int keys[] = {1, 2};
  char text[ZDB_TEXT_SIZE];
  char* rows[] = {text, nullptr};
  double value;
  const auto fails = [&](int result, const char* message) {
    EXPECT_EQ(result, 0);
    EXPECT_EQ(db.error(), message);
  };
  fails(c__zdbaddsymbol(db, "q", 1, 0, 0, nullptr, &symbol),
        "zdbAddSymbol: argument explText must not be null");
  fails(c__zdbaddsymbolx(db, "q", 2, 0, 0, "", nullptr, withHole, &symbol),
        "zdbAddSymbolX: argument domainNames[1] must not be null");
  fails(c__zdbgetdomain(db, p, 2, nullptr, rows),
        "zdbGetDomain: argument domains must not be null");
  fails(c__zdbgetdomain(db, p, 2, domains, rows),
        "zdbGetDomain: argument names[1] must not be null");
  fails(c__zdbgetkeys(db, record, 2, rows), "zdbGetKeys: argument keys[1] must not be null");
  fails(c__zdbgetlevel(db, record, nullptr), "zdbGetLevel: argument value must not be null");
  fails(c__zdbmergerecordint(db, p, nullptr, 1, 0, nullptr, 0, nullptr),
        "zdbMergeRecordInt: argument keys must not be null");
  fails(c__zdbmergerecordint(db, p, keys, 1, 0, nullptr, 1, nullptr),
        "zdbMergeRecordInt: argument values must not be null");
  fails(c__zdbmergerecordint(db, p, keys, 1, 1, nullptr, 0, nullptr),
        "zdbMergeRecordInt: argument record must not be null");
  fails(c__zdbgetrecordraw(db, record, 2, nullptr, &value),
        "zdbGetRecordRaw: argument keys must not be null");
  fails(c__zdbsamerecord(db, record, nullptr), "No symbol record handle specified");
  fails(c__zdbfindsymbol(db, nullptr, &symbol), "Symbol name cannot be NULL");
  EXPECT_EQ(c__zdbfindsymbolpy(db, "p", nullptr), nullptr);
  EXPECT_EQ(db.error(), "zdbFindSymbolPy: argument status must not be null");
}

// A label that is null is refused silently, wherever it stands.
TEST(Nulls, LabelInAKey_LeavesTheMessage) {
  Database db;
  zdbSymbol_t p = db.add("p", 2);
  db.merge(p, {"a", "b"});
  Record record(db);
  c__zdbstopwriterecording(db);
  const std::string before = db.error();
  const char* keys[] = {"a", nullptr};
  int number;
  EXPECT_EQ(c__zdbmergeuel(db, nullptr, &number), 0);
  EXPECT_EQ(c__zdbaddrecord(db, p, keys, &record), 0);
  EXPECT_EQ(c__zdbfindrecord(db, p, keys, &record), 0);
  EXPECT_EQ(c__zdbfindlastrecordslice(db, p, keys, &record), 0);
  EXPECT_EQ(record.handle, nullptr);
  EXPECT_EQ(db.error(), before);
}

}  // namespace
