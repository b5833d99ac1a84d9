#!/bin/sh
# Builds and runs the consumer without CMake: run.sh CONSUMER COMPILER LIBDIR OUTPUT_FOLDER
set -eu
export PKG_CONFIG_PATH="$3/pkgconfig"
flags=$(pkg-config --cflags --libs 'zdbcclib >= 1.0')
# shellcheck disable=SC2086 # a list of flags
"$2" "$1" -o "$4/pkgconfig-consumer" $flags
LD_LIBRARY_PATH=$3 "$4/pkgconfig-consumer" "$4/pkgconfig.zxf"
