#include "kit/reader/translator.h"

#include <glpk.h>

#include <cstring>
#include <vector>

#include "kit/modelfile/text.h"
#include "kit/modelfile/wire.h"
#include "kit/reader/confinement.h"
#include "kit/reader/reply.h"
#include "kit/reader/writing.h"

namespace zdb::kit::modelfile {

namespace {

constexpr std::size_t kMaxKept = 1 << 16;
constexpr const char* kAllowingFiles = "ZKIT_ALLOW_FILES (zdbcc: --allow-files)";

// What GLPK prints on its terminal, which is where it explains its errors.
class Terminal {
 public:
  void add(const char* text) {
    takeNotes(text);
    text_ += text;
    if (text_.size() > 2 * kMaxKept) text_.erase(0, kMaxKept);
  }

  // The last line that begins with the path of a source and is not a warning; or just the last.
  std::string errorText(const GlpkSource& model, const GlpkSource& data) const {
    std::string_view rest = text_;
    std::string found;
    std::string last;
    while (!rest.empty()) {
      const std::string_view line = takeLine(rest);
      if (!line.empty()) last = line;
      for (const GlpkSource* source : {&model, &data}) {
        if (isError(line, *source)) {
          found = source->name + std::string(line.substr(source->path.size()));
        }
      }
    }
    return found.empty() ? model.name + ": " + (last.empty() ? "cannot be read" : last) : found;
  }

  const std::vector<std::string>& notes() const { return notes_; }

 private:
  void takeNotes(std::string_view text) {
    line_ += text;
    for (std::size_t end = line_.find('\n'); end != std::string::npos; end = line_.find('\n')) {
      if (line_.starts_with(FileModel::kNote)) {
        notes_.push_back(line_.substr(FileModel::kNote.size(), end - FileModel::kNote.size()));
      }
      line_.erase(0, end + 1);
    }
    if (line_.size() > kMaxKept) line_.clear();
  }

  static bool isError(std::string_view line, const GlpkSource& source) {
    return !source.path.empty() && line.starts_with(source.path + ":") &&
           line.find(": warning: ") == std::string_view::npos;
  }

  std::string text_;
  std::string line_;  ///< that has not ended
  std::vector<std::string> notes_;
};

// The current translation, which GLPK passes to the hooks as a pointer.
struct Progress {
  const Translation& task;
  Terminal terminal;

  [[noreturn]] void fail() const {
    std::string text = terminal.errorText(task.model, task.data);
    if (!task.mayUseFiles && isAboutFile(text)) {
      text.append(": a model may use files only when it is read with ").append(kAllowingFiles);
    }
    modelfile::fail(text);
  }

 private:
  // GLPK's complaints about the statements printf and table.
  static bool isAboutFile(const std::string& text) {
    return text.find(": unable to open '") != std::string::npos ||
           text.find(": error on opening table ") != std::string::npos;
  }
};

int onTerminal(void* info, const char* text) {
  static_cast<Progress*>(info)->terminal.add(text);
  return 1;  // not to be printed
}

void onError(void* info) {
  static_cast<Progress*>(info)->fail();
}

std::string textOf(const char* text) {
  return text == nullptr ? std::string() : std::string(text);
}

int readMathProg(const Translation& task, glp_prob* problem) {
  const bool hasData = !task.data.path.empty();
  glp_tran* translator = glp_mpl_alloc_wksp();
  int error = glp_mpl_read_model(translator, task.model.path.c_str(), hasData ? 1 : 0);
  if (error == 0 && hasData) {
    error = glp_mpl_read_data(translator, task.data.path.c_str());
  }
  if (!task.mayUseFiles && !refuseFiles()) failUnconfined(task);
  if (error == 0) error = glp_mpl_generate(translator, nullptr);
  if (error == 0) glp_mpl_build_prob(translator, problem);
  glp_mpl_free_wksp(translator);  // closes, and so writes, the file of a printf statement
  if (error == 0 && writeError() != 0) {
    fail(task.model.name +
         ": a file that the model writes is not whole: " + std::strerror(writeError()));
  }
  return error;
}

int readProblem(const Translation& task, glp_prob* problem) {
  const char* path = task.model.path.c_str();
  if (task.format == FileFormat::MathProg) return readMathProg(task, problem);
  return glp_read_lp(problem, nullptr, path);
}

void takeCoefficients(glp_prob* problem, FileModel& model) {
  const int columns = glp_get_num_cols(problem);
  for (int j = 1; j <= columns; ++j) {
    const double value = glp_get_obj_coef(problem, j);
    if (value != 0.0) model.coefficients.push_back({0, j, value});
  }
  std::vector<int> indices(columns + 1);
  std::vector<double> values(columns + 1);
  for (int i = 1; i <= glp_get_num_rows(problem); ++i) {
    const int count = glp_get_mat_row(problem, i, indices.data(), values.data());
    for (int k = count; k >= 1; --k) model.coefficients.push_back({i, indices[k], values[k]});
  }
}

void takeObjective(glp_prob* problem, FileModel& model) {
  model.objectiveName = textOf(glp_get_obj_name(problem));
  model.objectiveConstant = glp_get_obj_coef(problem, 0);
  model.maximize = glp_get_obj_dir(problem) == GLP_MAX;
  for (int i = 1; i <= glp_get_num_rows(problem) && model.objectiveRow == 0; ++i) {
    const bool isFree = glp_get_row_type(problem, i) == GLP_FR;
    if (isFree && model.rows[i - 1].name == model.objectiveName) model.objectiveRow = i;
  }
}

// GLPK returns the largest double for an absent bound.
FileModel takeModel(glp_prob* problem) {
  FileModel model;
  model.name = textOf(glp_get_prob_name(problem));
  for (int i = 1; i <= glp_get_num_rows(problem); ++i) {
    model.rows.push_back({textOf(glp_get_row_name(problem, i)), boundOf(glp_get_row_lb(problem, i)),
                          boundOf(glp_get_row_ub(problem, i))});
  }
  for (int j = 1; j <= glp_get_num_cols(problem); ++j) {
    model.columns.push_back(
        {textOf(glp_get_col_name(problem, j)), boundOf(glp_get_col_lb(problem, j)),
         boundOf(glp_get_col_ub(problem, j)), glp_get_col_kind(problem, j) != GLP_CV});
  }
  takeObjective(problem, model);
  takeCoefficients(problem, model);
  return model;
}

}  // namespace

void failUnconfined(const Translation& task) {
  fail(task.model.name +
       ": this system has neither Landlock nor seccomp to keep a model away from files; if you "
       "trust the model, read it with " +
       kAllowingFiles);
}

void translateWithGlpk(const Translation& task) {
  Progress progress{task, {}};
  glp_term_hook(onTerminal, &progress);
  glp_error_hook(onError, &progress);
  glp_mem_limit(task.megabytes);
  glp_prob* problem = glp_create_prob();
  if (readProblem(task, problem) != 0) progress.fail();
  FileModel model = takeModel(problem);
  model.notes = progress.terminal.notes();
  succeed(packModel(model));
}

}  // namespace zdb::kit::modelfile
