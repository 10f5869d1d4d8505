#!/usr/bin/env python3
"""Runs `eml tree` and `eml compare` as a user does, and holds their output and exit codes.

    tests/tool/tree_cli_test.py PATH/TO/eml
"""

import base64
import hashlib
import json
import os
import sys

import cli_test as cli
from cli_test import eml, equal, expect, no_control_characters, write

TESTS = []


def test(function):
    TESTS.append(function)
    return function


# ---------------------------------------------------------------------------------------------------------
# Messages

HEAD = b"From: a@example.org\nSubject: Test\nMIME-Version: 1.0\n"
TEXT = b"Content-Type: text/plain\n\nhello\n"


def part(name, content=b"data", kind="application/octet-stream", encoding="base64"):
    """An attachment; with a name of None, one that has none."""
    body = base64.encodebytes(content) if encoding == "base64" else content + b"\n"
    named = b"" if name is None else b'; filename="' + name.encode() + b'"'
    return (b"Content-Type: " + kind.encode() + b"\nContent-Transfer-Encoding: " + encoding.encode()
            + b"\nContent-Disposition: attachment" + named + b"\n\n" + body)


def multipart(kind, *parts, boundary=b"b0", preamble=b"", epilogue=b""):
    delimiter = b"--" + boundary
    return (b"Content-Type: multipart/" + kind + b'; boundary="' + boundary + b'"\n\n' + preamble
            + b"".join(delimiter + b"\n" + p + b"\n" for p in parts) + delimiter + b"--\n" + epilogue)


def mixed(*parts, **more):
    return HEAD + multipart(b"mixed", TEXT, *parts, **more)


PLAIN = b"From: a@example.org\nSubject: Plain\n\nhello\n"
INNER = HEAD + multipart(b"mixed", TEXT, part("deep.bin", b"deep!!"), boundary=b"b1")
EMBEDDED = b"Content-Type: message/rfc822\nContent-Disposition: attachment; filename=in.eml\n\n"
ALTERNATIVE = multipart(b"alternative", b"Content-Type: text/plain; charset=utf-8\n\nhello\n",
                        b"Content-Type: text/html; charset=utf-8\n\n<p>hello</p>\n", boundary=b"b2")


# ---------------------------------------------------------------------------------------------------------
# Running


def answer(code, *arguments):
    """The one line of JSON that a run prints."""
    result = eml("--json", *arguments)
    equal((result.err, result.code), ("", code), arguments)
    equal(result.out.count("\n"), 1, "lines")
    return json.loads(result.out)


# ---------------------------------------------------------------------------------------------------------
# tree


@test
def a_part_a_line():
    write("m.eml", mixed(part("report.pdf", bytes(280), "application/pdf"), part(None)))
    expect(eml("tree", "m.eml"), 0, out="""\
  #  SECTION  TYPE                            SIZE  ENCODING  CHARSET  ROLE AND NAME
  0           multipart/mixed               673 B
  1  1          text/plain                    6 B                      body
  2  2          application/pdf             280 B   base64             attachment  report.pdf
  3  3          application/octet-stream      4 B   base64             attachment  part-3.bin  (no name)
""")


SECTIONS = [
    ("a message that is no multipart has one body", PLAIN, ["1"]),
    ("a multipart has no number of its own", mixed(part("a")), [None, "1", "2"]),
    ("parts of parts", HEAD + multipart(b"mixed", ALTERNATIVE, part("a")), [None, "1", "1.1", "1.2", "2"]),
    ("a multipart inside a message continues its number", mixed(EMBEDDED + INNER),
     [None, "1", "2", None, "2.1", "2.2"]),
    ("a body inside a message", mixed(EMBEDDED + PLAIN), [None, "1", "2", "2.1"]),
    ("a message in a message in a message", mixed(EMBEDDED + HEAD + EMBEDDED + PLAIN),
     [None, "1", "2", "2.1", "2.1.1"]),
]


@test
def sections_are_numbered_as_mail_servers_do():
    for rule, message, sections in SECTIONS:
        write("m.eml", message)
        parts = answer(0, "tree", "m.eml")["parts"]
        equal([p["section"] for p in parts], sections, rule)
        equal([p["number"] for p in parts], list(range(len(sections))), rule)


