#!/usr/bin/env python3
"""Runs `eml batch` as a user and an engine do: folders, mbox files, lists, shards, resumed and killed runs.

    tests/tool/batch_test.py PATH/TO/eml [TEST...]

2,000 generated messages are read; EMLREADER_TEST_FULL=1 makes it 100,000. EML_RANDOM_SEED chooses where runs
are killed.
"""

import base64
import contextlib
import fcntl
import functools
import hashlib
import json
import os
import pty
import random
import select
import signal
import stat
import subprocess
import sys
import time

import cli_test as cli
import mail_archive
from cli_test import equal, expect, read, write

EML = cli.EML
TESTS = []
FULL = os.environ.get("EMLREADER_TEST_FULL", "") not in ("", "0")
COUNT = 100_000 if FULL else 2_000
SEED = int(os.environ.get("EML_RANDOM_SEED", "7"))
HERE = os.path.dirname(os.path.abspath(__file__))
SHARED = {}  # made once: the archive and its rows
WATCHED = 60  # seconds until something that must happen counts as not happening


def test(function):
    TESTS.append(function)
    return function


# ---------------------------------------------------------------------------------------------------------
# Running


@functools.lru_cache(maxsize=None)
def check_row(line):
    """Each row once."""
    cli.validate_answer(json.loads(line))


def rows_of(text):
    if isinstance(text, bytes):
        text = text.decode()
    equal(text.endswith("\n") or not text, True, "the output ends on a whole line")
    lines = text.splitlines()
    for line in lines:
        check_row(line)
    return [json.loads(line) for line in lines]


def batch(*arguments, code=None, **more):
    """The rows on standard output, and the result."""
    result = cli.eml("batch", *arguments, **more)
    if code is not None:
        equal((result.code, result.err if result.code != code else ""), (code, ""), "exit code")
    return rows_of(result.out), result


def environment(**more):
    variables = {name: os.environ[name] for name in ("PATH", "ASAN_OPTIONS", "UBSAN_OPTIONS")
                 if name in os.environ}
    return {**variables, "LC_ALL": "C", **more}


def start(*arguments, **more):
    """The command, running."""
    usual = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, "stderr": subprocess.PIPE, "env": environment()}
    return subprocess.Popen([EML, "batch", *arguments], **{**usual, **more})


def paths_of(rows):
    return [row["source"]["path"] for row in rows]


def code_of(row):
    return row["error"]["code"] if row["status"] == "error" else row["status"]


def children_of(process):
    """The workers, by the ids of their processes."""
    found = []
    for entry in os.listdir("/proc"):
        if not entry.isdigit():
            continue
        with contextlib.suppress(OSError):
            fields = read(f"/proc/{entry}/stat").rsplit(b")", 1)[1].split()
            if int(fields[1]) == process.pid and fields[0] != b"Z":
                found.append(int(entry))
    return found


def wait_until(condition, what):
    end = time.monotonic() + WATCHED
    while not condition():
        if time.monotonic() > end:
            raise AssertionError(f"waited in vain until {what}")
        time.sleep(0.002)


def is_gone(number):
    try:
        return read(f"/proc/{number}/stat").rsplit(b")", 1)[1].split()[0] == b"Z"
    except OSError:
        return True


def archive():
    """The folder of the generated messages, their paths, and the lines of an undisturbed run."""
    if not SHARED:
        folder = os.path.join(SHARED_FOLDER, "archive")
        SHARED["paths"] = mail_archive.make_archive(folder, COUNT, bad=11)
        SHARED["folder"] = folder
        result = cli.eml("batch", folder)
        equal(result.code, 1, result.err)
        rows_of(result.out)
        SHARED["text"] = result.out
        SHARED["lines"] = sorted(result.out.splitlines())
    return SHARED


def lines_in(path):
    try:
        with open(path, "rb") as file:
            return sum(piece.count(b"\n") for piece in iter(lambda: file.read(1 << 20), b""))
    except FileNotFoundError:
        return 0


def is_sanitized():
    return b"__asan_init" in read(EML)


def misbehaving():
    """The environment in which files with telling names crash, hang or eat their reader."""
    library = os.path.join(SHARED_FOLDER, "misbehave.so")
    if not os.path.exists(library):
        source = os.path.join(HERE, "misbehave.c")
        subprocess.run(["cc", "-shared", "-fPIC", "-O1", "-o", library, source, "-ldl"], check=True)
    options = os.environ.get("ASAN_OPTIONS", "")
    return {"LD_PRELOAD": library,
            "ASAN_OPTIONS": ":".join(filter(None, (options, "verify_asan_link_order=0")))}


# ---------------------------------------------------------------------------------------------------------
# What a row is


@test
def the_schema_is_the_file_that_the_tests_use():
    result = cli.eml("schema")
    expect(result, 0, out=read(os.path.join(HERE, "../../tool/commands/eml-2.schema.json")).decode())
    expect(cli.eml("schema", "--schema=1"), 0,
           out=read(os.path.join(HERE, "../../tool/commands/eml-1.schema.json")).decode())
    equal(json.loads(result.out)["properties"]["schema"], {"const": "eml/2"})
    for subject in ("tree", "compare"):
        expect(cli.eml("schema", subject), 0,
               out=read(os.path.join(HERE, f"../../tool/commands/eml-{subject}-1.schema.json")).decode())
    expect(cli.eml("schema", "x"), 2, "eml: schema: no such subject, x; it is messages, tree, compare or search\n")


@test
def a_row_is_what_info_says():
    for name, content in (("a.eml", cli.SAMPLE), ("b.eml", cli.LETTER), ("c.eml", cli.ENCRYPTED),
                          ("d.eml", b""), ("e.eml", b"\nno header\n"), ("f.eml", cli.DRIVING)):
        write(name, content)
    for name in ("a.eml", "b.eml", "c.eml", "d.eml", "e.eml", "f.eml"):
        info = cli.eml("--json", "info", name)
        _, result = batch(name)
        equal(result.out, info.out, name)
        cli.no_control_characters(result.out, name)


@test
def failures_are_rows():
    write("good.eml", cli.PLAIN)
    write("empty.eml", b"")
    write("none.eml", b"\nnothing\n")
    rows, result = batch("good.eml", "missing.eml", "empty.eml", "none.eml", code=1)
    equal([code_of(row) for row in rows], ["ok", "no-such-file", "empty", "no-message"])
    equal(result.err, "eml: 4 messages read, 3 of them with errors\n")
    equal(rows[1]["error"], {"code": "no-such-file", "text": "no such file", "exit": 3})
    equal(batch("--errors-ok", "missing.eml", "good.eml", code=0)[1].err.count("\n"), 1)
    expect(cli.eml("-q", "batch", "missing.eml"), 1)
    expect(cli.eml("batch", "good.eml"), 0)
    equal([code_of(row) for row in batch("--force", "none.eml", code=0)[0]], ["ok"])


@test
def text_is_what_show_prints():
    write("plain.eml", cli.LETTER)
    write("html.eml", cli.simple(cli.HTML, kind=b"text/html; charset=utf-8"))
    write("encrypted.eml", cli.ENCRYPTED)
    rows, _ = batch("--text", "plain.eml", "html.eml", "encrypted.eml", code=0)
    for name, row in zip(("plain.eml", "html.eml"), rows):
        equal(row["message"]["text"], cli.eml("show", "--body-only", name).out, name)
    equal("text" in rows[2]["message"], False)
    equal("text" in batch("plain.eml")[0][0]["message"], False)


