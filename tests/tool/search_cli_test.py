#!/usr/bin/env python3
"""Rows as a database, and what `eml search` finds in it.

    tests/tool/search_cli_test.py PATH/TO/eml [TEST...]
"""

import json
import os
import signal
import sqlite3
import subprocess
import sys
import time

import cli_test as cli
import mail_archive
from cli_test import eml, equal, expect, read, write

TESTS = []
COUNT = 300


def test(function):
    TESTS.append(function)
    return function


def letter(number, subject, text, date="Tue, 4 Mar 2025 09:15:22 +0100", sender="Ann Meier <ann@example.org>", more=b"", files=()):
    parts = [(b"text/plain; charset=utf-8", text.encode())]
    body = b"".join(b"--B\r\nContent-Type: " + kind + b"\r\n\r\n" + content + b"\r\n" for kind, content in parts)
    body += b"".join(b'--B\r\nContent-Type: application/pdf\r\nContent-Disposition: attachment; filename="' + name.encode()
                     + b'"\r\n\r\nx\r\n' for name in files)
    return (f"From: {sender}\r\nTo: Bob <bob@example.net>\r\nSubject: {subject}\r\nDate: {date}\r\n"
            f"Message-ID: <{number}@example.org>\r\n").encode() + more + (
                b"MIME-Version: 1.0\r\nContent-Type: multipart/mixed; boundary=B\r\n\r\n" + body + b"--B--\r\n")


LETTERS = {
    "1.eml": letter(1, "Project plan", "The plan for May is ready.\nSee the file.", files=["report.pdf"]),
    "2.eml": letter(2, "Re: Project plan", "Caf\u00e9 at noon?", "Wed, 5 Mar 2025 09:15:22 +0100", "Carl <carl@example.org>",
                    b"In-Reply-To: <1@example.org>\r\nReferences: <1@example.org>\r\n"),
    "3.eml": letter(3, "Draft", "May I plan for it?", "Fri, 1 Mar 2024 00:30:00 +0100", more=b"List-Id: <talk.example.org>\r\n"),
    "4.eml": letter(4, "Undated", "planning \u660e\u65e5\u306e\u4f1a\u8b70\u306f\u4e2d\u6b62", "soon",
                    more=b"References: <0@example.org> <3@example.org>\r\n"),
}


def letters():
    os.makedirs("in")
    for name, content in LETTERS.items():
        write(f"in/{name}", content)
    write("in/5.eml", b"nothing at all")
    return eml("batch", "-o", "mail.sqlite", "--threads", "in")


def found(*words, options=()):
    result = eml("--json", "search", *options, "mail.sqlite", "--", *words)
    equal((result.code, result.err if "of which" not in result.err else ""), (0, ""), f"{words}")
    answers = [json.loads(line) for line in result.out.splitlines()]
    for answer in answers:
        cli.validate_answer(answer)
    return [os.path.basename(answer["source"]["path"])[0] for answer in answers]


def query(statement, path="mail.sqlite"):
    database = sqlite3.connect(path)
    try:
        return database.execute(statement).fetchall()
    finally:
        database.close()


def rows_of(path):
    """What of a database does not depend on the order in which messages came."""
    return sorted(query("SELECT path, mbox_index, status, subject, date, message_id, size, attachments, "
                        "(SELECT group_concat(type || coalesce(size, '')) FROM parts WHERE message = m.id), "
                        "(SELECT group_concat(field || coalesce(address, '')) FROM addresses WHERE message = m.id), "
                        "(SELECT body FROM texts t WHERE t.id = m.id) FROM messages m", path), key=str)


