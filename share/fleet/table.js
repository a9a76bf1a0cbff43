// A table that its reader sorts.

import { element } from "./dom.js";

export class Table {
  /**
   * `columns`: [{name, cell: (row) => text or element, sort: (row) => number or text, right, wide}]. What is right is aligned
   * so; what is wide is left out on a narrow screen. `sorted` is the first order: a column's number, negative downwards from -1.
   */
  constructor(caption, columns, sorted) {
    this.columns = columns;
    this.by = sorted < 0 ? -sorted - 1 : sorted;
    this.down = sorted < 0;
    this.rows = [];
    this.heads = columns.map(({ name, right, wide }, i) => {
      const button = element("button", { type: "button" }, name);
      button.addEventListener("click", () => this.sortBy(i));
      return element("th", { scope: "col", className: `${right ? "right" : ""} ${wide ? "wide" : ""}` }, button);
    });
    this.body = element("tbody");
    this.element = element("table", {}, element("caption", {}, caption), element("thead", {}, element("tr", {}, this.heads)), this.body);
  }

  sortBy(column) {
    this.down = this.by === column ? !this.down : Boolean(this.columns[column].right);
    this.by = column;
    this.show(this.rows);
  }

  show(rows) {
    this.rows = rows;
    const key = this.columns[this.by].sort;
    const ordered = [...rows].sort((a, b) => compare(key(a), key(b)) * (this.down ? -1 : 1));
    this.heads.forEach((head, i) => { head.ariaSort = i !== this.by ? "none" : this.down ? "descending" : "ascending"; });
    this.body.replaceChildren(...ordered.map((row) => element("tr", {}, this.columns.map(({ cell, right, wide }) =>
      element("td", { className: `${right ? "right" : ""} ${wide ? "wide" : ""}` }, cell(row))))));
  }
}

function compare(a, b) {
  if (typeof a === "string") return a.localeCompare(b ?? "", "en", { numeric: true });
  return (a ?? -Infinity) - (b ?? -Infinity) || 0;
}
