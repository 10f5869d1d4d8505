#!/usr/bin/env python3
"""Archives as inputs: the four forms of mbox, .emlx, tar, zip, compressed files, and pipes that deliver them.

    tests/tool/archive_cli_test.py PATH/TO/eml [TEST...]

EMLREADER_TEST_FULL=1 also tries a file of more than 1 GiB.
"""

import bz2
import contextlib
import functools
import gzip
import io
import json
import lzma
import os
import random
import re
import shutil
import subprocess
import sys
import tarfile
import zipfile

import batch_test as runs
import cli_test as cli
import mail_archive
from batch_test import code_of
from cli_test import eml, equal, expect, read, write

TESTS = []
COUNT = 300
POSTMARK = b"From x@example.org Thu Jan  1 00:00:00 1970\n"
NESTED = "an archive inside an archive, which is not opened"
LINK = "a link, which is not followed"


def test(function):
    TESTS.append(function)
    return function


def with_archives(function):
    """A test of a program that has been built with the library."""
    def run_it():
        if "archives" not in json.loads(eml("--json", "version").out)["features"]:
            return "built without libarchive"
        return function()
    run_it.__name__ = function.__name__
    return test(run_it)


def batch(*arguments, code=None, **more):
    """The rows and the result. What all rows have alike is held against the schema in some of them."""
    result = eml("batch", *arguments, **more)
    if code is not None:
        equal((result.code, result.err if result.code != code else ""), (code, ""), "exit code")
    rows = [json.loads(line) for line in result.out.splitlines()]
    for number, row in enumerate(rows):
        if number % 100 == 0 or row["status"] == "error" and number % 10 == 0:
            cli.validate(row, cli.SCHEMA)
    return rows, result


# ---------------------------------------------------------------------------------------------------------
# Messages


@functools.lru_cache(maxsize=None)
def messages():
    """Some have lines that an mbox quotes."""
    rng = random.Random(3)
    found = [mail_archive.message(rng, number) for number in range(COUNT)]
    return [message + b"\nFrom here\n\n>From there\n\nFrom 12:34\n" if number % 7 == 0 else message
            for number, message in enumerate(found)]


def letter(number):
    return b"Subject: Letter %d\n\ntext %d\n" % (number, number)


def quoted(message, pattern=rb"(?m)^(>*From )"):
    return re.sub(pattern, rb">\1", message)


def mbox(each):
    return b"".join(POSTMARK + message + b"\n" for message in each)


def with_length(message):
    """The length counts the bytes as they are stored."""
    header, body = message.split(b"\n\n", 1)
    return b"%s\nContent-Length: %d\n\n%s" % (header, len(body), body)


def emlx(message):
    return b"%-10d\n%s<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"/>\n" % (len(message), message)


def file_in_tar(archive, name, content, **fields):
    info = tarfile.TarInfo(name)
    info.size = len(content)
    for field, value in fields.items():
        setattr(info, field, value)
    archive.addfile(info, io.BytesIO(content))


def tar_of(files, mode="w", **more):
    """`files`: names and contents."""
    out = io.BytesIO()
    with tarfile.open(fileobj=out, mode=mode, **more) as archive:
        for name, content in files:
            file_in_tar(archive, name, content)
    return out.getvalue()


def zip_of(files, method=zipfile.ZIP_DEFLATED):
    out = io.BytesIO()
    with zipfile.ZipFile(out, "w", method) as archive:
        for name, content in files:
            archive.writestr(name, content)
    return out.getvalue()


def named(each):
    return [(f"box/{number:04}.eml", message) for number, message in enumerate(each)]


def without_source(rows):
    return [{key: value for key, value in row.items() if key != "source"} for row in rows]


def content_of(row, archive):
    """What the row's place says of the file."""
    source = row["source"]
    return archive[source["offset"]:source["offset"] + source["length"]]


def rows_of_folder(each):
    shutil.rmtree("folder", ignore_errors=True)
    os.mkdir("folder")
    for number, message in enumerate(each):
        write(f"folder/{number:04}.eml", message)
    rows, _ = batch("--digest", "folder", code=0)
    equal(len(rows), len(each))
    return without_source(rows)


# ---------------------------------------------------------------------------------------------------------
# Without libarchive


