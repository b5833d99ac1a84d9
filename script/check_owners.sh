#!/bin/sh
# Fails if the manual does not say who frees a handle: check_owners.sh [--self-test]
#
# A ZDB_HANDLE row of src/api/exports.def names the function that frees a type of handle. The
# description of every function that returns such a handle, as its result or through a pointer, must
# contain "Freed by" and that function. The d__ and n__ forms refer to their c__ forms, and what ends
# a handle is named for it.
set -eu
cd "$(dirname "$0")/.."

# missing TABLE HEADER...: the functions whose description does not say so.
missing() {
  awk '
    FNR == NR {
      if (/^ZDB_HANDLE\(/) { split($0, row, /[(,] */); frees[row[2]] = row[3] }
      next
    }
    /^\/\*\*/ { description = "" }
    /^$/ { if (!isComment) description = "" }
    /^\/\*/ { isComment = 1 }
    isComment { line = $0; sub(/^ \* ?/, "", line); description = description " " line }
    /\*\/$/ { isComment = 0; next }
    /^ZDBCCLIB_API / { prototype = "" ; isPrototype = 1 }
    isPrototype { prototype = prototype " " $0 }
    isPrototype && /;$/ {
      isPrototype = 0
      name = prototype
      sub(/\(.*/, "", name)
      sub(/.* /, "", name)
      if (name ~ /^[dn]__/ || name ~ /free$|^zdbx_(close|remove)_/) next
      gsub(/const zdb[A-Za-z]+_t\*/, "", prototype)
      for (type in frees) {
        if (prototype !~ type "\\*" && prototype !~ "API " type " ") continue
        handles++
        if (index(description, "Freed by " frees[type] "().") == 0)
          print name ": its description does not say \"Freed by " frees[type] "().\""
      }
    }
    END { if (handles < 40) print "only " handles + 0 " functions that return handles were found" }
  ' "$@"
}

if [ "${1-}" = --self-test ]; then
  wrong=$(mktemp)
  trap 'rm -f "$wrong"' EXIT
  sed -e 's/c__zdbfreedvhandle()\./zdbfree()./' -e 's/zdbx_close_cursor()\./zdbfree()./' \
    include/zdbcclib.h include/zdbx.h >"$wrong"
  [ "$(missing src/api/exports.def "$wrong" | wc -l)" -eq 5 ] ||
    { echo "self-test: wrong owners were not found"; exit 1; }
  exit 0
fi
found=$(missing src/api/exports.def include/zdbcclib.h include/zdbx.h)
[ -z "$found" ] || { echo "$found"; exit 1; }
