# Bread and milk for lunch: at least 12 units of energy and one glass of milk, at the lowest price.
# Small enough to be solved by hand; doc/howto/solve.md shows what zdbcc does with it.
set FOOD;
param price{FOOD};
param need;
var buy{FOOD} >= 0, <= 8;
minimize cost: sum{f in FOOD} price[f] * buy[f];
s.t. energy: 2 * buy['bread'] + buy['milk'] >= need;
s.t. calcium: buy['milk'] >= 1;
data;
set FOOD := bread milk;
param need := 12;
param price := bread 2 milk 3;
end;
