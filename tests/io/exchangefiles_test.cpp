#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "core/zdb.h"
#include "loaders/zxf.h"
#include "symbols/zdbsymboliterator.h"

namespace {

using namespace zdb;

// Databases and files of one test, in a folder that goes with it.
class ExchangeFilesTest : public testing::Test {
 protected:
  ExchangeFilesTest()
      : folder_(std::filesystem::temp_directory_path() /
                ("zdb_io_" + std::to_string(::getpid()) + "_" +
                 testing::UnitTest::GetInstance()->current_test_info()->name())) {
    std::filesystem::create_directories(folder_);
  }
  ~ExchangeFilesTest() override { std::filesystem::remove_all(folder_); }

  std::string file(const char* name) const { return (folder_ / name).string(); }

  static std::unique_ptr<ZDB> database() { return std::make_unique<ZDB>(COMPANION_DIR); }

  static std::unique_ptr<ZDB> opened(const std::string& name) {
    auto db = database();
    EXPECT_TRUE(db->InitFromZXF(name)) << db->lastError();
    return db;
  }

  static AbstractZDBSymbol* add(ZDB& db, const char* name, int type, int userInfo,
                                const std::vector<AbstractZDBSymbol*>& domains,
                                const std::vector<const char*>& names = {}, const char* text = "") {
    return db.AddSymbol(name, static_cast<int>(domains.size()), type, userInfo, text,
                        domains.data(), names.empty() ? nullptr : names.data());
  }

  static double* merge(ZDB& db, AbstractZDBSymbol* symbol, std::vector<const char*> key) {
    return db.MergeRecord(symbol, key.data(), nullptr).second;
  }

  // Every type, alias, domain kind, text and special value.
  std::unique_ptr<ZDB> sample() const {
    auto db = database();
    AbstractZDBSymbol* all = db->universe();
    AbstractZDBSymbol* food = add(*db, "food", TypeSet, 0, {all}, {}, "what is eaten");
    *merge(*db, food, {"Wheat Flour"}) = db->SetElemText("10 lb.");
    *merge(*db, food, {"tea"}) = 0;
    AbstractZDBSymbol* alias = add(*db, "f", TypeAlias, food->number, {all});
    add(*db, "anything", TypeAlias, 99, {all});
    AbstractZDBSymbol* pair = add(*db, "pair", TypeSet, 0, {food, all});
    *merge(*db, pair, {"tea", "milk"}) = db->SetElemText("white");
    AbstractZDBSymbol* p =
        add(*db, "p", TypeParameter, 7, {alias, nullptr}, {"", "elsewhere"}, "odd");
    const SpecialValues& special = kLibrarySpecialValues;
    const char* labels[] = {"undef", "na", "pinf", "minf", "eps"};
    for (int i = 0; i < 5; ++i) *merge(*db, p, {"tea", labels[i]}) = special[i];
    AbstractZDBSymbol* s = add(*db, "s", TypeParameter, 0, {});
    *merge(*db, s, {}) = 2.5;
    AbstractZDBSymbol* x = add(*db, "x", TypeVariable, 3, {food});
    merge(*db, x, {"tea"})[1] = -1.25;
    AbstractZDBSymbol* e = add(*db, "e", TypeEquation, 2, {});
    merge(*db, e, {})[0] = 12;
    add(*db, "empty", TypeParameter, 0, {food, pair == nullptr ? all : food});
    return db;
  }

  std::filesystem::path folder_;
};

std::string bits(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%016lx",
                static_cast<unsigned long>(std::bit_cast<std::uint64_t>(value)));
  return text;
}

std::string describeDomains(const AbstractZDBSymbol* symbol) {
  std::string text;
  for (int d = 0; d < symbol->dim && !symbol->isAlias(); ++d) {
    text += symbol->domains[d] != nullptr ? " " + symbol->domains[d]->name
                                          : " '" + symbol->domainNames[d] + "'";
  }
  return text;
}

// All that a file has to keep, as text; loads every symbol.
std::vector<std::string> contents(ZDB& db) {
  std::vector<std::string> lines;
  for (int i = 1; i < db.labels().size(); ++i) lines.emplace_back(db.labels()[i]);
  db.symbols().forEach([&](AbstractZDBSymbol* symbol) {
    const int info = symbol->isAlias() ? 0 : symbol->userInfo;
    lines.push_back(symbol->name + ":" + std::to_string(symbol->dim) + ":" +
                    std::to_string(symbol->type) + ":" + std::to_string(info) + ":" +
                    symbol->explText + ":" + symbol->aliasTarget->name + describeDomains(symbol) +
                    (symbol->isDomain ? " domain" : ""));
    if (symbol->isAlias()) return true;
    EXPECT_TRUE(db.ensureLoaded(symbol)) << db.lastError();
    symbol->forEachRecord([&](const int* keys, const double* values) {
      std::string line = symbol->name + db.joinKeys(keys, symbol->dim);
      char text[256] = "";
      if (symbol->type == TypeSet) db.GetElemText(textNumber(values[0]), text);
      for (int i = 0; i < valueWidth(symbol->type) && symbol->type != TypeSet; ++i) {
        line += " " + bits(values[i]);
      }
      lines.push_back(line + text);
    });
    return true;
  });
  return lines;
}

