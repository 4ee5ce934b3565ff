"""A table of every column type filled with edge values through `jet import`, in both formats, then
read back by the engine, by mdb-reader and by mdbtools, and checked by jet-verify.

    python3 edge_values.py QXTEST_CLI SHARED_DIR NODE_EXPORT_SCRIPT

The values: the largest and smallest numbers of each type, date zero and the first and last days
Jet takes, an empty memo and one of 60,000 characters, a 1 MB OLE value, text outside Latin-1
in a memo (Jet 4; Jet 3 stores text in the database's code page and refuses what it cannot hold), Null in
every nullable column. Exits 0 when every reader agrees with what went in.
"""
import base64
import csv
import io
import json
import os
import subprocess
import sys
import tempfile

cli, shared, node_export = sys.argv[1:4]
failures = []


def check(condition, what):
    if not condition:
        failures.append(what)
        print("FAIL:", what)


def run(args, stdin=None):
    p = subprocess.run(args, input=stdin, capture_output=True)
    return p.returncode, p.stdout.decode("utf-8", "replace")


COLUMNS = ["Id", "B", "Y", "S", "L", "F", "D", "C", "T", "X", "M", "O", "R", "G"]
CREATE = ("CREATE TABLE Edge (Id LONG CONSTRAINT pk PRIMARY KEY, B BIT, Y BYTE, S SHORT, L LONG, "
          "F SINGLE, D DOUBLE, C CURRENCY, T DATETIME, X TEXT(255), M MEMO, O LONGBINARY, "
          "R BINARY(16), G GUID)")
INDEX = "CREATE INDEX ByText ON Edge (X, T DESC)"

ole = bytes((i * 7 + (i >> 8)) & 0xFF for i in range(1 << 20))
memo = "".join(chr(ord("a") + (i * 11) % 26) if i % 9 else " " for i in range(60000))
latin = "Ça coûte 5 € — «naïve» Þorn ÿ"
others = "Ελληνικά, кириллица, 漢字かな, עברית"


def rows(fmt):
    b64 = lambda b: base64.b64encode(b).decode()
    memo3 = (latin + " " + others if fmt == "jet4" else latin) * 10
    return [
        [1, True, 255, 32767, 2147483647, 3.4e+38, 1.79769313486231e+308, "922337203685477.5807",
         "9999-12-31 23:59:59", "z" * 255, memo, b64(ole), b64(bytes(range(16))),
         "{FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF}"],
        [2, False, 0, -32768, -2147483648, -3.4e+38, -1.79769313486231e+308, "-922337203685477.5808",
         "0100-01-01 00:00:00", "", "", b64(b""), b64(b"\0"), "{00000000-0000-0000-0000-000000000000}"],
        [3, False, 1, 0, 0, 1.5, 5e-324, "0", "1899-12-30 00:00:00", latin, memo3,
         b64(b"x"), b64(b"\xff" * 16), "{6F9619FF-8B86-D011-B42D-00C04FC964FF}"],
        [4, True, None, None, None, None, None, None, None, None, None, None, None, None],
    ]


def jsonl(fmt):
    out = io.StringIO()
    out.write(json.dumps({"columns": [{"name": c} for c in COLUMNS]}) + "\n")
    for r in rows(fmt):
        out.write(json.dumps(r, ensure_ascii=False) + "\n")
    return out.getvalue().encode()


def exported(path):
    code, text = run([cli, "jet", "export", path, "Edge"])
    check(code == 0, "jet export exit %d" % code)
    lines = [json.loads(l) for l in text.splitlines() if l.strip()]
    return lines[1:]


def same_number(a, b):
    if a is None or b is None:
        return a is b
    return abs(float(a) - float(b)) <= abs(float(b)) * 1e-7


def compare_rows(reader, got, want):
    check(len(got) == len(want), "%s: %d rows, want %d" % (reader, len(got), len(want)))
    for g, w in zip(got, want):
        for name, a, b in zip(COLUMNS, g, w):
            if name in ("F", "D"):
                ok = same_number(a, b)
            elif name == "T" and isinstance(a, str) and b is not None:
                ok = a[:19] == b  # mdb-reader keeps milliseconds
            elif name == "C" and a is not None and b is not None:
                ok = float(a) == float(b)
            elif name == "G" and a is not None and b is not None:
                ok = a.strip("{}").upper() == b.strip("{}").upper()
            else:
                ok = a == b
            check(ok, "%s row %s column %s: %r, want %r" % (reader, w[0], name, str(a)[:60], str(b)[:60]))


