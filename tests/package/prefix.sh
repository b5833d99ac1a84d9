#!/bin/sh
# Runs what the README says of a folder outside of /usr, line by line, and Tab after that:
# prefix.sh SOURCE PREFIX FOLDER
set -eu
source=$1 PREFIX=$2 folder=$3
export PREFIX
rm -rf "$folder"
mkdir -p "$folder"
cd "$folder"
# The first program of the README, and the lines that stand in sh blocks under the heading.
awk '/^```c$/ { inside = 1; next } inside && /^```$/ { exit } inside' "$source/README.md" >program.c
awk '/^#/ { here = /^### Outside/ } here && /^```sh$/ { inside = 1; next } /^```$/ { inside = 0 } here && inside' \
  "$source/README.md" >lines
cat >CMakeLists.txt <<'END'
cmake_minimum_required(VERSION 3.25)
project(program LANGUAGES C)
find_package(zdbcclib 1.0 REQUIRED)
add_executable(program program.c)
target_link_libraries(program PRIVATE zdbcclib::zdbcclib)
install(TARGETS program)
END
[ "$(wc -l <lines)" -ge 10 ]
# The program comes from the build before this line, and man may not be there.
command -v man >/dev/null || sed -i '/^man /d' lines
if [ -e /usr/share/bash-completion/bash_completion ]; then
  echo "python3 '$source/tests/package/tab_test.py' bash" >>lines
fi
sh -eux ./lines >output
[ "$(grep -c 'Cannot find element cake' output)" -eq 4 ]
