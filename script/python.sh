#!/bin/sh
# Runs the interpreter for which the Python package was built, with the package: with those of PyPI,
# if script/peers.sh has fetched them for it: python.sh BUILD_FOLDER ARGUMENT...
set -eu
build=$1
shift
python=$(sed -n 's/^ZDB_PYTHON_USED:INTERNAL=//p' "$build/CMakeCache.txt")
[ -n "$python" ] || { echo "python.sh: $build has no Python package; configure says why" >&2; exit 1; }
[ ! -e "$build/peers/python.version" ] || python=$build/peers/python/bin/python
PYTHONPATH=$(realpath "$build")/python exec "$python" -B "$@"
