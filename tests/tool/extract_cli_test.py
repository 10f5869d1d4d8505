#!/usr/bin/env python3
"""Runs `eml info --headers` and `eml extract` as a user does, and holds output, exit codes and files.

    tests/tool/extract_cli_test.py PATH/TO/eml
"""

import base64
import fcntl
import hashlib
import json
import os
import re
import shutil
import signal
import subprocess
import sys
import time

import cli_test as cli
import tnef_writer as tnef
from cli_test import embedded, eml, equal, expect, mixed, no_control_characters, part, read, write

TESTS = []


def test(function):
    TESTS.append(function)
    return function


# ---------------------------------------------------------------------------------------------------------
# Messages


def der(tag, *contents):
    """A value of ASN.1 in DER."""
    content = b"".join(contents)
    size = len(content)
    length = bytes([size]) if size < 128 else bytes([130, size >> 8, size & 255])
    return bytes([tag]) + length + content


SIGNED_DATA, DATA = (der(6, bytes([42, 134, 72, 134, 247, 13, 1, 7, kind])) for kind in (2, 1))


def signed(content, *fields):
    """A message with `content` inside a signature of nobody (S/MIME)."""
    inside = der(0x30, DATA, der(0xA0, der(4, content)))
    whole = der(0x30, SIGNED_DATA, der(0xA0, der(0x30, der(2, b"\x01"), der(0x31), inside, der(0x31))))
    return (b"From: a@example.org\nSubject: outside\n" + b"".join(field + b"\n" for field in fields)
            + b"Content-Type: application/pkcs7-mime; smime-type=signed-data; name=smime.p7m\n"
            b"Content-Transfer-Encoding: base64\n\n" + base64.encodebytes(whole))


HEADER = (b"Received: from a\n\tby b\nreceived: x\nSUBJECT: =?utf-8?Q?Zo=C3=AB?=\n =?utf-8?Q?_M=C3=BCller?=\n"
          b'From: "M, J" <j@example.org>\nReceived: y\nDate: Tue, 4 Mar 2025 09:15:22 +0100\nX-Empty:\n')
FIELDS = [("Received", "from a by b"), ("received", "x"), ("SUBJECT", "Zoë Müller"),
          ("From", '"M, J" <j@example.org>'), ("Received", "y"), ("Date", "2025-03-04T09:15:22+01:00"),
          ("X-Empty", "")]


# ---------------------------------------------------------------------------------------------------------
# info --headers


@test
def all_fields_stand_in_order_and_decoded():
    write("m.eml", HEADER + b"\nhello: world\n")
    expect(eml("info", "--headers=all", "m.eml"), 0, out="".join(f"{name}: {text}\n" for name, text in FIELDS))
    equal(eml("info", "--headers=main", "m.eml").out, eml("info", "m.eml").out)
    expect(eml("info", "--headers=all", "-", stdin=HEADER), 0, out=eml("info", "--headers=all", "m.eml").out)


@test
def fields_in_json_have_their_bytes_and_their_place():
    message = HEADER + b"X-Raw: caf\xe9\n\nhello\n"
    write("m.eml", message)
    answer = json.loads(eml("--json", "info", "--headers=all", "m.eml").out)
    fields = answer["message"]["headers"]
    equal([(field["name"], field["text"].replace("\t", " ")) for field in fields[:-1]], FIELDS)
    end = 0
    for field in fields:
        equal(field["offset"], end)
        end += field["length"]
        raw = base64.b64decode(field["raw_b64"]) if "raw_b64" in field else field["raw"].encode()
        equal(field["name"].encode() + b":" + raw + b"\n", message[field["offset"]:end])
    equal((fields[-1]["raw"], "raw_b64" in fields[-1], "raw_b64" in fields[0]), (" caf\ufffd", True, False))
    equal("headers" in json.loads(eml("--json", "info", "m.eml").out)["message"], False, "only if asked for")


@test
def fields_of_several_messages():
    write("box.mbox", b"".join(b"From a\nSubject: %d\n\nx\n\n" % number for number in (1, 2)))
    write("empty.eml", b"")
    expect(eml("info", "--headers=all", "box.mbox", "empty.eml"), 1, "eml: empty.eml: the file is empty\n",
           "box.mbox#1:\nSubject: 1\n\nbox.mbox#2:\nSubject: 2\n")
    lines = eml("--json", "info", "--headers=all", "box.mbox", "empty.eml").out.splitlines()
    rows = [json.loads(line) for line in lines]
    equal([row["message"]["headers"][0]["text"] for row in rows[:2]], ["1", "2"])
    equal(("message" in rows[2], rows[2]["error"]["code"]), (False, "empty"))


@test
def fields_of_a_signed_message_are_those_outside():
    write("m.eml", signed(b"Subject: inside\nX-In: 1\n\nhello\n", b"X-Out: 1"))
    result = eml("info", "--headers=all", "m.eml")
    equal([line.split(":")[0] for line in result.out.splitlines()],
          ["From", "Subject", "X-Out", "Content-Type", "Content-Transfer-Encoding"])
    equal("Subject: outside\n" in result.out, True)


@test
def fields_cannot_drive_the_terminal():
    write("m.eml", b"Subject: a\x1b[2J\nX-\x9b-Y: \xe2\x80\xae\nA: =?utf-8?Q?=1B]0;x=07=0Ab=0D?=\n\nx\n")
    for more in ([], ["--json"]):
        result = eml(*more, "info", "--headers=all", "m.eml")
        no_control_characters(result.out + result.err, more)
    equal(len(eml("info", "--headers=all", "m.eml").out.splitlines()),
          len(json.loads(eml("--json", "info", "--headers=all", "m.eml").out)["message"]["headers"]), "a line each")


@test
def headers_are_of_the_mime_reading():
    write("m.eml", cli.PLAIN)
    for reader in ("container", "filter"):
        expect(eml(f"--reader={reader}", "info", "--headers=all", "m.eml"), 2,
               "eml: --headers=all lists the fields as the MIME reader has them; --reader does not apply\n", "")
    expect(eml("--json", "--schema=1", "info", "--headers=all", "m.eml"), 2,
           "eml: --headers=all is not in version 1 of the answers; leave out --schema=1\n", "")
    expect(eml("info", "--headers=some", "m.eml"), 2, "eml: --headers=some: no such choice; it is main or all\n", "")


