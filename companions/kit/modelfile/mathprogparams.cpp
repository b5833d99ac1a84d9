#include "kit/modelfile/mathprogparams.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <map>
#include <set>
#include <span>
#include <utility>

#include "contract/entryname.h"
#include "contract/guess.h"
#include "kit/error.h"
#include "kit/modelfile/errors.h"
#include "kit/modelfile/filemodel.h"
#include "kit/modelfile/mathprogtext.h"
#include "kit/names.h"

namespace zdb::kit::modelfile {

namespace {

using Tokens = std::span<const Token>;

// Stands for a value that is not there. No model means this number.
constexpr const char* kNone = "-1.2345e300";

bool isOneOf(const Token& token, std::initializer_list<std::string_view> words) {
  return std::find(words.begin(), words.end(), token.text) != words.end();
}

int depthChange(const Token& token) {
  if (isOneOf(token, {"(", "[", "{"})) return 1;
  return isOneOf(token, {")", "]", "}"}) ? -1 : 0;
}

// The first token from `from` on that stands outside of brackets and is one of these, or the end.
std::size_t findOutside(Tokens tokens, std::size_t from,
                        std::initializer_list<std::string_view> words) {
  int depth = 0;
  for (std::size_t k = from; k < tokens.size(); ++k) {
    if (depth == 0 && isOneOf(tokens[k], words)) return k;
    depth += depthChange(tokens[k]);
  }
  return tokens.size();
}

// The parts between the commas that stand outside of brackets.
std::vector<Tokens> splitAtCommas(Tokens tokens) {
  std::vector<Tokens> parts;
  for (std::size_t begin = 0; begin <= tokens.size();) {
    const std::size_t end = findOutside(tokens, begin, {","});
    if (end > begin) parts.push_back(tokens.subspan(begin, end - begin));
    begin = end + 1;
  }
  return parts;
}

// On one line, without comments.
std::string joined(Tokens tokens) {
  std::string text;
  for (const Token& token : tokens) text.append(text.empty() ? "" : " ").append(token.text);
  return text;
}

std::string joined(const std::vector<std::string>& texts, const std::string& after = "") {
  std::string all;
  for (const std::string& text : texts) all.append(all.empty() ? "" : ", ").append(text + after);
  return all;
}

bool isQuoted(const Token& token) {
  return token.text.front() == '\'' || token.text.front() == '"';
}

// The declaration of a param, by its tokens.
struct Declaration {
  Tokens tokens;  // param NAME ['alias'] [{domain}] attributes
  std::size_t end = 0;
  Tokens domain;             // without the braces
  std::size_t attributes{};  // index of the first token
  std::size_t assignment{};  // index of ":="; if there is none, the number of tokens
  bool isSymbolic = false;

  explicit Declaration(const MathProgStatement& statement)
      : tokens(statement.tokens), end(statement.end) {
    std::size_t next = 2;
    if (next < tokens.size() && isQuoted(tokens[next])) ++next;
    if (next < tokens.size() && tokens[next].is("{")) {
      const std::size_t close = findOutside(tokens, next + 1, {"}"});
      domain = tokens.subspan(next + 1, std::min(close, tokens.size()) - next - 1);
      next = std::min(close + 1, tokens.size());
    }
    attributes = next;
    assignment = tokens.size();
    for (const Tokens& part : splitAtCommas(tokens.subspan(next))) {
      const std::size_t value = findOutside(part, 0, {":=", "default"});
      isSymbolic = isSymbolic || findOutside(part.first(value), 0, {"symbolic"}) < value;
      if (value < part.size() && part[value].is(":=")) {
        assignment = static_cast<std::size_t>(&part[value] - tokens.data());
      }
    }
  }

  bool hasAssignment() const { return assignment < tokens.size(); }
  std::size_t expressionEnd() const { return findOutside(tokens, assignment, {","}); }

