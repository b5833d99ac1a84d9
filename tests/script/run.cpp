#include "script/driver.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <limits>

namespace zdb::script {

namespace {

// What outputs hold before the call, and behind their end.
constexpr char kMark = '\xA5';
constexpr std::size_t kGuard = 16;
constexpr std::size_t kTextSize = 256;
constexpr std::size_t kMatrixRows = 20;

enum class Style { Plain, Short, Flat };

template <typename T>
T numberOf(const std::string& text) {
  T value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || *end != '\0') throw ScriptError(text + " is not a number");
  return value;
}

double doubleOf(const std::string& text) {
  if (text == "eps") return std::numeric_limits<double>::denorm_min();
  if (text.rfind("0x", 0) == 0) return std::bit_cast<double>(std::stoull(text, nullptr, 16));
  return numberOf<double>(text);
}

bool isMarks(const char* first, std::size_t count) {
  return std::all_of(first, first + count, [](char c) { return c == kMark; });
}

/// Takes what this process has written to standard output since the last call. The first call sends
/// standard output away.
std::string takeOutput() {
  static const int file = [] {
    const int memory = memfd_create("output", 0);
    std::fflush(stdout);
    if (memory < 0 || dup2(memory, STDOUT_FILENO) < 0) throw ScriptError("cannot catch output");
    return memory;
  }();
  std::fflush(stdout);
  std::string text(static_cast<std::size_t>(lseek(file, 0, SEEK_CUR)), '\0');
  if (text.empty()) return text;
  if (pread(file, text.data(), text.size(), 0) < 0 || ftruncate(file, 0) < 0) return "unreadable";
  lseek(file, 0, SEEK_SET);
  return " prints \"" + shown(text) + "\"";
}

}  // namespace

/// One argument of one call: its value, or the memory that it points to.
class Argument {
 public:
  Argument(Run& run, const Parameter& itsParameter, const Token& token, Style style)
      : parameter(itsParameter), run_(run), isList_(token.kind == Token::List), style_(style) {
    items = isList_ ? token.items : std::vector<Token>{token};
    if (token.kind == Token::Null) return;
    if (isList_ && !parameter.isArray) throw ScriptError("an array does not fit");
    if (!parameter.isArray && parameter.shape != Shape::Text) {
      slot = run.value(token, parameter);
      return;
    }
    size_ = parameter.shape == Shape::Text  ? kTextSize
            : parameter.shape == Shape::Int ? sizeof(int)
                                            : sizeof(void*);
    for (const Token& item : items) size_ = std::max(size_, textOf(item).size() + 1);
    fill();
  }

  /// What the function left here, with a blank before; nothing for inputs.
  std::string output(void* object) const {
    if (!parameter.isOutput || slot.pointer == nullptr) return {};
    std::string all;
    for (std::size_t i = 0; i < items.size(); ++i)
      all += (i == 0 ? "" : " ") + shownItem(object, i);
    if (isList_) all = "(" + all + ")";
    return " " + all + (isMarks(bytes_.data() + bytes_.size() - kGuard, kGuard) ? "" : " OVERRUN");
  }

  bool isUntouched(std::size_t i) const { return isMarks(bytes_.data() + i * size_, size_); }
  Slot get(std::size_t i) const {
    Slot value;
    if (!bytes_.empty()) {
      std::memcpy(&value.pointer, bytes_.data() + i * size_, std::min(size_, sizeof value));
    }
    return value;
  }
  void set(std::size_t i, Slot value) { std::memcpy(bytes_.data() + i * size_, &value, size_); }

  const Parameter& parameter;
  Slot slot;
  std::vector<Token> items;

 private:
  std::string textOf(const Token& item) const {
    const bool isText = item.kind == Token::Text || item.kind == Token::Setting;
    return parameter.shape == Shape::Text && isText ? run_.resolved(item) : "";
  }