# ---------------------------------------------------------------------------------------------------------
# extract: many messages

ONE = mixed(part("a.txt", b"1"), part("b.txt", b"22"))
TWO = mixed(part("a.txt", b"333"), embedded("in.eml", mixed(part("deep.bin", b"deep!!"), boundary=b"b1")))
BOX = b"".join(b"From a\n" + message + b"\n" for message in (ONE, cli.PLAIN, TWO))
NO_MESSAGE = "not an e-mail message (no header field found); --force reads it anyway"


def archive():
    os.makedirs("A/sub")
    for name, content in (("one.eml", ONE), ("sub/two.eml", TWO), ("plain.eml", cli.PLAIN)):
        write(f"A/{name}", content)


def files(folder):
    """What is in a folder, with the folders in it."""
    found = {}
    for here, _, names in os.walk(folder):
        for name in names:
            path = os.path.join(here, name)
            found[os.path.relpath(path, folder)] = read(path)
    return found


@test
def the_files_of_many_messages_go_into_one_folder():
    archive()
    result = eml("extract", "-o", "out", "A/one.eml", "A/plain.eml", "A/sub/two.eml")
    expect(result, 0, out=f"""\
A/one.eml:
out/a.txt      1 B
out/b.txt      2 B

A/sub/two.eml:
out/a (2).txt      3 B   (renamed; the message said a.txt)
out/in.eml       {len(files("out")["in.eml"])} B
4 attachments, {6 + len(files("out")["in.eml"])} B, written to out, from 2 of 3 messages
""")
    written = files("out")
    equal({name: written[name] for name in ("a.txt", "b.txt", "a (2).txt")},
          {"a.txt": b"1", "b.txt": b"22", "a (2).txt": b"333"})
    expect(eml("extract", "-q", "-o", "quiet", "A"), 0, out="")
    equal(files("quiet"), written, "a folder stands for its messages")
    write("box.mbox", BOX)
    expect(eml("extract", "-q", "-o", "box", "box.mbox"), 0, out="")
    expect(eml("extract", "-q", "-o", "stdin", "-", stdin=BOX), 0, out="")
    expect(eml("extract", "-q", "-o", "unasked", stdin=BOX), 0, out="")
    for folder in ("box", "stdin", "unasked"):
        equal(sorted(files(folder)), sorted(written), folder)
    equal(eml("extract", "-l", "A").out.splitlines()[-1].split("folder")[1], ", from 2 of 3 messages")
    expect(eml("extract", "A/plain.eml", "A/plain.eml"), 0, out="no attachments in 2 messages\n")
    equal(sorted(os.listdir(".")), ["A", "box", "box.mbox", "out", "quiet", "stdin", "unasked"])


@test
def a_folder_for_each_message():
    archive()
    write("box.mbox", BOX)
    expect(eml("extract", "-r", "--per-message", "-o", "out", "A", "box.mbox"), 0)
    equal(sorted(files("out")), sorted([
        "0001-one/a.txt", "0001-one/b.txt", "0003-two/a.txt", "0003-two/in.eml", "0003-two/deep.bin",
        "0004-box-1/a.txt", "0004-box-1/b.txt", "0006-box-3/a.txt", "0006-box-3/in.eml", "0006-box-3/deep.bin"]))
    equal(sorted(os.listdir("out")), ["0001-one", "0003-two", "0004-box-1", "0006-box-3"], "no empty ones")
    expect(eml("extract", "-q", "--per-message", "-o", "piped", "-", stdin=ONE), 0)
    equal(os.listdir("piped"), ["0001-stdin"])
    expect(eml("extract", "-q", "--per-message", "-o", "third", "box.mbox#3"), 0)
    equal(os.listdir("third"), ["0001-box-3"])
    os.mkdir("here")
    expect(eml("extract", "-q", "--per-message", "../A/one.eml", cwd="here"), 0)
    equal(os.listdir("here"), ["0001-one"])
    expect(eml("extract", "-q", "--per-message", "-l", "-o", "planned", "A"), 0)
    equal(os.path.exists("planned"), False)
    answer = json.loads(eml("--json", "extract", "--per-message", "-l", "A/one.eml").out)
    equal(answer["message"]["sub_files"][1]["path"], "0001-one/a.txt")
    # The number does not depend on what can be read.
    write("A/again.eml", b"")
    write("A/jpg", b"\xff\xd8")
    expect(eml("extract", "-q", "--per-message", "-o", "again", "A"), 0)
    equal(sorted(os.listdir("again")), ["0001-one", "0003-two"])


@test
def names_of_the_folders_are_safe():
    names = ["..eml", "\x1b[2J.eml", "-rf.eml", "x" * 251 + ".eml", "ü" * 125 + ".eml",
             os.fsdecode(b"a\xffb.eml"), "a b.EML", "1700.M1.host:2,S", ".eml", "\u202etxt.eml"]
    os.mkdir("A")
    for name in names:
        write(f"A/{name}", ONE)
    expect(eml("extract", "-q", "--per-message", "-o", "jail/out", "A"), 0)
    equal(os.listdir("jail"), ["out"])
    made = sorted(os.listdir("jail/out"))
    equal([name[:5] for name in made], [f"{number:04}-" for number in range(1, len(names) + 1)])
    for name in made:
        no_control_characters(name, name)
        equal(len(os.fsencode(name)) <= 255 and os.fsencode(name).decode() == name, True, name)
    equal({name[5:] for name in made} >= {"a b", "1700.M1.host:2,S", "ab", "-rf", "[2J", "txt"}, True, made)
    expect(eml("extract", "-q", "--per-message", "-o", "long", "A/" + "x" * 251 + ".eml"), 0)
    write("x" * 250 + ".mbox", BOX)
    expect(eml("extract", "-q", "--per-message", "-o", "mbox", "x" * 250 + ".mbox"), 0)
    equal([name[-2:] for name in sorted(os.listdir("mbox"))], ["-1", "-3"])