@test
def the_four_forms_of_mbox():
    plain = messages()
    expected = rows_of_folder(plain)
    # mboxo quotes only lines that are not quoted yet, so it cannot be undone where both stand in a message.
    forms = {"mboxrd": mbox(map(quoted, plain)),
             "mboxo": mbox(quoted(message, rb"(?m)^(From )") for message in plain)}
    for form, box in forms.items():
        write(form, box)
        rows, _ = batch("--digest", form, code=0)
        told_apart = [number for number, message in enumerate(plain) if form == "mboxrd" or b"\n>From " not in message]
        equal(len(rows), COUNT)
        found = without_source(rows)
        equal([found[i] for i in told_apart], [expected[i] for i in told_apart], form)
        pieces = [content_of(row, box) for row in rows]
        equal(mbox(pieces) == box, True, form)
    unquoted = [with_length(message) for message in plain]
    stored = [with_length(quoted(message)) for message in plain]
    read_as = [re.sub(rb"(?m)^>(>*From )", rb"\1", message) for message in stored]
    for form, box, originals in (("mboxcl2", mbox(unquoted), unquoted), ("mboxcl", mbox(stored), read_as)):
        write(form, box)
        rows, _ = batch("--digest", form, code=0)
        equal(without_source(rows), rows_of_folder(originals), form)
        for row, message in zip(rows, unquoted if form == "mboxcl2" else stored, strict=True):
            equal(content_of(row, box), message, form)


@test
def a_length_that_lies_cuts_and_joins_nothing():
    second = letter(2)
    for claim in (b"0", b"1", b"7", b"9", b"1000000", b"18446744073709551615", b"-1", b"8\nContent-Length: 8",
                  b"99999999999999999999"):
        first = b"Subject: 1\nContent-Length: " + claim + b"\n\ntext\n\nmore\n"
        write("box.mbox", mbox([first, second]))
        rows, _ = batch("box.mbox", code=0)
        equal([content_of(row, read("box.mbox")) for row in rows], [first, second], claim)
        write("one.mbox", mbox([first])[:-1])
        rows, _ = batch("one.mbox", code=0)
        equal([content_of(row, read("one.mbox")) for row in rows], [first], claim)


@test
def an_emlx_is_its_message():
    message = cli.mixed(cli.part("two.bin", b"22"), subject=b"Letter")
    write("plain.eml", message)
    write("17.emlx", emlx(message))
    write("18.partial.emlx", emlx(message))
    write("no-name", emlx(message))
    for name in ("17.emlx", "18.partial.emlx", "no-name"):
        for command in (("list",), ("info",), ("show",), ("records",), ("render",), ("extract", "-l"), ("tree",),
                        ("view", "-o", "-")):
            expected, found = eml(*command, "plain.eml"), eml(*command, name)
            equal((found.code, found.err, found.out.replace(name, "plain.eml")),
                  (expected.code, expected.err, expected.out), (name, command))
        place = {"path": name, "offset": 11, "length": len(message)}
        equal(json.loads(eml("--json", "list", name).out)["source"], place)
        rows, _ = batch("--digest", name, code=0)
        equal((rows[0]["source"], without_source(rows)), (place, rows_of_folder([message])), name)
        with open(name, "rb") as file:
            rows, _ = batch("--digest", "/dev/stdin", code=0, stdin=file.read())
        equal((rows[0]["source"], without_source(rows)), ({**place, "path": "/dev/stdin"}, rows_of_folder([message])))
        equal(json.loads(eml("batch", "--schema=1", name).out)["source"], {"path": name})
    expect(eml("extract", "-o", "out", "17.emlx"), 0)
    equal(read("out/two.bin"), b"22")
    write("not.emlx", b"17 letters\n" + message)
    equal([code_of(row) for row in batch("not.emlx", code=0)[0]], ["warning"])


