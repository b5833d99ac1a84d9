// Elements of the page, made without any markup from the data.

const svgNamespace = "http://www.w3.org/2000/svg";

function fill(element, attributes, children) {
  for (const [name, value] of Object.entries(attributes)) {
    if (name.startsWith("on")) {
      element.addEventListener(name.slice(2), value);
    } else if (value === true) {
      element.setAttribute(name, "");
    } else if (value !== false && value !== undefined && value !== null) {
      element.setAttribute(name, value);
    }
  }
  element.append(...children);
  return element;
}

/** An element of HTML; `onclick` and the like are listeners, null and false leave an attribute out. */
function make(tag, attributes = {}, ...children) {
  return fill(document.createElement(tag), attributes, children);
}

/** The same of SVG. */
function draw(tag, attributes = {}, ...children) {
  return fill(document.createElementNS(svgNamespace, tag), attributes, children);
}

/** A drop-down with [value, text] for each choice. */
function chooser(label, choices, chosen, onChoice) {
  const select = make("select", { onchange: () => onChoice(select.value) });
  for (const [value, text] of choices) {
    select.append(make("option", { value, selected: value === chosen }, text));
  }
  return make("label", { class: "field" }, make("span", {}, label), select);
}

function counted(count, what) {
  return `${count.toLocaleString("en")} ${what}${count === 1 ? "" : "s"}`;
}