@test
def spans_of_the_text_say_whose_the_lines_are():
    write("reply.eml", cli.REPLY)
    write("none.eml", cli.simple(b""))
    write("encrypted.eml", cli.ENCRYPTED)
    rows, _ = batch("--text", "reply.eml", "none.eml", "encrypted.eml", code=0)
    spans = rows[0]["message"]["text_spans"]
    equal([(span["kind"], span["first_line"], span["lines"]) for span in spans],
          [("own", 1, 2), ("attribution", 3, 1), ("quote", 4, 3), ("own", 7, 2), ("signature", 9, 3), ("footer", 12, 2)])
    equal(sum(span["lines"] for span in spans), rows[0]["message"]["text"].count("\n"))
    equal(rows[1]["message"]["text_spans"], [])
    equal("text_spans" in rows[2]["message"], False)
    equal("text_spans" in batch("reply.eml", code=0)[0][0]["message"], False)
    for option in ("--schema=1", "--reader=container"):
        message = json.loads(cli.eml(option, "batch", "--text", "reply.eml").out)["message"]
        equal(("text" in message, "text_spans" in message), (True, False), option)


@test
def digests_are_sha_256():
    write("m.eml", cli.SAMPLE)
    for length in (0, 1, 55, 56, 63, 64, 65, 119, 120, 4095, 100_000):
        content = bytes(i * 7 % 251 for i in range(length))
        write("m.eml", cli.mixed(cli.part("x.bin", content)))
        (row,), _ = batch("--digest", "m.eml", code=0)
        equal(row["message"]["sub_files"][1]["sha256"], hashlib.sha256(content).hexdigest(), str(length))
        equal(row["message"]["sub_files"][1]["size"], length)
        equal(row["message"]["sha256"], hashlib.sha256(read("m.eml")).hexdigest())
    equal("sha256" in json.dumps(batch("m.eml")[0]), False)


@test
def embedded_messages_are_opened_on_demand():
    write("m.eml", cli.SAMPLE)
    inner = batch("-r", "--digest", "m.eml", code=0)[0][0]["message"]["sub_files"][3]
    deep = inner["message"]["sub_files"][1]
    equal((deep["name"], deep["sha256"]), ("deep.bin", hashlib.sha256(b"deep!!").hexdigest()))
    equal("message" in batch("m.eml")[0][0]["message"]["sub_files"][3], False)


@test
def a_path_that_is_no_utf8_is_given_raw():
    name = os.fsdecode(b"m\xff.eml")
    write(name, cli.PLAIN)
    for arguments, stdin in (((name,), b""), ((".",), b""), (("-",), b"m\xff.eml\n")):
        (row,), _ = batch(*arguments, stdin=stdin, code=0)
        equal(base64.b64decode(row["source"]["path_b64"])[-6:], b"m\xff.eml")


@test
def wrong_usage():
    write("m.eml", cli.PLAIN)
    for arguments, text in {
        (): 'batch: no PATH given; see "eml batch --help"',
        ("-", "-"): "batch: - is given twice",
        ("-0", "m.eml"): "batch: -0 is for the paths on standard input; add -",
        ("--resume", "m.eml"): "batch: --resume needs -o FILE",
        ("-j", "x", "m.eml"): "-j x: not a number from 0 to 4096",
        ("-j", "-1", "m.eml"): "-j -1: not a number from 0 to 4096",
        ("-j5000", "m.eml"): "-j 5000: not a number from 0 to 4096",
        ("--shard=0/3", "m.eml"): "--shard=0/3: not K/N with K from 1 to N, as in 3/16",
        ("--shard=4/3", "m.eml"): "--shard=4/3: not K/N with K from 1 to N, as in 3/16",
        ("--shard=1", "m.eml"): "--shard=1: not K/N with K from 1 to N, as in 3/16",
        ("--shard=1/2x", "m.eml"): "--shard=1/2x: not K/N with K from 1 to N, as in 3/16",
        ("--timeout=-1", "m.eml"): "--timeout=-1: not a number of seconds from 0 to 1000000",
        ("--timeout=nan", "m.eml"): "--timeout=nan: not a number of seconds from 0 to 1000000",
        ("--timeout=x", "m.eml"): "--timeout=x: not a number of seconds from 0 to 1000000",
        ("--max-memory=1M", "m.eml"): "--max-memory=1M: not a size of 16M or more, as in 512M or 2G",
        ("--max-memory=2GB", "m.eml"): "--max-memory=2GB: not a size of 16M or more, as in 512M or 2G",
        ("--max-memory=99999999999G", "m.eml"):
            "--max-memory=99999999999G: not a size of 16M or more, as in 512M or 2G",
        ("--threads", "--schema=1", "m.eml"):
            "--threads is not in version 1 of the answers; leave out --schema=1",
        ("--threads", "--reader=container", "m.eml"):
            "--threads goes by ids that the MIME reader reads; --reader does not apply",
    }.items():
        expect(cli.eml("batch", *arguments), 2, f"eml: {text}\n", "")


# ---------------------------------------------------------------------------------------------------------
# Where messages come from


@test
def a_folder_is_read_in_the_order_of_its_paths():
    names = ["b/x.eml", "b.eml", "b/.hidden/y.eml", "B.eml", "a/z/z.eml", "a-b.eml", "a/m", "\u00e4.eml",
             "new\nline"]
    for name in names:
        os.makedirs(os.path.join("archive", os.path.dirname(name)), exist_ok=True)
        write(os.path.join("archive", name), cli.PLAIN)
    os.makedirs("archive/empty")
    for folder in ("archive", "archive/"):
        rows, _ = batch(folder, code=0)
        equal(paths_of(rows), sorted(("archive/" + name for name in names), key=os.fsencode))
    rows, _ = batch("archive/b.eml", "archive/a", "archive/b", code=0)
    equal(paths_of(rows), ["archive/b.eml", "archive/a/m", "archive/a/z/z.eml", "archive/b/.hidden/y.eml",
                           "archive/b/x.eml"])
    rows, _ = batch("--name=*.eml", "archive/a", "archive/B.eml", code=0)
    equal(paths_of(rows), ["archive/a/z/z.eml", "archive/B.eml"])
    equal(batch("archive/empty", code=0)[0], [])


@test
def links_and_other_things_in_a_folder():
    os.mkdir("archive")
    os.mkdir("elsewhere")
    write("elsewhere/m.eml", cli.PLAIN)
    os.symlink("../elsewhere/m.eml", "archive/a-link.eml")
    os.symlink("nowhere", "archive/b-dangling.eml")
    os.symlink("../archive", "archive/c-round")
    os.mkfifo("archive/d-pipe")
    rows, result = batch("archive", code=1)
    equal([(row["source"]["path"], code_of(row)) for row in rows],
          [("archive/a-link.eml", "ok"), ("archive/b-dangling.eml", "no-such-file")])
    equal(result.err, "eml: archive/c-round: warning: left out: a link to a folder, which is not followed\n"
                      "eml: archive/d-pipe: warning: left out: no regular file\n"
                      "eml: 2 messages read, 1 of them with errors\n")
    os.symlink("archive", "link")
    equal(len(batch("link", code=1)[0]), 2)


@test
def a_folder_that_cannot_be_read_is_a_row():
    if os.getuid() == 0:
        return "as root every folder can be read"
    os.makedirs("archive/closed")
    write("archive/a.eml", cli.PLAIN)
    os.chmod("archive/closed", 0)
    rows, _ = batch("archive", code=1)
    equal([code_of(row) for row in rows], ["ok", "cannot-read"])
    return None