@test
def words_and_what_they_find():
    expect(letters(), 1, "eml: 5 messages read, 1 of them with errors\n")
    for words, wanted in (
            (["plan"], "213"), (["PLAN"], "213"), (["plan*"], "2134"), (["cafe"], "2"), (["caf\u00e9"], "2"),
            (['"plan for may"'], "1"), (["plan for may"], "13"), (["noon", "OR", "ready"], "21"), (["plan", "-draft"], "21"),
            (["-plan"], "45"), (["subject:plan"], "21"), (["body:plan"], "13"), (["from:carl"], "2"), (["from:Ann Meier"], "134"),
            (["to:bob@example.net", "noon"], "2"), (["filename:report"], "1"), (["has:attachment"], "1"), (["-has:attachment"], "2345"),
            (["after:2025"], "21"), (["before:2025-03-05"], "13"), (["after:2025-03-04", "before:2025-03-05"], "1"),
            (["after:2024-03"], "21"), (["list:talk.example.org"], "3"), (["id:2@example.org"], "2"), (["status:error"], "5"),
            (["http://nowhere.example"], ""), (["example.org"], "2134"), (["zebra"], ""), (["\u4f1a\u8b70"], "4"), (["body:\u4e2d\u6b62", "planning"], "4"),
            (["subject:\u4f1a\u8b70"], ""), (["plan*", "-\u4f1a\u8b70"], "213")):
        equal("".join(found(*words)), wanted, f"{words}")
    equal(found("plan", options=["--sort=oldest"]), ["3", "1", "2"])
    equal(sorted(found("plan", options=["--sort=relevance"])), ["1", "2", "3"])
    equal(found("plan*", options=["-n2"]), ["2", "1"])
    [[thread]] = query("SELECT DISTINCT thread FROM messages WHERE subject LIKE '%Project%'")
    equal(found(f"thread:{thread}"), ["2", "1"])
    rows = [json.loads(line) for line in eml("batch", "--threads", "in").out.splitlines()]
    equal(query("SELECT path, thread FROM messages ORDER BY path"), [(row["source"]["path"], row.get("thread")) for row in rows])
    equal(rows[2]["thread"], rows[3]["thread"], "by references")


@test
def answers_for_people_say_where_and_how_many():
    letters()
    expect(eml("search", "mail.sqlite", "noon"), 0, "eml: 1 message\n",
           "2  2025-03-05  Carl <carl@example.org>\n    Re: Project plan\n    Caf\u00e9 at noon?\n    in/2.eml\n")
    result = eml("--color=always", "search", "-n1", "mail.sqlite", "plan", "for")
    equal((result.code, result.err), (0, "eml: 2 messages, of which these are 1; --limit=0 gives all\n"))
    equal("The \x1b[1mplan\x1b[0m \x1b[1mfor\x1b[0m May" in result.out, True, result.out)
    expect(eml("search", "mail.sqlite", "zebra"), 0, "eml: 0 messages\n", "")
    expect(eml("search", "mail.sqlite", "status:error"), 0, "eml: 1 message\n",
           "5  no date     no sender\n    (not an e-mail message (no header field found); --force reads it anyway)\n    in/5.eml\n")
    expect(eml("search", "mail.sqlite", "--", "-zebra", "undated"), 0, "eml: 1 message\n")


@test
def a_message_is_opened_by_its_number():
    os.makedirs("in")
    write("in/a#1.eml", LETTERS["1.eml"])
    write("in/box.mbox", b"".join(b"From x Thu Jan  1 00:00:00 1970\n" + LETTERS[name].replace(b"\r\n", b"\n") + b"\n"
                                  for name in ("2.eml", "3.eml")))
    expect(eml("batch", "-o", "mail.sqlite", "in"), 0)
    os.mkdir("elsewhere")
    for number, subject in ((1, "Project plan"), (2, "Re: Project plan"), (3, "Draft")):
        for cwd, path in ((".", "mail.sqlite"), ("elsewhere", "../mail.sqlite")):
            result = eml("--json", "info", f"{path}#{number}", cwd=cwd)
            equal((result.code, json.loads(result.out)["message"]["metadata"]["subject"]), (0, subject), f"{number} {cwd}")
    equal("Caf\u00e9 at noon?" in eml("show", "mail.sqlite#2").out, True)
    expect(eml("show", "mail.sqlite#4"), 7, "eml: mail.sqlite: has 3 messages, there is no 4\n")
    result = eml("show", "mail.sqlite")
    equal((result.code, "is a database" in result.err), (2, True), result.err)
    os.remove("in/a#1.eml")
    equal(eml("show", "mail.sqlite#1").code, 3)
    database = sqlite3.connect("mail.sqlite")
    database.execute("UPDATE messages SET path = 'mail.sqlite', mbox_index = 2 WHERE id = 3")
    database.commit()
    database.close()
    expect(eml("show", "mail.sqlite#3"), 3,
           f"eml: {os.getcwd()}/mail.sqlite: is a database itself, where a message should be\n")


