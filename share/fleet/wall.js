// The wall: one tile a device.

import * as address from "./address.js";
import { element, setText } from "./dom.js";
import { bitrate, count, dbm, quality } from "./format.js";
import { values } from "./prometheus.js";

const QUERIES = {
  up: "instance:zolarc_up:max",
  stations: "instance:zolarc_stations:count",
  transmit: "instance:zolarc_transmit:bps",
  receive: "instance:zolarc_receive:bps",
  signal: "instance:zolarc_signal_dbm:min",
  info: "instance:zolarc_device:info",
  alerts: 'ALERTS{alertname=~"Zolarc.+", alertstate="firing"}',
};

const byName = (a, b) => a.name.localeCompare(b.name, "en", { numeric: true });
const most = (key) => (a, b) => (b[key] ?? -1) - (a[key] ?? -1) || byName(a, b);
const SORTS = {
  trouble: ["Trouble first", (a, b) => b.rank - a.rank || byName(a, b)],
  name: ["Name", byName],
  stations: ["Most stations", most("stations")],
  traffic: ["Most traffic", most("traffic")],
  signal: ["Weakest signal", (a, b) => (a.signal ?? 0) - (b.signal ?? 0) || byName(a, b)],
  firmware: ["Firmware", (a, b) => a.firmware.localeCompare(b.firmware, "en", { numeric: true }) || byName(a, b)],
};
const SHOWS = {
  all: ["All", () => true],
  alerts: ["With alerts", (device) => device.alerts.length > 0],
  silent: ["Silent", (device) => !device.up],
  empty: ["Without stations", (device) => device.up && device.stations === 0],
};
const SEVERITIES = ["info", "warning", "critical"];

/** Every device of the fleet: the answers to QUERIES joined by instance. */
function devicesOf(answers) {
  const devices = new Map();
  for (const { labels, value } of answers.up) {
    devices.set(labels.instance, { instance: labels.instance, name: labels.instance, model: "", firmware: "", up: value > 0,
                                   alerts: [], rank: value > 0 ? 0 : 9 });
  }
  for (const key of ["stations", "transmit", "receive", "signal"]) {
    for (const { labels, value } of answers[key]) {
      const device = devices.get(labels.instance);
      if (device?.up) device[key] = value;
    }
  }
  for (const { labels } of answers.info) {
    const device = devices.get(labels.instance);
    if (device) Object.assign(device, { name: labels.apName || labels.instance, model: labels.apModel, firmware: labels.fwVersion });
  }
  for (const { labels } of answers.alerts) {
    const device = devices.get(labels.instance);
    if (!device) continue;
    device.alerts.push(labels.alertname.replace(/^Zolarc/, "").replace(/\B[A-Z]/g, (letter) => ` ${letter.toLowerCase()}`));
    device.rank = Math.max(device.rank, 1 + SEVERITIES.indexOf(labels.severity));
  }
  for (const device of devices.values()) {
    if (device.up) device.traffic = (device.transmit ?? 0) + (device.receive ?? 0);
    device.searched = `${device.name} ${device.instance} ${device.model} ${device.firmware}`.toLowerCase();
  }
  return devices;
}

const state = (device) => (!device.up ? "silent" : ["up", "info", "warning", "critical"][device.rank]);

class Tile {
  constructor(instance) {
    const field = (name) => (this[name] = element(`span.${name}`));
    this.link = element("a.tile", { tabIndex: -1 },
      element("span.top", {}, element("span.mark", { ariaHidden: "true" }), field("name")),
      element("span.middle", {}, field("stations"), field("signal")),
      field("traffic"), field("firmware"), field("alerts"));
    this.instance = instance;
  }

  show(device) {
    this.link.href = address.link("device", device.instance);
    this.link.dataset.state = state(device);
    this.signal.dataset.quality = quality(device.signal);
    setText(this.name, device.name);
    setText(this.stations, device.up ? count(device.stations, "station") : "silent");
    setText(this.signal, device.signal === undefined ? "" : dbm(device.signal));
    setText(this.traffic, device.up ? `↓ ${bitrate(device.transmit)}  ↑ ${bitrate(device.receive)}` : device.instance);
    const alerts = device.alerts.join(", ");
    setText(this.firmware, device.firmware || "–");
    setText(this.alerts, alerts);
    this.link.title = `${device.instance}\n${device.model}\n${device.firmware}${alerts && `\n${alerts}`}`;
  }
}

