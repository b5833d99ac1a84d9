#!/bin/sh
# Runs benchmark programs, stores their output in OUTPUT_FOLDER, and prints a table of all figures,
# grouped, each with its ratio to the fastest of the group:
#   bench.sh OUTPUT_FOLDER PROGRAM...
# Times are CPU times, or real times for benchmarks with several threads or files; the minimum of all
# repetitions counts. The figures are also kept in OUTPUT_FOLDER/figures.tsv, date and machine in
# machine.tsv: script/bench_page.py fills the tables of the documents with them.
set -eu

rows() {
  awk '
    /^[A-Za-z0-9_<>]+\/?/ && $3 ~ /^(ns|us|ms|s)$/ && $5 ~ /^(ns|us|ms|s)$/ {
      name = $1
      if (name ~ /_(mean|median|stddev|cv)$/) next
      value = name ~ /real_time/ ? $2 : $4
      unit = name ~ /real_time/ ? $3 : $5
      gsub(/\/(iterations|repeats|min_time):[0-9.]+|\/real_time|_min$/, "", name)
      scale = unit == "ns" ? 1 : unit == "us" ? 1e3 : unit == "ms" ? 1e6 : 1e9
      rest = ""
      for (i = 7; i <= NF; ++i) if ($i !~ /^(ns|bytes_per_second)=/) rest = rest " " $i
      family = name
      sub(name ~ /^[A-Z]/ ? "[_</].*" : "/.*", "", family)
      printf "%s\t%s\t%s\t%.0f\t%s\n", FILENAME, family, name, value * scale, rest
    }' "$@" | sort -t "$(printf '\t')" -k1,1 -k2,2 -k4,4n
}

table() {
  awk -F '\t' '
    { count[$1, $2]++; line[NR] = $0; if (!(($1, $2) in best)) best[$1, $2] = $4 }
    END {
      printf "%-44s %13s %8s  %s\n", "benchmark", "microseconds", "factor", "counters"
      for (n = 1; n <= NR; ++n) {
        split(line[n], part, "\t")
        key = part[1] SUBSEP part[2]
        if (key != last && (n == 1 || count[key] > 1 || count[last] > 1)) print ""
        last = key
        factor = count[key] > 1 ? sprintf("%.2f", part[4] / best[key]) : ""
        printf "%-44s %13.1f %8s %s\n", part[3], part[4] / 1000, factor, part[5]
      }
    }'
}

[ $# -ge 2 ] || { echo "usage: bench.sh OUTPUT_FOLDER PROGRAM..." >&2; exit 2; }
folder=$1
shift
mkdir -p "$folder"
# What bench_page.py says of the machine; the load is that before the first program.
{
  printf 'date\t%s\n' "$(date +%F)"
  printf 'cores\t%s\n' "$(nproc)"
  printf 'processor\t%s\n' "$(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -n 1)"
  printf 'MHz\t%s\n' "$(sed -n 's/^cpu MHz[^:]*: //p' /proc/cpuinfo | head -n 1)"
  printf 'system\t%s\n' "$(. /etc/os-release && echo "$PRETTY_NAME")"
  printf 'compiler\tg++ %s\n' "$(g++ -dumpfullversion)"
  printf 'load\t%s\n' "$(cut -d ' ' -f 1 /proc/loadavg)"
} >"$folder/machine.tsv"
outputs=
for program in "$@"; do
  output=$folder/$(basename "$program").txt
  echo "$program, kept in $output" >&2
  "$program" >"$output" 2>&1 || { cat "$output" >&2; exit 1; }
  outputs="$outputs $output"
done
# shellcheck disable=SC2086 # a list of files
rows $outputs >"$folder/figures.tsv"
table <"$folder/figures.tsv"
echo "script/bench_page.py $folder writes these figures into doc/why/benchmarks.md" >&2