@test
def a_broken_message_does_not_stop_the_others():
    archive()
    write("empty.eml", b"")
    result = eml("extract", "-o", "out", "empty.eml", "A/one.eml", "nothing.eml", "A/sub/two.eml")
    expect(result, 1, "eml: empty.eml: the file is empty\neml: nothing.eml: no such file\n")
    equal(len(files("out")), 4)
    expect(eml("extract", "empty.eml", "nothing.eml"), 4,
           "eml: empty.eml: the file is empty\neml: nothing.eml: no such file\n",
           "")
    rows = [json.loads(line) for line in
            eml("--json", "extract", "-o", "json", "empty.eml", "A/one.eml", "A/plain.eml").out.splitlines()]
    equal([(row["source"]["path"], row["status"]) for row in rows],
          [("empty.eml", "error"), ("A/one.eml", "ok"), ("A/plain.eml", "ok")])
    write("box.mbox", BOX.replace(cli.PLAIN, b"\nno header\n"))
    expect(eml("extract", "-q", "-o", "box", "box.mbox"), 1, f"eml: box.mbox#2: {NO_MESSAGE}\n", "")
    equal(len(files("box")), 4)
    expect(eml("extract", "-q", "--force", "-o", "forced", "box.mbox"), 0, out="")
    write("encrypted.eml", cli.ENCRYPTED)
    expect(eml("extract", "-q", "--reader=container", "-o", "enc", "encrypted.eml", "A/one.eml"), 1,
           "eml: encrypted.eml: encrypted (S/MIME); only the header can be shown\n", "")
    equal(len(files("enc")), 2)


@test
def numbers_are_of_each_message():
    archive()
    expect(eml("extract", "-q", "-n", "2", "-o", "out", "A/one.eml", "A/plain.eml", "A/sub/two.eml"), 1,
           'eml: A/plain.eml: no sub-file 2; see "eml list A/plain.eml"\n')
    equal(sorted(files("out")), ["b.txt", "in.eml"])
    expect(eml("extract", "-n", "1", "-o", "-", "A/one.eml", "A/plain.eml"), 2,
           "eml: -o - takes one FILE; A/plain.eml is one too many\n", "")
    expect(eml("extract", "-n", "1", "-o", "-", "A"), 3,
           'eml: A: is a directory; a folder is for "eml batch A", "eml view -o DIR A" or "eml extract -o DIR A"\n', "")


@test
def what_is_no_message_is_left_out_of_a_folder():
    archive()
    write("A/notes", b"hello there\n")
    write("A/nothing", b"")
    left = [f"eml: A/{name}: warning: left out: {why}" for name, why in
            (("notes", NO_MESSAGE), ("nothing", "the file is empty"))]
    result = eml("extract", "-o", "out", "A")
    equal((result.err.splitlines(), result.code), (left, 0))
    equal(len(files("out")), 4)
    equal(eml("--strict", "extract", "-q", "-o", "strict", "A").code, 1)
    os.mkdir("empty")
    expect(eml("extract", "empty"), 4, "eml: empty: there is no message in it\n",
           "")
    expect(eml("extract", "-q", "-o", "both", "empty", "A/one.eml"), 1, "eml: empty: there is no message in it\n")
    write("empty.mbox", b"")
    expect(eml("extract", "empty.mbox"), 4, "eml: empty.mbox: the file is empty\n")


@test
def what_was_written_is_not_read():
    archive()
    first = eml("extract", "-r", "-o", "A/out", "--manifest=A/rows.jsonl", "A")
    expect(first, 0)
    written = files("A/out")
    equal(sorted(written), ["a (2).txt", "a.txt", "b.txt", "deep.bin", "in.eml"])
    again = eml("extract", "-r", "-o", "A/out", "--manifest=A/rows.jsonl", "--on-conflict=overwrite", "A")
    equal((again.err, again.out), ("", first.out), "nor what an earlier run has written")
    # The folder itself: only what is new in it is known.
    shutil.rmtree("A")
    archive()
    expect(eml("extract", "-q", "-o", "A", "A"), 0)
    equal(sorted(files("A")), ["a (2).txt", "a.txt", "b.txt", "in.eml", "one.eml", "plain.eml", "sub/two.eml"])
    shutil.rmtree("A")
    archive()
    write("first.eml", mixed(embedded("in.eml", ONE)))
    expect(eml("extract", "-q", "-o", "A/sub", "first.eml", "A/sub"), 0)
    equal(sorted(files("A/sub")), ["a.txt", "in (2).eml", "in.eml", "two.eml"])


@test
def no_folder_stays_without_files():
    os.makedirs("out/a.txt")
    write("m.eml", mixed(part("a.txt")))
    for more in ([], ["--per-message"]):
        shell = f'ulimit -f 0; exec "{cli.EML}" extract -q {" ".join(more)} -o new/deep m.eml'
        run = subprocess.run(["sh", "-c", "trap '' XFSZ; " + shell], capture_output=True, check=False, timeout=60)
        equal((run.returncode, run.stderr.decode().startswith("eml: new/deep/")), (6, True), run.stderr)
        equal(os.path.exists("new"), False)
    expect(eml("extract", "-o", "m.eml/sub", "m.eml", "m.eml"), 6,
           "eml: m.eml/sub: the folder cannot be created: not a directory\n", "")


@test
def files_in_a_winmail_dat_of_each_message():
    if "tnef" not in json.loads(eml("--json", "version").out)["features"]:
        return "this eml does not unpack TNEF"
    message = mixed(part("winmail.dat", tnef.tnef(tnef.attachment(b"%PDF", b"x.pdf")), kind="application/ms-tnef"))
    write("m.eml", message)
    expect(eml("extract", "-q", "-r", "--per-message", "-o", "out", "--manifest=rows", "m.eml", "m.eml"), 0)
    equal(sorted(files("out")), [f"000{n}-m/{name}" for n in (1, 2) for name in ("winmail.dat", "x.pdf")])
    equal([row["number"] for row in rows_of("rows")], ["1", "1.1"] * 2)
    return None