function choice(label, key, options) {
  const select = element("select", { ariaLabel: label },
    Object.entries(options).map(([value, [name]]) => element("option", { value }, name)));
  select.addEventListener("change", () => address.change({ [key]: select.value }));
  return select;
}

export function openWall(content) {
  const tiles = new Map();
  const summary = element("p.summary", { role: "status" });
  const sort = choice("Order", "sort", SORTS);
  const show = choice("Show", "show", SHOWS);
  const wall = element("nav.wall", { ariaLabel: "Devices" });
  const empty = element("p.empty", { hidden: true });
  content.append(element("div.bar", {}, summary, show, sort), wall, empty);
  let devices = new Map();
  let asked;

  function draw({ q, sort: order, show: which }) {
    sort.value = order;
    show.value = which;
    const words = q.toLowerCase().split(/\s+/);
    const wanted = [...devices.values()].filter((device) =>
      (SHOWS[which] ?? SHOWS.all)[1](device) && words.every((word) => device.searched.includes(word)));
    wanted.sort((SORTS[order] ?? SORTS.trouble)[1]);
    const links = wanted.map((device) => {
      const tile = tiles.get(device.instance) ?? new Tile(device.instance);
      tiles.set(device.instance, tile);
      tile.show(device);
      return tile.link;
    });
    if (links.length !== wall.children.length || links.some((link, i) => wall.children[i] !== link)) {
      const focused = document.activeElement;
      wall.replaceChildren(...links);
      if (wall.contains(focused)) focused.focus();
    }
    // One stop of the tabulator for the whole wall; arrows go on from there.
    if (!links.some((link) => link.tabIndex === 0) && links.length) links[0].tabIndex = 0;
    empty.hidden = links.length > 0;
    empty.textContent = devices.size ? "No device is like that." : "Prometheus watches no device. Are the jobs named zolarc_…, and the rules loaded?";
    summarize(wanted.length);
  }

  function summarize(drawn) {
    const all = [...devices.values()];
    const sum = (key) => all.reduce((total, device) => total + (device[key] ?? 0), 0);
    const silent = all.filter((device) => !device.up).length;
    const alerts = all.reduce((total, device) => total + device.alerts.length, 0);
    const parts = [
      [drawn === all.length ? count(drawn, "device") : `${drawn.toLocaleString("en")} of ${count(all.length, "device")}`],
      [count(sum("stations"), "station")],
      [`↓ ${bitrate(sum("transmit"))}  ↑ ${bitrate(sum("receive"))}`],
      [silent ? `${count(silent)} silent` : "none silent", silent ? "critical" : "good"],
      [alerts ? count(alerts, "alert") : "no alerts", alerts ? "warning" : "good"],
    ];
    summary.replaceChildren(...parts.map(([text, tone = ""]) => element("span", { className: tone }, text)));
  }

  function move(event) {
    const links = [...wall.children];
    const at = links.indexOf(document.activeElement);
    const columns = getComputedStyle(wall).gridTemplateColumns.split(" ").length;
    const step = { ArrowRight: 1, ArrowLeft: -1, ArrowDown: columns, ArrowUp: -columns }[event.key];
    if (event.key !== "Home" && event.key !== "End" && !step) return;
    if (at < 0 && !event.key.startsWith("Arrow")) return;
    const to = event.key === "Home" ? 0 : event.key === "End" ? links.length - 1 : at < 0 ? 0 : at + step;
    if (!links[to]) return;
    event.preventDefault();
    for (const link of links) link.tabIndex = -1;
    links[to].tabIndex = 0;
    links[to].focus();
  }

  return {
    async update(wanted) {
      // Typing in the search asks nothing: it narrows what is there.
      const question = `${wanted.at}`;
      if (asked === question && devices.size) draw(wanted);
      const names = Object.keys(QUERIES);
      const answers = await Promise.all(names.map((name) => values(QUERIES[name], wanted.at)));
      devices = devicesOf(Object.fromEntries(names.map((name, i) => [name, answers[i]])));
      asked = question;
      draw(address.read());
    },
    key: move,
    openFirst() { wall.firstElementChild?.click(); },
  };
}
