// Models of the kit that are written as texts, and instances of them.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "zkitdclib.h"

namespace kittest {

// A text is a list of statements with a semicolon between them and a blank between words:
//
//     x(a) 0 6 1.5 ; int x(b) 0 9        columns with their bounds, and where they begin
//     cost -inf inf ; min cost
//     costs: cost - 2 x(a) - p_var*x(b) - 3 = 2 ; idle: x(a) free 0
//
// Rows and columns count in the order of their statements.
class Model {
 public:
  explicit Model(const std::string& text);
  ~Model() { zkitModelFree(&model_); }
  Model(const Model&) = delete;
  Model& operator=(const Model&) = delete;
  operator zkitModel_t() const { return model_; }

  // The number of a row or column.
  int operator[](const std::string& name) const { return entries_.at(name); }

 private:
  void addStatement(const std::string& statement);
  void addRow(const std::string& name, std::istream& words);
  template <typename Add>
  int addEntry(std::string name, int type, Add add);

  zkitModel_t model_ = nullptr;
  std::map<std::string, int> symbols_;
  std::map<std::string, int> entries_;
};

class Instance {
 public:
  explicit Instance(const Model& model) {
    EXPECT_EQ(zkitModelFinish(model, nullptr, &handle_), 1) << zkitLastError(model);
  }
  ~Instance() { zkitFreeInstance(&handle_); }
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;
  operator void*() const { return handle_; }

 private:
  void* handle_ = nullptr;
};

}  // namespace kittest