TEST_F(ExchangeFilesTest, RoundTrip_KeepsEverything) {
  const auto db = sample();
  for (const int noDomainCheck : {0, 1}) {
    ASSERT_TRUE(db->WriteZXF(file("a.zxf"), noDomainCheck)) << db->lastError();
    const auto read = opened(file("a.zxf"));
    EXPECT_EQ(contents(*read), contents(*db));
    EXPECT_EQ(read->symbols()["s"]->number, db->symbols()["s"]->number);
  }
}

TEST_F(ExchangeFilesTest, Opening_ReadsNoRecordsUntilASymbolIsUsed) {
  ASSERT_TRUE(sample()->WriteZXF(file("a.zxf"), 0));
  const auto db = opened(file("a.zxf"));
  EXPECT_EQ(db->GetInitFrom(), FROM_ZXF);
  AbstractZDBSymbol* p = db->symbols()["p"];
  EXPECT_FALSE(p->isLoaded);
  EXPECT_TRUE(p->empty());
  EXPECT_TRUE(db->LoadSymbol(p));
  EXPECT_EQ(p->size(), 5);
  EXPECT_FALSE(db->symbols()["x"]->isLoaded);
  EXPECT_FALSE(db->LoadSymbol(p));
  EXPECT_STREQ(db->lastError(), "Symbol p already loaded");
  EXPECT_EQ(p->size(), 5);
  EXPECT_FALSE(db->LoadSymbol(db->symbols()["f"]));
  EXPECT_STREQ(db->lastError(), "Cannot load alias f");
}

TEST_F(ExchangeFilesTest, Closing_LoadsWhatRemainsOnlyWhenAsked) {
  ASSERT_TRUE(sample()->WriteZXF(file("a.zxf"), 0));
  const auto kept = opened(file("a.zxf"));
  EXPECT_TRUE(kept->CloseZXF(true));
  EXPECT_EQ(kept->GetInitFrom(), FROM_MEMORY);
  EXPECT_EQ(kept->symbols()["p"]->size(), 5);
  EXPECT_FALSE(kept->CloseZXF(true));
  EXPECT_STREQ(kept->lastError(), "Database not initialized from ZXF");

  const auto dropped = opened(file("a.zxf"));
  EXPECT_TRUE(dropped->CloseZXF(false));
  EXPECT_TRUE(dropped->symbols()["p"]->empty());
  EXPECT_FALSE(dropped->ensureLoaded(dropped->symbols()["p"]));
  EXPECT_STREQ(dropped->lastError(), "Symbol p not initialized from ZXF or ZMI: 3");
}

TEST_F(ExchangeFilesTest, SecondInitialisation_IsRefusedAndChangesNothing) {
  ASSERT_TRUE(sample()->WriteZXF(file("a.zxf"), 0));
  const auto db = opened(file("a.zxf"));
  EXPECT_FALSE(db->InitFromZXF("b.zxf"));
  EXPECT_STREQ(db->lastError(), "Database has been initialized, cannot initialize from b.zxf");
  EXPECT_EQ(contents(*db), contents(*sample()));
  const auto filled = sample();
  EXPECT_FALSE(filled->InitFromZXF(file("a.zxf")));
  EXPECT_EQ(filled->GetInitFrom(), FROM_MEMORY);
}

TEST_F(ExchangeFilesTest, FileThatCannotBeOpened_LeavesTheSourceSet) {
  std::ofstream(file("foreign.zxf")) << "this is no exchange file, whatever its name says";
  for (const char* name : {"missing.zxf", "foreign.zxf"}) {
    const auto db = database();
    EXPECT_FALSE(db->InitFromZXF(file(name)));
    EXPECT_EQ(std::string(db->lastError()).rfind("Error opening ZXF file: ", 0), 0u)
        << db->lastError();
    EXPECT_GT(std::string(db->lastError()).size(), 30u);
    EXPECT_EQ(db->GetInitFrom(), FROM_ZXF);
    EXPECT_TRUE(db->CloseZXF(true));
    EXPECT_EQ(db->GetInitFrom(), FROM_MEMORY);
  }
}

