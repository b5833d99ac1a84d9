// zdbcc help and zdbcc man: the pages about verbs.
#include "help.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "page.h"
#include "verbs.h"

namespace zdb::tool {

namespace {

struct HelpOptions {
  std::string verb;
};

enum class Form { Man, Markdown };

struct ManOptions {
  std::string verb;
  Form form = Form::Man;
  std::string folder;
};

const Verb* verbNamed(const std::string& name) {
  return name.empty() ? nullptr : &requireVerb(name);
}

void describe(const Verb* verb, Page& page) {
  verb == nullptr ? describeTool(page) : describe(*verb, page);
}

std::string manText(const Verb* verb) {
  const auto page = manPage();
  describe(verb, *page);
  page->heading("See also");
  std::string others = verb == nullptr ? "" : "`zdbcc`(1)";
  for (const Verb& other : verbs()) {
    if (verb != nullptr) break;
    others.append(others.empty() ? "" : ", ").append("`zdbcc-").append(other.name).append("`(1)");
  }
  page->paragraph(others);
  return page->text();
}

std::string reference() {
  std::string text;
  const auto page = markdownPage(2);
  describeTool(*page);
  text += page->text();
  for (const Verb& verb : verbs()) {
    const auto next = markdownPage(2);
    describe(verb, *next);
    text += '\n' + next->text();
  }
  return text;
}

void writeManPages(const std::filesystem::path& folder) {
  const auto write = [&](const std::string& name, const Verb* verb) {
    const std::filesystem::path file = folder / (name + ".1");
    std::ofstream out(file, std::ios::binary);
    out << manText(verb);
    out.close();
    if (!out) throw ToolError("cannot write " + file.string() + ": " + std::strerror(errno));
  };
  write("zdbcc", nullptr);
  for (const Verb& verb : verbs()) write(std::string("zdbcc-") + verb.name, &verb);
}

void runHelp(const HelpOptions& options, Console& console) {
  showHelp(verbNamed(options.verb), console);
}

void runMan(const ManOptions& options, Console& console) {
  if (!options.folder.empty()) return writeManPages(options.folder);
  console.write(options.form == Form::Markdown ? reference() : manText(verbNamed(options.verb)));
}

Operand verbOperand(Target target) {
  return {.name = "VERB",
          .kind = Kind::Verb,
          .text = "The verb; without one, the tool as a whole",
          .target = std::move(target),
          .isOptional = true};
}

}  // namespace

void showHelp(const Verb* verb, Console& console) {
  const auto page = helpPage(console.terminal());
  describe(verb, *page);
  console.write(page->text());
}

Verb helpVerb() {
  return {.name = "help",
          .summary = "Shows help, as `--help` does",
          .operands = {verbOperand(into(&HelpOptions::verb))},
          .examples = {{"zdbcc help dump", "All about `dump`"}},
          .action = runs(runHelp)};
}

Verb manVerb() {
  return {.name = "man",
          .summary = "Writes manual pages",
          .operands = {verbOperand(into(&ManOptions::verb))},
          .options = {{.name = "form",
                       .value = "FORM",
                       .kind = Kind::Choice,
                       .text = "What to write",
                       .details = "`markdown` is the reference of all verbs.",
                       .target = into(&ManOptions::form, {"man", "markdown"})},
                      {.name = "to",
                       .value = "FOLDER",
                       .kind = Kind::Folder,
                       .text = "Write all pages into a folder, such as `zdbcc-dump.1`",
                       .target = into(&ManOptions::folder)}},
          .examples = {{"zdbcc man dump | man -l -", "The page of `dump`, if it is not installed"}},
          .action = runs(runMan)};
}

}  // namespace zdb::tool
