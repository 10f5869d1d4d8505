#!/usr/bin/env python3
"""Compares our MIME reader with others, over the messages of tests/ and over the corpus when it is there.

    tests/agreement/run [OPTION...]      builds what is needed and calls this program

    --verbose         lists every disagreement, also those that known.tsv explains
    --only WORD       only messages whose name holds the word
    --ours PROGRAM    our reader's program; "python" lets Python's email stand in
    --rows FILE       writes all rows as JSON, for other tools

A part or a name that a peer gives and ours does not is a failure, unless known.tsv explains it. The last line counts
the messages: one passes when nothing of it is lost. The exit code is 0 when none failed, 1 otherwise."""
import argparse
import concurrent.futures
import json
import os
import pathlib
import shutil
import subprocess
import sys

sys.dont_write_bytecode = True
HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent.parent
sys.path.append(str(HERE))
import compare  # noqa: E402
import readers  # noqa: E402

BUILD = ROOT / "build" / "agreement"
CORPUS = pathlib.Path(os.environ.get("EMLREADER_CORPUS") or ROOT.parent / "shared" / "corpus")
RULES = ROOT / "docs" / "mime-rules.md"
NOT_MESSAGES = {"MANIFEST.tsv", "README.md"}
ATTACHMENTS_ONLY = ("postal-mime", "mailparser")  # these give bodies as text alone


def find_messages(word):
    """{name: path}; the name is what known.tsv has."""
    messages = {}
    for folder in ("messages", "agreement/messages"):
        for path in sorted((ROOT / "tests" / folder).glob("*.eml")):
            messages[f"{folder}/{path.name}"] = path
    if CORPUS.is_dir():
        for path in sorted(CORPUS.rglob("*")):
            if path.is_file() and path.name not in NOT_MESSAGES:
                messages[f"corpus/{path.relative_to(CORPUS)}"] = path
    return {name: path for name, path in messages.items() if word in name}


def node_command(peer):
    node = shutil.which("node")
    known = subprocess.run([node, "--help"], capture_output=True, text=True, check=False).stdout if node else ""
    permission = next((option for option in ("--permission", "--experimental-permission")
                       if f"  {option} " in known.replace("\n", " \n")), None)
    guard = [permission, "--allow-fs-read=*"] if permission else []
    return [node or "node", "--max-old-space-size=1024", *guard, HERE / "peers" / "node_dump.mjs", peer,
            BUILD / "node"]


def peer_commands():
    """{peer: (command, its source)}"""
    peers = HERE / "peers"
    return {"GMime": ([BUILD / "gmime_dump"], peers / "gmime_dump.c"),
            "Python email": ([sys.executable, peers / "python_dump.py"], peers / "python_dump.py"),
            "postal-mime": (node_command("postal-mime"), peers / "node_dump.mjs"),
            "mailparser": (node_command("mailparser"), peers / "node_dump.mjs")}


def version_of(command):
    """What the reader calls itself; None when it cannot be run."""
    try:
        done = subprocess.run([str(word) for word in [*command, "--version"]], capture_output=True, text=True,
                              timeout=60, check=True)
    except (OSError, subprocess.SubprocessError):
        return None
    return done.stdout.strip() or None


def read_peers(messages):
    """{peer: {message: row}}, {peer: version}"""
    rows, versions = {}, {}
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        running = {}
        for peer, (command, source) in peer_commands().items():
            versions[peer] = version_of(command)
            if versions[peer] is None:
                continue
            code = source.read_bytes() + pathlib.Path(readers.__file__).read_bytes()
            version = f"{versions[peer]} {readers.digest(code)}"
            cache = readers.Cache(BUILD / "cache" / f"{peer.replace(' ', '-')}.json", version)
            running[peer] = pool.submit(readers.read_all, command, messages, cache)
        for peer, future in running.items():
            rows[peer] = future.result()
    return rows, versions


def read_ours(program, messages):
    command = peer_commands()["Python email"][0] if program == "python" else [pathlib.Path(program).resolve()]
    return readers.read_all(command, messages)


def describe(finding):
    return (f"  {finding.kind:8} {finding.outcome:7} {finding.peer}: "
            f"ours {finding.ours!r}, theirs {finding.theirs!r}{f' ({finding.note})' if finding.note else ''}")


