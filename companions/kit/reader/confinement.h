// What the reader program may still do once it has what it needs: a model may come from anywhere,
// and GLPK lets it open files and load database drivers.
#pragma once

#include <string>

namespace zdb::kit::modelfile {

/// From here on, this thread and those that it starts reach no files but those in memory, no
/// network and no other process, and start no program. What is open stays open. Returns false when
/// the system's kernel offers nothing to enforce any of it.
bool confine();

/// From here on, this thread opens nothing at all. The kernel may have no Landlock, which confine()
/// needs for files, but a model's statements open no files before all of it has been read. Returns
/// false when neither this nor confine() keeps it from files.
bool refuseFiles();

/// Confines the program and tries what it can still do. The first line of the result says "full" if
/// that is nothing, "partial" if nothing with files once refuseFiles() has been called, or else
/// "none". The second says what was possible before that.
std::string tryConfinement();

}  // namespace zdb::kit::modelfile