  void fill() {
    const bool isMatrix = parameter.isArray && parameter.shape == Shape::Text;
    const std::size_t rows = isMatrix ? std::max(items.size(), kMatrixRows) : items.size();
    bytes_.reserve(1);  // an empty array has an address as well
    bytes_.assign(rows * size_ + (parameter.isOutput ? kGuard : 0), kMark);
    for (std::size_t i = 0; i < items.size(); ++i) {
      const Token& item = items[i];
      const bool isRoom = parameter.isOutput && (item.kind == Token::Blank || isNew(item));
      if (parameter.shape != Shape::Text) {
        if (!isRoom) set(i, run_.value(item, parameter));
      } else if (item.kind == Token::Text || item.kind == Token::Setting) {
        setText(i, textOf(item));
      } else if (!isRoom && item.kind != Token::Null) {
        throw ScriptError(item.text + " is not a text");
      }
      rows_.push_back(item.kind == Token::Null ? nullptr : bytes_.data() + i * size_);
    }
    rows_.reserve(1);
    slot.pointer = isMatrix && style_ == Style::Plain ? static_cast<void*>(rows_.data())
                                                      : static_cast<void*>(bytes_.data());
  }

  bool isNew(const Token& item) const {
    return item.kind == Token::Variable && run_.variables.count(item.text) == 0;
  }

  void setText(std::size_t i, const std::string& text) {
    char* const place = bytes_.data() + i * size_;
    if (style_ == Style::Short) {
      place[0] = static_cast<char>(text.size());
      text.copy(place + 1, text.size());
    } else {
      place[text.copy(place, text.size())] = '\0';
    }
  }

  std::string shownItem(void* object, std::size_t i) const {
    if (rows_[i] == nullptr && parameter.shape == Shape::Text) return "null";
    if (isUntouched(i)) return "-";
    if (parameter.shape != Shape::Text) return run_.shownValue(object, parameter, get(i));
    const std::string all(bytes_.data() + i * size_, size_);
    const bool isShort = style_ == Style::Short;
    const std::size_t start = isShort ? 1 : 0;
    const std::size_t length = isShort ? static_cast<unsigned char>(all[0]) : all.find('\0');
    if (length == all.npos) return "UNTERMINATED";
    const std::string text = '"' + shown(all.substr(start, length)) + '"';
    const std::size_t rest = start + length;
    return text + (isShort && !isMarks(&all[rest], all.size() - rest) ? " OVERRUN" : "");
  }

  Run& run_;
  const bool isList_;
  const Style style_;
  std::size_t size_ = 0;  ///< of an item, in bytes
  std::vector<char> bytes_;
  std::vector<char*> rows_;
};

namespace {

/// Whether short strings and matrices can say it: no null among texts, no text above 255 bytes.
bool fitsMatrices(const Function& function, const Statement& statement) {
  const auto fits = [](const Token& t) {
    return t.kind != Token::Null && t.text.size() < kTextSize;
  };
  for (std::size_t i = 0; i < function.parameters.size(); ++i) {
    const Token& token = statement.arguments[i];
    if (function.parameters[i].shape != Shape::Text) continue;
    if (token.text.size() >= kTextSize) return false;
    if (!std::all_of(token.items.begin(), token.items.end(), fits)) return false;
  }
  return true;
}

/// The form of a function that a way uses.
const Form& formFor(const Way& way, const Function& function, bool fits) {
  const auto has = [&](const Form& form) { return form && fits; };
  if (!function.plain) return function.shortStrings;
  if (way.usesShortStrings && has(function.shortStrings)) return function.shortStrings;
  return way.usesTwins && has(function.flat) ? function.flat : function.plain;
}

/// The argument of a function that its twin returns: the last handle that it puts somewhere.
std::size_t handedOut(const Function& function) {
  std::size_t i = function.parameters.size();
  while (i-- > 0) {
    const Parameter& parameter = function.parameters[i];
    if (parameter.shape == Shape::Handle && parameter.isOutput) break;
  }
  return i;
}

/// Calls the twin, which returns the handle and writes the result after its other arguments. With
/// more arguments than the function, it takes the handle by value too, and keeps it if it fails.
Slot callTwin(const Form& form, std::vector<Slot> slots, std::size_t place, bool takesHandle,
              Argument& argument) {
  int status = 0;
  slots.emplace_back().pointer = &status;
  if (takesHandle) {
    slots[place] = argument.get(0);
  } else {
    slots.erase(slots.begin() + static_cast<std::ptrdiff_t>(place));
  }
  const Slot handle = form(slots.data());
  if (!takesHandle || status != 0) argument.set(0, handle);
  Slot result;
  result.integer = status;
  return result;
}

}  // namespace

