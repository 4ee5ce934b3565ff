#!/usr/bin/env python3
"""demo-data.py OUTDIR: writes the demo installation's database contents into OUTDIR.

For every database NAME it writes NAME.sql (one Jet SQL statement per line: the tables and their
indexes) and NAME.TABLE.jsonl (rows in the JSON Lines form of `qxtest-cli jet export`: a columns
line, then one array per row) for `jet exec` and `jet import`. The rows are made up but look like
an appraisal office's: a fixed seed makes every run write the same bytes.
"""
import json
import os
import random
import sys

out = sys.argv[1]
os.makedirs(out, exist_ok=True)
rnd = random.Random(20061120)

FIRST = ["James", "Mary", "Robert", "Patricia", "John", "Linda", "Michael", "Barbara", "William", "Susan",
         "David", "Karen", "Richard", "Nancy", "Thomas", "Lisa", "Charles", "Betty", "Daniel", "Sandra"]
LAST = ["Smith", "Johnson", "Williams", "Brown", "Jones", "Miller", "Davis", "Garcia", "Wilson", "Moore",
        "Taylor", "Anderson", "Thomas", "Jackson", "White", "Harris", "Martin", "Thompson", "Young", "Allen"]
STREETS = ["Main St", "Oak Ave", "Maple Dr", "Cedar Ln", "Pine St", "Elm St", "Washington Blvd",
           "Lakeview Rd", "Hillcrest Dr", "Park Ave", "Sunset Blvd", "River Rd", "Church St", "Mill Rd"]
CITIES = [("York", "PA", "174"), ("Lancaster", "PA", "176"), ("Harrisburg", "PA", "171"),
          ("Hanover", "PA", "173"), ("Baltimore", "MD", "212"), ("Towson", "MD", "212"),
          ("Frederick", "MD", "217"), ("Wilmington", "DE", "198"), ("Dover", "DE", "199"),
          ("Gettysburg", "PA", "173"), ("Carlisle", "PA", "170"), ("Westminster", "MD", "211")]
FORMS = [("1004", "Residential"), ("1073", "Condominium"), ("2055", "Exterior only"), ("1025", "Small income"),
         ("2000", "Review"), ("1004D", "Update/Completion"), ("216", "Operating income"), ("1007", "Rent schedule"),
         ("LAND", "Vacant land"), ("COMM", "Commercial")]
LENDERS = ["First Keystone Bank", "Susquehanna Mortgage", "Chesapeake Lending", "Valley Federal Credit Union",
           "Harbor Home Loans", "Blue Ridge Savings", "Penn Capital Mortgage", "Atlantic Coast Funding",
           "Colonial Trust Co.", "Liberty Home Finance", "Mason-Dixon Mortgage", "Gateway Lending Group",
           "Heritage Bank & Trust", "Summit Mortgage Corp.", "Patriot Federal", "Cornerstone Lending"]


def person():
    return rnd.choice(FIRST) + " " + rnd.choice(LAST)


def phone(area):
    return "(%s) %03d-%04d" % (area, rnd.randint(200, 999), rnd.randint(0, 9999))


def date(y0, y1):
    return "%04d-%02d-%02d 00:00:00" % (rnd.randint(y0, y1), rnd.randint(1, 12), rnd.randint(1, 28))


def write(db, statements, tables):
    with open(os.path.join(out, db + ".sql"), "w", encoding="utf-8") as f:
        for s in statements:
            f.write(s + "\n")
    for name, (columns, rows) in tables.items():
        with open(os.path.join(out, "%s.%s.jsonl" % (db, name)), "w", encoding="utf-8") as f:
            f.write(json.dumps({"columns": [{"name": c} for c in columns]}, ensure_ascii=False) + "\n")
            for r in rows:
                f.write(json.dumps(r, ensure_ascii=False) + "\n")


