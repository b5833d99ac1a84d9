// zdbcc join: puts the results of the parts of a sweep together.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "fingerprint.h"
#include "output.h"
#include "outputfile.h"
#include "part.h"
#include "sweepfiles.h"
#include "verbs.h"

namespace zdb::tool {

namespace {

struct JoinOptions {
  std::vector<std::string> files;
  std::string output;
  std::string records;
  bool force = false;
};

/// The results of a part.
struct PartFile {
  std::string name;
  std::string fingerprint;  ///< without what differs between parts
  Part part = {};
  std::size_t scenarios = 0;  ///< of the whole sweep
  std::string records = {};   ///< its table in long form, or empty
};

std::string takeLine(std::string& text, const std::string& name) {
  const std::string begin = name + ": ";
  const auto from = text.starts_with(begin) ? 0 : text.find('\n' + begin) + 1;
  const auto to = text.find('\n', from);
  if (from == 0 && !text.starts_with(begin)) return "";
  std::string value = text.substr(from + begin.size(), to - from - begin.size());
  text.erase(from, to - from + 1);
  return value;
}

PartFile readPartFile(const std::string& name) {
  PartFile file{.name = name, .fingerprint = readFingerprint(name)};
  if (file.fingerprint.empty()) {
    throw ToolError(name + " cannot be joined: there is no " + fingerprintFile(name) +
                    ", which tells what it was made of");
  }
  std::string rest = file.fingerprint;
  try {
    file.part = readPart(takeLine(rest, kPartLine));
  } catch (const WrongUseError&) {
    throw ToolError(fingerprintFile(name) + " is damaged");
  }
  file.scenarios = std::strtoull(takeLine(rest, kCountLine).c_str(), nullptr, 10);
  const std::string records = takeLine(rest, kRecordsLine);
  if (!records.empty()) {
    file.records = (std::filesystem::path(name).parent_path() / records).lexically_normal();
  }
  file.fingerprint = rest;
  return file;
}

/// The name of the scenario that begins a row, as it is written there.
std::string_view scenarioOf(std::string_view row) {
  std::size_t end = 0;
  for (bool isQuoted = false; end < row.size() && (isQuoted || row[end] != ','); ++end) {
    if (row[end] == '"') isQuoted = !isQuoted;
  }
  return row.substr(0, end);
}

/// Tables of the same heading, one after the other.
class JoinedTable {
 public:
  explicit JoinedTable(const std::string& name) : output_(name) {}

  /// Appends the rows of a file and hands each to a function. False if there is not even a heading.
  template <typename Take>
  bool append(const std::string& name, Take take) {
    std::ifstream stream(name, std::ios::binary);
    std::string line;
    if (!readWholeLine(stream, line)) return false;
    if (heading_.empty()) {
      heading_ = line;
      output_.write(line);
    }
    if (line != heading_) throw ToolError(name + " has another heading");
    while (readWholeLine(stream, line)) {
      take(line);
      output_.write(line);
    }
    return true;
  }
  void publish() { output_.publish(); }

 private:
  NewFileOutput output_;
  std::string heading_;
};

class Join {
 public:
  explicit Join(const JoinOptions& options) : options_(options) {
    for (const std::string& name : options.files) files_.push_back(readPartFile(name));
    std::stable_sort(files_.begin(), files_.end(), [](const PartFile& a, const PartFile& b) {
      return a.part.number < b.part.number;
    });
  }

  void run() {
    for (const PartFile& file : files_) requireSame(file);
    requireAll();
    JoinedTable output(options_.output);
    for (PartFile& file : files_) copy(file, output);
    if (!options_.records.empty()) joinRecords();
    NewFileOutput fingerprint(fingerprintFile(options_.output));
    fingerprint.write(files_.front().fingerprint);
    fingerprint.write(std::string(kPartLine) + ": " + Part().text() + '\n');
    fingerprint.write(std::string(kCountLine) + ": " + std::to_string(files_[0].scenarios) + '\n');
    if (!options_.records.empty()) {
      const std::string records = besideResults(options_.records, options_.output);
      fingerprint.write(std::string(kRecordsLine) + ": " + records + '\n');
    }
    output.publish();
    fingerprint.publish();
  }

