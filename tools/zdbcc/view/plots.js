// Pictures of the values of a slice, as SVG. Each function gets points {name, value} and the width
// there is, and returns the picture with a sentence that says what it shows.

const mostBars = 100;
const mostMapped = 100; // rows and columns of a heat map
const pictureHeight = 320;

/** Numbers at equal distances that enclose two others: {low, high, step}. */
function axisFor(least, most, intervals) {
  const width = Math.max(most > least ? most - least : Math.abs(most) || 1, 1e-300);
  const rough = width / intervals;
  const power = 10 ** Math.floor(Math.log10(rough));
  const step = [1, 2, 5, 10].find((times) => times * power >= rough * (1 - 1e-9)) * power;
  const low = Math.floor(least / step) * step;
  const high = Math.ceil(most / step) * step;
  return { low, high: high > low ? high : low + step, step };
}

function ticksOf(axis) {
  const count = Math.round((axis.high - axis.low) / axis.step);
  return Array.from({ length: count + 1 }, (_, i) =>
    Number((axis.low + i * axis.step).toPrecision(12)),
  );
}

function isPlain(point) {
  return Math.abs(rank(point.value)) <= 1e300; // beyond that, distances overflow
}

/** The points that have a number, which is that of Eps 0. */
function plainOf(points) {
  return points.filter(isPlain).map((point) => ({ ...point, value: rank(point.value) }));
}

function extremesOf(points) {
  let [least, most] = [points[0], points[0]];
  for (const point of points) {
    if (point.value < least.value) least = point;
    if (point.value > most.value) most = point;
  }
  return [least, most];
}

function summaryOf(points) {
  const plain = plainOf(points);
  if (plain.length === 0) return "There is no number to draw.";
  const [least, most] = extremesOf(plain);
  const mean = plain.reduce((sum, point) => sum + point.value, 0) / plain.length;
  const special = points.length - plain.length;
  return (
    `${counted(plain.length, "value")}, from ${shown(least.value)} (${least.name}) to ` +
    `${shown(most.value)} (${most.name}), mean ${shown(Number(mean.toPrecision(6)))}.` +
    (special > 0 ? ` ${counted(special, "special value")} without a place among them.` : "")
  );
}

function pictureOf(title, description, width, height, ...parts) {
  return draw(
    "svg",
    {
      role: "img",
      "aria-label": `${title}. ${description}`,
      width,
      height,
      viewBox: `0 0 ${width} ${height}`,
    },
    draw("title", {}, title),
    draw("desc", {}, description),
    ...parts,
  );
}

function words(x, y, anchor, text, kind = null) {
  return draw("text", { x, y, "text-anchor": anchor, class: kind }, text);
}

/** As much of a name as so many pixels hold. */
function shortened(name, pixels) {
  const letters = Math.max(3, Math.floor(pixels / 7.8));
  const all = Array.from(name);
  return all.length <= letters ? name : all.slice(0, letters - 1).join("") + "…";
}

/** Lines and numbers of a frame whose vertical axis has values. */
class Frame {
  constructor(axis, width) {
    this.axis = axis;
    this.left = 12 + 7.5 * Math.max(...ticksOf(axis).map((tick) => shown(tick).length));
    this.right = width - 12;
    [this.top, this.bottom] = [16, pictureHeight - 44];
  }

  x(part) {
    return this.left + part * (this.right - this.left);
  }

  y(value) {
    const part = (value - this.axis.low) / (this.axis.high - this.axis.low);
    return this.bottom - part * (this.bottom - this.top);
  }

  grid() {
    return ticksOf(this.axis).flatMap((tick) => [
      draw("path", {
        d: `M${this.left} ${this.y(tick)}H${this.right}`,
        class: tick === 0 ? "zero" : "line",
      }),
      words(this.left - 6, this.y(tick) + 4, "end", shown(tick)),
    ]);
  }

  under(text) {
    return words((this.left + this.right) / 2, this.bottom + 38, "middle", text);
  }
}

