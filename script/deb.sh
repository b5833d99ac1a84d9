#!/bin/sh
# Builds the Debian packages into build/deb, from a copy of the source tree, and checks them with
# lintian: deb.sh
set -eu
cd "$(dirname "$0")/.."
folder=$PWD/build/deb
version=$(dpkg-parsechangelog -S Version)
source=$folder/zdbcclib-$version
mkdir -p "$source"
find "$source" -mindepth 1 -delete
rm -f "$folder"/*.deb "$folder"/*.changes "$folder"/*.buildinfo
tar -c --exclude-vcs --exclude='./build*' --exclude=__pycache__ . | tar -x -C "$source"
# debhelper gives the build a home of its own, where the cache would end with it.
if command -v ccache >/dev/null; then
  CCACHE_DIR=$(ccache --get-config cache_dir)
  PATH=/usr/lib/ccache:$PATH
  export CCACHE_DIR PATH
fi
export DEB_BUILD_OPTIONS="${DEB_BUILD_OPTIONS-parallel=$(nproc)}"
cd "$source"
if ! dpkg-buildpackage --no-sign --build=binary >"$folder/build.log" 2>&1; then
  tail -n 40 "$folder/build.log" | cut -c 1-300
  exit 1
fi
cd "$folder"
ls -s --block-size=K ./*.deb
lintian --allow-root --tag-display-limit 0 --display-info --fail-on error,warning,info ./*.changes
