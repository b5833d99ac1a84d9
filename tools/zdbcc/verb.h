// The words of which the table of verbs is made. Parser, help, man pages, completion, reference
// page and JSON description all follow from it.
#pragma once

#include <any>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "console.h"
#include "exitcode.h"
#include "number.h"

namespace zdb::tool {

/// What a word on the command line names, which decides what completion offers for it.
enum class Kind {
  Text,
  Number,
  Choice,        ///< one of the words that its target lists
  ExchangeFile,  ///< the first one on a line has the symbols that are offered
  ModelFile,
  File,
  Folder,
  Symbol,  ///< of the exchange file on the line
  Slice,   ///< the same, with labels in parentheses
  Verb,
  Solver,
};

/// Where a word goes: to a member of the struct of options that a verb's function gets. How often
/// an option may be given, and which words it takes, follow from the type of the member.
struct Target {
  enum class Shape { Switch, One, Many };

  Shape shape = Shape::One;
  const char* numbers = nullptr;  ///< which numbers it takes, in words; null for a text
  std::vector<std::string> choices;
  std::string initial;  ///< the member's initial value as a word; empty for none
  /// Puts a word into the options; false if it is not a number or none of the choices. A switch
  /// gets an empty word if it is negated.
  std::function<bool(std::any& options, const std::string& word)> take;
};

/// A word in a fixed place on the command line.
struct Operand {
  const char* name = "";
  Kind kind = Kind::Text;
  const char* text = "";
  Target target = {};
  bool isOptional = false;
};

struct Option {
  const char* name = "";  ///< without dashes
  char letter = 0;
  const char* value = nullptr;  ///< name of its value; null for a switch
  Kind kind = Kind::Text;
  const char* text = "";  ///< a line
  const char* details = "";
  Target target = {};
  bool isRequired = false;
  bool isNegation = false;  ///< the switch is on unless it is given as --no-NAME, which is shown
};

struct Example {
  const char* command = "";
  const char* text = "";
};

struct ExitText {
  ExitCode code = ExitCode::Done;
  const char* text = "";
};

/// What a verb does: its function, with the type of its options forgotten.
struct Action {
  std::function<std::any()> makeOptions;
  std::function<ExitCode(const std::any& options, Console& console)> run;
};

/// All texts may have `code` in backticks. In `details`, an empty line ends a paragraph, lines that
/// begin with four blanks stand as they are, and those that begin with "- " are the items
/// of a list.
struct Verb {
  const char* name = "";
  const char* summary = "";  ///< a line
  const char* details = "";
  std::vector<Operand> operands = {};
  std::vector<Option> options = {};
  std::vector<Example> examples = {};
  std::vector<ExitText> exitCodes = {};  ///< if they mean something else than everywhere
  /// ExitCode::Failed is the answer "no": what cannot be answered ends with ExitCode::WrongUse.
  bool isQuestion = false;
  Action action = {};
};

namespace detail {

template <typename T>
struct IsVector : std::false_type {};
template <typename T>
struct IsVector<std::vector<T>> : std::true_type {};
template <typename T>
struct IsOptional : std::false_type {};
template <typename T>
struct IsOptional<std::optional<T>> : std::true_type {};

template <typename Options, typename Member, typename... Rest>
auto& member(Options& options, Member Options::*first, Rest... rest) {
  if constexpr (sizeof...(rest) == 0) {
    return options.*first;
  } else {
    return member(options.*first, rest...);
  }
}

template <typename Number>
const char* numbersOf(const std::optional<Number>& /*example*/) {
  if constexpr (std::is_unsigned_v<Number>) return "a whole number from 0 on";
  return std::is_integral_v<Number> ? "a whole number" : "a number";
}

}  // namespace detail

/// The target for a member: bool for a switch, std::string, a number or an optional number for an
/// option with a value, std::vector<std::string> for one that may be given several times. A path of
/// members leads into structs within.
template <typename Options, typename Member, typename... Rest>
Target into(Member Options::*first, Rest... rest) {
  Options initial{};
  using Content = std::remove_reference_t<decltype(detail::member(initial, first, rest...))>;
  Target target;
  const auto& start = detail::member(initial, first, rest...);
  if constexpr (std::is_same_v<Content, bool>) {
    target.shape = Target::Shape::Switch;
  } else if constexpr (detail::IsVector<Content>::value) {
    target.shape = Target::Shape::Many;
  } else if constexpr (std::is_same_v<Content, std::string>) {
    target.initial = start;
  } else {
    target.numbers = detail::numbersOf(std::optional(start));
    if constexpr (!detail::IsOptional<Content>::value) target.initial = std::to_string(start);
  }
  target.take = [first, rest...](std::any& options, const std::string& word) {
    auto& content = detail::member(*std::any_cast<Options>(&options), first, rest...);
    if constexpr (std::is_same_v<Content, bool>) {
      content = !word.empty();
    } else if constexpr (detail::IsVector<Content>::value) {
      content.push_back(word);
    } else if constexpr (std::is_same_v<Content, std::string>) {
      content = word;
    } else if constexpr (detail::IsOptional<Content>::value) {
      return readNumber(word, content.emplace());
    } else {
      return readNumber(word, content);
    }
    return true;
  };
  return target;
}

/// The target for a choice by its number, with a word for each from 0 on. `put(options, number)`
/// stores it.
template <typename Put>
Target choiceTarget(std::initializer_list<const char*> words, std::size_t initial, Put put) {
  Target target;
  target.choices.assign(words.begin(), words.end());
  target.initial = target.choices.at(initial);
  target.take = [put, choices = target.choices](std::any& options, const std::string& word) {
    for (std::size_t i = 0; i < choices.size(); ++i) {
      if (choices[i] != word) continue;
      put(options, i);
      return true;
    }
    return false;
  };
  return target;
}

/// The target for a member of an enum type, with a word for each of its values from 0 on.
template <typename Options, typename Enum>
Target into(Enum Options::*place, std::initializer_list<const char*> words) {
  const auto initial = static_cast<std::size_t>(Options{}.*place);
  return choiceTarget(words, initial, [place](std::any& options, std::size_t number) {
    std::any_cast<Options>(&options)->*place = static_cast<Enum>(number);
  });
}

/// The same for a member of a struct within.
template <typename Options, typename Part, typename Enum>
Target into(Part Options::*part, Enum Part::*place, std::initializer_list<const char*> words) {
  const auto initial = static_cast<std::size_t>(Options{}.*part.*place);
  return choiceTarget(words, initial, [part, place](std::any& options, std::size_t number) {
    std::any_cast<Options>(&options)->*part.*place = static_cast<Enum>(number);
  });
}

/// The action of a function `void run(const Options&, Console&)`, or one that returns an ExitCode.
template <typename Options, typename Result>
Action runs(Result (*function)(const Options&, Console&)) {
  return {[] { return std::any(Options{}); },
          [function](const std::any& options, Console& console) {
            const auto& typed = *std::any_cast<Options>(&options);
            if constexpr (std::is_void_v<Result>) {
              function(typed, console);
              return ExitCode::Done;
            } else {
              return function(typed, console);
            }
          }};
}

/// What every verb that reports has.
template <typename Options>
Option jsonOption(bool Options::*place) {
  return {.name = "json", .text = "Write JSON", .target = into(place)};
}

}  // namespace zdb::tool
