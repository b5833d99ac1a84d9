#!/bin/sh
# Fails if a built file may load libraries from the folder in which it is started:
# check_runpaths.sh BUILD_FOLDER [--self-test]
#
# An element of a run path that is empty or relative means the current folder, where anybody may have
# put a library. What is installed must not look into the build folder either.
set -eu

# wrong NAME IS_INSTALLED RUN_PATH: what is wrong with the elements of a run path.
wrong() {
  printf '%s:' "$3" | tr ':' '\n' | while IFS= read -r element; do
    case $2/$element in
      */\$ORIGIN | */\$ORIGIN/*) ;;
      no//*) ;;
      yes//*) echo "$1: is installed, and its run path \"$3\" has the absolute element \"$element\"" ;;
      *) echo "$1: its run path \"$3\" has the empty or relative element \"$element\"" ;;
    esac
  done
}

# self_test KIND IS_INSTALLED RUN_PATH...: fails unless all run paths are of the kind.
self_test() {
  kind=$1
  isInstalled=$2
  shift 2
  for path in "$@"; do
    [ -z "$(wrong name "$isInstalled" "$path")" ] && is=good || is=bad
    [ $is = "$kind" ] || { echo "self-test: run path \"$path\", installed: $isInstalled, is $is"; exit 1; }
  done
}

[ $# -ge 1 ] || { echo "usage: check_runpaths.sh BUILD_FOLDER [--self-test]" >&2; exit 2; }
if [ "${2-}" = --self-test ]; then
  # shellcheck disable=SC2016 # the loader, not the shell, replaces $ORIGIN
  {
    self_test good no '$ORIGIN:/lib'
    self_test good yes '$ORIGIN:$ORIGIN/../lib'
    self_test bad no '$ORIGIN:' ':/lib' '/a::/b' 'lib' '' '$ORIGINAL'
    self_test bad yes '$ORIGIN:' '$ORIGIN:/lib'
  }
  exit 0
fi
build=$(cd "$1" && pwd)
for file in bin/zdbcc lib/libzdbcclib.so.1 lib/libzdbcclib64.so; do
  readelf -d "$build/$file" >/dev/null || { echo "$build/$file must be built first"; exit 1; }
done
rules=$(find "$build" -name cmake_install.cmake)

all_wrong() {
  for file in "$build"/bin/* "$build"/lib/* "$build"/python/zdbcc/*.so; do
    section=$(readelf -d "$file" 2>/dev/null) || continue
    path=$(printf '%s\n' "$section" | sed -n 's/.*(R[UN]*PATH).*\[\(.*\)\]$/\1;/p')
    [ -n "$path" ] || continue
    # shellcheck disable=SC2086 # a list of files
    if grep -qF "\"$file\"" $rules; then isInstalled=yes; else isInstalled=no; fi
    wrong "${file#"$build"/}" $isInstalled "${path%;}"
  done
}

found=$(all_wrong)
[ -z "$found" ] || { echo "$found"; exit 1; }
