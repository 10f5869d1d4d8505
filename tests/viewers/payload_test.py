#!/usr/bin/env python3
"""No payload of payloads.py runs a script or reaches a server from a page of `eml view`, in headless Chromium.

    tests/viewers/payload_test.py EML [--fuzz=MINUTES] [--seed=N]

Each payload is shown twice: as it is, where most must reach the server (else the test would show nothing), and as the page
that eml makes. The HTML inside the page is also read by Chromium's parser, and must give exactly the tree that was
written, with elements and attributes of the allow-list only. With --fuzz the same is done with random HTML. The last line
counts.
"""
import html
import html.parser
import json
import os
import pathlib
import random
import re
import subprocess
import sys
import tempfile
import time

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from browser import Browser  # noqa: E402
from payloads import PAYLOADS, RUN  # noqa: E402
from visible_text import message_of  # noqa: E402

ROOT = pathlib.Path(__file__).resolve().parents[2]
SCRIPT = """
const dump = node => {
  if (node.nodeType === 3) return "#" + node.data;
  const attributes = [...node.attributes].map(each => [each.name, each.value]).sort((a, b) => a[0] < b[0] ? -1 : 1);
  return [node.localName, node.namespaceURI.split("/").pop(), attributes, [...node.childNodes].map(dump)];
};
for (const [name, inert] of %s) {
  const frame = document.createElement("iframe");
  const loaded = new Promise(done => { frame.onload = done; setTimeout(done, 3000); });
  frame.src = "/" + name;
  document.body.append(frame);
  await loaded;
  await new Promise(done => setTimeout(done, 120));
  if (inert) {
    const document = new DOMParser().parseFromString(await (await fetch("/" + inert)).text(), "text/html");
    await fetch("/answer/" + name, {method: "POST", body: JSON.stringify([...document.body.childNodes].map(dump))});
  }
  frame.remove();
}
"""

VOID = {"br", "col", "hr", "img", "wbr"}
TABLE = (ROOT / "tool" / "view" / "html_elements.cpp").read_text(encoding="utf-8")


def allowed_elements():
    table = re.search(r"kElements = \{\{(.*?)\}\};", TABLE, re.S).group(1)
    return {emitted for _, emitted in re.findall(r'\{"([\w-]+)", "([\w-]+)"', table)}


def allowed_attributes():
    names = set()
    for name in ("kAttributes", "kMoreAttributes"):
        names |= set(re.findall(r'"([\w-]+)"', re.search(name + r" = \{(.*?)\};", TABLE, re.S).group(1)))
    return names | {"style", "src", "href", "target", "rel"}


class Tree(html.parser.HTMLParser):
    """The tree of HTML in which every element is closed."""

    def __init__(self, text):
        super().__init__(convert_charrefs=True)
        self.open = [["", "", [], []]]
        self.feed(text)
        self.close()

    def handle_starttag(self, tag, attrs):
        node = [tag, "xhtml", sorted([name, value or ""] for name, value in attrs), []]
        self.open[-1][3].append(node)
        if tag not in VOID:
            self.open.append(node)

    def handle_endtag(self, tag):
        assert self.open.pop()[0] == tag, tag

    def handle_data(self, data):
        children = self.open[-1][3]
        if self.open[-1][0] == "pre" and not children and data.startswith("\n"):
            data = data[1:]
        if children and isinstance(children[-1], str):
            children[-1] += data
        elif data:
            children.append("#" + data)


def elements_of(nodes):
    for node in nodes:
        if not isinstance(node, str):
            yield node
            yield from elements_of(node[3])


def page_of(eml, folder, number, text):
    """The page, and the HTML in it."""
    path = pathlib.Path(folder, f"{number}.eml")
    path.write_bytes(message_of(text))
    page = subprocess.run([eml, "view", "-q", "-o", "-", str(path)], capture_output=True, check=False).stdout
    frame = re.search(rb'srcdoc="([^"]*)"', page)
    document = html.unescape(frame.group(1).decode()) if frame else ""
    return page, document[document.find("<body>") + 6:document.rfind("</body>")]


def normal(nodes):
    """Line ends and texts as a parser gives them."""
    return json.loads(json.dumps(nodes).replace("\\r\\n", "\\n").replace("\\r", "\\n"))


def problems(names, elements, attributes, inert, answer):
    found = normal(json.loads(answer))
    for element in elements_of(found):
        if element[0] not in elements or element[1] != "xhtml":
            yield f"{names}: element {element[0]}"
        for name, value in element[2]:
            if name not in attributes:
                yield f"{names}: attribute {name}"
            if name == "href" and not re.match("(https?|mailto|tel|sms|ftp):", value, re.I):
                yield f"{names}: link to {value!r}"
    if normal(Tree(inert).open[0][3]) != found:
        yield f"{names}: Chromium reads another tree"


