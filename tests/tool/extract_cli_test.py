#!/usr/bin/env python3
"""Runs `eml info --headers` and `eml extract` as a user does, and holds output, exit codes and files.

    tests/tool/extract_cli_test.py PATH/TO/eml
"""

import base64
import hashlib
import json
import os
import re
import shutil
import subprocess
import sys

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
    wanted = sys.argv[2:]
    cli.TESTS[:] = [function for function in TESTS if not wanted or function.__name__ in wanted]
    return cli.main()


if __name__ == "__main__":
    sys.exit(main())
