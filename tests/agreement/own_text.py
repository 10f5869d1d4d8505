#!/usr/bin/env python3
"""Measures how well `eml` tells what a sender wrote from quotes, signatures and footers.

    tests/agreement/own_text.py PATH/TO/eml [FOLDER]

own_text.tsv has the kind of each line of some messages of the corpus, found by a person who read them: path in the
corpus (of an mbox, its first message), kind, first and last line of the text that `eml show --body-only` prints. The
kinds that `eml --json batch --text` gives in text_spans are held against these; empty lines do not count. FOLDER is the
corpus ($EMLREADER_CORPUS, or the folder beside the repository). With DETAILS=1 in the environment, each line on which
the two differ is printed.

Fails when own lines are lost, or other lines taken for own, more often than LEAST allows.
"""
import collections
import json
import os
import pathlib
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
KINDS = ("own", "quote", "attribution", "signature", "footer")
LEAST = {"precision": 0.96, "recall": 0.995}  # of own lines


def corpus():
    if len(sys.argv) > 2:
        return sys.argv[2]
    return os.environ.get("EMLREADER_CORPUS") or str(HERE.parents[2] / "shared" / "corpus")


def labels():
    """For each message the kinds of its lines."""
    kinds = collections.defaultdict(list)
    for row in (HERE / "own_text.tsv").read_text(encoding="utf-8").splitlines():
        if row.startswith("#"):
            continue
        name, kind, first, last = row.split("\t")
        if kind not in KINDS or int(first) != len(kinds[name]) + 1 or int(last) < int(first):
            sys.exit(f"own_text.tsv: {row}: no row that follows the one before")
        kinds[name] += [kind] * (int(last) - int(first) + 1)
    return kinds


def answers(tool, folder, names):
    """For each message the lines of its text, and their kinds."""
    paths = [os.path.join(folder, name) for name in names]
    run = subprocess.run([tool, "--json", "batch", "--text", "--ordered", "--errors-ok", *paths], capture_output=True,
                         check=True)
    rows = map(json.loads, run.stdout.decode().splitlines())
    messages = [row["message"] for row in rows if row["source"].get("index", 0) == 0]
    for name, message in zip(names, messages, strict=True):
        kinds = []
        for span in message["text_spans"]:
            if span["first_line"] != len(kinds) + 1:
                sys.exit(f"{name}: the spans do not follow each other")
            kinds += [span["kind"]] * span["lines"]
        lines = message["text"].split("\n")[:-1]
        if len(lines) != len(kinds):
            sys.exit(f"{name}: {len(kinds)} lines in spans, and {len(lines)} in the text")
        yield name, lines, kinds


def share(part, whole):
    return f"{part / whole:7.1%}" if whole else "      -"


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    tool, folder = sys.argv[1], corpus()
    if not os.path.isdir(folder):
        print(f"SKIP: no corpus in {folder}")
        return 0
    wanted = labels()
    pairs = collections.Counter()
    read, other = 0, []
    for name, lines, kinds in answers(tool, folder, list(wanted)):
        if len(lines) != len(wanted[name]):
            other.append(name)
            continue
        read += 1
        for number, (line, kind, label) in enumerate(zip(lines, kinds, wanted[name]), 1):
            if not line.strip():
                continue
            pairs[label, kind] += 1
            if kind != label and os.environ.get("DETAILS"):
                print(f"{name}:{number}: {label}, and eml says {kind}: {line[:80]}")
    for name in other:
        print(f"{name}: not compared, its text has other lines than when it was read")
    print(f"{read} messages, {sum(pairs.values())} lines that are not empty")
    print(f"{'':12} {'labelled':>8} {'found':>8} {'both':>8} precision  recall")
    for kind in KINDS:
        labelled = sum(count for (label, _), count in pairs.items() if label == kind)
        found = sum(count for (_, answer), count in pairs.items() if answer == kind)
        both = pairs[kind, kind]
        print(f"{kind:12} {labelled:8} {found:8} {both:8}   {share(both, found)} {share(both, labelled)}")
        if kind == "own":
            precision, recall = both / found, both / labelled
    if precision < LEAST["precision"] or recall < LEAST["recall"]:
        print(f"expected at least {LEAST} of own lines")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
