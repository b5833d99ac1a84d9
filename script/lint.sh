#!/bin/sh
# Checks formatting, include directions, that the manual says who frees every handle, that every
# test is built, that the faults to plant still match their lines, the run paths of programs and
# libraries, types and style of Python where script/peers.sh could fetch mypy and ruff,
# and clang-tidy's checks on every .cpp and .c file: lint.sh BUILD_FOLDER, which must be configured
# with everything switched on and hold the tool and the demo.
# shellcheck disable=SC2317 # functions are called through step
set -u
cd "$(dirname "$0")/.." || exit
build=$1
failed=0

step() {
  name=$1
  shift
  if output=$("$@" 2>&1); then
    echo "$name: ok"
  else
    echo "$name: FAILED"
    echo "$output"
    failed=1
  fi
}

layout() { script/sources.sh | xargs clang-format --dry-run --Werror; }

# The projects in tests/package are not compiled by the build and so have no flags.
tidy() {
  script/sources.sh '*.cpp' '*.c' | grep -v '^tests/package/' |
    xargs -P "$(nproc)" -n 4 clang-tidy -p "$build" --quiet 2>"$build/tidy-errors" && return
  grep -vE '^[0-9]+ warnings? ' "$build/tidy-errors"
  return 1
}

python_types() {
  (cd python && "$checkers/mypy" --config-file mypy.ini --cache-dir "$checkers/../cache" zdbcc) &&
    "$checkers/mypy" --strict --cache-dir "$checkers/../cache" script/*.py
}

python_style() {
  "$checkers/ruff" check --no-cache --config python/ruff.toml python tests/python bench/python &&
    "$checkers/ruff" check --no-cache --config python/ruff.toml --select B,E,F,I,UP,W --ignore B905 \
      script tests bench doc &&
    "$checkers/ruff" format --no-cache --check --config python/ruff.toml python script tests bench doc
}

step "layout" layout
step "include directions" script/check_includes.sh
step "include directions, self-test" script/check_includes.sh --self-test
step "owners of handles" script/check_owners.sh
step "owners of handles, self-test" script/check_owners.sh --self-test
step "tests are built" script/check_tests.sh "$build"
step "lines of faults to plant" script/mutants.sh --list
step "run paths" script/check_runpaths.sh "$build"
step "run paths, self-test" script/check_runpaths.sh "$build" --self-test
checkers=$(realpath "$build")/peers/lint/bin
if [ -e "$build/peers/lint.version" ]; then
  step "types of Python" python_types
  step "style of Python" python_style
else
  echo "types and style of Python: skipped, mypy and ruff could not be fetched"
fi
step "clang-tidy" tidy
exit "$failed"
