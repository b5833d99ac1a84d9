// A spy between the database library and the model kit.
#pragma once

#include <map>
#include <string>
#include <vector>

/// Every function pointer of the loaders zmi, zrt, zlx and zst leads through the spy, which keeps a
/// list of the calls, passes them on to the kit, and answers in its place when told to. There may
/// be one at a time.
struct Spy {
  struct Answer {
    double result = 0;           ///< of a function that gives a pointer: null
    const char* text = nullptr;  ///< for the last text output of the function, if there is one
  };

  std::map<std::string, Answer> answers;  ///< by function
  /// Every call, with its texts and numbers; of pointers, whether they are null.
  std::vector<std::string> calls;
  std::map<std::string, int> counts;  ///< of calls, by function

  Spy();
  ~Spy();  ///< fails unless every walk was closed and every stored view restored
  Spy(const Spy&) = delete;
  Spy& operator=(const Spy&) = delete;

  /// Loads the kit's libraries, unless they are loaded, and comes between. For tests that unload.
  static void comeBetween();
  /// The calls so far of functions whose names begin with one of the words, joined by blanks; all
  /// are forgotten.
  std::string taken(const std::string& words);
};
