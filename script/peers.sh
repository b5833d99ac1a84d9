#!/bin/sh
# Fetches what the tests of Arrow streams exchange data with, at fixed versions: pyarrow in a
# virtual environment, pandas, polars and duckdb for it, and DuckDB's library, which an npm package
# carries; with bench, also h5py, with which a benchmark compares: peers.sh BUILD_FOLDER [bench]
# With lint, fetches only mypy and ruff, with which the Python package is checked; with python, only
# what its tests need that Debian does not have (requirements/python.txt, with hashes), for the
# interpreter of the build folder.
# What cannot be had (no network, no npm) is left out with a note; its tests are skipped.
set -u

pyarrow=26.0.1
frames="pandas==3.1.1 polars==2.1.0 duckdb==2.0.1"
h5py=3.16.0
lint="mypy==2.4.1 ruff==0.17.6 numpy==2.4.6"
vega=vega-datasets@3.2.1
duckdb=@duckdb/node-bindings-linux-x64@1.5.6-r.1

# needs JOB COMMAND: installs what the job needs unless the command works. Whether that succeeds
# shows later.
needs() {
  job=$1
  shift
  "$@" >/dev/null 2>&1 || "$packages" "$job" || true
}

packages=$(dirname "$(realpath "$0")")/packages.sh
requirements=$(dirname "$(realpath "$0")")/requirements/python.txt
folder=$1/peers
mkdir -p "$folder"
cd "$folder" || exit 1

# once NAME VERSION COMMAND: runs it unless this version is there already.
once() {
  if [ "$(cat "$1.version" 2>/dev/null)" = "$2" ]; then return; fi
  rm -rf "$1" "$1.version"
  if output=$("$3" 2>&1); then
    echo "$2" >"$1.version"
  else
    rm -rf "$1"
    echo "note: what needs $1 is skipped, it cannot be fetched: $(echo "$output" | grep -im1 error)" >&2
  fi
}

fetch_pyarrow() {
  needs python python3 -c "import ensurepip"
  python3 -m venv pyarrow &&
    pyarrow/bin/pip install -q --disable-pip-version-check --retries 0 --only-binary=:all: \
      "pyarrow==$pyarrow"
}

fetch_duckdb() {
  needs npm npm --version
  mkdir duckdb && cd duckdb || return
  archive=$(npm pack --loglevel=error --fetch-retries=0 "$duckdb") &&
    tar xzf "$archive" --strip-components=1 package/libduckdb.so && rm "$archive"
}

# fetch_packages FOLDER PACKAGE...: into a folder for PYTHONPATH.
fetch_packages() {
  to=$1
  shift
  pyarrow/bin/pip install -q --disable-pip-version-check --retries 0 --only-binary=:all: \
    --target "$to" "$@"
}
# shellcheck disable=SC2086 # a list of packages
fetch_frames() { fetch_packages frames $frames; }
fetch_h5py() { fetch_packages h5py "h5py==$h5py"; }

fetch_lint() {
  needs python python3 -c "import ensurepip"
  # shellcheck disable=SC2086 # a list of packages
  python3 -m venv lint &&
    lint/bin/pip install -q --disable-pip-version-check --retries 0 --only-binary=:all: $lint
}

fetch_python() {
  needs python "$interpreter" -c "import ensurepip"
  "$interpreter" -m venv python &&
    python/bin/pip install -q --disable-pip-version-check --retries 0 --only-binary=:all: \
      --no-deps --require-hashes -r "$requirements"
}

# The data of a notebook.
fetch_vega() {
  needs npm npm --version
  mkdir vega && cd vega || return
  archive=$(npm pack --loglevel=error --fetch-retries=0 "$vega") &&
    tar xzf "$archive" --strip-components=2 package/data/airports.csv package/data/flights-airport.csv &&
    rm "$archive"
}

if [ "${2-}" = python ]; then
  interpreter=$(sed -n 's/^ZDB_PYTHON_USED:INTERNAL=//p' ../CMakeCache.txt)
  [ -n "$interpreter" ] || exit
  once vega "$vega" fetch_vega
  once python "$("$interpreter" --version) $(sha256sum <"$requirements")" fetch_python
  exit
fi
if [ "${2-}" = lint ]; then
  once lint "$lint" fetch_lint
  exit
fi
once pyarrow "$pyarrow" fetch_pyarrow
once frames "$frames" fetch_frames
once duckdb "$duckdb" fetch_duckdb
if [ "${2-}" = bench ]; then once h5py "$h5py" fetch_h5py; fi