  // The default, if it refers to other entries of the param, else nothing.
  Tokens recursiveDefault() const {
    for (const Tokens& part : splitAtCommas(tokens.subspan(attributes))) {
      const Tokens value = part.subspan(findOutside(part, 0, {"default"}));
      const bool isRecursive = std::any_of(value.begin(), value.end(), [this](const Token& token) {
        return token.is(tokens[1].text);
      });
      if (isRecursive) return value.subspan(1);
    }
    return {};
  }

  // All attributes but the default.
  std::string checks() const {
    std::vector<std::string> kept;
    for (const Tokens& part : splitAtCommas(tokens.subspan(attributes))) {
      const std::string text = joined(part.first(findOutside(part, 0, {"default"})));
      if (!text.empty()) kept.push_back(text);
    }
    return joined(kept);
  }
};

// The domain of a param with names for all its indices.
class Domain {
 public:
  // `dimensions` are those of sets, `known` all names of the model.
  Domain(const std::string& param, Tokens tokens, const std::set<std::string_view>& known)
      : param_(param), known_(known) {
    const std::size_t colon = findOutside(tokens, 0, {":"});
    entries_ = splitAtCommas(tokens.first(colon));
    condition_ = joined(tokens.subspan(colon));
  }

  // Names what has no name; there are `count` indices.
  void name(std::size_t count, const std::map<std::string_view, int>& dimensions,
            const std::string& prefix) {
    std::vector<std::size_t> unnamed;
    std::vector<std::vector<std::string>> found(entries_.size());
    std::size_t named = 0;
    for (std::size_t e = 0; e < entries_.size(); ++e) {
      if (!takeNames(entries_[e], found[e])) unnamed.push_back(e);
      named += found[e].size();
    }
    if (named > count || (unnamed.empty() && named != count)) failCount(named, count);
    nameOthers(unnamed, named, count - named, dimensions, prefix, found);
    for (const auto& names : found) names_.insert(names_.end(), names.begin(), names.end());
  }

  const std::vector<std::string>& names() const { return names_; }

  std::string text() const {
    return "{" + joined(texts_) + (condition_.empty() ? "" : " ") + condition_ + "}";
  }

 private:
  [[noreturn]] void failCount(std::size_t needed, std::size_t given) const {
    throw ReadError("param " + param_ + " needs " + std::to_string(needed) +
                    (needed == 1 ? " label, not " : " labels, not ") + std::to_string(given));
  }

  // The names in i in I, (i,j) in IJ. Returns false if it is a set alone.
  bool takeNames(Tokens entry, std::vector<std::string>& found) {
    const bool isTuple = entry.front().is("(");
    const std::size_t close = isTuple ? findOutside(entry, 1, {")"}) : 0;
    const bool hasNames = close + 1 < entry.size() && entry[close + 1].is("in");
    if (!hasNames) return false;
    if (!isTuple) {
      found.emplace_back(entry.front().text);
      seen_.insert(entry.front().text);
      return true;
    }
    // What has a value already selects from the set.
    for (const Tokens& part : splitAtCommas(entry.subspan(1, close - 1))) {
      const std::string_view text = part.front().text;
      const bool isNew = part.size() == 1 && part.front().isName() && !known_.contains(text) &&
                         !seen_.contains(text);
      if (isNew) found.emplace_back(text);
      if (isNew) seen_.insert(text);
    }
    return true;
  }