std::string Way::inSettings(std::string text) const {
  for (const auto& [name_, value] : settings) {
    const std::string mark = "%" + name_;
    for (std::size_t at; (at = text.find(mark)) != text.npos;) text.replace(at, mark.size(), value);
  }
  return text;
}

Run::~Run() {
  for (const auto& [name, variable] : variables) assign(name, {}, false);
  for (const auto& [name, object] : objects) host.destroy(object);
}

void* Run::object(const std::string& name) {
  if (name == "null") return nullptr;
  const auto [place, isNew] = objects.try_emplace(name);
  if (isNew) place->second = host.create(way);
  return place->second;
}

const Variable& Run::variable(const Token& token) const {
  const auto known = variables.find(token.text);
  if (token.kind == Token::Variable && known != variables.end()) return known->second;
  throw ScriptError(token.text + " is not a variable with a value");
}

std::string Run::resolved(const Token& token) const {
  if (token.kind != Token::Setting) return token.text;
  const auto known = way.settings.find(token.text);
  if (known == way.settings.end()) throw ScriptError("unknown setting %" + token.text);
  return known->second;
}

Slot Run::value(const Token& token, const Parameter& parameter) {
  Slot slot;
  if (parameter.shape == Shape::Int) {
    slot.integer = numberOf<int>(resolved(token));
  } else if (parameter.shape == Shape::Double) {
    slot.real = doubleOf(resolved(token));
  } else if (token.kind == Token::Callback) {
    slot.pointer = host.callback(token.text);
    if (slot.pointer == nullptr) throw ScriptError("unknown callback " + token.text);
  } else if (token.kind == Token::Object) {
    slot.pointer = object(token.text);
  } else if (token.kind != Token::Null) {
    slot.pointer = variable(token).handle;
  }
  return slot;
}

std::string Run::shownValue(void* from, const Parameter& parameter, const Slot& value) const {
  if (parameter.shape == Shape::None) return "done";
  if (parameter.shape == Shape::Int) return std::to_string(value.integer);
  if (parameter.shape == Shape::Double) return shown(value.real);
  if (value.pointer == nullptr) return "null";
  return shown(host.describe(from, parameter.kind, value.pointer));
}

std::string Run::shownHandle(const Variable& variable) const {
  Slot slot;
  slot.pointer = variable.handle;
  return shownValue(variable.object, {Shape::Handle, false, false, variable.kind.c_str()}, slot);
}

std::string Run::execute(const Statement& statement) {
  if (statement.name == "at") return shownHandle(variable(statement.arguments.at(0)));
  if (statement.name == "repeat") return repeat(statement);
  if (statement.name == "free") {
    assign(statement.arguments.at(0).text, {}, false);
    return "freed";
  }
  const auto word = host.words.find(statement.name);
  if (word == host.words.end()) return call(statement);
  takeOutput();
  if (beforeCall) beforeCall();
  const std::string actual = word->second(*this, statement);
  if (afterCall) afterCall();
  return actual + takeOutput();
}

