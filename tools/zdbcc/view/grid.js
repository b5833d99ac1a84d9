// A table that is sorted by its headings, filtered by words and walked with the arrow keys; it shows
// a hundred rows at a time, and all of them on paper.

const rowsOfPage = 100;

let shownGrid = null; // the one that is on the page
for (const isPrinted of [true, false]) {
  window.addEventListener(isPrinted ? "beforeprint" : "afterprint", () =>
    shownGrid?.showWhole(isPrinted),
  );
}

class Grid {
  /**
   * `columns` are {name, isNumber}; `content(row, column)` gives a text or a number, and
   * `cell(row, column)`, if it is there, what stands in the table in its place.
   */
  constructor({ caption, columns, content, cell }) {
    Object.assign(this, { columns, content, cell, rows: [], page: 0, sorted: null, direction: 1 });
    this.words = [];
    this.body = make("tbody");
    this.buttons = columns.map((column, i) =>
      make("button", { type: "button", onclick: () => this.sortBy(i) }, column.name),
    );
    this.headings = this.buttons.map((button, i) =>
      make("th", { scope: "col", class: columns[i].isNumber ? "number" : null }, button),
    );
    this.table = make(
      "table",
      { role: "grid", "aria-colcount": columns.length },
      make("caption", {}, caption),
      make("thead", {}, make("tr", { "aria-rowindex": 1 }, ...this.headings)),
      this.body,
    );
    this.table.addEventListener("keydown", (event) => this.onKey(event));
    this.table.addEventListener("focusin", (event) => this.keepFocus(event.target));
    this.status = make("p", { class: "status", role: "status" });
    this.back = make("button", { type: "button", onclick: () => this.turn(-1) }, "Previous rows");
    this.next = make("button", { type: "button", onclick: () => this.turn(1) }, "Next rows");
    this.search = make("input", { type: "search", oninput: () => this.filter(this.search.value) });
    this.element = make(
      "div",
      {},
      make(
        "div",
        { class: "controls" },
        make("label", { class: "field" }, make("span", {}, "Filter"), this.search),
        this.status,
      ),
      make("div", { class: "scroll" }, this.table),
      make(
        "div",
        { class: "controls pager" },
        this.back,
        this.next,
        make("span", { class: "hint" }, "When printed, the table has all its rows."),
      ),
    );
  }

  /** Has the table show these rows, given by number. */
  show(rows) {
    shownGrid = this;
    this.rows = rows;
    this.update();
  }

  filter(text) {
    this.words = text
      .toLowerCase()
      .split(/\s+/)
      .filter((word) => word !== "");
    this.update();
  }

  /** Ascending, descending, then as the file has it. */
  sortBy(column) {
    if (this.sorted !== column) {
      [this.sorted, this.direction] = [column, 1];
    } else if (this.direction === 1) {
      this.direction = -1;
    } else {
      this.sorted = null;
    }
    this.update();
  }

  /** All rows that are found, or again a hundred of them. */
  showWhole(isWhole) {
    this.isWhole = isWhole;
    this.render();
  }

  turn(pages) {
    const last = Math.max(0, Math.ceil(this.found.length / rowsOfPage) - 1);
    this.page = Math.min(Math.max(this.page + pages, 0), last);
    this.render();
  }

  update() {
    this.found = this.words.length === 0 ? this.rows : this.rows.filter((row) => this.has(row));
    if (this.sorted !== null) this.found = [...this.found].sort((a, b) => this.compare(a, b));
    this.page = 0;
    this.render();
  }

  has(row) {
    const text = this.columns
      .map((_, i) => shown(this.content(row, i)))
      .join("\n")
      .toLowerCase();
    return this.words.every((word) => text.includes(word));
  }

  compare(a, b) {
    const [x, y] = [this.content(a, this.sorted), this.content(b, this.sorted)];
    return this.columns[this.sorted].isNumber
      ? compareValues(x, y, this.direction)
      : this.direction * collator.compare(x, y);
  }

