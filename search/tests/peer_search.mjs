// Evaluates search criteria over the rows an independent Access-file reader (mdb-reader) exports,
// so that the tool's own engine and SQL layer can be checked against them.
//
//   node peer_search.mjs DATABASE CASES.json
//
// CASES.json: [{"table": T, "key": K, "criteria": [{"columns": [C, ...], "pattern": P}, ...]}, ...]
// A criterion holds for a row when the text of any of its columns matches the LIKE pattern P as
// Jet's ANSI-92 mode reads it (% any run, _ one character, [list], [!list], [a-z]; * and ?
// ordinary; without regard to case). Null never matches. A row is kept when every criterion holds.
// Prints one line per case: "case N:" followed by the kept rows' key values, each after a tab.
import { readFileSync } from "node:fs";
import { createRequire } from "node:module";
import { dirname, resolve } from "node:path";
import { fileURLToPath } from "node:url";

const here = dirname(fileURLToPath(import.meta.url));
const require = createRequire(resolve(here, "../../tools/peers/package.json"));
const { default: MDBReader } = await import(require.resolve("mdb-reader"));

const [database, casesFile] = process.argv.slice(2);
const reader = new MDBReader(readFileSync(database));
const cases = JSON.parse(readFileSync(casesFile, "utf8"));

function escapeRegex(ch) {
  return /[\\^$.*+?()[\]{}|\/]/.test(ch) ? "\\" + ch : ch;
}

function escapeInClass(ch) {
  return /[\\\]\[^-]/.test(ch) ? "\\" + ch : ch;
}

// LIKE pattern -> RegExp, or null for a pattern that can match nothing (an open "[").
function likeToRegex(pattern) {
  const chars = Array.from(pattern);
  let out = "^";
  for (let i = 0; i < chars.length; i++) {
    const ch = chars[i];
    if (ch === "%") out += "[\\s\\S]*";
    else if (ch === "_") out += "[\\s\\S]";
    else if (ch === "[") {
      const close = chars.indexOf("]", i + 1);
      if (close < 0) return null;
      let body = chars.slice(i + 1, close);
      i = close;
      if (body.length === 0) continue;
      let negate = false;
      if (body[0] === "!") {
        negate = true;
        body = body.slice(1);
      }
      if (body.length === 0) {
        out += "[\\s\\S]";
        continue;
      }
      let cls = "";
      for (let j = 0; j < body.length; j++) {
        if (j + 2 < body.length && body[j + 1] === "-") {
          if (body[j + 2] < body[j]) return null;
          cls += escapeInClass(body[j]) + "-" + escapeInClass(body[j + 2]);
          j += 2;
        } else {
          cls += escapeInClass(body[j]);
        }
      }
      out += "[" + (negate ? "^" : "") + cls + "]";
    } else out += escapeRegex(ch);
  }
  return new RegExp(out + "$", "iu");
}

function twoDigits(n) {
  return n < 10 ? "0" + n : String(n);
}

// A value as Jet turns it into text before LIKE.
function asText(value, type) {
  if (value === null || value === undefined) return null;
  switch (type) {
    case "text":
    case "memo":
      return value;
    case "boolean":
      return value ? "-1" : "0";
    case "currency":
    case "numeric": {
      let s = String(value);
      if (s.includes(".")) s = s.replace(/0+$/, "").replace(/\.$/, "");
      return s;
    }
    case "datetime": {
      const d = value;
      const date = `${d.getUTCMonth() + 1}/${d.getUTCDate()}/${d.getUTCFullYear()}`;
      const h = d.getUTCHours(), m = d.getUTCMinutes(), s = d.getUTCSeconds();
      const time = `${h % 12 === 0 ? 12 : h % 12}:${twoDigits(m)}:${twoDigits(s)} ${h < 12 ? "AM" : "PM"}`;
      const dayZero = d.getUTCFullYear() === 1899 && d.getUTCMonth() === 11 && d.getUTCDate() === 30;
      if (dayZero) return time;
      return h === 0 && m === 0 && s === 0 ? date : `${date} ${time}`;
    }
    default:
      return String(value);
  }
}

const tableCache = new Map();
function rowsOf(name) {
  if (!tableCache.has(name)) {
    const table = reader.getTable(name);
    const types = Object.fromEntries(table.getColumns().map((c) => [c.name.toUpperCase(), c.type]));
    const names = Object.fromEntries(table.getColumns().map((c) => [c.name.toUpperCase(), c.name]));
    tableCache.set(name, { rows: table.getData(), types, names });
  }
  return tableCache.get(name);
}

const lines = [];
cases.forEach((c, n) => {
  const { rows, types, names } = rowsOf(c.table);
  const tests = c.criteria.map((cr) => ({ columns: cr.columns.map((x) => x.toUpperCase()), re: likeToRegex(cr.pattern) }));
  const kept = rows.filter((row) =>
    tests.every((t) =>
      t.re !== null &&
      t.columns.some((col) => {
        const text = asText(row[names[col]], types[col]);
        return text !== null && t.re.test(text);
      }),
    ),
  );
  lines.push(`case ${n}:` + kept.map((r) => "\t" + String(r[c.key])).join(""));
});
process.stdout.write(lines.join("\n") + "\n");