  // The sets alone share the labels that are left: by their declarations if there are several.
  void nameOthers(const std::vector<std::size_t>& unnamed, std::size_t named, std::size_t left,
                  const std::map<std::string_view, int>& dimensions, const std::string& prefix,
                  std::vector<std::vector<std::string>>& found) {
    std::size_t sum = 0;
    std::vector<std::size_t> sizes;
    for (const std::size_t e : unnamed) {
      const auto known = dimensions.find(entries_[e].front().text);
      const int dim = known == dimensions.end() ? 1 : known->second;
      sizes.push_back(unnamed.size() == 1 ? left : static_cast<std::size_t>(dim));
      sum += sizes.back();
    }
    if (sum != left || left < unnamed.size()) failCount(named + sum, named + left);
    int next = 0;
    for (std::size_t u = 0; u < unnamed.size(); ++u) {
      for (std::size_t k = 0; k < sizes[u]; ++k) {
        found[unnamed[u]].push_back(prefix + "i" + std::to_string(++next));
      }
    }
    for (std::size_t e = 0; e < entries_.size(); ++e) {
      const bool isUnnamed = std::find(unnamed.begin(), unnamed.end(), e) != unnamed.end();
      std::string names = joined(found[e]);
      if (found[e].size() != 1) names.insert(0, "(").append(")");
      const std::string set = joined(entries_[e]);
      texts_.push_back(isUnnamed ? names.append(" in ").append(set) : set);
    }
  }

  const std::string& param_;
  const std::set<std::string_view>& known_;
  std::vector<Tokens> entries_;
  std::string condition_;
  std::set<std::string_view> seen_;
  std::vector<std::string> names_;
  std::vector<std::string> texts_;
};

// Insertions and replacements in a text.
class Edits {
 public:
  explicit Edits(const std::string& text) : text_(text) {}

  void insert(std::size_t at, std::string what) { edits_.push_back({at, 0, std::move(what)}); }
  void replace(const Token& token, std::string what) {
    edits_.push_back({token.at, token.text.size(), std::move(what)});
  }

  std::string made() {
    std::stable_sort(edits_.begin(), edits_.end(),
                     [](const Edit& a, const Edit& b) { return a.at < b.at; });
    std::string result;
    std::size_t done = 0;
    for (const Edit& edit : edits_) {
      result.append(text_, done, edit.at - done).append(edit.what);
      done = edit.at + edit.removed;
    }
    return result.append(text_, done);
  }

 private:
  struct Edit {
    std::size_t at;
    std::size_t removed;
    std::string what;
  };
  const std::string& text_;
  std::vector<Edit> edits_;
};

std::string printed(double value) {
  std::array<char, 32> text;
  const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), value);
  return {text.data(), end};
}

std::string quotedLabel(const std::string& label) {
  std::string text = "'";
  for (const char c : label) text.append(c == '\'' ? 2 : 1, c);
  return text + "'";
}

// The names that statements of a model declare, and the dimensions of its sets.
struct Declared {
  std::set<std::string_view> names;
  std::map<std::string_view, int> dimensions;
  std::vector<const MathProgStatement*> params;
};

Declared declaredIn(const MathProgText& text) {
  Declared declared;
  for (const MathProgStatement& statement : text.statements) {
    const std::vector<Token>& tokens = statement.tokens;
    const bool isDeclaration = !statement.isData && tokens.size() >= 2 && tokens[1].isName() &&
                               isOneOf(tokens[0], {"param", "set", "var"});
    if (!isDeclaration) continue;
    declared.names.insert(tokens[1].text);
    if (tokens[0].is("param")) declared.params.push_back(&statement);
    const std::size_t dimen = findOutside(tokens, 2, {"dimen"});
    if (tokens[0].is("set") && dimen + 1 < tokens.size()) {
      declared.dimensions[tokens[1].text] = std::atoi(std::string(tokens[dimen + 1].text).c_str());
    }
  }
  return declared;
}

// A text of which no other text has a word that begins with it.
std::string unusedPrefix(const std::string& model, const std::string& data) {
  std::string prefix = "zkit_";
  while (model.find(prefix) != std::string::npos || data.find(prefix) != std::string::npos) {
    prefix += "_";
  }
  return prefix;
}

class Changer {
 public:
  Changer(const std::string& model, const std::string& data)
      : model_(model),
        data_(data),
        modelText_(splitMathProg(model, false)),
        dataText_(splitMathProg(data, true)),
        declared_(declaredIn(modelText_)),
        modelEdits_(model),
        dataEdits_(data),
        prefix_(unusedPrefix(model, data)) {}