# ---------------------------------------------------------------------------------------------------------
# extract --manifest


def rows_of(path):
    rows = [json.loads(line) for line in read(path).decode().splitlines()]
    cli.DEFINITIONS = cli.SCHEMA["definitions"]
    for row in rows:
        cli.validate(row, cli.DEFINITIONS["manifest_row"])
    return rows


@test
def the_manifest_has_a_row_for_each_file():
    archive()
    write("box.mbox", BOX)
    expect(eml("extract", "-q", "-r", "-o", "out", "--manifest=rows.jsonl", "A", "box.mbox"), 0)
    rows = rows_of("rows.jsonl")
    equal({row["path"]: (row["size"], row["sha256"]) for row in rows},
          {f"out/{name}": (len(content), hashlib.sha256(content).hexdigest())
           for name, content in files("out").items()})
    sources = [{key: row["source"][key] for key in ("path", "index") if key in row["source"]} for row in rows]
    equal([(source, row["number"], row["section"], row["name"]) for source, row in zip(sources, rows)], [
        (source, number, section, name)
        for one, two in (({"path": "A/one.eml"}, {"path": "A/sub/two.eml"}),
                         ({"path": "box.mbox", "index": 0}, {"path": "box.mbox", "index": 2}))
        for source, number, section, name in (
            (one, "1", "2", "a.txt"), (one, "2", "3", "b.txt"), (two, "1", "2", "a.txt"), (two, "2", "3", "in.eml"),
            (two, "2.1", "3.2", "deep.bin"))])
    equal({tuple(row["readings"]) for row in rows}, {("mime",)})
    expect(eml("extract", "-q", "--reader=container", "-o", "c", "--manifest=c.jsonl", "A/one.eml"), 0)
    equal([(row["readings"], "section" in row) for row in rows_of("c.jsonl")], [(["container"], False)] * 2)
    batch = [json.loads(line)["source"] for line in eml("batch", "A", "box.mbox").out.splitlines()]
    equal(all(row["source"] in batch for row in rows), True, "named as in a batch")


@test
def the_manifest_has_only_what_was_written():
    archive()
    os.mkdir("out")
    write("out/a.txt", b"old")
    expect(eml("extract", "-o", "out", "--manifest=rows", "A/one.eml"), 1, f"eml: out/a.txt: {cli.EXISTS}\n")
    equal([row["name"] for row in rows_of("rows")], ["b.txt"])
    expect(eml("extract", "-q", "--on-conflict=skip", "-o", "out", "--manifest=skip", "A/one.eml"), 0)
    equal(read("skip"), b"")
    expect(eml("extract", "-q", "--on-conflict=rename", "-o", "out", "--manifest=rename", "A/one.eml"), 0)
    equal([row["path"] for row in rows_of("rename")], ["out/a (2).txt", "out/b (2).txt"])
    expect(eml("extract", "-q", "--manifest=none", "A/plain.eml"), 0)
    equal(read("none"), b"")
    expect(eml("extract", "-q", "--manifest=missing", "nothing.eml"), 3, "eml: nothing.eml: no such file\n")
    equal(read("missing"), b"")


@test
def the_manifest_appears_whole_or_not_at_all():
    archive()
    write("rows", b"old\n")
    exists = "already exists, not overwritten; choose --on-conflict=overwrite or another file"
    for arguments, text in ((("--manifest=rows",), f"rows: {exists}"),
                            (("--manifest=A",), "A: is a directory; name a file in it"),
                            (("--manifest=none/rows",), "none/rows: no such file or directory"),
                            (("--manifest=rows", "--on-conflict=rename"), f"rows: {exists}")):
        expect(eml("extract", "-o", "out", *arguments, "A"), 6, f"eml: {text}\n", "")
        equal((os.path.exists("out"), read("rows")), (False, b"old\n"), "nothing was begun")
    expect(eml("extract", "-q", "-o", "out", "--manifest=rows", "--on-conflict=overwrite", "A"), 0)
    equal(len(rows_of("rows")), 4)
    equal(sorted(os.listdir(".")), ["A", "out", "rows"], "no temporary files")
    # The run ends early, but what it wrote is listed.
    with open("/dev/full", "wb") as full:
        write("box.mbox", BOX * 400)
        result = eml("--json", "extract", "-o", "early", "--manifest=early.jsonl", "box.mbox", stdout=full)
        equal(result.code, 6, result.err)
    listed = {row["path"] for row in rows_of("early.jsonl")}
    equal(listed, {f"early/{name}" for name in files("early")})
    equal(0 < len(listed) < 1600, True, len(listed))


@test
def the_manifest_on_standard_output():
    archive()
    result = eml("extract", "-o", "out", "--manifest=-", "A")
    expect(result, 0)
    expect(eml("extract", "-q", "-o", "out2", "--manifest=file", "A"), 0)
    equal(result.out.replace("out/", "out2/"), read("file").decode())
    both = "both want standard output"
    for arguments, text in ((("--json", "extract", "--manifest=-"), f"--json and --manifest=- {both}"),
                            (("extract", "-l", "--manifest=x"),
                             "--manifest lists what is written, and -l writes nothing"),
                            (("extract", "-o", "-", "--manifest=x"), "-o - writes no file that --manifest could list"),
                            (("extract", "-o", "-", "--per-message"),
                             "--per-message makes folders; name one for them with -o")):
        expect(eml(*arguments, "A/one.eml"), 2, f"eml: {text}\n", "")


@test
def names_in_the_manifest_are_those_of_the_message():
    folder = os.fsdecode(b"o\xff")
    write("m.eml", mixed(part("../../x\x1b[2J.txt", b"1"), part("\u202egpj.exe", b"2")))
    result = eml("extract", "-o", folder, "--manifest=rows", "m.eml")
    expect(result, 0)
    no_control_characters(read("rows").decode(), "rows")
    rows = rows_of("rows")
    equal([row["name"] for row in rows][0], "../../x\x1b[2J.txt")
    equal([base64.b64decode(row["path_b64"]) for row in rows], [b"o\xff/x[2J.txt", b"o\xff/gpj.exe"])
    equal(sorted(os.listdir(folder)), ["gpj.exe", "x[2J.txt"])


