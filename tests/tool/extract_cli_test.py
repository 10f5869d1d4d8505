#!/usr/bin/env python3
"""Runs `eml info --headers` and `eml extract` as a user does, and holds output, exit codes and files.

    tests/tool/extract_cli_test.py PATH/TO/eml
"""

import base64
import json
import sys

import cli_test as cli
from cli_test import eml, equal, expect, no_control_characters, write

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
    rows = [json.loads(line) for line in eml("--json", "info", "--headers=all", "box.mbox", "empty.eml").out.splitlines()]
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


def main():
    wanted = sys.argv[2:]
    cli.TESTS[:] = [function for function in TESTS if not wanted or function.__name__ in wanted]
    return cli.main()


if __name__ == "__main__":
    sys.exit(main())
