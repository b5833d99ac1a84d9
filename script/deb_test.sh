#!/bin/sh
# Installs the packages in build/deb into a bare root of the Debian that this is, and runs
# debian/tests in it: deb_test.sh [TEST...]. Needs root and the network.
#
# The root has no more than apt, and each test gets a copy of its own with what it depends on.
set -eu
cd "$(dirname "$0")/.."
folder=$PWD/build/deb
[ "$(id -u)" -eq 0 ] || { echo "deb_test.sh: needs root, to change the root" >&2; exit 2; }
ls "$folder"/*.deb >/dev/null || { echo "deb_test.sh: make deb comes first" >&2; exit 2; }
[ $# -gt 0 ] || set -- tool python glpk hosts documents mpi highs
suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
bare=$folder/bare.tar
[ -e "$bare" ] || mmdebstrap --quiet --variant=apt "$suite" "$bare" || { rm -f "$bare"; exit 1; }

# The packages that a test depends on, ours by their files. All of ours need the library.
needed() {
  ls "$folder"/libzdbcclib1_*.deb | sed 's|.*/|/packages/|'
  sed -n "/^Tests: $1\$/,/^\$/s/^Depends: //p" debian/tests/control | tr -d ' ' | tr ',' '\n' |
    while read -r package; do
      file=$(cd "$folder" && ls "${package}"_*.deb 2>/dev/null || true)
      if [ -n "$file" ]; then echo "/packages/$file"; else echo "$package"; fi
    done
}

# In namespaces of its own, whose mounts and processes end with the command; nothing of the machine but
# its network is in the root, which has devices of its own, terminals too.
in_root() {
  # shellcheck disable=SC2016,SC2086 # for the inner shell; nothing or a word
  unshare --mount --pid --fork --mount-proc="$root/proc" sh -eu -c '
    mkdir -p "$0/dev/pts"
    mount -t devpts -o newinstance,ptmxmode=0666 devpts "$0/dev/pts"
    ln -sf pts/ptmx "$0/dev/ptmx"
    exec chroot "$0" env -i "$@"' "$root" \
    PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive $trusted "$@"
}

run() {
  root=$(mktemp -d "$folder/root.XXXXXX")
  trap 'rm -rf --one-file-system "$root"' EXIT
  tar -x -f "$bare" -C "$root"
  mkdir -p "$root/packages" "$root/source"
  cp "$folder"/*.deb "$root/packages"
  # Of the source tree, the tests alone.
  cp -r --parents debian/tests tests/package tests/readme "$root/source"
  # What this machine trusts, where its network has a certificate of its own.
  trusted=
  if [ -e /etc/ssl/certs/ca-certificates.crt ]; then
    cp /etc/ssl/certs/ca-certificates.crt "$root/machine.crt"
    trusted=PIP_CERT=/machine.crt
  fi
  in_root apt-get update -qq
  # shellcheck disable=SC2046 # a list of packages
  in_root apt-get install -y -qq --no-install-recommends $(needed "$1")
  in_root sh -c "cd /source && debian/tests/$1"
}

for test in "$@"; do
  set +e
  (set -e && run "$test") >"$folder/test-$test.log" 2>&1
  status=$?
  set -e
  if [ $status -ne 0 ]; then
    tail -n 40 "$folder/test-$test.log"
    echo "$test: FAILED"
    exit 1
  fi
  echo "$test: ok"
done
