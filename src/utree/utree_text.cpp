#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "utree/utree.h"

namespace utree {

namespace {

constexpr const char* kGraphFile = "tmp.dot";

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

std::string nodeValues(const UELNode& node, int count) {
  return node.down.hasValues() ? UTree::valuesToStr(count, node.down.values()) : std::string();
}

/// Nests each node of a list in the one before it. Recursion would be as deep as the list is long,
/// so the list is walked twice instead: forwards for the beginnings, backwards for the ends.
/// Recursive in the levels only.
void printList(std::FILE* out, const DownLink& list, int numValues) {
  std::vector<const UELNode*> nodes;
  for (const UELNode* node = list.first(); node != nullptr; node = node->right) {
    nodes.push_back(node);
    std::fprintf(out, "{uel=%d,value=%s,right=", node->uel, nodeValues(*node, numValues).c_str());
  }
  std::reverse(nodes.begin(), nodes.end());
  for (const UELNode* node : nodes) {
    std::fputs(",down=", out);
    printList(out, node->down, numValues);
    std::fputc('}', out);
  }
}

template <class Visit>
void forEachNode(const DownLink& list, const Visit& visit) {
  for (const UELNode* node = list.first(); node != nullptr; node = node->right) {
    visit(*node);
    forEachNode(node->down, visit);
  }
}

/// Ordinary names are passed to the shell as they are, others in quotes.
std::string shellWord(const std::string& text) {
  constexpr const char* kOrdinary =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-+./,:@";
  if (text.find_first_not_of(kOrdinary) == std::string::npos) return text;
  std::string word = "'";
  for (const char c : text) {
    if (c == '\'') {
      word += "'\\''";
    } else {
      word += c;
    }
  }
  return word + "'";
}

}  // namespace

std::string UTree::valuesToStr(int count, const double* values) {
  std::string text;
  for (int i = 0; i < count; ++i) {
    char number[400];  // the largest double has 309 digits before the point
    std::snprintf(number, sizeof number, "%f", values[i]);
    if (i > 0) text += ',';
    text += number;
  }
  return text;
}

std::string UTree::str(const UELNodeIt& it) const {
  if (it.isEnd()) return "end";
  std::string text;
  for (int level = 0; level < dim_; ++level) {
    if (level > 0) text += ',';
    text += std::to_string(it[level]->uel);
  }
  return text + ": " + nodeValues(*it.leaf(), numValues_);
}

void UTree::pprint(std::FILE* out) const {
  printList(out, root_, numValues_);
}

std::unordered_map<const UELNode*, int> UTree::collectNodeIds() const {
  std::unordered_map<const UELNode*, int> ids;
  forEachNode(root_,
              [&ids](const UELNode& node) { ids.emplace(&node, static_cast<int>(ids.size())); });
  return ids;
}

bool UTree::toDotFile(const std::string& fileName) const {
  const File file(std::fopen(fileName.c_str(), "w"));
  if (!file) return false;
  std::FILE* out = file.get();
  const auto ids = collectNodeIds();
  std::fputs("digraph { rankdir=\"LR\"\n", out);
  forEachNode(root_, [&](const UELNode& node) {
    const std::string values = nodeValues(node, numValues_);
    std::fprintf(out, "%d [label=\"%d%s%s\"]\n", ids.at(&node), node.uel,
                 values.empty() ? "" : ": ", values.c_str());
  });
  const auto edge = [&](const UELNode& from, const UELNode* to, const char* arrow) {
    if (to == nullptr) return;
    std::fprintf(out, "%d -> %d [label=\"%s\"]\n", ids.at(&from), ids.at(to), arrow);
  };
  forEachNode(root_, [&](const UELNode& node) {
    edge(node, node.right, "\u2192");
    edge(node, node.down.first(), "\u2193");
  });
  std::fputs("}\n", out);
  return std::fflush(out) == 0 && std::ferror(out) == 0;
}

void UTree::toPDF(const std::string& fileName) const {
  if (!toDotFile(kGraphFile)) return;
  const std::string command = std::string("dot -Tpdf ") + kGraphFile + " -o " + shellWord(fileName);
  // The picture is optional: a missing or failing dot is not an error.
  [[maybe_unused]] const int status = std::system(command.c_str());
  std::remove(kGraphFile);
}

}  // namespace utree
