#!/bin/sh
# Runs fuzzers with clang's engine: fuzz.sh BUILD_FOLDER SECONDS NAME:CORPUS... The build must have
# been configured with ZDB_FUZZ_ENGINE. Each fuzzer begins with its corpus and with what earlier runs
# have found; new inputs are kept in BUILD_FOLDER/corpus/NAME, and those that crash, hang or leak in
# BUILD_FOLDER/found/NAME. The exit code is 1 if there are any of these.
set -eu
cd "$(dirname "$0")/.."
build=$1
seconds=$2
shift 2

# Files in memory: the fuzzers write many.
parent=/tmp
[ ! -w /dev/shm ] || parent=/dev/shm
TMPDIR=$(mktemp -d "$parent/zdb-fuzz-XXXXXX")
export TMPDIR
trap 'rm -rf "$TMPDIR"' EXIT
export LD_LIBRARY_PATH="$PWD/$build/lib${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}"
# An input that asks for too much memory is refused, not an error of the sanitizer.
export ASAN_OPTIONS=allocator_may_return_null=1

failed=0
for fuzzer in "$@"; do
  name=${fuzzer%%:*}
  log=$build/fuzz-$name.log
  mkdir -p "$build/corpus/$name" "$build/found/$name"
  "$build/bin/${name}_fuzzer" "$build/corpus/$name" "${fuzzer#*:}" -max_total_time="$seconds" \
    -timeout=30 -report_slow_units=30 -artifact_prefix="$build/found/$name/" -print_final_stats=1 >"$log" 2>&1 ||
    { tail -n 40 "$log"; failed=1; }
  tried=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
  kept=$(find "$build/corpus/$name" -type f | wc -l)
  broken=$(find "$build/found/$name" -type f | wc -l)
  echo "$name: ${tried:-no} inputs tried, $kept kept, $broken that break something"
  [ "$broken" -eq 0 ] || failed=1
done
exit "$failed"
