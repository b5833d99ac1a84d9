#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace zdb::zxfile {
class OutputFile;
}

namespace zdb::tool {

/// Where text goes.
class Output {
 public:
  Output() = default;
  virtual ~Output() = default;
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  /// Throws OutputError if that fails, perhaps with an earlier part.
  virtual void write(std::string_view text) = 0;
};

/// A text in memory.
class TextOutput : public Output {
 public:
  void write(std::string_view text) override { text_ += text; }
  /// What was written since the last call.
  std::string take() { return std::exchange(text_, {}); }

 private:
  std::string text_;
};

/// A file that nobody sees until publish(), when it takes the place of its target in one step.
class NewFileOutput : public Output {
 public:
  explicit NewFileOutput(const std::string& name);
  ~NewFileOutput() override;

  void write(std::string_view text) override;
  /// Throws as write(); then the target is as it was.
  void publish();

 private:
  std::string name_;
  std::unique_ptr<zdb::zxfile::OutputFile> file_;
};

}  // namespace zdb::tool