@test
def json_has_all_of_a_part():
    message = mixed(part("report.pdf", b"%PDF", "application/pdf"))
    write("m.eml", message)
    line = answer(0, "tree", "m.eml")
    equal({key: line[key] for key in ("schema", "source", "status", "warnings")},
          {"schema": "eml-tree/1", "source": {"path": "m.eml"}, "status": "ok", "warnings": []})
    pdf = line["parts"][2]
    header, body = pdf.pop("header"), pdf.pop("body")
    equal(message[header["offset"]:][:header["length"]].split(b"\n")[0], b"Content-Type: application/pdf")
    equal(message[body["offset"]:][:body["length"]], b"JVBERg==\n")
    equal(pdf, {"number": 2, "section": "2", "parent": 0, "type": "application/pdf", "name": "report.pdf",
                "named": True, "size": 4, "stored_size": 9, "encoding": "base64", "charset": None,
                "disposition": "attachment", "content_id": None, "roles": ["attachment"], "protection": None,
                "flags": [], "defects": []})
    equal(line["parts"][0]["parent"], None)
    equal("spans" in line, False)


@test
def roles_and_protection_are_named():
    signed = HEAD + (b'Content-Type: multipart/signed; protocol="application/pkcs7-signature"; micalg=sha-256; '
                     b'boundary="b0"\n\n--b0\n' + TEXT + b"\n--b0\n"
                     + part("smime.p7s", b"sig", "application/pkcs7-signature") + b"\n--b0--\n")
    rows = [
        ("alternative: both bodies", HEAD + ALTERNATIVE,
         [([], None), (["text-body"], None), (["html-body"], None)], "html body"),
        ("one text is both bodies", PLAIN, [(["text-body", "html-body"], None)], "  body"),
        ("signed", signed, [([], "smime-signed"), (["text-body", "html-body"], None), (["attachment"], None)],
         "(S/MIME signed)"),
        ("encrypted", HEAD + b"Content-Type: application/pkcs7-mime; smime-type=enveloped-data\n\nMIAG\n",
         [(["attachment"], "smime-enveloped")], "(no name; S/MIME encrypted)"),
    ]
    for rule, message, expected, text in rows:
        write("m.eml", message)
        parts = answer(0, "tree", "m.eml")["parts"]
        equal([(p["roles"], p["protection"]) for p in parts], expected, rule)
        equal(text in eml("tree", "m.eml").out, True, rule)


@test
def defects_stand_below_their_part():
    message = HEAD + (b'Content-Type: multipart/mixed; boundary="b0"\n\n--b0\n' + TEXT
                      + b"\n--b0\nContent-Type: image/png\nContent-Transfer-Encoding: base64\n\nAA!AA\n??AAAA\n")
    write("m.eml", message)
    lines = eml("tree", "m.eml").out.splitlines()
    first = message.index(b"!")
    equal([line.split("! ")[1] for line in lines if "! " in line],
          ["no-closing-delimiter: the closing delimiter is missing; it may be cut off (at byte "
           f"{len(message)})",
           f"base64-character: a byte that is no base64; left out (3 times, first at byte {first})"])
    equal(["image/png" in line for line in lines].index(True) + 1,
          ["base64-character" in line for line in lines].index(True))
    defects = answer(0, "tree", "m.eml")["parts"][2]["defects"]
    equal(defects, [{"code": "base64-character", "text": "a byte that is no base64; left out", "offset": first,
                     "count": 3}])


@test
def defects_of_charsets_are_found():
    write("m.eml", HEAD + b"Content-Type: text/plain; charset=x-nobody\n\nh\xe4llo\n")
    codes = [d["code"] for d in answer(0, "tree", "m.eml")["parts"][0]["defects"]]
    equal("unknown-charset" in codes, True, codes)


@test
def spans_make_up_the_file():
    message = mixed(part("a"), preamble=b"before\n", epilogue=b"after\n")
    write("m.eml", message)
    spans = answer(0, "tree", "--spans", "m.eml")["spans"]
    end = 0
    for span in spans:
        equal(span["offset"], end)
        end += span["length"]
    equal(end, len(message))
    texts = {span["kind"]: message[span["offset"]:][:span["length"]] for span in spans}
    equal((texts["preamble"], texts["epilogue"]), (b"before", b"after\n"))
    out = eml("tree", "--spans", "m.eml").out
    equal(out.splitlines()[5].split(), ["OFFSET", "LENGTH", "SPAN", "#", "TYPE"])
    equal(len(out.splitlines()), 6 + len(spans))


