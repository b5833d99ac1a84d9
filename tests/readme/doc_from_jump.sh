# Makes the model and the table that doc/from/jump.md names; runs in the folder of documents_test.py.
[ $# = 0 ] || exit 0
printf '%s\n' NAME ROWS ' N  Obj' ' G  need' ' L  limit' COLUMNS '    x[milk] Obj 2' \
  '    x[milk] need 1' '    x[milk] limit 1' '    x[tea] Obj 3' '    x[tea] need 1' RHS \
  '    rhs need 5' '    rhs limit 4' ENDATA >jump.mps
printf '%s\n' scenario,need.rhs,limit.rhs today,, more,8, 'less milk',,1 >jump.csv
