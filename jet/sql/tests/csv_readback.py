"""Reads a CSV file with Python's csv module and compares it, value for value, with the JSON Lines
output of the same command: the header with the columns line, then each row's fields with the
JSON values (Null as an empty field, true/false, numbers as the same digits, strings as they are).

    python3 csv_readback.py OUTPUT.csv OUTPUT.jsonl [OUTPUT2.csv OUTPUT2.jsonl ...]

Prints "rows N mismatches M" per pair and the first mismatches; exits 0 when no pair has any.
"""
import csv
import json
import sys


def expected_text(value):
    if value is None:
        return ""
    if value is True:
        return "true"
    if value is False:
        return "false"
    return value  # numbers were read as their digits, strings are themselves


def compare(csv_path, json_path):
    with open(csv_path, newline="", encoding="utf-8") as f:
        records = list(csv.reader(f, strict=True))
    with open(json_path, encoding="utf-8") as f:
        lines = [json.loads(line, parse_float=str, parse_int=str) for line in f if line.strip()]
    mismatches = []
    names = [c["name"] for c in lines[0]["columns"]]
    if records[0] != names:
        mismatches.append(f"header {records[0]!r} != {names!r}")
    rows = lines[1:]
    if len(records) - 1 != len(rows):
        mismatches.append(f"{len(records) - 1} CSV rows, {len(rows)} JSON rows")
    for i, (record, row) in enumerate(zip(records[1:], rows)):
        expected = [expected_text(v) for v in row]
        if record != expected:
            for k, (a, b) in enumerate(zip(record, expected)):
                if a != b:
                    mismatches.append(f"row {i} field {k}: {a!r} != {b!r}")
            if len(record) != len(expected):
                mismatches.append(f"row {i}: {len(record)} fields, {len(expected)} expected")
    print(f"{csv_path}: rows {len(rows)} mismatches {len(mismatches)}")
    for m in mismatches[:10]:
        print(m)
    return not mismatches


def main():
    paths = sys.argv[1:]
    results = [compare(paths[i], paths[i + 1]) for i in range(0, len(paths) - 1, 2)]
    return 0 if results and all(results) else 1


if __name__ == "__main__":
    sys.exit(main())
