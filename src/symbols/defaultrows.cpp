#include "symbols/defaultrows.h"

#include <limits>

namespace zdb {

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();

constexpr double DefRecVar[][5] = {
    {0, 0, 0, 0, 1},       // unknown
    {0, 0, 0, 1, 1},       // binary
    {0, 0, 0, 100, 1},     // integer
    {0, 0, 0, inf, 1},     // positive
    {0, 0, -inf, 0, 1},    // negative
    {0, 0, -inf, inf, 1},  // free
    {0, 0, 0, inf, 1},     // special ordered set, first kind
    {0, 0, 0, inf, 1},     // special ordered set, second kind
    {0, 0, 1, inf, 1},     // semicontinuous
    {0, 0, 1, 100, 1},     // semi-integer
};

constexpr double DefRecEqu[][5] = {
    {0, 0, 0, 0, 1},       // equality
    {0, 0, 0, inf, 1},     // greater or equal
    {0, 0, -inf, 0, 1},    // less or equal
    {0, 0, -inf, inf, 1},  // not binding
    {0, 0, 0, 0, 1},       // external
    {0, 0, 0, inf, 1},     // cone
    {0, 0, 0, 0, 1},       // logic
};

template <int Rows>
const double* rowOf(const double (&table)[Rows][5], int subtype) {
  return table[subtype >= 0 && subtype < Rows ? subtype : 0];
}

}  // namespace

const double* defaultVariableRow(int subtype) {
  return rowOf(DefRecVar, subtype);
}
const double* defaultEquationRow(int subtype) {
  return rowOf(DefRecEqu, subtype);
}

}  // namespace zdb
