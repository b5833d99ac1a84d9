#pragma once

#include <stdexcept>
#include <string>
#include <vector>

// Reading of model files: MPS, CPLEX LP and GNU MathProg. What a file holds is read into a
// FileModel (its text and GLPK's translators, which are a program of their own, see
// modelfile_process.h), its names are taken apart (modelfile_names.h), and the model is built with
// the calls of the host's header (modelfile_build.h). doc/model-files.md tells formats and rules.
namespace zkitfile {

// A file that cannot be read as a model. The text is complete: file, line where there is one, what.
struct FileError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The same as the reader's parts throw it: they do not know what the file is called.
struct Complaint : std::runtime_error {
  explicit Complaint(const std::string& what, int atLine = 0)
      : std::runtime_error(what), line(atLine) {}
  FileError of(const std::string& file) const {
    return FileError(file + (line > 0 ? ":" + std::to_string(line) : std::string()) + ": " +
                     what());
  }

  int line;  // 0: none
};

// One row of the file. Bounds that are absent are infinite; equal ones make an equation.
struct FileRow {
  std::string name;  // empty: the file gives none
  double lower = 0.0;
  double upper = 0.0;
};

struct FileColumn {
  std::string name;
  double lower = 0.0;
  double upper = 0.0;
  bool isInteger = false;
};

// Row and column count from 1; row 0 is the objective.
struct FileCoefficient {
  int row = 0;
  int column = 0;
  double value = 0.0;
};

// value * column1 * column2 in a row, in which a pair of columns occurs once.
struct FileProduct {
  int row = 0;
  int column1 = 0;
  int column2 = 0;
  double value = 0.0;
};

// What a model file says. The objective is no row here, unless the file lists it as one
// (objectiveRow): then it is a free row that repeats the coefficients of row 0.
struct FileModel {
  std::string name;
  std::vector<FileRow> rows;
  std::vector<FileColumn> columns;
  std::vector<FileCoefficient> coefficients;
  std::vector<FileProduct> products;
  std::string objectiveName;  // empty: the file has no objective
  double objectiveConstant = 0.0;
  bool maximize = false;
  int objectiveRow = 0;  // 0: none
};

// What translating a file may take. A model with loops and sets can ask for any amount.
struct FileLimits {
  int seconds = 600;
  int megabytes = 0;  // 0: half of the machine's memory
};

// Reads a model file; `data` is the path of a MathProg data file, or null. Throws FileError.
FileModel readModelFile(const char* path, const char* data, const FileLimits& limits = {});

}  // namespace zkitfile
