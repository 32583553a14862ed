// Numbers and times as people read them, in the words of the command line. Times are nanoseconds.

export const NS_PER_MS = 1e6;

function trimmed(text) {
  return text.includes(".") ? text.replace(/\.?0+$/, "") : text;
}

/** Milliseconds with every digit that counts: "61.1744". */
export function milliseconds(ns) {
  return trimmed((ns / NS_PER_MS).toFixed(6));
}

/** A duration with three digits, as `wave --svg` writes it: "12.3 ms", "4 µs". From 10 s on in seconds. */
export function duration(ns) {
  if (ns >= 10e9) {
    return trimmed((ns / 1e9).toFixed(ns < 100e9 ? 2 : 1)) + " s";
  }
  let value = Number((ns / NS_PER_MS).toPrecision(3));
  for (const unit of ["ms", "µs"]) {
    if (value >= 0.9999995) {
      return trimmed(value.toFixed(3)) + " " + unit;
    }
    value *= 1000;
  }
  return trimmed(value.toFixed(0)) + " ns";
}

/** "00:04:12" */
export function clock(ns) {
  const seconds = Math.floor(ns / 1e9);
  return [seconds / 3600, (seconds / 60) % 60, seconds % 60].map((n) => String(Math.floor(n)).padStart(2, "0")).join(":");
}

/** Where an axis has its ticks, and their texts: in ms, or in s when the view is long. */
export function ticks(from, span, most) {
  const rough = span / Math.max(1, most);
  const power = 10 ** Math.floor(Math.log10(rough));
  const step = [1, 2, 5, 10].map((n) => n * power).find((each) => each >= rough * 0.999);
  const unit = span >= 20e9 ? { name: "s", ns: 1e9 } : { name: "ms", ns: NS_PER_MS };
  const decimals = Math.max(0, Math.ceil(-Math.log10(step / unit.ns) - 1e-9));
  const list = [];
  for (let i = Math.ceil(from / step); i * step <= from + span; ++i) {
    list.push({ at: i * step, text: ((i * step) / unit.ns).toFixed(decimals) });
  }
  return { unit: unit.name, list };
}

export function count(number, one, many = one + "s") {
  return `${number.toLocaleString("en")} ${number === 1 ? one : many}`;
}

export function escaped(text) {
  return String(text).replace(/[&<>"']/g, (sign) => `&#${sign.charCodeAt(0)};`);
}
