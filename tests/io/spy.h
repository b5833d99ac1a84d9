// A spy between the database and the model kit.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

/// Every function pointer of the loaders zmi, zrt, zlx and zst leads through the spy, which keeps a
/// list of the calls, passes them on to the kit, and answers in its place when told to. There may
/// be one at a time.
struct Spy {
  struct Answer {
    double result = 0;                ///< of a function that gives a pointer: null
    std::optional<std::string> text;  ///< for the last text output of the function
  };

  std::map<std::string, Answer> answers;  ///< by function
  std::vector<std::string> calls;         ///< with texts and numbers, and "null"
  std::map<std::string, int> counts;      ///< of calls, by function

  Spy();
  ~Spy();
  Spy(const Spy&) = delete;
  Spy& operator=(const Spy&) = delete;

  /// Loads the kit's libraries, unless they are loaded, and comes between.
  static void comeBetween();
  /// The calls so far of functions whose names begin with one of the words; all are forgotten.
  std::string taken(const std::string& words);
  /// Whether every walk was closed and every stored view restored.
  bool isBalanced();
};