@test
def paths_on_standard_input():
    os.mkdir("folder")
    for name in ("a.eml", "b c.eml", "folder/d.eml", "-", "line\nfeed"):
        write(name, cli.PLAIN)
    long = "x" * 5000
    rows, _ = batch("-", stdin=f"a.eml\n\nb c.eml\nmissing\nfolder\n-\n{long}\na.eml".encode(), code=1)
    equal([(row["source"]["path"], code_of(row)) for row in rows],
          [("a.eml", "ok"), ("b c.eml", "ok"), ("missing", "no-such-file"), ("folder/d.eml", "ok"),
           ("-", "ok"), (long, "cannot-read"), ("a.eml", "ok")])
    rows, _ = batch("-0", "-", stdin=b"line\nfeed\0a.eml\0\0b c.eml\0", code=0)
    equal(paths_of(rows), ["line\nfeed", "a.eml", "b c.eml"])
    rows, _ = batch("-", stdin=b"a.eml\0b.eml\0\n", code=1)
    equal(rows[0]["error"]["text"], "no such file; the path holds a zero byte (is -0 missing?)")
    rows, _ = batch("folder", "-", "b c.eml", stdin=b"a.eml\n", code=0)
    equal(paths_of(rows), ["folder/d.eml", "a.eml", "b c.eml"])
    equal(batch("-", stdin=b"", code=0)[0], [])
    equal(len(batch("-", stdin=b"a.eml\n" * 3000, code=0)[0]), 3000)


@test
def each_path_is_answered_before_the_next_one_comes():
    write("a.eml", cli.PLAIN)
    for jobs in ("1", "3"):
        process = start("-j", jobs, "-", stdin=subprocess.PIPE)
        for _ in range(5):
            process.stdin.write(b"a.eml\n")
            process.stdin.flush()
            ready, _, _ = select.select([process.stdout], [], [], WATCHED)
            equal(bool(ready), True, "an answer")
            equal(json.loads(process.stdout.readline())["source"]["path"], "a.eml")
        process.stdin.close()
        equal((process.stdout.read(), process.wait()), (b"", 0))
        process.stdout.close()
        process.stderr.close()


# ---------------------------------------------------------------------------------------------------------
# mbox


def quoted(message):
    """As mboxrd writes it: one more ">" before "From " at the beginning of a line."""
    lines = message.split(b"\n")
    return b"\n".join(b">" + line if line.lstrip(b">").startswith(b"From ") else line for line in lines)


def mbox_of(messages, end=b"\n"):
    return b"".join(b"From x@example.org Thu Jan  1 00:00:00 1970" + end + quoted(message) + end
                    for message in messages)


@test
def messages_of_an_mbox():
    tricky = cli.mixed(cli.part("t.txt", b"From here\n>From there\n>>From everywhere\nFrom", encoding="8bit"))
    messages = [cli.PLAIN, cli.SAMPLE, tricky, cli.PLAIN + b"\nno \nFrom \nline\n", cli.LETTER]
    write("all.mbox", mbox_of(messages))
    rows, _ = batch("--digest", "all.mbox", code=0)
    equal([(row["source"]["path"], row["source"]["index"]) for row in rows],
          [("all.mbox", i) for i in range(len(messages))])
    for message, row in zip(messages, rows):
        write("one.eml", message)
        equal(row["message"], batch("--digest", "one.eml", code=0)[0][0]["message"])
    for jobs in ("1", "4"):
        rows, _ = batch("-j", jobs, "--ordered", "one.eml", "all.mbox", "one.eml", code=0)
        equal([row["source"].get("index") for row in rows], [None, 0, 1, 2, 3, 4, None])


@test
def where_the_messages_of_an_mbox_end():
    head = b"From a\n"
    body = b"Subject: x\n\n"
    for what, content, sizes in (
        ("one message", head + body + b"text\n", [len(body) + 5]),
        ("one without a line end", head + body + b"text", [len(body) + 4]),
        ("an empty line at the end belongs to the file", head + body + b"text\n\n", [len(body) + 5]),
        ("and only one", head + body + b"text\n\n\n", [len(body) + 6]),
        ("no empty line before it", head + body + b"text\nFrom b\n", [len(body) + 12]),
        ("none, but a postmark and a field", head + body + b"text\nFrom - \nSubject: y\n\nb\n",
         [len(body) + 5, len(body) + 2]),
        ("none, a time and a field", head + body + b"t\r\nFrom a@b.c Thu Jan  1 00:00:00 1970\r\nX: y\r\n",
         [len(body) + 3, 6]),
        ("none, a postmark and no field", head + body + b"t\nFrom - \nno field\n", [len(body) + 19]),
        ("none, a field and no postmark", head + body + b"t\nFrom here\nX: y\n", [len(body) + 17]),
        ("a postmark at the end", head + body + b"t\nFrom - ", [len(body) + 9]),
        ("two postmarks", head + body + b"t\nFrom - \nFrom - \nX: y\n", [len(body) + 10, 5]),
        ("an empty one between", head + body + b"\n" + head + b"\n" + head + body,
         [len(body), 0, len(body) - 1]),
        ("only the line", head, [0]),
        ("only the word", b"From ", [0]),
        ("CR LF", head[:-1] + b"\r\nSubject: x\r\n\r\na\r\n\r\nFrom b\r\nSubject: y\r\n\r\nb\r\n", [17, 17]),
        ("quoting is taken off once", head + body + b">From a\n>>From b\n> From c\n>Fro\n>>",
         [len(body) + 31]),
    ):
        write("m.mbox", content)
        rows, _ = batch("--force", "m.mbox")
        equal([row["source"]["index"] for row in rows], list(range(len(sizes))), what)
        found = [row["message"]["size"] if "message" in row else 0 for row in rows]
        equal(found, sizes, what)
    write("plain.eml", b"Subject: From\n\nFrom me\n")
    equal("index" in batch("plain.eml")[0][0]["source"], False)


MAILDIR = {
    "cur/1.a:2,S": None, "cur/2.b:2,": None, "cur/3.c": None, "new/4.d": None, "tmp/5.e": None,
    "dovecot-uidlist": b"3 V1 N2\n", "dovecot.index.log": b"\x01\x03", "dovecot-keywords": b"0 x\n",
    "maildirsize": b"1S\n", "maildirfolder": b"", "subscriptions": b"Sent\n", "courierimapuiddb": b"1\n",
    "courierimapkeywords/x": b"1\n", ".Sent/cur/6.f:2,RS": None, ".Sent/new/": None, ".Sent/tmp/7.g": None,
    ".Sent/maildirfolder": b"", ".dovecot/cur/8.h:2,F": None, ".dovecot/new/": None, "tmpfiles/x.eml": None,
}


@test
def a_maildir():
    def lay(folder, only=""):
        for path, content in MAILDIR.items():
            path = os.path.join(folder, path)
            os.makedirs(os.path.dirname(path), exist_ok=True)
            if not path.endswith("/"):
                write(path, cli.PLAIN if content is None else content)
    lay("Maildir")
    rows, result = batch("Maildir", code=0)
    equal([path.removeprefix("Maildir/") for path in paths_of(rows)],
          [".Sent/cur/6.f:2,RS", ".dovecot/cur/8.h:2,F", "cur/1.a:2,S", "cur/2.b:2,", "cur/3.c", "new/4.d",
           "tmpfiles/x.eml"])
    equal(result.err, "")
    os.rename("Maildir/cur", "Maildir/old")
    rows, _ = batch("Maildir", code=1)
    equal("Maildir/tmp/5.e" in paths_of(rows), True, "a folder that is no Maildir is read as any folder")
    equal("Maildir/subscriptions" in paths_of(rows), True)


