#!/usr/bin/env python3
"""Prints, for each class of odd mail in messages/INDEX.tsv, a table of what each reader makes of it.

    tests/agreement/tell.py [--ours PROGRAM] [WORD]      after tests/agreement/run, which builds the readers

A cell of "=" is what the first column of answers has, "==" what the second has, and so on. For docs/mime-rules.md: a
reader is run, never guessed about."""
import base64
import csv
import json
import pathlib
import subprocess
import sys

sys.dont_write_bytecode = True
HERE = pathlib.Path(__file__).resolve().parent
sys.path.append(str(HERE))
import agreement  # noqa: E402


def shortened(text, length=48):
    text = repr(text)
    return text if len(text) <= length else f"{text[:length]}…{text[-1]}"


def is_body(part):
    return not part["name"] and part["disposition"] != "attachment" and part["type"] in ("text/plain", "text/html")


def content(part):
    data = base64.b64decode(part["data"])
    return shortened(data) if len(data) < 200 else f"{len(data)} bytes"


def tell_parts(row):
    told = [f"text {shortened(row['text'].strip(), 24)}"] if row["text"] and row["text"].strip() else []
    for part in row["parts"]:
        if not is_body(part) and not part.get("body"):
            name = f" {shortened(part['name'])}" if part["name"] else ""
            told.append(f"{part['type']}{name} {len(base64.b64decode(part['data']))} B")
    return "; ".join(told) or "nothing"


def tell_names(row):
    names = [shortened(part["name"]) for part in row["parts"] if part["name"]]
    return "; ".join(names) or "none"


def tell_bytes(row):
    return "; ".join(content(part) for part in row["parts"] if not is_body(part) and not part.get("body")) or "nothing"


def tell_from(row):
    return "; ".join(f"{shortened(name, 32) if name else '-'} <{address or ''}>" for name, address in row["from"]) \
        or "none"


def tell_date(row):
    if row.get("date") is None:
        return "none"
    seconds, zone = row["date"]
    return f"{seconds}" + ("" if zone is None else f" {zone:+d}")


TELLERS = {"parts": tell_parts, "names": tell_names, "bytes": tell_bytes, "from": tell_from, "date": tell_date,
           "subject": lambda row: shortened(row["subject"]) if row["subject"] else "none",
           "text": lambda row: shortened(row["text"].strip()) if row["text"] else "none"}


def tell(row, shows):
    if "error" in row:
        return f"fails: {row['error']}"
    words = [word for word in shows.split() if not (word == "names" and "parts" in shows.split())]
    return " / ".join(TELLERS[word](row) for word in words).replace("|", "\\|").replace("\n", " ")


def ask(command, paths):
    """Rows as the readers print them. One that ends early leaves out the rest."""
    done = subprocess.run([str(word) for word in command], input="\n".join(map(str, paths)) + "\n",
                          capture_output=True, text=True, check=False, timeout=600)
    rows = [json.loads(line) for line in done.stdout.splitlines()]
    return rows + [{"error": "the reader ended"}] * (len(paths) - len(rows))


def main():
    arguments = sys.argv[1:]
    commands = {peer: command for peer, (command, _) in agreement.peer_commands().items()}
    if arguments[:1] == ["--ours"]:
        commands = {"ours": [arguments[1]], **commands}
        arguments = arguments[2:]
    with open(HERE / "messages" / "INDEX.tsv", encoding="utf-8", newline="") as file:
        entries = [row for row in csv.DictReader(file, delimiter="\t", quoting=csv.QUOTE_NONE)
                   if not arguments or arguments[0] in row["message"]]
    paths = [HERE / "messages" / row["message"] for row in entries]
    answers = {peer: ask(command, paths) for peer, command in commands.items()}
    last = None
    for index, entry in enumerate(entries):
        if entry["class"] != last:
            last = entry["class"]
            print(f"\n## {last[0].upper()}{last[1:]}\n\n| Message | Exercises | {' | '.join(answers)} |")
            print("|---" * (2 + len(answers)) + "|")
        cells = [tell(rows[index], entry["shows"]) for rows in answers.values()]
        cells = [cell if cells.index(cell) == place else "=" * (cells.index(cell) + 1)
                 for place, cell in enumerate(cells)]
        print(f"| {entry['message'].removesuffix('.eml')} | {entry['exercises']} | {' | '.join(cells)} |")


main()
