#include "script/run.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <optional>

namespace zdb::script {

namespace {

// What outputs hold before the call: printed as "-", and kept beyond their end.
constexpr int kNoInt = -0x5A5A5A5A;
constexpr double kNoDouble = -5.5e155;
constexpr char kNoChar = '#';
constexpr std::size_t kGuard = 4;
constexpr std::size_t kTextSize = 256;
constexpr std::size_t kMatrixRows = 20;
char noObject;
void* const kNoHandle = &noObject;

enum class Style { Plain, Short, Flat };

double toDouble(const std::string& text) {
  if (text == "eps") return std::numeric_limits<double>::denorm_min();
  const bool isBits = text.rfind("0x", 0) == 0;
  double value = 0;
  std::uint64_t bits = 0;
  const char* const end = text.data() + text.size();
  const auto result = isBits ? std::from_chars(text.data() + 2, end, bits, 16)
                             : std::from_chars(text.data(), end, value);
  if (result.ec != std::errc() || result.ptr != end) throw ScriptError(text + " is not a number");
  return isBits ? std::bit_cast<double>(bits) : value;
}

int toInt(const std::string& text) {
  int value = 0;
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value);
  if (result.ec != std::errc() || result.ptr != end) throw ScriptError(text + " is not an integer");
  return value;
}

std::string joined(const Token& token, const std::vector<std::string>& items) {
  if (token.kind != Token::List) return " " + items[0];
  std::string text;
  for (const std::string& item : items) text += (text.empty() ? "" : " ") + item;
  return " (" + text + ")";
}

const std::vector<Token>& itemsOf(const Token& token, std::vector<Token>& single) {
  if (token.kind == Token::List) return token.items;
  single.assign(1, token);
  return single;
}

}  // namespace

/// One argument of one call: the memory that it points to.
class Argument {
 public:
  Argument(const Run& run, const Parameter& parameter, const Token& token, Style style)
      : run_(run), parameter_(parameter), token_(token), style_(style) {
    slot.pointer = nullptr;
    if (token.kind == Token::Null) return;
    std::vector<Token> single;
    const std::vector<Token>& items = itemsOf(token, single);
    count_ = items.size();
    switch (parameter.shape) {
      case Shape::Int:
        slot.integer = toInt(run.resolved(token));
        break;
      case Shape::Double:
        slot.real = toDouble(run.resolved(token));
        break;
      case Shape::Handle:
        slot.pointer = handle(token);
        break;
      case Shape::Callback:
        slot.pointer = reinterpret_cast<void*>(run.host_.callback(token.text));
        break;
      case Shape::Ints:
        fill(ints_, items, kNoInt, [&](const Token& t) { return toInt(run.resolved(t)); });
        break;
      case Shape::Doubles:
        fill(doubles_, items, kNoDouble, [&](const Token& t) { return toDouble(run.resolved(t)); });
        break;
      case Shape::Handles:
        fill(handles, items, kNoHandle, [&](const Token& t) { return handle(t); });
        break;
      case Shape::Text:
        fillText(items);
        break;
      case Shape::Texts:
        fillTexts(items);
        break;
      case Shape::None:
        break;
    }
  }

  /// What the function left here, with a blank before; nothing for inputs.
  std::string output(void* object) const {
    if (!parameter_.isOutput || token_.kind == Token::Null) return {};
    switch (parameter_.shape) {
      case Shape::Ints:
        return list(ints_, kNoInt, [](int i) { return i == kNoInt ? "-" : std::to_string(i); });
      case Shape::Doubles:
        return list(doubles_, kNoDouble, [](double d) { return d == kNoDouble ? "-" : shown(d); });
      case Shape::Handles:
        return list(handles, kNoHandle,
                    [&](void* h) { return described(object, parameter_.kind, h); });
      default:
        return texts();
    }
  }
  std::string described(void* object, const char* kind, void* handle) const {
    return handle == nullptr     ? "null"
           : handle == kNoHandle ? "-"
                                 : run_.host_.describe(object, kind, handle);
  }

