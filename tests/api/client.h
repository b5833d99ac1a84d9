#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "zdbcclib.h"

/// A database as a host has it, freed at the end.
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
  zdbSymbol_t add(const char* name, int dim, int type = ZDB_PARAMETER, int userInfo = 0) const {
    zdbSymbol_t symbol = nullptr;
    EXPECT_EQ(c__zdbaddsymbol(handle, name, dim, type, userInfo, "", &symbol), 1) << error();
    return symbol;
  }
  /// Merges a record that the test needs no handle on.
  void merge(zdbSymbol_t symbol, const std::vector<const char*>& keys) const {
    zdbRecord_t record = nullptr;
    EXPECT_EQ(c__zdbmergerecord(handle, symbol, keys.data(), &record), 1) << error();
    c__zdbfreesymboliterator(handle, record);
  }
  zdbSymbol_t universe() const {
    zdbSymbol_t symbol = nullptr;
    EXPECT_EQ(c__zdbfindsymbol(handle, "*", &symbol), 1);
    return symbol;
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
  std::string infoText(zdbSymbol_t symbol, int key) const {
    char text[ZDB_TEXT_SIZE];
    EXPECT_EQ(c__zdbsymbolinfo(handle, symbol, key, nullptr, nullptr, text), 1) << error();
    return text;
  }
};

using Labels = std::vector<const char*>;

/// A record handle, freed at the end; converts to the address that functions write to.
struct Record {
  zdbHandle_t db;
  zdbRecord_t handle = nullptr;

  explicit Record(zdbHandle_t database) : db(database) {}
  Record(zdbHandle_t database, zdbSymbol_t symbol, const Labels& keys) : db(database) {
    EXPECT_EQ(c__zdbmergerecord(db, symbol, keys.data(), &handle), 1);
  }
  ~Record() { clear(); }
  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;
  operator zdbRecord_t() const { return handle; }
  zdbRecord_t* operator&() {
    clear();
    return &handle;
  }
  void clear() {
    if (handle != nullptr) c__zdbfreesymboliterator(db, handle);
    handle = nullptr;
  }
  /// The labels of the key, joined by points.
  std::string key(int dim) const {
    std::string joined;
    char text[ZDB_TEXT_SIZE];
    for (int i = 0; i < dim; ++i) {
      EXPECT_EQ(c__zdbgetkey(db, handle, i, text), 1);
      joined.append(i == 0 ? "" : ".").append(text);
    }
    return joined;
  }
  double level() const {
    double value = -99;
    EXPECT_EQ(c__zdbgetlevel(db, handle, &value), 1);
    return value;
  }
};
