#!/bin/sh
# Plants faults in a copy of the tree and tells which of them the tests catch; --help says more.
set -eu
exec nice python3 "$(dirname "$0")/mutants.py" "$@"
