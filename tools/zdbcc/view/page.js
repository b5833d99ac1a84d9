// The page: a list of the symbols beside one of them, or beside a table of all. What is shown is in
// the address after the #, so that the browser's history works.

const mostLinks = 500;
const mostChoices = 200; // of a drop-down; more labels are searched

const main = document.getElementById("main");
const isNarrow = matchMedia("(max-width: 700px)");
const links = document.getElementById("links");

function addressOf(symbol) {
  return "#/" + encodeURIComponent(symbol.id);
}

function linkTo(name) {
  const symbol = findSymbol(name);
  return symbol === undefined ? name : make("a", { href: addressOf(symbol) }, name);
}

function listOf(names) {
  return names.flatMap((name, i) => (i === 0 ? [linkTo(name)] : [", ", linkTo(name)]));
}

function domainNames(symbol) {
  return symbol.domains.map((domain) => (domain.relaxed ? `'${domain.name}'` : domain.name));
}

/** All symbols, in a table. */
function makeOverview() {
  const columns = ["symbol", "type", "dim", "domains", "records", "text"].map((name) => ({
    name,
    isNumber: name === "dim" || name === "records",
  }));
  const cells = data.symbols.map((symbol) => [
    symbol.id,
    symbol.type,
    symbol.aliasOf ? "" : symbol.dimension,
    symbol.aliasOf ? `alias of ${symbol.aliasOf}` : domainNames(symbol).join(", "),
    symbol.aliasOf ? "" : symbol.records,
    symbol.text,
  ]);
  const grid = new Grid({
    caption: "Symbols",
    columns,
    content: (row, column) => cells[row][column],
    cell: (row, column) =>
      column === 0 ? make("a", { href: addressOf(data.symbols[row]) }, cells[row][0]) : null,
  });
  grid.show(cells.map((_, row) => row));
  return [make("h2", {}, "All symbols"), grid.element];
}

/** Tabs, of which the arrow keys choose one. `panels` are [name, element, onShow]. */
function makeTabs(label, panels) {
  const buttons = panels.map(([name], i) =>
    make(
      "button",
      {
        type: "button",
        role: "tab",
        id: `tab${i}`,
        "aria-controls": `panel${i}`,
        onclick: () => choose(i),
      },
      name,
    ),
  );
  const elements = panels.map(([, element], i) =>
    make("div", { role: "tabpanel", id: `panel${i}`, "aria-labelledby": `tab${i}` }, element),
  );
  function choose(chosen) {
    buttons.forEach((button, i) => {
      button.setAttribute("aria-selected", i === chosen);
      button.tabIndex = i === chosen ? 0 : -1;
      elements[i].hidden = i !== chosen;
    });
    panels[chosen][2]?.();
  }
  const list = make("div", { role: "tablist", "aria-label": label }, ...buttons);
  list.addEventListener("keydown", (event) => {
    const now = buttons.indexOf(document.activeElement);
    const places = { ArrowLeft: now - 1, ArrowRight: now + 1, Home: 0, End: buttons.length - 1 };
    if (places[event.key] === undefined) return;
    event.preventDefault();
    const next = (places[event.key] + buttons.length) % buttons.length;
    choose(next);
    buttons[next].focus();
  });
  choose(0);
  return [list, ...elements];
}

/** A drop-down for the labels of a position, or a field with suggestions where there are many. */
function makePosition(symbol, position, onChoice) {
  const places = labelsAt(symbol, allRows(symbol), position);
  const name = symbol.labelNames[position];
  if (places.length <= mostChoices) {
    return chooser(
      name,
      [["", "all"], ...places.map((place) => [String(place), data.dictionary[place]])],
      "",
      (value) => onChoice(value === "" ? null : Number(value)),
    );
  }
  const id = `labels${position}`;
  const byLabel = new Map(places.map((place) => [data.dictionary[place].toLowerCase(), place]));
  const input = make("input", {
    type: "search",
    list: id,
    placeholder: "all",
    oninput: () => {
      const text = input.value.trim().toLowerCase();
      const place = byLabel.get(text) ?? byLabel.get(input.value.toLowerCase());
      input.setAttribute("aria-invalid", text !== "" && place === undefined);
      if (text === "" || place !== undefined) onChoice(text === "" ? null : place);
    },
  });
  return make(
    "label",
    { class: "field" },
    make("span", {}, name),
    input,
    make(
      "datalist",
      { id },
      ...places.map((place) => make("option", { value: data.dictionary[place] })),
    ),
  );
}

/** The part of a symbol that is looked at, and the controls that choose it. */
class SliceChoice {
  constructor(symbol, onChange) {
    this.symbol = symbol;
    this.chosen = new Array(symbol.dimension).fill(null);
    this.element = make(
      "fieldset",
      { class: "controls" },
      make("legend", {}, "Slice"),
      ...this.chosen.map((_, position) =>
        makePosition(symbol, position, (place) => {
          this.chosen[position] = place;
          onChange();
        }),
      ),
    );
    this.element.hidden = symbol.dimension === 0;
  }

