#!/bin/sh
# Draws doc/pictures/*.dot as SVG beside them, with colours for light and for dark ground, and a
# title and a description for screen readers: pictures.sh BUILD_FOLDER
# The first line of a picture, a comment, is its description. With the programs of the build folder,
# it also draws what doc/howto/pictures.md shows.
set -eu
[ $# = 1 ] || { echo "usage: pictures.sh BUILD_FOLDER" >&2; exit 2; }
build=$(realpath "$1")
source=$(realpath "$(dirname "$0")/..")
cd "$source/doc/pictures"

style='<style>
.graph > polygon { fill: none }
.node polygon, .node path, .node ellipse { fill: #e8f1fb; stroke: #1a66b0 }
.outside polygon, .outside path { fill: #f3f5f8; stroke: #556273 }
.edge path { stroke: #556273 } .edge polygon { fill: #556273; stroke: #556273 }
text { fill: #1b2430; font-family: sans-serif }
svg { background: #ffffff }
@media (prefers-color-scheme: dark) {
  svg { background: #14181e }
  .node polygon, .node path, .node ellipse { fill: #1c3044; stroke: #6fb3f2 }
  .outside polygon, .outside path { fill: #1f252d; stroke: #a0adbb }
  .edge path { stroke: #a0adbb } .edge polygon { fill: #a0adbb; stroke: #a0adbb }
  text { fill: #e4e9ef }
}
</style>'

# styled WORDS SVG: what dot writes on standard input, with style and description, as a file.
styled() {
  head="<title>$1</title>$style"
  grep -v '^ *<title>\|^<!--\|^ -->' |
    awk -v head="$head" '/^<svg/ { sub(/<svg/, "<svg role=\"img\" aria-label=\"" words "\"") }
      { print } /xmlns:xlink/ { print head }' words="$1" >"$2"
}

for picture in *.dot; do
  words=$(sed -n '1s|^// \(.*\) script/pictures.sh draws it.$|\1|p' "$picture")
  [ -n "$words" ] || { echo "pictures.sh: the first line of $picture is no description" >&2; exit 1; }
  dot -Tsvg -Nfontname=sans-serif -Efontname=sans-serif -Nfontsize=13 -Efontsize=12 "$picture" |
    styled "$words" "${picture%.dot}.svg"
done

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$build/bin/diet_demo" "$source/examples/diet/data" "$work" >/dev/null
cp "$work/diet-days.svg" diet-days.svg
"$build/bin/zdbcc" graph "$work/diet.zxf" |
  dot -Tsvg -Nfontname=sans-serif -Efontname=sans-serif -Nfontsize=13 -Efontsize=12 |
  styled "The domains of the diet: food and nutrient" diet-domains.svg
cd "$source/examples/models"  # the file's name is the title
"$source/script/python.sh" "$build" -c '
import sys

import matplotlib
import zdbcc

matplotlib.use("svg")
matplotlib.rcParams.update({"svg.fonttype": "none", "svg.hashsalt": "matrix"})
axes = zdbcc.Model.read(sys.argv[1]).plot()
axes.figure.savefig(sys.argv[2], metadata={"Date": None})
' transport.mps "$work/matrix.svg"
awk '/^<svg/ { sub(/<svg/, "<svg role=\"img\" aria-label=\"The matrix of the transport model\"") }
  { print }' "$work/matrix.svg" >"$source/doc/pictures/transport-matrix.svg"
