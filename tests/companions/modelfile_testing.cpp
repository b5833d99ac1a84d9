#include "modelfile_testing.h"

#include <stdlib.h>

#include <fstream>
#include <stdexcept>

namespace modelfiletest {

Folder::Folder() {
  std::string name = (std::filesystem::temp_directory_path() / "modelfile_XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make a temporary folder");
  path_ = name;
}

std::string Folder::write(const std::string& name, const std::string& content) const {
  const std::filesystem::path path = path_ / name;
  std::ofstream(path, std::ios::binary) << content;
  return path.string();
}

FileModel readText(const std::string& name, const std::string& content) {
  const Folder folder;
  return readModelFile(folder.write(name, content).c_str(), nullptr);
}

std::string complaintOf(const std::string& name, const std::string& content,
                        const FileLimits& limits) {
  const Folder folder;
  const std::string path = folder.write(name, content);
  try {
    readModelFile(path.c_str(), nullptr, limits);
  } catch (const FileError& error) {
    const std::string text = error.what();
    const std::string prefix = path.substr(0, path.size() - name.size());
    return text.starts_with(prefix) ? text.substr(prefix.size()) : "elsewhere: " + text;
  }
  return {};
}

const char* const kFixedMps =
    "* a comment\n"
    "NAME          MIX\n"
    "ROWS\n"
    " N  COST\n"
    " E  TOTAL\n"
    " G  FE.MIN\n"
    " L  CAP(A)\n"
    " L  CAP(B)\n"
    "COLUMNS\n"
    "    X(A)      COST      1.5            TOTAL     1.0\n"
    "    X(A)      FE.MIN    0.25           CAP(A)    1.0\n"
    "    MARKER                 'MARKER'                 'INTORG'\n"
    "    X(B)      COST      2.0            TOTAL     1.0\n"
    "    X(B)      CAP(B)    1.0\n"
    "    MARKER                 'MARKER'                 'INTEND'\n"
    "    Y         TOTAL     -1.0           FE.MIN    1.0\n"
    "    P_var     TOTAL     1.0\n"
    "RHS\n"
    "    RHS       COST      -10.0          TOTAL     4.0\n"
    "    RHS       FE.MIN    1.0            CAP(A)    8.0\n"
    "    RHS       CAP(B)    9.0\n"
    "RANGES\n"
    "    RNG       CAP(A)    5.0\n"
    "BOUNDS\n"
    " UP BND       X(B)      7.0\n"
    " MI BND       Y\n"
    " UP BND       Y         -2.0\n"
    " FX BND       P_var     3.0\n"
    "ENDATA\n";

const char* const kFreeMps =
    "NAME MIX\n"
    "ROWS\n"
    " N COST\n E TOTAL\n G FE.MIN\n L CAP(A)\n L CAP(B)\n"
    "COLUMNS\n"
    " X(A) COST 1.5 TOTAL 1.0\n X(A) FE.MIN 0.25 CAP(A) 1.0\n"
    " MARKER 'MARKER' 'INTORG'\n"
    " X(B) COST 2.0 TOTAL 1.0\n X(B) CAP(B) 1.0\n"
    " MARKER 'MARKER' 'INTEND'\n"
    " Y TOTAL -1.0 FE.MIN 1.0\n P_var TOTAL 1.0\n"
    "RHS\n"
    " RHS COST -10.0 TOTAL 4.0\n RHS FE.MIN 1.0 CAP(A) 8.0\n RHS CAP(B) 9.0\n"
    "RANGES\n RNG CAP(A) 5.0\n"
    "BOUNDS\n"
    " UP BND X(B) 7.0\n MI BND Y\n UP BND Y -2.0\n FX BND P_var 3.0\n"
    "ENDATA\n";

const char* const kLp =
    "\\ a comment\n"
    "Maximize\n profit: 3 x(a) + 2 x(b) - y\n"
    "Subject To\n"
    " cap: x(a) + x(b) <= 10\n"
    " x(a) - y >= -3.5\n"
    " link: x(b) + 2 y = 4\n"
    "Bounds\n x(a) <= 6\n -1 <= y <= 8\n"
    "General\n x(b)\n"
    "End\n";

const char* const kMathProg =
    "set I; set J := {'New York', 7};\n"
    "param cap{I} default 4;\n"
    "var ship{I, J} >= 0, <= 9;\n"
    "var price_var, = 2.5;\n"
    "minimize cost: sum{i in I, j in J} ship[i, j] + 3 * price_var + 12;\n"
    "s.t. supply{i in I}: sum{j in J} ship[i, j] <= cap[i];\n"
    "s.t. demand{j in J}: 1 <= sum{i in I} ship[i, j] <= 3;\n"
    "data;\n"
    "set I := seattle \"O'Hare\";\n"
    "param cap := seattle 5;\n"
    "end;\n";

}  // namespace modelfiletest
