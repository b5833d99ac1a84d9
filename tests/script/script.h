// Scripts as they are read: README.md has the grammar.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace zdb::script {

struct Token {
  enum Kind { Null, Word, Text, Variable, Object, Blank, Callback, Setting, List };
  Kind kind;
  std::string text;  ///< without marks: the characters of a text, the name of a variable
  std::vector<Token> items;
};

struct Statement {
  int line = 0;      ///< of the file, from 1
  int lastLine = 0;  ///< continuation lines included
  std::string object;
  std::string name;
  std::vector<Token> arguments;
  std::string source;  ///< all before the arrow
  std::string expected;
};

struct Script {
  std::string path;
  std::vector<std::string> lines;
  std::vector<Statement> statements;
};

/// Says what is wrong with a script or with a call that it makes.
struct ScriptError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Reads a script. Throws ScriptError with file and line for what does not parse.
Script readScript(const std::string& path);

/// A text as expectations show it: runs of 16 or more equal characters as c{n}, control characters
/// as escapes.
std::string shown(const std::string& text);
/// A number likewise: in the shortest form that reads back as the same.
std::string shown(double value);

}  // namespace zdb::script
