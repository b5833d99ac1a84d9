// Verbs of the command-line tool that the package zdbcc has as functions. It is a module of its
// own, loaded when one of them is first called, since it brings SQLite and the model kit with it.
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <chrono>
#include <variant>

#include "core/errors.h"
#include "verbs.h"
#include "zdbcc.hpp"

namespace py = pybind11;

namespace zdbpy {
namespace {

namespace tool = zdb::tool;

/// What a verb writes, as texts. Python handles Ctrl-C.
class TextConsole : public tool::Console {
 public:
  TextConsole() : Console(tool::Terminal()) {}

  void write(std::string_view text) override { text_ += text; }
  bool isInterrupted() override {
    const auto now = std::chrono::steady_clock::now();
    if (isRaised_ || now < nextLook_) return isRaised_;
    nextLook_ = now + std::chrono::milliseconds(50);
    const py::gil_scoped_acquire acquire;
    isRaised_ = PyErr_CheckSignals() != 0;
    return isRaised_;
  }

  const std::string& text() const { return text_; }
  const std::vector<std::pair<bool, std::string>>& lines() const { return lines_; }

 protected:
  void printLine(std::string_view text, bool isProblem) override {
    lines_.emplace_back(isProblem, tool::printable(text));
  }

 private:
  std::string text_;
  std::vector<std::pair<bool, std::string>> lines_;
  bool isRaised_ = false;  ///< the exception of Ctrl-C waits in the interpreter
  std::chrono::steady_clock::time_point nextLook_;
};

using Word = std::variant<bool, std::string, std::vector<std::string>>;

void take(const tool::Target& target, const char* name, const std::string& word,
          std::any& options) {
  if (target.take(options, word)) return;
  std::string expected = target.numbers == nullptr ? "" : target.numbers;
  for (const std::string& choice : target.choices) {
    expected.append(expected.empty() ? "one of " : ", ").append(choice);
  }
  raise(Failure::argument(std::string(name) + "=\"" + word + "\" is not " + expected));
}

/// A switch that is off is given as an empty word.
std::vector<std::string> words(const Word& value) {
  if (const bool* isOn = std::get_if<bool>(&value)) return {*isOn ? "on" : ""};
  if (const auto* text = std::get_if<std::string>(&value)) return {*text};
  return std::get<std::vector<std::string>>(value);
}

/// The options of a verb by name. Names of operands are in upper case.
std::any optionsOf(const tool::Verb& verb, const std::map<std::string, Word>& given) {
  std::any options = verb.action.makeOptions();
  std::size_t used = 0;
  const auto set = [&](const auto& each) {
    const auto found = given.find(each.name);
    if (found == given.end()) return;
    ++used;
    for (const std::string& word : words(found->second)) {
      take(each.target, each.name, word, options);
    }
  };
  for (const tool::Operand& operand : verb.operands) set(operand);
  for (const tool::Option& option : verb.options) set(option);
  if (used < given.size()) raise(Failure::argument("an option is not known"));
  return options;
}

/// Runs a verb; what stops it becomes a failure, for lack of a better one of the kind `failed`.
std::optional<Failure> runVerb(const tool::Verb& verb, const std::any& options, int failed,
                               TextConsole& console, int& code) {
  try {
    code = static_cast<int>(verb.action.run(options, console));
    return std::nullopt;
  } catch (const tool::WrongUseError& failure) {
    return Failure::argument(failure.what());
  } catch (const tool::InputError& failure) {
    return Failure{ZDBX_SYSTEM, failure.what(), {}, -1, -1};
  } catch (const tool::OutputError& failure) {
    return Failure{ZDBX_SYSTEM, failure.what(), {}, -1, -1};
  } catch (const zdbcc::Error& failure) {
    return Failure{failure.kind(), failure.what(), failure.reason(), -1, -1};
  } catch (const tool::InterruptedError&) {
    return Failure{};
  } catch (const std::bad_alloc&) {
    return Failure{ZDBX_NO_MEMORY, "not enough memory", {}, -1, -1};
  } catch (const std::exception& failure) {
    return Failure{failed, failure.what(), {}, -1, -1};
  }
}

py::tuple run(const std::string& name, const std::map<std::string, Word>& given, int failed) {
  tool::Verb verb;
  for (const tool::Verb& each : {tool::diffVerb(), tool::exportVerb(), tool::importVerb()}) {
    if (name == each.name) verb = each;
  }
  const std::any options = optionsOf(verb, given);
  TextConsole console;
  std::optional<Failure> failure;
  int code = 0;
  {
    const py::gil_scoped_release release;
    failure = runVerb(verb, options, failed, console, code);
  }
  if (PyErr_Occurred() != nullptr) throw py::error_already_set();
  if (failure) raise(*failure);
  py::list lines;
  for (const auto& [isProblem, line] : console.lines()) {
    lines.append(py::make_tuple(isProblem, decoded(line)));
  }
  return py::make_tuple(code, decoded(console.text()), lines);
}

}  // namespace
}  // namespace zdbpy

PYBIND11_MODULE(_tool, module) {
  module.doc() = "Verbs of the command-line tool, for the package zdbcc.";
  module.def("run", &zdbpy::run, py::arg("verb"), py::arg("options"), py::arg("failed"));
}
