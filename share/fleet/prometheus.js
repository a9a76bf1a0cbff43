// Questions to Prometheus, in PromQL.

const base = document.querySelector("meta[name=prometheus]").content;
const TIMEOUT_MS = 20_000;

async function ask(path, parameters) {
  const body = new URLSearchParams(parameters);
  const response = await fetch(base + path, { method: "POST", body, signal: AbortSignal.timeout(TIMEOUT_MS) });
  const answer = await response.json().catch(() => ({ error: `${response.status} ${response.statusText}` }));
  if (answer.status !== "success") throw new Error(`Prometheus refuses ${parameters.query}: ${answer.error}`);
  return answer.data.result;
}

/** The values at a time (seconds, null is now): [{labels, value}]. */
export async function values(query, at) {
  const result = await ask("query", at === null ? { query } : { query, time: at });
  return result.map(({ metric, value }) => ({ labels: metric, value: Number(value[1]) }));
}

/** The course of the values over `range` seconds up to `at`: {times, series: [{labels, values}]}, null where there is none. */
export async function courses(query, at, range, points = 240) {
  const step = Math.max(Math.ceil(range / points), 5);
  const end = Math.floor((at ?? Date.now() / 1000) / step) * step;
  const start = end - Math.floor(range / step) * step;
  const times = Array.from({ length: (end - start) / step + 1 }, (_, i) => start + i * step);
  const result = await ask("query_range", { query, start, end, step });
  const series = result.map(({ metric, values: points }) => {
    const values = new Array(times.length).fill(null);
    for (const [time, value] of points) values[Math.round((time - start) / step)] = Number(value);
    return { labels: metric, values };
  });
  return { times, step, series };
}

/** A text as a PromQL string. */
export const quoted = JSON.stringify;
