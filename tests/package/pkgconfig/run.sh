#!/bin/sh
# Builds and runs the consumers without CMake:
# run.sh SOURCE_FOLDER COMPILER LIBDIR LIBEXECDIR OUTPUT_FOLDER
set -eu
source=$1 compiler=$2 libdir=$3 libexec=$4 folder=$5
export PKG_CONFIG_PATH="$libdir/pkgconfig"

# There is no static library: what pkg-config says of one must not name one, and works.
for kind in "" --static; do
  # shellcheck disable=SC2046,SC2086 # lists of flags
  "$compiler" "$source/consumer.c" -o "$folder/pkgconfig-consumer" \
    $(pkg-config $kind --cflags --libs 'zdbcclib >= 1.0')
  LD_LIBRARY_PATH=$libdir "$folder/pkgconfig-consumer" "$folder/pkgconfig.zxf"
done

# A static library of somebody else names ours for --static only.
printf 'int host(int, char**);\nint main(int argc, char** argv) { return host(argc, argv); }\n' >"$folder/main.c"
"$compiler" -c -Dmain=host "$source/consumer.c" -o "$folder/host.o" $(pkg-config --cflags zdbcclib)
ar rcs "$folder/libhost.a" "$folder/host.o"
printf '%s\n' 'Name: host' 'Description: a host' 'Version: 1' 'Requires.private: zdbcclib' \
  "Libs: -L$folder -lhost" >"$folder/host.pc"
# shellcheck disable=SC2046 # a list of flags
"$compiler" "$folder/main.c" -o "$folder/static-consumer" \
  $(PKG_CONFIG_PATH=$folder:$PKG_CONFIG_PATH pkg-config --static --libs host)
LD_LIBRARY_PATH=$libdir "$folder/static-consumer" "$folder/static.zxf"

# Programs depend on a version, and get no names that they may have themselves.
readelf -d "$folder/pkgconfig-consumer" | grep -q 'NEEDED.*\[libzdbcclib\.so\.1\]'
if readelf -d "$folder/pkgconfig-consumer" | grep -q zdbcclib64; then exit 1; fi

# Hosts at run time find the companions by their folder, too.
companions=$(pkg-config --variable=companiondir zdbcclib)
[ -f "$companions/libzxfcclib64.so" ] && [ -f "$companions/zrncmpun.txt" ]

# A host that makes models, where the kit is there: it reads a model file, and prints why not.
pkg-config --exists zkitdclib || exit 0
printf 'Minimize\n cost: x\nSubject To\n need: x >= 2\nEnd\n' >"$folder/model.lp"
printf 'NAME m\nROWS\n N cost\n G need\nCOLUMNS\n x cost 1 need 1\nRHS\n need 2\nENDATA\n' >"$folder/model.mps"
# shellcheck disable=SC2046 # a list of flags
"$compiler" "$source/kit_consumer.c" -o "$folder/kit-consumer" $(pkg-config --cflags --libs zkitdclib)
"$folder/kit-consumer" "$folder/model.mps"

# refuses LIBDIR PATTERN: the model is not read with the kit there, and the message is like that.
refuses() {
  if LD_LIBRARY_PATH=$1 "$folder/kit-consumer" "$folder/model.lp" >"$folder/answer" ||
    ! grep -q "$2" "$folder/answer"; then
    echo "not refused as it should be, with $2:"
    cat "$folder/answer"
    exit 1
  fi
}
if [ -x "$libexec/zkitreader64" ]; then
  "$folder/kit-consumer" "$folder/model.lp"
  # By a relative name, which no longer holds when the host reads from another working directory.
  (cd "$companions" && LD_LIBRARY_PATH=. "$folder/kit-consumer" "$folder/model.lp")
fi

# The library without GLPK's part, and with another program in the reader's place.
rm -rf "$folder/alone"
mkdir "$folder/alone"
cp "$companions/libzkitdclib64.so" "$folder/alone"
refuses "$folder/alone" 'model.lp: .*/alone/zkitreader64 (Debian package zdbcclib-glpk)'
LD_LIBRARY_PATH=$folder/alone "$folder/kit-consumer" "$folder/model.mps"
touch "$folder/alone/zkitreader64"
refuses "$folder/alone" 'model.lp: .*/alone/zkitreader64, .* cannot be started (Permission denied)'
printf '#!/bin/sh\nexit 3\n' >"$folder/alone/zkitreader64"
chmod +x "$folder/alone/zkitreader64"
refuses "$folder/alone" 'model.lp: .*/alone/zkitreader64 does not belong to this kit'