@test
def several_files_have_headings_and_failures_do_not_end_them():
    write("a.eml", PLAIN)
    write("b.eml", b"")
    result = eml("tree", "a.eml", "b.eml", "a.eml")
    expect(result, 1, "eml: b.eml: the file is empty\n")
    equal(result.out.count("a.eml:\n"), 2)
    lines = [json.loads(line) for line in eml("--json", "tree", "a.eml", "b.eml").out.splitlines()]
    equal([(line["status"], line.get("error", {}).get("code")) for line in lines],
          [("ok", None), ("error", "empty")])
    expect(eml("tree"), 2, 'eml: tree: no FILE given; see "eml tree --help"\n')
    expect(eml("tree", "none.eml"), 3, "eml: none.eml: no such file\n")
    equal(eml("--reader=container", "tree", "a.eml").code, 2)
    expect(eml("tree", "-", stdin=PLAIN), 0, out=eml("tree", "a.eml").out)


@test
def nothing_in_a_message_drives_the_terminal():
    evil = HEAD + multipart(
        b"mixed", b"Content-Type: text/plain; charset=\"u\x1b[2J\"\nContent-ID: <a\x9bb>\n\nx\n",
        b"Content-Type: x/y\x07; name=\"a\x1b[31m\xe2\x80\xaetxt.exe\"\n\n\x1b]0;y\x07\n",
        b"Content-Type: x/y\nContent-Transfer-Encoding: \x1b[1m\nContent-Description: \x1b[2J\n\nx\n",
        preamble=b"\x1b[2Jhidden\n").replace(b"Subject: Test", b"Subject: a\x1b[2J")
    write("m.eml", evil)
    for command in ("tree", "compare"):
        for more in ([], ["-v"], ["--json"]):
            result = eml(*more, command, "m.eml")
            no_control_characters(result.out + result.err, (command, more))


@test
def depth_and_number_of_parts_are_no_trouble():
    message = TEXT
    for level in range(150):
        message = multipart(b"mixed", message, boundary=b"b%d_" % level)
    write("deep.eml", HEAD + message)
    result = eml("tree", "deep.eml")
    expect(result, 0)
    equal("[100] multipart/mixed" in result.out, True)
    equal("too-deep" in result.out, True)
    write("many.eml", HEAD + multipart(b"mixed", *[part(f"{i}.bin", b"%d" % i) for i in range(3000)]))
    equal(len(eml("tree", "many.eml").out.splitlines()), 3002)
    equal(eml("compare", "many.eml").out.count("\n") > 3000, True)


# ---------------------------------------------------------------------------------------------------------
# compare


def marks(line):
    return {c["name"]: [c[reader]["mark"] for reader in ("mime", "container", "filter")] for c in line["contents"]}


ATTACHED = b'Content-Disposition: attachment; filename="a.zip"\n\n'
ZIP = b"Content-Type: application/zip\nContent-Transfer-Encoding: base64\n"
ENCODED_NAME = ZIP + b"Content-Disposition: attachment; filename*=utf-8''%C3%A4.zip\n\nUEsDBA==\n"
UUENCODED = b"hello\n\nbegin 644 a.bin\n%:&5L;&\\\n`\nend\n"
CALENDAR = HEAD + b"Content-Type: text/calendar\n\nBEGIN:VCALENDAR\nEND:VCALENDAR\n"
LINES = part("a.txt", b"one\r\ntwo\r\n", "text/plain")
DOUBLE = HEAD.replace(b"MIME-Version: 1.0\n", b'Content-Type: multipart/mixed; boundary="b0"\n') + multipart(
    b"mixed", TEXT, part("a.zip"), boundary=b"b1")
CONVERTED = mixed().replace(b"hello", b"Attachment Converted: C:\\a.txt")

