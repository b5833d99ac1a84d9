#!/bin/sh
# Builds and runs the consumers without CMake: run.sh SOURCE_FOLDER COMPILER LIBDIR OUTPUT_FOLDER
set -eu
export PKG_CONFIG_PATH="$3/pkgconfig"
flags=$(pkg-config --cflags --libs 'zdbcclib >= 1.0')
# shellcheck disable=SC2086 # a list of flags
"$2" "$1/consumer.c" -o "$4/pkgconfig-consumer" $flags
LD_LIBRARY_PATH=$3 "$4/pkgconfig-consumer" "$4/pkgconfig.zxf"

# A host that makes models, where the kit is there: it reads a model file, and prints why not.
pkg-config --exists zkitdclib || exit 0
printf 'Minimize\n cost: x\nSubject To\n need: x >= 2\nEnd\n' >"$4/model.lp"
# shellcheck disable=SC2046 # a list of flags
"$2" "$1/kit_consumer.c" -o "$4/kit-consumer" $(pkg-config --cflags --libs zkitdclib)

# refuses LIBDIR PATTERN: the model is not read with the kit there, and the message is like that.
refuses() {
  if LD_LIBRARY_PATH=$1 "$folder/kit-consumer" "$folder/model.lp" >"$folder/answer" ||
    ! grep -q "$2" "$folder/answer"; then
    echo "not refused as it should be, with $2:"
    cat "$folder/answer"
    exit 1
  fi
}
folder=$4
if [ ! -x "$3/zkitreader64" ]; then
  refuses "$3" 'built without'
  exit 0
fi
LD_LIBRARY_PATH=$3 "$4/kit-consumer" "$4/model.lp"
# By a relative name, which no longer holds when the host reads from another working directory.
(cd "$3" && LD_LIBRARY_PATH=. "$folder/kit-consumer" "$folder/model.lp")

# The library without the program that belongs beside it, and with another one of that name.
rm -rf "$4/alone"
mkdir "$4/alone"
cp "$3/libzkitdclib64.so" "$4/alone"
refuses "$4/alone" 'model.lp: .*/alone/zkitreader64, .* cannot be started'
printf '#!/bin/sh\nexit 3\n' >"$4/alone/zkitreader64"
chmod +x "$4/alone/zkitreader64"
refuses "$4/alone" 'model.lp: .*/alone/zkitreader64 does not belong to this kit'