TEST_F(ExchangeFilesTest, WritingOverTheOpenSource_LoadsItFirst) {
  ASSERT_TRUE(sample()->WriteZXF(file("same.zxf"), 0));
  const auto db = opened(file("same.zxf"));
  *merge(*db, db->symbols()["empty"], {"tea", "tea"}) = 4;
  const std::vector<std::string> expected = contents(*opened(file("same.zxf")));
  EXPECT_TRUE(db->WriteZXF(file("same.zxf"), 0)) << db->lastError();
  EXPECT_EQ(db->GetInitFrom(), FROM_MEMORY);
  const auto again = opened(file("same.zxf"));
  EXPECT_EQ(contents(*again), contents(*db));
  EXPECT_EQ(contents(*again).size(), expected.size() + 1);
}

TEST_F(ExchangeFilesTest, UnloadedSymbols_AreCopiedWithoutBeingLoaded) {
  const auto db = sample();
  ASSERT_TRUE(db->WriteZXF(file("a.zxf"), 0));
  const auto source = opened(file("a.zxf"));
  ASSERT_TRUE(source->WriteZXF(file("b.zxf"), 0)) << source->lastError();
  EXPECT_FALSE(source->symbols()["p"]->isLoaded);
  EXPECT_EQ(source->GetInitFrom(), FROM_ZXF);
  EXPECT_EQ(contents(*opened(file("b.zxf"))), contents(*db));
}

// Labels of the database come first, so the file's numbers are not the database's.
TEST_F(ExchangeFilesTest, LabelsMergedBeforehand_RenumberTheRecords) {
  ASSERT_TRUE(sample()->WriteZXF(file("a.zxf"), 0));
  const auto db = database();
  int number;
  for (const char* label : {"pinf", "another", "TEA"}) db->labels().merge(label, number);
  ASSERT_TRUE(db->InitFromZXF(file("a.zxf")));
  AbstractZDBSymbol* p = db->symbols()["p"];
  ASSERT_TRUE(db->WriteZXF(file("b.zxf"), 0)) << db->lastError();
  ASSERT_TRUE(db->ensureLoaded(p));
  const auto valueOf = [](ZDB& of, const char* label) {
    std::array<const char*, 2> key = {"tea", label};
    const std::unique_ptr<AbstractZDBSymbolIterator> record(
        of.FindRecord(of.symbols()["p"], key.data()));
    EXPECT_NE(record, nullptr) << of.lastError();
    return record ? *record->getValues() : 0;
  };
  const auto copy = opened(file("b.zxf"));
  for (ZDB* checked : {db.get(), copy.get()}) {
    EXPECT_TRUE(sameBits(valueOf(*checked, "minf"), kLibrarySpecialValues[3]));
    EXPECT_TRUE(sameBits(valueOf(*checked, "pinf"), kLibrarySpecialValues[2]));
  }
}

TEST_F(ExchangeFilesTest, RecordOutsideAStrictDomain_IsReported) {
  const auto db = database();
  AbstractZDBSymbol* i = add(*db, "i", TypeSet, 0, {db->universe()});
  AbstractZDBSymbol* p = add(*db, "p", TypeParameter, 0, {i});
  merge(*db, i, {"a"});
  merge(*db, p, {"a"});
  merge(*db, p, {"b"});
  EXPECT_FALSE(db->WriteZXF(file("a.zxf"), 0));
  EXPECT_EQ(std::string(db->lastError()).rfind("1 ZXF Error(s). First Error: ", 0), 0u)
      << db->lastError();
  EXPECT_TRUE(db->WriteZXF(file("b.zxf"), 1)) << db->lastError();
  EXPECT_EQ(contents(*opened(file("b.zxf"))), contents(*db));
}

TEST_F(ExchangeFilesTest, StrictDomainThatTheFileRejects_DoesNotFailTheWrite) {
  const auto db = database();
  // The domain stands behind the symbol, so the file does not know it yet.
  AbstractZDBSymbol* later = db->universe();
  AbstractZDBSymbol* p = add(*db, "p", TypeParameter, 0, {later});
  AbstractZDBSymbol* i = add(*db, "i", TypeSet, 0, {later});
  p->domains[0] = i;
  i->isDomain = true;
  merge(*db, p, {"a"});
  EXPECT_TRUE(db->WriteZXF(file("a.zxf"), 0)) << db->lastError();
  EXPECT_EQ(contents(*opened(file("a.zxf"))), contents(*db));
}

