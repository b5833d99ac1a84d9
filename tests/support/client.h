// A database as a host has it, for tests of the C calls in C++.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "zdbcc.hpp"

/// What is not itself under test throws when it fails.
struct Database : zdbcc::Database {
  operator zdbHandle_t() const { return handle(); }

  std::string error() const { return zdbx_error_text(*this); }
  /// The message of a call that failed, "" of one that did not.
  std::string said(int result) const { return result == 1 ? "" : error(); }
  zdbSymbol_t add(const char* name, int dim, int type = ZDB_PARAMETER, int userInfo = 0) const {
    return zdbcc::Database::add(name, dim, type, {}, {}, userInfo).handle();
  }
  /// Merges a record and sets its level.
  void put(zdbSymbol_t symbol, const zdbcc::Key& key, double level) const {
    zdbcc::Symbol(*this, symbol).set(key, level);
  }
  int label(const char* text) const { return addLabel(text); }
  int info(zdbSymbol_t symbol, int key) const {
    int value = -2;
    EXPECT_EQ(c__zdbsymbolinfo(*this, symbol, key, &value, nullptr, nullptr), 1) << error();
    return value;
  }
};
