// Callbacks that use the database which they deliver to.
#include <functional>

#include "support/client.h"
#include "zdbx.h"

namespace {

/// Delivers 50 records of any symbol, and does something else in the middle.
struct Source {
  std::function<void()> inTheMiddle;
  int delivered = 0;

  static int find(const char* /*name*/, int* /*number*/, void* /*user*/) { return 0; }
  static int start(int /*number*/, int* records, void* user) {
    *records = 50;
    static_cast<Source*>(user)->delivered = 0;
    return 0;
  }
  static int read(int* key, double* values, int* firstChanged, void* user) {
    auto* self = static_cast<Source*>(user);
    *key = ++self->delivered;
    *values = self->delivered;
    *firstChanged = 1;
    if (self->delivered == 25) self->inTheMiddle();
    return 0;
  }
  static int done(void* /*user*/) { return 0; }
  static int print(const char* /*text*/, void* /*user*/) { return 0; }
};

}  // namespace

TEST(Callbacks, UseOfTheSymbolThatTheyDeliver_IsRefused) {
  for (const int storage : {0, 1, 2}) {
    for (const bool isWritten : {false, true}) {
      const Database db;
      zdbHandle_t handle = db.handle();
      Source source;
      c__zdbselectrecordstorage(db, nullptr, storage);
      for (int i = 1; i <= 50; ++i) db.label(("l" + std::to_string(i)).c_str());
      const auto attach = [&] {
        return c__zdbinitfromdmrf(db, Source::find, Source::start, Source::read, Source::done,
                                  nullptr, Source::print, &source);
      };
      EXPECT_EQ(db.said(attach()), "");
      zdbSymbol_t symbol = db.add("p", 1);
      zdbSymbol_t another = db.add("q", 1);
      db.said(c__zdbclearsymbol(db, another));
      const int other = (storage + 1) % 3;
      std::int64_t count = 0;
      const auto write = [&] {
        void* bytes = nullptr;
        std::size_t size = 0;
        const int status = zdbx_write_memory(handle, 0, &bytes, &size);
        zdbx_free_bytes(bytes);
        return status;
      };
      source.inTheMiddle = [&] {
        const std::string expected = "Symbol p is being loaded";
        EXPECT_EQ(db.said(zdbx_remove_symbol(db, &symbol)), expected);
        EXPECT_EQ(db.said(zdbx_rename_symbol(db, symbol, "r")), expected);
        EXPECT_EQ(db.said(c__zdbselectrecordstorage(db, &symbol, other)), expected);
        EXPECT_EQ(db.said(zdbx_remove_symbol(db, &another)), expected);
        EXPECT_EQ(db.said(c__zdbselectrecordstorage(db, &another, other)), expected);
        EXPECT_EQ(db.said(c__zdbclearsymbol(db, symbol)), expected);
        EXPECT_EQ(db.said(c__zdbcopysymbol(db, symbol, another)), expected);
        zdbx_columns none = {};
        none.size = sizeof none;
        const auto replace = [&] {
          return zdbx_put_records(db, symbol, &none, ZDBX_REPLACE, ZDBX_UNDO, nullptr);
        };
        EXPECT_EQ(db.said(replace()), expected);
        ArrowArrayStream stream;
        EXPECT_EQ(db.said(zdbx_export_stream(db, another, nullptr, 0, &stream)), "");
        EXPECT_EQ(db.said(zdbx_import_stream(db, symbol, &stream, ZDBX_REPLACE, 0, nullptr)),
                  expected);
        EXPECT_EQ(db.said(attach()), expected);
        if (isWritten) return;  // and not loaded, so it may be loaded meanwhile
        EXPECT_EQ(db.said(zdbx_count_records(db, symbol, nullptr, &count)), expected);
        EXPECT_EQ(db.said(write()), "Problems writing symbol p to ZXF");
        EXPECT_EQ(zdbx_error_reason(db), expected);
      };
      if (isWritten) {
        EXPECT_EQ(db.said(write()), "");
      }
      EXPECT_EQ(db.said(zdbx_count_records(db, symbol, nullptr, &count)), "");
      EXPECT_EQ(count, 50);
      source.inTheMiddle = {};
      EXPECT_EQ(db.said(c__zdbselectrecordstorage(db, &symbol, other)), "");
      EXPECT_EQ(db.said(zdbx_remove_symbol(db, &symbol)), "");
    }
  }
}
