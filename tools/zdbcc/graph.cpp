// zdbcc graph: which symbols of an exchange file have which sets as domains.
#include <map>
#include <set>

#include "exchangefile.h"
#include "values.h"
#include "verbs.h"

namespace zdb::tool {

namespace {

struct GraphOptions {
  std::string file;
};

/// A text as Graphviz draws it as it is, within quotes.
std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : printable(text)) {
    if (c == '"' || c == '\\') result += '\\';
    result += c;
  }
  return result;
}

std::string quoted(const std::string& text) {
  return '"' + escaped(text) + '"';
}

const char* shapeOf(int type) {
  switch (type) {
    case ZDB_PARAMETER:
      return "shape=box";
    case ZDB_VARIABLE:
      return "shape=box, style=rounded";
    case ZDB_EQUATION:
      return "shape=box, peripheries=2";
    default:
      return "shape=ellipse";
  }
}

void writeNode(const FileSymbol& symbol, Console& console) {
  console.write("  " + quoted(symbol.name) + " [" + shapeOf(symbol.type) + ", label=\"" +
                escaped(symbol.name) + "\\n" + typeName(symbol.type));
  if (!symbol.isAlias()) console.write(", " + counted(symbol.recordCount, "record"));
  console.write("\"];\n");
}

/// An arrow from each domain, with the positions where it is one; mere names have dashed lines.
void writeArrows(const FileSymbol& symbol, Console& console) {
  std::map<std::string, std::string> positions;
  std::set<std::string> relaxed;
  for (std::size_t d = 0; d < symbol.domains.size(); ++d) {
    const Domain& domain = symbol.domains[d];
    if (domain.name == "*") continue;
    std::string& text = positions[domain.name];
    text += (text.empty() ? "" : ", ") + std::to_string(d + 1);
    if (domain.relaxed) relaxed.insert(domain.name);
  }
  for (const auto& [name, text] : positions) {
    console.write("  " + quoted(name) + " -> " + quoted(symbol.name));
    std::string attributes = symbol.dim > 1 ? "label=\"" + text + "\"" : "";
    if (relaxed.contains(name))
      attributes += (attributes.empty() ? "" : ", ") + std::string("style=dashed");
    console.write(attributes.empty() ? ";\n" : " [" + attributes + "];\n");
  }
  if (symbol.isAlias() && symbol.aliasOf != "*") {
    console.write("  " + quoted(symbol.aliasOf) + " -> " + quoted(symbol.name) +
                  " [style=dotted, label=\"alias\"];\n");
  }
}

void runGraph(const GraphOptions& options, Console& console) {
  const ExchangeFile file(options.file);
  console.write("digraph " + quoted(file.name()) + " {\n  rankdir=LR;\n");
  for (const FileSymbol& symbol : file.symbols()) writeNode(symbol, console);
  for (const FileSymbol& symbol : file.symbols()) writeArrows(symbol, console);
  console.write("}\n");
}

}  // namespace

Verb graphVerb() {
  return {
      .name = "graph",
      .summary = "Writes the graph of domains of an exchange file, for Graphviz",
      .details = R"(The graph has a node for each symbol, with its type and its number of records:
sets and aliases are ellipses, parameters boxes, variables boxes with round corners, and equations
boxes with two lines. An arrow goes from a domain to each symbol that has it, with the positions
where it stands if there is more than one. The arrow is dashed if the domain is only a name, and
dotted from a set to its alias. No records are read.)",
      .operands = {{.name = "FILE",
                    .kind = Kind::ExchangeFile,
                    .text = "Exchange file to look at",
                    .target = into(&GraphOptions::file)}},
      .examples = {{"zdbcc graph flights.zxf | dot -Tsvg > flights.svg", "A picture"}},
      .action = runs(runGraph)};
}

}  // namespace zdb::tool