  render() {
    const first = this.isWhole ? 0 : this.page * rowsOfPage;
    const rows = this.found.slice(first, this.isWhole ? undefined : first + rowsOfPage);
    this.body.replaceChildren(
      ...rows.map((row, i) =>
        make(
          "tr",
          { "aria-rowindex": first + i + 2 },
          ...this.columns.map((_, c) => this.makeCell(row, c)),
        ),
      ),
    );
    this.headings.forEach((heading, i) => {
      const order = this.direction === 1 ? "ascending" : "descending";
      heading.setAttribute("aria-sort", this.sorted === i ? order : "none");
    });
    this.table.setAttribute("aria-rowcount", this.found.length + 1);
    this.back.disabled = this.page === 0;
    this.next.disabled = first + rows.length >= this.found.length;
    this.back.parentElement.hidden = this.back.disabled && this.next.disabled;
    this.status.textContent = this.describe(first, rows.length);
    this.keepFocus(this.cellAt(1, 0) ?? this.buttons[0]);
  }

  describe(first, count) {
    const filtered = this.words.length > 0 ? ` of ${this.rows.length.toLocaleString("en")}` : "";
    const all = counted(this.found.length, "row") + filtered;
    return count === this.found.length
      ? all
      : `Rows ${(first + 1).toLocaleString("en")} to ${(first + count).toLocaleString("en")}; ${all}`;
  }

  makeCell(row, column) {
    const content = this.content(row, column);
    const isSpecial =
      this.columns[column].isNumber && typeof content === "string" && content !== "";
    const kind = [this.columns[column].isNumber && "number", isSpecial && "special"].filter(
      Boolean,
    );
    const text = shown(content);
    // All digits, where the table has fewer.
    const title = typeof content === "number" && text !== String(content) ? String(content) : null;
    return make(
      "td",
      { tabindex: -1, class: kind.join(" ") || null, title },
      this.cell?.(row, column) ?? text,
    );
  }

  // Row 0 is the heading.
  cellAt(row, column) {
    if (row === 0) return this.buttons[column];
    const cell = this.body.rows[row - 1]?.cells[column];
    return cell?.querySelector("a") ?? cell;
  }

  /** Only one place of the table is reached with Tab, the one that had the focus last. */
  keepFocus(target) {
    const place = this.placeOf(target);
    if (place === null) return;
    if (this.place !== undefined) this.place.tabIndex = -1;
    for (const link of this.body.querySelectorAll("a")) link.tabIndex = -1;
    for (const button of this.buttons) button.tabIndex = -1;
    this.place = target;
    target.tabIndex = 0;
  }

  placeOf(target) {
    const cell = target.closest("td, th");
    return cell === null
      ? null
      : [
          cell.parentElement.parentElement === this.body ? cell.parentElement.rowIndex : 0,
          cell.cellIndex,
        ];
  }

  onKey(event) {
    const place = this.placeOf(event.target);
    if (place === null || event.altKey || event.metaKey) return;
    const target = this.targetOf(event, ...place);
    if (target === undefined) return;
    event.preventDefault();
    target?.focus();
  }

  /** Where a key leads from a place; undefined if it is none of the table's keys. */
  targetOf(event, row, column) {
    const [lastRow, lastColumn] = [this.body.rows.length, this.columns.length - 1];
    switch (event.key) {
      case "ArrowUp":
        return this.cellAt(Math.max(row - 1, 0), column);
      case "ArrowDown":
        return this.cellAt(Math.min(row + 1, lastRow), column);
      case "ArrowLeft":
        return this.cellAt(row, Math.max(column - 1, 0));
      case "ArrowRight":
        return this.cellAt(row, Math.min(column + 1, lastColumn));
      case "Home":
        return this.cellAt(event.ctrlKey ? 0 : row, 0);
      case "End":
        return this.cellAt(event.ctrlKey ? lastRow : row, lastColumn);
      case "PageUp":
      case "PageDown":
        this.turn(event.key === "PageUp" ? -1 : 1);
        return this.cellAt(Math.min(Math.max(row, 1), this.body.rows.length), column);
      default:
        return undefined;
    }
  }
}
