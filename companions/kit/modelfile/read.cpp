#include "kit/modelfile/read.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>

#include "kit/modelfile/errors.h"
#include "kit/modelfile/format.h"
#include "kit/modelfile/mps.h"
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

FileModel readMps(FileFormat format, Texts texts, const FileLimits& limits) {
  const MpsExtras extras = takeMpsExtras(texts.model.content, format);
  FileModel model = translate(format, texts, limits);
  addMpsExtras(model, extras);
  return model;
}

// Fixed and free files look alike where names are short: what cannot be read in one way may be
// meant in the other. If neither works, the first error counts.
FileModel readEitherMps(FileFormat format, const Texts& texts, const FileLimits& limits) {
  const bool isFixed = format == FileFormat::FixedMps;
  try {
    return readMps(format, texts, limits);
  } catch (const std::runtime_error&) {
    const auto first = std::current_exception();
    try {
      return readMps(isFixed ? FileFormat::FreeMps : FileFormat::FixedMps, texts, limits);
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
  if (isMps) return readEitherMps(format, texts, limits);
  FileModel model = format == FileFormat::MathProg ? readMathProg(texts, params, limits)
                                                   : translate(format, texts, limits);
  model.name.clear();  // GLPK names a MathProg model after the path that it was given
  return model;
}

// Notes of entries: "entries NAME COUNT CHANGED".
void takeNotes(const FileModel& model, kit::NumberByName& entries) {
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
    result.model = readWith(request_.params);
    FileModel& model = result.model;
    if (model.name.empty()) {
      model.name = std::filesystem::path(texts_.model.name).stem().string();
    }
    if (format_ == FileFormat::MathProg) result.params = changeableParams(texts_.model.content);
    for (const ParamValue& value : request_.params) result.paramEntries[value.param] = 1;
    takeNotes(model, result.paramEntries);
    for (const auto& params : request_.variants) readVariant(params, result);
    return result;
  }

 private:
  FileModel readWith(const std::vector<ParamValue>& params) const {
    try {
      return readTexts(format_, texts_, params, request_.limits);
    } catch (const ReadError& error) {
      throw error.of(texts_.model.name);
    }
  }

  // A value of the variant replaces that of the model for the same entry.
  void readVariant(const std::vector<ParamValue>& own, ReadModel& result) const {
    std::vector<ParamValue> params = request_.params;
    params.insert(params.end(), own.begin(), own.end());
    for (const ParamValue& value : own) result.paramEntries.try_emplace(value.param, 1);
    VariantModel variant;
    try {
      const FileModel model = readWith(params);
      takeNotes(model, result.paramEntries);
      variant.difference = compareModels(result.model, model);
    } catch (const std::runtime_error& error) {
      variant.failure = error.what();
    }
    result.variants.push_back(std::move(variant));
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
