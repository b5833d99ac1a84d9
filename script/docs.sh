#!/bin/sh
# Builds the site: docs.sh FOLDER. A warning of Doxygen or Sphinx is an error, and so is a broken link.
set -eu
cd "$(dirname "$0")/.."
site=$1
XML_FOLDER=$(realpath -m "$site-work")
export XML_FOLDER
mkdir -p "$XML_FOLDER"
doxygen doc/Doxyfile
# Without what was read before (-E), since pages have texts of headers in them.
sphinx-build -q -E -W --keep-going -b html -d "$XML_FOLDER/trees" doc "$site"
python3 tests/package/links_test.py "$site"