with tempfile.TemporaryDirectory() as tmp:
    for fmt in ("jet4", "jet3"):
        path = os.path.join(tmp, "edge.%s.mdb" % fmt)
        code, out = run([cli, "jet", "create", path, "--format", fmt])
        check(code == 0, "%s create: %s" % (fmt, out))
        for statement in (CREATE, INDEX):
            code, out = run([cli, "jet", "exec", path, statement])
            check(code == 0, "%s %s: %s" % (fmt, statement, out))
        code, out = run([cli, "jet", "import", path, "Edge"], jsonl(fmt))
        check(code == 0 and '"rowsAffected":4' in out, "%s import: %s" % (fmt, out))
        want = rows(fmt)

        compare_rows(fmt + " engine", exported(path), want)

        code, text = run(["node", node_export, path])
        check(code == 0, "%s mdb-reader exit %d" % (fmt, code))
        lines = [json.loads(l) for l in text.splitlines() if l.strip()]
        at = next(i for i, l in enumerate(lines) if isinstance(l, dict) and l.get("table") == "Edge")
        compare_rows(fmt + " mdb-reader", lines[at + 2:at + 2 + len(want)], want)

        # mdbtools: the text, memo and integer columns of every row.
        code, text = run(["mdb-export", "-b", "strip", path, "Edge"])
        check(code == 0, "%s mdb-export exit %d" % (fmt, code))
        records = list(csv.reader(io.StringIO(text)))
        check(records[0] == COLUMNS, "%s mdb-export header %r" % (fmt, records[0]))
        by_id = {r[0]: r for r in records[1:]}
        for w in want:
            r = by_id.get(str(w[0]))
            check(r is not None, "%s mdb-export lacks row %d" % (fmt, w[0]))
            if r is None:
                continue
            for i in (2, 3, 4, 9, 10):
                check(r[i] == ("" if w[i] is None else str(w[i])),
                      "%s mdb-export row %d column %s: %r" % (fmt, w[0], COLUMNS[i], r[i][:60]))

        code, verdict = run([os.path.join(shared, "tools/jet-verify/jet-verify"), path])
        last = verdict.strip().splitlines()[-1] if verdict.strip() else ""
        print(fmt, "jet-verify:", last)
        check(code == 0 and last.endswith(", 0 problems"), "%s jet-verify: %s" % (fmt, verdict[-400:]))

        # Text whose index key the engine cannot vouch for is refused in an indexed column, naming
        # the character; in Jet 3 text the code page cannot hold is refused anywhere. Either way
        # nothing is written.
        refused = [("X", others)] + ([("M", others)] if fmt == "jet3" else [])
        for column, text in refused:
            before = open(path, "rb").read()
            code, out = run([cli, "jet", "exec", path,
                             "INSERT INTO Edge (Id, %s) VALUES (9, '%s')" % (column, text)])
            check(code == 1 and '"error"' in out, "%s non-Latin in %s: %d %s" % (fmt, column, code, out))
            print("%s non-Latin text in %s: %s" % (fmt, column, out.strip()))
            check(open(path, "rb").read() == before, "%s file changed by a refused insert" % fmt)

    # A table whose pages outgrow the window of its inline usage maps (512 pages of Jet 4, 1,024 of
    # Jet 3) and a file past the window of its global map: the maps become reference maps.
    for fmt in ("jet4", "jet3"):
        path = os.path.join(tmp, "big.%s.mdb" % fmt)
        run([cli, "jet", "create", path, "--format", fmt])
        code, out = run([cli, "jet", "exec", path, "CREATE TABLE Big (Id LONG CONSTRAINT pk PRIMARY KEY, M MEMO)"])
        check(code == 0, "%s big create: %s" % (fmt, out))
        big = [[i, ("%05d " % i) * 500] for i in range(1, 1301)]
        data = json.dumps({"columns": [{"name": "Id"}, {"name": "M"}]}) + "\n"
        data += "".join(json.dumps(r) + "\n" for r in big)
        code, out = run([cli, "jet", "import", path, "Big"], data.encode())
        check(code == 0 and '"rowsAffected":1300' in out, "%s big import: %s" % (fmt, out))
        print("%s big file: %d bytes" % (fmt, os.path.getsize(path)))
        got = [json.loads(l) for l in run([cli, "jet", "export", path, "Big"])[1].splitlines()[1:]]
        check(got == big, "%s big: the engine reads %d rows back, not the ones written" % (fmt, len(got)))
        code, text = run(["node", node_export, path])
        lines = [json.loads(l) for l in text.splitlines() if l.strip()]
        at = next(i for i, l in enumerate(lines) if isinstance(l, dict) and l.get("table") == "Big")
        check(lines[at + 2:at + 2 + len(big)] == big, "%s big: mdb-reader disagrees" % fmt)
        code, verdict = run([os.path.join(shared, "tools/jet-verify/jet-verify"), path])
        last = verdict.strip().splitlines()[-1] if verdict.strip() else ""
        print(fmt, "big jet-verify:", last)
        check(code == 0 and last.endswith(", 0 problems"), "%s big jet-verify: %s" % (fmt, verdict[-400:]))

print("edge values: %d problems" % len(failures))
sys.exit(1 if failures else 0)
