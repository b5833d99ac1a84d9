// A small host in C++: reads a data file that the one in C has written.
#include <zdbcc.hpp>

int main(int argc, char** argv) {
  const zdbcc::Database db = argc == 2 ? zdbcc::Database(argv[1]) : zdbcc::Database();
  if (argc != 2) return 0;
  return db.symbol("price")[{"bread"}] == 2.5 ? 0 : 1;
}
