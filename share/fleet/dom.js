// Elements in one expression each.

/** An element with properties and children; texts are never markup. null and false are left out. */
export function element(name, properties = {}, ...children) {
  const [tag, ...classes] = name.split(".");
  const made = document.createElement(tag);
  made.classList.add(...classes);
  for (const [key, value] of Object.entries(properties)) {
    if (key in made && key !== "list") made[key] = value;
    else made.setAttribute(key, value);
  }
  made.append(...children.flat().filter((child) => child !== null && child !== false));
  return made;
}

/** Sets a text only where it differs: a wall of a thousand tiles repaints what has changed. */
export function setText(target, text) {
  if (target.textContent !== text) target.textContent = text;
}

/** A small course without axes, drawn from the least to the largest value. */
export function sparkline(values, low, high) {
  const svg = document.createElementNS("http://www.w3.org/2000/svg", "svg");
  svg.setAttribute("viewBox", "0 0 100 20");
  svg.setAttribute("preserveAspectRatio", "none");
  svg.setAttribute("class", "spark");
  svg.setAttribute("aria-hidden", "true");
  const path = document.createElementNS(svg.namespaceURI, "path");
  let pen = "M";
  let drawn = "";
  values.forEach((value, i) => {
    if (value === null) { pen = "M"; return; }
    const x = (100 * i) / Math.max(values.length - 1, 1);
    const y = 18 - (16 * (Math.min(Math.max(value, low), high) - low)) / (high - low);
    drawn += `${pen}${x.toFixed(1)} ${y.toFixed(1)}`;
    pen = "L";
  });
  path.setAttribute("d", drawn);
  svg.append(path);
  return svg;
}
