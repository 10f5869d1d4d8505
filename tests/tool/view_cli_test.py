#!/usr/bin/env python3
"""Runs `eml view` as a user does: pages from each reader, and folders of pages.

    tests/tool/view_cli_test.py PATH/TO/eml
"""

import base64
import hashlib
import json
import os
import pathlib
import re
import shutil
import sys

import cli_test as cli
import tnef_writer as tnef
from cli_test import eml, equal

TESTS = []
LETTER = b"From: A <a@x>\nTo: b@x\nDate: Tue, 4 Mar 2025 09:15:22 +0100\nSubject: %s\n\ntext\n"


def test(function):
    TESTS.append(function)
    return function


def expect(result, code, err=None):
    equal(result.code, code, result.err)
    if err is not None:
        equal(result.err, err)


def folder(count=3):
    os.mkdir("mail")
    for number in range(count):
        pathlib.Path("mail", f"{number}.eml").write_bytes(LETTER % b"letter %d" % number)


def article_of(message):
    pathlib.Path("m.eml").write_bytes(message)
    result = eml("view", "--overwrite", "-o", "m.html", "m.eml")
    expect(result, 0, "")
    page = pathlib.Path("m.html").read_text(encoding="utf-8")
    equal(page.count("<article"), 1)
    return page[page.index("<article"):page.index("</article>")]


def has(feature):
    return feature in json.loads(eml("--json", "version").out)["features"]


@test
def what_is_signed_is_the_message():
    article = article_of(b"Subject: outside\n" + cli.inside_signatures(cli.mixed(cli.part("a.bin")), 2))
    equal("<h1>outside</h1>" in article, True)
    equal("inside a signature (S/MIME)" in article, True)
    for word in ("hello", "the signature was not checked", 'download="a.bin"'):
        equal(word in article, has("smime"), word)
    equal("p7m" in article, not has("smime"))


@test
def text_that_is_rtf_alone_is_shown_as_text():
    article = article_of(b"Content-Type: text/rtf\n\n{\\rtf1\\ansi one {\\b two}\\par <three>}\n")
    equal("<pre>one two\n&lt;three&gt;</pre>" in article, True, article)


@test
def text_in_a_winmail_dat_is_shown_where_there_is_no_other():
    body = tnef.prop(tnef.BODY, "from inside")
    text = tnef.attribute(tnef.MESSAGE, tnef.MESSAGE_PROPERTIES, tnef.properties(body))
    winmail = cli.part("winmail.dat", tnef.tnef(text), kind="application/ms-tnef")
    blank = cli.mixed(winmail).replace(b"\nhello\n", b"\n \n")
    equal("from inside" in article_of(blank), has("tnef"))
    equal("from inside" in article_of(cli.mixed(winmail)), False)


@test
def files_in_a_winmail_dat_are_links_whatever_its_type():
    for kind in ("application/ms-tnef", "application/octet-stream"):
        article = article_of(cli.winmail(tnef.attachment(b"bytes", b"in.txt"), kind=kind))
        equal('download="in.txt"' in article, has("tnef"), kind)


@test
def a_folder_becomes_a_list_and_a_page_for_each_message():
    folder()
    result = eml("view", "-o", "pages", "mail")
    expect(result, 0, "")
    equal(result.out, "pages/index.html\n")
    equal(sorted(os.listdir("pages")), ["0001.html", "0002.html", "0003.html", "index.html"])
    equal(os.stat("pages").st_mode & 0o777, 0o700)
    for name in os.listdir("pages"):
        equal(os.stat(f"pages/{name}").st_mode & 0o777, 0o600)
    index = pathlib.Path("pages/index.html").read_text(encoding="utf-8")
    script = re.search("<script>(.*)</script>", index, re.DOTALL)[1].encode()
    digest = base64.b64encode(hashlib.sha256(script).digest()).decode()
    equal(re.findall("script-src [^;\"]*", index), [f"script-src 'sha256-{digest}'"], "this script alone may run")
    for number in range(3):
        equal(f"letter {number}" in index, True)
        page = pathlib.Path(f"pages/{number + 1:04}.html").read_text(encoding="utf-8")
        equal('href="index.html"' in page and f"<h1>letter {number}</h1>" in page and "<script" not in page, True)


@test
def an_mbox_becomes_a_folder_too():
    pathlib.Path("box").write_bytes(b"".join(b"From a@x Tue Mar  4 09:15:22 2025\n" + LETTER % b"n%d" % n + b"\n"
                                             for n in range(4)))
    expect(eml("view", "-o", "pages", "box"), 0, "")
    equal(len(os.listdir("pages")), 5)
    expect(eml("view", "box"), 2, "eml: box is an mbox: name a folder for its pages with -o\n")
    pathlib.Path("mail").mkdir()
    shutil.move("box", "mail/box")
    pathlib.Path("mail/m.eml").write_bytes(LETTER % b"m")
    expect(eml("view", "-o", "more", "mail"), 0, "")
    equal(len(os.listdir("more")), 6)


