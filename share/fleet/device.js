// One device: what it is, its radios, its stations, and how all that went.

import * as address from "./address.js";
import { element, sparkline } from "./dom.js";
import { bitrate, bytes, count, dbm, duration, percent, quality, text } from "./format.js";
import { Plot } from "./plot.js";
import { courses, quoted, values } from "./prometheus.js";
import { Table } from "./table.js";

/** Everything that is known of a device at a time, by metric: {name: [{labels, value}]}. */
class Knowledge {
  constructor(samples) {
    this.samples = Map.groupBy ? Map.groupBy(samples, ({ labels }) => labels.__name__) : grouped(samples);
  }
  all(metric) { return this.samples.get(metric) ?? []; }
  number(metric) { return this.all(metric)[0]?.value; }
  /** A text is the label named like its metric. */
  text(metric) { return this.all(metric)[0]?.labels[metric]; }
  /** The value of a radio. */
  of(metric, radio) { return this.all(metric).find(({ labels }) => labels.radio === radio)?.value; }
}

function grouped(samples) {
  const groups = new Map();
  for (const sample of samples) {
    const name = sample.labels.__name__;
    if (!groups.has(name)) groups.set(name, []);
    groups.get(name).push(sample);
  }
  return groups;
}

/** The stations of the device: the columns of zolStationTable joined by hardware address. */
function stationsOf(known) {
  const stations = new Map();
  for (const [metric, samples] of known.samples) {
    if (!metric?.startsWith("zolStation")) continue;
    const key = metric.slice("zolStation".length);
    for (const { labels, value } of samples) {
      const mac = labels.zolStationMac;
      if (!stations.has(mac)) stations.set(mac, { mac });
      const station = stations.get(mac);
      station[key] = labels[metric] ?? value;
      station.Interface ??= labels.zolStationInterface;
      station.Ssid ??= labels.zolStationSsid;
    }
  }
  return [...stations.values()];
}

const seconds = (ticks) => (ticks === undefined ? undefined : ticks / 100);
const COLUMNS = [
  { name: "Station", sort: (s) => s.Name || s.mac, cell: (s) => element("a", { href: address.link("station", s.mac) },
      element("strong", {}, s.Name || s.mac), element("small", {}, s.Name ? s.mac : "")) },
  { name: "Address", wide: true, sort: (s) => s.Ip ?? "", cell: (s) => text(s.Ip) },
  { name: "Network", wide: true, sort: (s) => s.Ssid ?? "", cell: (s) => element("span", {}, text(s.Ssid), element("small", {}, s.Interface ?? "")) },
  { name: "Signal", right: true, sort: (s) => s.Signal, cell: (s) => element("span.signal-cell", {},
      s.course ? sparkline(s.course.slice(Math.max(s.course.findIndex((value) => value !== null), 0)), -90, -35) : null, element("span.signal", { "data-quality": quality(s.Signal) }, dbm(s.Signal))) },
  { name: "Noise", right: true, wide: true, sort: (s) => s.Noise, cell: (s) => dbm(s.Noise) },
  { name: "Rate ↓ ↑", right: true, wide: true, sort: (s) => s.TxRate, cell: (s) => bitrate(s.TxRate * 1000, s.RxRate * 1000) },
  { name: "Traffic ↓ ↑", right: true, sort: (s) => (s.TxKbps ?? 0) + (s.RxKbps ?? 0),
    cell: (s) => bitrate(s.TxKbps * 1000, s.RxKbps * 1000) },
  { name: "Sent ↓ ↑", right: true, wide: true, sort: (s) => (s.TxOctets ?? 0) + (s.RxOctets ?? 0),
    cell: (s) => bytes(s.TxOctets, s.RxOctets) },
  { name: "Connected", right: true, wide: true, sort: (s) => s.Connected, cell: (s) => duration(seconds(s.Connected)) },
];