def run(eml, texts, with_control):
    """The requests for each text from eml's page and from the text itself, and what is wrong with the trees."""
    elements, attributes = allowed_elements(), allowed_attributes()
    with tempfile.TemporaryDirectory() as folder, Browser({}) as browser:
        address, pages, steps, inerts = browser.address, browser.pages, [], {}
        for number, text in enumerate(texts):
            for kind in ("control", "page") if with_control else ("page",):
                name = f"{kind}{number}.html"
                beacon = f"{address}/beacon/{kind}{number}"
                filled = text.replace("RUN", RUN).replace("BEACON", beacon).replace("HOST", beacon.removeprefix("http://"))
                inert_name = ""
                if kind == "control":
                    pages[name] = ("<!DOCTYPE html><meta charset=utf-8>" + filled).encode("utf-8", "surrogateescape")
                else:
                    pages[name], inerts[name] = page_of(eml, folder, number, filled)
                    inert_name = f"inert{number}.html"
                    pages[inert_name] = ("<!DOCTYPE html><body>" + inerts[name]).encode()
                steps.append([name, inert_name])
        answers = browser.run(SCRIPT % json.dumps(steps), timeout=60 + len(steps))
        wrong = [problem for name, inert in inerts.items()
                 for problem in problems(name, elements, attributes, inert, answers.get(name, "[]"))]
        heard = {request.split("/")[2] for request in browser.requests if request.startswith("/beacon/")}
        return heard, wrong


PIECES = ["<", ">", "/", "\"", "'", "=", " ", "x", "<b>", "</b>", "<p>", "</p>", "<table>", "<tr>", "<td>", "</table>", "<div>", "</div>",
          "<svg>", "</svg>", "<math>", "<mtext>", "<style>", "</style>", "<script>", "</script>", "<template>", "</template>", "<select>",
          "<option>", "<textarea>", "</textarea>", "<title>", "</title>", "<!--", "-->", "<![CDATA[", "]]>", "<a href=http://x>", "</a>",
          "<img src=x onerror=RUN>", "<form>", "<button>", "<pre>\n", "</pre>", "<li>", "<ul>", "<dl>", "<dd>", "<frameset>", "<body class=x>",
          "<html lang=y>", "&lt;", "&amp;", "&#0;", "&nbsp;", "\0", "\r\n", "é", "<font color=red>", "<nobr>", "<h1>", "</h1>", "<i style='",
          "color:red", "url(BEACON/x)", ";", "}", "{", "<caption>", "<col>", "<foreignObject>", "<plaintext>", "<iframe>", "<noscript>"]


MAX_PROBLEMS = 20  # after these the fuzzer ends early


def random_html(random_number):
    return "".join(random_number.choice(PIECES) for _ in range(random_number.randrange(1, 40)))


def fuzz(eml, minutes, seed):
    end, count, found = time.time() + 60 * minutes, 0, 0
    random_number = random.Random(seed)
    while time.time() < end and found < MAX_PROBLEMS:
        texts = [random_html(random_number) for _ in range(200)]
        heard, wrong = run(eml, texts, False)
        wrong += [f"{name} reached the server" for name in heard]
        count += len(texts)
        found += len(wrong)
        for problem in wrong:
            number = re.match(r"page(\d+)", problem)
            print(problem, repr(texts[int(number.group(1))]) if number else "", flush=True)
    print(f"{count} random texts in {minutes:g} minutes (seed {seed}), {found} problems")
    return found


def main():
    eml = os.path.abspath(sys.argv[1])
    options = dict(option.lstrip("-").split("=") for option in sys.argv[2:])
    heard, wrong = run(eml, PAYLOADS, True)
    fired = sum(name.startswith("control") for name in heard)
    reached = sorted(name for name in heard if name.startswith("page"))
    for problem in wrong + [f"{name} reached the server: {PAYLOADS[int(name[4:])]!r}" for name in reached]:
        print("FAIL", problem)
    print(f"{len(PAYLOADS)} payloads: {fired} reach the server as they are, {len(reached)} from the pages of eml")
    failed = len(wrong) + len(reached) + (fired < len(PAYLOADS) // 3)
    if "fuzz" in options:
        failed += fuzz(eml, float(options["fuzz"]), int(options.get("seed", "1")))
    print(f"{len(PAYLOADS) - failed} passed, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