@test
def an_mbox_from_a_pipe_is_read_as_it_comes():
    """Each row is there before the next message but one."""
    pipe = runs.start("/dev/stdin", stdin=subprocess.PIPE)
    box = mbox(letter(number) for number in range(4))
    pieces = [piece for piece in re.split(rb"(?=From x)", box) if piece]
    filler = b"X-Filler: " + b"x" * 600 + b"\n"  # the first bytes of a pipe tell what it is
    sent = b""
    for number, piece in enumerate(pieces):
        piece = piece.replace(b"Subject", filler + b"Subject")
        sent += piece
        pipe.stdin.write(piece)
        pipe.stdin.flush()
        if number > 0:
            row = json.loads(pipe.stdout.readline())
            equal((row["source"]["index"], row["message"]["metadata"]["subject"]),
                  (number - 1, f"Letter {number - 1}"))
    pipe.stdin.close()
    row = json.loads(pipe.stdout.readline())
    equal(content_of(row, sent), sent[sent.rindex(POSTMARK) + len(POSTMARK):-1])
    equal((pipe.wait(), pipe.stdout.read(), pipe.stderr.read()), (0, b"", b""))
    pipe.stdout.close()
    pipe.stderr.close()


@test
def other_sources_go_on_while_a_pipe_is_silent():
    write("a.eml", letter(1))
    pipe = runs.start("-j2", "/dev/stdin", "a.eml", stdin=subprocess.PIPE)
    equal(json.loads(pipe.stdout.readline())["source"], {"path": "a.eml"})
    out, err = pipe.communicate(letter(2))
    equal((json.loads(out)["source"], pipe.returncode, err), ({"path": "/dev/stdin"}, 0, b""))


@test
def a_pipe_that_stays_silent_has_a_row():
    with runs.start("--timeout=0.3", "/dev/stdin", stdin=subprocess.PIPE) as pipe:
        pipe.stdin.write(mbox([letter(1), letter(2)]) + b"x" * 600)
        pipe.stdin.flush()
        rows = [json.loads(line) for line in pipe.stdout]
        equal(([code_of(row) for row in rows], pipe.wait()), (["ok", "timeout"], 1))
        equal([row["source"]["index"] for row in rows], [0, 1])


@test
def what_a_pipe_delivers_may_be_large():
    """Messages that lie in several of the files that hold a stream, and one that claims to be longer than all."""
    big = [cli.mixed(cli.part(f"{number}.txt", (b"x" * 990 + b"\n") * 3_000, encoding="8bit")) for number in range(3)]
    big.insert(1, b"Content-Length: 900000000\n" + letter(9))
    box = mbox(big)
    write("box.mbox", box)
    expected, _ = batch("--digest", "box.mbox", code=0)
    rows, _ = batch("--digest", "-j3", "--ordered", "/dev/stdin", code=0, stdin=box)
    equal(without_source(rows), without_source(expected))
    equal([content_of(row, box) for row in rows], [content_of(row, box) for row in expected])


# ---------------------------------------------------------------------------------------------------------
# With libarchive


def forms_of(plain):
    """All forms that need the library: file name, content, names of the members."""
    files = named(plain)
    names = [name for name, _ in files]
    tar = tar_of(files)
    box = mbox(map(quoted, plain))
    yield "mails.tar", tar, names
    yield "mails.tar.gz", gzip.compress(tar, 1), names
    some = tar_of(files[:40])
    yield "mails.tar.bz2", bz2.compress(some, 1), names[:40]
    yield "mails.tar.xz", lzma.compress(some, preset=0), names[:40]
    yield "mails.zip", zip_of(files), names
    yield "stored.zip", zip_of(files, zipfile.ZIP_STORED), names
    yield "box.mbox.gz", gzip.compress(box, 1), [None] * len(plain)
    yield "two.tar", tar_of([("one.mbox", mbox(map(quoted, plain[:100])))] + files[100:]), ["one.mbox"] * 100 + names[100:]
    yield "emlx.zip", zip_of((f"{i}.emlx", emlx(message)) for i, message in enumerate(plain[:40])), \
        [f"{i}.emlx" for i in range(40)]


