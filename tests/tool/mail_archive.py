#!/usr/bin/env python3
"""Writes an archive of generated messages: folders of files, and a few that are no messages.

    tests/tool/mail_archive.py FOLDER COUNT [--bad N] [--seed N]

The same arguments give the same archive on every machine.
"""

import argparse
import base64
import datetime
import os
import random

WORDS = ("report draft meeting lunch invoice summer train garden budget travel notes answer question "
         "window paper morning project review quarter delivery contract photo address friday").split()
CHARSETS = (("utf-8", "Grüße aus München – schön"), ("iso-8859-1", "Grüße aus München"),
            ("koi8-r", "Привет из Москвы"), ("shift_jis", "こんにちは"), ("us-ascii", "Hello"))
DAYS = "Mon Tue Wed Thu Fri Sat Sun".split()
MONTHS = "Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec".split()


def sentence(rng, words):
    return " ".join(rng.choice(WORDS) for _ in range(words)).capitalize() + "."


def date_text(rng):
    date = datetime.date(1995, 1, 1) + datetime.timedelta(days=rng.randrange(10_000))
    return f"{DAYS[date.weekday()]}, {date.day} {MONTHS[date.month - 1]} {date.year}"


def header(rng, number):
    subject = sentence(rng, 4)
    if number % 5 == 0:
        subject = "=?utf-8?B?" + base64.b64encode(("Grüße: " + subject).encode()).decode() + "?="
    return (f"From: Sender {number} <s{number}@example.org>\n"
            f"To: {rng.choice(WORDS)}@example.net\n"
            f"Subject: {subject}\n"
            f"Date: {date_text(rng)} "
            f"{rng.randrange(24):02}:{rng.randrange(60):02}:00 +0{rng.randrange(10)}00\n"
            f"Message-ID: <{number}@example.org>\nMIME-Version: 1.0\n").encode()


def attachment(rng, name):
    content = base64.encodebytes(rng.randbytes(rng.randrange(10, 3000)))
    return (f"Content-Type: application/octet-stream\nContent-Transfer-Encoding: base64\n"
            f'Content-Disposition: attachment; filename="{name}"\n\n').encode() + content


def multipart(parts, boundary):
    line = b"--" + boundary.encode()
    return (f'Content-Type: multipart/mixed; boundary="{boundary}"\n\n'.encode()
            + b"".join(line + b"\n" + part + b"\n" for part in parts) + line + b"--\n")


def message(rng, number):
    """One message; the kinds come in turn."""
    charset, greeting = CHARSETS[number % len(CHARSETS)]
    lines = "\n".join(sentence(rng, 9) for _ in range(rng.randrange(1, 20)))
    text = (f"Content-Type: text/plain; charset={charset}\nContent-Transfer-Encoding: 8bit\n\n".encode()
            + greeting.encode(charset) + b"\n\n" + lines.encode() + b"\n")
    kind = number % 4
    if kind == 0:
        return header(rng, number) + text
    if kind == 1:
        html = f"<html><body><p>{lines}</p></body></html>\n"
        return header(rng, number) + b"Content-Type: text/html; charset=utf-8\n\n" + html.encode()
    parts = [text] + [attachment(rng, f"{rng.choice(WORDS)}-{i}.bin") for i in range(rng.randrange(1, 4))]
    if kind == 3:
        inner = header(rng, number) + text
        parts.append(b"Content-Type: message/rfc822\n"
                     b'Content-Disposition: attachment; filename="inner.eml"\n\n' + inner)
    return header(rng, number) + multipart(parts, f"b{number}")


BAD = (b"", b"\n\nno header field at all\n", bytes(range(256)) * 4)


def make_archive(folder, count, bad=0, seed=1):
    """Writes the archive and gives the paths, in the order in which a batch reads them."""
    rng = random.Random(seed)
    bad_ones = set(rng.sample(range(count), bad))
    paths = []
    for number in range(count):
        place = os.path.join(folder, f"{number // 1000:03}", f"{number // 100 % 10}")
        if number % 100 == 0:
            os.makedirs(place, exist_ok=True)
        path = os.path.join(place, f"{number:06}.eml")
        content = message(rng, number)
        with open(path, "wb") as file:
            file.write(BAD[number % len(BAD)] if number in bad_ones else content)
        paths.append(path)
    return paths


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawTextHelpFormatter)
    parser.add_argument("folder")
    parser.add_argument("count", type=int)
    parser.add_argument("--bad", type=int, default=0)
    parser.add_argument("--seed", type=int, default=1)
    options = parser.parse_args()
    make_archive(options.folder, options.count, options.bad, options.seed)


if __name__ == "__main__":
    main()