# ---------------------------------------------------------------------------------------------------------
# extract --store


def place_of(content):
    digest = hashlib.sha256(content).hexdigest()
    return f"{digest[:2]}/{digest[2:]}"


def store_rows(path):
    """The rows of files and those of messages."""
    cli.DEFINITIONS = cli.SCHEMA["definitions"]
    rows = [json.loads(line) for line in read(path).decode().splitlines()]
    kinds = {"eml-manifest/1": "manifest_row", "eml-manifest-message/1": "manifest_message"}
    for row in rows:
        cli.validate(row, cli.DEFINITIONS[kinds[row["schema"]]])
    return [[row for row in rows if row["schema"] == schema] for schema in kinds]


def is_whole(folder):
    """Whether a store holds nothing but contents under their digests."""
    for path, content in files(folder).items():
        equal(path, place_of(content))
    return True


def many(count):
    """An mbox of messages that share some contents."""
    return b"".join(b"From a\n" + mixed(part("same.txt", b"same"), part("n.bin", b"%d" % number * (number % 97)))
                    + b"\n" for number in range(count))


@test
def a_store_has_each_content_once():
    archive()
    write("twice.eml", mixed(part("other.txt", b"1"), part("../x", b"22"), part("empty", b"")))
    write("box.mbox", BOX)
    result = eml("extract", "-r", "--store=S", "--manifest=rows", "A", "twice.eml", "box.mbox")
    found = files("S")
    (inner,) = [content for content in found.values() if b"deep.bin" in content]
    equal(found, {place_of(content): content for content in (b"1", b"22", b"333", b"deep!!", b"", inner)})
    expect(result, 0, out=f"13 attachments: 6 new in S, {12 + len(inner)} B; 7 there already, from 5 of 7 messages\n")
    of_files, of_messages = store_rows("rows")
    equal([(row["source"]["path"], row["source"].get("index"), row["number"], row["section"], row["name"], row["type"])
           for row in of_files[5:8]],
          [("twice.eml", None, "1", "2", "other.txt", "application/octet-stream"),
           ("twice.eml", None, "2", "3", "../x", "application/octet-stream"),
           ("twice.eml", None, "3", "4", "empty", "application/octet-stream")])
    for row in of_files:
        content = read(row["path"])
        equal((row["path"], row["size"], row["sha256"]),
              ("S/" + place_of(content), len(content), hashlib.sha256(content).hexdigest()))
    equal([(row["source"]["path"], row["source"].get("index"), row["files"]) for row in of_messages],
          [("A/one.eml", None, 2), ("A/plain.eml", None, 0), ("A/sub/two.eml", None, 3), ("twice.eml", None, 3),
           ("box.mbox", 0, 2), ("box.mbox", 1, 0), ("box.mbox", 2, 3)])
    # What is there is not written again, and what has another size is.
    times = {path: os.stat(f"S/{path}").st_mtime_ns for path in found}
    write("S/" + place_of(b"22"), b"2")
    expect(eml("extract", "-r", "--store=S", "--manifest=again", "A", "twice.eml", "box.mbox"), 0,
           out="13 attachments: 1 new in S, 2 B; 12 there already, from 5 of 7 messages\n")
    equal((read("again"), files("S")), (read("rows"), found))
    equal({path for path, time in times.items() if os.stat(f"S/{path}").st_mtime_ns != time}, {place_of(b"22")})


