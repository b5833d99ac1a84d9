# Makes the tables that doc/howto/domains.md names; runs in the folder of documents_test.py.
[ $# = 0 ] || exit 0
printf '%s\n' food tea milk >lunch-foods.csv
printf '%s\n' food,price tea,2.5 cake,3 >lunch-orders.csv
