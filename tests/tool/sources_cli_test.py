#!/usr/bin/env python3
"""Where the messages of a command come from: an mbox, a place in it, standard input; and what a user is told.

    tests/tool/sources_cli_test.py PATH/TO/eml [TEST...]
"""

import json
import os
import pty
import resource
import subprocess
import sys

import cli_test as cli
from cli_test import eml, equal, expect, write

TESTS = []


def test(function):
    TESTS.append(function)
    return function


def letter(number, *parts):
    return cli.mixed(*parts, subject=f"Letter {number}".encode())


def box(*messages):
    return b"".join(b"From x@example.org Thu Jan  1 00:00:00 1970\n" + message + b"\n" for message in messages)


LETTERS = [letter(1), letter(2, cli.part("two.bin", b"22")), letter(3)]
BOX = box(*LETTERS)


def subject_of(result):
    return [line.split(maxsplit=1)[1] for line in result.out.splitlines() if line.startswith("Subject")]


# ---------------------------------------------------------------------------------------------------------
# mbox


@test
def an_answer_says_where_in_the_mbox_its_message_is():
    write("box.mbox", BOX)
    for arguments in (["--json", "list", "box.mbox"], ["--json", "info", "box.mbox"], ["batch", "box.mbox"]):
        for line, letter_ in zip(eml(*arguments).out.splitlines(), LETTERS, strict=True):
            source = json.loads(line)["source"]
            place = BOX[source["offset"]:source["offset"] + source["length"]]
            equal(place.rstrip(b"\n"), letter_.rstrip(b"\n"), arguments)
    row = json.loads(eml("batch", "--schema=1", "box.mbox").out.splitlines()[1])
    equal(row["source"], {"path": "box.mbox", "index": 1})


@test
def an_answer_has_the_flags_of_a_maildir():
    for folder in ("cur", "new", "tmp"):
        os.makedirs(f"Mail/{folder}")
    write("Mail/cur/1.host:2,RS", LETTERS[0])
    write("Mail/new/2.host", LETTERS[1])
    write("plain.eml", LETTERS[2])
    flags = {}
    for line in eml("batch", "Mail", "plain.eml").out.splitlines():
        source = json.loads(line)["source"]
        flags[source["path"]] = source.get("maildir_flags")
    equal(flags, {"Mail/cur/1.host:2,RS": ["seen", "replied"], "Mail/new/2.host": [], "plain.eml": None})
    answer = json.loads(eml("--json", "list", "Mail/cur/1.host:2,RS").out)
    equal(answer["source"]["maildir_flags"], ["seen", "replied"])


@test
def an_mbox_is_its_messages():
    write("box.mbox", BOX)
    for command in ("list", "info", "show"):
        result = eml(command, "box.mbox")
        equal((result.code, result.err), (0, ""), command)
        headings = [line for line in result.out.splitlines() if line.startswith("box.mbox#")]
        equal(headings, ["box.mbox#1:", "box.mbox#2:", "box.mbox#3:"], command)
        pieces = result.out.split("\n\nbox.mbox#")
        equal(len(pieces), 3, "an empty line goes before all headings but the first")
        for number, message in enumerate(LETTERS, 1):
            write("one.eml", message)
            alone = eml(command, "one.eml").out
            equal(pieces[number - 1].split("\n", 1)[1].strip("\n"), alone.strip("\n"), (command, number))
    equal(subject_of(eml("show", "box.mbox")), ["Letter 1", "Letter 2", "Letter 3"])


@test
def a_place_in_an_mbox():
    write("box.mbox", BOX)
    for number, message in enumerate(LETTERS, 1):
        write("one.eml", message)
        for command in (("list",), ("info",), ("show",), ("records",), ("render",), ("extract", "-l"),
                        ("view", "-o", "-")):
            place, alone = eml(*command, f"box.mbox#{number}"), eml(*command, "one.eml")
            equal((place.code, place.err), (alone.code, alone.err), (command, number))
            equal(place.out.replace(f"box.mbox#{number}", "one.eml"), alone.out, (command, number))
    expect(eml("extract", "-o", "out", "-n", "1", "box.mbox#2"), 0, "")
    equal(cli.read("out/two.bin"), b"22")
    # Without a command it is shown.
    equal(subject_of(eml("box.mbox#2")), ["Letter 2"])
    result = eml("list", "box.mbox#3", "one.eml", "box.mbox#1")
    equal([line for line in result.out.splitlines() if line.endswith(":")],
          ["box.mbox#3:", "one.eml:", "box.mbox#1:"])


@test
def places_in_json_count_from_0():
    write("box.mbox", BOX)
    for command in ("list", "info"):
        rows = [json.loads(line) for line in eml("--json", command, "box.mbox").out.splitlines()]
        equal([(row["source"]["path"], row["source"]["index"]) for row in rows],
              [("box.mbox", 0), ("box.mbox", 1), ("box.mbox", 2)])
        row = json.loads(eml("--json", command, "box.mbox#2").out)
        equal((row["source"]["path"], row["source"]["index"]), ("box.mbox", 1))
    equal(eml("--json", "info", "box.mbox").out, eml("batch", "box.mbox").out, "as the rows of a batch")
    row = json.loads(eml("--json", "list", "box.mbox#9").out)
    equal((row["source"]["path"], row["error"]["code"]), ("box.mbox", "no-such-message"))


