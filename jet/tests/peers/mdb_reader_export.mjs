// Exports every table of a database with the mdb-reader package, in the JSON Lines form of
// `qxtest-cli jet export`, so that tests can compare the engine with an independent reader.
//
//   node mdb_reader_export.mjs FILE
//
// Per table: {"table":NAME}, then {"columns":[...]}, then one array per row. A table the reader
// cannot read gives {"table":NAME,"error":TEXT} instead.
import { readFileSync } from "node:fs";
import { createRequire } from "node:module";
import { dirname, resolve } from "node:path";
import { fileURLToPath } from "node:url";

const here = dirname(fileURLToPath(import.meta.url));
const peers = resolve(here, "../../../tools/peers/node_modules/mdb-reader/lib/node/index.js");
const { default: MDBReader } = await import(peers);

const typeNames = {
  boolean: "Boolean", byte: "Byte", integer: "Integer", long: "Long", currency: "Currency",
  float: "Single", double: "Double", datetime: "DateTime", binary: "Binary", text: "Text",
  ole: "OLE", memo: "Memo", repid: "GUID", numeric: "Decimal",
};

function pad(n, w = 2) { return String(n).padStart(w, "0"); }

function value(type, v) {
  if (v === null || v === undefined) return null;
  switch (type) {
    case "datetime": {
      // Milliseconds are kept: this reader rounds to them, the engine to whole seconds, and
      // the comparison has to know which way a half second went.
      const d = v;
      return `${pad(d.getUTCFullYear(), 4)}-${pad(d.getUTCMonth() + 1)}-${pad(d.getUTCDate())} ` +
             `${pad(d.getUTCHours())}:${pad(d.getUTCMinutes())}:${pad(d.getUTCSeconds())}.${pad(d.getUTCMilliseconds(), 3)}`;
    }
    case "binary": case "ole": return Buffer.from(v).toString("base64");
    case "currency": case "numeric": case "repid": return String(v);
    case "bigint": return String(v);
    case "complex": return null;
    default: return v;
  }
}

const file = process.argv[2];
const reader = new MDBReader(readFileSync(file));
const names = reader.getTableNames({ normalTables: true, systemTables: true, linkedTables: false });
const out = [];
for (const name of names) {
  try {
    const table = reader.getTable(name);
    const columns = table.getColumns();
    const lines = [JSON.stringify({ table: name }),
      JSON.stringify({ columns: columns.map((c) => ({ name: c.name, type: typeNames[c.type] ?? "Unknown", size: c.size })) })];
    for (const row of table.getData()) {
      lines.push(JSON.stringify(columns.map((c) => value(c.type, row[c.name]))));
    }
    out.push(lines.join("\n"));
  } catch (e) {
    out.push(JSON.stringify({ table: name, error: String(e && e.message || e) }));
  }
}
process.stdout.write(out.join("\n") + "\n");