  Slot slot;
  std::vector<void*> handles;

 private:
  void* handle(const Token& token) const {
    if (token.kind == Token::Null) return nullptr;
    if (token.kind == Token::Blank) return kNoHandle;
    if (token.kind == Token::Object) return run_.objects_.at(token.text);
    const auto known = run_.variables_.find(token.text);
    if (known != run_.variables_.end()) return known->second.handle;
    if (!parameter_.isOutput) throw ScriptError("$" + token.text + " has no value");
    return kNoHandle;
  }

  template <typename T, typename Convert>
  void fill(std::vector<T>& values, const std::vector<Token>& items, T nothing, Convert convert) {
    for (const Token& item : items) {
      values.push_back(item.kind == Token::Blank ? nothing : convert(item));
    }
    // Inputs end where they end, for tools that see reads beyond it.
    if (parameter_.isOutput) values.resize(values.size() + kGuard, nothing);
    values.reserve(1);
    slot.pointer = values.data();
  }

  /// A text as it is passed, in exactly the bytes that it takes.
  std::vector<char> encoded(const std::string& text) const {
    std::vector<char> bytes(text.begin(), text.end());
    if (style_ == Style::Short) {
      bytes.insert(bytes.begin(), static_cast<char>(text.size()));
    } else {
      bytes.push_back('\0');
    }
    return bytes;
  }

  void fillText(const std::vector<Token>& items) {
    bytes_ = parameter_.isOutput ? std::vector<char>(kTextSize + kGuard, kNoChar)
                                 : encoded(run_.resolved(items[0]));
    slot.pointer = bytes_.data();
  }

  void fillTexts(const std::vector<Token>& items) {
    rows_.resize(items.size());
    for (std::size_t i = 0; i < items.size(); ++i) {
      if (items[i].kind == Token::Null) continue;
      rows_[i] = parameter_.isOutput ? std::vector<char>(kTextSize + kGuard, kNoChar)
                                     : encoded(run_.resolved(items[i]));
    }
    if (style_ == Style::Plain) {
      for (std::vector<char>& row : rows_) pointers_.push_back(row.empty() ? nullptr : row.data());
      pointers_.reserve(1);
      slot.pointer = pointers_.data();
      return;
    }
    bytes_.assign(std::max(items.size(), kMatrixRows) * kTextSize + kGuard, kNoChar);
    for (std::size_t i = 0; i < rows_.size() && !parameter_.isOutput; ++i) {
      std::copy(rows_[i].begin(), rows_[i].end(), bytes_.begin() + i * kTextSize);
    }
    slot.pointer = bytes_.data();
  }

  template <typename T, typename Print>
  std::string list(const std::vector<T>& values, T nothing, Print print) const {
    std::vector<std::string> items;
    for (std::size_t i = 0; i < count_; ++i) items.push_back(print(values[i]));
    const bool overrun =
        !std::all_of(values.begin() + count_, values.end(), [&](T v) { return v == nothing; });
    return joined(token_, items) + (overrun ? " OVERRUN" : "");
  }

  std::string decoded(const char* bytes) const {
    const char* const end = bytes + kTextSize;
    if (std::all_of(bytes, end, [](char c) { return c == kNoChar; })) return "-";
    const std::size_t length = style_ == Style::Short
                                   ? static_cast<unsigned char>(bytes[0])
                                   : static_cast<std::size_t>(std::find(bytes, end, '\0') - bytes);
    if (length == kTextSize) return "UNTERMINATED";
    const char* const first = bytes + (style_ == Style::Short ? 1 : 0);
    return "\"" + shown(std::string(first, length)) + "\"";
  }

