#!/bin/sh
# Installs the Debian packages that a job needs if any are missing: packages.sh JOB...
# The jobs are build, mpi, lint, bench, docs, fuzz, deb, debtest, python, npm and view. Prints nothing if all are installed.
set -eu

packages_for() {
  case $1 in
    build) echo "g++ ccache cmake ninja-build pkg-config libgtest-dev libgmock-dev libzstd-dev libxxhash-dev libcsv-dev gnuplot-nox bash-completion zlib1g-dev libsqlite3-dev sqlite3 coinor-libclp-dev coinor-libcbc-dev libglpk-dev glpk-utils graphviz python3 python3-dev pybind11-dev python3-numpy python3-pandas python3-xarray python3-scipy python3-hypothesis python3-pytest" ;;
    mpi) echo "libopenmpi-dev openmpi-bin" ;;
    lint) echo "clang-format clang-tidy" ;;
    bench) echo "libbenchmark-dev libabsl-dev netcdf-bin hdf5-tools" ;;
    docs) echo "doxygen python3-sphinx python3-myst-parser furo python3-breathe python3-numpy" ;;
    fuzz) echo "clang libclang-rt-dev" ;;
    deb) echo "debhelper dh-python lintian libopenmpi-dev doxygen furo python3-breathe python3-myst-parser python3-sphinx g++ ccache cmake ninja-build pkg-config libzstd-dev libxxhash-dev libcsv-dev zlib1g-dev libsqlite3-dev coinor-libclp-dev coinor-libcbc-dev libglpk-dev python3-dev pybind11-dev python3-numpy" ;;
    debtest) echo "mmdebstrap" ;;
    python) echo "python3 python3-venv" ;;
    npm) echo "npm" ;;
    view) echo "chromium chromium-driver python3-selenium" ;;
    *) echo "packages.sh: unknown job '$1', the jobs are build, mpi, lint, bench, docs, fuzz, deb, debtest, python, npm and view" >&2; exit 2 ;;
  esac
}

is_installed() {
  [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

missing=
for job in "$@"; do
  wanted=$(packages_for "$job")
  for package in $wanted; do
    command -v dpkg-query >/dev/null && is_installed "$package" || missing="$missing $package"
  done
done
[ -n "$missing" ] || exit 0

if ! command -v apt-get >/dev/null; then
  echo "note: no apt-get here, the build needs what Debian calls:$missing" >&2
  exit 0
fi
if [ "$(id -u)" -eq 0 ]; then
  as_root="env"
elif command -v sudo >/dev/null; then
  as_root="sudo env"
else
  echo "error: install as root first: apt-get install$missing" >&2
  exit 1
fi
echo "Installing$missing"
export DEBIAN_FRONTEND=noninteractive
log=$(mktemp)
trap 'rm -f "$log"' EXIT
# shellcheck disable=SC2086 # lists of words
{
  $as_root apt-get update -qq &&
    $as_root DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $missing
} >"$log" 2>&1 || { cat "$log" >&2; exit 1; }
