// A database as a host has it, for tests in C++.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "zdbcclib.h"

/// Freed at the end.
struct Database {
  zdbHandle_t handle = nullptr;

  Database() { EXPECT_EQ(zdbcreate(&handle, nullptr, 0), 1); }
  ~Database() { zdbfree(&handle); }
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;
  operator zdbHandle_t() const { return handle; }

  std::string error() const {
    char text[ZDB_TEXT_SIZE];
    c__zdbgetlasterror(handle, text);
    return text;
  }
  /// The message of a call that failed, "" of one that did not.
  std::string said(int result) const { return result == 1 ? "" : error(); }
  zdbSymbol_t add(const char* name, int dim, int type = ZDB_PARAMETER, int userInfo = 0) const {
    zdbSymbol_t symbol = nullptr;
    EXPECT_EQ(c__zdbaddsymbol(handle, name, dim, type, userInfo, "", &symbol), 1) << error();
    return symbol;
  }
  /// Merges a record and sets its level.
  void put(zdbSymbol_t symbol, const std::vector<const char*>& key, double level) const {
    zdbRecord_t record = nullptr;
    EXPECT_EQ(c__zdbmergerecord(handle, symbol, key.data(), &record), 1) << error();
    EXPECT_EQ(c__zdbsetlevel(handle, record, level), 1) << error();
    c__zdbfreesymboliterator(handle, record);
  }
  int label(const char* text) const {
    int number = -2;
    c__zdbmergeuel(handle, text, &number);
    return number;
  }
  int info(zdbSymbol_t symbol, int key) const {
    int value = -2;
    EXPECT_EQ(c__zdbsymbolinfo(handle, symbol, key, &value, nullptr, nullptr), 1) << error();
    return value;
  }
};
