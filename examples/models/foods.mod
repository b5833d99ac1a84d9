# The least-cost diet without its data: doc/tutorials/csv-to-solution.md makes them of CSV files.

set FOODS;
set NUTRIENTS;
param price{FOODS} > 0;                            # cents a unit
param content{FOODS, NUTRIENTS} >= 0, default 0;   # in one dollar's worth
param need{NUTRIENTS} >= 0;                        # a day

var buy{FOODS} >= 0;                               # units a day

minimize cost: sum{f in FOODS} price[f] / 100 * buy[f];  # dollars a day

s.t. enough{n in NUTRIENTS}:
  sum{f in FOODS} content[f, n] * price[f] / 100 * buy[f] >= need[n];

end;
