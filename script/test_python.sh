#!/bin/sh
# Tests the Python package with what only PyPI has, and its types, stubs and style:
# test_python.sh BUILD_FOLDER. Where PyPI cannot be reached, that is said in one line and nothing
# fails. The package is built with PyPI's pybind11, since numpy 2 is not for that of Debian 12.
set -u
cd "$(dirname "$0")/.." || exit
root=$PWD
build=$(realpath "$1")
script/peers.sh "$build" python
bin=$build/peers/python/bin
[ -e "$build/peers/python.version" ] || exit 0
script/build_python.sh "$build" >/dev/null || exit 1
failed=0

step() {
  name=$1
  shift
  if output=$("$@" 2>&1); then
    echo "$name: $(echo "$output" | tail -n 1)"
  else
    echo "$name: FAILED"
    echo "$output"
    failed=1
  fi
}

# Every interpreter started from here has the package and a folder for its settings.
export PYTHONPATH="$build-python/python" PYTHONDONTWRITEBYTECODE=1
export MPLBACKEND=agg MPLCONFIGDIR="$build/peers/matplotlib" JUPYTER_PLATFORM_DIRS=1
export PEERS="$build/peers"
export SAMPLE="$PWD/tests/tools/golden/sample.zxf"

stubs() {
  # Not in the folder python, whose sources would be taken for the package.
  (cd "$build" && MYPYPATH="$build-python/python" "$bin/python" -m mypy.stubtest \
    --mypy-config-file "$root/python/mypy.ini" --allowlist "$root/python/stubtest-allowlist.txt" \
    --ignore-unused-allowlist zdbcc._core zdbcc._kit zdbcc._tool)
}
types() {
  (cd python && "$bin/mypy" --config-file mypy.ini --cache-dir "$build/peers/mypy-cache" zdbcc)
}
style() {
  "$bin/ruff" check --no-cache --config python/ruff.toml python tests/python bench/python &&
    "$bin/ruff" format --no-cache --check --config python/ruff.toml python tests/python bench/python
}

step "tests" "$bin/python" -m pytest -q -p no:cacheprovider tests/python
step "pictures" "$bin/python" tests/readme/documents_test.py "$build" "$root" doc/howto/pictures.md
step "stubs" stubs
step "types" types
step "style" style
exit "$failed"