@test
def a_large_mbox():
    """Reads are 256 KiB, and messages over 4 MiB go through a file: neither may show."""
    rng = random.Random(SEED)
    messages = [mail_archive.message(rng, number) for number in range(300)]
    text = b"".join(rng.choice((b"From me\n", b">>From\n", b"word " * 30 + b"\n", b"\n>From x\n"))
                    for _ in range(60_000))
    messages.insert(7, b"Subject: long\n\n" + text + b"end\n")
    write("all.mbox", mbox_of(messages))
    rows, _ = batch("-j2", "--ordered", "--digest", "all.mbox", code=0)
    equal([row["source"]["index"] for row in rows], list(range(len(messages))))
    equal([row["message"]["sha256"] for row in rows], [hashlib.sha256(m).hexdigest() for m in messages])


# ---------------------------------------------------------------------------------------------------------
# Order, shards


@test
def order_and_number_of_workers():
    whole = archive()
    for arguments in (("-j3", "--ordered"), ("-j1",)):
        result = cli.eml("batch", *arguments, whole["folder"])
        equal(result.code, 1)
        equal(result.out == whole["text"], True, f"{arguments}: the same bytes")
    result = cli.eml("batch", "-j0", whole["folder"])
    equal(sorted(result.out.splitlines()) == whole["lines"], True, "the same lines")


@test
def order_holds_however_long_one_message_takes():
    """The first message is a pipe that gives its content when all others must have been read."""
    os.mkfifo("first")
    write("b.eml", cli.PLAIN)
    process = start("-j2", "--ordered", "first", "-", stdin=subprocess.PIPE)
    process.stdin.write(b"b.eml\n" * 6000)
    process.stdin.close()
    with open("first", "wb") as pipe:
        pipe.write(cli.PLAIN)
    process.stdin = None  # closed
    rows = rows_of(process.communicate()[0])
    equal((process.returncode, paths_of(rows)), (0, ["first"] + ["b.eml"] * 6000))


@test
def shards_are_a_partition_by_the_documented_hash():
    whole = archive()
    write("all.mbox", mbox_of([cli.PLAIN] * 3))
    listed = "\n".join(whole["paths"][:50] + ["all.mbox", "missing.eml"]).encode()

    def shard_of(path, shards):
        return int.from_bytes(hashlib.sha256(path.encode()).digest()[:8], "big") % shards + 1

    for arguments, stdin, undisturbed in (
        ((whole["folder"],), b"", whole["lines"]),
        (("-",), listed, sorted(cli.eml("batch", "-", stdin=listed).out.splitlines())),
    ):
        for shards in (1, 3):
            together = []
            for number in range(1, shards + 1):
                result = cli.eml("batch", f"--shard={number}/{shards}", *arguments, stdin=stdin)
                for row in rows_of(result.out):
                    equal(shard_of(row["source"]["path"], shards), number, row["source"]["path"])
                together += result.out.splitlines()
            equal(sorted(together) == undisturbed, True, f"{shards} shards of {arguments}")


# ---------------------------------------------------------------------------------------------------------
# Output files, resumed runs


@test
def an_output_file():
    write("m.eml", cli.PLAIN)
    expect(batch("-o", "out", "m.eml")[1], 0, out="")
    equal(read("out").decode(), cli.eml("batch", "m.eml").out)
    equal(stat.S_IMODE(os.stat("out").st_mode) & 0o700, 0o600)
    before = read("out")
    expect(cli.eml("batch", "-o", "out", "m.eml"), 6,
           "eml: out: already exists, not overwritten; --resume continues it, or choose another file\n")
    equal(read("out"), before)
    expect(cli.eml("batch", "-o", "no/out", "m.eml"), 6, "eml: no/out: no such file or directory\n")
    expect(cli.eml("batch", "--resume", "-o", "/dev/null", "m.eml"), 6,
           "eml: /dev/null: is no regular file; redirect standard output to it\n")


@test
def only_one_run_writes_a_file():
    write("m.eml", cli.PLAIN)
    write("out", b"")
    with open("out", "ab") as file:
        fcntl.flock(file, fcntl.LOCK_EX)
        expect(cli.eml("batch", "--resume", "-o", "out", "m.eml"), 6, "eml: out: another eml is writing it\n")
    expect(cli.eml("batch", "--resume", "-o", "out", "m.eml"), 0)


@test
def resume_reads_only_what_is_missing():
    for name in "abcd":
        write(name + ".eml", cli.PLAIN)
    write("m.mbox", mbox_of([cli.PLAIN] * 3))
    write("bad.eml", b"")
    arguments = ("a.eml", "bad.eml", "b.eml", "m.mbox", "c.eml", "b.eml", "d.eml")
    whole = cli.eml("batch", *arguments).out.encode()
    lines = whole.splitlines(keepends=True)
    ends = [sum(map(len, lines[:i])) for i in range(len(lines) + 1)]
    for cut in sorted({0, 1, 20, *ends, *(end + 30 for end in ends[:-1]), *(end - 1 for end in ends[1:])}):
        write("out", whole[:cut])
        result = cli.eml("batch", "--resume", "-o", "out", *arguments)
        equal((result.code, read("out")), (1 if cut < ends[2] else 0, whole), f"cut at {cut}")
    # What is finished is not looked at again.
    write("out", b"".join(lines[:5]))
    for name in ("a.eml", "bad.eml"):
        os.remove(name)
    result = cli.eml("batch", "--resume", "-o", "out", *arguments)
    equal(read("out"), whole)
    result = cli.eml("-v", "batch", "--resume", "-o", "out", *arguments)
    expect(result, 0, "eml: 0 messages read, 0 of them with errors; 9 were there already\n")
    equal(read("out"), whole)
    os.remove("out")
    equal(cli.eml("batch", "--resume", "-o", "out", "b.eml").code, 0)
    equal(len(rows_of(read("out"))), 1)


@test
def resume_of_paths_that_are_no_utf8():
    names = [b"m\xff.eml", b"m\xfe.eml", "\u00fc\u201c\"\\.eml".encode(), b"c\x01\x7f.eml"]
    for name in names:
        write(name, cli.PLAIN)
    stdin = b"\n".join(names)
    whole = cli.eml("batch", "-", stdin=stdin).out
    for kept in range(len(names) + 1):
        write("out", "".join(whole.splitlines(keepends=True)[:kept]).encode())
        result = cli.eml("-v", "batch", "--resume", "-o", "out", "-", stdin=stdin)
        equal(result.err.endswith(f"; {kept} were there already\n") or kept == 0, True, result.err)
        equal(read("out").decode(), whole)


@test
def resume_touches_no_other_file():
    write("m.eml", cli.PLAIN)
    row = cli.eml("batch", "m.eml").out.encode()
    for what, content, line in (
        ("text", b"my notes\n", 1), ("text without a line end", b"my notes", 1),
        ("other JSON", b'{"a": 1}\n', 1),
        ("after a row", row + b"notes\n", 2), ("half a row in the middle", row[:60] + b"\n" + row, 1),
        ("another tail", row + b"notes", 2),
    ):
        write("out", content)
        expect(cli.eml("batch", "--resume", "-o", "out", "m.eml"), 6,
               f"eml: out: line {line} is no row of eml batch, so nothing is continued here; choose another "
               "file\n")
        equal(read("out"), content, what)
    for tail in (b"", b"{", row[:40], row[:-1], bytes(100)):
        write("out", tail)
        equal((cli.eml("batch", "--resume", "-o", "out", "m.eml").code, read("out")), (0, row))


