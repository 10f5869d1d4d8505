#!/usr/bin/env python3
"""Counts the messages of which `eml` gives everything as Python's email (policy.default) does: subject, from, to, date
with its zone, all attachments with their names and bytes, and the text.

    tests/agreement/fully_right.py PATH/TO/eml FOLDER

Prints a line for each message that differs, and the count; with DETAILS=1 in the environment both answers, too. Where
Python's reader loses something, the difference is its own: fully_right.tsv lists those with the reason (file, what,
reason), and they count as explained.
"""
import collections
import email
import email.policy
import hashlib
import html.parser
import json
import os
import pathlib
import re
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent


def squeezed(text):
    """Without white space and quotes, which folding and quoting change."""
    return re.sub(r'[\s"\\]+', "", text or "").casefold()


class Words(html.parser.HTMLParser):
    def __init__(self):
        super().__init__()
        self.words, self.hidden = [], 0

    def handle_starttag(self, tag, attrs):
        self.hidden += tag in ("script", "style", "title")

    def handle_endtag(self, tag):
        if tag in ("script", "style", "title"):
            self.hidden = max(0, self.hidden - 1)

    def handle_data(self, data):
        if not self.hidden:
            self.words.append(data)


def words_of_html(text):
    parser = Words()
    parser.feed(text)
    return squeezed("".join(parser.words))


def people_of(message, name):
    """All that Python knows of the people in a field: names and addresses."""
    people = []
    for field in message.get_all(name, []):
        for person in field.addresses:
            people += [squeezed(person.display_name), squeezed(person.addr_spec)]
    return [text for text in people if text]


def date_of(message):
    if message["date"] is None or message["date"].datetime is None:
        return None
    when = message["date"].datetime
    return when.isoformat(timespec="seconds") + ("" if when.tzinfo else "-00:00")


def attachments_of(message):
    """(name or None, SHA-256, text) of each attachment, multiparts opened. Text without a name has its text."""
    found = []
    for part in message.iter_attachments():
        found += leaves_of(part)
    return found


def leaves_of(part):
    """What is inside a message inside is that message's."""
    if part.get_content_maintype() == "multipart":
        return [leaf for child in part.iter_parts() for leaf in leaves_of(child)]
    return [] if part.is_multipart() else [attachment(part)]


def attachment(part):
    name = part.get_filename()
    is_text = part.get_content_maintype() == "text" and not name
    return name, digest_of(part), text_in(part) if is_text else None


def digest_of(part):
    content = part.get_payload(decode=True)
    return hashlib.sha256(content if content is not None else b"").hexdigest()


def text_of(message):
    body = message.get_body(preferencelist=("plain", "html"))
    if body is None:
        return None
    return text_in(body)


def text_in(part):
    content = part.get_content()
    return words_of_html(content) if part.get_content_subtype() == "html" else squeezed(content)


def expected(path):
    message = email.message_from_bytes(path.read_bytes(), policy=email.policy.default)
    rows = {name: people_of(message, name) for name in ("from", "to")}
    rows["subject"] = squeezed(str(message["subject"] or ""))
    rows["date"] = date_of(message)
    rows["attachments"] = attachments_of(message)
    rows["text"] = text_of(message)
    return rows


def differences(wanted, answer):
    """What of `wanted` the answer lacks or has otherwise. Python without an answer is no difference."""
    message = answer["message"]
    text = squeezed(message.get("text"))
    if squeezed(message["metadata"]["subject"]) != wanted["subject"]:
        yield "subject"
    for name in ("from", "to"):
        if any(known not in squeezed(message["metadata"][name]) for known in wanted[name]):
            yield name
    if wanted["date"] and (message["date"] or "").replace("-00:00", "+00:00") != wanted["date"].replace(
            "-00:00", "+00:00"):
        yield "date"
    ours = collections.Counter()
    names = collections.defaultdict(set)
    for entry in message["sub_files"][1:]:
        ours[entry.get("sha256")] += 1
        names[entry.get("sha256")].add(squeezed(entry["name"]))
    for name, digest, words in wanted["attachments"]:
        if not ours[digest]:
            if words is None or words not in text:
                yield "attachments"
        elif name and squeezed(name) not in names[digest]:
            yield "names"
    if wanted["text"] and wanted["text"] not in text:
        yield "text"


def shown(message, what):
    if what in ("attachments", "names"):
        return [(entry["name"], entry.get("sha256", "")) for entry in message["sub_files"][1:]]
    return squeezed(message.get("text")) if what == "text" else message.get(what, message["metadata"].get(what))


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    tool, folder = sys.argv[1:]
    explained = set()
    table = HERE / "fully_right.tsv"
    for line in table.read_text(encoding="utf-8").splitlines() if table.exists() else []:
        if line and not line.startswith("#"):
            explained.add(tuple(line.split("\t")[:2]))
    run = subprocess.run([tool, "batch", "--text", "--digest", "--errors-ok", folder], capture_output=True, check=False)
    rows = [json.loads(line) for line in run.stdout.decode().splitlines()]
    counts = collections.Counter()
    for row in rows:
        path = pathlib.Path(row["source"]["path"])
        if "index" in row["source"] or "message" not in row:
            counts["not compared: mbox, empty or no message"] += 1
            continue
        name = os.path.relpath(path, folder)
        try:
            wanted = expected(path)
        except Exception as error:  # Python's reader fails for some
            counts[f"not compared: Python raises {type(error).__name__}"] += 1
            continue
        found = sorted(set(differences(wanted, row)))
        unexplained = [what for what in found if (name, what) not in explained]
        counts["fully right" if not found else "differs, explained" if not unexplained else "differs"] += 1
        if unexplained:
            print(f"{name}: {', '.join(unexplained)}")
            for what in unexplained if os.environ.get("DETAILS") else []:
                print(f"    Python: {str(wanted[what if what != 'names' else 'attachments'])[:160]}")
                print(f"    eml:    {str(shown(row['message'], what))[:160]}")
    for what, count in sorted(counts.items()):
        print(f"{count:5} {what}")
    return 1 if counts["differs"] else 0


if __name__ == "__main__":
    sys.exit(main())
