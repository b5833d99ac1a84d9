// Creating and freeing databases in every style, the version check, trace and messages.

#include <string>

#include "client.h"

namespace {

/// A short string in its buffer of 256 bytes.
std::string shortString(const std::string& text) {
  std::string buffer = std::string(1, static_cast<char>(text.size())) + text;
  buffer.resize(256, '#');
  return buffer;
}

std::string fromShort(const char* buffer) {
  return {buffer + 1, static_cast<unsigned char>(buffer[0])};
}

TEST(Handle, EveryStyleOfCreationAndRelease_GivesAWorkingDatabase) {
  const std::string here = shortString(".");
  char message[ZDB_TEXT_SIZE];
  const auto works = [&](auto create, auto release) {
    zdbHandle_t db = nullptr;
    create(&db);
    ASSERT_NE(db, nullptr);
    int number = 0;
    EXPECT_EQ(c__zdbmergeuel(db, "a", &number), 1);
    release(&db);
    EXPECT_EQ(db, nullptr);
  };
  const auto checkedFree = [](zdbHandle_t* db) { EXPECT_EQ(zdbfree(db), 1); };
  works(xcreate, xfree);
  works(zdbxcreate, zdbxfree);
  works([&](zdbHandle_t* db) { EXPECT_EQ(zdbcreate(db, message, sizeof message), 1); },
        checkedFree);
  works([](zdbHandle_t* db) { xcreated(db, "."); }, xfree);
  works([](zdbHandle_t* db) { zdbxcreated(db, "."); }, xfree);
  works([&](zdbHandle_t* db) { EXPECT_EQ(zdbcreated(db, ".", message, 256), 1); }, checkedFree);
  works([&](zdbHandle_t* db) { d__xcreated(db, here.c_str()); }, xfree);
  works([&](zdbHandle_t* db) { d__zdbxcreated(db, here.c_str()); }, xfree);
  works([&](zdbHandle_t* db) { EXPECT_EQ(d__zdbcreated(db, here.c_str(), message, 256), 1); },
        xfree);
}

TEST(Handle, NewDatabase_HasNoMessage) {
  Database db;
  char text[ZDB_TEXT_SIZE] = "untouched";
  EXPECT_EQ(c__zdbgetlasterror(db, text), 0);
  EXPECT_STREQ(text, "");
}

TEST(Handle, NoHandleVariable_IsAFailureWithAMessage) {
  char message[12] = "";
  EXPECT_EQ(zdbcreate(nullptr, message, sizeof message), 0);
  EXPECT_STREQ(message, "Error while") << "cut to the buffer and terminated";
  EXPECT_EQ(zdbcreated(nullptr, ".", message, sizeof message), 0);
  EXPECT_STREQ(message, "Error while");
  EXPECT_EQ(zdbcreated(nullptr, ".", nullptr, 0), 0);
  xcreate(nullptr);
  xfree(nullptr);
  EXPECT_EQ(zdbfree(nullptr), 1);
  zdbHandle_t none = nullptr;
  EXPECT_EQ(zdbfree(&none), 1);
}

TEST(Handle, NullDirectory_FailsAndShowsInTheHandleAlone) {
  const std::string text =
      "Unexpected exception in zdbCreateD: basic_string: construction from null is not valid";
  zdbHandle_t db = nullptr;
  char message[ZDB_TEXT_SIZE] = "untouched";
  EXPECT_EQ(outputOf([&] { EXPECT_EQ(zdbcreated(&db, nullptr, message, 256), 1); }), text + "\n");
  EXPECT_EQ(db, nullptr);
  EXPECT_STREQ(message, "");

  Database previous;
  zdbHandle_t variable = previous;
  EXPECT_EQ(outputOf([&] { xcreated(&variable, nullptr); }), "");
  EXPECT_EQ(variable, previous.handle);
  EXPECT_EQ(previous.error(), text) << "the database in the variable keeps the message";
}

TEST(Version, EachClient_GetsItsStatusAndSentence) {
  const struct {
    int version, status;
    const char* text;
  } cases[] = {
      {5, 1, "zdbcclib: Client version and DLL version are the same."},
      {6, 3, "zdbcclib: Client version is newer than this DLL."},
      {4, 2, "zdbcclib: Client version is compatible to this version of the DLL."},
      {2, 2, "zdbcclib: Client version is compatible to this version of the DLL."},
      {1, 0,
       "zdbcclib: The API is too old for the used library, API version: 1, library version: 5"},
      {-7, 0,
       "zdbcclib: The API is too old for the used library, API version: -7, library version: 5"},
  };
  for (const auto& c : cases) {
    char message[ZDB_TEXT_SIZE];
    int status = -1;
    EXPECT_EQ(c__xapiversion(c.version, message, &status), c.status == 0 ? 0 : 1);
    EXPECT_EQ(status, c.status);
    EXPECT_STREQ(message, c.text);
    for (const auto shortForm : {d__xapiversion, d__zdbxapiversion}) {
      EXPECT_EQ(shortForm(c.version, message, &status), c.status == 0 ? 0 : 1);
      EXPECT_EQ(fromShort(message), c.text);
    }
  }
  EXPECT_EQ(c__xapiversion(5, nullptr, nullptr), 1);
}

TEST(Version, ShortSignatureCheck_ConvertsNameAndMessage) {
  const int codes[] = {15, 12};
  char message[ZDB_TEXT_SIZE];
  for (const auto shortForm : {d__xcheck, d__zdbxcheck}) {
    EXPECT_EQ(shortForm(shortString("zdbGetLastError").c_str(), 1, codes, message), 1);
    EXPECT_EQ(fromShort(message), "");
    EXPECT_EQ(shortForm(shortString("zdbNone").c_str(), 1, codes, message), 0);
    EXPECT_EQ(fromShort(message), "zdbcclib: zdbNone cannot be found in library.");
  }
}

TEST(Trace, Level1_NamesEachFunctionBeforeItDoesAnything) {
  Database db;
  zdbSymbol_t symbol = db.add("p", 0);
  int value;
  EXPECT_EQ(outputOf([&] { c__zdbsetdebug(nullptr, 1); }), "") << "the level comes after the trace";
  EXPECT_EQ(outputOf([&] { c__zdbsymboldim(db, symbol, &value); }), "zdbSymbolDim\n");
  EXPECT_EQ(outputOf([&] { c__zdbsetuserinfo(db, nullptr, 1); }), "zdbSetUserInfo\n");
  EXPECT_EQ(outputOf([&] { c__zdbsymboldim(nullptr, symbol, &value); }), "zdbSymbolDim\n");
  EXPECT_EQ(outputOf([&] { c__zdbfindsymbolpy(db, "p", &value); }),
            "zdbFindSymbolPy\nzdbFindSymbol\n");
  const double values[5] = {};
  EXPECT_EQ(outputOf([&] { c__zdbsetspecialvalues(db, values); }),
            "zdbSetSpecialValues\nzdbSetSpecialValuesX\n");
  zdbHandle_t other = nullptr;
  EXPECT_EQ(outputOf([&] { xcreate(&other); }), "zdbCreate\n");
  EXPECT_EQ(outputOf([&] { zdbfree(&other); }), "zdbFree\n");
  EXPECT_EQ(outputOf([&] { c__zdbsetdebug(db, 0); }), "zdbSetDebug\n");
  EXPECT_EQ(outputOf([&] { c__zdbsymboldim(db, symbol, &value); }), "");
}

TEST(Messages, ReadingAndSucceeding_LeaveTheMessage) {
  Database db;
  EXPECT_EQ(c__zdbclosezxf(db, 1), 0);
  const std::string text = "Database not initialized from ZXF";
  EXPECT_EQ(db.error(), text);
  EXPECT_GT(db.label("a"), 0);
  EXPECT_EQ(db.error(), text);
  char shortText[ZDB_TEXT_SIZE];
  EXPECT_EQ(d__zdbgetlasterror(db, shortText), 1);
  EXPECT_EQ(fromShort(shortText), text);
  EXPECT_EQ(outputOf([&] { c__zdbprintlog(db, "a line"); }), "a line\n");
}

}  // namespace
