#!/bin/sh
# Lists the C and C++ files of the project, or those whose names match: sources.sh [PATTERN...]
set -eu
cd "$(dirname "$0")/.."
if [ $# -eq 0 ]; then set -- '*.c' '*.h' '*.cpp'; fi
set -f
for pattern in "$@"; do
  find src include companions python tools examples tests bench fuzz -name "$pattern" -type f
done | sort