# A rule, a message, the exit code, and the marks of its contents.
COMPARISONS = [
    ("a message without files", PLAIN, 0, {}),
    ("a file under its name", mixed(part("a.zip")), 0, {"a.zip": ["yes", "yes", "yes"]}),
    ("two files with the same bytes", mixed(part("a.zip"), part("b.zip")), 0,
     {"a.zip": ["yes", "yes", "yes"], "b.zip": ["yes", "yes", "yes"]}),
    ("either form of a text is the text", HEAD + ALTERNATIVE, 0, {}),
    ("a file without a name", mixed(part(None)), 1, {"part-2.bin": ["yes", "no", "no"]}),
    ("a name in the form of RFC 2231", mixed(ENCODED_NAME), 1, {"ä.zip": ["yes", "no", "no"]}),
    ("padding inside base64", mixed(ZIP + ATTACHED + b"UEsDBA==\nUEsDBA==\n"), 1,
     {"a.zip": ["yes", "other-bytes", "other-bytes"]}),
    ("bytes that are no base64", mixed(ZIP + ATTACHED + b"UEs!DBA=\n"), 1,
     {"a.zip": ["yes", "other-bytes", "other-bytes"]}),
    ("a uuencoded file in the text", HEAD + b"\n" + UUENCODED, 1, {"a.bin": ["yes", "no", "no"]}),
    ("a file that is shown as the text", CALENDAR, 0, {"part-1.ics": ["yes", "text", "text"]}),
    ("line ends of a text", mixed(LINES), 0, {"a.txt": ["yes", "line-ends", "line-ends"]}),
    ("of two boundaries the first counts for all", DOUBLE, 0, {}),
    ("a file in a nested multipart", HEAD + multipart(b"mixed", ALTERNATIVE, part("a.zip")), 0,
     {"a.zip": ["yes", "yes", "yes"]}),
    ("a file after the closing delimiter", mixed(part("a.zip"), epilogue=b"--b0\n" + part("b.zip")), 1,
     {"a.zip": ["yes", "yes", "yes"], "b.zip": ["yes", "no", "yes"]}),
    ("a message as a file", mixed(EMBEDDED + INNER), 0, {"in.eml": ["yes", "yes", "yes"]}),
    ("a file with a long name in words", mixed(part("=?utf-8?Q?=D1=82=D0=B5=D1=81=D1=82?= =?utf-8?Q?.txt?=")), 0,
     {"тест.txt": ["yes", "yes", "yes"]}),
    ("what is only named is missed by nobody", CONVERTED, 0, {}),
]


@test
def each_reading_is_marked():
    for rule, message, code, expected in COMPARISONS:
        write("m.eml", message)
        line = answer(code, "compare", "m.eml")
        equal(marks(line), expected, rule)
        equal(line["agree"], code == 0, rule)


@test
def a_comparison_is_a_table():
    write("m.eml", mixed(part("a.zip"), part(None, b"evil!"), ZIP + ATTACHED.replace(b"a.", b"b.") + b"UEs!DBA=\n"))
    result = eml("compare", "m.eml")
    expect(result, 1)
    lines = result.out.splitlines()
    equal(lines[:4], [
        "     SIZE  MIME         CONTAINER    FILTER       CONTENT",
        "     4 B   yes          yes          yes          a.zip  application/octet-stream",
        "     5 B   yes          no           no           part-3.bin  application/octet-stream",
        "     4 B   yes          other bytes  other bytes  b.zip  application/zip"])
    equal([line.split(" of content")[0].strip() for line in lines[4:6]], ["container: 3 B", "filter: 3 B"])
    equal(lines[6:8], ["           yes          yes          yes          Subject: Test",
                       "     6 B   yes          yes          yes          Text"])
    equal(lines[8], "Left out by the container reading (in no file and no text that it gives):")
    equal(lines[9].startswith("  part 3, part-3.bin, application/octet-stream, 5 B, at byte "), True, lines[9])
    equal(lines[-1], "The readings disagree: 2 files.")
    write("p.eml", PLAIN)
    expect(eml("compare", "p.eml"), 0, out="""\
     SIZE  MIME         CONTAINER    FILTER       CONTENT
           yes          yes          yes          Subject: Plain
     6 B   yes          yes          yes          Text
The readings agree.
""")


