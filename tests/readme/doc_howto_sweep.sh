# Makes the model and the table that doc/howto/sweep.md names; runs in the folder of documents_test.py.
[ $# = 0 ] || exit 0
printf '%s\n' 'NAME plan' ROWS ' N cost' ' G need' COLUMNS ' buy[bread] cost 2' \
  ' buy[bread] need 1' ' buy[milk] cost 3' ' buy[milk] need 2' RHS ' RHS need 10' ENDATA >plan.mps
printf '%s\n' scenario,need.rhs few,5 many,20 >scenarios.csv