/// Calls a function as long as it gives 1 and nothing else; shows its first handle after each.
std::string Run::repeat(const Statement& statement) {
  Statement one = statement;
  one.name = one.arguments.at(0).text;
  one.arguments.erase(one.arguments.begin());
  std::string all;
  for (int i = 0; i < 1000; ++i) {
    const std::string actual = call(one);
    if (actual != "1" && actual != "1 1") return all + actual;
    all += shownHandle(variable(one.arguments.at(0))) + " ";
  }
  return all + "and so on";
}

/// A handle that stays keeps the object that it came from, which a later call may not name.
void Run::assign(const std::string& name, const Variable& variable, bool wasReleased) {
  Variable& old = variables[name];
  if (old.handle != nullptr && old.handle == variable.handle) return;
  if (old.handle != nullptr && !wasReleased) host.release(old.object, old.kind, old.handle);
  old = variable;
}

std::string Run::call(const Statement& statement) {
  const auto known = host.functions.find(statement.name);
  if (known == host.functions.end()) throw ScriptError("unknown function " + statement.name);
  const Function& function = known->second;
  const std::size_t count = function.parameters.size();
  if (statement.arguments.size() != count) {
    throw ScriptError(function.name + " takes " + std::to_string(count) + " arguments");
  }
  const std::size_t out = handedOut(function);
  const auto twin = host.functions.find(function.name + "Py");
  const bool usesTwin = way.usesTwins && twin != host.functions.end() && out < count &&
                        statement.arguments[out].kind != Token::Null;
  const Function& called = usesTwin ? twin->second : function;
  const Form& form = formFor(way, called, fitsMatrices(function, statement));
  const Style style = &form == &called.shortStrings ? Style::Short
                      : &form == &called.flat       ? Style::Flat
                                                    : Style::Plain;
  void* const target = object(statement.object);
  std::vector<Argument> arguments;
  std::vector<Slot> slots;
  if (function.takesObject) slots.emplace_back().pointer = target;
  for (std::size_t i = 0; i < count; ++i) {
    arguments.emplace_back(*this, function.parameters[i], statement.arguments[i], style);
    slots.push_back(arguments.back().slot);
  }
  host.mark(target);
  takeOutput();
  if (beforeCall) beforeCall();
  const Slot result = usesTwin ? callTwin(form, slots, slots.size() - count + out,
                                          called.parameters.size() > count, arguments[out])
                               : form(slots.data());
  if (afterCall) afterCall();
  return report(target, function, result, arguments);
}

std::string Run::report(void* target, const Function& function, const Slot& result,
                        const std::vector<Argument>& arguments) {
  const std::string output = takeOutput();
  const std::string message = host.message(target);
  std::string actual = shownValue(target, function.result, result);
  for (const Argument& argument : arguments) actual += argument.output(target);
  if (!message.empty()) actual += " \"" + shown(message) + "\"";
  actual += output;

  if (function.result.shape == Shape::Handle && result.pointer != nullptr) {
    host.release(target, function.result.kind, result.pointer);
  }
  const bool succeeded = function.result.shape == Shape::None || result.integer != 0;
  const bool released = succeeded && host.releases(function.name);
  for (const Argument& argument : arguments) {
    if (argument.parameter.shape == Shape::Handle) keepHandles(target, argument, released);
  }
  return actual;
}

/// Puts the handles that came into their variables, and releases those that were there or that no
/// variable takes.
void Run::keepHandles(void* target, const Argument& argument, bool wereReleased) {
  if (!argument.parameter.isArray) {
    if (wereReleased) assign(argument.items[0].text, {}, true);
    return;
  }
  for (std::size_t i = 0; argument.parameter.isOutput && i < argument.items.size(); ++i) {
    const Variable got = {argument.parameter.kind, argument.get(i).pointer, target};
    if (argument.isUntouched(i)) continue;
    if (argument.items[i].kind == Token::Variable) {
      assign(argument.items[i].text, got, wereReleased);
    } else if (argument.items[i].kind != Token::Object && got.handle != nullptr) {
      host.release(target, got.kind, got.handle);
    }
  }
}

}  // namespace zdb::script
