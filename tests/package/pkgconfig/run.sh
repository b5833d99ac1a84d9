#!/bin/sh
# Builds and runs the consumer without CMake: run.sh CONSUMER COMPILER LIBDIR OUTPUT_FOLDER
set -eu
export PKG_CONFIG_PATH="$3/pkgconfig"
flags=$(pkg-config --cflags --libs 'zdbcclib >= 1.0')
# shellcheck disable=SC2086 # a list of flags
"$2" "$1" -o "$4/pkgconfig-consumer" $flags
LD_LIBRARY_PATH=$3 "$4/pkgconfig-consumer" "$4/pkgconfig.zxf"

# A host that makes models, where the kit is there.
pkg-config --exists zkitdclib || exit 0
cat >"$4/kit-consumer.c" <<'END'
#include <string.h>
#include <zkitdclib.h>
int main(void) {
  char message[ZKIT_TEXT_SIZE];
  void* instance;
  return zkitReadModel("/none.mps", NULL, NULL, &instance, message, sizeof message) != 0 ||
         strstr(message, "/none.mps") == NULL;
}
END
# shellcheck disable=SC2046 # a list of flags
"$2" "$4/kit-consumer.c" -o "$4/kit-consumer" $(pkg-config --cflags --libs zkitdclib)
LD_LIBRARY_PATH=$3 "$4/kit-consumer"