@test
def contents_have_their_place_and_digest():
    message = mixed(part("a.zip", b"data"))
    write("m.eml", message)
    line = answer(0, "compare", "m.eml")
    content = line["contents"][0]
    digest = hashlib.sha256(b"data").hexdigest()
    for reader, number in (("mime", 2), ("container", 1), ("filter", 1)):
        equal(content[reader], {"mark": "yes", "number": number, "name": "a.zip", "named": True, "size": 4,
                                "sha256": digest}, reader)
    place = content["place"]
    equal((place["part"], place["section"], place["type"]), (2, "2", "application/octet-stream"))
    equal(message[place["offset"]:][:place["stored_size"]], b"ZGF0YQ==\n")
    equal(line["schema"], "eml-compare/1")
    equal(eml("-v", "compare", "m.eml").out.count("SHA-256 " + digest), 1)


@test
def text_before_and_after_the_parts_is_shown():
    message = mixed(preamble=b"\nhidden\x1b before\n", epilogue=b"\n\nhidden after\n")
    write("m.eml", message)
    spans = answer(0, "compare", "m.eml")["between_parts"]
    equal([(s["kind"], s["beginning"]) for s in spans],
          [("preamble", "hidden\x1b before"), ("epilogue", "hidden after")])
    for span in spans:
        equal(span["beginning"].encode() in message[span["offset"]:][:span["length"]], True)
    out = eml("compare", "m.eml").out
    equal('before the parts: "hidden\\x1b before"' in out and 'after the parts: "hidden after"' in out, True, out)
    write("m.eml", mixed(preamble=b" \n\n"))
    equal("in no part" in eml("compare", "m.eml").out, False)


@test
def what_the_engines_cannot_open_is_said():
    write("m.eml", HEAD + b"Content-Type: application/pkcs7-mime; smime-type=enveloped-data; name=smime.p7m\n"
          b"Content-Transfer-Encoding: base64\n\nMIAGCSqGSIb3DQ==\n")
    line = answer(1, "compare", "m.eml")
    equal(marks(line), {"smime.p7m": ["yes", "no", "no"]})
    for reader in ("container", "filter"):
        equal(line["readings"][reader]["problem"], "takes the message for encrypted: gives its header only", reader)
        equal([p["name"] for p in line["readings"][reader]["left_out"]], ["smime.p7m"], reader)
    equal(line["subject"]["agree"], True)
    equal("The filter reading: takes the message for encrypted" in eml("compare", "m.eml").out, True)


@test
def folds_and_quote_marks_are_no_disagreement():
    message = (b"From: a@example.org\nSubject: a long\n subject\nContent-Type: text/plain; format=flowed\n\n"
               b"> quoted \n> text\nand \nmore\n")
    write("m.eml", message)
    line = answer(0, "compare", "m.eml")
    equal((line["subject"]["mime"]["text"], line["text"]["agree"]), ("a long subject", True))


@test
def exit_codes_of_compare():
    write("same.eml", PLAIN)
    write("other.eml", mixed(part(None)))
    write("empty.eml", b"")
    rows = [(["same.eml"], 0), (["other.eml"], 1), (["same.eml", "other.eml"], 1), (["empty.eml"], 4),
            (["same.eml", "empty.eml"], 1), ([], 2), (["none.eml"], 3), (["--reader=filter", "same.eml"], 2)]
    for files, code in rows:
        equal(eml("compare", *files).code, code, files)
        equal(eml("-q", "--json", "compare", *files).code, code, files)
    lines = eml("--json", "compare", "same.eml", "empty.eml").out.splitlines()
    equal([json.loads(line)["status"] for line in lines], ["ok", "error"])


@test
def help_and_completions_know_both_commands():
    for command in ("tree", "compare"):
        equal(f"Usage: eml {command} [OPTION]... FILE..." in eml(command, "--help").out, True, command)
        for shell in ("bash", "zsh", "fish"):
            equal(command in eml("completions", shell).out, True, (command, shell))
    equal("spans" in eml("completions", "bash").out, True)


# ---------------------------------------------------------------------------------------------------------


def main():
    cli.TESTS[:] = TESTS
    return cli.main()


if __name__ == "__main__":
    sys.exit(main())