@with_archives
def the_same_rows_from_every_form():
    plain = messages()
    expected = rows_of_folder(plain)
    for name, content, members in forms_of(plain):
        write(name, content)
        rows, _ = batch("--digest", name, code=0)
        equal(len(rows), len(members), name)
        equal(without_source(rows) == expected[:len(rows)], True, name)
        equal([row["source"]["index"] for row in rows], list(range(len(members))), name)
        equal([row["source"].get("member") for row in rows], members, name)
        places = [row["source"] for row in rows if "offset" in row["source"]]
        equal(len(places), COUNT if name in ("mails.tar", "stored.zip", "two.tar") else 0, name)
        for row, message in zip(rows, plain):
            if "offset" in row["source"]:
                stored = quoted(message) if row["source"]["member"] == "one.mbox" else message
                equal(content_of(row, content), stored, name)
        if name in ("mails.tar", "mails.tar.gz", "stored.zip", "box.mbox.gz", "two.tar"):
            piped, _ = batch("--digest", "-j4", "--ordered", "/dev/stdin", code=0, stdin=content)
            equal(without_source(piped) == expected, True, f"{name}, from a pipe")
            equal([row["source"].get("member") for row in piped], members, f"{name}, from a pipe")
    first = json.loads(eml("batch", "--schema=1", "emlx.zip").out.splitlines()[1])
    equal(first["source"], {"path": "emlx.zip", "index": 1})