  ChangedTexts change(const std::vector<ParamValue>& values) {
    std::map<std::string, std::vector<const ParamValue*>> byParam;
    for (const ParamValue& value : values) byParam[value.param].push_back(&value);
    for (const auto& [param, its] : byParam) changeParam(param, its);
    addData();
    result_.model = modelEdits_.made();
    result_.data = dataEdits_.made();
    return std::move(result_);
  }

 private:
  using Values = std::vector<const ParamValue*>;

  Declaration declarationOf(const std::string& param, const ParamValue& value) const {
    contract::NearestWord nearest(param);
    for (const MathProgStatement* statement : declared_.params) {
      if (!statement->tokens[1].is(param)) {
        nearest.consider(statement->tokens[1].text);
        continue;
      }
      Declaration declaration(*statement);
      if (!declaration.isSymbolic) return declaration;
      throw ReadError("\"" + value.written + "\": the values of param " + param + " are texts");
    }
    throw ReadError("\"" + value.written + "\": the model has no param " + param +
                    nearest.question());
  }

  void changeParam(const std::string& param, const Values& values) {
    const Declaration declaration = declarationOf(param, *values.front());
    const std::string number = std::to_string(result_.params.size() + 1);
    ChangedTexts::Param made{param, "", ""};
    if (!declaration.hasAssignment()) made.old = prefix_ + "o" + number;
    const bool isScalar = declaration.domain.empty();
    const std::size_t dim = values.front()->labels.size();
    for (const ParamValue* value : values) {
      if (isScalar && dim > 0) failLabels(*value, "has no labels");
      if (!isScalar && dim == 0) failLabels(*value, "needs labels");
      if (value->labels.size() != dim) failLabels(*value, "is given different numbers of labels");
    }
    if (isScalar) {
      changeText(declaration, made, "", printed(values.back()->value), "0 = 0", "");
    } else {
      changeIndexed(declaration, made, number, values, dim);
    }
    result_.params.push_back(made);
  }

  [[noreturn]] static void failLabels(const ParamValue& value, const char* why) {
    throw ReadError("\"" + value.written + "\": param " + value.param + " " + why);
  }

  void changeIndexed(const Declaration& declaration, ChangedTexts::Param& made,
                     const std::string& number, const Values& values, std::size_t dim) {
    Domain domain(made.name, declaration.domain, declared_.names);
    domain.name(dim, declared_.dimensions, prefix_);
    made.changes = prefix_ + "c" + number;
    const std::string all = prefix_ + "d" + number;
    const std::string fresh = prefix_ + "n" + number;
    const std::string dimen = " dimen " + std::to_string(dim);
    const std::string key = joined(domain.names(), " & ''");
    std::string before = "set ";
    before.append(all + dimen + " := setof" + domain.text() + " (" + key + "); ");
    before.append("set " + made.changes + dimen + ", within " + all + "; ");
    before.append("param " + fresh + "{" + made.changes + "}; ");
    modelEdits_.insert(declaration.tokens.front().at, before);
    std::string asking = " check: card(" + made.changes + ") > 0; ";  // computes and checks it
    asking.append("printf '" + std::string(FileModel::kNote) + "entries " + made.name +
                  " %d\\n', card(" + all + "); ");
    modelEdits_.insert(std::max(declaration.tokens.front().at, endOfTables()), asking);
    changeText(declaration, made, domain.text(), fresh + "[" + key + "]",
               "(" + key + ") in " + made.changes, "[" + joined(domain.names()) + "]");
    addValues(made.changes, fresh, values);
  }

