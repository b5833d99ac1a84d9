# Makes the model that doc/from/pyomo.md names, as Pyomo 6.10 has written it; runs in the folder of
# documents_test.py.
[ $# = 0 ] || exit 0
printf '%s\n' NAME\ plan OBJSENSE ' MIN' ROWS ' N  cost' ' G  c_l_need(milk)_' ' G  c_l_need(tea)_' \
  COLUMNS '     buy(milk) cost 2' '     buy(milk) c_l_need(milk)_ 1' '     buy(tea) cost 3' \
  '     buy(tea) c_l_need(tea)_ 1' RHS '     RHS c_l_need(milk)_ 3' '     RHS c_l_need(tea)_ 1' BOUNDS \
  ' LO BOUND buy(milk) 0' ' LO BOUND buy(tea) 0' ENDATA >plan.mps