# ---- Office.mdb: the eleven tables the search works on.
appraisers = ["%s, SRA" % person() if i % 3 == 0 else person() for i in range(12)]
appraisers = list(dict.fromkeys(appraisers))
clients = list(LENDERS)
properties, invoices, assigned = [], [], []
for i in range(3000):
    city, st, zip3 = CITIES[i % len(CITIES)] if i % 5 else rnd.choice(CITIES)
    fileno = "%02d-%05d" % (3 + i // 1000, 1000 + i)
    form = rnd.choice(FORMS)[0]
    client = rnd.choice(clients)
    properties.append([fileno, "%d %s" % (rnd.randint(10, 9999), rnd.choice(STREETS)), city, st,
                       "%s%02d" % (zip3, rnd.randint(1, 99)), person(), client, form,
                       date(2003, 2006), "%d.0000" % rnd.choice([250, 275, 300, 325, 350, 400, 450])])
    fee = rnd.choice([250, 275, 300, 325, 350, 400, 450])
    checks = ["%d" % rnd.randint(1000, 99999)] + [None, None]
    if i % 7 == 0:
        checks[1] = "%d" % rnd.randint(1000, 99999)
    invoices.append([fileno, date(2003, 2006), client, "%d.0000" % fee, checks[0], checks[1], checks[2],
                     i % 11 != 0])
    assigned.append([fileno, rnd.choice(appraisers), date(2003, 2006), None if i % 4 else "Rush"])

office_sql = [
    "CREATE TABLE Property (FileNumber TEXT(20) CONSTRAINT PrimaryKey PRIMARY KEY, Address TEXT(100), "
    "City TEXT(50), ST TEXT(2), Zip TEXT(10), Borrower TEXT(80), Client TEXT(80), Form TEXT(10), "
    "OrderDate DATETIME, Fee CURRENCY)",
    "CREATE INDEX City ON Property (City)",
    "CREATE TABLE Invoice (InvoiceID COUNTER CONSTRAINT PrimaryKey PRIMARY KEY, FileNumber TEXT(20) NOT NULL, "
    "InvoiceDate DATETIME, Client TEXT(80), Amount CURRENCY, check1 TEXT(20), check2 TEXT(20), check3 TEXT(20), "
    "Paid BIT)",
    "CREATE INDEX FileNumber ON Invoice (FileNumber)",
    "CREATE TABLE Assigned (FileNumber TEXT(20), Appraiser TEXT(50), Assigned DATETIME, Notes MEMO)",
    "CREATE TABLE Client (ClientID COUNTER CONSTRAINT PrimaryKey PRIMARY KEY, Client TEXT(80) NOT NULL, "
    "Address TEXT(100), City TEXT(50), ST TEXT(2), Zip TEXT(10))",
    "CREATE UNIQUE INDEX Client ON Client (Client)",
    "CREATE TABLE ClientContact (Client TEXT(80), Contact TEXT(80), Email TEXT(100), Phone TEXT(20))",
    "CREATE TABLE ClientFee (Client TEXT(80), Form TEXT(10), Fee CURRENCY)",
    "CREATE TABLE Appraiser (AppraiserID COUNTER CONSTRAINT PrimaryKey PRIMARY KEY, Appraiser TEXT(50) NOT NULL, "
    "License TEXT(20), Phone TEXT(20), Active BIT)",
    "CREATE TABLE AppraiserFee (Appraiser TEXT(50), Form TEXT(10), Fee CURRENCY)",
    "CREATE TABLE FormTypes (Form TEXT(10) CONSTRAINT PrimaryKey PRIMARY KEY, Category TEXT(50), Description TEXT(100))",
    "CREATE TABLE Company (Company TEXT(80), Address TEXT(100), City TEXT(50), ST TEXT(2), Zip TEXT(10), "
    "Phone TEXT(20), Logo LONGBINARY)",
    "CREATE TABLE Users (UserName TEXT(30) CONSTRAINT PrimaryKey PRIMARY KEY, FullName TEXT(80), "
    "Administrator BIT, LastLogin DATETIME)",
]
office = {
    "Property": (["FileNumber", "Address", "City", "ST", "Zip", "Borrower", "Client", "Form", "OrderDate", "Fee"],
                 properties),
    "Invoice": (["FileNumber", "InvoiceDate", "Client", "Amount", "check1", "check2", "check3", "Paid"], invoices),
    "Assigned": (["FileNumber", "Appraiser", "Assigned", "Notes"], assigned),
    "Client": (["Client", "Address", "City", "ST", "Zip"],
               [[c, "%d %s" % (rnd.randint(1, 500), rnd.choice(STREETS))] + list(rnd.choice(CITIES)[:2]) +
                ["%05d" % rnd.randint(17000, 21999)] for c in clients]),
    "ClientContact": (["Client", "Contact", "Email", "Phone"],
                      [[c, p, p.lower().replace(" ", ".") + "@example.com", phone("717")]
                       for c in clients for p in [person(), person()]]),
    "ClientFee": (["Client", "Form", "Fee"],
                  [[c, f, "%d.0000" % rnd.choice([250, 300, 350, 400])] for c in clients for f, _ in FORMS[:5]]),
    "Appraiser": (["Appraiser", "License", "Phone", "Active"],
                  [[a, "RL-%06d" % rnd.randint(1, 999999), phone("717"), i % 5 != 4] for i, a in enumerate(appraisers)]),
    "AppraiserFee": (["Appraiser", "Form", "Fee"],
                     [[a, f, "%d.0000" % rnd.choice([150, 175, 200, 225])] for a in appraisers for f, _ in FORMS[:4]]),
    "FormTypes": (["Form", "Category", "Description"], [[f, c, "Form %s (%s)" % (f, c.lower())] for f, c in FORMS]),
    "Company": (["Company", "Address", "City", "ST", "Zip", "Phone"],
                [["Keystone Valuation Services", "120 Market St", "York", "PA", "17401", "(717) 555-0142"]]),
    "Users": (["UserName", "FullName", "Administrator", "LastLogin"],
              [["admin", "Office Administrator", True, "2006-11-20 08:15:00"]] +
              [[("%s%s%d" % (a.split()[0][0], a.split()[1].rstrip(","), i)).lower()[:30], a, False,
                date(2006, 2006)] for i, a in enumerate(appraisers[:6])]),
}
write("Office", office_sql, office)

# ---- Report.mdb: some of the temporary tables the reports leave behind, and two of its own.
report_sql = [
    "CREATE TABLE report (FileNumber TEXT(20), Line TEXT(255))",
    "CREATE TABLE invoice (FileNumber TEXT(20), InvoiceDate DATETIME, Amount CURRENCY)",
    "CREATE TABLE property (FileNumber TEXT(20), Address TEXT(100), City TEXT(50))",
    "CREATE TABLE Temp (Id COUNTER, Value TEXT(50))",
    "CREATE TABLE check1 (FileNumber TEXT(20), CheckNumber TEXT(20))",
    "CREATE TABLE users (UserName TEXT(30))",
    "CREATE TABLE ReportSettings (Setting TEXT(50) CONSTRAINT PrimaryKey PRIMARY KEY, Value TEXT(255))",
    "CREATE TABLE PrintLog (PrintedAt DATETIME, ReportName TEXT(80), Pages SHORT)",
]
report = {
    "report": (["FileNumber", "Line"], [[p[0], "%s, %s %s" % (p[1], p[2], p[3])] for p in properties[:40]]),
    "invoice": (["FileNumber", "InvoiceDate", "Amount"], [[v[0], v[1], v[3]] for v in invoices[:25]]),
    "property": (["FileNumber", "Address", "City"], [p[:3] for p in properties[:25]]),
    "Temp": (["Value"], [["work row %d" % i] for i in range(10)]),
    "check1": (["FileNumber", "CheckNumber"], [[v[0], v[4]] for v in invoices[:15]]),
    "users": (["UserName"], [["admin"]]),
    "ReportSettings": (["Setting", "Value"], [["PageSize", "Letter"], ["Copies", "1"], ["Printer", "Default"]]),
    "PrintLog": (["PrintedAt", "ReportName", "Pages"],
                 [[date(2006, 2006), rnd.choice(["Invoice", "Appraisal", "Aging"]), rnd.randint(1, 9)]
                  for _ in range(20)]),
}
write("Report", report_sql, report)

# ---- KelCom.mdb: comments kept per file number.
kelcom_sql = [
    "CREATE TABLE Comments (CommentID COUNTER CONSTRAINT PrimaryKey PRIMARY KEY, FileNumber TEXT(20), "
    "Entered DATETIME, EnteredBy TEXT(30), Comment MEMO)",
    "CREATE INDEX FileNumber ON Comments (FileNumber)",
]
remarks = ["Borrower called about the inspection date.", "Comparable sales were thin; widened the search.",
           "Lender asked for a revision of the market conditions addendum.", "Access through the side gate.",
           "Report delivered by e-mail.", "Waiting on the survey from the title company."]
write("KelCom", kelcom_sql, {
    "Comments": (["FileNumber", "Entered", "EnteredBy", "Comment"],
                 [[p[0], date(2005, 2006), "admin", rnd.choice(remarks)] for p in properties[::25]]),
})

# ---- KelRet.mdb: files handed over to and from other offices.
kelret_sql = [
    "CREATE TABLE Transfer (TransferID COUNTER CONSTRAINT PrimaryKey PRIMARY KEY, FileNumber TEXT(20), "
    "Direction TEXT(10), TransferDate DATETIME, Office TEXT(80))",
]
write("KelRet", kelret_sql, {
    "Transfer": (["FileNumber", "Direction", "TransferDate", "Office"],
                 [[p[0], rnd.choice(["Out", "In"]), date(2006, 2006), "Branch %d" % rnd.randint(1, 4)]
                  for p in properties[:30]]),
})
