#!/bin/sh
# Runs the interpreter for which the Python package was built, with the package: with those of PyPI,
# if script/peers.sh has fetched them for it: python.sh BUILD_FOLDER ARGUMENT...
set -eu
build=$1
shift
python=$(sed -n 's/^ZDB_PYTHON_USED:INTERNAL=//p' "$build/CMakeCache.txt")
[ -n "$python" ] || { echo "python.sh: $build has no Python package; configure says why" >&2; exit 1; }
package=$(realpath "$build")/python
if [ -e "$build/peers/python.version" ]; then
  "$(dirname "$0")/build_python.sh" "$build" >/dev/null
  python=$build/peers/python/bin/python
  package=$(realpath "$build")-python/python
fi
PYTHONPATH=$package exec "$python" -B "$@"
