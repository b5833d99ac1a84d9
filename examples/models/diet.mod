# The least-cost diet: which amounts of which foods hold what one adult needs a day, for the least
# money? Prices and contents are those of twelve foods in G. J. Stigler, "The Cost of Subsistence",
# Journal of Farm Economics 27(2), 1945; all 77 are in examples/diet/data. With the prices of 1939,
# five of the twelve are bought, for 0.1086622782 dollars a day, as among the 77.

set FOODS;
set NUTRIENTS;
param price1939{FOODS} > 0;                        # cents a unit
param price{food in FOODS} >= 0, default price1939[food];  # cents a unit
param content{FOODS, NUTRIENTS} >= 0;              # in one dollar's worth at the price of 1939
param daily{NUTRIENTS} >= 0;                       # a day

var buy{FOODS} >= 0;                               # units a day

minimize cost: sum{food in FOODS} price[food] / 100 * buy[food];  # dollars a day

s.t. need{n in NUTRIENTS}:
  sum{food in FOODS} content[food, n] * price1939[food] / 100 * buy[food] >= daily[n];

data;

# A unit: 10 lb. of flour, 15 lb. of potatoes, a quart of milk, a dozen eggs, a pound of the others.
param: FOODS: price1939 :=
  flour     36
  cornmeal  4.6
  oats      7.1
  bread     7.9
  milk      11
  eggs      32.6
  cheese    24.2
  liver     26.8
  cabbage   3.7
  potatoes  34
  spinach   8.1
  beans     5.9
;

# Calories in thousand kcal, protein and calcium in g, vitamin A in thousand IU, the others in mg.
param: NUTRIENTS: daily :=
  calories  3
  protein   70
  calcium   0.8
  iron      12
  A         5
  B1        1.8
  B2        2.7
  niacin    18
  C         75
;

param content:
              calories  protein  calcium     iron        A       B1       B2   niacin        C :=
  flour           44.7     1411        2      365        0     55.4     33.3      441        0
  cornmeal        36.0      897      1.7       99     30.9     17.4      7.9      106        0
  oats            25.3      907      5.1      341        0     37.1      8.9       64        0
  bread           15.0      488      2.5      115        0     13.8      8.5      126        0
  milk             6.1      310     10.5       18     16.8        4       16        7      177
  eggs             2.9      238      1.0       52     18.6      2.8      6.5        1        0
  cheese           7.4      448     16.4       19     28.1      0.8     10.3        4        0
  liver            2.2      333      0.2      139    169.2      6.4     50.8      316      525
  cabbage          2.6      125      4.0       36      7.2        9      4.5       26     5369
  potatoes        14.3      336      1.8      118      6.7     29.4      7.1      198     2522
  spinach          1.1      106        0      138    918.4      5.7     13.8       33     2755
  beans           26.9     1691     11.4      792        0     38.4     24.6      217        0
;

end;

