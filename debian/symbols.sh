#!/bin/sh
# Prints the symbols file of the library, from the table of exported functions and the header of those
# that have no table. Names that are in the file already keep the version that brought them.
set -eu
cd "$(dirname "$0")/.."
version=$(sed -n 's/^#define ZDBCCLIB_VERSION "\(.*\)"$/\1/p' include/zdbcclib.h)
map=$(c++ -E -P -x c++ -I src src/api/exports.map.in)
node=$(printf '%s\n' "$map" | sed -n 's/^\(ZDBCCLIB_[0-9]*\) .*/\1/p')

names() {
  echo "$node"
  printf '%s\n' "$map" | tr -s '; ' '\n' | grep -xE '[a-z0-9_]+'
  sed -n 's/^ZDBCCLIB_API .*[ *]\(zdbx_[a-z0-9_]*\)(.*/\1/p' include/zdbx.h
}

echo "libzdbcclib.so.1 libzdbcclib1 #MINVER#"
echo "* Build-Depends-Package: libzdbcclib-dev"
names | LC_ALL=C sort -u | sed "s/\$/@$node/" | while read -r name; do
  since=$(sed -n "s/^ $name //p" debian/libzdbcclib1.symbols 2>/dev/null || true)
  echo " $name ${since:-$version}"
done
