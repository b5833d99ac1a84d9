#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "kit/modelfile/build.h"
#include "kit/modelfile/errors.h"
#include "kit/modelfile/process.h"
#include "kit/modelfile/read.h"
#include "shared/boundary.h"
#include "zkitdclib.h"

using namespace zdb::kit::modelfile;
using namespace zdb::boundary;

namespace {

/// The size of the options in the first release that had them.
constexpr int kFirstSize = offsetof(zkitReadOptions, systemDirectory) + sizeof(const char*);

constexpr int kFormats = ZKIT_FORMAT_MPS | ZKIT_FORMAT_LP | ZKIT_FORMAT_MATHPROG;

/// How the names of files in a format end that is asked for; "" where none is.
std::string_view endingOf(int flags) {
  if ((flags & ZKIT_FORMAT_MPS) != 0) return ".mps";
  if ((flags & ZKIT_FORMAT_LP) != 0) return ".lp";
  return (flags & ZKIT_FORMAT_MATHPROG) != 0 ? ".mod" : "";
}

void tell(const std::exception& error, const char* file, char* message, int size) {
  const auto* unnamed = dynamic_cast<const ReadError*>(&error);
  if (unnamed != nullptr) {
    copyText(unnamed->of(file).what(), message, size);
  } else if (dynamic_cast<const std::bad_alloc*>(&error) != nullptr) {
    copyText("not enough memory to read the model file", message, size);
  } else {
    copyText(error.what(), message, size);
  }
}

// What the caller has set: the fields that this library does not know are left out, those that the
// caller does not know are 0.
zkitReadOptions knownOptions(const zkitReadOptions* options) {
  zkitReadOptions known = {};
  if (options == nullptr || options->size <= 0) return known;
  std::memcpy(&known, options,
              std::min(static_cast<std::size_t>(options->size), sizeof(zkitReadOptions)));
  return known;
}

void checkOptions(const zkitReadOptions& options) {
  if (options.size < kFirstSize) {
    throw FileError("the size of the options must be sizeof(zkitReadOptions), not " +
                    std::to_string(options.size));
  }
  if (options.file == nullptr && options.text == nullptr) throw FileError("no model file given");
  const int format = options.flags & kFormats;
  if ((options.flags & ~(ZKIT_ALLOW_FILES | kFormats)) != 0 || (format & (format - 1)) != 0) {
    throw FileError("unknown flags for reading a model file");
  }
}

std::vector<std::string> changesOf(const zkitReadOptions& options) {
  std::vector<std::string> changes;
  for (int i = 0; i < options.changeCount; ++i) {
    const char* name = options.changes == nullptr ? nullptr : options.changes[i];
    if (name == nullptr) throw FileError("change " + std::to_string(i) + " has no name");
    changes.emplace_back(name);
  }
  return changes;
}

FileSource sourceOf(const char* name, const char* text, long long size, const char* otherwise) {
  FileSource source{name == nullptr ? otherwise : name};
  if (text != nullptr) {
    source.content =
        size < 0 ? std::string_view(text) : std::string_view(text, static_cast<std::size_t>(size));
  }
  return source;
}

std::vector<ParamValue> valuesOf(const zkitParams* params) {
  std::vector<ParamValue> values;
  for (int i = 0; params != nullptr && i < params->count; ++i) {
    if (params->names[i] == nullptr) throw FileError("a param has no name");
    values.push_back(paramValue(params->names[i], params->values[i]));
  }
  return values;
}

FileSource modelOf(const zkitReadOptions& options) {
  FileSource model = sourceOf(options.file, options.text, options.textSize, "model");
  model.ending = endingOf(options.flags);
  return model;
}

ReadRequest requestOf(const zkitReadOptions& options) {
  ReadRequest request{modelOf(options)};
  if (options.data != nullptr || options.dataText != nullptr) {
    request.data = sourceOf(options.data, options.dataText, options.dataTextSize, "data");
  }
  request.limits.files = (options.flags & ZKIT_ALLOW_FILES) != 0;
  request.params = valuesOf(options.params);
  for (int i = 0; options.variants != nullptr && i < options.variantCount; ++i) {
    request.variants.push_back(valuesOf(&options.variants[i]));
  }
  return request;
}

}  // namespace

int zkitReadModel(const char* file, const char* data, const char* systemDirectory, void** instance,
                  char* message, int size) {
  return zkitReadModelX(file, data, systemDirectory, 0, instance, message, size);
}

int zkitReadModelX(const char* file, const char* data, const char* systemDirectory, int flags,
                   void** instance, char* message, int size) {
  zkitReadOptions options = {};
  options.size = sizeof options;
  options.flags = flags;
  options.file = file;
  options.data = data;
  options.systemDirectory = systemDirectory;
  return zkitReadModelWith(&options, instance, message, size);
}

int zkitReadModelWith(const zkitReadOptions* options, void** instance, char* message, int size) {
  copyText("", message, size);
  if (instance == nullptr) {
    copyText("the output for the instance must not be null", message, size);
    return 0;
  }
  *instance = nullptr;
  const zkitReadOptions own = knownOptions(options);
  const auto read = [&own]() -> void* {
    checkOptions(own);
    return buildInstance(readModel(requestOf(own)), own.systemDirectory, changesOf(own));
  };
  const char* name = own.file == nullptr ? "model" : own.file;
  *instance = guarded(static_cast<void*>(nullptr), read,
                      [=](const std::exception& error) { tell(error, name, message, size); });
  return *instance == nullptr ? 0 : 1;
}

int zkitListParams(const zkitReadOptions* options, zkitNameCallback_t receive, void* user,
                   char* message, int size) {
  copyText("", message, size);
  const zkitReadOptions own = knownOptions(options);
  const char* name = own.file == nullptr ? "model" : own.file;
  const auto list = [&own, receive, user] {
    checkOptions(own);
    for (const std::string& param : readParams(modelOf(own))) {
      if (receive != nullptr) receive(param.c_str(), user);
    }
    return 1;
  };
  return guarded(0, list, [=](const std::exception& error) { tell(error, name, message, size); });
}

int zkitConfinement(char* message, int size) {
  copyText("", message, size);
  const auto find = [=] {
    const std::string answer = tryConfinementApart();
    const std::size_t end = answer.find('\n');
    copyText(answer.substr(end + 1), message, size);
    const std::string strength = answer.substr(0, end);
    return strength == "full"      ? ZKIT_CONFINED
           : strength == "partial" ? ZKIT_PARTLY_CONFINED
                                   : ZKIT_UNCONFINED;
  };
  return guarded(static_cast<int>(ZKIT_UNCONFINED), find,
                 [=](const std::exception& error) { copyText(error.what(), message, size); });
}
