// Pages about the tool, each written once and rendered in three ways: as help on a terminal, as man
// page and in Markdown.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "terminal.h"
#include "verb.h"

namespace zdb::tool {

/// Collects a page. Texts may have `code` in backticks.
class Page {
 public:
  Page() = default;
  virtual ~Page() = default;
  Page(const Page&) = delete;
  Page& operator=(const Page&) = delete;

  virtual void title(const std::string& name, const std::string& summary) = 0;
  virtual void heading(const std::string& text) = 0;
  virtual void paragraph(const std::string& text) = 0;
  /// One that is about an item, such as an option.
  virtual void item(const std::string& term, const std::string& text) = 0;
  virtual void bullet(const std::string& text) = 0;
  virtual void literal(const std::string& line) = 0;

  /// Paragraphs, lists and literal lines as they stand in Verb::details.
  void details(std::string_view text);

  const std::string& text() const { return text_; }

 protected:
  std::string text_;
};

std::unique_ptr<Page> helpPage(const Terminal& terminal);
std::unique_ptr<Page> manPage();
/// With headings below the given level.
std::unique_ptr<Page> markdownPage(int level);

/// All there is to say about a verb.
void describe(const Verb& verb, Page& page);
/// The overview of the tool.
void describeTool(Page& page);

/// "zdbcc dump [OPTION]... FILE [SLICE]"
std::string usage(const Verb& verb);

}  // namespace zdb::tool
