#!/bin/sh
# Plants faults in a copy of the tree and reports which of them the tests catch; see --help.
set -eu
exec nice python3 "$(dirname "$0")/mutants.py" "$@"
