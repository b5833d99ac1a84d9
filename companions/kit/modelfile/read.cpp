#include "kit/modelfile/read.h"

#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <new>
#include <set>
#include <thread>

#include "contract/entryname.h"
#include "contract/guess.h"
#include "kit/modelfile/errors.h"
#include "kit/modelfile/format.h"
#include "kit/modelfile/mps.h"
#include "kit/modelfile/mpsreader.h"
#include "kit/modelfile/process.h"
#include "kit/modelfile/text.h"
#include "kit/modelfile/wire.h"

namespace zdb::kit::modelfile {

namespace {

// Pipes and devices are refused: they may never end.
std::string contentOfFile(const std::string& path) {
  struct stat status = {};
  if (stat(path.c_str(), &status) != 0) throw FileError(path + ": " + std::strerror(errno));
  if (!S_ISREG(status.st_mode)) throw FileError(path + ": is not a regular file");
  std::ifstream in(path, std::ios::binary);
  std::string content(static_cast<std::size_t>(status.st_size), '\0');
  in.read(content.data(), static_cast<std::streamsize>(content.size()));
  if (!in) throw FileError(path + ": cannot be read: " + std::strerror(errno));
  return content;
}

SourceText textOf(const FileSource& source) {
  std::string content =
      source.content.has_value() ? std::string(*source.content) : contentOfFile(source.name);
  if (content.starts_with("\x1f\x8b")) {
    throw FileError(source.name + ": is compressed: unpack it first");
  }
  return {source.name, std::move(content)};
}

struct Texts {
  SourceText model;
  SourceText data;
};

FileModel translate(FileFormat format, const Texts& texts, const FileLimits& limits) {
  return unpackModel(translateApart(format, texts.model, texts.data, limits));
}

FileModel readMps(FileFormat format, std::string text) {
  const MpsExtras extras = takeMpsExtras(text, format);
  FileModel model = readMpsText(text, format);
  addMpsExtras(model, extras);
  return model;
}

// Fixed and free files look alike where names are short: what cannot be read in one way may be
// meant in the other. If neither works, the first error counts.
FileModel readEitherMps(FileFormat format, const std::string& text) {
  const bool isFixed = format == FileFormat::FixedMps;
  try {
    return readMps(format, text);
  } catch (const std::runtime_error&) {
    const auto first = std::current_exception();
    try {
      return readMps(isFixed ? FileFormat::FreeMps : FileFormat::FixedMps, text);
    } catch (const std::runtime_error&) {
      std::rethrow_exception(first);
    }
  }
}

FileModel readMathProg(const Texts& texts, const std::vector<ParamValue>& params,
                       const FileLimits& limits) {
  const ChangedTexts changed = changeParams(texts.model.content, texts.data.content, params);
  try {
    return translate(FileFormat::MathProg,
                     {{texts.model.name, changed.model}, {texts.data.name, changed.data}}, limits);
  } catch (const FileError& error) {
    throw FileError(inUsersTerms(error.what(), changed));
  }
}

FileModel readTexts(FileFormat format, const Texts& texts, const std::vector<ParamValue>& params,
                    const FileLimits& limits) {
  const bool isMps = format == FileFormat::FixedMps || format == FileFormat::FreeMps;
  if (isMps) return readEitherMps(format, texts.model.content);
  FileModel model = format == FileFormat::MathProg ? readMathProg(texts, params, limits)
                                                   : translate(format, texts, limits);
  model.name.clear();  // GLPK names a MathProg model after the path that it was given
  return model;
}

// A param without labels has one entry; of the others, the model has noted "entries NAME COUNT".
void takeEntries(const FileModel& model, const std::vector<ParamValue>& params,
                 std::map<std::string, int>& entries) {
  for (const ParamValue& value : params) {
    if (value.labels.empty()) entries[value.param] = 1;
  }
  for (const std::string& note : model.notes) {
    std::string_view rest = note;
    if (takeWord(rest) != "entries") continue;
    const std::string name(takeWord(rest));
    entries[name] = std::atoi(std::string(takeWord(rest)).c_str());
  }
}

FileFormat format(const FileSource& source, const SourceText& text) {
  return formatOf(source.ending.empty() ? text.name : std::string(source.ending), text.content);
}

// Labels of rows and columns, which for the most part are those of params as well.
std::set<std::string> labelsIn(const FileModel& model) {
  std::set<std::string> labels;
  const auto take = [&labels](const std::string& name) {
    const contract::EntryName entry =
        contract::readEntryName(name, contract::PlainLabels::Anything);
    labels.insert(entry.labels.begin(), entry.labels.end());
  };
  for (const FileColumn& column : model.columns) take(column.name);
  for (const FileRow& row : model.rows) take(row.name);
  return labels;
}

// What may have been meant by the label that the model does not have.
std::string guessFor(const std::vector<ParamValue>& params, const FileModel& model) {
  const std::set<std::string> labels = labelsIn(model);
  for (const ParamValue& value : params) {
    for (const std::string& label : value.labels) {
      if (labels.contains(label)) continue;
      contract::NearestWord nearest(label);
      for (const std::string& known : labels) nearest.consider(known);
      if (!nearest.best().empty()) return nearest.question();
    }
  }
  return "";
}

// Each may take half of the memory.
constexpr std::size_t kMostAtATime = 4;

// Runs work() in this thread and, to make `count`, in others, which leave signals to the program.
// Where no thread can be started, there are fewer.
template <typename Work>
void runAtATime(std::size_t count, const Work& work) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  std::vector<std::thread> others;
  pthread_sigmask(SIG_SETMASK, &all, &before);
  try {
    while (others.size() + 1 < count) others.emplace_back(work);
  } catch (const std::exception&) {
    // then with those that there are
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  work();
  for (std::thread& other : others) other.join();
}

class Reader {
 public:
  explicit Reader(const ReadRequest& request)
      : request_(request),
        texts_{textOf(request.model), {}},
        format_(format(request.model, texts_.model)) {
    const std::string& name = texts_.model.name;
    const bool isMathProg = format_ == FileFormat::MathProg;
    if (request.data.has_value() && !isMathProg) {
      throw FileError(request.data->name + ": only a MathProg model can have a data file, and " +
                      name + " is not one");
    }
    if (!isMathProg && (!request.params.empty() || !request.variants.empty())) {
      throw FileError(name + ": only a MathProg model has params");
    }
    if (request.data.has_value()) texts_.data = textOf(*request.data);
  }