const INTERFACES = [
  { name: "Interface", sort: (i) => i.mac, cell: (i) => i.mac },
  { name: "Stations", right: true, sort: (i) => i.zolAssocCount, cell: (i) => count(i.zolAssocCount) },
  { name: "Bit rate", right: true, sort: (i) => i.zolBitRate, cell: (i) => bitrate(i.zolBitRate * 1e6) },
  { name: "Frames given up", right: true, sort: (i) => i.zolTxexcessRetries, cell: (i) => count(i.zolTxexcessRetries) },
];

function interfacesOf(known) {
  const rows = new Map();
  for (const metric of ["zolAssocCount", "zolBitRate", "zolTxexcessRetries"]) {
    for (const { labels, value } of known.all(metric)) {
      const row = rows.get(labels.wlanInterfaceRow) ?? { mac: labels.zolWlanMac };
      rows.set(labels.wlanInterfaceRow, Object.assign(row, { [metric]: value }));
    }
  }
  return [...rows.values()];
}

function radioCard(known, radio) {
  const on = known.of("radio:zolarc_on:bool", radio) === 1;
  const channel = known.of("radio:zolarc_channel:number", radio);
  const facts = [
    ["Channel", channel === undefined ? "not selected" : channel === 0 ? "automatic" : `${channel}`],
    ["Stations", count(known.of("radio:zolarc_stations:count", radio))],
    ["Noise", dbm(known.of("radio:zolarc_noise_dbm:avg", radio))],
    ["Retries", percent(known.of("radio:zolarc_retries:ratio_rate5m", radio))],
  ];
  return element("section.card", { "data-state": on ? "up" : "warning" },
    element("h3", {}, `Radio ${radio}`, element("span.badge", {}, on ? "on" : "off")), factList(facts));
}

function factList(facts) {
  return element("dl.facts", {}, facts.filter(([, value]) => value !== undefined)
    .map(([name, value]) => element("div", {}, element("dt", {}, name), element("dd", {}, value))));
}

function aboutCards(known, instance) {
  // A silent device keeps what it was.
  const info = known.all("instance:zolarc_device:info")[0]?.labels ?? {};
  const port = (number) => `↓ ${bitrate(known.number(`eth${number}RxRate`) * 1000)}  ↑ ${bitrate(known.number(`eth${number}TxRate`) * 1000)}`;
  return [
    element("section.card", {}, element("h3", {}, "Device"), factList([
      ["Address", instance], ["Model", text(info.apModel)], ["Firmware", text(info.fwVersion)],
      ["Up for", duration(known.number("instance:zolarc_uptime:seconds"))], ["Processor in use", percent(known.number("cpuPercentUsed") / 100)],
      ["Memory in use", known.number("ramUsed") === undefined ? "–" : bytes(known.number("ramUsed") * 1024)],
      ["LAN port", port(1)], ["WAN port", port(2)]])),
    element("section.card", {}, element("h3", {}, "Agent"), factList([
      ["Version", text([known.text("zolHealthVersion"), known.text("zolHealthBuild")].filter(Boolean).join(" "))],
      ["Running for", duration(seconds(known.number("zolHealthUptime")))],
      ["Commands", known.number("instance:zolarc_commands:rate5m") === undefined ? "–" : `${known.number("instance:zolarc_commands:rate5m").toFixed(1)} a second`],
      ["Late commands", count(known.number("zolHealthLate"))], ["Refused by the guard", count(known.number("zolHealthRefused"))],
      ["Last collection", known.number("zolHealthCollectionTime") === undefined ? "–"
        : `${known.number("zolHealthCollectionTime")} ms, ${duration(seconds(known.number("zolHealthCollectionAge")))} ago`]])),
  ];
}

function alertItems(known) {
  return known.all("ALERTS").filter(({ labels }) => labels.alertname.startsWith("Zolarc")).map(({ labels }) =>
    element("li", { "data-state": labels.alertstate === "firing" ? labels.severity : "info" },
      element("strong", {}, labels.alertname.replace(/^Zolarc/, "").replace(/\B[A-Z]/g, (letter) => ` ${letter.toLowerCase()}`)),
      ` ${labels.radio === undefined ? "" : `radio ${labels.radio}, `}${labels.severity}${labels.alertstate === "pending" ? ", not yet told" : ""}`));
}

