// The protocol between the kit and its reader program. The program is started with
//   zkitreader64 PROTOCOL PARENT FORMAT SECONDS MEGABYTES FILES MODEL_NAME DATA_NAME
// where PARENT is the process of the kit, without which the program ends, FILES is "files" if
// statements of the model may use files, and DATA_NAME is empty if there is no data file; the names
// are for messages. Its descriptors have fixed numbers. It replies with the packed model or an
// error text, then a byte that tells which, and exits with 0. The byte comes last, so that a
// truncated reply does not have one. With "confinement" as FORMAT it replies with the result of
// tryConfinement() instead, see reader/confinement.h.
#pragma once

namespace zdb::kit::modelfile {

inline constexpr const char* kReaderProgram = "zkitreader64";
inline constexpr const char* kReaderProtocol = "4";
inline constexpr int kReaderArguments = 8;
inline constexpr const char* kTryConfinement = "confinement";
inline constexpr const char* kFilesAllowed = "files";

/// Numbers of the descriptors in the program.
inline constexpr int kReplyDescriptor = 3;
inline constexpr int kModelDescriptor = 4;
inline constexpr int kDataDescriptor = 5;

/// Last byte of the reply.
inline constexpr char kResult = 'r';
inline constexpr char kFailure = 'f';

/// Exit codes without a reply.
inline constexpr int kNoMemory = 2;
inline constexpr int kWrongUse = 3;

}  // namespace zdb::kit::modelfile
