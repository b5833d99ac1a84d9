// What pages say, taken from the table.
#include "page.h"
#include "parse.h"
#include "verbs.h"

namespace zdb::tool {

namespace {

std::string inCode(const std::string& text) {
  return '`' + text + '`';
}

std::string term(const Option& option) {
  std::string text = option.letter == 0 ? "" : inCode(std::string("-") + option.letter) + ", ";
  text += inCode(spelling(option));
  if (option.value != nullptr) text.append(" ").append(option.value);
  return text;
}

std::string explanation(const Option& option) {
  std::string text = std::string(option.text) + '.';
  if (*option.details != '\0') text.append(" ").append(option.details);
  if (!option.target.choices.empty()) {
    text += " One of";
    for (const std::string& choice : option.target.choices) {
      text += (&choice == &option.target.choices.front() ? " " : ", ") + inCode(choice);
    }
    text += '.';
  }
  if (!option.target.initial.empty()) text += " Default: " + inCode(option.target.initial) + '.';
  if (option.target.shape == Target::Shape::Many) text += " May be given several times.";
  if (option.isRequired) text += " Required.";
  return text;
}

void describeOptions(const std::vector<Option>& options, Page& page) {
  if (options.empty()) return;
  page.heading("Options");
  for (const Option& option : options) page.item(term(option), explanation(option));
}

void describeExitCodes(const std::vector<ExitText>& codes, Page& page) {
  page.heading("Exit codes");
  for (const ExitText& exit : codes) {
    page.item(inCode(std::to_string(static_cast<int>(exit.code))), exit.text);
  }
}

}  // namespace

std::string usage(const Verb& verb) {
  std::string text = std::string("zdbcc ") + verb.name;
  if (!verb.options.empty()) text += " [OPTION]...";
  for (const Option& option : verb.options) {
    if (option.isRequired)
      text.append(" ").append(spelling(option)).append(" ").append(option.value);
  }
  for (const Operand& operand : verb.operands) {
    std::string word = operand.name;
    if (operand.isOptional) word.insert(0, 1, '[').append(1, ']');
    if (operand.target.shape == Target::Shape::Many) word += "...";
    text += ' ' + word;
  }
  return text;
}

void describe(const Verb& verb, Page& page) {
  page.title(std::string("zdbcc ") + verb.name, verb.summary);
  page.heading("Usage");
  page.literal(usage(verb));
  for (const Operand& operand : verb.operands) {
    page.item(operand.name, std::string(operand.text) + '.');
  }
  if (*verb.details != '\0') page.heading("Description");
  page.details(verb.details);
  describeOptions(verb.options, page);
  if (!verb.examples.empty()) page.heading("Examples");
  for (const Example& example : verb.examples) {
    page.paragraph(std::string(example.text) + ':');
    page.literal(example.command);
  }
  if (!verb.exitCodes.empty()) describeExitCodes(verb.exitCodes, page);
}

void describeTool(Page& page) {
  page.title("zdbcc", "Works with exchange files and models");
  page.heading("Usage");
  page.literal("zdbcc VERB [OPTION]... [ARGUMENT]...");
  page.heading("Verbs");
  for (const Verb& verb : verbs()) page.item(inCode(verb.name), std::string(verb.summary) + '.');
  page.paragraph("`zdbcc VERB --help` describes a verb in full, with examples.");
  describeOptions(commonOptions(), page);
  page.heading("Input and output");
  page.paragraph(
      "Data go to standard output, everything else to standard error. Where a file is not an "
      "exchange file, `-` is standard input or output.");
  page.paragraph(
      "On a terminal, headings and problems are coloured and work that takes more than a "
      "second shows its progress. Lines are as wide as the terminal, or as `COLUMNS` says. A "
      "non-empty "
      "`NO_COLOR` switches colours off, `TERM=dumb` also the bar.");
  describeExitCodes(commonExitCodes(), page);
}

void Page::details(std::string_view text) {
  std::string open;  // a paragraph or bullet that may go on
  bool isBullet = false;
  const auto close = [&] {
    if (!open.empty()) isBullet ? bullet(open) : paragraph(open);
    open.clear();
    isBullet = false;
  };
  while (!text.empty()) {
    const std::size_t length = std::min(text.find('\n'), text.size());
    std::string line(text.substr(0, length));
    text.remove_prefix(std::min(length + 1, text.size()));
    if (line.starts_with("    ")) {
      close();
      literal(line.substr(4));
      continue;
    }
    const bool startsBullet = line.starts_with("- ");
    if (line.empty() || startsBullet) close();
    if (startsBullet) line.erase(0, 2);
    isBullet = isBullet || startsBullet;
    if (!open.empty()) open += ' ';
    open += line;
  }
  close();
}

}  // namespace zdb::tool
