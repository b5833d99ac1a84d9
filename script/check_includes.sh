#!/bin/sh
# Fails on an include that points against the direction of the layers: check_includes.sh [--self-test]
#
#   api -> arrow, io; arrow -> symbols; symbols, io -> core, dmap, utree, loaders
#
# At the bottom core may use the loaders and the interface of the record maps, and dmap may use
# utree. Loaders and companions share the contract, which core, io and api use too; what keeps
# records or labels uses memory. Only api knows the public headers, but for the structs of Arrow,
# which arrow shares. Companions and the tool know of src the contract alone.
set -eu

# check SOURCE_FOLDER: prints each wrong include, fails if there is one. The table names the folders
# and headers that the files of a layer may include with quotes.
check() {
  grep -rnE '^[[:space:]]*#[[:space:]]*include[[:space:]]*"' "$1"/*/ | awk -v root="$1/" '
    BEGIN {
      allowed["api"] = "api arrow symbols io core dmap utree loaders contract zdbcclib.h zdbx.h"
      allowed["symbols"] = "symbols core dmap utree memory"
      allowed["arrow"] = "arrow symbols core contract zdbarrow.h"
      allowed["io"] = "io core loaders contract"
      allowed["core"] = "core loaders memory contract dmap/idmap.h"
      allowed["dmap"] = "dmap utree memory"
      allowed["utree"] = "utree memory"
      allowed["loaders"] = "loaders contract"
      allowed["contract"] = "contract"
      allowed["memory"] = "memory"
      allowed["kit"] = "kit shared contract zkitdclib.h"
      allowed["zxf"] = "zxf shared contract"
      allowed["shared"] = "shared contract"
      allowed["sweep"] = "sweep contract"
      allowed["chart"] = "chart contract"
      allowed["mpi"] = "sweep"
      allowed["zdbcc"] = "sweep chart contract zxf zdbcclib.h zkitdclib.h"
      allowed["sqlite"] = "contract"
    }
    {
      split($0, quoted, "\"")
      name = quoted[2]
      folder = name
      sub("/.*", "", folder)
      layer = substr($0, length(root) + 1)
      sub("/.*", "", layer)
      # The tools and the tables for SQLite have headers of their own, and of each other.
      if (layer ~ /^(mpi|zdbcc|sqlite)$/ && name !~ "/" && name !~ "lib.h") next
      if (index(" " allowed[layer] " ", " " name " ") || index(" " allowed[layer] " ", " " folder " ")) next
      split($0, place, ":")
      printf "%s:%s: %s must not include \"%s\"\n", place[1], place[2], layer, name
      wrong = 1
    }
    END { exit wrong }'
}

# Each of these must be found, and nothing in a tree that is in order.
self_test() {
  tree=$(mktemp -d)
  trap 'rm -rf "$tree"' EXIT
  for layer in api arrow symbols io core dmap utree loaders contract memory kit zxf shared sweep chart mpi zdbcc sqlite; do mkdir "$tree/$layer"; done
  echo '#include "core/zdb.h"' >"$tree/io/good.cpp"
  echo '#include "zdbcclib.h"' >"$tree/api/good.cpp"
  echo '#include "dmap/idmap.h"' >"$tree/core/good.h"
  check "$tree" >/dev/null || { echo "self-test: a tree in order was refused"; return 1; }
  while read -r from to; do
    echo "# include  \"$to\"" >"$tree/$from/bad.h"
    if check "$tree" >/dev/null; then
      echo "self-test: $from includes $to and was not found"
      return 1
    fi
    rm "$tree/$from/bad.h"
  done <<'CASES'
core symbols/zdbsymbol.h
core io/trace.h
core dmap/dmap.h
core zdbcclib.h
symbols io/trace.h
symbols zdbcclib.h
symbols arrow/give.h
arrow api/guard.h
arrow zdbx.h
arrow dmap/idmap.h
io symbols/slice.h
io api/guard.h
dmap core/zdb.h
utree dmap/idmap.h
loaders core/message.h
loaders ../core/message.h
contract loaders/loader.h
memory dmap/idmap.h
kit loaders/zmi.h
kit zxf/file.h
zxf core/textutils.h
shared kit/model.h
sweep zdbcclib.h
chart zdbcclib.h
mpi zdbcclib.h
zdbcc core/zdb.h
sqlite zxf/file.h
CASES
}

cd "$(dirname "$0")/.."
case ${1-} in
  --self-test) self_test ;;
  "") check src && check companions && check tools ;;
  *) echo "usage: check_includes.sh [--self-test]" >&2; exit 2 ;;
esac