  ReadModel read() {
    ReadModel result;
    result.model = readOwn();
    FileModel& model = result.model;
    if (model.name.empty()) {
      model.name = std::filesystem::path(texts_.model.name).stem().string();
    }
    if (format_ == FileFormat::MathProg) result.params = changeableParams(texts_.model.content);
    takeEntries(model, request_.params, result.paramEntries);
    readVariants(result);
    return result;
  }

 private:
  FileModel readOwn() const {
    try {
      return readWith(request_.params);
    } catch (const FileError& error) {
      if (!isUnknownEntry(error)) throw;
      throw FileError(error.what() + guessFor(request_.params, readWith({})));
    }
  }

  static bool isUnknownEntry(const FileError& error) {
    return std::string(error.what()).find(kHasNoEntry) != std::string::npos;
  }

  FileModel readWith(const std::vector<ParamValue>& params) const {
    try {
      return readTexts(format_, texts_, params, request_.limits);
    } catch (const ReadError& error) {
      throw error.of(texts_.model.name);
    }
  }

  // Some at a time, each in a process and waited for by a thread.
  void readVariants(ReadModel& result) const {
    const std::size_t count = request_.variants.size();
    result.variants.resize(count);
    std::vector<std::map<std::string, int>> entries(count);
    std::atomic<std::size_t> next = 0;
    std::atomic<bool> isOutOfMemory = false;
    const auto readNext = [&] {
      for (std::size_t v = next++; v < count; v = next++) {
        try {
          result.variants[v] = readVariant(request_.variants[v], result.model, entries[v]);
        } catch (const std::exception&) {
          isOutOfMemory = true;
        }
      }
    };
    runAtATime(std::min<std::size_t>({count, std::thread::hardware_concurrency(), kMostAtATime}),
               readNext);
    if (isOutOfMemory) throw std::bad_alloc();
    for (const std::map<std::string, int>& counted : entries) {
      result.paramEntries.insert(counted.begin(), counted.end());
    }
  }

  // A value of the variant replaces that of the model for the same entry.
  VariantModel readVariant(const std::vector<ParamValue>& own, const FileModel& base,
                           std::map<std::string, int>& entries) const {
    std::vector<ParamValue> params = request_.params;
    params.insert(params.end(), own.begin(), own.end());
    VariantModel variant;
    try {
      const FileModel model = readWith(params);
      takeEntries(model, own, entries);
      variant.difference = compareModels(base, model);
    } catch (const FileError& error) {
      variant.failure = error.what();
      if (isUnknownEntry(error)) variant.failure += guessFor(own, base);
    }
    return variant;
  }

  const ReadRequest& request_;
  Texts texts_;
  FileFormat format_;
};

}  // namespace

ReadModel readModel(const ReadRequest& request) {
  return Reader(request).read();
}

std::vector<std::string> readParams(const FileSource& model) {
  const SourceText text = textOf(model);
  if (format(model, text) != FileFormat::MathProg) return {};
  return changeableParams(text.content);
}

FileModel readModelFile(const char* path, const char* data, const FileLimits& limits) {
  ReadRequest request{{path}};
  if (data != nullptr) request.data = FileSource{data};
  request.limits = limits;
  return readModel(request).model;
}

}  // namespace zdb::kit::modelfile
