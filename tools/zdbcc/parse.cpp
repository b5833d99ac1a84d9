#include "parse.h"

#include <algorithm>
#include <set>

#include "guess.h"

namespace zdb::tool {

namespace {

template <typename Match>
const Option* findOptionIf(const Verb* verb, Match match) {
  const auto search = [&](const std::vector<Option>& options) -> const Option* {
    const auto found = std::find_if(options.begin(), options.end(), match);
    return found == options.end() ? nullptr : &*found;
  };
  const Option* own = verb == nullptr ? nullptr : search(verb->options);
  return own != nullptr ? own : search(commonOptions());
}

std::string listed(const std::vector<std::string>& words) {
  std::string result;
  for (const std::string& word : words) {
    if (!result.empty()) result += &word == &words.back() ? " or " : ", ";
    result += word;
  }
  return result;
}

class Parser {
 public:
  explicit Parser(const std::vector<std::string>& words)
      : words_(words), common_(CommonOptions{}) {}

  Command parse() {
    for (at_ = 0; at_ < words_.size(); ++at_) {
      const std::string& word = words_[at_];
      if (word == "--" && !onlyOperands_) {
        onlyOperands_ = true;
      } else if (onlyOperands_ || word.size() < 2 || word.front() != '-') {
        takeOperand(word);
      } else if (word.starts_with("--")) {
        takeLongOption(word.substr(2));
      } else {
        takeLetters(word);
      }
    }
    command_.common = *std::any_cast<CommonOptions>(&common_);
    if (command_.verb != nullptr && !command_.common.help) requireRest();
    return std::move(command_);
  }

 private:
  void takeOperand(const std::string& word) {
    if (command_.verb == nullptr) {
      command_.verb = &requireVerb(word);
      command_.options = command_.verb->action.makeOptions();
      return;
    }
    const std::vector<Operand>& operands = command_.verb->operands;
    if (operand_ == operands.size()) {
      throw WrongUseError("there is one argument too many: " + printable(word));
    }
    const Operand& operand = operands[operand_];
    if (word.empty()) throw WrongUseError(std::string(operand.name) + " is an empty text");
    put(operand.name, operand.target, word);
    hasOperand_ = true;
    if (operand.target.shape == Target::Shape::Many) return;
    ++operand_;
    hasOperand_ = false;
  }

  void takeLongOption(const std::string& text) {
    const std::size_t equals = text.find('=');
    const std::string name = text.substr(0, equals);
    const Option* option = findOption(command_.verb, name);
    if (option == nullptr) failUnknown(name);
    if (equals == std::string::npos) {
      take(*option);
    } else if (option->target.shape == Target::Shape::Switch) {
      throw WrongUseError(spelling(*option) + " takes no value, but has " +
                          printable(text.substr(equals + 1)));
    } else {
      takeValue(*option, text.substr(equals + 1));
    }
  }

  void takeLetters(const std::string& word) {
    for (std::size_t i = 1; i < word.size(); ++i) {
      const Option* option = findOption(command_.verb, word[i]);
      if (option == nullptr) throw WrongUseError("there is no option " + printable(word));
      if (option->target.shape == Target::Shape::Switch || i + 1 == word.size()) {
        take(*option);
      } else {
        return takeValue(*option, word.substr(i + 1));
      }
    }
  }

  void take(const Option& option) {
    if (option.target.shape == Target::Shape::Switch) {
      takeValue(option, option.isNegation ? "" : "1");
    } else if (at_ + 1 == words_.size()) {
      throw WrongUseError(spelling(option) + " needs a value: " + spelling(option) + ' ' +
                          option.value);
    } else {
      takeValue(option, words_[++at_]);
    }
  }

  void takeValue(const Option& option, const std::string& word) {
    const bool isNew = given_.insert(&option).second;
    if (!isNew && option.target.shape == Target::Shape::One) {
      throw WrongUseError(spelling(option) + " is given twice; the second value is " +
                          printable(word));
    }
    put(spelling(option), option.target, word);
  }

  void put(const std::string& name, const Target& target, const std::string& word) {
    const bool isCommon =
        std::any_of(commonOptions().begin(), commonOptions().end(),
                    [&](const Option& option) { return &option.target == &target; });
    if (target.take(isCommon ? common_ : command_.options, word)) return;
    if (target.numbers != nullptr) {
      throw WrongUseError(name + " must be " + target.numbers + ", not \"" + printable(word) + '"');
    }
    throw WrongUseError(name + " must be " + listed(target.choices) + ", not \"" + printable(word) +
                        '"' + guessAmong(word, target.choices));
  }

  [[noreturn]] void failUnknown(const std::string& name) const {
    Guess guess("--" + name);
    if (command_.verb != nullptr) {
      for (const Option& option : command_.verb->options) guess.consider(spelling(option));
    }
    for (const Option& option : commonOptions()) guess.consider(spelling(option));
    throw WrongUseError("there is no option --" + printable(name) + guess.text());
  }

  void requireRest() {
    for (const Operand& operand : command_.verb->operands) {
      const auto place = static_cast<std::size_t>(&operand - command_.verb->operands.data());
      const bool isGiven = place < operand_ || (place == operand_ && hasOperand_);
      if (!isGiven && !operand.isOptional) {
        throw WrongUseError(std::string(operand.name) + " is missing");
      }
    }
    for (const Option& option : command_.verb->options) {
      if (option.isRequired && !given_.contains(&option)) {
        throw WrongUseError(spelling(option) + ' ' + option.value + " is missing");
      }
    }
  }

  const std::vector<std::string>& words_;
  std::size_t at_ = 0;
  bool onlyOperands_ = false;
  std::size_t operand_ = 0;  ///< the next one to be filled
  bool hasOperand_ = false;  ///< which has a word already and takes more
  std::any common_;
  Command command_;
  std::set<const Option*> given_;
};

}  // namespace

std::string spelling(const Option& option) {
  return std::string(option.isNegation ? "--no-" : "--") + option.name;
}

const Option* findOption(const Verb* verb, std::string_view name) {
  return findOptionIf(verb, [&](const Option& option) {
    return std::string_view(spelling(option)).substr(2) == name;
  });
}

const Option* findOption(const Verb* verb, char letter) {
  return findOptionIf(verb, [&](const Option& option) { return option.letter == letter; });
}

Command parse(const std::vector<std::string>& words) {
  return Parser(words).parse();
}

}  // namespace zdb::tool
