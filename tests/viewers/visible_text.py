#!/usr/bin/env python3
"""Compares the text that eml gives of HTML with what Chromium shows of the page that eml makes of it.

    tests/viewers/visible_text.py EML [-v]
    tests/viewers/visible_text.py --matrix EML      the matrix alone, without Chromium

Each HTML body of the corpus beside the project, and each row of visible_matrix.py, is shown by `eml view`; Chromium tells
the innerText of the frame. Its words are compared with those of `eml show --links=none`, both ways. Rows of the matrix
say themselves which words are to be seen and which are hidden. The last line counts.
"""
import base64
import collections
import concurrent.futures
import email
import email.policy
import html
import os
import pathlib
import re
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from browser import Browser, corpus_folder  # noqa: E402
from visible_matrix import MATRIX  # noqa: E402

SCRIPT = """
const names = %s;
for (const name of names) {
  const frame = document.createElement("iframe");
  frame.style.width = "1000px"; frame.style.height = "4000px";
  const loaded = new Promise(done => { frame.onload = done; });
  frame.src = "/" + name;
  document.body.append(frame);
  await loaded;
  await fetch("/answer/" + name, {method: "POST", body: frame.contentDocument.body.innerText});
  frame.remove();
}
"""


def html_parts(path):
    """The HTML bodies of a message, as text."""
    message = email.message_from_bytes(path.read_bytes(), policy=email.policy.compat32)
    for part in message.walk():
        if part.get_content_type() != "text/html" or part.is_multipart():
            continue
        payload = part.get_payload(decode=True) or b""
        charset = part.get_content_charset() or "utf-8"
        try:
            text = payload.decode(charset, "replace")
        except LookupError:
            text = payload.decode("latin-1")
        yield text.encode("utf-8", "replace").decode()


def message_of(text):
    head = b"From: a@example.org\nSubject: s\nMIME-Version: 1.0\nContent-Type: text/html; charset=utf-8\n"
    return head + b"Content-Transfer-Encoding: base64\n\n" + base64.encodebytes(text.encode())


def without_alternatives(text):
    """Chromium's text has no word of a picture."""
    return re.sub(r"""\balt\s*=\s*("[^"]*"|'[^']*'|[^\s>]+)""", "", text, flags=re.I)


def words(text):
    text = re.sub("[\\u00ad\\u034f\\u180e\\u200b-\\u200f\\u202a-\\u202e\\u2060-\\u2069\\ufeff\\ufe0f]", "", text)
    return collections.Counter(word.casefold() for word in text.split())


# What marks items, quotes and rules in the text is no word of the message.
MARK = re.compile(r"\*|>+|\d+\.|-{10}|<no|text\.>")


def difference(ours, theirs):
    more = collections.Counter({word: n for word, n in (ours - theirs).items() if not MARK.fullmatch(word)})
    return more, theirs - ours


def prepare(eml, folder, name, text, with_page):
    """What Chromium is to show of the text, and what eml shows."""
    path = pathlib.Path(folder, name + ".eml")
    path.write_bytes(message_of(text))
    shown = subprocess.run([eml, "-q", "show", "--body-only", "--links=none", str(path)], capture_output=True,
                           check=False).stdout.decode("utf-8", "replace")
    if not with_page:
        return b"", shown
    page = subprocess.run([eml, "view", "-q", "-o", "-", str(path)], capture_output=True, check=False).stdout.decode()
    frame = re.search(r'srcdoc="([^"]*)"', page)
    document = html.unescape(frame.group(1)) if frame else ""
    document = re.sub(r'<meta http-equiv="Content-Security-Policy"[^>]*>', "", document)
    return document.encode(), shown


def bodies():
    folder = corpus_folder()
    if folder is None:
        print("no corpus beside the project: only the matrix", file=sys.stderr)
        return
    for path in sorted(path for path in folder.rglob("*") if path.is_file()):
        try:
            for number, text in enumerate(html_parts(path)):
                if text.strip():
                    yield f"{path.relative_to(folder)}#{number}", without_alternatives(text)
        except (ValueError, LookupError, AttributeError, KeyError):
            continue


def judge_matrix(texts):
    """How many rows of the matrix leak or lose a word in their texts."""
    failed = 0
    for row, shown in zip(MATRIX, texts):
        text = " ".join(shown.split())
        leaked = [word for word in row.hidden if word in text]
        lost = [word for word in row.seen if word not in text]
        if leaked or lost:
            failed += 1
            print(f"FAIL {row.name}: leaked {leaked}, lost {lost}: {text!r}")
    print(f"{len(MATRIX)} rows of the matrix, {failed} leak or lose a word")
    return failed


def judge_corpus(rows, made, answers, is_verbose):
    ours_total = theirs_total = more_total = fewer_total = 0
    for i, (name, _) in enumerate(rows):
        ours, theirs = words(made[i][1]), words(answers.get(f"{i}.html", ""))
        more, fewer = difference(ours, theirs)
        ours_total += sum(ours.values())
        theirs_total += sum(theirs.values())
        more_total += sum(more.values())
        fewer_total += sum(fewer.values())
        if is_verbose and (more or fewer):
            print(f"{name}: more {dict(more.most_common(8))}, fewer {dict(fewer.most_common(8))}")
    ours_share, theirs_share = 100 - 100 * more_total / ours_total, 100 - 100 * fewer_total / theirs_total
    print(f"{len(rows)} bodies: of {ours_total} words of eml Chromium has {ours_share:.2f} %, "
          f"of {theirs_total} words of Chromium eml has {theirs_share:.2f} %")
    return ours_share < 99 or theirs_share < 99


def main():
    arguments = [each for each in sys.argv[1:] if not each.startswith("-")]
    if len(arguments) != 1:
        sys.exit(__doc__)
    eml = os.path.abspath(arguments[0])
    corpus = [] if "--matrix" in sys.argv else list(bodies())
    rows = corpus + [(row.name, row.html) for row in MATRIX]
    with tempfile.TemporaryDirectory() as folder:
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            made = list(pool.map(lambda i: prepare(eml, folder, f"{i}", rows[i][1], i < len(corpus)), range(len(rows))))
    failed = judge_matrix([shown for _, shown in made[len(corpus):]])
    if corpus:
        names = [f"{i}.html" for i in range(len(corpus))]
        with Browser({name: document for name, (document, _) in zip(names, made)}) as browser:
            failed += judge_corpus(corpus, made, browser.run(SCRIPT % names), "-v" in sys.argv)
    print(f"{len(MATRIX) + (1 if corpus else 0) - failed} passed, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