 private:
  void requireSame(const PartFile& file) const {
    const PartFile& first = files_.front();
    std::string what = differingNames(file.fingerprint, first.fingerprint);
    if (what.empty() && file.part.count != first.part.count) what = "number of parts";
    if (what.empty()) return;
    throw ToolError(first.name + " and " + file.name +
                    " are not parts of one sweep: they differ in " + what);
  }

  void requireAll() const {
    const std::size_t count = files_.front().part.count;
    for (std::size_t i = 0; i < std::max(count, files_.size()); ++i) {
      const Part expected{i + 1, count};
      if (i < files_.size() && files_[i].part.number == i + 1) continue;
      if (i > 0 && i < files_.size() && files_[i].part.number == i) {
        throw ToolError(files_[i - 1].name + " and " + files_[i].name + " are both part " +
                        files_[i].part.text());
      }
      throw ToolError("part " + expected.text() + " is missing");
    }
  }

  void copy(PartFile& file, JoinedTable& output) {
    std::vector<std::string>& names = names_.emplace_back();
    output.append(file.name, [&](const std::string& row) { names.emplace_back(scenarioOf(row)); });
    const Part& part = file.part;
    if (names.size() == part.end(file.scenarios) - part.begin(file.scenarios)) return;
    failUnfinished(file, names.size());
  }

  /// Scenarios have any number of records, in the order of their rows.
  void joinRecords() const {
    JoinedTable output(options_.records);
    for (std::size_t k = 0; k < files_.size(); ++k) {
      const std::string& name = files_[k].records;
      if (name.empty()) throw ToolError(files_[k].name + " was made without --long");
      auto next = names_[k].begin();
      const auto take = [&](const std::string& row) {
        next = std::find(next, names_[k].end(), scenarioOf(row));
        if (next != names_[k].end()) return;
        throw ToolError(name + ": the row of " + std::string(scenarioOf(row)) +
                        " does not go with the rows of " + files_[k].name);
      };
      if (output.append(name, take)) continue;
      throw ToolError(name + ", the long table of " + files_[k].name + ", cannot be read");
    }
    output.publish();
  }

  [[noreturn]] static void failUnfinished(const PartFile& file, std::size_t rows) {
    const std::size_t wanted = file.part.end(file.scenarios) - file.part.begin(file.scenarios);
    throw ToolError(file.name + " has " + std::to_string(rows) + " of " +
                    counted(wanted, "scenario") + ": zdbcc sweep --part " + file.part.text() +
                    " --resume " + file.name + " goes on with it");
  }

  const JoinOptions& options_;
  std::vector<PartFile> files_;
  std::vector<std::vector<std::string>> names_;  ///< of the scenarios of each
};

void runJoin(const JoinOptions& options, Console& /*console*/) {
  if (!options.force) checkNewOutput(options.output, options.files);
  if (!options.force && !options.records.empty()) checkNewOutput(options.records, options.files);
  Join(options).run();
}

}  // namespace

Verb joinVerb() {
  return {
      .name = "join",
      .summary = "Puts the results of the parts of a sweep together",
      .details = R"(The parts were made by `zdbcc sweep --part`, in any order and on any machine.
What comes out is what the whole sweep would have written, also the file `OUT.sweep` beside it.

Nothing is written if a part is missing, there twice, or not finished, or if the parts were not made
of the same model, data and scenarios with the same options, as recorded in the file `FILE.sweep`
beside each of them.

Exchange files of parts are put together by `zdbcc merge`.)",
      .operands = {{.name = "FILE",
                    .kind = Kind::File,
                    .text = "CSV files of all parts, in any order",
                    .target = into(&JoinOptions::files)}},
      .options = {{.name = "output",
                   .letter = 'o',
                   .value = "OUT",
                   .kind = Kind::File,
                   .text = "CSV file to write",
                   .target = into(&JoinOptions::output),
                   .isRequired = true},
                  {.name = "long",
                   .value = "FILE",
                   .kind = Kind::File,
                   .text = "CSV file to write, of the parts' tables in long form",
                   .details = "These are where they were when the parts were made, seen from the "
                              "results of each.",
                   .target = into(&JoinOptions::records)},
                  {.name = "force",
                   .text = "Write over a file that is there",
                   .target = into(&JoinOptions::force)}},
      .examples = {{"zdbcc join part-*.csv -o results.csv", "All parts of a sweep"}},
      .action = runs(runJoin)};
}

}  // namespace zdb::tool
