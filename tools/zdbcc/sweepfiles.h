// What the verbs that write and join results of sweeps know of the files.
#pragma once

#include <fstream>
#include <string>

namespace zdb::tool {

/// Beside the results, so that any reader of CSV reads these: what they were made of.
std::string fingerprintFile(const std::string& results);
/// Beside them as well, while there is a gap before them: results of later scenarios.
std::string aheadFile(const std::string& results);
/// The text of the first one; empty if it is not there.
std::string readFingerprint(const std::string& results);

/// Lines of it that tell which part of how many scenarios the results are.
inline constexpr const char* kPartLine = "part";
inline constexpr const char* kCountLine = "number of scenarios";
/// And the file of --long, from the folder of the results; for who joins parts.
inline constexpr const char* kRecordsLine = "long table";
std::string besideResults(const std::string& file, const std::string& results);

/// Reads the next line with its line feed; false at the end, and for a line that has none, which
/// was not written to its end.
bool readWholeLine(std::ifstream& stream, std::string& line);

}  // namespace zdb::tool
