#!/bin/sh
# Builds the Python package for the environment with packages of PyPI, which script/peers.sh has
# fetched, into BUILD_FOLDER-python, beside it so that ccache knows the files: build_python.sh BUILD_FOLDER
set -eu
build=$(realpath "$1")
cd "$(dirname "$0")/.."
launcher=
if command -v ccache >/dev/null; then
  launcher="-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache"
fi
# shellcheck disable=SC2086 # two words
cmake --preset release -B "$build-python" $launcher -DZDB_BUILD_TESTS=OFF \
  -DZDB_PYTHON="$build/peers/python/bin/python"
cmake --build "$build-python" --target _core
