// A course over time, drawn by uPlot in the page's colours.

import { element } from "./dom.js";
import { moment } from "./format.js";

const HEIGHT = 190;
const SYNC = uPlot.sync("time");
const colour = (name) => getComputedStyle(document.documentElement).getPropertyValue(name).trim();

export class Plot {
  /** `format` makes a number a text with its unit; `low` is a least value of the axis, `ceiling` one of its largest. */
  constructor(parent, title, format, { low = null, ceiling = null } = {}) {
    Object.assign(this, { format, low, ceiling, title });
    this.box = element("div.plot-box");
    this.figure = element("figure.plot", {}, element("figcaption", {}, title), this.box);
    parent.append(this.figure);
    this.resizing = new ResizeObserver(() => this.chart?.setSize({ width: this.box.clientWidth, height: HEIGHT }));
    this.resizing.observe(this.box);
  }

  /** Draws `series`: [{label, values, hue}]; `hue` is the number of a colour, of which there are six, and otherwise the place. */
  show(times, series) {
    this.last = [times, series];
    // What began within the time is drawn from there on.
    const first = times.findIndex((_, i) => series.some(({ values }) => values[i] !== null));
    const start = Math.max(Math.min(first - 1, times.length - 12), 0);
    const data = [times, ...series.map(({ values }) => values)].map((column) => column.slice(start));
    const labels = series.map(({ label }) => label).join("\n");
    this.describe(series);
    if (this.chart && this.labels === labels) {
      this.chart.setData(data);
      this.chart.setLegend({ idx: data[0].length - 1 });
      return;
    }
    this.labels = labels;
    this.chart?.destroy();
    this.chart = null;
    this.box.replaceChildren();
    if (!series.some(({ values }) => values.some((value) => value !== null))) {
      this.labels = null;
      this.box.append(element("p.empty", {}, "Nothing was recorded in this time."));
      return;
    }
    this.chart = new uPlot(this.options(series), data, this.box);
    this.chart.setLegend({ idx: data[0].length - 1 });
  }

  options(series) {
    const axis = { stroke: colour("--muted"), grid: { stroke: colour("--line"), width: 1 }, ticks: { show: false },
                   font: "12px system-ui, sans-serif" };
    const range = (_, from, to) => {
      const low = this.low ?? from ?? 0;
      const high = Math.max(to ?? low, this.ceiling ?? -Infinity);
      return high > low ? [low, high + (high - low) * 0.08] : [low - 1, low + 1];
    };
    return {
      width: this.box.clientWidth, height: HEIGHT, cursor: { sync: { key: SYNC.key }, drag: { x: false, y: false } },
      // Where nobody points, the legend tells the last values.
      hooks: { setCursor: [(chart) => { if (chart.cursor.idx == null) chart.setLegend({ idx: chart.data[0].length - 1 }); }] },
      scales: { y: { range } },
      axes: [
        { ...axis, size: 30, space: 70, incrs: [60, 300, 600, 900, 1800, 3600, 7200, 14400, 21600, 43200, 86400, 172800],
          values: (_, ticks, __, ___, step) => ticks.map((tick) => clock(tick, step)) },
        { ...axis, size: 78, space: 34, values: (_, ticks) => ticks.map((tick) => this.format(tick)) },
      ],
      series: [
        { label: "Time", value: (_, time) => (time === null ? "" : moment(time)) },
        ...series.map(({ label, hue }, i) => ({
          label, stroke: colour(`--plot-${((hue ?? i) % 6) + 1}`), width: 1.75, points: { show: series.length < 3 ? undefined : false },
          fill: i === 0 && series.length < 3 && this.low === 0 ? `${colour("--plot-1")}22` : undefined, spanGaps: false,
          value: (_, value) => (value === null ? "–" : this.format(value)),
        })),
      ],
    };
  }

  describe(series) {
    const texts = series.map(({ label, values }) => {
      const there = values.filter((value) => value !== null);
      if (!there.length) return `${label}: nothing`;
      const range = `from ${this.format(Math.min(...there))} to ${this.format(Math.max(...there))}`;
      return `${label}: ${range}, at last ${this.format(there.at(-1))}`;
    });
    this.box.setAttribute("role", "img");
    this.box.setAttribute("aria-label", `${this.title}. ${texts.join("; ")}`);
  }

  recolour() {
    this.labels = null;
    if (this.last) this.show(...this.last);
  }

  close() {
    this.resizing.disconnect();
    this.chart?.destroy();
  }
}

function clock(seconds, step) {
  const time = new Date(seconds * 1000);
  const two = (number) => String(number).padStart(2, "0");
  const day = `${time.getDate()} ${time.toLocaleString("en", { month: "short" })}`;
  const midnight = time.getHours() === 0 && time.getMinutes() === 0;
  return step >= 86400 || midnight ? day : `${two(time.getHours())}:${two(time.getMinutes())}`;
}