/** A bar beside each name. */
function drawBars(title, points, width) {
  const drawn = points.slice(0, mostBars);
  const plain = plainOf(drawn);
  if (plain.length === 0) return null;
  const [least, most] = extremesOf(plain);
  const axis = axisFor(Math.min(0, least.value), Math.max(0, most.value), 4);
  const nameWidth = Math.min(
    0.4 * width,
    12 + 7.5 * Math.max(...drawn.map((point) => point.name.length)),
  );
  const x = (value) =>
    nameWidth + ((value - axis.low) / (axis.high - axis.low)) * (width - nameWidth - 70);
  const parts = ticksOf(axis)
    .filter((tick) => tick === 0 || tick === axis.high || tick === axis.low)
    .flatMap((tick) => [
      draw("path", {
        d: `M${x(tick)} 20V${24 + 22 * drawn.length}`,
        class: tick === 0 ? "zero" : "line",
      }),
      words(x(tick), 14, "middle", shown(tick)),
    ]);
  drawn.forEach((point, i) => {
    const y = 26 + 22 * i;
    const value = isPlain(point) ? rank(point.value) : 0;
    parts.push(words(nameWidth - 8, y + 13, "end", shortened(point.name, nameWidth - 8)));
    parts.push(
      draw(
        "rect",
        {
          x: Math.min(x(0), x(value)),
          y,
          height: 18,
          width: Math.max(Math.abs(x(value) - x(0)), 0.5),
          class: value < 0 ? "mark below" : "mark",
        },
        draw("title", {}, `${point.name}: ${shown(point.value)}`),
      ),
    );
    parts.push(
      words(
        Math.max(x(0), x(value)) + 5,
        y + 13,
        "start",
        shown(point.value),
        isPlain(point) ? "value" : "special",
      ),
    );
  });
  const rest =
    points.length > drawn.length
      ? ` The first ${mostBars} of ${points.length.toLocaleString("en")} are drawn: choose a slice for others.`
      : "";
  const description = summaryOf(points) + rest;
  return {
    picture: pictureOf(title, description, width, 30 + 22 * drawn.length, ...parts),
    description,
  };
}

function drawCurve(title, points, width, under, isStepped) {
  const plain = plainOf(points);
  if (plain.length === 0) return null;
  const [least, most] = extremesOf(plain);
  const frame = new Frame(axisFor(least.value, most.value, 5), width);
  const last = isStepped ? plain.length : Math.max(plain.length - 1, 1);
  const stride = Math.ceil(plain.length / (2 * width)); // more cannot be seen
  let path = "";
  for (let i = 0; i < plain.length; i += stride) {
    const y = frame.y(plain[i].value).toFixed(1);
    const x = frame.x(i / last).toFixed(1);
    const end = frame.x(Math.min(i + stride, plain.length) / last).toFixed(1);
    path += isStepped
      ? `${i === 0 ? `M${x} ` : "V"}${y}H${end}`
      : `${i === 0 ? "M" : "L"}${x} ${y}`;
  }
  const parts = [...frame.grid(), draw("path", { d: path, class: "curve" }), frame.under(under)];
  const ends = isStepped ? ["0 %", "100 %"] : [plain[0].name, plain[plain.length - 1].name];
  const room = (frame.right - frame.left) / 2 - 10;
  parts.push(words(frame.left, frame.bottom + 18, "start", shortened(ends[0], room)));
  parts.push(words(frame.right, frame.bottom + 18, "end", shortened(ends[1], room)));
  const description = summaryOf(points);
  return { picture: pictureOf(title, description, width, pictureHeight, ...parts), description };
}

function drawLine(title, points, width) {
  return drawCurve(title, points, width, "in the order of the table", false);
}

function drawDuration(title, points, width) {
  const sorted = [...points].sort((a, b) => compareValues(a.value, b.value, -1));
  return drawCurve(title, sorted, width, "share of records with at least this value", true);
}

