#!/bin/sh
# Runs the interpreter for which the Python package was built, with the package:
# python.sh BUILD_FOLDER ARGUMENT...
set -eu
build=$1
shift
python=$(sed -n 's/^ZDB_PYTHON_USED:INTERNAL=//p' "$build/CMakeCache.txt")
[ -n "$python" ] || { echo "python.sh: $build has no Python package; configure says why" >&2; exit 1; }
PYTHONPATH=$(realpath "$build")/python exec "$python" -B "$@"
