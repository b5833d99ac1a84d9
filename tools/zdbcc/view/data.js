// The data of the page: symbols in columns, whose labels are places in one dictionary.

const data = JSON.parse(document.getElementById("data").textContent);

/** What special values are worth when values are ordered; those that are missing have no number. */
const specialOrder = { "-Inf": -Infinity, "+Inf": Infinity, Eps: 0, NA: NaN, Undef: NaN };

const collator = new Intl.Collator(undefined, { numeric: true });

for (const symbol of data.symbols) {
  symbol.labelNames = symbol.columns.slice(0, symbol.dimension);
  symbol.valueNames = symbol.columns.slice(symbol.dimension);
  symbol.isText = symbol.type === "set";
  symbol.size = symbol.shown;
}

const byName = new Map(data.symbols.map((symbol) => [symbol.id.toLowerCase(), symbol]));

/** The symbol of that name, which for an alias is its set; undefined if the page has none. */
function findSymbol(name) {
  return byName.get(name.toLowerCase());
}

function labelOf(symbol, row, position) {
  return data.dictionary[symbol.keys[position][row]];
}

/** What a cell holds: a text, or a number. */
function contentOf(symbol, row, column) {
  return column < symbol.dimension
    ? labelOf(symbol, row, column)
    : symbol.values[column - symbol.dimension][row];
}

/** A value for people: ten digits, special values by name. */
function shown(content) {
  return typeof content === "number" ? String(Number(content.toPrecision(10))) : (content ?? "nan");
}

/** The number for which a value stands in an order, NaN for one that is missing. */
function rank(value) {
  return typeof value === "number" ? value : (specialOrder[value] ?? NaN);
}

/** Of values, the missing ones come last in either direction. */
function compareValues(a, b, direction) {
  const [x, y] = [rank(a), rank(b)];
  if (Number.isNaN(x) || Number.isNaN(y)) return Number.isNaN(x) - Number.isNaN(y);
  return direction * ((x > y) - (x < y));
}

/** The labels, by place in the dictionary, that a position has in these rows, in their order. */
function labelsAt(symbol, rows, position) {
  return [...new Set(rows.map((row) => symbol.keys[position][row]))].sort((a, b) => a - b);
}

function allRows(symbol) {
  return Array.from({ length: symbol.size }, (_, row) => row);
}
