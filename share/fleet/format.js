// Numbers with their units, as texts.

const NONE = "–";
const known = (number) => number !== undefined && number !== null && Number.isFinite(number);

/** Formats numbers in the one unit that suits the largest of them, as in "52 / 39 Mbit/s". */
function scaled(numbers, units) {
  if (!numbers.some(known)) return NONE;
  const largest = Math.max(...numbers.filter(known));
  const power = Math.min(Math.max(Math.floor(Math.log10(largest || 1) / 3), 0), units.length - 1);
  const texts = numbers.map((number) => {
    const shown = number / 1000 ** power;
    return known(number) ? shown.toFixed(power > 0 && shown > 0 && shown < 10 ? 1 : 0) : NONE;
  });
  return `${texts.join(" / ")} ${units[power]}`;
}

export const bitrate = (...bps) => scaled(bps, ["bit/s", "kbit/s", "Mbit/s", "Gbit/s"]);
export const bytes = (...octets) => scaled(octets, ["B", "kB", "MB", "GB", "TB"]);


/** Two units are enough: "3 d 4 h", "12 min". */
export function duration(seconds) {
  if (!known(seconds)) return NONE;
  const parts = [[86400, "d"], [3600, "h"], [60, "min"], [1, "s"]];
  const largest = parts.findIndex(([size]) => seconds >= size);
  if (largest < 0) return "0 s";
  const [size, unit] = parts[largest];
  const [smaller, name] = parts[largest + 1] ?? [];
  const rest = smaller && size > 60 ? Math.floor((seconds % size) / smaller) : 0;
  return `${Math.floor(seconds / size)} ${unit}${rest ? ` ${rest} ${name}` : ""}`;
}

// A true minus sign is as wide as a figure.
const signed = (text) => text.replace("-", "−");

export const dbm = (number) => (known(number) ? signed(`${Math.round(number)} dBm`) : NONE);
export const percent = (ratio) => (known(ratio) ? `${(ratio * 100).toFixed(ratio < 0.1 ? 1 : 0)} %` : NONE);
export const count = (number, one = "", many = one && `${one}s`) =>
  known(number) ? `${number.toLocaleString("en")} ${number === 1 ? one : many}`.trim() : NONE;
export const text = (value) => value || NONE;

/** A time of today, or a day and its time. */
export function moment(seconds) {
  const [day, time] = new Date(seconds * 1000).toLocaleString("sv").split(" ");
  return day === new Date().toLocaleDateString("sv") ? time : `${day} ${time.slice(0, 5)}`;
}

/** How well a station is heard: "good", "fair" or "weak". */
export const quality = (signal) => (!known(signal) ? "" : signal >= -65 ? "good" : signal >= -75 ? "fair" : "weak");
