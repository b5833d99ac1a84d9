#!/bin/sh
# Puts the library of the solver HiGHS where the kit's library in a folder looks for it:
# highs.sh LIBRARY_FOLDER
#
# From the package highsbox of PyPI, in one version whose files are known by their hashes. Whoever has
# no network or no pip, or another machine, builds and tests without it, which is said in one line; a
# library that is there already is left alone.
set -eu

version=1.15.1
x86_64=17f30d23ef37488467732b45f141146f7c287826a576b4514ae39a8cc4068b28
aarch64=d1a3c1742d6fae36a3a18e0c7500530e46de5faa1a42dee65677bf0ae80acda3

[ $# -eq 1 ] || { echo "usage: highs.sh LIBRARY_FOLDER" >&2; exit 2; }
folder=$1/zkit-highs
[ ! -e "$folder/libhighs.so" ] || exit 0

without() {
  echo "note: without the solver highs: $1" >&2
  exit 0
}

command -v python3 >/dev/null || without "there is no python3"
python3 -m pip --version >/dev/null 2>&1 || without "python3 has no pip"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
echo "highsbox==$version --hash=sha256:$x86_64 --hash=sha256:$aarch64" >"$work/wanted"
python3 -m pip download --quiet --disable-pip-version-check --no-deps --only-binary :all: \
  --require-hashes --retries 1 --timeout 10 --dest "$work" --requirement "$work/wanted" \
  >"$work/log" 2>&1 || without "pip cannot fetch highsbox $version: $(tail -n 1 "$work/log")"

# The library alone is enough: what else the package has is for programs that are built with it.
python3 - "$work" <<'EOF' || without "highsbox $version is not laid out as it was"
import pathlib
import sys
import zipfile

work = pathlib.Path(sys.argv[1])
with zipfile.ZipFile(next(work.glob("*.whl"))) as wheel:
    for name in ("lib/libhighs.so", "share/doc/HIGHS/LICENSE.txt"):
        (inside,) = (each for each in wheel.namelist() if each.endswith("/highs_dist/" + name))
        (work / pathlib.Path(name).name).write_bytes(wheel.read(inside))
EOF
mkdir -p "$folder"
cp "$work/LICENSE.txt" "$folder/LICENSE.txt"
cp "$work/libhighs.so" "$folder/libhighs.so.new"
mv "$folder/libhighs.so.new" "$folder/libhighs.so"  # whole or not at all