@test
def places_that_are_not_there():
    write("box.mbox", BOX)
    write("one.mbox", box(LETTERS[0]))
    write("letter.eml", cli.PLAIN)
    cases = {
        "box.mbox#4": (7, "box.mbox: has 3 messages, there is no 4"),
        "box.mbox#99999999999": (7, "box.mbox: has 3 messages, there is no 99999999999"),
        "box.mbox#0": (7, "box.mbox: has 3 messages, there is no 0; they count from 1"),
        "one.mbox#2": (7, "one.mbox: has 1 message, there is no 2"),
        "letter.eml#1": (7, 'letter.eml: does not begin with "From ", so it is no mbox with a message 1'),
        "box.mbx#2": (3, "box.mbx#2: no such file; did you mean box.mbox#2?"),
        "box.mbox#": (3, "box.mbox#: no such file; did you mean box.mbox?"),
        "box.mbox#x": (3, "box.mbox#x: no such file"),
        "nothing/at/all#1": (3, "nothing/at/all#1: no such file"),
    }
    for argument, (code, text) in cases.items():
        expect(eml("list", argument), code, f"eml: {text}\n", "")
    expect(eml("list", "box.mbox#4", "box.mbox#1"), 1, "eml: box.mbox: has 3 messages, there is no 4\n")


@test
def a_file_with_a_number_in_its_name_comes_first():
    write("box.mbox", BOX)
    write("box.mbox#2", letter(77))
    equal(subject_of(eml("show", "box.mbox#2")), ["Letter 77"])
    write("odd#1", BOX)
    equal(subject_of(eml("show", "odd#1#3")), ["Letter 3"])
    equal(subject_of(eml("show", "odd#1")), ["Letter 1", "Letter 2", "Letter 3"])


@test
def commands_that_take_one_message():
    write("my box.mbox", BOX)
    for command in (("render",), ("records",), ("extract", "-n", "1", "-o", "-")):
        expect(eml(*command, "my box.mbox"), 2,
               f"eml: my box.mbox: is an mbox of 3 messages, and {command[0]} takes one; "
               "name it: 'my box.mbox'#1 to 'my box.mbox'#3\n", "")
    expect(eml("view", "-o", "-", "my box.mbox"), 2,
           "eml: my box.mbox is an mbox: name a folder for its pages with -o\n", "")
    expect(eml("render", "-", stdin=BOX), 2,
           "eml: standard input: is an mbox of 3 messages, and render takes one; "
           "name it: /dev/stdin#1 to /dev/stdin#3\n", "")
    with open("my box.mbox", "rb") as file:
        result = subprocess.run([cli.EML, "render", "/dev/stdin#3"], stdin=file, capture_output=True, check=True)
    equal(b"Letter 3" in result.stdout, True, result.stdout)


@test
def one_message_after_a_from_line():
    """Many programs store a single message like that."""
    write("one.txt", box(LETTERS[1]))
    write("plain.eml", LETTERS[1])
    for command in (("list",), ("info",), ("show",), ("records",), ("render",), ("extract", "-l")):
        one, plain = eml(*command, "one.txt"), eml(*command, "plain.eml")
        equal((one.code, one.err, one.out.replace("one.txt", "plain.eml")), (0, plain.err, plain.out), command)
    equal([line for line in eml("list", "one.txt", "plain.eml").out.splitlines() if line.endswith(":")],
          ["one.txt:", "plain.eml:"], "no number, since there is no other")


@test
def messages_of_an_mbox_that_are_none():
    write("box.mbox", box(LETTERS[0], b"\nno header\n", LETTERS[2]))
    result = eml("list", "box.mbox")
    expect(result, 1, "eml: box.mbox#2: not an e-mail message (no header field found); --force reads it anyway\n")
    equal("box.mbox#3:" in result.out, True, "the next one has its turn")


@test
def an_mbox_through_a_pipe():
    for command in (("list", "-"), ("list",), ("list", "/dev/stdin")):
        result = eml(*command, stdin=BOX)
        name = "/dev/stdin" if "/dev/stdin" in command else "standard input"
        equal([line for line in result.out.splitlines() if line.endswith(":")],
              [f"{name}#{number}:" for number in (1, 2, 3)], command)


# ---------------------------------------------------------------------------------------------------------
# Standard input


