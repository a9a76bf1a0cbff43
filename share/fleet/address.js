// What is shown stands in the page's address, so that it can be kept and sent: #/device/192.0.2.1?range=21600&at=...

export const RANGES = [[3600, "1 h"], [21600, "6 h"], [86400, "1 d"], [604800, "7 d"]];

/** {view: "", "device" or "station"; name: which; range in seconds; at: seconds, null is now; q, sort, show of the wall}. */
export function read() {
  const [path, options = ""] = location.hash.replace(/^#\/?/, "").split("?");
  const [view = "", name = ""] = path.split("/").map(decodeURIComponent);
  const given = new URLSearchParams(options);
  return {
    view, name, range: Number(given.get("range")) || RANGES[0][0], at: Number(given.get("at")) || null,
    q: given.get("q") ?? "", sort: given.get("sort") ?? "trouble", show: given.get("show") ?? "all",
  };
}

/** The address of a view at the same time and range as what is shown. */
export function link(view, name = "", changes = {}) {
  const { range, at, q, sort, show } = { ...read(), ...changes };
  const options = new URLSearchParams();
  if (range !== RANGES[0][0]) options.set("range", range);
  if (at !== null) options.set("at", at);
  if (q) options.set("q", q);
  if (sort !== "trouble") options.set("sort", sort);
  if (show !== "all") options.set("show", show);
  const text = options.toString();
  return `#/${view ? `${view}/${encodeURIComponent(name)}` : ""}${text ? `?${text}` : ""}`;
}

/** Shows the same view otherwise; the browser's way back is not filled with single letters of a search. */
export function change(changes) {
  const { view, name } = read();
  history.replaceState(null, "", link(view, name, changes));
  dispatchEvent(new HashChangeEvent("hashchange"));
}

export const go = (view, name) => { location.hash = link(view, name); };
