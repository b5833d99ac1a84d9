#include "page.h"

#include <algorithm>

#include "contract/names.h"
#include "zdbcclib.h"

namespace zdb::tool {

namespace {

/// For the help: wrapped at the width of the terminal, without backticks.
class HelpPage : public Page {
 public:
  explicit HelpPage(const Terminal& terminal)
      : width_(static_cast<std::size_t>(std::min(terminal.width, kWidest))),
        hasColors_(terminal.colorsOutput) {}

  void title(const std::string& name, const std::string& summary) override {
    text_ += styled(name, Style::Bold, hasColors_) + ": " + summary + '\n';
  }
  void heading(const std::string& text) override {
    text_ += '\n' + styled(text + ':', Style::Bold, hasColors_) + '\n';
    part_ = Part::Heading;
  }
  void paragraph(const std::string& text) override {
    space(Part::Paragraph);
    wrap("  ", 2, text);
  }
  void item(const std::string& term, const std::string& text) override {
    space(Part::Item);
    std::string start = "  " + plain(term);
    const bool fits = start.size() + 2 <= kIndent;
    if (fits) {
      start.resize(kIndent, ' ');
    } else {
      text_ += start + '\n';
      start.assign(kIndent, ' ');
    }
    wrap(start, kIndent, text);
  }
  void bullet(const std::string& text) override {
    space(Part::Item);
    wrap("  - ", 4, text);
  }
  void literal(const std::string& line) override {
    space(Part::Literal);
    text_ += "    " + line + '\n';
  }

 private:
  enum class Part { Heading, Paragraph, Item, Literal };

  static constexpr int kWidest = 100;
  static constexpr std::size_t kIndent = 24;

  /// A blank line where another kind of part begins, and between paragraphs. A literal line belongs
  /// to the paragraph before it.
  void space(Part next) {
    const bool isTight = part_ == Part::Heading || (part_ == next && next != Part::Paragraph) ||
                         (part_ == Part::Paragraph && next == Part::Literal);
    if (!isTight) text_ += '\n';
    part_ = next;
  }

  static std::string plain(std::string text) {
    std::erase(text, '`');
    return text;
  }

  void wrap(const std::string& start, std::size_t indent, const std::string& text) {
    std::string line = start;
    std::string_view rest = text;
    bool isFirst = true;
    while (!rest.empty()) {
      const std::size_t length = std::min(rest.find(' '), rest.size());
      const std::string word = plain(std::string(rest.substr(0, length)));
      rest.remove_prefix(std::min(length + 1, rest.size()));
      if (!isFirst && line.size() + 1 + word.size() > width_) {
        text_ += line + '\n';
        line.assign(indent, ' ');
        isFirst = true;
      }
      if (!isFirst) line += ' ';
      line += word;
      isFirst = false;
    }
    text_ += line + '\n';
  }

  std::size_t width_;
  bool hasColors_;
  Part part_ = Part::Heading;
};

/// For man(1).
class ManPage : public Page {
 public:
  void title(const std::string& name, const std::string& summary) override {
    std::string page = name;
    std::replace(page.begin(), page.end(), ' ', '-');
    text_ += ".TH " + zdb::contract::upperCase(page) + " 1 \"\" \"zdbcc " ZDBCCLIB_VERSION "\"\n";
    std::string begin = summary;
    begin.front() = zdb::contract::lowerCase(begin.front());
    text_ += ".SH NAME\n" + escaped(page) + " \\- " + line(begin);
  }
  void heading(const std::string& text) override {
    text_ += ".SH " + (text == "Usage" ? "SYNOPSIS" : zdb::contract::upperCase(text)) + '\n';
    previous_ = Part::Heading;
  }
  void paragraph(const std::string& text) override {
    part(previous_ == Part::Heading ? "" : ".PP\n", text);
  }
  void item(const std::string& term, const std::string& text) override {
    part(".TP\n" + line(term), text);
  }
  void bullet(const std::string& text) override { part(".IP \\(bu 2\n", text); }
  void literal(const std::string& text) override {
    if (previous_ == Part::Literal) {
      text_.erase(text_.size() - kLiteralEnd.size());
    } else {
      text_ += previous_ == Part::Heading ? ".RS 4\n.nf\n" : ".PP\n.RS 4\n.nf\n";
    }
    text_ += protectedStart(escaped(text)) + '\n';
    text_ += kLiteralEnd;
    previous_ = Part::Literal;
  }

 private:
  enum class Part { Heading, Text, Literal };

  static constexpr std::string_view kLiteralEnd = ".fi\n.RE\n";

  void part(const std::string& start, const std::string& text) {
    text_ += start + line(text);
    previous_ = Part::Text;
  }

  static std::string escaped(std::string_view text) {
    std::string result;
    for (const char c : text) {
      if (c == '\\') {
        result += "\\e";
      } else if (c == '-') {
        result += "\\-";
      } else if (c == '\'') {
        result += "\\(aq";
      } else {
        result += c;
      }
    }
    return result;
  }

  static std::string protectedStart(const std::string& text) {
    return text.starts_with('.') ? "\\&" + text : text;
  }

  /// A line with bold code.
  static std::string line(std::string_view text) {
    std::string result;
    bool isCode = false;
    for (const char c : text) {
      if (c == '`') {
        isCode = !isCode;
        result += isCode ? "\\fB" : "\\fR";
      } else {
        result += escaped(std::string_view(&c, 1));
      }
    }
    return protectedStart(result) + '\n';
  }

  Part previous_ = Part::Heading;
};

class MarkdownPage : public Page {
 public:
  explicit MarkdownPage(int level) : level_(static_cast<std::size_t>(level)) {}

  void title(const std::string& name, const std::string& summary) override {
    part(Part::Other);
    text_ += std::string(level_, '#') + ' ' + name + "\n\n" + summary + ".\n";
  }
  void heading(const std::string& text) override {
    part(Part::Other);
    text_ += std::string(level_ + 1, '#') + ' ' + text + '\n';
  }
  void paragraph(const std::string& text) override {
    part(Part::Other);
    text_ += escaped(text) + '\n';
  }
  void item(const std::string& term, const std::string& text) override {
    part(Part::Item);
    text_ += "- " + term + ": " + escaped(text) + '\n';
  }
  void bullet(const std::string& text) override {
    part(Part::Item);
    text_ += "- " + escaped(text) + '\n';
  }
  void literal(const std::string& line) override {
    part(Part::Literal);
    text_ += "    " + line + '\n';
  }

 private:
  enum class Part { Other, Item, Literal };

  void part(Part next) {
    if (!text_.empty() && (part_ != next || next == Part::Other)) text_ += '\n';
    part_ = next;
  }

  /// Stars outside code would be emphasis.
  static std::string escaped(std::string_view text) {
    std::string result;
    bool isCode = false;
    for (const char c : text) {
      isCode = isCode != (c == '`');
      if (!isCode && c == '*') result += '\\';
      result += c;
    }
    return result;
  }

  std::size_t level_;
  Part part_ = Part::Other;
};

}  // namespace

std::unique_ptr<Page> helpPage(const Terminal& terminal) {
  return std::make_unique<HelpPage>(terminal);
}

std::unique_ptr<Page> manPage() {
  return std::make_unique<ManPage>();
}

std::unique_ptr<Page> markdownPage(int level) {
  return std::make_unique<MarkdownPage>(level);
}

}  // namespace zdb::tool