@test
def standard_input_without_a_file():
    write("a.eml", cli.PLAIN)
    for command in (("show",), ("list",), ("info",), ("records",), ("render",), ("extract", "-l"),
                    ("view", "-o", "-"), ("--json", "info")):
        asked = eml(*command, "-", stdin=cli.PLAIN)
        equal(asked.code, 0, asked.err)
        with open("a.eml", "rb") as file:
            from_file = subprocess.run([cli.EML, *command], stdin=file, capture_output=True, check=False)
        unasked = eml(*command, stdin=cli.PLAIN)
        equal((unasked.code, unasked.out, unasked.err), (asked.code, asked.out, asked.err), command)
        equal((from_file.returncode, from_file.stdout.decode()), (asked.code, asked.out), command)


@test
def standard_input_that_holds_nothing():
    said = 'eml: list: no FILE given; see "eml list --help"\n'
    expect(eml("list", stdin=b""), 2, said, "")
    for stdin in (subprocess.DEVNULL, pty.openpty()[1]):
        run = subprocess.run([cli.EML, "list"], stdin=stdin, capture_output=True, check=False, timeout=60)
        equal((run.returncode, run.stderr.decode()), (2, said))
    run = subprocess.run(["sh", "-c", '"$0" list <&-', cli.EML], capture_output=True, check=False, timeout=60)
    equal((run.returncode, run.stderr.decode()), (2, said), "closed")


@test
def standard_input_that_somebody_has_begun_to_read():
    write("a.eml", b"Subject: first\n" + cli.PLAIN)
    shell = '{ dd bs=15 count=1 of=/dev/null 2>/dev/null; "$0" show; } <a.eml'
    run = subprocess.run(["sh", "-c", shell, cli.EML], capture_output=True, check=True)
    equal(b"first" in run.stdout, False, run.stdout)


@test
def a_folder_for_temporary_files_that_cannot_be_used():
    advice = "temporary files go there, TMPDIR names another folder"
    missing = {"TMPDIR": "/no/such/folder"}
    for arguments in (("list",), ("list", "-"), ("list", "/dev/stdin")):
        expect(eml(*arguments, stdin=cli.PLAIN, env=missing), 6,
               f"eml: /no/such/folder: no such file or directory; {advice}\n", "")
    row = json.loads(eml("batch", "/dev/stdin", stdin=cli.PLAIN, env=missing).out)
    equal((row["error"]["code"], row["error"]["exit"]), ("write-failed", 6))

    def little_room():
        resource.setrlimit(resource.RLIMIT_FSIZE, (4096, 4096))

    os.mkdir("tmp")
    expect(eml("list", stdin=cli.PLAIN * 500, env={"TMPDIR": "tmp"}, preexec_fn=little_room), 6,
           f"eml: tmp: file too large; {advice}\n", "")
    write("box.mbox", box(letter(1, cli.part("big.bin", bytes(5 << 20)))))
    expect(eml("list", "box.mbox", env=missing), 6,
           f"eml: /no/such/folder: no such file or directory; {advice}\n", "")
    write("a.eml", cli.PLAIN)
    with open("a.eml", "rb") as file:
        run = subprocess.run([cli.EML, "list"], stdin=file, env={**os.environ, **missing}, capture_output=True,
                             check=False)
    equal(run.returncode, 0, "a file needs no copy")


# ---------------------------------------------------------------------------------------------------------
# What a user is told


@test
def options_before_their_command():
    write("a.eml", cli.PLAIN)
    for arguments, text in (
            (("--force", "show", "a.eml"), "--force belongs to show: eml show --force"),
            (("--force", "a.eml"), "--force belongs to show: eml show --force"),
            (("-r", "list", "a.eml"), "-r belongs to list: eml list -r"),
            (("--to=html", "render", "a.eml"), "--to=html belongs to render: eml render --to=html"),
            (("--to=html", "list", "a.eml"), 'unknown option --to; see "eml list --help"'),
            (("--forse", "show", "a.eml"), "unknown option --forse; did you mean --force?")):
        expect(eml(*arguments), 2, f"eml: {text}\n", "")


@test
def a_warning_about_nothing_in_particular():
    write("a.eml", cli.PLAIN)
    result = eml("view", "a.eml", env={"TMPDIR": os.getcwd(), "PATH": "/nonexistent"})
    expect(result, 0, "eml: warning: no browser could be started; open the page above yourself\n")


@test
def help_and_completions_know_the_ways_to_name_a_message():
    text = eml("--help").out
    for word in ("--reader", "--schema", "--strict", "box.mbox#17"):
        equal(word in text, True, word)
    for command in ("show", "list", "info", "extract", "render", "records", "view"):
        equal("box.mbox#17" in eml(command, "--help").out, True, command)
    for shell in ("bash", "zsh", "fish"):
        text = eml("completions", shell).out
        for word in ("reader", "schema", "strict", "mime container filter"):
            equal(word in text, True, (shell, word))


# ---------------------------------------------------------------------------------------------------------


def main():
    wanted = sys.argv[2:]
    cli.TESTS[:] = [function for function in TESTS if not wanted or function.__name__ in wanted]
    return cli.main()


if __name__ == "__main__":
    sys.exit(main())
