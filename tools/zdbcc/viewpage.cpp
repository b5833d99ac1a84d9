#include "viewpage.h"

#include <array>
#include <cstdint>
#include <fstream>

#include "viewassets.h"

namespace zdb::tool {

namespace {

constexpr std::string_view kStart = "<!DOCTYPE html>\n<!-- made by zdbcc view -->\n";

/// Text within an element of HTML.
std::string escaped(std::string_view text) {
  std::string result;
  for (const char c : text) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      default:
        result += c;
    }
  }
  return result;
}

/// JSON in a script element, which no text can end: outside of texts, JSON has no "<".
class ScriptOutput : public Output {
 public:
  explicit ScriptOutput(Output& output) : output_(output) {}
  void write(std::string_view text) override {
    while (!text.empty()) {
      const std::size_t length = std::min(text.find('<'), text.size());
      output_.write(text.substr(0, length));
      if (length == text.size()) return;
      output_.write("\\u003c");
      text.remove_prefix(length + 1);
    }
  }

 private:
  Output& output_;
};

int digitOf(char hexadecimal) {
  return hexadecimal <= '9' ? hexadecimal - '0' : hexadecimal - 'a' + 10;
}

/// Bytes in hexadecimal digits, in the form of base 64.
std::string base64(std::string_view hexadecimal) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string result;
  std::uint32_t bits = 0;
  int count = 0;
  for (const char c : hexadecimal) {
    bits = bits << 4 | static_cast<std::uint32_t>(digitOf(c));
    count += 4;
    if (count < 6) continue;
    count -= 6;
    result += kDigits[bits >> count & 63];
  }
  if (count > 0) result += kDigits[bits << (6 - count) & 63];
  while (result.size() % 4 != 0) result += '=';
  return result;
}

/// What the page may do: run this script, have this style, and nothing else.
std::string policy() {
  return "default-src 'none'; base-uri 'none'; form-action 'none'; img-src data:; style-src "
         "'sha256-" +
         base64(viewAssets.styleHash) + "'; script-src 'sha256-" + base64(viewAssets.scriptHash) +
         "'";
}

}  // namespace

bool isViewPage(const std::string& file) {
  std::ifstream input(file, std::ios::binary);
  std::string start(kStart.size(), '\0');
  input.read(start.data(), static_cast<std::streamsize>(start.size()));
  return start == kStart;
}

void writeViewPage(const std::string& title, const std::function<void(Output&)>& writeData,
                   Output& output) {
  output.write(kStart);
  output.write("<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n");
  output.write("<meta http-equiv=\"Content-Security-Policy\" content=\"" + policy() + "\">\n");
  output.write(
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
      "<meta name=\"color-scheme\" content=\"light dark\">\n<link rel=\"icon\" href=\"data:,\">\n");
  output.write("<title>" + escaped(title) + "</title>\n<style>");
  output.write(viewAssets.style);
  output.write("</style>\n</head>\n<body>\n");
  output.write(viewAssets.body);
  output.write("<script type=\"application/json\" id=\"data\">");
  ScriptOutput script(output);
  writeData(script);
  output.write("</script>\n<script>");
  output.write(viewAssets.script);
  output.write("</script>\n</body>\n</html>\n");
}

}  // namespace zdb::tool