  std::string texts() const {
    std::vector<std::string> items;
    const bool isMatrix = parameter_.shape == Shape::Texts && style_ != Style::Plain;
    const bool isRows = parameter_.shape == Shape::Texts && !isMatrix;
    const auto guarded = [](const std::vector<char>& bytes) {
      return std::all_of(bytes.end() - kGuard, bytes.end(), [](char c) { return c == kNoChar; });
    };
    bool overrun = !bytes_.empty() && !guarded(bytes_);
    for (std::size_t i = 0; i < count_; ++i) {
      if (isRows && rows_[i].empty()) {
        items.emplace_back("null");
        continue;
      }
      overrun |= isRows && !guarded(rows_[i]);
      items.push_back(decoded(isRows ? rows_[i].data() : bytes_.data() + i * kTextSize));
    }
    return joined(token_, items) + (overrun ? " OVERRUN" : "");
  }

  const Run& run_;
  const Parameter& parameter_;
  const Token& token_;
  Style style_;
  std::size_t count_ = 0;
  std::vector<int> ints_;
  std::vector<double> doubles_;
  std::vector<char> bytes_;
  std::vector<std::vector<char>> rows_;
  std::vector<char*> pointers_;
};

namespace {

/// Whether short strings and matrices can say it: no null among the texts, none above 255 bytes.
bool fitsMatrices(const Function& function, const Statement& statement) {
  const auto fits = [](const Token& token) {
    return token.kind != Token::Null && token.text.size() < kTextSize;
  };
  for (std::size_t i = 0; i < function.parameters.size(); ++i) {
    const Token& token = statement.arguments[i];
    const Shape shape = function.parameters[i].shape;
    if (shape == Shape::Text && token.text.size() >= kTextSize) return false;
    if (shape == Shape::Texts && !std::all_of(token.items.begin(), token.items.end(), fits)) {
      return false;
    }
  }
  return true;
}

Style styleFor(const Way& way, const Function& function, const Statement& statement) {
  if (function.plain.call == nullptr) return Style::Short;
  if (!fitsMatrices(function, statement)) return Style::Plain;
  if (way.usesShortStrings && function.shortStrings.call != nullptr) return Style::Short;
  if (way.usesTwins && function.flat.call != nullptr) return Style::Flat;
  return Style::Plain;
}

const Form& formOf(const Function& function, Style style) {
  return style == Style::Short  ? function.shortStrings
         : style == Style::Flat ? function.flat
                                : function.plain;
}

/// The position of the handle that the twin of a function returns: its last handle output.
std::optional<std::size_t> handedOut(const Function& function) {
  for (std::size_t i = function.parameters.size(); i-- > 0;) {
    if (function.parameters[i].shape == Shape::Handles && function.parameters[i].isOutput) return i;
  }
  return std::nullopt;
}

/// Calls the twin, which returns the handle and writes the result behind its other arguments. A
/// twin with as many arguments as the function takes the handle by value, too.
Slot callTwin(const Form& form, std::vector<Slot> slots, std::size_t out, bool keepsArgument,
              Argument& argument) {
  Slot status{};
  int result = kNoInt;
  status.pointer = &result;
  slots.push_back(status);
  const auto place = slots.begin() + static_cast<std::ptrdiff_t>(out);
  if (keepsArgument) {
    place->pointer = argument.handles[0];
  } else {
    slots.erase(place);
  }
  void* const handle = form.call(form.function, slots.data()).pointer;
  if (!keepsArgument || result != 0) argument.handles[0] = handle;
  Slot given{};
  given.integer = result;
  return given;
}

}  // namespace

Run::~Run() {
  for (const auto& [name, variable] : variables_) {
    if (variable.handle != nullptr) {
      host_.release(variable.object, variable.kind, variable.handle);
    }
  }
  for (const auto& [name, object] : objects_) host_.destroy(object);
}

void* Run::object(const std::string& name) {
  const auto [place, isNew] = objects_.try_emplace(name);
  if (isNew) place->second = host_.create(way_);
  return place->second;
}

const Variable& Run::variable(const Token& token) const {
  const auto known = variables_.find(token.text);
  if (known == variables_.end()) throw ScriptError("$" + token.text + " has no value");
  return known->second;
}