/** The buttons that choose how far back the plots go. */
export function rangeButtons() {
  const buttons = address.RANGES.map(([range, name]) => {
    const button = element("button", { type: "button" }, name);
    button.addEventListener("click", () => address.change({ range }));
    return [range, button];
  });
  const group = element("div.ranges", { role: "group", ariaLabel: "Time range" }, buttons.map(([, button]) => button));
  return [group, (chosen) => { for (const [range, button] of buttons) button.ariaPressed = String(range === chosen); }];
}

export function openDevice(content, { name: instance }) {
  const title = element("h1", {}, instance);
  const badge = element("span.badge");
  const [ranges, markRange] = rangeButtons();
  const alerts = element("ul.alert-list", { ariaLabel: "Alerts" });
  const cards = element("div.cards");
  const plots = element("div.plots");
  const interfaces = new Table("Wireless interfaces", INTERFACES, 0);
  const stations = new Table("Stations", COLUMNS, 3);
  content.append(
    element("div.bar", {}, element("a.back", { href: address.link("") }, "‹ Wall"), title, badge, ranges), alerts, cards,
    plots, element("div.scroll", {}, stations.element), element("div.scroll", {}, interfaces.element));
  const only = `instance=${quoted(instance)}`;
  const drawn = [
    [new Plot(plots, "Traffic", bitrate, { low: 0, ceiling: 1000 }), `{__name__=~"instance:zolarc_(transmit|receive):bps", ${only}}`,
      ({ __name__: metric }) => (metric.includes("transmit") ? "down to stations" : "up from stations")],
    [new Plot(plots, "Stations", (number) => (Number.isInteger(number) ? `${number}` : ""), { low: 0, ceiling: 4 }), `radio:zolarc_stations:count{${only}}`,
      ({ radio }) => `radio ${radio}`],
    [new Plot(plots, "Noise", dbm, { low: -100, ceiling: -70 }), `radio:zolarc_noise_dbm:avg{${only}}`, ({ radio }) => `radio ${radio}`],
    [new Plot(plots, "Retries a packet", percent, { low: 0, ceiling: 0.2 }), `radio:zolarc_retries:ratio_rate5m{${only}}`, ({ radio }) => `radio ${radio}`],
  ];

  function draw(known, signals) {
    const up = known.number("instance:zolarc_up:max");
    title.textContent = known.all("instance:zolarc_device:info")[0]?.labels.apName || instance;
    badge.textContent = up === undefined ? "unknown" : up ? "up" : "silent";
    badge.dataset.state = up ? "up" : "critical";
    alerts.replaceChildren(...alertItems(known));
    const radios = [...new Set(known.all("radio:zolarc_on:bool").map(({ labels }) => labels.radio))].sort();
    cards.replaceChildren(...radios.map((radio) => radioCard(known, radio)), ...aboutCards(known, instance));
    const all = stationsOf(known);
    for (const station of all) {
      // A station that has moved from one interface to another has a course at each.
      const own = signals.filter(({ labels }) => labels.zolStationMac === station.mac).map(({ values: course }) => course);
      if (own.length) station.course = own[0].map((_, i) => own.map((course) => course[i]).find((value) => value !== null) ?? null);
    }
    stations.element.caption.textContent = `${count(all.length, "station")}`;
    stations.show(all);
    interfaces.show(interfacesOf(known));
  }

  return {
    async update({ at, range }) {
      markRange(range);
      const [samples, signals, ...curves] = await Promise.all([
        values(`{${only}}`, at), courses(`zolStationSignal{${only}}`, at, range, 60),
        ...drawn.map(([, query]) => courses(query, at, range))]);
      draw(new Knowledge(samples), signals.series);
      drawn.forEach(([plot, , label], i) => plot.show(curves[i].times,
        curves[i].series.map(({ labels, values: course }) => ({ label: label(labels), values: course }))
          .sort((a, b) => a.label.localeCompare(b.label))));
    },
    recolour() { for (const [plot] of drawn) plot.recolour(); },
    close() { for (const [plot] of drawn) plot.close(); },
  };
}
