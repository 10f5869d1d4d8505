#!/usr/bin/env python3
"""Runs the statements of docs/sql.md over a generated archive. Each must return rows.

    tests/tool/sql_page_test.py PATH/TO/eml [--duckdb FOLDER] [--print]

--duckdb also runs those of DuckDB; FOLDER is where "npm install @duckdb/node-api" has put it.
"""

import json
import os
import re
import sqlite3
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
RUNNER = """
import { DuckDBInstance } from '@duckdb/node-api';
import { readFileSync } from 'fs';
const connection = await (await DuckDBInstance.create(':memory:')).connect();
const answers = [];
for (const statement of JSON.parse(readFileSync(0))) {
    const reader = await connection.runAndReadAll(statement);
    answers.push([reader.columnNames(), reader.getRowsJson()]);
}
console.log(JSON.stringify(answers));
"""


def statements(engine):
    with open(os.path.join(ROOT, "docs/sql.md"), encoding="utf-8") as page:
        return re.findall(rf"^```sql {engine}\n(.*?)^```$", page.read(), re.MULTILINE | re.DOTALL)


def archive(folder):
    """An archive with conversations, and with what cannot be read."""
    import mail_archive
    mail_archive.make_archive(folder, 300, 5, 1)
    for number in range(0, 60, 3):
        with open(os.path.join(folder, f"answer-{number}.eml"), "w", encoding="utf-8") as file:
            file.write(f"From: Helper <h{number % 7}@example.org>\nTo: s{number}@example.org\nSubject: Re: question {number}\n"
                       f"Date: Tue, 4 Mar 2025 {number % 24:02}:00:00 +0000\nMessage-ID: <answer-{number}@example.org>\n"
                       f"In-Reply-To: <{number}@example.org>\nReferences: <{number}@example.org>\n\nThe report is there.\n")


def eml(program, *arguments):
    code = subprocess.run([program, "batch", *arguments, "in"], stderr=subprocess.DEVNULL, check=False).returncode
    if code not in (0, 1):
        raise SystemExit(f"eml batch {arguments}: exit code {code}")


def in_sqlite(program):
    eml(program, "--threads", "-o", "mail.sqlite")
    database = sqlite3.connect("mail.sqlite")
    for statement in statements("sqlite"):
        cursor = database.execute(statement)
        yield statement, [column[0] for column in cursor.description], cursor.fetchall()
    database.close()


def in_duckdb(program, folder):
    eml(program, "--parts", "--threads", "-o", "rows.jsonl")
    runner = os.path.join(folder, "run.mjs")
    with open(runner, "w", encoding="utf-8") as file:
        file.write(RUNNER)
    wanted = statements("duckdb")
    run = subprocess.run(["node", runner], input=json.dumps(wanted).encode(), stdout=subprocess.PIPE, check=True)
    for statement, (columns, rows) in zip(wanted, json.loads(run.stdout), strict=True):
        yield statement, columns, rows


def main():
    program = os.path.abspath(sys.argv[1])
    version = subprocess.run([program, "--json", "version"], capture_output=True, check=True).stdout
    if "database" not in json.loads(version)["features"]:
        print("skipped: databases\n0 passed, 0 failed")
        return 0
    duckdb = os.path.abspath(sys.argv[sys.argv.index("--duckdb") + 1]) if "--duckdb" in sys.argv else None
    sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
    passed = failed = 0
    with tempfile.TemporaryDirectory() as work:
        os.chdir(work)
        archive("in")
        runs = [in_sqlite(program)] + ([in_duckdb(program, duckdb)] if duckdb else [])
        for run in runs:
            for statement, columns, rows in run:
                good = bool(rows)
                passed, failed = passed + good, failed + (not good)
                if "--print" in sys.argv or not good:
                    print(statement.strip(), " | ".join(columns), *[" | ".join(map(str, row)) for row in rows], "", sep="\n")
    print(f"{passed} passed, {failed} failed")
    return 1 if failed or not passed else 0


if __name__ == "__main__":
    sys.exit(main())