class Judge:
    """Takes the findings message by message and remembers what is lost."""

    def __init__(self, known):
        self.known, self.used = known, set()
        self.findings, self.lost, self.consensus = [], {}, []

    def take(self, message, findings):
        self.findings += findings
        for finding in findings:
            if finding.outcome in ("theirs", "differ"):
                row = compare.known_for(finding, self.known)
                if row is not None:
                    self.used.add(row.line)
                elif compare.is_failure(finding, findings):
                    self.lost.setdefault(message, []).append(finding)
        self.consensus += compare.consensus_against_us(
            [finding for finding in findings if compare.known_for(finding, self.known) is None])

    def explained(self, finding):
        return compare.known_for(finding, self.known) is not None


def complaints_about_known(judge, messages, peers):
    """Rows that explain nothing any more, or name a heading that the rules lack."""
    headings = compare.headings_of(RULES.read_text(encoding="utf-8")) if RULES.exists() else set()
    for row in judge.known:
        ran = row.message in messages and ("all" in row.peers or set(row.peers) & set(peers))
        if ran and row.line not in judge.used:
            yield f"known.tsv:{row.line}: nothing to explain any more"
        if row.heading not in headings:
            yield f"known.tsv:{row.line}: {RULES.name} has no heading {row.heading!r}"


def report_disagreements(judge, verbose):
    if judge.consensus:
        print("\nTwo or more peers say the same, none says another thing, and ours differs:")
        for group in judge.consensus:
            print(f"{group[0].message}")
            print(describe(group[0]), f"[{', '.join(finding.peer for finding in group)}]")
    if verbose:
        print("\nAll disagreements:")
        last = None
        for finding in judge.findings:
            if finding.outcome == "agree":
                continue
            if finding.message != last:
                print(finding.message)
                last = finding.message
            print(describe(finding), "[explained]" if judge.explained(finding) else "")
    if judge.lost:
        print("\nLost: a peer gives it and ours does not:")
        for message, findings in judge.lost.items():
            print(message)
            for finding in findings:
                print(describe(finding))


def report(judge, messages, rows, ours):
    peers = list(rows)
    groups = {"all messages": lambda name: True, "the corpus": lambda name: name.startswith("corpus/")}
    for title, belongs in groups.items():
        names = [name for name in messages if belongs(name)]
        if not names:
            continue
        findings = [finding for finding in judge.findings if belongs(finding.message)]
        print(f"\n{title}: {len(names)} messages; agree / ours only / theirs only / differ\n")
        print("\n".join(compare.table(findings, peers)))
    ends = sum(finding.note == "line ends" for finding in judge.findings)
    print(f"\n{ends} parts agree but for the kind of their line ends, or for line ends at the end.")
    for reader, found in {"ours": ours, **rows}.items():
        for message, row in found.items():
            if "error" in row:
                print(f"{reader}: {message}: {row['error']}")


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--verbose", action="store_true")
    parser.add_argument("--only", default="")
    parser.add_argument("--ours", required=True)
    parser.add_argument("--rows", type=pathlib.Path)
    return parser.parse_args()


def main():
    options = parse_arguments()
    messages = find_messages(options.only)
    rows, versions = read_peers(messages)
    ours = read_ours(options.ours, messages)
    if options.rows:
        options.rows.write_text(json.dumps({"ours": ours, **rows}, indent=1), encoding="utf-8")
    judge = Judge(compare.read_known(HERE / "known.tsv"))
    for message in messages:
        mine = {peer: found[message] for peer, found in rows.items()}
        judge.take(message, compare.compare(message, ours[message], mine, ATTACHMENTS_ONLY))
    print("Peers:", ", ".join(version for version in versions.values() if version))
    report_disagreements(judge, options.verbose)
    report(judge, messages, rows, ours)
    complaints = list(complaints_about_known(judge, messages, rows))
    complaints += [f"{message}: our reader: {row['error']}" for message, row in ours.items() if "error" in row]
    print("\n".join(complaints))
    failed = len(set(judge.lost)) + len(complaints)
    for peer in (peer for peer, version in versions.items() if version is None):
        print(f"skipped: {peer}, which is not installed")
    if not CORPUS.is_dir():
        print(f"skipped: the corpus, {CORPUS} is not there")
    passed = len(messages) - len(set(judge.lost)) if rows else 0
    print(f"{passed} passed, {failed} failed")
    return 0 if failed == 0 and passed > 0 else 1


if __name__ == "__main__":
    sys.exit(main())