  // `domain` and `index` are empty for a param without labels.
  void changeText(const Declaration& declaration, const ChangedTexts::Param& made,
                  const std::string& domain, const std::string& value, const std::string& condition,
                  const std::string& index) {
    const std::string choice = " if " + condition + " then (" + value + ") else ";
    if (declaration.hasAssignment()) {
      const Tokens& tokens = declaration.tokens;
      const std::size_t end = declaration.expressionEnd();
      modelEdits_.insert(tokens[declaration.assignment].end(), choice + "(");
      modelEdits_.insert(tokens[end - 1].end(), ")");
      if (!domain.empty()) replaceDomain(declaration, domain);
      return;
    }
    modelEdits_.replace(declaration.tokens[1], made.old);
    const Tokens otherwise = declaration.recursiveDefault();
    const std::string old = made.old + index;
    const std::string kept = otherwise.empty() ? old
                                               : "if " + old + " <> " + kNone + " then " + old +
                                                     " else (" + joined(otherwise) + ")";
    if (!otherwise.empty()) {
      replaceText(declaration.tokens[declaration.attributes], declaration.tokens.back(),
                  std::string(", default ") + kNone);
    }
    const std::string checks = declaration.checks();
    modelEdits_.insert(declaration.end, " param " + made.name + domain + " " + checks +
                                            (checks.empty() ? "" : ",") + " :=" + choice + kept +
                                            ";");
    renameData(modelText_, modelEdits_, made);
    renameData(dataText_, dataEdits_, made);
  }

  // All indices need names.
  void replaceDomain(const Declaration& declaration, const std::string& domain) {
    replaceText(declaration.domain.front(), declaration.domain.back(),
                domain.substr(1, domain.size() - 2));
  }

  // Keeps the number of lines.
  void replaceText(const Token& first, const Token& last, const std::string& what) {
    const std::string_view text = std::string_view(model_).substr(first.at, last.end() - first.at);
    const auto lines = std::count(text.begin(), text.end(), '\n');
    modelEdits_.replace({text, first.at},
                        what + std::string(static_cast<std::size_t>(lines), '\n'));
  }

  static void renameData(const MathProgText& text, Edits& edits, const ChangedTexts::Param& made) {
    for (const MathProgStatement& statement : text.statements) {
      const std::vector<Token>& tokens = statement.tokens;
      if (!statement.isData && isTableThatIsRead(tokens)) renameInTable(tokens, edits, made);
      const bool isData = tokens.front().is("param") && statement.isData && tokens.size() > 1;
      if (!isData) continue;
      const std::size_t colon = findOutside(tokens, 1, {":", ":="});
      const bool isList = tokens[1].is(":") || tokens[1].is("default");
      const std::size_t end = findOutside(tokens, colon, {":="});
      for (std::size_t k = isList ? colon : 1; k < (isList ? end : 2); ++k) {
        if (tokens[k].is(made.name)) edits.replace(tokens[k], made.old);
      }
    }
  }

  // What is read from tables, as sets often are, has values from there on.
  std::size_t endOfTables() const {
    std::size_t end = 0;
    for (const MathProgStatement& statement : modelText_.statements) {
      if (!statement.isData && isTableThatIsRead(statement.tokens)) end = statement.end;
    }
    return end;
  }

  static bool isTableThatIsRead(Tokens tokens) {
    const std::size_t colon = findOutside(tokens, 1, {":"});
    return tokens.front().is("table") && findOutside(tokens.first(colon), 1, {"IN"}) < colon;
  }

  // Fields of a file may have the names of params: they stand in brackets, after "~", and where a
  // param stands alone, which gets the field of its name. A table that is written has expressions.
  static void renameInTable(Tokens tokens, Edits& edits, const ChangedTexts::Param& made) {
    const std::size_t colon = findOutside(tokens, 1, {":"});
    for (std::size_t k = findOutside(tokens, colon, {made.name}); k < tokens.size();
         k = findOutside(tokens, k + 1, {made.name})) {
      const bool hasField = k + 1 < tokens.size() && tokens[k + 1].is("~");
      if (!tokens[k - 1].is("~")) {
        edits.replace(tokens[k], hasField ? made.old : made.old + " ~ " + made.name);
      }
    }
  }

