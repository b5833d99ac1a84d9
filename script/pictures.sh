#!/bin/sh
# Draws doc/pictures/*.dot as SVG beside them, with colours for light and for dark ground, and a
# title and a description for readers of screens: pictures.sh [FILE.dot...]
# The first line of a picture, a comment, is its description.
set -eu
cd "$(dirname "$0")/../doc/pictures"
[ $# -gt 0 ] || set -- *.dot

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

for picture in "$@"; do
  name=${picture%.dot}
  words=$(sed -n '1s|^// \(.*\) script/pictures.sh draws it.$|\1|p' "$picture")
  [ -n "$words" ] || { echo "pictures.sh: the first line of $picture is no description" >&2; exit 1; }
  head="<title>$words</title>$style"
  dot -Tsvg -Nfontname=sans-serif -Efontname=sans-serif -Nfontsize=13 -Efontsize=12 "$picture" |
    grep -v '^ *<title>\|^<!--\|^ -->' |
    awk -v head="$head" '/^<svg/ { sub(/<svg/, "<svg role=\"img\" aria-label=\"" words "\"") }
      { print } /xmlns:xlink/ { print head }' words="$words" >"$name.svg"
done
