// What the verbs that write and join results of sweeps know of the files.
#pragma once

#include <fstream>
#include <string>

namespace zdb::tool {

/// Beside the results, so that any reader of CSV reads these: what they were made of.
std::string fingerprintFile(const std::string& results);
/// Its text; empty if it is not there.
std::string readFingerprint(const std::string& results);

/// Lines of it that tell which part of how many scenarios the results are.
inline constexpr const char* kPartLine = "part";
inline constexpr const char* kCountLine = "number of scenarios";

/// Reads the next line with its line feed; false at the end, and for a line that has none, which
/// was not written to its end.
bool readWholeLine(std::ifstream& stream, std::string& line);

}  // namespace zdb::tool