def finish_and_compare(arguments, whole, what):
    result = cli.eml("batch", "--resume", "-o", "out", *arguments, whole["folder"])
    equal(result.code in (0, 1), True, f"{what}: {result.code} {result.err}")
    text = read("out").decode()
    equal(sorted(text.splitlines()) == whole["lines"], True, f"{what}: the same set of lines")
    return text


@test
def killed_and_resumed_is_as_undisturbed():
    whole = archive()
    rng = random.Random(SEED)
    for arguments in (("-j3",), ("-j2", "--ordered")):
        with contextlib.suppress(FileNotFoundError):
            os.remove("out")
        for _ in range(4):
            have = lines_in("out")
            goal = have + rng.randrange(1, COUNT // 5)
            process = start("--resume", "-o", "out", *arguments, whole["folder"])
            wait_until(lambda: lines_in("out") >= goal or process.poll() is not None, f"{goal} lines")
            workers = children_of(process)
            process.kill()
            process.communicate()
            wait_until(lambda: all(map(is_gone, workers)), "the workers have ended with their parent")
        text = finish_and_compare(arguments, whole, f"{arguments}, seed {SEED}")
        if "--ordered" in arguments:
            equal(text == whole["text"], True, "the same order")


@test
def killed_workers_take_nothing_with_them():
    whole = archive()
    rng = random.Random(SEED)
    process = start("-o", "out", "-j3", whole["folder"])
    for step in range(8):
        goal = (step + 1) * COUNT // 12 + rng.randrange(COUNT // 40)
        wait_until(lambda: lines_in("out") >= goal or process.poll() is not None, f"there are {goal}")
        workers = children_of(process)
        if workers:
            os.kill(rng.choice(workers), rng.choice((signal.SIGKILL, signal.SIGSEGV, signal.SIGABRT)))
    process.communicate()
    equal(process.returncode, 1)
    equal(sorted(read("out").decode().splitlines()) == whole["lines"], True, f"seed {SEED}")


@test
def a_signal_ends_it_on_a_whole_line():
    whole = archive()
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        with contextlib.suppress(FileNotFoundError):
            os.remove("out")
        process = start("-o", "out", "-j2", whole["folder"])
        wait_until(lambda: lines_in("out") > 20, "there are some lines")
        workers = children_of(process)
        equal(len(workers), 2)
        process.send_signal(number)
        _, err = process.communicate()
        said = b"eml: stopped; out is whole so far, and the same command with --resume continues it\n"
        equal((process.returncode, err), (-number, said))
        equal(all(map(is_gone, workers)), True, "no worker is left")
        rows_of(read("out"))
        equal(lines_in("out") < COUNT, True)
    finish_and_compare(("-j3",), whole, "resumed after a signal")


@test
def a_signal_while_nothing_happens():
    for arguments in (("-",), ("-j2", "-", "m.eml")):
        process = start(*arguments, stdin=subprocess.PIPE)
        time.sleep(0.3)
        process.send_signal(signal.SIGINT)
        equal(process.wait(WATCHED), -signal.SIGINT)
        process.communicate()


# ---------------------------------------------------------------------------------------------------------
# Conversations


def mail(number, *references, subject="", answered=(), named=True):
    """A message, and the ids that it names."""
    fields = [("Message-ID", [number] if named else ()), ("References", references), ("In-Reply-To", answered)]
    lines = [f"{name}: " + "\n ".join(f"<{each}@example.org>" for each in ids) for name, ids in fields if ids]
    return "\n".join([f"From: a@example.org\nSubject: {subject or f'No. {number}'}", *lines, "", "text\n"]).encode()


def thread_of(number):
    return hashlib.sha256(f"{number}@example.org".encode()).hexdigest()[:16]


def threads_in(rows):
    return {row["source"]["path"]: row.get("thread") for row in rows}


def conversations(folder, count):
    """A folder of messages that answer each other, some of them by their subjects; and bad ones."""
    rng = random.Random(SEED)
    for number in range(count):
        before = [rng.randrange(count) for _ in range(rng.randrange(4))]
        message = mail(number, *before, subject=f"Re: S{rng.randrange(count)}", named=rng.randrange(8) > 0)
        place = os.path.join(folder, str(number % 7))
        os.makedirs(place, exist_ok=True)
        write(os.path.join(place, f"{number}.eml"), b"" if number % 50 == 0 else message)


def threaded():
    """The lines of an undisturbed run over such a folder."""
    if "threaded" not in SHARED:
        folder = os.path.join(SHARED_FOLDER, "threaded")
        conversations(folder, 600)
        result = cli.eml("batch", "--threads", folder)
        equal(result.code, 1, result.err)
        SHARED["threaded"] = (folder, result.out)
    return SHARED["threaded"]


@test
def threads_are_members_of_the_rows():
    write("a.eml", mail(1))
    write("b.eml", mail(2, 1))
    write("c.eml", mail(3, answered=(2, 9)))
    write("d.eml", mail(4, 7, 8))
    write("e.eml", mail(5, 8))
    write("f.eml", mail(6, subject="[list] Re: No. 1 (fwd)"))
    write("g.eml", b"")
    names = [name + ".eml" for name in "abcdefg"]
    rows, result = batch("--threads", *names, code=1)
    one, other = thread_of(1), thread_of(7)
    equal(threads_in(rows), dict(zip(names, (one, one, one, other, other, one, None))))
    equal(["thread" in row for row in rows], [True] * 6 + [False], "a row without a message has none")
    without = cli.eml("batch", *names).out
    equal(result.out.replace(f',"thread":"{one}"', "").replace(f',"thread":"{other}"', ""), without)


@test
def threads_of_messages_without_ids():
    """They are known by their places."""
    write("a.eml", mail(0, named=False))
    write("b.mbox", mbox_of([mail(0, subject="x", named=False), mail(1)]))
    threads = [row["thread"] for row in batch("--threads", "a.eml", "b.mbox", code=0)[0]]
    wanted = [hashlib.sha256(place).hexdigest()[:16] for place in (b"\0a.eml", b"\0b.mbox\x000")]
    equal(threads, [*wanted, thread_of(1)])


@test
def threads_are_the_same_in_whatever_order_messages_are_read():
    folder, whole = threaded()
    lines = sorted(whole.splitlines())
    equal(len({row.get("thread") for row in rows_of(whole)}) in range(2, 500), True, "some conversations")
    for arguments in (("-j3",), ("-j4", "--ordered")):
        out = cli.eml("batch", "--threads", *arguments, folder).out
        equal(sorted(out.splitlines()) == lines, True, arguments)
        if "--ordered" in arguments:
            equal(out == whole, True, "the same order")
    folders = [os.path.join(folder, name) for name in sorted(os.listdir(folder), reverse=True)]
    equal(sorted(cli.eml("batch", "--threads", *folders).out.splitlines()) == lines, True, "folders from the last on")
    expect(batch("--threads", "-o", "out", "-j2", "--ordered", folder)[1], 1,
           f"eml: {len(lines)} messages read, 12 of them with errors\n", "")
    equal(read("out").decode() == whole, True, "in a file")
    equal(os.listdir("."), ["out"])


@test
def threads_of_a_resumed_run_are_those_of_all_rows():
    folder, whole = threaded()
    lines = whole.splitlines(keepends=True)
    for kept in (0, 1, 300, len(lines)):
        # All of them have their conversations already, and half a row follows.
        for earlier in (lines[:kept], lines[kept // 2:kept]):
            write("out", "".join(earlier).encode() + lines[-1].encode()[:99])
            equal(cli.eml("batch", "--threads", "--resume", "-o", "out", folder).code in (0, 1), True)
            equal(sorted(read("out").decode().splitlines(keepends=True)) == sorted(lines), True, kept)
    plain = cli.eml("batch", folder).out
    write("out", plain.encode())
    equal(cli.eml("batch", "--threads", "--resume", "-o", "out", folder).code, 0)
    equal(read("out").decode() == whole, True, "rows that had none")
    # What comes later joins two conversations.
    write("a.eml", mail("a"))
    write("b.eml", mail("b", "c"))
    batch("--threads", "-o", "some", "a.eml", "b.eml", code=0)
    equal([row["thread"] for row in rows_of(read("some"))], [thread_of("a"), thread_of("c")])
    write("c.eml", mail("c", "a"))
    batch("--threads", "--resume", "-o", "some", "a.eml", "b.eml", "c.eml", code=0)
    equal([row["thread"] for row in rows_of(read("some"))], [thread_of("a")] * 3)


@test
def rows_without_ids_get_no_thread():
    """Those of an earlier run by another reader, or in the first version."""
    for name in "abc":
        write(name + ".eml", mail(1, subject="x"))
    cli.eml("--schema=1", "batch", "-o", "out", "a.eml")
    cli.eml("--reader=container", "batch", "--resume", "-o", "out", "a.eml", "b.eml")
    before = read("out")
    batch("--threads", "--resume", "-o", "out", "a.eml", "b.eml", "c.eml", code=0)
    equal(read("out").startswith(before), True, "the same rows")
    rows = [json.loads(line) for line in read("out").splitlines()]
    for row in rows:
        cli.validate_answer(row)
    equal([row.get("thread") for row in rows], [None, None, thread_of(1)])


@test
def rows_with_threads_come_at_the_end():
    write("a.eml", mail(1))
    process = start("--threads", "-", stdin=subprocess.PIPE)
    process.stdin.write(b"a.eml\n")
    process.stdin.flush()
    equal(select.select([process.stdout], [], [], 0.5)[0], [], "nothing yet")
    out, _ = process.communicate()
    equal(threads_in(rows_of(out)), {"a.eml": thread_of(1)})
    # Meanwhile a file has the rows as they are without.
    process = start("--threads", "-o", "out", "-", stdin=subprocess.PIPE)
    process.stdin.write(b"a.eml\n")
    process.stdin.flush()
    wait_until(lambda: lines_in("out") == 1, "the row is there")
    equal(read("out").decode(), cli.eml("batch", "a.eml").out)
    process.communicate()
    equal(read("out"), out)


def many_rows(count):
    """Rows of messages that need not be there, so that it takes a while to complete them."""
    write("a.eml", mail(1))
    row = cli.eml("batch", "a.eml").out
    write("rows", "".join(row.replace("a.eml", f"{i:06}.eml") for i in range(count)).encode())


def temporary_files():
    return [name for name in os.listdir(".") if name.endswith(".part")]


@test
def a_run_that_is_ended_while_it_finds_threads_leaves_the_rows():
    many_rows(20_000)
    before = read("rows")
    said = b"eml: stopped; rows is whole so far, and the same command with --resume continues it\n"
    for number in (signal.SIGTERM, signal.SIGKILL):
        process = start("--threads", "--resume", "-o", "rows", "000000.eml")
        wait_until(lambda: temporary_files() or process.poll() is not None, "the new file is written")
        process.send_signal(number)
        _, err = process.communicate()
        equal((process.returncode, err), (-number, said if number == signal.SIGTERM else b""))
        equal(read("rows") == before, True, "the file is as it was")
        equal(len(temporary_files()), 0 if number == signal.SIGTERM else 1)
    os.remove(temporary_files()[0])
    batch("--threads", "--resume", "-o", "rows", "000000.eml", code=0)
    lines = read("rows").splitlines()
    equal((len(lines), all(line.endswith(b'"}') for line in lines)), (20_000, True))
    equal(temporary_files(), [])


@test
def a_file_that_cannot_be_completed_stays_as_it_was():
    many_rows(1000)
    before = read("rows")
    shell = f'ulimit -f {len(before) // 1024 + 5}; exec "{EML}" batch --threads --resume -o rows 000000.eml'
    run = subprocess.run(["bash", "-c", shell], capture_output=True, check=False)
    equal(run.stderr.decode(),
          "eml: rows: file too large; the rows so far are whole, --resume goes on from there\n")
    equal((run.returncode, read("rows") == before, temporary_files()), (6, True, []))


@test
def a_file_that_is_completed_keeps_its_name_and_rights():
    write("a.eml", mail(1))
    os.mkdir("there")
    write("there/rows", b"")
    os.chmod("there/rows", 0o600)
    os.symlink("there/rows", "link")
    batch("--threads", "--resume", "-o", "link", "a.eml", code=0)
    equal((os.path.islink("link"), os.listdir("there")), (True, ["rows"]))
    equal(stat.S_IMODE(os.stat("link").st_mode), 0o600)
    equal(threads_in(rows_of(read("link"))), {"a.eml": thread_of(1)})


@test
def threads_of_a_shard_are_those_of_its_messages():
    folder, _ = threaded()
    together = 0
    for number in (1, 2):
        rows = rows_of(cli.eml("batch", "--threads", f"--shard={number}/2", folder).out)
        listed = "\n".join(paths_of(rows)).encode()
        equal(threads_in(rows), threads_in(rows_of(cli.eml("batch", "--threads", "-", stdin=listed).out)))
        together += len(rows)
    equal(together, 600)


@test
def hostile_conversations_cost_little():
    """Long chains, circles and lists of ids, through the whole program."""
    count = 800
    mails = [mail(i, i + 1) for i in range(count)]
    mails += [mail(f"c{i}", f"c{(i + 1) % count}") for i in range(count)]
    mails += [mail("same") for i in range(count)] + [mail("all", *range(5000))]
    write("all.mbox", mbox_of(mails))
    rows = batch("--threads", "all.mbox", code=0)[0]
    threads = [row["thread"] for row in rows]
    equal([len(set(threads[i * count:(i + 1) * count])) for i in range(3)], [1, 1, 1])
    equal(len(rows[-1]["message"]["references"]), 5000)


# ---------------------------------------------------------------------------------------------------------
# Messages that do harm


@test
def a_message_that_crashes_its_reader_is_a_row():
    names = ["a.eml", "crash-me.eml", "b.eml", "crash-me-too.eml", "c.eml"]
    for name in names:
        write(name, cli.PLAIN)
    for jobs in ("1", "3"):
        rows, _ = batch("-j", jobs, "--ordered", *names, env=misbehaving(), code=1)
        equal([code_of(row) for row in rows], ["ok", "crashed", "ok", "crashed", "ok"])
        equal(rows[1]["error"],
              {"code": "crashed", "text": "the reader crashed (SIGSEGV), 3 times", "exit": 70})


@test
def a_message_that_hangs_its_reader_is_a_row():
    names = ["a.eml", "hang-me.eml", "b.eml", "c.eml"]
    for name in names:
        write(name, cli.PLAIN)
    for jobs in ("1", "2"):
        rows, _ = batch("-j", jobs, "--timeout=1.5", "--ordered", *names, env=misbehaving(), code=1)
        equal([code_of(row) for row in rows], ["ok", "timeout", "ok", "ok"])
        equal(rows[1]["error"], {"code": "timeout", "text": "not read within 1.5 s", "exit": 70})


@test
def a_message_that_eats_memory_is_a_row():
    names = ["a.eml", "eat-me.eml", "b.eml", "eat-me-too.eml", "c.eml"]
    for name in names:
        write(name, cli.PLAIN)
    for jobs in ("1", "3"):
        rows, _ = batch("-j", jobs, "--max-memory=64M", "--ordered", *names, env=misbehaving(), code=1)
        equal([code_of(row) for row in rows], ["ok", "out-of-memory", "ok", "out-of-memory", "ok"])
        equal(rows[1]["error"], {"code": "out-of-memory", "text": "out of memory", "exit": 70})


@test
def only_the_guilty_of_many_messages_suffer():
    """A worker has many messages ahead when one of them ends it."""
    guilty = {150: "crash-me-a", 151: "crash-me-b", 290: "hang-me", 300: "eat-me", 399: "crash-me-c"}
    codes = {"crash-me": "crashed", "hang-me": "timeout", "eat-me": "out-of-memory"}
    names = [guilty.get(i, f"{i:03}") + ".eml" for i in range(400)]
    expected = [next((codes[word] for word in codes if name.startswith(word)), "ok") for name in names]
    for i, name in enumerate(names):
        write(name, cli.PLAIN.replace(b"Subject:", b"Subject: %d" % i))
    for jobs in ("1", "2"):
        rows, _ = batch("-j", jobs, "--timeout=1.5", "--max-memory=64M", "--ordered", *names,
                        env=misbehaving(), code=1)
        equal(paths_of(rows), names, f"-j {jobs}")
        equal([code_of(row) for row in rows], expected, f"-j {jobs}")


@test
def what_waits_behind_a_slow_message_is_read_once():
    names = [f"{i:03}.eml" for i in range(300)]
    for i, name in enumerate(names):
        write(name, cli.PLAIN.replace(b"Subject:", b"Subject: %d" % i))
    for i in (100, 101, 180):
        write(names[i], cli.simple(b"some words in a long line\n" * 100_000))
    alone = batch("--text", *names, code=0)[1].out
    equal(batch("--text", "-j2", "--ordered", *names, code=0)[1].out, alone)
    equal(sorted(batch("--text", "-j2", *names, code=0)[1].out.splitlines()), sorted(alone.splitlines()))


@test
def a_large_text_does_not_fit_in_little_memory():
    if is_sanitized():
        return "an allocation that fails ends a program under AddressSanitizer"
    write("large.eml", cli.simple(b"some words in a long line\n" * 1_500_000))
    write("small.eml", cli.PLAIN)
    rows, _ = batch("--text", "--max-memory=40M", "large.eml", "small.eml", code=1)
    equal([code_of(row) for row in rows], ["out-of-memory", "ok"])
    equal([code_of(row) for row in batch("--max-memory=40M", "large.eml", code=0)[0]], ["ok"])
    equal(len(batch("--text", "large.eml", code=0)[0][0]["message"]["text"]) > 38_000_000, True)
    return None


# ---------------------------------------------------------------------------------------------------------
# Outputs that fail, progress


@test
def a_broken_pipe_ends_it_quietly():
    whole = archive()
    process = start("-j2", whole["folder"])
    process.stdout.readline()
    workers = children_of(process)
    process.stdout.close()
    err = process.stderr.read()
    process.stderr.close()
    equal((process.wait(), err), (-signal.SIGPIPE, b""))
    wait_until(lambda: all(map(is_gone, workers)), "the workers have ended")


@test
def a_full_disk():
    whole = archive()
    with open("/dev/full", "wb") as full:
        expect(cli.eml("batch", whole["paths"][0], stdout=full), 6,
               "eml: standard output: no space left on device\n")
    os.mkdir("small")
    mount = ["mount", "-t", "tmpfs", "-o", "size=64k", "none", "small"]
    if os.getuid() != 0 or subprocess.run(mount, capture_output=True, check=False).returncode != 0:
        return "no small file system can be mounted here"
    try:
        result = cli.eml("batch", "-o", "small/out", whole["folder"])
        expect(result, 6, "eml: small/out: no space left on device; the rows so far are whole, --resume goes "
                          "on from there\n")
        equal(len(rows_of(read("small/out"))) > 10, True)
        subprocess.run(["mount", "-o", "remount,size=1g", "small"], check=True)
        equal(cli.eml("batch", "--resume", "-o", "small/out", whole["folder"]).code in (0, 1), True)
        equal(read("small/out").decode() == whole["text"], True)
    finally:
        subprocess.run(["umount", "small"], check=True)
    return None


def read_terminal(leader, wanted, text=b""):
    """Reads until `wanted` has come."""
    end = time.monotonic() + WATCHED
    while wanted not in text and time.monotonic() < end:
        if select.select([leader], [], [], 0.1)[0]:
            try:
                text += os.read(leader, 65536)
            except OSError:
                break
    return text


@test
def progress_is_for_terminals():
    write("a.eml", cli.PLAIN)
    leader, follower = pty.openpty()
    process = subprocess.Popen([EML, "batch", "-"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                               stderr=follower, env=environment(TERM="xterm"))
    os.close(follower)
    process.stdin.write(b"a.eml\n")
    process.stdin.flush()
    text = read_terminal(leader, b"\r\x1b[K1 message, 0 with errors, ")
    process.stdin.close()
    text = read_terminal(leader, b"1 message read, 0 of them with errors\r\n", text)
    equal(process.wait(), 0)
    process.stdout.close()
    os.close(leader)
    equal(b"\r\x1b[K1 message, 0 with errors, " in text, True, repr(text))
    end = b" a second\r\x1b[Keml: 1 message read, 0 of them with errors\r\n"
    equal(text.endswith(end), True, repr(text))


@test
def progress_with_rows_in_a_file():
    """Standard output may then be the terminal. The percentage comes once all files are found, and only grows."""
    whole = archive()
    folders = [whole["folder"]] * max(20_000 // COUNT, 1)  # long enough for some lines
    leader, follower = pty.openpty()
    process = start("-o", "rows.jsonl", *folders, stdout=follower, stderr=follower, env=environment(TERM="xterm"))
    os.close(follower)
    text = read_terminal(leader, b" read, ").decode()
    process.wait(WATCHED)
    os.close(leader)
    lines = [line for line in text.split("\r\x1b[K") if " a second" in line]
    equal(bool(lines), True, "a line of progress")
    percents = [int(line.split(" %")[0].rsplit(" ", 1)[1]) for line in lines if " %" in line]
    equal(percents, sorted(percents))
    equal(bool(percents), True, repr(lines[-3:]))
    equal(0 <= percents[0] <= percents[-1] <= 100, True, repr(percents))
    equal(" left" in text, True, repr(lines[-1]))
    equal(lines_in("rows.jsonl"), len(folders) * COUNT)


@test
def what_a_batch_writes_it_does_not_read():
    write("a.eml", cli.PLAIN)
    os.mkdir("b")
    os.symlink("../rows.jsonl", "b/link.jsonl")
    batch(".", "-o", "rows.jsonl", code=0)
    equal(paths_of(rows_of(read("rows.jsonl"))), ["./a.eml"])
    write("c.eml", cli.PLAIN)
    os.link("rows.jsonl", "b/same.jsonl")
    batch(".", "rows.jsonl", "-", "-o", "rows.jsonl", "--resume", code=0, stdin=b"./b/same.jsonl\n")
    equal(paths_of(rows_of(read("rows.jsonl"))), ["./a.eml", "./c.eml"])
    with open("out.jsonl", "wb") as out:
        cli.eml("batch", "a.eml", "out.jsonl", stdout=out)
    equal(paths_of(rows_of(read("out.jsonl"))), ["a.eml"])
    os.remove("rows.jsonl")
    equal(code_of(batch("b/link.jsonl", code=1)[0][0]), "no-such-file", "only what is written is left out")


@test
def progress_is_nowhere_else():
    write("a.eml", cli.PLAIN)
    for what, arguments, env, on_terminal in (("a pipe", (), {"TERM": "xterm"}, False),
                                              ("quiet", ("-q",), {"TERM": "xterm"}, True),
                                              ("rows on the terminal", (), {"TERM": "xterm"}, "too"),
                                              ("a dumb terminal", (), {"TERM": "dumb"}, True)):
        leader, follower = pty.openpty()
        errors = follower if on_terminal else subprocess.PIPE
        process = subprocess.Popen([EML, *arguments, "batch", "-"], stdin=subprocess.PIPE,
                                   stdout=follower if on_terminal == "too" else subprocess.PIPE,
                                   stderr=errors, env=environment(**env))
        os.close(follower)
        process.stdin.write(b"a.eml\n")
        process.stdin.flush()
        time.sleep(0.8)
        process.stdin.close()
        if process.stdout:
            process.stdout.read()
            process.stdout.close()
        said = read_terminal(leader, b"never") if on_terminal else process.stderr.read()
        if process.stderr:
            process.stderr.close()
        os.close(leader)
        equal((process.wait(), b"a second" in said or b"\r\x1b" in said), (0, False), what)


COMPLICATED = b"""Return-Path: <bounce@lists.example>\r
Received: from mx.lists.example (mx.lists.example [192.0.2.7]) by mail.example.net with ESMTPS id 9x\r
\tfor <bob@example.net>; Tue, 4 Mar 2025 09:15:30 +0100\r
Received: by mx.lists.example; Tue, 4 Mar 2025 08:15:25 +0000\r
From: =?utf-8?q?Zo=C3=AB?= <zoe@example.org>\r
Sender: talk@lists.example\r
To: Team: bob@example.net, "Carl, C." <carl@example.net>;\r
Date: Tue, 4 Mar 2025 09:15:22 +0100\r
Subject: [talk] Re: Plan\r
Message-ID: <b@example.org>\r
In-Reply-To: <a@example.net>\r
References: <z@example.net> <a@example.net>\r
List-Id: The Talk <talk.lists.example>\r
MIME-Version: 1.0\r
Content-Type: multipart/mixed; boundary=M\r
\r
--M\r
Content-Type: multipart/alternative; boundary=A\r
\r
--A\r
Content-Type: text/plain; charset=utf-8\r
\r
Good.\r
--A\r
Content-Type: text/html; charset=iso-8859-1\r
\r
<p>Caf\xe9<span style="display:none">secret</span>\r
--A--\r
--M\r
Content-Type: image/png; name=dot.png\r
Content-Disposition: attachment; filename=dot.png\r
Content-ID: <dot@x>\r
Content-Transfer-Encoding: base64\r
\r
iVBORw==\r
--M--\r
"""


@test
def full_rows():
    """Everything that a row can hold, of one message."""
    write("m.eml", COMPLICATED)
    [row], _ = batch("--full", "m.eml", code=0)
    message = row["message"]
    equal((message["date"], message["date_utc"]), ("2025-03-04T09:15:22+01:00", "2025-03-04T08:15:22Z"))
    equal((message["message_id"], message["in_reply_to"], message["references"], message["subject_base"], message["list_id"]),
          ("b@example.org", ["a@example.net"], ["z@example.net", "a@example.net"], "Plan", "talk.lists.example"))
    equal([tuple(each.values()) for each in message["addresses"]],
          [("from", "Zo\u00eb", "zoe@example.org"), ("sender", "", "talk@lists.example"),
           ("to", "", "bob@example.net", "Team"), ("to", "Carl, C.", "carl@example.net", "Team")])
    equal(message["received"],
          [{"from": "mx.lists.example (mx.lists.example [192.0.2.7])", "by": "mail.example.net", "with": "ESMTPS",
            "id": "9x", "for": "bob@example.net", "date": "2025-03-04T09:15:30+01:00"},
           {"by": "mx.lists.example", "date": "2025-03-04T08:15:25+00:00"}])
    equal([(part["section"], part["parent"], part["type"], part["name"] if part["named"] else None, part["content_id"], part["size"])
           for part in message["parts"]],
          [(None, None, "multipart/mixed", None, None, message["parts"][0]["size"]),
           ("1", 0, "multipart/alternative", None, None, message["parts"][1]["size"]),
           ("1.1", 1, "text/plain", None, None, 5),
           ("1.2", 1, "text/html", None, None, message["parts"][3]["size"]),
           ("2", 0, "image/png", "dot.png", "dot@x", 4)])
    content = base64.b64decode("iVBORw==")
    equal([part.get("sha256") for part in message["parts"]][::2], [None, hashlib.sha256(b"Good.").hexdigest(),
                                                                   hashlib.sha256(content).hexdigest()])
    equal(message["sub_files"][1]["sha256"], hashlib.sha256(content).hexdigest())
    equal(message["sha256"], hashlib.sha256(COMPLICATED).hexdigest())
    equal((message["text"], message["html"]), ("Good.\n", '<p>Caf\u00e9<span style="display:none">secret</span>'))
    equal(message["markdown"].endswith("\nGood.\n"), True)
    equal([each["name"] for each in message["headers"]][:3], ["Return-Path", "Received", "Received"])
    equal((message["headers"][3]["text"], message["headers"][3]["raw"]),
          ("Zo\u00eb <zoe@example.org>", " =?utf-8?q?Zo=C3=AB?= <zoe@example.org>"))


@test
def rows_have_what_is_asked_for():
    write("m.eml", COMPLICATED)
    extra = ("headers", "parts", "text", "markdown", "html", "sha256")
    for option, members in (((), []), (("--html",), ["html"]), (("--parts",), ["parts"]),
                            (("--headers=all",), ["headers"]), (("--headers=received,List-ID",), ["headers"])):
        [row], _ = batch(*option, "m.eml", code=0)
        equal([name for name in extra if name in row["message"]], members, str(option))
    equal([each["name"] for each in row["message"]["headers"]], ["Received", "Received", "List-Id"])
    for wrong in ("--headers=a b", "--headers=a,,b", "--headers=a:"):
        equal(cli.eml("batch", wrong, "m.eml").code, 2, wrong)
    for option in ("--full", "--html", "--parts", "--headers=all"):
        for other in ("--reader=container", "--schema=1"):
            equal(cli.eml(other, "batch", option, "m.eml").code, 2, f"{other} {option}")
    equal(set(json.loads(cli.eml("--schema=1", "batch", "m.eml").out)["message"]) & {"addresses", "received", "date_utc"}, set())


# ---------------------------------------------------------------------------------------------------------


def main():
    # What runs in the background begins with some signals ignored, and hands that on.
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, signal.SIG_DFL)
    global SHARED_FOLDER
    cli.PATIENCE = 3600 if FULL else 300
    wanted = sys.argv[2:]
    cli.TESTS[:] = [function for function in TESTS if not wanted or function.__name__ in wanted]
    with cli.tempfile.TemporaryDirectory(prefix="eml-batch-test-") as SHARED_FOLDER:
        return cli.main()


if __name__ == "__main__":
    sys.exit(main())