function drawHistogram(title, points, width) {
  const plain = plainOf(points);
  if (plain.length === 0) return null;
  const [least, most] = extremesOf(plain);
  const wanted = Math.min(Math.max(Math.ceil(2 * Math.sqrt(plain.length)), 5), Math.floor(width / 16));
  const bins = axisFor(least.value, most.value, wanted);
  const counts = new Array(Math.round((bins.high - bins.low) / bins.step)).fill(0);
  for (const { value } of plain) {
    counts[Math.min(Math.max(Math.floor((value - bins.low) / bins.step), 0), counts.length - 1)] +=
      1;
  }
  const highest = Math.max(...counts);
  const frame = new Frame(axisFor(0, highest, Math.min(4, highest)), width);
  const parts = frame.grid();
  counts.forEach((count, i) => {
    const from = frame.x(i / counts.length);
    const name = `${shown(bins.low + i * bins.step)} to ${shown(bins.low + (i + 1) * bins.step)}`;
    parts.push(
      draw(
        "rect",
        {
          x: from + 0.5,
          y: frame.y(count),
          class: "mark",
          width: Math.max(frame.x((i + 1) / counts.length) - from - 1, 0.5),
          height: frame.bottom - frame.y(count),
        },
        draw("title", {}, `${name}: ${counted(count, "record")}`),
      ),
    );
  });
  const axis = axisFor(bins.low, bins.high, Math.max(2, Math.floor(width / 130)));
  for (const tick of ticksOf(axis).filter((each) => each >= bins.low && each <= bins.high)) {
    const part = (tick - bins.low) / (bins.high - bins.low);
    parts.push(
      words(
        frame.x(part),
        frame.bottom + 18,
        part > 0.95 ? "end" : part < 0.05 ? "start" : "middle",
        shown(tick),
      ),
    );
  }
  parts.push(frame.under("value, and how many records have it"));
  const description = summaryOf(points);
  return { picture: pictureOf(title, description, width, pictureHeight, ...parts), description };
}

/**
 * A field for each pair of labels: `points` have {row, column, name, value}, of which the first two
 * are places in the dictionary.
 */
function drawHeatMap(title, points, width) {
  const plain = plainOf(points);
  if (plain.length === 0) return null;
  const places = (part) => [...new Set(points.map((point) => point[part]))].sort((a, b) => a - b);
  const [rows, columns] = [
    places("row").slice(0, mostMapped),
    places("column").slice(0, mostMapped),
  ];
  const [least, most] = extremesOf(plain);
  const size = Math.max(Math.abs(least.value), Math.abs(most.value)) || 1;
  const left = Math.min(
    0.35 * width,
    12 + 7.5 * Math.max(...rows.map((row) => data.dictionary[row].length)),
  );
  const top = Math.min(
    120,
    16 + 7 * Math.max(...columns.map((column) => data.dictionary[column].length)),
  );
  const cellWidth = (width - left - 8) / columns.length;
  const cellHeight = rows.length > 40 ? 15 : 20;
  const [xs, ys] = [columns, rows].map((list) => new Map(list.map((place, i) => [place, i])));
  const parts = points
    .filter((point) => ys.has(point.row) && xs.has(point.column))
    .map((point) => {
      const value = rank(point.value);
      const isNumber = Number.isFinite(value);
      return draw(
        "rect",
        {
          x: left + xs.get(point.column) * cellWidth,
          y: top + ys.get(point.row) * cellHeight,
          width: Math.max(cellWidth - 1, 0.5),
          height: cellHeight - 1,
          class: isNumber ? (value < 0 ? "mark below" : "mark") : "odd",
          "fill-opacity": isNumber ? 0.06 + 0.94 * Math.sqrt(Math.abs(value) / size) : null,
        },
        draw("title", {}, `${point.name}: ${shown(point.value)}`),
      );
    });
  rows.forEach((row, i) =>
    parts.push(
      words(
        left - 6,
        top + (i + 0.5) * cellHeight + 4,
        "end",
        shortened(data.dictionary[row], left - 10),
      ),
    ),
  );
  const stride = Math.ceil(16 / cellWidth);
  columns.forEach((column, i) => {
    if (i % stride > 0) return;
    const x = left + (i + 0.5) * cellWidth + 4;
    parts.push(
      draw(
        "text",
        { transform: `translate(${x} ${top - 6}) rotate(-60)` },
        shortened(data.dictionary[column], (top - 6) / Math.sin(Math.PI / 3)),
      ),
    );
  });
  const isCut = places("row").length > rows.length || places("column").length > columns.length;
  const description =
    summaryOf(points) +
    " The stronger the colour, the larger the value; red is below 0." +
    (isCut
      ? ` The first ${mostMapped} labels of each position are drawn: choose a slice for others.`
      : "");
  return {
    picture: pictureOf(title, description, width, top + rows.length * cellHeight + 8, ...parts),
    description,
  };
}

const plots = {
  bars: ["Bars", drawBars],
  line: ["Line", drawLine],
  duration: ["Duration curve", drawDuration],
  histogram: ["Histogram", drawHistogram],
  map: ["Heat map", drawHeatMap],
};
