// zdbcc completion: files with which shells complete command lines, and the answers to what these
// ask. A shell knows nothing of verbs and options; it passes on the words.
#include "completion.h"

#include <algorithm>

#include "contract/names.h"
#include "exchangefile.h"
#include "parse.h"
#include "solverinfo.h"

namespace zdb::tool {

namespace {

enum class Shell { Bash, Zsh, Fish };

struct CompletionOptions {
  Shell shell = Shell::Bash;
};

constexpr const char* kBash = R"sh(# Completes zdbcc in bash: eval "$(zdbcc completion bash)"
_zdbcc() {
  local line
  COMPREPLY=()
  while IFS= read -r line; do
    case $line in
      :files) compopt -o default ;;
      :folders) compopt -o dirnames ;;
      *)
        COMPREPLY+=("${line%%$'\t'*}")
        compopt -o filenames
        [[ ${line%%$'\t'*} != *[=,] ]] || compopt -o nospace ;;
    esac
  done < <(zdbcc --complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
}
complete -F _zdbcc zdbcc
)sh";

constexpr const char* kZsh = R"sh(#compdef zdbcc
# Completes zdbcc in zsh: eval "$(zdbcc completion zsh)", or as the file _zdbcc in a folder of $fpath.
_zdbcc() {
  local line
  local -a found texts open
  for line in "${(@f)$(zdbcc --complete "${(@Q)words[2,CURRENT]}" 2>/dev/null)}"; do
    case $line in
      '') ;;
      :files) _files ;;
      :folders) _files -/ ;;
      *[,=]$'\t'*) open+=("${line%%$'\t'*}") ;;
      *) found+=("${line%%$'\t'*}"); texts+=("${line/$'\t'/  }") ;;
    esac
  done
  (( $#open )) && compadd -S '' -a open
  (( $#found )) && compadd -l -d texts -a found
}
if [[ $funcstack[1] == _zdbcc ]]; then _zdbcc "$@"; else compdef _zdbcc zdbcc; fi
)sh";

constexpr const char* kFish = R"sh(# Completes zdbcc in fish: zdbcc completion fish | source
function __zdbcc_complete
  set -l words (commandline -opc) (commandline -ct)
  for line in (zdbcc --complete $words[2..] 2>/dev/null)
    switch $line
      case :files
        __fish_complete_path (commandline -ct)
      case :folders
        __fish_complete_directories (commandline -ct)
      case '*'
        echo $line
    end
  end
end
complete -c zdbcc -f -a '(__zdbcc_complete)'
)sh";

void runCompletion(const CompletionOptions& options, Console& console) {
  constexpr const char* kFiles[] = {kBash, kZsh, kFish};
  console.write(kFiles[static_cast<int>(options.shell)]);
}

/// Answers for the last of the words.
class Completer {
 public:
  Completer(std::vector<std::string> words, Console& console)
      : words_(std::move(words)), console_(console) {
    // bash takes --name=VALUE apart.
    std::erase(words_, "=");
    if (words_.empty()) words_.emplace_back();
    word_ = words_.back();
    words_.pop_back();
    if (!word_.empty() && (word_.front() == '\'' || word_.front() == '"')) word_.erase(0, 1);
  }

  void run() {
    readWords();
    const std::size_t equals = word_.find('=');
    if (waiting_ != nullptr) {
      offerFor(waiting_->kind, waiting_->target);
    } else if (word_.starts_with("--") && equals != std::string::npos) {
      const Option* option = findOption(verb_, std::string_view(word_).substr(2, equals - 2));
      before_ = word_.substr(0, equals + 1);
      word_.erase(0, equals + 1);
      if (option != nullptr) offerFor(option->kind, option->target);
    } else if (word_.starts_with('-')) {
      offerOptions();
    } else if (verb_ == nullptr) {
      offerVerbs();
    } else if (!verb_->operands.empty()) {
      const std::size_t last = verb_->operands.size() - 1;
      const bool takesMore = verb_->operands[last].target.shape == Target::Shape::Many;
      if (operands_.size() > last && !takesMore) return;
      const Operand& operand = verb_->operands[std::min(operands_.size(), last)];
      offerFor(operand.kind, operand.target);
    }
  }

 private:
  /// Finds verb and operands, and the option whose value comes next.
  void readWords() {
    for (const std::string& word : words_) {
      const bool isValue = waiting_ != nullptr;
      waiting_ = nullptr;
      if (isValue) continue;
      if (word.size() > 1 && word.front() == '-') {
        const Option* option = word.starts_with("--") ? findOption(verb_, word.substr(2))
                                                      : findOption(verb_, word.back());
        if (option != nullptr && option->value != nullptr) waiting_ = option;
      } else if (verb_ == nullptr) {
        verb_ = findVerb(word);
      } else {
        operands_.push_back(word);
      }
    }
  }

  bool isOffered(std::string_view candidate) const {
    return zdb::contract::isSameText(candidate.substr(0, word_.size()), word_);
  }

  void write(const std::string& candidate, std::string_view text) {
    std::string shown = printable(text);
    std::erase(shown, '`');
    console_.write(before_ + printable(candidate) + '\t' + shown + '\n');
  }

  void offer(const std::string& candidate, const std::string& text) {
    if (isOffered(candidate)) write(candidate, text);
  }

  void offerVerbs() {
    for (const Verb& verb : verbs()) offer(verb.name, verb.summary);
  }

  void offerSolvers() {
    for (const SolverInfo& solver : solverInfos()) {
      if (solver.isUsable()) offer(solver.name, solver.typesText());
    }
  }

  void offerOptions() {
    if (verb_ != nullptr) {
      for (const Option& option : verb_->options) offer(spelling(option), option.text);
    }
    for (const Option& option : commonOptions()) offer(spelling(option), option.text);
  }

  void offerFor(Kind kind, const Target& target) {
    switch (kind) {
      case Kind::ExchangeFile:
      case Kind::ModelFile:
      case Kind::File:
        return console_.write(":files\n");
      case Kind::Folder:
        return console_.write(":folders\n");
      case Kind::Choice:
        for (const std::string& choice : target.choices) offer(choice, "");
        return;
      case Kind::Verb:
        return offerVerbs();
      case Kind::Solver:
        return offerSolvers();
      case Kind::Symbol:
        return offerSymbols();
      case Kind::Slice:
        return word_.find_first_of("([") == std::string::npos ? offerSymbols() : offerLabels();
      case Kind::Text:
      case Kind::Number:
        break;
    }
  }

  /// The exchange file on the line; "" if there is none yet.
  std::string fileName() const {
    for (std::size_t i = 0; i < std::min(operands_.size(), verb_->operands.size()); ++i) {
      if (verb_->operands[i].kind == Kind::ExchangeFile) return operands_[i];
    }
    return "";
  }

  void offerSymbols() {
    const ExchangeFile file(fileName());
    for (const FileSymbol& symbol : file.symbols()) offer(symbol.name, symbol.text);
  }

  /// Keeps the last label of the slice as the word, whether or not its quote is closed, and returns
  /// its position.
  std::size_t cutToLabel() {
    std::size_t start = word_.find_first_of("([") + 1;
    std::size_t position = 0;
    char quote = 0;
    for (std::size_t i = start; i < word_.size(); ++i) {
      const char c = word_[i];
      if (quote != 0) {
        if (c == quote) quote = 0;
      } else if (c == '"' || c == '\'') {
        quote = c;
      } else if (c == ',') {
        start = i + 1;
        ++position;
      }
    }
    before_ = word_.substr(0, start);
    word_.erase(0, start);
    std::erase_if(word_, [](char c) { return c == '"' || c == '\''; });
    return position;
  }

  /// Labels for the position at which the slice ends: members of the domain, if it is a set. If
  /// only one fits and the slice goes on after it, those for the next position: shells would close
  /// the quote after a single candidate.
  void offerLabels() {
    ExchangeFile file(fileName());
    const FileSymbol symbol = file.symbol(word_.substr(0, word_.find_first_of("([")));
    const std::size_t position = cutToLabel();
    if (position >= symbol.domains.size()) return;
    const char closing = before_.find('(') == std::string::npos ? ']' : ')';
    const bool isLast = position + 1 == symbol.domains.size();
    const char next = isLast ? closing : ',';
    const Domain& domain = symbol.domains[position];
    const auto candidates = labelsOf(file, file.symbol(domain.relaxed ? "*" : domain.name));
    if (candidates.size() == 1 && !isLast) {
      word_ = before_ + candidates.front().first + next;
      return offerLabels();
    }
    for (const auto& [label, text] : candidates) write(label + next, text);
  }

  /// Labels that begin with the word, as they stand in slices, and their texts.
  std::vector<std::pair<std::string, std::string>> labelsOf(ExchangeFile& file,
                                                            const FileSymbol& set) const {
    std::vector<std::pair<std::string, std::string>> labels;
    if (word_.empty()) labels.emplace_back("*", "all labels");
    FileRecords records(file, set);
    while (records.next()) {
      const std::string label(file.label(records.keys()[0]));
      if (!isOffered(label)) continue;
      const bool isPlain = label.find_first_of(",()[]'\" ") == std::string::npos && label != "*";
      const char quote = label.find('"') == std::string::npos ? '"' : '\'';
      labels.emplace_back(isPlain ? label : quote + label + quote,
                          set.isUniverse() ? "" : records.text());
    }
    return labels;
  }

  std::vector<std::string> words_;
  std::string word_;    ///< what is to be completed
  std::string before_;  ///< the part of it that stands fast
  Console& console_;
  const Verb* verb_ = nullptr;
  std::vector<std::string> operands_;
  const Option* waiting_ = nullptr;
};

}  // namespace

void complete(const std::vector<std::string>& words, Console& console) {
  try {
    Completer(words, console).run();
    console.flush();
  } catch (const std::exception&) {
    // Nobody expects messages from a tab.
  }
}

Verb completionVerb() {
  return {.name = "completion",
          .summary = "Writes the file with which a shell completes command lines of zdbcc",
          .details = R"(The shell asks zdbcc for verbs, options, symbols of the exchange file on the
line, and labels after `'SYMBOL(`. An installed zdbcc has these files in the right places already.)",
          .operands = {{.name = "SHELL",
                        .kind = Kind::Choice,
                        .text = "`bash`, `zsh` or `fish`",
                        .target = into(&CompletionOptions::shell, {"bash", "zsh", "fish"})}},
          .examples = {{"eval \"$(zdbcc completion bash)\"", "For this session of bash"},
                       {"zdbcc completion fish > ~/.config/fish/completions/zdbcc.fish",
                        "For all sessions of fish"}},
          .action = runs(runCompletion)};
}

}  // namespace zdb::tool