  rows() {
    return allRows(this.symbol).filter((row) =>
      this.chosen.every(
        (place, position) => place === null || this.symbol.keys[position][row] === place,
      ),
    );
  }

  /** The positions that have no label. */
  free() {
    return this.chosen.flatMap((place, position) => (place === null ? [position] : []));
  }

  nameOf(row) {
    const free = this.free();
    const positions = free.length > 0 ? free : this.chosen.map((_, position) => position);
    return (
      positions.map((position) => labelOf(this.symbol, row, position)).join(", ") ||
      this.symbol.name
    );
  }
}

/** A picture of the slice, and the controls that choose which. */
class PlotPanel {
  constructor(symbol, slice) {
    Object.assign(this, { symbol, slice, column: 0, width: 0 });
    const is2d = symbol.dimension >= 2;
    this.kind = is2d ? "map" : symbol.size > mostBars ? "duration" : "bars";
    const kinds = Object.entries(plots)
      .filter(([kind]) => kind !== "map" || is2d)
      .map(([kind, [name]]) => [kind, name]);
    this.axes = make("span", { class: "controls" });
    this.place = make("figure");
    this.element = make(
      "div",
      {},
      make(
        "div",
        { class: "controls" },
        chooser("Picture", kinds, this.kind, (kind) => this.set({ kind })),
        symbol.valueNames.length > 1
          ? chooser(
              "Values",
              symbol.valueNames.map((name, i) => [String(i), name]),
              "0",
              (value) => this.set({ column: Number(value) }),
            )
          : "",
        this.axes,
      ),
      this.place,
    );
    new ResizeObserver(() => this.place.clientWidth !== this.width && this.update()).observe(
      this.place,
    );
  }

  set(change) {
    Object.assign(this, change);
    this.update();
  }

  update() {
    this.width = this.place.clientWidth;
    if (this.width === 0) return; // behind another tab
    this.offerAxes();
    const result = this.picture();
    this.place.replaceChildren(
      ...(typeof result === "string"
        ? [make("p", {}, result)]
        : [result.picture, make("figcaption", {}, result.description)]),
    );
  }

  /** Which positions are rows and columns of a heat map. */
  offerAxes() {
    const free = this.slice.free();
    this.pair = (this.pair ?? []).filter((position) => free.includes(position));
    this.pair.push(...free.filter((position) => !this.pair.includes(position)));
    this.axes.hidden = this.kind !== "map" || free.length < 2;
    const choices = free.map((position) => [String(position), this.symbol.labelNames[position]]);
    const put = (i, value) => {
      const other = this.pair[i];
      this.pair[this.pair.indexOf(Number(value))] = other;
      this.pair[i] = Number(value);
      this.update();
      this.axes.querySelectorAll("select")[i].focus();
    };
    this.axes.replaceChildren(
      ...["Rows", "Columns"]
        .slice(0, Math.min(2, free.length))
        .map((name, i) => chooser(name, choices, String(this.pair[i]), (value) => put(i, value))),
    );
  }

  picture() {
    const values = this.symbol.values[this.column];
    const rows = this.slice.rows();
    const title = `${this.symbol.id}, ${this.symbol.valueNames[this.column]}: ${plots[this.kind][0]}`;
    const points = rows.map((row) => ({ name: this.slice.nameOf(row), value: values[row] }));
    if (this.kind === "map") {
      const free = this.slice.free();
      if (free.length < 2) return "A heat map needs two positions without a label.";
      rows.forEach((row, i) => {
        points[i].row = this.symbol.keys[this.pair[0]][row];
        points[i].column = this.symbol.keys[this.pair[1]][row];
      });
      if (new Set(points.map((point) => `${point.row} ${point.column}`)).size < points.length) {
        return `A heat map shows two positions: choose a label for ${
          free.length === 3 ? "one" : free.length - 2
        } of ${free.length}, in the slice.`;
      }
    }
    return plots[this.kind][1](title, points, this.width) ?? "There is no number to draw.";
  }
}

function makeFacts(symbol) {
  const facts = [["Type", [symbol.type]]];
  if (symbol.aliasOf) {
    facts.push(["Alias of", [linkTo(symbol.aliasOf)]]);
  } else {
    facts.push(
      ["Dimension", [String(symbol.dimension)]],
      ["Records", [symbol.records.toLocaleString("en")]],
    );
    if (symbol.dimension > 0) {
      facts.push([
        "Domains",
        symbol.domains.flatMap((domain, i) => [
          i === 0 ? "" : ", ",
          domain.relaxed ? `'${domain.name}'` : linkTo(domain.name),
        ]),
      ]);
    }
  }
  const users = data.symbols
    .filter((other) =>
      other.domains.some((domain) => !domain.relaxed && domain.name === symbol.name),
    )
    .map((other) => other.id);
  if (users.length > 0) facts.push(["Domain of", listOf(users)]);
  return make(
    "dl",
    {},
    ...facts.map(([name, parts]) =>
      make("div", {}, make("dt", {}, name), make("dd", {}, ...parts)),
    ),
  );
}