std::string Run::resolved(const Token& token) const {
  if (token.kind != Token::Setting) return token.text;
  const auto known = way_.settings.find(token.text);
  if (known == way_.settings.end()) throw ScriptError("unknown setting %" + token.text);
  return known->second;
}

std::string Run::execute(const Statement& statement) {
  void* const target = object(statement.object);
  std::string actual;
  if (statement.name == "at") {
    const Variable& shown = variable(statement.arguments.at(0));
    actual =
        shown.handle == nullptr ? "null" : host_.describe(shown.object, shown.kind, shown.handle);
  } else if (statement.name == "free") {
    assign(statement.arguments.at(0).text, "", nullptr, nullptr, false);
    actual = "freed";
  } else if (statement.name == "repeat") {
    actual = repeat(statement);
  } else if (host_.isWord(statement.name)) {
    actual = host_.word(*this, statement);
  } else {
    actual = call(target, host_.functions().find(statement.name)->second, statement);
  }
  if (way_.afterStatement) way_.afterStatement(*this);
  return actual;
}

/// Calls a function as long as it says 1 and nothing else but 1; gives its first handle after each.
std::string Run::repeat(const Statement& statement) {
  Statement one = statement;
  one.name = one.arguments.at(0).text;
  one.arguments.erase(one.arguments.begin());
  const Function& function = host_.functions().find(one.name)->second;
  void* const target = object(one.object);
  std::string all;
  for (int i = 0; i < 1000; ++i) {
    const std::string actual = call(target, function, one);
    if (actual != "1" && actual != "1 1") return all + actual;
    const Variable& moved = variable(one.arguments.at(0));
    all += host_.describe(moved.object, moved.kind, moved.handle) + " ";
  }
  return all + "and so on";
}

void Run::assign(const std::string& name, const std::string& kind, void* handle, void* object,
                 bool wasReleased) {
  Variable& variable = variables_[name];
  if (variable.handle != nullptr && variable.handle != handle && !wasReleased) {
    host_.release(variable.object, variable.kind, variable.handle);
  }
  variable = {kind, handle, object};
}

std::string Run::call(void* object, const Function& function, const Statement& statement) {
  Style style = styleFor(way_, function, statement);
  const auto out = handedOut(function);
  const auto twin = host_.functions().find(function.name + "Py");
  const bool usesTwin = way_.usesTwins && out && twin != host_.functions().end() &&
                        statement.arguments[*out].kind != Token::Null;
  for (const Token& token : statement.arguments) {
    if (token.kind == Token::Object) this->object(token.text);
  }
  std::vector<Argument> arguments;
  arguments.reserve(function.parameters.size());
  std::vector<Slot> slots;
  for (std::size_t i = 0; i < function.parameters.size(); ++i) {
    arguments.emplace_back(*this, function.parameters[i], statement.arguments[i], style);
    slots.push_back(arguments.back().slot);
  }
  if (function.takesObject) slots.insert(slots.begin(), Slot{object});

  host_.mark(object);
  takeOutput();
  if (beforeCall) beforeCall();
  const Form& form = formOf(usesTwin ? twin->second : function, style);
  const Slot result =
      usesTwin
          ? callTwin(form, slots, *out + (function.takesObject ? 1 : 0),
                     twin->second.parameters.size() > function.parameters.size(), arguments[*out])
          : form.call(form.function, slots.data());
  if (afterCall) afterCall();
  const std::string printed = takeOutput();
  const std::string message = host_.message(object);

  std::string actual;
  void* const handle = result.pointer;
  switch (function.result.shape) {
    case Shape::Int:
      actual = std::to_string(result.integer);
      break;
    case Shape::Double:
      actual = shown(result.real);
      break;
    case Shape::Handle:
      actual = handle == nullptr ? "null" : host_.describe(object, function.result.kind, handle);
      if (handle != nullptr) host_.release(object, function.result.kind, handle);
      break;
    default:
      actual = "done";
  }
  for (const Argument& argument : arguments) actual += argument.output(object);
  if (!message.empty()) actual += " \"" + shown(message) + "\"";
  if (!printed.empty()) actual += " prints \"" + shown(printed) + "\"";

  const bool released = result.integer != 0 && host_.releases(function.name);
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const Parameter& parameter = function.parameters[i];
    std::vector<Token> single;
    const std::vector<Token>& items = itemsOf(statement.arguments[i], single);
    if (released && parameter.shape == Shape::Handle && items[0].kind == Token::Variable) {
      assign(items[0].text, "", nullptr, nullptr, true);
    }
    if (parameter.shape != Shape::Handles || !parameter.isOutput) continue;
    for (std::size_t k = 0; k < items.size() && items[k].kind != Token::Null; ++k) {
      void* const got = arguments[i].handles[k];
      if (got == kNoHandle) continue;
      if (items[k].kind == Token::Variable) {
        assign(items[k].text, parameter.kind, got, object, released);
      } else if (got != nullptr) {
        host_.release(object, parameter.kind, got);
      }
    }
  }
  return actual;
}

