// Reads every user table of a database with the mdb-reader package and works out, on its own,
// what a set of SELECT statements must return: counts, MIN / MAX / SUM / AVG, GROUP BY, DISTINCT,
// ORDER BY, TOP, IS NULL, IN and BETWEEN. The engine's answers are then compared with these.
//
//   node sql_expect.mjs FILE
//
// One line per statement: {"sql":S,"modes":[M per column],"rows":[[...],...]}. Modes tell the
// comparison how to match a column: "text" (without regard to case), "number" (to 1e-9 relative,
// also for Currency given as strings), "single" (to 1e-6), "date" (milliseconds since 1970, to
// one second), "exact".
import { readFileSync } from "node:fs";
import { dirname, resolve } from "node:path";
import { fileURLToPath } from "node:url";

const here = dirname(fileURLToPath(import.meta.url));
const peers = resolve(here, "../../../../tools/peers/node_modules/mdb-reader/lib/node/index.js");
const { default: MDBReader } = await import(peers);

const simple = new Set(["byte", "integer", "long", "currency", "float", "double", "datetime", "text", "boolean"]);
const numeric = new Set(["byte", "integer", "long", "currency", "float", "double"]);

// Jet's case folding is one character to one character: a character whose upper case is longer
// (German sharp s) stays as it is.
function fold(s) {
  let out = "";
  for (const ch of s) {
    const u = ch.toUpperCase();
    out += [...u].length === 1 ? u : ch;
  }
  return out;
}

// The number a value sorts by (Yes/No as -1 and 0, dates by time), or the folded text.
function sortable(type, v) {
  if (v === null || v === undefined) return null;
  switch (type) {
    case "text": return fold(v);
    case "boolean": return v ? -1 : 0;
    case "datetime": return v.getTime();
    case "currency": return Number(v);
    default: return Number(v);
  }
}

function cmpCodePoints(a, b) {
  const x = [...a], y = [...b];
  for (let i = 0; i < Math.min(x.length, y.length); ++i) {
    const d = x[i].codePointAt(0) - y[i].codePointAt(0);
    if (d) return d < 0 ? -1 : 1;
  }
  return x.length === y.length ? 0 : (x.length < y.length ? -1 : 1);
}

// Null first, then ascending.
function cmp(a, b) {
  if (a === null || b === null) return a === b ? 0 : (a === null ? -1 : 1);
  if (typeof a === "string") return cmpCodePoints(a, b);
  return a < b ? -1 : (a > b ? 1 : 0);
}

function out(type, v) {
  if (v === null || v === undefined) return null;
  if (type === "datetime") return v.getTime();
  if (type === "currency") return String(v);
  return v;
}

function mode(type) {
  if (type === "text") return "text";
  if (type === "datetime") return "date";
  if (type === "float") return "single";
  if (type === "boolean") return "exact";
  return "number";
}

function quote(v) {
  return "'" + v.replaceAll("'", "''") + "'";
}

const file = process.argv[2];
const reader = new MDBReader(readFileSync(file));
const lines = [];
const emit = (sql, modes, rows) => lines.push(JSON.stringify({ sql, modes, rows }));

// Every file has its catalog, also one without user tables.
emit("SELECT COUNT(*) FROM MSysObjects", ["number"], [[reader.getTable("MSysObjects").getData().length]]);