function notesOf(symbol) {
  const notes = [];
  if (symbol.problem) notes.push(`The records after these cannot be read: ${symbol.problem}`);
  if (symbol.isCut) {
    notes.push(
      `The page has the first ${counted(symbol.size, "record")}${
        symbol.isSlice ? " of the slice" : ` of ${symbol.records.toLocaleString("en")}`
      }; ` + "tables and pictures show these. zdbcc view takes slices, and --rows.",
    );
  }
  return notes.map((note) => make("p", { class: "note" }, note));
}

/** Everything about a symbol. */
function makeSymbol(symbol) {
  const parts = [make("h2", {}, symbol.id)];
  if (symbol.text) parts.push(make("p", {}, symbol.text));
  parts.push(makeFacts(symbol), ...notesOf(symbol));
  if (symbol.size === 0) return parts;
  const grid = new Grid({
    caption: symbol.id,
    columns: symbol.columns.map((name, i) => ({
      name,
      isNumber: !symbol.isText && i >= symbol.dimension,
    })),
    content: (row, column) => contentOf(symbol, row, column),
  });
  const slice = new SliceChoice(symbol, () => {
    grid.show(slice.rows());
    plot?.update();
  });
  const plot = symbol.isText ? null : new PlotPanel(symbol, slice);
  grid.show(slice.rows());
  parts.push(slice.element);
  const panels = [["Table", grid.element]];
  if (plot !== null) panels.push(["Picture", plot.element, () => plot.update()]);
  return parts.concat(plot === null ? [grid.element] : makeTabs(`Views of ${symbol.id}`, panels));
}

/** The links to all symbols, or to those that have a text in their names or texts. */
function listSymbols(text) {
  const words = text.toLowerCase().split(/\s+/);
  const found = data.symbols.filter((symbol) =>
    words.every((word) =>
      `${symbol.id} ${symbol.type} ${symbol.text}`.toLowerCase().includes(word),
    ),
  );
  links.replaceChildren(
    ...found
      .slice(0, mostLinks)
      .map((symbol) =>
        make(
          "li",
          {},
          make(
            "a",
            { href: addressOf(symbol) },
            make("b", {}, symbol.id),
            " ",
            make(
              "span",
              {},
              symbol.aliasOf
                ? `alias of ${symbol.aliasOf}`
                : `${symbol.type} · ${counted(symbol.records, "record")}`,
            ),
          ),
        ),
      ),
  );
  const rest = found.length - mostLinks;
  document.getElementById("found").textContent =
    rest > 0
      ? `and ${counted(rest, "more symbol")}: search for them`
      : text === ""
        ? ""
        : counted(found.length, "symbol");
  markLink();
}

function markLink() {
  for (const link of document.querySelectorAll("nav a")) {
    const isCurrent = link.getAttribute("href") === (location.hash || "#/");
    isCurrent ? link.setAttribute("aria-current", "page") : link.removeAttribute("aria-current");
  }
}

/** The symbol that the address names. */
function addressed() {
  try {
    return findSymbol(decodeURIComponent(location.hash.slice(2)));
  } catch {
    return undefined; // an address that was written by hand
  }
}

function show(isFirst) {
  const symbol = addressed();
  main.replaceChildren(...(symbol === undefined ? makeOverview() : makeSymbol(symbol)));
  document.title = (symbol === undefined ? "" : `${symbol.id} · `) + data.file;
  markLink();
  if (isFirst) return;
  if (isNarrow.matches) document.querySelector("nav details").open = false;
  main.focus({ preventScroll: true });
  const { top } = main.getBoundingClientRect();
  if (top < 0 || isNarrow.matches) main.scrollIntoView();
}

document.querySelector("h1").textContent = data.file;
document.getElementById("about").textContent = [
  counted(data.labels, "label"),
  counted(data.symbols.length, "symbol"),
  counted(data.bytes, "byte"),
  data.producer,
]
  .filter(Boolean)
  .join(" · ");
const search = document.getElementById("search");
search.addEventListener("input", () => listSymbols(search.value));
document.querySelector("nav details").open = !isNarrow.matches;
document.querySelector(".skip").addEventListener("click", (event) => {
  event.preventDefault();
  main.focus();
});
window.addEventListener("hashchange", () => show(false));
listSymbols("");
show(true);
