// Calls that have to fail: wrong state, values out of range, records that cannot be kept. Each
// counts its error and leaves the rest of the session as it was.
#include <gtest/gtest.h>

#include <functional>

#include "zxf_testing.h"

namespace {

using namespace zxftest;

enum class State { Closed, Reading, ReadingSymbol, Writing, WritingLabels, WritingSymbol };

// A handle on a file in one of the states. What is written has the labels a, b, c, the sets i (a,
// b) and ij (i by i), the parameter p over i, the alias k of i, all ended; then, in WritingSymbol,
// the parameter q with two dimensions and the record (2,2).
class Session {
 public:
  explicit Session(State state) : state_(state) {
    if (state == State::Reading || state == State::ReadingSymbol) {
      writeContent(folder_.path("in"), smallContent());
      EXPECT_EQ(zxf.openRead(folder_.path("in")), 0);
      int records = 0;
      if (state == State::ReadingSymbol) {
        EXPECT_EQ(C__zxfDataReadRawStart(zxf, 1, &records), 1);
      }
    } else if (state != State::Closed) {
      startWriting();
    }
  }

  // Ends what is open; everything that was accepted must be in the file.
  void finish() {
    if (state_ == State::WritingLabels) {
      EXPECT_EQ(C__zxfUELRegisterDone(zxf), 1);
    }
    if (state_ == State::WritingSymbol) {
      EXPECT_EQ(C__zxfDataWriteDone(zxf), 1);
    }
    if (state_ != State::Closed) {
      EXPECT_EQ(C__zxfClose(zxf), 1);
    }
    if (state_ < State::Writing) return;
    const Content content = readContent(folder_.path("out"));
    EXPECT_EQ(content.labels, (std::vector<std::string>{"a", "b", "c"}));
    ASSERT_EQ(content.symbols.size(), state_ == State::WritingSymbol ? 5U : 4U);
    if (state_ != State::WritingSymbol) return;
    EXPECT_EQ(content.symbols[4].records, (std::vector<Record>{{{2, 2}, {1.0}}}));
    EXPECT_EQ(content.symbols[4].domain, Domain::None);
  }

  std::string path(const char* name) const { return folder_.path(name); }

  Zxf zxf;

 private:
  void startWriting() {
    EXPECT_EQ(zxf.openWrite(folder_.path("out")), 0);
    C__zxfUELRegisterRawStart(zxf);
    for (const char* label : {"a", "b", "c"}) C__zxfUELRegisterRaw(zxf, label);
    C__zxfUELRegisterDone(zxf);
    writeSet("i", 1, {{1, 1}, {2, 2}});
    writeSet("ij", 2, {{1, 2}, {2, 1}});
    C__zxfDataWriteRawStart(zxf, "p", "", 1, 1, 0);
    C__zxfDataWriteDone(zxf);
    EXPECT_EQ(C__zxfAddAlias(zxf, "k", "i"), 1);
    if (state_ == State::WritingLabels) C__zxfUELRegisterRawStart(zxf);
    if (state_ != State::WritingSymbol) return;
    EXPECT_EQ(C__zxfDataWriteRawStart(zxf, "q", "", 2, 1, 0), 1);
    EXPECT_EQ(write({2, 2}), 1);
  }

  void writeSet(const char* name, int dim, const std::vector<std::array<int, 2>>& keys) const {
    const double text = 0;
    C__zxfDataWriteRawStart(zxf, name, "", dim, 0, 0);
    for (const auto& key : keys) EXPECT_EQ(C__zxfDataWriteRaw(zxf, key.data(), &text), 1);
    C__zxfDataWriteDone(zxf);
  }

 public:
  int write(std::array<int, 2> key) const {
    const double one = 1.0;
    return C__zxfDataWriteRaw(zxf, key.data(), &one);
  }
  int setDomain(const char* first, const char* second) const {
    const char* names[] = {first, second};
    return C__zxfSymbolSetDomain(zxf, names);
  }
  int setDomainX(int number, const char* first) const {
    const char* names[] = {first, "*"};
    return C__zxfSymbolSetDomainX(zxf, number, names);
  }

