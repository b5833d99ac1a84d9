#include <functional>

#include "loaders/zlx.h"
#include "loaders/zrt.h"
#include "loaders/zst.h"
#include "scriptedmodel.h"

namespace {

using namespace zdb;
using namespace zdb::loaders;

// Registering, filling from the dictionary and loading.
struct ModelDictionary : ModelTest {
  ModelDictionary() {
    model.labels = {"a", "b", "c"};
    model.add("x", 5, 1, {{1}, {3}}).userInfo = 3;
    model.add("cost", 6, 0, {{}}).text = "what it costs";
    model.add("e", 6, 2, {{1, 2}, {2, 1}});
    model.columns = {{1, 2, 3, 4, 5, 6, 0, 0, 0}, {7, 8, 9, 10, 11, 12, 0, 0, 0}};
    model.rows = {{1.5, 2.5, 3.5, 0, 4.5, 0, 0, 0, 0},
                  {10, 20, 30, 0, 40, 0, 2, 0, 0},
                  {11, 21, 31, 0, 41, 0, 1, 0, 0}};
  }
};

TEST_F(ModelDictionary, Registering_SetsTheInfinitiesAndNeedsADictionary) {
  EXPECT_TRUE(db.RegisterZMI(model.instance()));
  EXPECT_EQ(model.taken(), "zmiPinfSet(inf) zmiMinfSet(-inf)");
  EXPECT_EQ(db.GetInitFrom(), FROM_NOSOURCE);
  model.hasDictionary = false;
  expectFailure(db.RegisterZMI(model.instance()), "No dictionary available");
  EXPECT_EQ(model.taken(), "zmiPinfSet(inf) zmiMinfSet(-inf)");
  expectFailure(db.InitUpdate(model.instance()), "No dictionary available");
}

TEST_F(ModelDictionary, LibrariesThatAreMissing_AreNamed) {
  struct Case {
    int (*unload)();
    const char* message;
    bool (ZDB::*call)(zmiRec*);
  };
  const Case cases[] = {
      {zmiLibraryUnload, "Error in zmiGetReady: Could not load shared library /nowhere/libzkit",
       &ZDB::RegisterZMI},
      {zlxLibraryUnload, "Error in zlxGetReady: Could not load shared library /nowhere/libzlxm",
       &ZDB::RegisterZMI},
      {zrtLibraryUnload, "Could not load shared library /nowhere/libzkit", &ZDB::InitUpdate},
      {zstLibraryUnload, "Could not load shared library /nowhere/libzkit", &ZDB::InitUpdate},
  };
  for (const Case& c : cases) {
    model.install();
    ZDB elsewhere("/nowhere");
    const bool isLater = c.call == &ZDB::InitUpdate;
    ASSERT_TRUE(!isLater || elsewhere.RegisterZMI(model.instance()));
    ASSERT_EQ(c.unload(), 1);
    EXPECT_FALSE((elsewhere.*c.call)(model.instance()));
    EXPECT_EQ(std::string(elsewhere.lastError()).rfind(c.message, 0), 0u) << elsewhere.lastError();
  }
}

TEST_F(ModelDictionary, EmptyDatabase_GetsLabelsAndSymbols) {
  db.setDefaultStorage(static_cast<int>(dmap::StorageTypes::Vector));
  ASSERT_TRUE(db.InitFromDict(model.instance())) << db.lastError();
  EXPECT_EQ(db.GetInitFrom(), FROM_MEMORY);
  ASSERT_EQ(db.highestLabel(), 3);
  EXPECT_STREQ(db.labels()[3], "c");
  std::string symbols;
  db.symbols().forEach([&](AbstractZDBSymbol* symbol) {
    symbols += symbol->name + std::to_string(symbol->number) + ":" + std::to_string(symbol->type) +
               ":" + std::to_string(symbol->dim) + ":" + std::to_string(symbol->userInfo) + ":" +
               symbol->explText + (symbol->isLoaded ? "!" : "") + " ";
    EXPECT_EQ(symbol->getStorageType(), dmap::StorageTypes::Vector);
    for (int d = 0; d < symbol->dim; ++d) {
      EXPECT_EQ(symbol->domains[static_cast<std::size_t>(d)], db.universe());
    }
    return true;
  });
  EXPECT_EQ(symbols, "x0:2:1:3: cost1:3:0:0:what it costs e2:3:2:0: ");
  // Without the link there is nothing to load from.
  expectFailure(db.LoadSymbol(db.symbols()["x"]), "Symbol x not initialized from ZXF or ZMI: 3");
}

TEST_F(ModelDictionary, SymbolsOfTheDatabase_AreKeptWhenTheyFit) {
  AbstractZDBSymbol* x = add("X", TypeVariable, 1);
  add("mine", TypeParameter, 3);
  ASSERT_TRUE(db.InitFromDict(model.instance())) << db.lastError();
  EXPECT_EQ(db.symbols()["x"], x);
  EXPECT_TRUE(x->isLoaded);
  EXPECT_EQ(db.symbols().size(), 4);
  EXPECT_EQ(db.symbols()["cost"]->number, 2);
}

TEST_F(ModelDictionary, Conflicts_AreReportedInOrder) {
  struct Case {
    const char* message;
    std::function<void(ZDB&)> prepare;
    int labels;
    int symbols;  // afterwards
  };
  const auto with = [](const char* name, int type, int dim) {
    return [=](ZDB& to) {
      const std::vector<AbstractZDBSymbol*> domains(5, to.universe());
      to.AddSymbol(name, dim, type, 0, "", domains.data(), nullptr);
    };
  };
  const Case cases[] = {
      {"Uels present. Cannot load Uels from dictionary.",
       [](ZDB& to) {
         int number;
         to.InitFromDMRF({});
         to.labels().merge("q", number);
       },
       1, 0},
      {"Database incorrectly initialized.", [](ZDB& to) { to.InitFromDMRF({}); }, 0, 0},
      {"Variable/Equation symbol y does not exist in model", with("y", TypeVariable, 1), 3, 1},
      {"Variable/Equation symbol f does not exist in model", with("f", TypeEquation, 0), 3, 1},
      {"Mismatch in dimension for symbol e", with("e", TypeEquation, 1), 3, 3},
      {"Mismatch in type for symbol x", with("x", TypeParameter, 1), 3, 1},
      {"Mismatch in dimension for symbol x", with("x", TypeParameter, 2), 3, 1},
      {"No dictionary available", [this](ZDB&) { model.hasDictionary = false; }, 0, 0},
      {"ZMI symbol type not variable or equation of symbol e",
       [this](ZDB&) {
         model.hasDictionary = true;
         model.find("e").type = 4;
       },
       3, 2},
      {"Dimension of symbol e must be between 0 and 20 (saw 21)",
       [this](ZDB&) {
         model.find("e").type = 6;
         model.find("e").dim = 21;
       },
       3, 2},
      {"Label with single and double quote not allowed >a'\"<",
       [this](ZDB&) { model.labels[1] = "a'\""; }, 1, 0},
  };
  for (const Case& c : cases) {
    ZDB other(MODEL_DIR);
    c.prepare(other);
    ZDB::debugLevel = 1;
    testing::internal::CaptureStdout();
    const bool result = other.InitFromDict(model.instance());
    const std::string trace = testing::internal::GetCapturedStdout();
    ZDB::debugLevel = 0;
    EXPECT_FALSE(result) << c.message;
    EXPECT_STREQ(other.lastError(), c.message);
    EXPECT_EQ(other.highestLabel(), c.labels) << c.message;
    EXPECT_EQ(other.symbols().size(), c.symbols) << c.message;
    EXPECT_NE(trace.find("---- Entering InitFromDict ----\n"), std::string::npos);
    EXPECT_NE(trace.find(c.message), std::string::npos) << trace;
  }
}

// ---- loading

TEST_F(ModelDictionary, Records_ComeFromTheInstance) {
  ASSERT_TRUE(db.InitFromDict(model.instance()) && db.InitUpdate(model.instance()));
  EXPECT_EQ(records("x"), "a 1,2,3,4,5; c 7,8,9,10,11");
  EXPECT_EQ(records("cost"), "1.5,2.5,3.5,3.5,4.5");
  expectFailure(db.LoadSymbol(db.symbols()["x"]), "Symbol x already loaded");
  model.find("e").entries.clear();
  EXPECT_EQ(records("e"), "");
}

TEST_F(ModelDictionary, EquationType_IsThatOfTheFirstRowAndGivesTheBounds) {
  const char* bounds[] = {"30,30", "30,inf",  "-inf,30", "-inf,inf",
                          "30,30", "-inf,30", "30,30",   "-inf,inf"};
  ASSERT_TRUE(db.InitFromDict(model.instance()) && db.InitUpdate(model.instance()));
  for (int type = 0; type < 8; ++type) {
    model.row("e", 0).type = type;
    db.symbols()["e"]->clear();
    db.symbols()["e"]->isLoaded = false;
    std::string second = bounds[type];
    for (std::size_t at; (at = second.find("30")) != std::string::npos;)
      second.replace(at, 2, "31");
    EXPECT_EQ(records("e"),
              "a b 10,20," + std::string(bounds[type]) + ",40; b a 11,21," + second + ",41");
  }
}

// The database knows the labels in another order, and one of them not at all.
TEST_F(ModelDictionary, LabelsInAnotherOrder_AreTranslatedAndSorted) {
  for (const int storage : {0, 1, 2}) {
    ZDB other(MODEL_DIR);
    other.setDefaultStorage(storage);
    int number;
    for (const char* label : {"mine", "C", "b"}) other.labels().merge(label, number);
    AbstractZDBSymbol* all = other.universe();
    AbstractZDBSymbol* domains[] = {all, all};
    AbstractZDBSymbol* x = other.AddSymbol("x", 1, TypeVariable, 0, "", domains, nullptr);
    AbstractZDBSymbol* e = other.AddSymbol("e", 2, TypeEquation, 0, "", domains, nullptr);
    ASSERT_TRUE(other.RegisterZMI(model.instance()) && other.InitUpdate(model.instance()))
        << other.lastError();
    EXPECT_EQ(other.highestLabel(), 4);
    x->isLoaded = e->isLoaded = false;
    ASSERT_TRUE(other.LoadSymbol(x) && other.LoadSymbol(e)) << other.lastError();
    std::string found;
    const auto list = [&](const int* keys, const double* values) {
      found += std::string(other.labels()[keys[0]]) + std::to_string(values[0]).substr(0, 2) + " ";
    };
    x->forEachRecord(list);
    e->forEachRecord(list);
    EXPECT_EQ(found, "C7. a1. b11 a10 ");
  }
}

TEST_F(ModelDictionary, SymbolThatTheModelDoesNotHaveLikeThis_FailsToLoad) {
  ASSERT_TRUE(db.RegisterZMI(model.instance()) && db.InitUpdate(model.instance()));
  struct Case {
    const char* name;
    int type;
    int dim;
    const char* message;
  };
  const Case cases[] = {
      {"y", TypeVariable, 1, "Symbol y does not exist in model"},
      {"e", TypeEquation, 3, "Mismatch in dimension for symbol e"},
      {"x", TypeParameter, 1, "Mismatch in type for symbol x"},
  };
  for (const Case& c : cases) {
    AbstractZDBSymbol* symbol = add(c.name, c.type, c.dim);
    symbol->isLoaded = false;
    expectFailure(db.LoadSymbol(symbol), c.message);
    EXPECT_TRUE(symbol->isLoaded);
  }
}

TEST_F(ModelDictionary, UnloadedSymbols_AreWrittenToAFileWithoutBeingLoaded) {
  const std::string file = testing::TempDir() + "zdb_model_" +
                           testing::UnitTest::GetInstance()->current_test_info()->name() + ".zxf";
  for (const bool sameOrder : {true, false}) {
    ZDB source(MODEL_DIR);
    int number;
    if (sameOrder) {
      ASSERT_TRUE(source.InitFromDict(model.instance()));
    } else {
      source.labels().merge("c", number);
      AbstractZDBSymbol* domain = source.universe();
      source.AddSymbol("x", 1, TypeVariable, 3, "", &domain, nullptr)->isLoaded = false;
      source.RegisterZMI(model.instance());
    }
    ASSERT_TRUE(source.InitUpdate(model.instance())) << source.lastError();
    ASSERT_TRUE(source.WriteZXF(file, 0)) << source.lastError();
    EXPECT_FALSE(source.symbols()["x"]->isLoaded);
    ZDB read(COMPANION_DIR);
    ASSERT_TRUE(read.InitFromZXF(file) && read.CloseZXF(true)) << read.lastError();
    std::string found;
    read.symbols()["x"]->forEachRecord([&](const int* keys, const double* values) {
      found += read.labels()[keys[0]] + std::to_string(values[3]).substr(0, 2) + " ";
    });
    EXPECT_EQ(found, sameOrder ? "a4. c10 " : "c10 a4. ");
  }
  std::remove(file.c_str());
}

}  // namespace