@test
def what_cannot_be_searched():
    letters()
    write("text.sqlite", b"just text, " * 50)
    with sqlite3.connect("other.sqlite") as database:
        database.execute("CREATE TABLE messages (id)")
    write("cut.sqlite", read("mail.sqlite")[:5000])
    for path, code in (("none.sqlite", 3), ("text.sqlite", 3), ("other.sqlite", 3), ("in", 3)):
        result = eml("search", path, "plan")
        equal((result.code, result.out, result.err.startswith(f"eml: {path}: ")), (code, "", True), f"{path}: {result.err}")
    for path in ("none.sqlite",):
        equal(os.path.exists(path), False, "nothing is created")
    result = eml("search", "cut.sqlite", "plan")
    equal((result.code, "damaged" in result.err), (3, True), result.err)
    for words in ([], ["..."], ["form:x"], ['"a'], ["after:soon"]):
        equal(eml("search", "mail.sqlite", *words).code, 2, f"{words}")
    equal(eml("search", "--limit=x", "mail.sqlite", "a").code, 2)


@test
def damage_never_does_more_than_fail():
    letters()
    whole = read("mail.sqlite")
    for place in range(100, len(whole), max(1, len(whole) // 60)):
        write("damaged.sqlite", whole[:place] + bytes(byte ^ 0x5A for byte in whole[place:place + 40]) + whole[place + 40:])
        result = eml("search", "damaged.sqlite", "plan", "OR", "cafe")
        equal(result.code in (0, 3, 6), True, f"{place}: {result.code} {result.err}")


@test
def tables_hold_what_rows_say():
    write("m.eml", LETTERS["1.eml"].replace(b"To: Bob", b"To: Team: Zo\xc3\xab <zoe@example.net>;\r\nCc: Bob"))
    expect(eml("batch", "--full", "-o", "mail.sqlite", "m.eml"), 0)
    row = json.loads(eml("batch", "--full", "m.eml").out)
    message = row["message"]
    equal(query("SELECT path, status, subject, subject_base, sender, recipients, date, date_utc, time, message_id, size, sha256, "
                "encrypted, charset, attachments, text FROM messages JOIN other_texts ON kind = 'markdown'"),
          [("m.eml", "ok", "Project plan", "Project plan", message["metadata"]["from"],
            message["metadata"]["to"] + ", " + message["metadata"]["cc"], message["date"], message["date_utc"], 1741076122,
            "1@example.org", message["size"], message["sha256"], 0, "utf-8", 1, message["markdown"])])
    equal(query("SELECT field, name, address, member_of FROM addresses ORDER BY rowid"),
          [(each["field"], each["name"], each["address"], each.get("group")) for each in message["addresses"]])
    equal(query("SELECT number, parent, section, type, name, size, stored_size, sha256, is_attachment FROM parts ORDER BY number"),
          [(part["number"], part["parent"], part["section"], part["type"], part["name"], part["size"], part["stored_size"],
            part.get("sha256"), int("attachment" in part["roles"])) for part in message["parts"]])
    equal(query("SELECT position, name, text FROM fields"),
          [(place, field["name"], field["text"]) for place, field in enumerate(message["headers"])])
    equal(query("SELECT body, attachments FROM texts"), [(message["text"], "report.pdf")])
    equal(query("PRAGMA journal_mode"), [("delete",)], "one file in the end")
    equal(sorted(os.listdir(".")), ["m.eml", "mail.sqlite"])


@test
def a_database_is_continued():
    mail_archive.make_archive("in", COUNT, 5, 1)
    equal(eml("batch", "-o", "whole.sqlite", "in").code in (0, 1), True)
    process = subprocess.Popen([cli.EML, "batch", "-o", "mail.sqlite", "-"], stdin=subprocess.PIPE, stderr=subprocess.DEVNULL)
    names = sorted(os.path.join(folder, name) for folder, _, files in os.walk("in") for name in files)
    process.stdin.write("".join(name + "\n" for name in names[:COUNT // 2]).encode())
    process.stdin.flush()
    end = time.time() + 60
    while time.time() < end and not counted("mail.sqlite"):
        time.sleep(0.1)
        if process.poll() is not None:
            break
        # A commit comes with rows, once a second has passed.
        process.stdin.write((names.pop(COUNT // 2) + "\n").encode())
        process.stdin.flush()
    process.send_signal(signal.SIGKILL)
    process.wait()
    equal(0 < counted("mail.sqlite") < COUNT, True, "killed in the middle")
    expect_same = eml("batch", "-o", "mail.sqlite", "in")
    equal((expect_same.code, "already exists" in expect_same.err), (6, True))
    equal(eml("batch", "--resume", "-o", "mail.sqlite", "in").code in (0, 1), True)
    equal(rows_of("mail.sqlite") == rows_of("whole.sqlite"), True, "the same rows")
    result = eml("batch", "--resume", "-o", "mail.sqlite", "in")
    equal(result.code, 0, "nothing is left to do")
    equal(rows_of("mail.sqlite") == rows_of("whole.sqlite"), True, "nothing twice")
    equal(query("PRAGMA integrity_check", "mail.sqlite"), [("ok",)])
    equal(query("SELECT count(*) FROM search WHERE search MATCH 'report'", "mail.sqlite"),
          query("SELECT count(*) FROM search WHERE search MATCH 'report'", "whole.sqlite"))


def counted(path):
    try:
        with sqlite3.connect(f"file:{path}?mode=ro", uri=True) as database:
            return database.execute("SELECT count(*) FROM messages").fetchone()[0]
    except sqlite3.Error:
        return 0


@test
def what_is_no_database_is_left_alone():
    write("m.eml", cli.PLAIN)
    write("rows.sqlite", b"not empty\n")
    with sqlite3.connect("other.db") as database:
        database.execute("CREATE TABLE messages (id)")
    for path in ("rows.sqlite", "other.db"):
        before = read(path)
        for options in ([], ["--resume"]):
            result = eml("batch", *options, "-o", path, "m.eml")
            equal((result.code in (3, 6), read(path) == before), (True, True), f"{path} {options}: {result.err}")
    for arguments in (["--reader=container"], ["--schema=1"]):
        equal(eml(*arguments, "batch", "-o", "a.sqlite", "m.eml").code, 2)
    equal(os.path.exists("a.sqlite"), False)
    os.mkdir("folder.sqlite")
    equal(eml("batch", "-o", "folder.sqlite", "m.eml").code, 6)


@test
def the_database_is_not_read_as_a_message():
    write("m.eml", cli.PLAIN)
    expect(eml("batch", "-o", "mail.sqlite", "."), 0)
    equal(query("SELECT path FROM messages"), [("./m.eml",)])
    expect(eml("batch", "--resume", "-o", "mail.sqlite", "."), 0)
    equal(query("SELECT path FROM messages"), [("./m.eml",)])


@test
def who_reads_it_disturbs_nothing():
    letters()
    reader = sqlite3.connect("mail.sqlite")
    reader.execute("SELECT * FROM messages").fetchone()
    write("in/6.eml", cli.PLAIN)
    expect(eml("batch", "--resume", "-o", "mail.sqlite", "in"), 0)
    reader.close()
    equal(query("SELECT count(*) FROM messages"), [(6,)])


@test
def a_full_disk_leaves_what_is_whole():
    os.makedirs("in")
    for number in range(60):
        write(f"in/{number:03}.eml", letter(number, f"Letter {number}", "word " * 4000))
    limited = 'ulimit -f 400; trap "" XFSZ; exec "$0" "$@"'
    result = subprocess.run(["bash", "-c", limited, cli.EML, "batch", "-o", "mail.sqlite", "in"], capture_output=True, check=False)
    equal((result.returncode, b"--resume continues it" in result.stderr), (6, True), f"{result}")
    equal(query("PRAGMA integrity_check"), [("ok",)])
    expect(eml("batch", "--resume", "-o", "mail.sqlite", "in"), 0)
    equal(query("SELECT count(*), count(DISTINCT path) FROM messages"), [(60, 60)])


# ---------------------------------------------------------------------------------------------------------


def main():
    if "database" not in json.loads(eml("--json", "version").out)["features"]:
        print("skipped: databases\n0 passed, 0 failed")
        return 0
    wanted = sys.argv[2:]
    cli.TESTS[:] = [function for function in TESTS if not wanted or function.__name__ in wanted]
    return cli.main()


if __name__ == "__main__":
    sys.exit(main())
