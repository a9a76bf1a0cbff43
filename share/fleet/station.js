// One station across all devices: where it was, from when to when, and how well it was heard there.

import * as address from "./address.js";
import { rangeButtons } from "./device.js";
import { element } from "./dom.js";
import { count, dbm, duration, moment, quality, text } from "./format.js";
import { Plot } from "./plot.js";
import { courses, quoted, values } from "./prometheus.js";
import { Table } from "./table.js";

/** The stays of a station: [{instance, interface, ssid, from, to, last, weakest, strongest}] in order of time. */
function staysOf({ times, step, series }, names) {
  const stays = [];
  for (const { labels, values: course } of series) {
    let stay = null;
    course.forEach((signal, i) => {
      if (signal === null) { stay = null; return; }
      if (!stay) {
        stay = { instance: labels.instance, name: names.get(labels.instance) ?? labels.instance, interface: labels.zolStationInterface,
                 ssid: labels.zolStationSsid, from: times[i], weakest: signal, strongest: signal };
        stays.push(stay);
      }
      Object.assign(stay, { to: times[i] + step, last: signal, weakest: Math.min(stay.weakest, signal), strongest: Math.max(stay.strongest, signal) });
    });
  }
  return stays.sort((a, b) => a.from - b.from);
}

const place = (stay) => `${stay.name} ${stay.interface ?? ""}`;

const COLUMNS = [
  { name: "Device", sort: place, cell: (s) => element("a", { href: address.link("device", s.instance) }, element("strong", {}, s.name), element("small", {}, s.interface ?? "")) },
  { name: "Network", wide: true, sort: (s) => s.ssid ?? "", cell: (s) => text(s.ssid) },
  { name: "From", right: true, sort: (s) => s.from, cell: (s) => moment(s.from) },
  { name: "To", right: true, wide: true, sort: (s) => s.to, cell: (s) => moment(s.to) },
  { name: "For", right: true, sort: (s) => s.to - s.from, cell: (s) => duration(s.to - s.from) },
  { name: "Signal", right: true, sort: (s) => s.last, cell: (s) => element("span.signal", { "data-quality": quality(s.last) }, dbm(s.last)) },
  { name: "Weakest … strongest", right: true, wide: true, sort: (s) => s.weakest, cell: (s) => `${dbm(s.weakest)} … ${dbm(s.strongest)}` },
];

/** One lane a device, in the colour with that number; a bar a stay. */
function lanes(stays, start, end, hues) {
  const share = (time) => `${(100 * (Math.max(time, start) - start)) / (end - start)}%`;
  return hues.map((instance, i) => {
    const own = stays.filter((stay) => stay.instance === instance);
    return element("div.lane", {}, element("a", { href: address.link("device", instance) }, own[0].name),
      element("div.track", {}, own.map((stay) => {
        const bar = element("span.stay", { title: `${place(stay)}\n${moment(stay.from)} – ${moment(stay.to)}\n${dbm(stay.weakest)} … ${dbm(stay.strongest)}` });
        bar.style.left = share(stay.from);
        bar.style.width = `calc(${share(Math.min(stay.to, end))} - ${share(stay.from)})`;
        bar.style.background = `var(--plot-${(i % 6) + 1})`;
        return bar;
      })));
  });
}

export function openStation(content, { name }) {
  const mac = name.toUpperCase();
  const title = element("h1", {}, mac);
  const badge = element("span.badge");
  const [ranges, markRange] = rangeButtons();
  const summary = element("p.summary");
  const where = element("div.lanes", { role: "img" });
  const plots = element("div.plots.single");
  const stays = new Table("Stays", COLUMNS, -3);
  content.append(element("div.bar", {}, element("a.back", { href: address.link("") }, "‹ Wall"), title, badge, ranges), summary,
    element("section.card", {}, element("h3", {}, "Where it was"), where), plots, element("div.scroll", {}, stays.element));
  const only = `zolStationMac=${quoted(mac)}`;
  const signal = new Plot(plots, "Signal", dbm, { low: -95, ceiling: -40 });

  return {
    async update({ at, range }) {
      markRange(range);
      const [course, infos, labels] = await Promise.all([
        courses(`zolStationSignal{${only}}`, at, range), values("instance:zolarc_device:info", at),
        values(`last_over_time(zolStationName{${only}}[${range}s]) or last_over_time(zolStationIp{${only}}[${range}s])`, at)]);
      const names = new Map(infos.map(({ labels: info }) => [info.instance, info.apName]));
      const all = staysOf(course, names);
      const end = course.times.at(-1);
      const now = all.filter(({ to }) => to >= end).at(-1);
      // What it is called where it is now, or was anywhere.
      const nearest = labels.toSorted((a, b) => (b.labels.instance === now?.instance) - (a.labels.instance === now?.instance));
      const called = nearest.map((sample) => sample.labels.zolStationName).find(Boolean);
      const ip = nearest.map((sample) => sample.labels.zolStationIp).find(Boolean);
      title.textContent = called ?? mac;
      badge.textContent = now ? `at ${now.name}` : "away";
      badge.dataset.state = now ? "up" : "info";
      const changes = all.slice(1).filter((stay, i) => stay.instance !== all[i].instance).length;
      summary.replaceChildren(...[mac, ip, count(all.length, "stay"), count(changes, "change of device", "changes of device")]
        .filter(Boolean).map((part) => element("span", {}, part)));
      where.ariaLabel = all.map((stay) => `${place(stay)} from ${moment(stay.from)} for ${duration(stay.to - stay.from)}`).join("; ");
      const begin = Math.max(course.times[0], all[0]?.from - (end - all[0]?.from) / 20);
      const hues = [...new Set(all.map(({ instance }) => instance))];
      where.replaceChildren(...(all.length ? lanes(all, begin, end + course.step, hues) : [element("p.empty", {}, "Nobody has heard it in this time.")]));
      stays.show(all);
      signal.show(course.times, course.series.map(({ labels: at, values: points }) => ({
        label: `${names.get(at.instance) ?? at.instance} ${at.zolStationInterface ?? ""}`, values: points, hue: hues.indexOf(at.instance) })));
    },
    recolour() { signal.recolour(); },
    close() { signal.close(); },
  };
}
