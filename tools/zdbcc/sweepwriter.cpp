#include "sweepwriter.h"

#include <algorithm>
#include <bit>
#include <filesystem>
#include <fstream>
#include <map>
#include <utility>

#include "csvwriter.h"
#include "earlierresults.h"
#include "fingerprint.h"
#include "outputfile.h"
#include "sweepfiles.h"

namespace zdb::tool {

namespace {

/// Of a data file, which is made of them when all are there.
std::string rowFile(const SweepOptions& options) {
  return options.target() + (options.writesExchangeFile() ? ".rows.csv" : "");
}

std::string recordFile(const SweepOptions& options) {
  return options.writesExchangeFile() ? options.target() + ".records.csv" : options.records;
}

std::string headingOf(const std::vector<std::string>& columns) {
  TextOutput text;
  CsvWriter heading(text);
  for (const std::string& column : columns) heading.field(column);
  heading.endRow();
  return text.take();
}

std::uint64_t hashOf(const Scenarios& scenarios) {
  std::uint64_t hash = hashed(kEmptyHash, headingOf(scenarios.headings()));
  for (std::size_t i = 0; i < scenarios.count(); ++i) {
    hash = hashed(hash, scenarios.name(i) + '\n');
    for (std::size_t c = 0; c < scenarios.headings().size(); ++c) {
      const std::optional<double> value = scenarios.value(i, c);
      hash = hashed(hash, value ? std::to_string(std::bit_cast<std::uint64_t>(*value)) : "-");
    }
  }
  return hash;
}

std::string textOf(const std::optional<double>& limit) {
  return limit ? std::to_string(*limit) : "none";
}

void addText(Fingerprint& fingerprint, const char* name, const std::string& file,
             const std::optional<std::string>& text) {
  text ? fingerprint.addHash(name, hashed(kEmptyHash, *text)) : fingerprint.addFile(name, file);
}

std::string fingerprintOf(const SweepOptions& options, ScenarioSolver& solver,
                          Fingerprint& fingerprint) {
  fingerprint.add("version", ZDBCCLIB_VERSION);
  const ModelSource& source = solver.source();
  addText(fingerprint, "model", source.file, source.text);
  if (!source.data.empty()) addText(fingerprint, "model data", source.data, source.dataText);
  fingerprint.addHash("scenarios", hashOf(solver.scenarios()));
  fingerprint.add("--solver", solver.solver());
  fingerprint.add("--start", options.start == SweepStart::Base ? "base" : "last");
  std::string shown = headingOf(options.shown);
  shown.pop_back();
  fingerprint.add("--show", shown);
  fingerprint.add("--long", recordFile(options).empty() ? "no" : "yes");
  fingerprint.add("--keep-going", options.keepsGoing ? "yes" : "no");
  fingerprint.add("--min or --max", options.direction.text());
  fingerprint.add("--relax", options.relaxes ? "yes" : "no");
  fingerprint.add("--time-limit", textOf(options.limits.seconds));
  fingerprint.add("--gap", textOf(options.limits.gap));
  fingerprint.add(kPartLine, readPart(options.part).text());
  // For who joins parts; when something is continued, the hash of the scenarios says as much.
  std::string text = fingerprint.text();
  text.append(kCountLine).append(": ").append(std::to_string(solver.scenarios().count())) += '\n';
  if (options.records.empty()) return text;
  const std::string records = besideResults(options.records, options.target());
  return text.append(kRecordsLine).append(": ").append(records) + '\n';
}

bool isThere(const std::string& file) {
  std::error_code unknown;
  return std::filesystem::is_regular_file(file, unknown);
}

/// Two outputs in one file would be neither.
void requireDifferentFiles(const SweepOptions& options) {
  const std::pair<const char*, std::string> outputs[] = {
      {options.resumed.empty() ? "--output" : "--resume", options.target()},
      {"--long", options.records},
      {"--plot", options.plot},
      {"--timing", options.timing}};
  std::map<std::filesystem::path, const char*> known;
  for (const auto& [option, file] : outputs) {
    std::error_code unknown;
    const bool isDevice = std::filesystem::is_other(file, unknown);
    if (file.empty() || isDevice) continue;
    std::filesystem::path path = std::filesystem::weakly_canonical(file, unknown);
    if (path.empty()) path = file;
    const auto [first, isNew] = known.emplace(path, option);
    if (isNew) continue;
    throw WrongUseError(std::string(first->second) + " and " + option + " both write to " + file);
  }
}

/// The outputs beside the results; each with how one of an earlier part of the sweep begins.
std::vector<std::pair<std::string, std::string_view>> otherOutputs(const SweepOptions& options) {
  return {{options.plot, "<svg"},
          {options.records, "scenario,symbol,"},
          {options.timing, "scenario,worker,"}};
}

bool beginsWith(const std::string& file, std::string_view start) {
  std::ifstream stream(file, std::ios::binary);
  std::string begin(start.size(), '\0');
  stream.read(begin.data(), static_cast<std::streamsize>(begin.size()));
  begin.resize(static_cast<std::size_t>(stream.gcount()));  // perhaps torn
  return start.starts_with(begin);
}

/// Refuses to write over anything that is not of the sweep that goes on.
void protectFiles(const SweepOptions& options) {
  const std::string& target = options.target();
  const std::vector<std::string> inputs = {options.model.file, options.model.data,
                                           options.scenarios};
  const bool goesOn = !options.resumed.empty() && isThere(rowFile(options));
  if (!goesOn && !target.empty()) {
    if (options.resumed.empty() && isThere(fingerprintFile(target)) && isThere(rowFile(options))) {
      throw ToolError(rowFile(options) + " exists: --resume " + target +
                      " goes on with it, --force begins anew");
    }
    checkNewOutput(target, inputs);
  }
  for (const auto& each : otherOutputs(options)) {
    const std::string& output = each.first;
    if (output.empty()) continue;
    const auto isEarlier = [&](const std::string& file) { return beginsWith(file, each.second); };
    goesOn ? checkOutput(output, inputs, {"an output of this sweep", isEarlier})
           : checkNewOutput(output, inputs);
  }
}

}  // namespace

void checkOutputsOf(const SweepOptions& options) {
  if (!options.output.empty() && !options.resumed.empty())
    throw WrongUseError("--output and --resume both name the results: --resume is enough");
  if (options.json && !options.resumed.empty())
    throw WrongUseError(
        "--resume goes on with CSV or an exchange file, not with JSON: leave --json out");
  if (options.json && options.writesExchangeFile())
    throw WrongUseError("--json and an exchange file do not go together");
  if (!options.records.empty() && options.writesExchangeFile())
    throw WrongUseError("--long is not needed: an exchange file has whole symbols");
  requireDifferentFiles(options);
  if (!options.force) protectFiles(options);
  for (const std::string& output : {rowFile(options), recordFile(options), options.timing}) {
    if (!output.empty()) requireAppendable(output);
  }
}

SweepWriter::SweepWriter(const SweepOptions& options, ScenarioSolver& solver, Console& console)
    : options_(options),
      scenarios_(solver.scenarios()),
      part_(readPart(options.part)),
      console_(console),
      heading_(headingOf(solver.columns())),
      recordHeading_(headingOf(solver.recordColumns())) {
  if (options_.writesExchangeFile()) {
    for (const Shown& shown : solver.shownSymbols()) symbols_.emplace_back(shown.symbol);
    checkForExchangeFile(scenarios_, symbols_);
    const NewFileOutput neverPublished(options_.target());
  }
  if (isToConsole()) {
    emit(options_.json ? "[" : heading_);
    if (recordFile(options_).empty()) return;
  }
  Fingerprint fingerprint;
  const std::string text = isToConsole() ? "" : fingerprintOf(options_, solver, fingerprint);
  const bool isOld = !options_.resumed.empty() && isThere(rowFile(options_));
  if (isOld) {
    const std::string file = fingerprintFile(options_.target());
    if (!isThere(file)) {
      throw ToolError(options_.resumed + " cannot be resumed: there is no " + file +
                      ", which tells what it was made of");
    }
    const std::string changes = fingerprint.changesSince(readFingerprint(options_.target()));
    if (!changes.empty()) {
      throw ToolError(options_.resumed +
                      " cannot be resumed: changed since it was begun: " + changes);
    }
  }
  const bool canBeResumed = !isToConsole() && !options_.json;
  if (canBeResumed) ahead_ = AheadResults(aheadFile(options_.target()));
  isOld ? resume(text) : begin(text);
}

std::vector<std::size_t> SweepWriter::missing() const {
  std::vector<std::size_t> scenarios;
  for (std::size_t i = next(); i < end(); ++i) {
    if (!ahead_.has(i)) scenarios.push_back(i);
  }
  return scenarios;
}

void SweepWriter::begin(const std::string& fingerprint) {
  if (!recordFile(options_).empty()) {
    records_ = std::make_unique<AppendFile>(recordFile(options_));
    records_->write(recordHeading_);
  }
  if (isToConsole()) return;
  rows_ = std::make_unique<AppendFile>(rowFile(options_));
  if (isThere(rowFile(options_))) {
    NewFileOutput file(fingerprintFile(options_.target()));
    file.write(fingerprint);
    file.publish();
  }
  ahead_.save();  // that of another sweep is gone
  emit(options_.json ? "[" : heading_);
}

void SweepWriter::resume(const std::string& fingerprint) {
  EarlierResults earlier = readEarlierResults(rowFile(options_), heading_, scenarios_, first());
  if (earlier.size == 0) return begin(fingerprint);
  const std::string records = recordFile(options_);
  if (earlier.rows > 0 && !records.empty() && !isThere(records)) {
    throw ToolError(options_.resumed + " cannot be resumed: " + records +
                    ", which has the records of its rows, is not there");
  }
  objectives_ = std::move(earlier.objectives);
  failed_ = earlier.failed;
  rows_ = std::make_unique<AppendFile>(rowFile(options_), earlier.size);
  if (!records.empty()) {
    const std::uint64_t size = sizeOfRecords(records, recordHeading_, scenarios_, next());
    records_ = std::make_unique<AppendFile>(records, size);
    if (size == 0) records_->write(recordHeading_);
  }
  ahead_.load();
  writeAhead();
}

void SweepWriter::write(const ScenarioResult& result) {
  writeRow(result);
  writeAhead();
}

void SweepWriter::keep(std::size_t scenario, ScenarioResult result) {
  ahead_.add(scenario, std::move(result));
}

void SweepWriter::writeAhead() {
  while (const auto result = ahead_.take(next())) writeRow(*result);
}

// Records come first: a scenario that has a row has all of its records, too.
void SweepWriter::writeRow(const ScenarioResult& result) {
  if (records_ != nullptr && !result.records.empty()) records_->write(result.records);
  if (options_.json) {  // with the commas between the objects of an array
    const std::string_view object(result.row.data(), result.row.size() - 1);
    emit((count() == 0 ? "\n  " : ",\n  ") + std::string(object));
  } else {
    emit(result.row);
  }
  objectives_.push_back(result.objective);
  if (!result.failure.empty()) ++failed_;
}

void SweepWriter::finish() {
  ahead_.save();
  if (options_.json) emit(count() == 0 ? "]\n" : "\n]\n");
  if (!options_.writesExchangeFile() || count() == 0) return;
  writeSweepExchangeFile(options_.target(), rowFile(options_), recordFile(options_), symbols_);
  if (next() < end()) return;
  for (const std::string& file :
       {rowFile(options_), recordFile(options_), fingerprintFile(options_.target())}) {
    std::error_code unknown;
    std::filesystem::remove(file, unknown);
  }
}

void SweepWriter::emit(std::string_view text) {
  if (rows_ != nullptr) return rows_->write(text);
  console_.write(text);
  console_.flush();
}

}  // namespace zdb::tool