TEST_F(ExchangeFilesTest, LabelNumberWithoutALabel_IsReported) {
  const auto db = database();
  AbstractZDBSymbol* p = add(*db, "p", TypeParameter, 0, {db->universe()});
  const int key[] = {77};
  const double row[] = {1};
  db->AddRecordRaw(p, key, false, true, row, nullptr, nullptr);
  EXPECT_FALSE(db->WriteZXF(file("a.zxf"), 0));
  EXPECT_EQ(std::string(db->lastError()).rfind("1 ZXF Error(s). First Error: ", 0), 0u)
      << db->lastError();
}

TEST_F(ExchangeFilesTest, FileThatCannotBeWritten_SaysWhichAndWhy) {
  const auto db = sample();
  EXPECT_FALSE(db->WriteZXF(file("no/such/folder.zxf"), 0));
  const std::string message = db->lastError();
  EXPECT_NE(message.find(": "), std::string::npos);
  EXPECT_NE(message.find("no/such/folder.zxf"), std::string::npos) << message;
}

TEST_F(ExchangeFilesTest, EmptyDatabase_MakesAFile) {
  const auto db = database();
  ASSERT_TRUE(db->WriteZXF(file("a.zxf"), 0)) << db->lastError();
  const auto read = opened(file("a.zxf"));
  EXPECT_EQ(read->labels().size(), 1);
  EXPECT_TRUE(read->symbols().empty());
}

TEST_F(ExchangeFilesTest, DamagedRecords_FailTheLoadWithAReason) {
  const auto db = database();
  AbstractZDBSymbol* p = add(*db, "p", TypeParameter, 0, {db->universe()});
  for (int n = 0; n < 1000; ++n) *merge(*db, p, {("l" + std::to_string(n)).c_str()}) = n / 7.0;
  ASSERT_TRUE(db->WriteZXF(file("a.zxf"), 0));
  // The records are the bulk of the file; some byte in its middle belongs to them or to the labels.
  bool sawDamagedRecords = false;
  const auto size = std::filesystem::file_size(file("a.zxf"));
  for (std::uintmax_t at = 64; at < size; at += size / 40) {
    std::filesystem::copy_file(file("a.zxf"), file("b.zxf"),
                               std::filesystem::copy_options::overwrite_existing);
    std::fstream stream(file("b.zxf"), std::ios::in | std::ios::out | std::ios::binary);
    stream.seekg(static_cast<std::streamoff>(at));
    const int byte = stream.get();
    stream.seekp(static_cast<std::streamoff>(at));
    stream.put(static_cast<char>(byte ^ 0x20));
    stream.close();
    const auto read = database();
    if (!read->InitFromZXF(file("b.zxf"))) continue;
    EXPECT_FALSE(read->ensureLoaded(read->symbols()["p"]));
    sawDamagedRecords =
        std::string(read->lastError()).rfind("Error reading symbol p from ZXF file ", 0) == 0;
  }
  EXPECT_TRUE(sawDamagedRecords);
}

TEST_F(ExchangeFilesTest, CompanionThatIsMissing_IsReportedAndNothingCrashes) {
  // The loader keeps what it has loaded, so this has to be a process of its own.
  const auto tryAll = [this] {
    ZDB db("/nowhere");
    const bool created = std::string(db.lastError()).rfind("ZXF create did not succeed: ", 0) == 0;
    const bool read = db.InitFromZXF(file("a.zxf"));
    const bool written = db.WriteZXF(file("a.zxf"), 0);
    std::exit(created && !read && !written && db.GetInitFrom() == FROM_NOSOURCE ? 0 : 1);
  };
  if (loaders::zxfLibraryLoaded() != 0) GTEST_SKIP() << "runs when the test stands alone";
  EXPECT_EXIT(tryAll(), testing::ExitedWithCode(0), "");
}

TEST_F(ExchangeFilesTest, Trace_ShowsTheSteps) {
  ASSERT_TRUE(sample()->WriteZXF(file("a.zxf"), 0));
  struct Case {
    int level;
    std::vector<const char*> shown;
    std::vector<const char*> hidden;
  };
  const Case cases[] = {
      {0, {}, {"----"}},
      {1,
       {"---- Entering InitFromZXF ----", "loading strings done", "---- Leaving InitFromZXF ----"},
       {"Get uel"}},
      {2,
       {"using special values from ZDB", "reading string: 10 lb.", "Uel loaded: tea",
        "symbol created: pair"},
       {}},
  };
  for (const Case& c : cases) {
    ZDB::debugLevel = c.level;
    testing::internal::CaptureStdout();
    opened(file("a.zxf"));
    const std::string output = testing::internal::GetCapturedStdout();
    ZDB::debugLevel = 0;
    for (const char* text : c.shown) EXPECT_NE(output.find(text), std::string::npos) << text;
    for (const char* text : c.hidden) EXPECT_EQ(output.find(text), std::string::npos) << text;
  }
}

}  // namespace
