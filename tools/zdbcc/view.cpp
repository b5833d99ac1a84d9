// zdbcc view: an exchange file as a page for a browser.
#include "viewpage.h"

#include <algorithm>

#include "outputfile.h"
#include "verbs.h"
#include "viewdata.h"

namespace zdb::tool {

namespace {

struct ViewOptions {
  std::string file;
  std::vector<std::string> slices;
  std::string output;
  std::uint64_t rows = 5000;
  bool force = false;
};

std::vector<ViewPart> partsOf(const ExchangeFile& file, const ViewOptions& options) {
  std::vector<ViewPart> parts;
  for (const FileSymbol& symbol : file.symbols()) {
    if (options.slices.empty()) parts.push_back({{symbol}, symbol.name});
  }
  for (const std::string& text : options.slices) {
    const Slice slice = readSlice(file, text);
    const std::string title = slice.isWhole ? slice.symbol.name : text;
    const bool isThere = std::any_of(parts.begin(), parts.end(),
                                     [&](const auto& part) { return part.title == title; });
    if (!isThere) parts.push_back({slice, title});
  }
  return parts;
}

void writePage(const ExchangeFile& file, const ViewOptions& options, Output& output,
               Console& console) {
  const std::vector<ViewPart> parts = partsOf(file, options);
  const std::uint64_t rows = rowsThatFit(parts, options.rows);
  if (rows < options.rows) {
    console.note("the page has at most " + counted(rows, "record") +
                 " of each symbol, since more would make it too large; name fewer symbols");
  }
  writeViewPage(
      file.name(), [&](Output& data) { writeViewData(file, parts, rows, data, console); }, output);
}

void runView(const ViewOptions& options, Console& console) {
  const bool isFile = options.output != "-";
  if (isFile && !options.force) {
    checkOutput(options.output, {options.file}, {"a page of zdbcc view", isViewPage});
  }
  const ExchangeFile file(options.file);
  if (!isFile) return writePage(file, options, console, console);
  NewFileOutput page(options.output);
  writePage(file, options, page, console);
  page.publish();
}

}  // namespace

Verb viewVerb() {
  return {
      .name = "view",
      .summary = "Writes an exchange file as a page for a browser: tables, slices, pictures",
      .details = R"(The page is one file, which a browser opens without a network: it has data,
style and script within, and loads nothing. It lists the symbols with types, domains, numbers of
records and texts, and shows each as a table that can be sorted and filtered, and as bars, a line, a
duration curve, a histogram or a heat map; drop-downs choose slices. It works with the keyboard, on
small screens, and on dark and light backgrounds. Printed, a table has all its rows, filtered and
sorted as on the screen. The results of `zdbcc sweep -o RESULTS.zxf` are an exchange file, too.

The page has the first records of each symbol, 5,000 if `--rows` says nothing else, and of all
symbols together at most 2,000,000 labels and values, which make some 10 MB, or more where labels
and texts are long; it says where records are left out. What it takes in time and memory depends on
what it shows and not on the size of the file, but for a slice whose first position is `*`. With
SLICEs, it has these alone.

A symbol that is damaged has the records before the damage, and says so; the exit code is 1.)",
      .operands = {{.name = "FILE",
                    .kind = Kind::ExchangeFile,
                    .text = "Exchange file to show",
                    .target = into(&ViewOptions::file)},
                   {.name = "SLICE",
                    .kind = Kind::Slice,
                    .text = "Symbols, or parts of them such as `flow(ATL,*)`; `*` for all labels. "
                            "Without any, all symbols",
                    .target = into(&ViewOptions::slices),
                    .isOptional = true}},
      .options = {{.name = "output",
                   .letter = 'o',
                   .value = "PAGE",
                   .kind = Kind::File,
                   .text = "Page to write, such as `flights.html`; `-` is standard output",
                   .details = "A page that is there already is replaced.",
                   .target = into(&ViewOptions::output),
                   .isRequired = true},
                  {.name = "rows",
                   .value = "N",
                   .kind = Kind::Number,
                   .text = "Show at most N records of each symbol",
                   .target = into(&ViewOptions::rows)},
                  {.name = "force",
                   .text = "Write over an input, or over a file that is not such a page",
                   .target = into(&ViewOptions::force)}},
      .examples = {{"zdbcc view flights.zxf -o flights.html", "All symbols of a file"},
                   {"zdbcc view flights.zxf 'flow(ATL,*)' distance -o part.html --rows 20000",
                    "More of some of them"},
                   {"zdbcc view days.zxf -o days.html", "The results of a sweep"}},
      .action = runs(runView)};
}

}  // namespace zdb::tool
