# Makes the files that the examples in doc/reference/tool.md name:
# doc_reference_tool.sh [COMMAND]
# Runs in the folder of documents_test.py, at first and before each command.
case ${1-first} in
  *"--to tables") rm -r tables && exit ;; # which are read before they are written
  *"--resume results.csv"*) rm -f results.csv && exit ;; # which another sweep began
  *" join part-"*) # of a sweep in two parts
    rm -f results.csv* part-*
    for k in 1 2; do
      zdbcc sweep plan.mps --scenarios s.csv --part $k/2 -o part-$k.csv 2>/dev/null
    done
    exit ;;
  first) ;;
  *) exit 0 ;;
esac
cp build/demo/diet.zxf build/demo/diet-changed.zxf .
cp transport.mps plan.mps
cp transport-scenarios.csv s.csv
cp diet-scenarios.csv days.csv
zdbcc sweep diet.mod --scenarios days.csv -o days.zxf 2>sweep.txt
mkdir -p .config/fish/completions

# import OUT SPEC...: as zdbcc import, without its report
import() {
  zdbcc import "$@" 2>/dev/null
}

printf '%s\n' origin,destination,miles,flow,flights,limit \
  ATL,Bonn,4600,3,31,9 ATL,ORD,606,8,44,12 ORD,ATL,606,7,30,12 >flights.csv
import flights.zxf 'city=airports.csv:iata->city' 'origin=flights.csv:origin' \
  'flow=flights.csv:origin,destination->flow' 'distance=flights.csv:origin,destination->miles' \
  'limit=flights.csv:origin,destination->limit' \
  'flights=flights.csv:origin(origin),destination->flights'
cp flights.zxf monday.zxf
cp flights.zxf tuesday.zxf
cp flights.zxf a.zxf
cp flights.zxf b.zxf
cp flights.zxf new.zxf
head -n 3 airports.csv | import old.zxf 'city=-:iata->city'
printf 'origin,destination,count\nATL,ORD,31\nORD,ATL,30\n' >flights.csv

printf 'month,nonfarm,mining,government\n2026-01,159000,610,23600\n' >us.csv
zdbcc export flights.zxf --to tables
for year in 2024 2025 2026; do
  printf 'year,price,need\n%s,1,2\n' "$year" >year.csv
  import "$year.zxf" 'price=year.csv:year->price' 'need=year.csv:year->need'
done
printf 'food,cost\nbread,2\n' | import plan.zxf 'cost=-:food->cost'
printf 'food,cost\nbread,3\n' | import corrections.zxf 'cost=-:food->cost'

# A solution of which a block of records is damaged, under both names.
echo 'set I := 1..40000; var x{i in I} >= 0, <= i; maximize z: sum{i in I} x[i];
  s.t. c: x[1] >= 1; end;' >large.mod
zdbcc solve large.mod -o bad.zxf >large.txt
printf '\245' | dd of=bad.zxf bs=1 seek=1200 conv=notrunc 2>/dev/null
cp bad.zxf solution.zxf