  void addValues(const std::string& changes, const std::string& fresh, const Values& values) {
    std::string set = "set " + changes + " :=";
    std::string param = "param " + fresh + " :=";
    std::map<std::string, double> byKey;  // of two values for an entry, the later one counts
    for (const ParamValue* value : values) {
      std::vector<std::string> labels;
      for (const std::string& label : value->labels) labels.push_back(quotedLabel(label));
      byKey[joined(labels)] = value->value;
    }
    for (const auto& [key, value] : byKey) {
      set.append(" (" + key + ")");
      param.append(" [" + key + "] " + printed(value));
    }
    added_.append(set + "; " + param + "; ");
  }

  void addData() {
    if (added_.empty()) return;
    const bool isApart = !data_.empty();
    const MathProgText& text = isApart ? dataText_ : modelText_;
    const std::string& whole = isApart ? data_ : model_;
    std::string piece = (text.endsInData ? " " : " data; ") + added_;
    if (text.end == whole.size()) piece = "\n" + piece + " end;\n";
    (isApart ? dataEdits_ : modelEdits_).insert(text.end, piece);
  }

  const std::string& model_;
  const std::string& data_;
  MathProgText modelText_;
  MathProgText dataText_;
  Declared declared_;
  Edits modelEdits_;
  Edits dataEdits_;
  std::string prefix_;
  std::string added_;  // data statements
  ChangedTexts result_;
};

void replaceAll(std::string& text, const std::string& what, const std::string& by) {
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at)) {
    text.replace(at, what.size(), by);
    at += by.size();
  }
}

}  // namespace

ParamValue paramValue(const std::string& name, double value) {
  const contract::EntryName entry =
      contract::readEntryName(contract::withoutEndingBlanks(contract::withoutLeadingBlanks(name)),
                              contract::PlainLabels::Anything);
  if (!entry.fault.empty()) throw ReadError("\"" + name + "\": " + entry.fault);
  if (!std::isfinite(value)) throw ReadError("\"" + name + "\" cannot be " + printed(value));
  return {name, std::string(entry.symbol), entry.labels, value};
}

std::vector<std::string> changeableParams(std::string_view model) {
  const MathProgText text = splitMathProg(model, false);
  const Declared declared = declaredIn(text);
  std::vector<std::string> params;
  for (const MathProgStatement* statement : declared.params) {
    const std::string name(statement->tokens[1].text);
    const bool isUpdatable = declared.names.contains(name + std::string(kParameterSuffix));
    if (!isUpdatable && !Declaration(*statement).isSymbolic) params.push_back(name);
  }
  return params;
}

ChangedTexts changeParams(const std::string& model, const std::string& data,
                          const std::vector<ParamValue>& values) {
  if (values.empty()) return {model, data, {}};
  return Changer(model, data).change(values);
}

std::string inUsersTerms(std::string message, const ChangedTexts& texts) {
  for (const ChangedTexts::Param& param : texts.params) {
    const std::string contains = param.changes + " contains ";
    const std::size_t at = param.changes.empty() ? message.npos : message.find(contains);
    const std::size_t end = message.find(" which not within");
    if (at != message.npos && end != message.npos) {
      const std::size_t from = at + contains.size();
      std::string labels = message.substr(from, end - from);
      std::erase(labels, '\'');  // around labels that are numbers as well
      return message.substr(0, at) + "param " + param.name + kHasNoEntry + labels;
    }
    if (!param.old.empty()) replaceAll(message, param.old, param.name);
  }
  const std::size_t at = message.find_first_of("0123456789", message.rfind(": ") + 2);
  const bool isAboutLabels = message.find(" specified for set of dimension ") != message.npos;
  if (isAboutLabels && at != message.npos) message.insert(at, "in a changed param, ");
  return message;
}

}  // namespace zdb::kit::modelfile