@with_archives
def a_run_that_was_killed_is_resumed():
    plain = messages()
    for name, content in (("mails.tar.gz", gzip.compress(tar_of(named(plain)), 1)),
                          ("box.mbox.gz", gzip.compress(mbox(map(quoted, plain)), 1))):
        write(name, content)
        whole = sorted(eml("batch", name).out.splitlines())
        for stdin in (None, content):
            path = name if stdin is None else "/dev/stdin"
            rows = f"{name}.{stdin is None}.jsonl"
            lines = sorted(line.replace(f'"{name}"', f'"{path}"') for line in whole)
            with runs.start("-j2", "-o", rows, path, stdin=subprocess.PIPE) as process:
                # A pipe that does not end, until the process has.
                if stdin is not None:
                    process.stdin.write(stdin[:len(stdin) // 2])
                    process.stdin.flush()
                runs.wait_until(lambda: runs.lines_in(rows) >= 20, "there are rows")
                children = runs.children_of(process)
                process.kill()
                runs.wait_until(lambda: all(map(runs.is_gone, children)), "its processes are gone")
                with contextlib.suppress(BrokenPipeError):
                    process.stdin.close()
            result = eml("batch", "-j2", "-o", rows, "--resume", path, stdin=stdin or b"")
            equal(result.code, 0, result.err)
            equal(sorted(read(rows).decode().splitlines()) == lines, True, path)


@with_archives
def a_message_in_an_archive_has_a_number():
    for name, content in (("mail.zip", zip_of(named(map(letter, range(1, 20))))),
                          ("mail.tar", tar_of(named(map(letter, range(1, 20))))),
                          ("box.mbox.gz", gzip.compress(mbox(map(letter, range(1, 20)))))):
        write(name, content)
        write("one.eml", letter(17))
        for command in (("list",), ("info",), ("show",), ("records",), ("render",), ("tree",), ("view", "-o", "-")):
            expected, found = eml(*command, "one.eml"), eml(*command, f"{name}#17")
            equal((found.code, found.err, found.out.replace(f"{name}#17", "one.eml")),
                  (0, "", expected.out), (name, command))
        expect(eml("show", f"{name}#20"), 7, f"eml: {name}: has 19 messages, there is no 20\n", "")
        headings = [line for line in eml("list", name).out.splitlines() if line.startswith(name)]
        equal(headings, [f"{name}#{number}:" for number in range(1, 20)])
        for argument in ("-", "/dev/stdin"):
            result = eml("list", argument, stdin=content)
            equal((result.code, result.err, result.out.count("Letter")), (0, "", 19), argument)
        equal("Letter 3" in eml("show", "/dev/stdin#3", stdin=content).out, True)
        equal(eml("show", stdin=content).out.count("Letter"), 19)
    expect(eml("view", "-o", "site", "mail.zip"), 0)
    equal(len([name for name in os.listdir("site") if name != "index.html"]), 19)
    result = eml("view", "-o", "-", "mail.zip")
    equal((result.code, "mail.zip is an archive: name a folder" in result.err), (2, True), result.err)
    result = eml("render", "mail.zip")
    equal((result.code, "is an archive of 19 messages" in result.err), (2, True), result.err)
    write("one.eml.gz", gzip.compress(letter(1)))
    equal(eml("list", "one.eml.gz").out, eml("list", "-", stdin=letter(1)).out)
    write("empty.zip", zip_of([]))
    equal(batch("empty.zip", code=0)[0], [])
    write("empty.gz", gzip.compress(b""))
    equal([code_of(row) for row in batch("empty.gz")[0]], ["empty"])


@with_archives
def names_in_an_archive_are_only_shown():
    names = ["../../evil.eml", "/evil.eml", "a/../../evil.eml", "\x1b[31mred.eml", "gr\xfc.eml", "line\nfeed", "n" * 300]
    for archive_format in (tarfile.GNU_FORMAT, tarfile.PAX_FORMAT):
        write("a.tar", tar_of([(name, letter(1)) for name in names], format=archive_format, encoding="utf-8"))
        rows, result = batch("a.tar", code=0)
        equal([row["source"]["member"] for row in rows], names)
        cli.no_control_characters(result.out, "rows")
        expect(eml("extract", "-o", "out", "a.tar"), 0)
        equal(os.listdir("."), ["a.tar"])
    write("latin.tar", tar_of([("gr\xfc.eml", letter(1))], format=tarfile.GNU_FORMAT, encoding="latin-1"))
    rows, _ = batch("latin.tar", code=0)
    equal((rows[0]["source"]["member"], rows[0]["source"]["member_b64"]), ("gr\ufffd.eml", "Z3L8LmVtbA=="))
    write("utf8.zip", zip_of([("gr\xfc.eml", letter(1))]))
    equal(batch("utf8.zip", code=0)[0][0]["source"]["member"], "gr\xfc.eml")


@with_archives
def what_is_no_file_in_an_archive_is_left_out():
    out = io.BytesIO()
    with tarfile.open(fileobj=out, mode="w") as archive:
        file_in_tar(archive, "folder", b"", type=tarfile.DIRTYPE)
        file_in_tar(archive, "a.eml", letter(1))
        file_in_tar(archive, "link", b"", type=tarfile.SYMTYPE, linkname="/etc/passwd")
        file_in_tar(archive, "hard", b"", type=tarfile.LNKTYPE, linkname="a.eml")
        file_in_tar(archive, "device", b"", type=tarfile.CHRTYPE)
        file_in_tar(archive, "pipe", b"", type=tarfile.FIFOTYPE)
        for number, inner in enumerate((gzip.compress(letter(2)), zip_of([("x", letter(2))]), tar_of([("x", letter(2))]),
                                        bz2.compress(letter(2)), lzma.compress(letter(2)))):
            file_in_tar(archive, f"inner{number}", inner)
        file_in_tar(archive, "b.eml", letter(3))
    write("a.tar", out.getvalue())
    rows, result = batch("a.tar")
    equal([row["source"]["member"] for row in rows], ["a.eml", "b.eml"])
    left_out = [("link", LINK), ("hard", LINK)] + [(f"inner{number}", NESTED) for number in range(5)]
    warnings = "".join(f"eml: a.tar: {name}: warning: left out: {why}\n" for name, why in left_out)
    expect(result, 0, warnings)
    expect(eml("list", "a.tar"), 0, warnings)
    expect(eml("list", "a.tar#2"), 0)


@with_archives
def a_maildir_in_an_archive_is_as_in_a_folder():
    files = [("Mail/cur/1700000001.a.host:2,RS", letter(1)), ("Mail/dovecot-uidlist", b"3 V1 N1\n"),
             ("Mail/maildirsize", b"1000S\n1 1\n"), ("Mail/new/1700000002.b.host", letter(2)),
             ("Mail/tmp/1700000003.c.host", letter(3)), ("Mail/tmp/other", letter(4)),
             ("Mail/.Sent/cur/1700000005.e.host:2,S", letter(5)), ("Mail/.Sent/tmp/x", letter(6))]
    for name, content in files:
        os.makedirs(os.path.dirname(name), exist_ok=True)
        write(name, content)
    os.makedirs("Mail/.Sent/new")
    write("mail.tar", tar_of(files))
    folder, _ = batch("Mail", code=0)
    archive, result = batch("mail.tar", code=0)
    by_name = {row["source"]["path"]: row for row in folder}
    equal(sorted(by_name), sorted(row["source"]["member"] for row in archive))
    for row in archive:
        other = by_name[row["source"]["member"]]
        equal(without_source([row]), without_source([other]))
        equal(row["source"]["maildir_flags"], other["source"]["maildir_flags"])
    equal((len(archive), result.err), (3, ""))


@with_archives
def a_damaged_archive_has_the_rows_before():
    plain = messages()[:80]
    files = named(plain)
    expected = rows_of_folder(plain)
    tar, box = tar_of(files), mbox(map(quoted, plain))
    cases = {"cut.tar": tar[:len(tar) // 2 + 700], "cut.tar.gz": gzip.compress(tar)[:80000],
             "cut.zip": zip_of(files)[:80000], "cut.mbox.gz": gzip.compress(box)[:80000],
             "cut.tar.xz": lzma.compress(tar)[:80000], "cut.tar.bz2": bz2.compress(tar, 1)[:-1000],
             "torn.tar.gz": gzip.compress(tar)[:80000] + bytes(100) + gzip.compress(tar)[80100:]}
    for name, content in cases.items():
        write(name, content)
        for more in ({}, {"stdin": content}) if name in ("cut.tar", "cut.zip", "cut.mbox.gz") else ({},):
            rows, result = batch("--digest", "/dev/stdin" if more else name, **more)
            count = len(rows) - 1
            equal((result.code, code_of(rows[-1])), (1, "damaged-archive"), name)
            equal(rows[-1]["error"]["exit"], 3, name)
            equal((count > 0, rows[-1]["source"]["index"]), (True, count), name)
            good = [index for index in range(count) if name != "torn.tar.gz" or index < count - 1]
            equal([without_source(rows)[index] for index in good], [expected[index] for index in good], name)
        result = eml("list", name)
        equal((result.code, "the archive is damaged, or cut off" in result.err), (1, True), (name, result.err))
        equal(eml("show", f"{name}#1").code, 0, name)
    # One member is damaged, and the others are not.
    content = bytearray(zip_of(files, zipfile.ZIP_STORED))
    place = bytes(content).index(plain[5][:200]) + 150
    content[place] ^= 0x55
    write("one.zip", content)
    rows, result = batch("--digest", "one.zip")
    equal([index for index, row in enumerate(rows) if code_of(row) == "damaged-archive"], [5])
    equal([row for index, row in enumerate(without_source(rows)) if index != 5],
          [row for index, row in enumerate(expected) if index != 5])
    equal(rows[5]["source"]["member"], "box/0005.eml")
    for beginning in (b"\x1f\x8b\x08nonsense", b"PK\x03\x04nonsense", b"\x28\xb5\x2f\xfdnonsense", b"\xfd7zXZ\0nonsense"):
        write("nonsense", beginning)
        equal([code_of(row) for row in batch("nonsense")[0]], ["damaged-archive"], beginning)
        equal(eml("list", "nonsense").code, 3, beginning)


@with_archives
def an_encrypted_member_has_a_row():
    content = bytearray(zip_of([(f"{number}.eml", letter(number)) for number in range(3)], zipfile.ZIP_STORED))
    second = content.index(b"PK\x03\x04", 4)
    content[second + 6] |= 1
    entry = content.index(b"PK\x01\x02", content.index(b"PK\x01\x02") + 4)
    content[entry + 8] |= 1
    write("a.zip", content)
    rows, result = batch("a.zip")
    equal(([code_of(row) for row in rows], result.code), (["ok", "encrypted-member", "ok"], 1))
    equal(rows[1]["source"], {"path": "a.zip", "index": 1, "member": "1.eml"})
    result = eml("list", "a.zip")
    equal((result.code, result.err), (1, "eml: a.zip: this member of the archive is encrypted\n"))
    expect(eml("show", "a.zip#2"), 5, "eml: a.zip: this member of the archive is encrypted\n", "")
    expect(eml("list", "a.zip#3"), 0)
    rows = [json.loads(line) for line in eml("--json", "list", "a.zip").out.splitlines()]
    equal([(code_of(row), row["source"]["index"]) for row in rows], [("ok", 0), ("encrypted-member", 1), ("ok", 2)])


def zeros(count):
    """`count` times 64 MiB, each compressed by itself."""
    return gzip.compress(bytes(64 << 20), 9) * count


@with_archives
def a_bomb_is_stopped():
    header = tarfile.TarInfo("inner.gz")
    header.size = 8 << 30
    # What looks like an archive is not kept, so this costs no disk.
    bomb = gzip.compress(header.tobuf() + b"\x1f\x8b\x08" + bytes(509)) + zeros(20)
    write("bomb.tar.gz", bomb)
    rows, result = batch("bomb.tar.gz")
    equal([code_of(row) for row in rows], ["archive-bomb"])
    equal((result.code, NESTED in result.err), (1, True))
    text = "more than 1 GiB came out of the archive, over 200 times what was read of it; the rest is not read"
    equal(rows[0]["error"]["text"], text)


@test
def a_file_of_more_than_a_gibibyte():
    if not runs.FULL:
        return "only with EMLREADER_TEST_FULL=1"
    write("big.gz", gzip.compress(b"A: 1\n\n") + zeros(17))
    equal([code_of(row) for row in batch("big.gz")[0]][0], "message-too-large")
    return None


@with_archives
def very_many_members():
    """Also where each is nothing."""
    count = 20_000
    block = tarfile.TarInfo("x")
    write("a.tar", block.tobuf() * count + bytes(1024))
    rows, _ = batch("-j2", "a.tar")
    equal((len(rows), {code_of(row) for row in rows}), (count, {"empty"}))
    links = tarfile.TarInfo("x")
    links.type = tarfile.DIRTYPE
    write("b.tar", links.tobuf() * count + bytes(1024))
    equal(batch("b.tar", code=0)[0], [])


@with_archives
def a_folder_of_archives():
    os.mkdir("folder")
    for number in range(30):
        write(f"folder/{number:02}.zip", zip_of(named([letter(number)] * 3)))
        write(f"folder/{number:02}.eml", letter(number))
    expected = []
    for number in range(30):
        expected += [(f"folder/{number:02}.eml", None)] + [(f"folder/{number:02}.zip", index) for index in range(3)]
    for jobs in (("-j1",), ("-j4", "--ordered")):
        rows, _ = batch(*jobs, "folder", code=0)
        equal([(row["source"]["path"], row["source"].get("index")) for row in rows], expected)
    shares = [row["source"]["path"] for k in (1, 2, 3) for row in batch(f"--shard={k}/3", "folder", code=0)[0]]
    equal(sorted(shares), sorted(path for path, _ in expected))
    result = eml("extract", "-l", "folder")
    equal(result.code, 0, result.err)


@with_archives
def nothing_is_left_behind():
    """Neither files nor processes, also if the reader of the rows goes away."""
    os.mkdir("tmp")
    content = gzip.compress(mbox(map(quoted, messages())), 1)
    write("box.mbox.gz", content)
    with runs.start("-j2", "box.mbox.gz", env=runs.environment(TMPDIR=os.path.abspath("tmp"))) as process:
        process.stdout.readline()
        children = runs.children_of(process)
        process.stdout.close()
        process.wait()
    runs.wait_until(lambda: all(map(runs.is_gone, children)), "its processes are gone")
    equal(os.listdir("tmp"), [])
    row = json.loads(eml("batch", "box.mbox.gz", env={"TMPDIR": "/no/such/folder"}).out)
    equal((code_of(row), row["source"]["index"]), ("write-failed", 0))


@test
def without_the_library_it_is_said():
    if "archives" in json.loads(eml("--json", "version").out)["features"]:
        return "built with libarchive"
    write("a.zip", zip_of([("a.eml", letter(1))]))
    rows, _ = batch("a.zip")
    equal(code_of(rows[0]), "no-archive-reader")
    equal("reading archives needs libarchive" in eml("list", "a.zip").err, True)
    return None


# ---------------------------------------------------------------------------------------------------------


def main():
    wanted = sys.argv[2:]
    cli.TESTS[:] = [function for function in TESTS if not wanted or function.__name__ in wanted]
    return cli.main()


if __name__ == "__main__":
    sys.exit(main())