 private:
  ScratchFolder folder_;
  State state_;
};

struct Misuse {
  const char* name;
  State state;
  Errc expected;
  std::function<int(Session&)> call;
};

void PrintTo(const Misuse& misuse, std::ostream* out) {
  *out << misuse.name;
}

int n = 0;
int m = 0;
int key[20];
double values[7];
char buffer[256];
const std::string longText(256, 't');
const std::string longName(64, 'n');

int startSymbol(const Session& s, const char* name, int dim, int type, const char* text = "") {
  return C__zxfDataWriteRawStart(s.zxf, name, text, dim, type, 0);
}

const Misuse kMisuses[] = {
    {"closeClosed", State::Closed, Errc::NoFileOpen, [](auto& s) { return C__zxfClose(s.zxf); }},
    {"readClosed", State::Closed, Errc::NoFileOpen,
     [](auto& s) { return C__zxfDataReadRaw(s.zxf, key, values, &n); }},
    {"writeClosed", State::Closed, Errc::NoFileOpen,
     [](auto& s) {
       return s.write({1, 1});
     }},
    {"infoClosed", State::Closed, Errc::NoFileOpen,
     [](auto& s) { return C__zxfSystemInfo(s.zxf, &n, &m); }},
    {"nullSpecials", State::Closed, Errc::NullArgument,
     [](auto& s) { return C__zxfSetReadSpecialValues(s.zxf, nullptr); }},
    {"nullErrorText", State::Closed, Errc::NullArgument,
     [](auto& s) { return C__zxfErrorStr(s.zxf, 1, nullptr); }},
    {"nullFile", State::Closed, Errc::NullArgument,
     [](auto& s) { return C__zxfOpenRead(s.zxf, nullptr, &n); }},
    {"nullProducer", State::Closed, Errc::NullArgument,
     [](auto& s) { return C__zxfOpenWrite(s.zxf, "a", nullptr, &n); }},
    {"nullOpenError", State::Closed, Errc::NullArgument,
     [](auto& s) { return C__zxfOpenWrite(s.zxf, "a", "", nullptr); }},
    {"longProducer", State::Closed, Errc::TextTooLong,
     [](auto& s) { return C__zxfOpenWrite(s.zxf, s.path("out").c_str(), longText.c_str(), &n); }},
    {"openWhileReading", State::Reading, Errc::FileIsOpen,
     [](auto& s) { return C__zxfOpenRead(s.zxf, s.path("in").c_str(), &n); }},
    {"openWhileWriting", State::WritingSymbol, Errc::FileIsOpen,
     [](auto& s) { return C__zxfOpenWrite(s.zxf, s.path("x").c_str(), "", &n); }},
    {"writeWhileReading", State::ReadingSymbol, Errc::NotWriting,
     [](auto& s) {
       return s.write({1, 1});
     }},
    {"labelWhileReading", State::Reading, Errc::NotWriting,
     [](auto& s) { return C__zxfUELRegisterRaw(s.zxf, "x"); }},
    {"readWhileWriting", State::WritingSymbol, Errc::NotReading,
     [](auto& s) { return C__zxfDataReadRawStart(s.zxf, 1, &n); }},
    {"findWhileWriting", State::Writing, Errc::NotReading,
     [](auto& s) { return C__zxfFindSymbol(s.zxf, "i", &n); }},
    {"recordBeforeStart", State::Reading, Errc::NoSymbolOpen,
     [](auto& s) { return C__zxfDataReadRaw(s.zxf, key, values, &n); }},
    {"doneBeforeStart", State::Reading, Errc::NoSymbolOpen,
     [](auto& s) { return C__zxfDataReadDone(s.zxf); }},
    {"nullKeyOut", State::ReadingSymbol, Errc::NullArgument,
     [](auto& s) { return C__zxfDataReadRaw(s.zxf, nullptr, values, &n); }},
    {"nullValuesOut", State::ReadingSymbol, Errc::NullArgument,
     [](auto& s) { return C__zxfDataReadRaw(s.zxf, key, nullptr, &n); }},
    {"nullChangedOut", State::ReadingSymbol, Errc::NullArgument,
     [](auto& s) { return C__zxfDataReadRaw(s.zxf, key, values, nullptr); }},
    {"readSymbolTooHigh", State::Reading, Errc::BadSymbolNumber,
     [](auto& s) { return C__zxfDataReadRawStart(s.zxf, 10, &n); }},
    {"readSymbolNegative", State::Reading, Errc::BadSymbolNumber,
     [](auto& s) { return C__zxfSymbolInfo(s.zxf, -1, buffer, &n, &m); }},
    {"readUniverse", State::Reading, Errc::NoRecordsOfItsOwn,
     [](auto& s) { return C__zxfDataReadRawStart(s.zxf, 0, &n); }},
    {"readAlias", State::Reading, Errc::NoRecordsOfItsOwn,
     [](auto& s) { return C__zxfDataReadRawStart(s.zxf, 3, &n); }},
    {"labelNumberZero", State::Reading, Errc::BadLabelNumber,
     [](auto& s) { return C__zxfUMUelGet(s.zxf, 0, buffer, &n); }},
    {"labelNumberTooHigh", State::Reading, Errc::BadLabelNumber,
     [](auto& s) { return C__zxfUMUelGet(s.zxf, 5, buffer, &n); }},
    {"nullName", State::Reading, Errc::NullArgument,
     [](auto& s) { return C__zxfFindSymbol(s.zxf, nullptr, &n); }},
    {"nullDomainBuffers", State::Reading, Errc::NullArgument,
     [](auto& s) {
       char* names[20] = {};
       return C__zxfSymbolGetDomainX(s.zxf, 5, names);
     }},
    {"labelOutside", State::Writing, Errc::LabelsNotOpen,
     [](auto& s) { return C__zxfUELRegisterRaw(s.zxf, "x"); }},
    {"labelsTwice", State::WritingLabels, Errc::LabelsAreOpen,
     [](auto& s) { return C__zxfUELRegisterRawStart(s.zxf); }},
    {"symbolAmongLabels", State::WritingLabels, Errc::LabelsAreOpen,
     [](auto& s) { return startSymbol(s, "x", 1, 1); }},
    {"labelTaken", State::WritingLabels, Errc::LabelTaken,
     [](auto& s) { return C__zxfUELRegisterRaw(s.zxf, "A  "); }},
    {"labelTooLong", State::WritingLabels, Errc::BadLabel,
     [](auto& s) { return C__zxfUELRegisterRaw(s.zxf, longName.c_str()); }},
    {"labelOfBlanks", State::WritingLabels, Errc::BadLabel,
     [](auto& s) { return C__zxfUELRegisterRaw(s.zxf, "  "); }},
    {"labelWithTab", State::WritingLabels, Errc::BadLabel,
     [](auto& s) { return C__zxfUELRegisterRaw(s.zxf, "a\tb"); }},
    {"labelWithBothQuotes", State::WritingLabels, Errc::BadLabel,
     [](auto& s) { return C__zxfUELRegisterRaw(s.zxf, "'\""); }},
    {"labelNull", State::WritingLabels, Errc::NullArgument,
     [](auto& s) { return C__zxfUELRegisterRaw(s.zxf, nullptr); }},
    {"nameTaken", State::Writing, Errc::NameTaken,
     [](auto& s) { return startSymbol(s, "IJ", 1, 1); }},
    {"nameEmpty", State::Writing, Errc::BadName, [](auto& s) { return startSymbol(s, "", 1, 1); }},
    {"nameTooLong", State::Writing, Errc::BadName,
     [](auto& s) { return startSymbol(s, longName.c_str(), 1, 1); }},
    {"nameOfUniverse", State::Writing, Errc::BadName,
     [](auto& s) { return startSymbol(s, "*", 1, 0); }},
    {"dimNegative", State::Writing, Errc::BadDimension,
     [](auto& s) { return startSymbol(s, "x", -1, 1); }},
    {"dim21", State::Writing, Errc::BadDimension,
     [](auto& s) { return startSymbol(s, "x", 21, 1); }},
    {"typeNegative", State::Writing, Errc::BadType,
     [](auto& s) { return startSymbol(s, "x", 1, -1); }},
    {"typeAlias", State::Writing, Errc::BadType, [](auto& s) { return startSymbol(s, "x", 1, 4); }},
    {"explTextTooLong", State::Writing, Errc::TextTooLong,
     [](auto& s) { return startSymbol(s, "x", 1, 1, longText.c_str()); }},
    {"setTextTooLong", State::Writing, Errc::TextTooLong,
     [](auto& s) { return C__zxfAddSetText(s.zxf, longText.c_str(), &n); }},
    {"symbolInSymbol", State::WritingSymbol, Errc::SymbolIsOpen,
     [](auto& s) { return startSymbol(s, "x", 1, 1); }},
    {"closeInSymbol", State::WritingSymbol, Errc::SymbolIsOpen,
     [](auto& s) { return C__zxfClose(s.zxf); }},
    {"closeInLabels", State::WritingLabels, Errc::LabelsAreOpen,
     [](auto& s) { return C__zxfClose(s.zxf); }},
    {"aliasInSymbol", State::WritingSymbol, Errc::SymbolIsOpen,
     [](auto& s) { return C__zxfAddAlias(s.zxf, "x", "i"); }},
    {"aliasOfParameter", State::Writing, Errc::BadAliasTarget,
     [](auto& s) { return C__zxfAddAlias(s.zxf, "x", "p"); }},
    {"aliasOfNothing", State::Writing, Errc::BadAliasTarget,
     [](auto& s) { return C__zxfAddAlias(s.zxf, "x", "nobody"); }},
    {"aliasTaken", State::Writing, Errc::NameTaken,
     [](auto& s) { return C__zxfAddAlias(s.zxf, "I", "i"); }},
    {"recordOutside", State::Writing, Errc::NoSymbolOpen,
     [](auto& s) {
       return s.write({1, 1});
     }},
    {"doneOutside", State::Writing, Errc::NoSymbolOpen,
     [](auto& s) { return C__zxfDataWriteDone(s.zxf); }},
    {"recordLabelZero", State::WritingSymbol, Errc::BadLabelNumber,
     [](auto& s) {
       return s.write({3, 0});
     }},
    {"recordLabelTooHigh", State::WritingSymbol, Errc::BadLabelNumber,
     [](auto& s) {
       return s.write({4, 1});
     }},
    {"recordLabelNegative", State::WritingSymbol, Errc::BadLabelNumber,
     [](auto& s) {
       return s.write({-5, 1});
     }},
    {"recordRepeated", State::WritingSymbol, Errc::KeyOrder,
     [](auto& s) {
       return s.write({2, 2});
     }},
    {"recordBackwards", State::WritingSymbol, Errc::KeyOrder,
     [](auto& s) {
       return s.write({1, 3});
     }},
    {"recordNullKey", State::WritingSymbol, Errc::NullArgument,
     [](auto& s) { return C__zxfDataWriteRaw(s.zxf, nullptr, values); }},
    {"recordNullValues", State::WritingSymbol, Errc::NullArgument,
     [](auto& s) { return C__zxfDataWriteRaw(s.zxf, key, nullptr); }},
    {"domainTooLate", State::WritingSymbol, Errc::RecordsWritten,
     [](auto& s) { return s.setDomain("i", "i"); }},
    {"domainOutside", State::Writing, Errc::NoSymbolOpen,
     [](auto& s) { return s.setDomain("i", "i"); }},
    {"domainNull", State::WritingSymbol, Errc::NullArgument,
     [](auto& s) { return C__zxfSymbolSetDomain(s.zxf, nullptr); }},
    {"relaxedTooLong", State::Writing, Errc::TextTooLong,
     [](auto& s) { return s.setDomainX(2, longText.c_str()); }},
    {"relaxedNull", State::Writing, Errc::NullArgument,
     [](auto& s) { return s.setDomainX(2, nullptr); }},
    {"relaxedZero", State::Writing, Errc::BadSymbolNumber,
     [](auto& s) { return s.setDomainX(0, "i"); }},
    {"relaxedTooHigh", State::Writing, Errc::BadSymbolNumber,
     [](auto& s) { return s.setDomainX(5, "i"); }},
    {"relaxedAlias", State::Writing, Errc::BadType, [](auto& s) { return s.setDomainX(4, "i"); }},
};

class ZxfMisuse : public ::testing::TestWithParam<Misuse> {};

TEST_P(ZxfMisuse, CountsOneErrorAndChangesNothing) {
  Session session(GetParam().state);
  ASSERT_EQ(C__zxfErrorCount(session.zxf), 0);
  EXPECT_EQ(GetParam().call(session), 0);
  EXPECT_EQ(session.zxf.takeErrors(), std::vector<int>{static_cast<int>(GetParam().expected)});
  session.finish();
}

INSTANTIATE_TEST_SUITE_P(Calls, ZxfMisuse, ::testing::ValuesIn(kMisuses),
                         [](const auto& misuse) { return misuse.param.name; });

TEST(ZxfCalls, NullHandle_FailsEverywhere) {
  int error = 0;
  EXPECT_EQ(C__zxfOpenRead(nullptr, "a", &error), 0);
  EXPECT_EQ(error, static_cast<int>(Errc::NullArgument));
  EXPECT_EQ(C__zxfDataWriteRaw(nullptr, key, values), 0);
  EXPECT_EQ(C__zxfDataReadRaw(nullptr, key, values, &n), 0);
  EXPECT_EQ(C__zxfClose(nullptr), 0);
  EXPECT_EQ(C__zxfErrorCount(nullptr), 0);
  EXPECT_EQ(C__zxfErrorStr(nullptr, 22, buffer), 1);
  XFree(nullptr);
  XCreate(nullptr);
}

TEST(ZxfCalls, Lookups_IgnoreCaseAndCountNoError) {
  const Session session(State::Reading);
  const struct {
    const char* name;
    int result;
    int number;
  } kLookups[] = {{"i", 1, 1}, {"COST", 1, 8}, {"Any", 1, 4},
                  {"*", 1, 0}, {"", 0, -1},    {"zz", 0, -1}};
  for (const auto& lookup : kLookups) {
    EXPECT_EQ(C__zxfFindSymbol(session.zxf, lookup.name, &n), lookup.result) << lookup.name;
    EXPECT_EQ(n, lookup.number) << lookup.name;
  }
  EXPECT_EQ(C__zxfFindSymbol(session.zxf, std::string(300, 'i').c_str(), &n), 0);
  EXPECT_EQ(C__zxfGetElemText(session.zxf, 4, buffer, &n), 0);
  EXPECT_EQ(C__zxfGetElemText(session.zxf, 0, buffer, &n), 0);
  EXPECT_EQ(C__zxfSymbolInfo(session.zxf, 0, buffer, &n, &m), 1);
  EXPECT_STREQ(buffer, "*");
  EXPECT_EQ(n, 1);
  EXPECT_EQ(m, 0);
  EXPECT_EQ(C__zxfSymbolInfoX(session.zxf, 0, &n, &m, buffer), 1);
  EXPECT_EQ(n, 4);
  EXPECT_EQ(C__zxfErrorCount(session.zxf), 0);
}

TEST(ZxfCalls, StartingASymbol_EndsTheOneBefore) {
  const Session session(State::ReadingSymbol);
  EXPECT_EQ(C__zxfDataReadRaw(session.zxf, key, values, &n), 1);
  EXPECT_EQ(C__zxfDataReadRawStart(session.zxf, 2, &m), 1);
  EXPECT_EQ(m, 3);
  EXPECT_EQ(C__zxfDataReadRaw(session.zxf, key, values, &n), 1);
  EXPECT_EQ(key[0], 2);
  EXPECT_EQ(n, 1);
}

TEST(ZxfCalls, ErrorCount_GrowsWhileNumbersAreTakenOff) {
  const Session session(State::WritingSymbol);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(session.write({9, i + 1}), 0);
  EXPECT_EQ(session.write({1, 1}), 0);
  EXPECT_EQ(C__zxfErrorCount(session.zxf), 4);
  EXPECT_EQ(session.zxf.takeErrors(), (std::vector<int>{58, 58, 58, 59}));
  EXPECT_EQ(C__zxfErrorCount(session.zxf), 4);
  EXPECT_EQ(session.zxf.errorText(58),
            "There is no label with that number: symbol q, label numbers (9,1), 3 labels");
}

// Strict domains of a two-dimensional parameter; records (1,1), (1,3), (3,1), (3,3) follow.
TEST(ZxfCalls, StrictDomains_AreCheckedAndRecordsOutsideLeftOut) {
  const struct {
    const char* first;
    const char* second;
    Errc expected;  // of the call that sets the domain
    std::vector<std::string> domains;
    std::vector<std::vector<int>> kept;
  } kCases[] = {
      {"I", "*", Errc::None, {"i", "*"}, {{1, 1}, {1, 3}}},
      {"*", "k", Errc::None, {"*", "k"}, {{1, 1}, {3, 1}}},
      {"i", "i", Errc::None, {"i", "i"}, {{1, 1}}},
      {"any", "*", Errc::None, {"any", "*"}, {{1, 1}, {1, 3}, {3, 1}, {3, 3}}},
      {"ij", "*", Errc::BadDomain, {}, {{1, 1}, {1, 3}, {3, 1}, {3, 3}}},
      {"i", "p", Errc::BadDomain, {}, {{1, 1}, {1, 3}, {3, 1}, {3, 3}}},
      {"i", "nobody", Errc::UnknownDomain, {}, {{1, 1}, {1, 3}, {3, 1}, {3, 3}}},
      {"i", "q", Errc::UnknownDomain, {}, {{1, 1}, {1, 3}, {3, 1}, {3, 3}}},  // itself
      {"i", nullptr, Errc::NullArgument, {}, {{1, 1}, {1, 3}, {3, 1}, {3, 3}}},
  };
  for (const auto& c : kCases) {
    const Session session(State::Writing);
    EXPECT_EQ(C__zxfAddAlias(session.zxf, "any", "*"), 1);
    EXPECT_EQ(startSymbol(session, "q", 2, 1), 1);
    EXPECT_EQ(session.setDomain(c.first, c.second), c.expected == Errc::None ? 1 : 0);
    EXPECT_EQ(C__zxfGetLastError(session.zxf), static_cast<int>(c.expected));
    int accepted = 0;
    for (const auto& k : {std::array{1, 1}, {1, 3}, {3, 1}, {3, 3}}) accepted += session.write(k);
    EXPECT_EQ(session.zxf.takeErrors(),
              std::vector<int>(4 - accepted, static_cast<int>(Errc::DomainViolation)));
    EXPECT_EQ(C__zxfDataWriteDone(session.zxf), 1);
    const bool strict = c.expected == Errc::None;
    EXPECT_EQ(session.setDomainX(6, "later"), strict ? 0 : 1);
    EXPECT_EQ(C__zxfClose(session.zxf), 1);
    const Symbol q = readContent(session.path("out")).symbols[5];
    std::vector<std::vector<int>> kept;
    for (const Record& record : q.records) kept.push_back(record.key);
    EXPECT_EQ(kept, c.kept);
    EXPECT_EQ(q.domain, strict ? Domain::Strict : Domain::Relaxed);
    EXPECT_EQ(q.domains, strict ? c.domains : (std::vector<std::string>{"later", "*"}));
  }
}

TEST(ZxfCalls, AliasOfAlias_StandsForTheSet) {
  const Session session(State::Writing);
  EXPECT_EQ(C__zxfAddAlias(session.zxf, "k2", "K"), 1);
  EXPECT_EQ(C__zxfAddAlias(session.zxf, "ij2", "ij"), 1);
  EXPECT_EQ(C__zxfClose(session.zxf), 1);
  const Content content = readContent(session.path("out"));
  EXPECT_EQ(content.symbols[4].userInfo, 1);
  EXPECT_EQ(content.symbols[5].userInfo, 2);
  EXPECT_EQ(content.symbols[5].dim, 2);
}

TEST(ZxfCalls, ScalarTakesOneRecord) {
  const Session session(State::Writing);
  const double value = 4;
  EXPECT_EQ(startSymbol(session, "s", 0, 1), 1);
  EXPECT_EQ(C__zxfDataWriteRaw(session.zxf, nullptr, &value), 1);
  EXPECT_EQ(C__zxfDataWriteRaw(session.zxf, nullptr, &value), 0);
  EXPECT_EQ(session.zxf.takeErrors(), std::vector<int>{static_cast<int>(Errc::KeyOrder)});
}

}  // namespace
