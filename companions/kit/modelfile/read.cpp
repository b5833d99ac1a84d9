#include "kit/modelfile/read.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>

#include "kit/modelfile/errors.h"
#include "kit/modelfile/format.h"
#include "kit/modelfile/mps.h"
#include "kit/modelfile/process.h"
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

FileModel readTexts(FileFormat format, const Texts& texts, const FileLimits& limits) {
  const bool isMps = format == FileFormat::FixedMps || format == FileFormat::FreeMps;
  if (isMps) return readEitherMps(format, texts, limits);
  FileModel model = translate(format, texts, limits);
  model.name.clear();  // GLPK names a MathProg model after the path that it was given
  return model;
}

}  // namespace

FileModel readModel(const FileSource& source, const FileSource* data, const FileLimits& limits) {
  Texts texts{textOf(source), {}};
  const std::string& name = texts.model.name;
  const FileFormat format =
      formatOf(source.ending.empty() ? name : std::string(source.ending), texts.model.content);
  if (data != nullptr && format != FileFormat::MathProg) {
    throw FileError(data->name + ": only a MathProg model can have a data file, and " + name +
                    " is not one");
  }
  if (data != nullptr) texts.data = textOf(*data);
  try {
    FileModel model = readTexts(format, texts, limits);
    if (model.name.empty()) model.name = std::filesystem::path(name).stem().string();
    return model;
  } catch (const ReadError& error) {
    throw error.of(name);
  }
}

FileModel readModelFile(const char* path, const char* data, const FileLimits& limits) {
  if (data == nullptr) return readModel({path}, nullptr, limits);
  const FileSource dataSource{data};
  return readModel({path}, &dataSource, limits);
}

}  // namespace zdb::kit::modelfile