@test
def a_store_holds_long_contents_too():
    # On both sides of what is kept in memory, and of what a file is written in.
    sizes = [(1 << 18) - 1, 1 << 18, (1 << 18) + 1, (1 << 18) + (1 << 16) + 7, 3 << 20]
    contents = [hashlib.sha256(b"%d" % size).digest() * (size // 32 + 1) for size in sizes]
    contents = [content[:size] for content, size in zip(contents, sizes)]
    write("m.eml", mixed(*[part(f"{size}", content) for size, content in zip(sizes, contents)]))
    for _ in range(2):
        expect(eml("extract", "-q", "--store=S", "--manifest=-", "m.eml"), 0)
        equal(files("S"), {place_of(content): content for content in contents})


@test
def a_store_and_what_is_read():
    archive()
    expect(eml("extract", "-q", "--store=A/S", "--manifest=A/rows", "A"), 0, err="")
    expect(eml("extract", "-q", "--store=A/S", "--manifest=A/rows", "--resume", "A"), 0, err="", out="")
    equal(len(store_rows("A/rows")[1]), 3)
    for folder in ("A/S", "A/S/..//S", "A/S/" + place_of(b"1")[:2]):
        expect(eml("extract", "--store=A/S", "--manifest=x", folder), 2,
               f"eml: {folder} is the store, or in it; read another folder\n", "")
    expect(eml("extract", "--store=A", "--manifest=x", "A"), 2, "eml: A is the store, or in it; read another folder\n", "")
    equal(os.path.exists("x"), False)
    inside = files("A/S")
    (stored,) = [path for path, content in inside.items() if b"deep.bin" in content]
    expect(eml("extract", "-q", "--store=A/S", "--manifest=-", f"A/S/{stored}"), 0)
    equal(set(files("A/S")) - set(inside), {place_of(b"deep!!")}, "files of a store can be read one by one")


@test
def a_store_of_each_reading():
    write("m.eml", ODD)
    expect(eml("extract", "-q", "--reader=all", "-o", "out", "m.eml"), 0)
    expect(eml("extract", "-q", "--reader=all", "--store=S", "--manifest=rows", "m.eml"), 0)
    equal(sorted(files("S").values()), sorted(files("out").values()))
    equal([row["readings"] for row in store_rows("rows")[0]],
          [["mime", "container", "filter"], ["mime"], ["mime"], ["container", "filter"]])
    expect(eml("extract", "-q", "--reader=container", "-n", "1", "--store=C", "--manifest=c", "m.eml"), 0)
    equal((list(files("C").values()), [row["readings"] for row in store_rows("c")[0]]), ([b"same"], [["container"]]))


@test
def a_store_with_answers():
    archive()
    for more in ([], ["--schema=1"]):
        expect(eml("--json", *more, "extract", "--store=S", "A/one.eml", "A/plain.eml"), 0)
    rows = [json.loads(line) for line in eml("--json", "extract", "--store=S", "A/one.eml", "A/plain.eml").out.splitlines()]
    equal([[(entry["outcome"], entry["path"]) for entry in row["message"]["sub_files"][1:]] for row in rows],
          [[("skipped", "S/" + place_of(content)) for content in (b"1", b"22")], []])
    result = eml("extract", "--store=T", "--manifest=-", "A/one.eml", "A/plain.eml")
    expect(eml("extract", "-q", "--store=T", "--manifest=rows", "A/one.eml", "A/plain.eml"), 0, out="")
    expect(result, 0, out=read("rows").decode())


@test
def errors_of_single_messages_in_a_store():
    archive()
    write("empty.eml", b"")
    write("A/notes", b"hello there\n")
    arguments = ("extract", "-q", "--store=S", "--manifest=rows", "A", "empty.eml", "none.eml", "A/one.eml")
    expect(eml(*arguments), 1, "eml: empty.eml: the file is empty\neml: none.eml: no such file\n", "")
    of_messages = store_rows("rows")[1]
    equal([(row["source"]["path"], row["files"], row.get("error", {}).get("code")) for row in of_messages],
          [("A/one.eml", 2, None), ("A/plain.eml", 0, None), ("A/sub/two.eml", 2, None), ("empty.eml", 0, "empty"),
           ("none.eml", 0, "no-such-file"), ("A/one.eml", 2, None)])
    before = read("rows")
    expect(eml(*arguments, "--resume"), 0, err="", out="")
    equal(read("rows"), before, "what had an error is done")
    expect(eml("extract", "-q", "-n", "2", "--store=N", "--manifest=n", "A/one.eml", "A/plain.eml"), 1,
           'eml: A/plain.eml: no sub-file 2; see "eml list A/plain.eml"\n')
    equal([(row["status"], row["files"]) for row in store_rows("n")[1]], [("ok", 1), ("error", 0)])


@test
def a_store_takes_other_options_or_none():
    write("m.eml", ONE)
    named = "is for files with names; --store has each content under its SHA-256"
    for arguments, text in ((["-o", "out"], f"-o {named}"), (["-o", "-"], f"-o {named}"),
                            (["--per-message"], f"--per-message {named}"), (["-l"], f"-l {named}"),
                            (["--on-conflict=fail"], f"--on-conflict {named}")):
        expect(eml("extract", "--store=S", "--manifest=rows", *arguments, "m.eml"), 2, f"eml: {text}\n", "")
    for arguments, text in ((["--store=S"], "--store needs --manifest=OUT, which tells what is where; or --json"),
                            (["--store", "", "--manifest=x"], "--store= names no folder; . is the current one"),
                            (["--store=S", "--manifest=-", "--resume"], "--resume needs --manifest=FILE"),
                            (["--resume", "--manifest=x"], "--resume continues a manifest of --store; without that, "
                             "choose a new folder")):
        expect(eml("extract", *arguments, "m.eml"), 2, f"eml: {text}\n", "")
    expect(eml("--json", "extract", "--store=S", "--resume", "m.eml"), 2, "eml: --resume needs --manifest=FILE\n", "")
    equal(os.listdir("."), ["m.eml"])
    expect(eml("extract", "-q", "--store=.", "--manifest=rows", "m.eml"), 0)
    equal([row["path"] for row in store_rows("rows")[0]], [place_of(b"1"), place_of(b"22")])


@test
def what_is_no_store_manifest_is_not_continued():
    archive()
    expect(eml("extract", "-q", "-o", "out", "--manifest=plain", "A"), 0)
    expect(eml("batch", "-o", "batch", "A"), 0)
    write("text", b"hello\n")
    write("cut", b"hello")
    for name in ("plain", "batch", "text", "cut"):
        before = read(name)
        expect(eml("extract", "--store=S", f"--manifest={name}", "--resume", "A"), 6,
               f"eml: {name}: line 1 is no row of eml extract --store, so nothing is continued here; choose another "
               "file\n", "")
        equal((read(name), os.path.exists("S")), (before, False))
    expect(eml("extract", "--store=S", "--manifest=text", "A"), 6,
           "eml: text: already exists, not overwritten; --resume continues it, or choose another file\n", "")
    expect(eml("extract", "--store=S", "--manifest=A", "A"), 6, "eml: A: is a directory; name a file in it\n", "")
    equal(os.path.exists("S"), False)


@test
def a_run_goes_on_after_any_byte_of_its_manifest():
    archive()
    write("box.mbox", BOX)
    arguments = ("extract", "-q", "-r", "--store=S", "--manifest=rows", "A/one.eml", "box.mbox")
    expect(eml(*arguments), 0)
    whole, stored = read("rows"), files("S")
    for length in (*range(0, len(whole), 61), len(whole)):
        write("rows", whole[:length])
        expect(eml(*arguments, "--resume"), 0)
        equal((read("rows"), files("S")), (whole, stored), length)
    for length in (100, whole.index(b"\n", 500) + 1):
        write("rows", whole[:length] + bytes(50))
        expect(eml(*arguments, "--resume"), 0)
        equal(read("rows"), whole, "zero bytes after a loss of power")
    os.remove("rows")
    expect(eml(*arguments, "--resume"), 0)
    equal(read("rows"), whole, "nothing to continue is no error")


def started(*arguments):
    return subprocess.Popen([cli.EML, *arguments], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                            stderr=subprocess.PIPE)


def ended_after(process, path, size, ending):
    """Ends it once the file is so long."""
    until = time.monotonic() + cli.PATIENCE
    while process.poll() is None and time.monotonic() < until:
        if os.path.exists(path) and os.path.getsize(path) >= size:
            process.send_signal(ending)
            break
        time.sleep(0.0005)
    out, err = process.communicate(timeout=cli.PATIENCE)
    return process.returncode, out, err.decode()


@test
def a_run_that_was_killed_is_resumed():
    write("box.mbox", many(3000))
    arguments = ("extract", "-q", "--manifest=rows", "box.mbox")
    expect(eml("extract", "-q", "--store=once", "--manifest=whole", "box.mbox"), 0)
    ends = []
    for size in (1, 100_000, 400_000):
        code, _, _ = ended_after(started(*arguments, "--store=S", "--resume"), "rows", size, signal.SIGKILL)
        ends.append(code)
    expect(eml(*arguments, "--store=S", "--resume"), 0)
    equal(-signal.SIGKILL in ends, True, ends)
    kept = {path: content for path, content in files("S").items() if not path.startswith(".eml-")}
    equal(kept, files("once"))
    equal(len(files("S")) - len(kept) <= ends.count(-signal.SIGKILL), True, "one file each that had no name")
    equal(read("rows").replace(b'"S/', b'"once/'), read("whole"))


@test
def a_run_that_is_stopped_says_how_to_go_on():
    write("box.mbox", many(3000))
    for ending in (signal.SIGINT, signal.SIGTERM):
        for name in ("S", "rows"):
            subprocess.run(["rm", "-rf", name], check=True)
        code, out, err = ended_after(started("extract", "--store=S", "--manifest=rows", "box.mbox"), "rows", 1, ending)
        equal((code, out, err), (-ending, b"", "eml: stopped; rows is whole so far, and the same command with "
                                               "--resume continues it\n"))
        store_rows("rows")
        equal(read("rows").splitlines()[-1].startswith(b'{"schema":"eml-manifest-message/1"'), True)
        equal(is_whole("S"), True)
        expect(eml("extract", "-q", "--store=S", "--manifest=rows", "--resume", "box.mbox"), 0)
        equal(len(store_rows("rows")[1]), 3000)


@test
def two_runs_write_one_store():
    write("box.mbox", many(1500))
    processes = [started("extract", "-q", "--store=S", f"--manifest=rows{number}", "box.mbox") for number in range(2)]
    for process in processes:
        equal((process.communicate(timeout=cli.PATIENCE), process.returncode), ((b"", b""), 0))
    equal(is_whole("S"), True)
    equal(read("rows0"), read("rows1"))
    expect(eml("extract", "-q", "--store=once", "--manifest=rows", "box.mbox"), 0)
    equal(files("S"), files("once"))


@test
def one_manifest_has_one_writer():
    write("m.eml", ONE)
    with open("rows", "wb") as file:
        fcntl.flock(file, fcntl.LOCK_EX)
        expect(eml("extract", "--store=S", "--manifest=rows", "--resume", "m.eml"), 6,
               "eml: rows: another eml is writing it\n", "")
    equal(os.path.exists("S"), False)


def limited(size, *arguments):
    """Runs with a limit of `size` blocks of 512 bytes for each file, as if the disk were full."""
    shell = f"trap '' XFSZ; ulimit -f {size}; exec \"$0\" \"$@\""
    run = subprocess.run(["sh", "-c", shell, cli.EML, *arguments], capture_output=True, check=False,
                         timeout=cli.PATIENCE)
    return run.returncode, run.stdout.decode(), run.stderr.decode()


@test
def a_full_disk_stops_the_run_and_nothing_half_stays():
    short = mixed(part("a.txt", b"1"))
    for size in (3000, 300_000):
        write("box.mbox", b"".join(b"From a\n" + message + b"\n" for message in
                                   (short, mixed(part("b.txt", b"22"), part("big.bin", b"x" * size)), ONE)))
        arguments = ("extract", "-q", "--store=S", "--manifest=rows", "box.mbox")
        code, out, err = limited(4, *arguments)
        equal((code, out, err), (6, "", "eml: S: file too large; --resume goes on with this message\n"))
        equal((is_whole("S"), sorted(files("S").values())), (True, [b"1", b"22"]))
        equal([(row["source"]["index"], row["files"]) for row in store_rows("rows")[1]], [(0, 1)])
        expect(eml(*arguments, "--resume"), 0)
        equal([(row["source"]["index"], row["files"]) for row in store_rows("rows")[1]], [(0, 1), (1, 2), (2, 2)])
        equal((is_whole("S"), len(files("S"))), (True, 3))
        shutil.rmtree("S")
        os.remove("rows")
    # The manifest is what does not fit.
    write("box.mbox", many(100))
    code, _, err = limited(8, "extract", "-q", "--store=S", "--manifest=rows", "box.mbox")
    equal((code, err), (6, "eml: rows: file too large; the rows so far are whole, --resume goes on from there\n"))
    expect(eml("extract", "-q", "--store=S", "--manifest=rows", "--resume", "box.mbox"), 0)
    equal((len(store_rows("rows")[1]), is_whole("S")), (100, True))


@test
def a_store_that_cannot_be_written_is_no_beginning():
    write("m.eml", ONE)
    write("file", b"x")
    expect(eml("extract", "--store=file", "--manifest=rows", "m.eml"), 6,
           "eml: file: the folder cannot be created: not a directory\n", "")
    expect(eml("extract", "--store=S", "--manifest=none/rows", "m.eml"), 6, "eml: none/rows: no such file or directory\n", "")
    equal(sorted(os.listdir(".")), ["file", "m.eml"])
    os.mkdir("S")
    command = [cli.EML, "extract", "--store=S", "--manifest=rows", "m.eml"]
    why = "read-only file system"
    if os.geteuid() != 0:
        os.chmod("S", 0o500)
        why = "permission denied"
    else:
        shell = 'mount --bind S S && mount -o remount,bind,ro S && exec "$0" "$@"'
        command = ["unshare", "-m", "sh", "-c", shell, *command]
        if subprocess.run(["unshare", "-m", "true"], capture_output=True, check=False).returncode != 0:
            return "no folder can be made read-only here"
    run = subprocess.run(command, capture_output=True, check=False, timeout=cli.PATIENCE)
    equal((run.returncode, run.stderr.decode(), os.path.exists("rows")), (6, f"eml: S: {why}\n", False))
    return None


# ---------------------------------------------------------------------------------------------------------
# extract --reader=all

# The MIME reader alone has the file without a name; the bytes that are no base64 are read in different ways.
ODD = mixed(part("same.txt", b"same"), b"Content-Type: image/png\nContent-Transfer-Encoding: base64\n\niVBO\n",
            b"Content-Type: application/zip; name=b.zip\nContent-Transfer-Encoding: base64\n"
            b"Content-Disposition: attachment; filename=b.zip\n\nUEs!DBA=\n",
            part("copy.txt", b"same"))


@test
def all_readings_together_give_each_content_once():
    write("m.eml", ODD)
    expect(eml("extract", "-q", "-o", "out", "--reader=all", "--manifest=rows", "m.eml"), 0)
    contents = list(files("out").values())
    equal(len(set(contents)), len(contents), "each once")
    for reader in ("mime", "container"):
        expect(eml("extract", "-q", "-o", reader, f"--reader={reader}", "m.eml"), 0)
        for name, content in files(reader).items():
            equal(content in contents, True, (reader, name))
    rows = {row["path"]: row for row in rows_of("rows")}
    equal({path: row["readings"] for path, row in rows.items()},
          {"out/same.txt": ["mime", "container", "filter"], "out/part-3.png": ["mime"], "out/b.zip": ["mime"],
           "out/b (2).zip": ["container", "filter"]})
    equal([row["number"] for row in rows.values()], ["1", "2", "3", "5"], "those of the MIME reader, and on")
    for path, row in rows.items():
        equal(hashlib.sha256(read(path)).hexdigest(), row["sha256"], path)
    compared = json.loads(eml("--json", "compare", "m.eml").out)["contents"]
    offered = {content[reader].get("sha256") for content in compared for reader in ("mime", "container", "filter")}
    equal({row["sha256"] for row in rows.values()}, offered - {None})


@test
def what_not_all_readings_have_is_noted():
    write("m.eml", ODD)
    equal(re.findall(r"only ([a-z ]+)\)", eml("extract", "-l", "--reader=all", "m.eml").out),
          ["mime", "mime", "container and filter"])
    answer = json.loads(eml("--json", "extract", "-l", "--reader=all", "m.eml").out)
    equal(answer["reader"], "all")
    equal([entry.get("readings") for entry in answer["message"]["sub_files"]][-1], ["container", "filter"])
    equal("readings" in eml("--json", "--schema=1", "extract", "-l", "--reader=all", "m.eml").out, False)
    equal("readings" in eml("--json", "extract", "-l", "m.eml").out, False)


@test
def what_a_reading_shows_as_text_is_no_file_of_it():
    named = b"Content-Type: text/plain; name=x.txt\n\nhello\n"
    write("m.eml", b"From: a@example.org\nMIME-Version: 1.0\nContent-Type: multipart/mixed; boundary=b\n\n--b\n" + named
          + b"--b--\n")
    expect(eml("extract", "-l", "m.eml"), 0, out="no attachments\n")
    equal(eml("extract", "-l", "--reader=all", "m.eml").out.splitlines()[0], "x.txt      5 B   (only container)")


@test
def all_readings_of_protected_messages():
    write("signed.eml", signed(mixed(part("inner.txt", b"inner"))))
    write("encrypted.eml", cli.ENCRYPTED)
    expect(eml("extract", "-q", "--reader=all", "-o", "enc", "encrypted.eml"), 0)
    equal(files("enc"), {"smime.p7m": base64.b64decode("MIAGCSqGSIb3DQ==")})
    expect(eml("extract", "-q", "--reader=all", "-o", "signed", "--manifest=rows", "signed.eml"), 0)
    if "smime" in json.loads(eml("--json", "version").out)["features"]:
        equal(sorted(files("signed")), ["inner.txt", "smime.p7m"])
        equal([row["number"] for row in rows_of("rows")], ["1", "2"])
    else:
        equal(sorted(files("signed")), ["smime.p7m"])


@test
def all_readings_of_what_has_nothing_or_much():
    write("plain.eml", cli.PLAIN)
    expect(eml("extract", "--reader=all", "plain.eml"), 0, out="no attachments\n")
    archive()
    expect(eml("extract", "-q", "-r", "--reader=all", "--per-message", "-o", "out", "A"), 0)
    equal(sorted(files("out")), ["0001-one/a.txt", "0001-one/b.txt", "0003-two/a.txt", "0003-two/deep.bin",
                                 "0003-two/in.eml"])
    write("one.eml", mixed(part("x", b"only one")))
    expect(eml("extract", "--reader=all", "-o", "-", "one.eml"), 0, out="only one")
    expect(eml("extract", "--reader=all", "-o", "piped", "-q", "-", stdin=ODD), 0)
    equal(len(files("piped")), 4)
    many = mixed(*[part("../a.txt", b"%d" % number) for number in range(300)])
    write("many.eml", many)
    expect(eml("extract", "-q", "--reader=all", "-o", "many", "many.eml"), 0)
    equal(sorted(map(int, files("many").values())), list(range(300)))


@test
def all_readings_are_for_extract():
    write("m.eml", cli.PLAIN)
    for command in ("show", "list", "tree", "info", "compare", "render", "records", "view", "batch"):
        expect(eml("--reader=all", command, "m.eml"), 2,
               f'eml: --reader=all is for extract; {command} gives one reading at a time, or see "eml compare"\n', "")
    expect(eml("extract", "--reader=all", "-n", "1", "m.eml"), 2,
           "eml: -n takes the numbers of one reading; leave out --reader=all\n", "")
    result = eml("extract", "--reader=filter", "m.eml", "m.eml")
    equal((result.code, result.err.count("\n")), (2, 1), "said once")


# ---------------------------------------------------------------------------------------------------------


def main():
    # What runs in the background begins with some signals ignored, and hands that on.
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, signal.SIG_DFL)
    wanted = sys.argv[2:]
    cli.TESTS[:] = [function for function in TESTS if not wanted or function.__name__ in wanted]
    return cli.main()


if __name__ == "__main__":
    sys.exit(main())
