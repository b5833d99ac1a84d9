#!/bin/sh
# Installs the build as packagers do, component by component, and moves the tree to another place:
# install.sh CMAKE BUILD STAGE
set -eu
cmake=$1 build=$2 stage=$3
rm -rf "$stage" "$stage-root" "$stage-parts"
DESTDIR="$stage-root" "$cmake" --install "$build" --prefix /opt/zdb >/dev/null
for component in library development glpk tools mpi documents; do
  DESTDIR="$stage-parts" "$cmake" --install "$build" --prefix /opt/zdb --component "$component" >/dev/null
done
# Each file belongs to one of them, but for the Python package, which pip installs.
diff -r "$stage-root" "$stage-parts"
rm -rf "$stage-parts"
mv "$stage-root/opt/zdb" "$stage"
rm -r "$stage-root"