namespace {

bool fits(const Token& token, const Parameter& parameter) {
  const bool isBlank = token.kind == Token::Blank && parameter.isOutput;
  switch (parameter.shape) {
    case Shape::Int:
    case Shape::Double:
      return token.kind == Token::Word || token.kind == Token::Setting;
    case Shape::Ints:
    case Shape::Doubles:
      return token.kind == Token::Word || token.kind == Token::Setting || isBlank;
    case Shape::Handle:
      return token.kind == Token::Variable || token.kind == Token::Object ||
             token.kind == Token::Null;
    case Shape::Handles:
      return token.kind == Token::Variable || token.kind == Token::Null || isBlank;
    case Shape::Callback:
      return token.kind == Token::Callback || token.kind == Token::Null;
    case Shape::Text:
      return parameter.isOutput ? isBlank
                                : token.kind == Token::Text || token.kind == Token::Setting;
    case Shape::Texts:
      return token.kind == Token::Null ||
             (parameter.isOutput ? isBlank
                                 : token.kind == Token::Text || token.kind == Token::Setting);
    default:
      return false;
  }
}

bool fitsArgument(const Token& token, const Parameter& parameter) {
  const bool isSingle = parameter.shape == Shape::Int || parameter.shape == Shape::Double ||
                        parameter.shape == Shape::Handle || parameter.shape == Shape::Callback ||
                        parameter.shape == Shape::Text;
  if (token.kind == Token::Null) {
    return parameter.shape != Shape::Int && parameter.shape != Shape::Double;
  }
  if (token.kind != Token::List) return fits(token, parameter);
  return !isSingle && std::all_of(token.items.begin(), token.items.end(),
                                  [&](const Token& item) { return fits(item, parameter); });
}

}  // namespace

void checkStatement(const Host& host, const Statement& statement) {
  std::vector<Token> arguments = statement.arguments;
  std::string name = statement.name;
  if (host.isWord(name) || name == "at" || name == "free") {
    if (arguments.size() != 1) throw ScriptError(name + " takes one argument");
    return;
  }
  if (name == "repeat") {
    if (arguments.size() < 2) throw ScriptError("repeat takes a function and a variable");
    name = arguments[0].text;
    arguments.erase(arguments.begin());
  }
  const auto known = host.functions().find(name);
  if (known == host.functions().end()) throw ScriptError("unknown function " + name);
  const std::vector<Parameter>& parameters = known->second.parameters;
  if (arguments.size() != parameters.size()) {
    throw ScriptError(name + " takes " + std::to_string(parameters.size()) + " arguments, not " +
                      std::to_string(arguments.size()));
  }
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    if (!fitsArgument(arguments[i], parameters[i])) {
      throw ScriptError("argument " + std::to_string(i + 1) + " does not fit " + name);
    }
  }
}

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
  return text;
}

}  // namespace zdb::script
