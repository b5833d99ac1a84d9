#!/bin/sh
# Writes the generated part of doc/reference/tool.md, or with --check fails if it is not what the tool says:
# reference.sh [--check] ZDBCC
set -eu
check=
if [ "$1" = --check ]; then check=1; shift; fi
page=$(dirname "$0")/../doc/reference/tool.md
text=$(sed '/^<!-- From here on/q' "$page"; echo; "$1" man --form markdown)
if [ -z "$check" ]; then
  printf '%s\n' "$text" >"$page"
elif ! printf '%s\n' "$text" | diff -u "$page" -; then
  echo "doc/reference/tool.md is not up to date: run make reference" >&2
  exit 1
fi
