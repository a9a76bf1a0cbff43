// Chooses the view, keeps it fresh, and what all views share: search, time, colours, keys.

import * as address from "./address.js";
import { duration } from "./format.js";
import { openDevice } from "./device.js";
import { openStation } from "./station.js";
import { openWall } from "./wall.js";

const REFRESH_MS = 15_000;
const VIEWS = { "": openWall, device: openDevice, station: openStation };
const HARDWARE_ADDRESS = /^([0-9a-f]{2})[:-]?([0-9a-f]{2})[:-]?([0-9a-f]{2})[:-]?([0-9a-f]{2})[:-]?([0-9a-f]{2})[:-]?([0-9a-f]{2})$/i;

const part = (id) => document.getElementById(id);
const content = part("content");
const search = part("text");
let shown = {};
let view = null;
let updated = null;
let asking = 0;

async function refresh() {
  const question = ++asking;
  const started = performance.now();
  try {
    await view.update(address.read());
    if (question !== asking) return;
    updated = Date.now();
    part("failure").hidden = true;
    // How long it took from the question to the drawn answer, for whoever measures.
    requestAnimationFrame(() => { document.body.dataset.drawn = (performance.now() - started).toFixed(0); });
  } catch (failure) {
    if (question !== asking) return;
    part("failure").textContent = `${failure.message}. What is shown may be old.`;
    part("failure").hidden = false;
  }
  showAge();
}

function showAge() {
  const { at } = address.read();
  const age = updated === null ? "" : `${duration(Math.round((Date.now() - updated) / 1000))} ago`;
  part("age").textContent = at === null ? age : "as it was";
}

function show() {
  const wanted = address.read();
  if (!view || wanted.view !== shown.view || wanted.name !== shown.name) {
    view?.close?.();
    content.replaceChildren();
    delete document.body.dataset.drawn;
    document.title = wanted.name ? `${wanted.name} – Fleet` : "Fleet";
    view = (VIEWS[wanted.view] ?? openWall)(content, wanted);
    scrollTo(0, 0);
  }
  shown = wanted;
  if (document.activeElement !== search) search.value = wanted.q;
  part("live").hidden = wanted.at === null;
  if (document.activeElement !== part("at")) part("at").value = wanted.at === null ? "" : localTime(wanted.at);
  refresh();
}

const localTime = (seconds) => new Date(seconds * 1000 - new Date().getTimezoneOffset() * 60_000).toISOString().slice(0, 19);

// Search: the wall is narrowed while typing.
search.addEventListener("input", () => {
  if (shown.view === "" && !HARDWARE_ADDRESS.test(search.value.trim())) address.change({ q: search.value.trim() });
});
part("search").addEventListener("submit", (event) => {
  event.preventDefault();
  const text = search.value.trim();
  const octets = HARDWARE_ADDRESS.exec(text)?.slice(1);
  if (octets) {
    search.value = "";
    address.go("station", octets.join(":").toUpperCase());
  } else if (shown.view === "") {
    view.openFirst();
  } else {
    location.hash = address.link("", "", { q: text });
  }
});

// Time
part("at").addEventListener("change", () => {
  address.change({ at: part("at").value ? Math.floor(new Date(part("at").value).getTime() / 1000) : null });
});
part("live").addEventListener("click", () => address.change({ at: null }));

// Colours
const THEMES = ["auto", "light", "dark"];
function setTheme(theme) {
  localStorage.setItem("theme", theme);
  document.documentElement.dataset.theme = theme;
  part("theme").textContent = { auto: "◐", light: "☀", dark: "☾" }[theme];
  part("theme").title = `Colours: ${theme === "auto" ? "as the system has them" : theme}`;
  view?.recolour?.();
}
const nextTheme = () => setTheme(THEMES[(THEMES.indexOf(document.documentElement.dataset.theme) + 1) % THEMES.length]);
part("theme").addEventListener("click", nextTheme);
matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => view?.recolour?.());

// Keys
part("help-button").addEventListener("click", () => part("help").showModal());
addEventListener("keydown", (event) => {
  const typing = event.target.matches("input, select, textarea");
  if (event.ctrlKey || event.metaKey || event.altKey || part("help").open) return;
  if (event.key === "Escape" && event.target.id !== "at") {
    if (search.value && shown.view === "") { search.value = ""; address.change({ q: "" }); }
    else if (!typing && shown.view !== "") location.hash = address.link("");
    event.target.blur?.();
  } else if (typing) {
    return;
  } else if (event.key === "/") {
    event.preventDefault();
    search.select();
  } else if (event.key === "?") {
    part("help").showModal();
  } else if (event.key === "t") {
    nextTheme();
  } else if (address.RANGES[event.key - 1]) {
    address.change({ range: address.RANGES[event.key - 1][0] });
  } else {
    view.key?.(event);
  }
});

setTheme(localStorage.getItem("theme") ?? "auto");
addEventListener("hashchange", show);
setInterval(() => { if (!document.hidden && shown.at === null) refresh(); }, REFRESH_MS);
setInterval(showAge, 1000);
document.addEventListener("visibilitychange", () => { if (!document.hidden) refresh(); });
show();
