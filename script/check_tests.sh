#!/bin/sh
# Fails if a test file is not compiled: check_tests.sh BUILD_FOLDER [--self-test]
#
# Every C and C++ file under tests/ and fuzz/ must be compiled there. The projects in tests/package
# are built by a test of their own, which must list their folders.
set -eu
cd "$(dirname "$0")/.."

test_files() {
  find tests fuzz -name '*.c' -o -name '*.cpp' | grep -v '^tests/package/' | sort
}

# missing COMPILE_COMMANDS: the files from standard input that are not compiled.
missing() {
  while read -r file; do
    grep -qF "/$file\"" "$1" || echo "$file: in no build, add it to its CMakeLists.txt"
  done
}

missing_projects() {
  for folder in tests/package/*/; do
    name=$(basename "$folder")
    grep -qw "$name" tests/package/CMakeLists.txt ||
      echo "$folder: no test builds it, add it to tests/package/CMakeLists.txt"
  done
}

[ $# -ge 1 ] || { echo "usage: check_tests.sh BUILD_FOLDER [--self-test]" >&2; exit 2; }
commands=$1/compile_commands.json
[ -f "$commands" ] || { echo "no $commands, configure first" >&2; exit 2; }
if [ "${2-}" = --self-test ]; then
  [ "$(echo tests/core/forgotten_test.cpp | missing "$commands" | wc -l)" -eq 1 ] ||
    { echo "self-test: a forgotten test file was not found"; exit 1; }
  exit 0
fi
found=$(test_files | missing "$commands"; missing_projects)
[ -z "$found" ] || { echo "$found"; exit 1; }