for (const name of reader.getTableNames({ normalTables: true, systemTables: false, linkedTables: false })) {
  if (name.includes("]")) continue;
  let table, columns, data;
  try {
    table = reader.getTable(name);
    columns = table.getColumns().filter((c) => simple.has(c.type) && !c.name.includes("]"));
    data = table.getData();
  } catch {
    continue;
  }
  const t = `[${name}]`;
  emit(`SELECT COUNT(*) FROM ${t}`, ["number"], [[data.length]]);
  for (const c of columns) {
    const col = `[${c.name}]`;
    const values = data.map((r) => r[c.name] ?? null);
    // This reader turns the five bytes Windows-1252 leaves unassigned into U+FFFD, so values
    // the engine keeps apart would fall together here: such columns are left out.
    if (c.type === "text" && values.some((v) => v !== null && v.includes("\uFFFD"))) continue;
    const present = values.filter((v) => v !== null);
    const keyed = present.map((v) => ({ v, k: sortable(c.type, v) }));

    // COUNT, MIN, MAX: the first of equal values in scan order.
    let min = null, max = null;
    for (const e of keyed) {
      if (min === null || cmp(e.k, min.k) < 0) min = e;
      if (max === null || cmp(e.k, max.k) > 0) max = e;
    }
    emit(`SELECT COUNT(${col}), MIN(${col}), MAX(${col}) FROM ${t}`, ["number", mode(c.type), mode(c.type)],
         [[present.length, min ? out(c.type, min.v) : null, max ? out(c.type, max.v) : null]]);

    if (numeric.has(c.type)) {
      let sum = 0;
      for (const v of present) sum += Number(v);
      emit(`SELECT SUM(${col}) AS total, AVG(${col}) FROM ${t}`, ["number", "number"],
           [[present.length ? sum : null, present.length ? sum / present.length : null]]);
    }

    emit(`SELECT COUNT(*) FROM ${t} WHERE ${col} IS NULL`, ["number"], [[values.length - present.length]]);
    emit(`SELECT COUNT(*) AS n FROM ${t} WHERE ${col} IS NOT NULL`, ["number"], [[present.length]]);

    // GROUP BY: groups in key order, each shown with its first value.
    const groups = new Map();
    for (const v of values) {
      const k = sortable(c.type, v);
      const id = k === null ? "null" : typeof k + ":" + String(k);
      const g = groups.get(id);
      if (g) ++g.n;
      else groups.set(id, { v, k, n: 1 });
    }
    const grouped = [...groups.values()].sort((a, b) => cmp(a.k, b.k));
    emit(`SELECT ${col}, COUNT(*) FROM ${t} GROUP BY ${col}`, [mode(c.type), "number"],
         grouped.map((g) => [out(c.type, g.v), g.n]));
    emit(`SELECT DISTINCT ${col} FROM ${t}`, [mode(c.type)], grouped.map((g) => [out(c.type, g.v)]));
    emit(`SELECT TOP 2 ${col}, COUNT(*) AS n FROM ${t} GROUP BY ${col} ORDER BY COUNT(*) DESC, ${col}`,
         [mode(c.type), "number"],
         (() => {
           const byCount = [...grouped].sort((a, b) => (b.n - a.n) || cmp(a.k, b.k));
           let keep = Math.min(2, byCount.length);
           while (keep > 0 && keep < byCount.length && byCount[keep].n === byCount[keep - 1].n &&
                  cmp(byCount[keep].k, byCount[keep - 1].k) === 0) ++keep;
           return byCount.slice(0, keep).map((g) => [out(c.type, g.v), g.n]);
         })());

    // ORDER BY, both ways, ties in scan order; TOP with the rows tying with the last one.
    const entries = values.map((v, i) => ({ v, k: sortable(c.type, v), i }));
    const asc = [...entries].sort((a, b) => cmp(a.k, b.k) || a.i - b.i);
    const desc = [...entries].sort((a, b) => cmp(b.k, a.k) || a.i - b.i);
    emit(`SELECT ${col} FROM ${t} ORDER BY ${col}`, [mode(c.type)], asc.map((e) => [out(c.type, e.v)]));
    emit(`SELECT ${col} AS x FROM ${t} ORDER BY ${col} DESC`, [mode(c.type)], desc.map((e) => [out(c.type, e.v)]));
    if (desc.length > 3) {
      let keep = 3;
      while (keep < desc.length && cmp(desc[keep].k, desc[2].k) === 0) ++keep;
      emit(`SELECT TOP 3 ${col} FROM ${t} ORDER BY ${col} DESC`, [mode(c.type)],
           desc.slice(0, keep).map((e) => [out(c.type, e.v)]));
    }

    // IN and BETWEEN with values taken from the column.
    if (c.type !== "datetime" && c.type !== "boolean" && present.length > 0) {
      const sorted = asc.filter((e) => e.k !== null);
      const lo = sorted[Math.floor(sorted.length / 4)], hi = sorted[Math.floor((3 * sorted.length) / 4)];
      const literal = (e) => (c.type === "text" ? quote(e.v) : String(Number(e.v)));
      if (c.type === "text" || Number.isFinite(Number(lo.v))) {
        const between = entries.filter((e) => e.k !== null && cmp(e.k, lo.k) >= 0 && cmp(e.k, hi.k) <= 0).length;
        // Numbers written in decimal must read back as the stored value.
        const exact = c.type === "text" || (String(Number(lo.v)) === String(lo.k) && String(Number(hi.v)) === String(hi.k));
        if (exact && !(c.type === "float")) {
          emit(`SELECT COUNT(*) FROM ${t} WHERE ${col} BETWEEN ${literal(lo)} AND ${literal(hi)}`, ["number"], [[between]]);
          emit(`SELECT COUNT(*) FROM ${t} WHERE ${col} NOT BETWEEN ${literal(lo)} AND ${literal(hi)}`, ["number"],
               [[present.length - between]]);
          const picks = [...new Map(sorted.map((e) => [String(e.k), e])).values()].slice(0, 3);
          const set = new Set(picks.map((e) => String(e.k)));
          const inCount = entries.filter((e) => e.k !== null && set.has(String(e.k))).length;
          const list = picks.map(literal).join(", ");
          emit(`SELECT COUNT(*) FROM ${t} WHERE ${col} IN (${list})`, ["number"], [[inCount]]);
          emit(`SELECT COUNT(*) FROM ${t} WHERE ${col} NOT IN (${list})`, ["number"], [[present.length - inCount]]);
        }
      }
    }
  }
}
process.stdout.write(lines.join("\n") + "\n");