@test
def one_message_after_a_from_line_is_one_page():
    pathlib.Path("m").write_bytes(b"From a@x Tue Mar  4 09:15:22 2025\n" + LETTER % b"one")
    expect(eml("view", "-o", "m.html", "m"), 0, "")
    equal("<h1>one</h1>" in pathlib.Path("m.html").read_text(encoding="utf-8"), True)


@test
def files_that_are_there_stay():
    folder()
    os.mkdir("pages")
    pathlib.Path("pages/0001.html").write_text("mine", encoding="utf-8")
    expect(eml("view", "-o", "pages", "mail"), 6,
           "eml: pages: there are files in it already, not overwritten; choose --overwrite\n")
    equal(os.listdir("pages"), ["0001.html"])
    pathlib.Path("pages/other").write_text("mine", encoding="utf-8")
    expect(eml("view", "--overwrite", "-o", "pages", "mail"), 0, "")
    equal(pathlib.Path("pages/other").read_text(encoding="utf-8"), "mine")
    equal("letter 0" in pathlib.Path("pages/0001.html").read_text(encoding="utf-8"), True)
    expect(eml("view", "-o", "no/such/pages", "mail"), 6)
    pathlib.Path("file").write_text("mine", encoding="utf-8")
    expect(eml("view", "--overwrite", "-o", "file", "mail"), 6)
    equal(pathlib.Path("file").read_text(encoding="utf-8"), "mine")


@test
def pages_in_the_folder_itself_are_not_read():
    folder()
    expect(eml("view", "-o", "mail/pages", "mail"), 0, "")
    expect(eml("view", "--overwrite", "-o", "mail/pages", "mail"), 0, "")
    equal(len(os.listdir("mail/pages")), 4)


@test
def what_is_no_message_is_said_and_left_out():
    folder(1)
    pathlib.Path("mail/notes.txt").write_bytes(b"no header here\n")
    result = eml("view", "-o", "pages", "mail")
    expect(result, 0, "eml: mail/notes.txt: warning: left out: not an e-mail message (no header field found); --force reads it anyway\n")
    os.mkdir("empty")
    expect(eml("view", "-o", "none", "empty"), 4)


@test
def the_readers_are_chosen():
    message = b"Subject: s\nContent-Type: multipart/related; boundary=b\n\n--b\nContent-Type: text/html\n\n" \
              b"<img src=cid:1>\n--b\nContent-Type: image/png\nContent-ID: <1>\nContent-Transfer-Encoding: base64\n\n" \
              b"iVBORw0KGgo=\n--b--\n"
    pathlib.Path("m.eml").write_bytes(message)
    equal("data:image/png;base64," in eml("view", "-o", "-", "m.eml").out, True)
    result = eml("--reader=container", "view", "-o", "-", "m.eml")
    expect(result, 0)
    equal("data:image/png;base64," in result.out or "<article" not in result.out, False)
    expect(eml("--reader=filter", "view", "m.eml"), 2,
           'eml: view has no --reader=filter, which gives text alone; see "eml show"\n')
    folder(1)
    expect(eml("--reader=container", "view", "-o", "pages", "mail"), 2)
    equal(os.path.exists("pages"), False)


@test
def what_was_guessed_is_a_warning_and_a_note():
    pathlib.Path("m.eml").write_bytes(b"Subject: s\nContent-Type: multipart/mixed; boundary=b\n\n--b\n\ntext\n")
    result = eml("view", "-o", "-", "m.eml")
    expect(result, 0, "eml: m.eml: warning: cut off, the closing delimiter is missing; the last part may be incomplete\n")
    equal("the closing delimiter is missing" in result.out, True)


@test
def time_grows_with_the_size_alone():
    # Each of these would take minutes if a piece of it were searched again for each other one.
    bodies = (b"<div " * 400000, b"<!--" * 400000, b"</" * 400000, b"<style>@" + b"u\\" * 400000, b"<b>" * 400000,
              b"<img src=cid:x>" * 100000, b"<table><td>" * 150000, b"<p style='" + b"url(" * 400000,
              b"<a b=\"" * 300000, b"<style></" + b"</st" * 400000, b"<body class=x>" * 100000)
    for body in bodies:
        pathlib.Path("m.eml").write_bytes(b"Subject: s\nContent-Type: text/html\n\n" + body)
        expect(eml("view", "--overwrite", "-o", "m.html", "m.eml"), 0)
        equal(re.search("<h1>s</h1>", pathlib.Path("m.html").read_text(encoding="utf-8")) is not None, True)


def main():
    cli.TESTS[:] = TESTS
    return cli.main()


if __name__ == "__main__":
    sys.exit(main())
