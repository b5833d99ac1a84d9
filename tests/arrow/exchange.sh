#!/bin/sh
# Runs a test with a peer, or says that it is skipped: exchange.sh PEER PEERS_FOLDER LIBRARY
set -eu
peer=$1
peers=$2
library=$3
tests=$(dirname "$0")
if [ ! -e "$peers/$peer.version" ]; then
  echo "skipped: $peer is not in $peers; script/peers.sh fetches it if there is a network"
  exit 77
fi
case $peer in
  pyarrow) exec "$peers/pyarrow/bin/python" -B "$tests/pyarrow_test.py" "$library" ;;
  frames)
    PYTHONPATH=$peers/frames exec "$peers/pyarrow/bin/python" -B "$tests/guide_test.py" \
      "$tests/../../doc/howto/arrow.md" "$library"
    ;;
  duckdb) exec python3 -B "$tests/duckdb_test.py" "$peers/duckdb/libduckdb.so" "$library" ;;
esac
