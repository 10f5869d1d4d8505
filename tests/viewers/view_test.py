"""Opens pages of `eml view` in headless Chromium: a hostile message reaches no server and runs no script.

    python3 tests/viewers/view_test.py build/release/tool/eml [FOLDER FOR SCREENSHOTS]

The same HTML as it is, without the page around it, must do both: otherwise the test would show nothing. The last line
counts the tests; the exit code is 0 when none failed."""

import collections
import os
import pathlib
import re
import shutil
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import zlib
from email.message import EmailMessage

EML = os.path.abspath(sys.argv[1]) if len(sys.argv) > 1 else sys.exit(__doc__)
SCREENSHOTS = pathlib.Path(sys.argv[2]) if len(sys.argv) > 2 else None
ROOT = pathlib.Path(__file__).resolve().parents[2]

# Waits until all frames have been painted.
WHOLE = ("--run-all-compositor-stages-before-draw",)

# Everything that makes a browser ask for something, or run something.
HOSTILE = """<html><head>
<meta http-equiv="refresh" content="1;url=http://HOST/refresh">
<meta http-equiv="Content-Security-Policy" content="default-src *">
<base href="http://HOST/base/">
<link rel="preconnect" href="http://HOST"><LINK rel=stylesheet href="http://HOST/style.css">
<li\0nk rel="preconnect" href="http://HOST">
<link rel="dns-prefetch" href="//HOST"><link rel="prefetch" href="http://HOST/prefetch">
<style>@import url("http://HOST/import.css"); @font-face{font-family:f;src:url(http://HOST/font)}
body{background:url(http://HOST/background);font-family:f}</style>
<script>console.log("A SCRIPT RAN")</script><script src="http://HOST/script.js"></script></head>
<body onload="console.log('A SCRIPT RAN')" background="http://HOST/body">
<h1>Hello</h1><img src="http://HOST/image.png"><img src=x onerror="console.log('A SCRIPT RAN')">
<img srcset="http://HOST/1x 1x, http://HOST/2x 2x"><picture><source srcset="http://HOST/p"><img></picture>
<svg><image href="http://HOST/svg"/><use href="http://HOST/use.svg#a"/><script>console.log("A SCRIPT RAN")</script></svg>
<iframe src="http://HOST/frame"></iframe><iframe srcdoc="<img src='http://HOST/inner'>"></iframe>
<object data="http://HOST/object"></object><embed src="http://HOST/embed">
<video src="http://HOST/video" poster="http://HOST/poster" autoplay></video><audio src="http://HOST/audio" autoplay></audio>
<form action="http://HOST/form"><input type=image src="http://HOST/input"></form>
<a href="http://HOST/link" ping="http://HOST/ping">link</a><a href="javascript:console.log('A SCRIPT RAN')">j</a>
</iframe></body></html> "></iframe><script>console.log("A SCRIPT RAN")</script>
<img src="http://HOST/broken-out"><div style="background:url(http://HOST/div)">
</div></div></template></div></div></main><script>console.log("A SCRIPT RAN")</script><img src=x onerror="console.log('A SCRIPT RAN')">
<style>:host{position:fixed!important;inset:0;background:u\\72l(http://HOST/escaped)}@\\69mport "http://HOST/import2";
p{background:image-set("http://HOST/set" 1x);list-style:url( 'http://HOST/list' )}</style></style><script>console.log("A SCRIPT RAN")</script>
<table><td></table><style>a[title="</style><img src=x onerror=console.log('A SCRIPT RAN')>"]{}</style>
<svg></p><style><a id="</style><img src=x onerror=console.log('A SCRIPT RAN')>">
<math><mtext><table><mglyph><style><img src=x onerror=console.log('A SCRIPT RAN')></style></math>
<noscript><p title="</noscript><img src=x onerror=console.log('A SCRIPT RAN')>"></noscript>
<template shadowrootmode="open"><script>console.log("A SCRIPT RAN")</script></template>
<img src="data:image/svg+xml,<svg xmlns='http://www.w3.org/2000/svg'><image href='http://HOST/svg2'/></svg>">
<img src="cid:svg@x"><div style="position:fixed;inset:0;z-index:9999;background:lime;opacity:1!important">OVERLAY</div>
<textarea></textarea><script>console.log("A SCRIPT RAN")</script><plaintext><script>console.log("A SCRIPT RAN")</script>
"""
SUBJECT = '"><script>console.log("A SCRIPT RAN")</script><img src=http://HOST/subject>'
PARTS = """From: {subject} <a@example.net>
To: b@example.org
Subject: {subject}
Content-Type: multipart/mixed; boundary=b

--b
Content-Type: text/html; charset=utf-8

{html}
--b
Content-Type: text/html; name="{name}"

{html}
--b
Content-Type: image/svg+xml
Content-ID: <svg@x>

<svg xmlns="http://www.w3.org/2000/svg" width="9" height="9"><script>console.log("A SCRIPT RAN")</script><image
href="http://{host}/svg3" width="9" height="9"/></svg>
--b
Content-Type: text/calendar; method=REQUEST

BEGIN:VEVENT
SUMMARY:{subject}
LOCATION:{subject}
DTSTART;TZID="{location}":20250304T091500
ATTENDEE;CN={subject}:mailto:x
END:VEVENT
--b
Content-Type: message/rfc822

Subject: {subject} inner
Content-Type: text/html

{html}
--b--
"""


class Server:
    """Counts connections on a port of this machine."""

    def __init__(self):
        self._socket = socket.create_server(("127.0.0.1", 0))
        self.host = "127.0.0.1:%d" % self._socket.getsockname()[1]
        self.requests = []
        threading.Thread(target=self._serve, daemon=True).start()

    def _serve(self):
        while True:
            connection, _ = self._socket.accept()
            request = b"a connection without a request"
            connection.settimeout(2)
            try:
                request = connection.recv(4096).split(b"\r\n")[0] or request
                connection.sendall(b"HTTP/1.0 404 Not Found\r\nContent-Length: 0\r\n\r\n")
            except OSError:
                pass
            self.requests.append(request)
            connection.close()


def chrome(work, path, *options):
    profile = tempfile.mkdtemp(dir=work)
    command = ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
               "--disable-background-networking", "--disable-component-update", "--disable-sync",
               "--enable-logging=stderr", "--virtual-time-budget=8000", f"--user-data-dir={profile}", *options,
               f"file://{path}"]
    result = subprocess.run(command, capture_output=True, timeout=180, env=dict(os.environ, HOME=work), check=False)
    shutil.rmtree(profile, ignore_errors=True)
    return result.stdout.decode("utf-8", "replace"), result.stderr.decode("utf-8", "replace")


def view(work, content, *options):
    message = os.path.join(work, "message.eml")
    pathlib.Path(message).write_bytes(content if isinstance(content, bytes) else content.encode())
    page = os.path.join(work, "page.html")
    subprocess.run([EML, "view", *options, "--overwrite", "-o", page, message], check=True, capture_output=True)
    return page


def printed_text(work, page):
    """What is on the paper."""
    chrome(work, page, f"--print-to-pdf={work}/page.pdf")
    result = subprocess.run(["pdftotext", "-layout", f"{work}/page.pdf", "-"], check=True, capture_output=True)
    return result.stdout.decode()


def picture(red, green, blue, width=40, height=30):
    """A PNG of one colour."""

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    rows = (b"\0" + bytes((red, green, blue)) * width) * height
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)) +
            chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))


def colours(path):
    """How often each colour is in a picture that Chromium wrote: 8 bits, RGB or RGBA, not interlaced."""
    data = pathlib.Path(path).read_bytes()
    width, height, _, kind = struct.unpack(">IIBB", data[16:26])
    at, packed = 8, b""
    while at < len(data):
        length, name = struct.unpack(">I4s", data[at:at + 8])
        packed += data[at + 8:at + 8 + length] if name == b"IDAT" else b""
        at += 12 + length
    size = {2: 3, 6: 4}[kind]
    raw, line, found = zlib.decompress(packed), bytearray(width * size), collections.Counter()
    for y in range(height):
        row = raw[y * (width * size + 1):(y + 1) * (width * size + 1)]
        line = unfiltered(row[0], bytearray(row[1:]), line, size)
        found.update(zip(line[0::size], line[1::size], line[2::size]))
    return found


def unfiltered(kind, row, above, size):
    if kind == 0:
        return row
    if kind == 2:
        return bytearray((a + b) & 255 for a, b in zip(row, above))
    for x, value in enumerate(row):
        left = row[x - size] if x >= size else 0
        corner = above[x - size] if x >= size else 0
        guess = left + above[x] - corner
        nearest = min((left, above[x], corner), key=lambda each: abs(guess - each))
        row[x] = (value + (0, left, above[x], (left + above[x]) // 2, nearest)[kind]) & 255
    return row


def hostile_message(server):
    subject = SUBJECT.replace("HOST", server.host)
    html = HOSTILE.replace("HOST", server.host)
    location = SUBJECT.replace("HOST", server.host).replace('"', "")
    return PARTS.format(subject=subject, html=html, name="<img src=http:" + "x.html", host=server.host, location=location)


def test_the_html_alone_asks_and_runs(work):
    server = Server()
    raw = os.path.join(work, "raw.html")
    without_meta = re.sub("<meta.*>", "", HOSTILE)  # its policy would stop scripts
    pathlib.Path(raw).write_text(without_meta.replace("HOST", server.host), encoding="utf-8")
    _, log = chrome(work, raw, "--dump-dom")
    assert len(server.requests) > 3, server.requests
    assert "A SCRIPT RAN" in log, log


def test_the_page_asks_for_nothing_and_runs_nothing(work):
    server = Server()
    page = view(work, hostile_message(server))
    dom, log = chrome(work, page, "--dump-dom")
    assert not server.requests, server.requests
    assert "A SCRIPT RAN" not in log, log
    assert "<article" in dom and "<iframe sandbox" in dom
    for shot in (("--window-size=1200,900",), ("--window-size=390,844",)):
        chrome(work, page, *shot, f"--screenshot={work}/shot.png")
    assert not server.requests, server.requests


def test_the_page_of_the_other_reader_does_neither(work):
    server = Server()
    page = view(work, hostile_message(server), "--reader=container")
    dom, log = chrome(work, page, "--dump-dom")
    assert not server.requests, server.requests
    assert "A SCRIPT RAN" not in log, log
    assert "<article" in dom and "<iframe sandbox" in dom


def test_on_paper_it_asks_for_nothing_and_runs_nothing(work):
    server = Server()
    page = view(work, hostile_message(server))
    _, log = chrome(work, page, f"--print-to-pdf={work}/page.pdf")
    assert os.path.getsize(f"{work}/page.pdf") > 1000
    assert not server.requests, server.requests
    assert "A SCRIPT RAN" not in log, log


# What a sender lays over everything stays inside his own area.
def test_the_copy_under_the_frame_is_not_seen(work):
    html = """<style>.eml-body,:host,*{visibility:visible!important;opacity:1!important;position:fixed!important;
              inset:0!important;z-index:99999!important;background:#01fe02!important}</style><p>x"""
    page = view(work, f"Subject: s\nContent-Type: text/html\n\n{html}")
    text = pathlib.Path(page).read_text(encoding="utf-8")
    without_frame = os.path.join(work, "without.html")
    pathlib.Path(without_frame).write_text(re.sub("<iframe.*</iframe>", "", text, flags=re.S), encoding="utf-8")
    chrome(work, without_frame, "--window-size=800,600", f"--screenshot={work}/shot.png")
    assert (1, 254, 2) not in colours(f"{work}/shot.png")


def test_pictures_of_the_message_are_shown(work):
    message = EmailMessage()
    message["Subject"] = "pictures"
    message.set_content('<p>Two</p><img src="cid:one@x"><div style="background:url(cid:two@x);width:40px;height:30px">'
                        "</div>", subtype="html")
    message.add_related(picture(1, 200, 3), "image", "png", cid="<one@x>")
    message.add_related(picture(200, 1, 3), "image", "png", cid="<two@x>")
    page = view(work, message.as_bytes())
    chrome(work, page, "--window-size=800,600", f"--screenshot={work}/shot.png", *WHOLE)
    found = colours(f"{work}/shot.png")
    assert found[(1, 200, 3)] == 1200 and found[(200, 1, 3)] == 1200, found.most_common(6)


def test_the_body_has_the_height_of_its_content(work):
    blocks = "".join(f'<div style="height:50px;background:#{colour}"></div>' for colour in ("010203", "aabbcc") * 6)
    page = view(work, f"Subject: s\nContent-Type: text/html\n\n{blocks}")
    for width in (600, 1000, 1400):
        chrome(work, page, f"--window-size={width},900", f"--screenshot={work}/shot.png", "--hide-scrollbars", *WHOLE)
        found = colours(f"{work}/shot.png")
        # Six blocks of each, 50 pixels high and as wide as the body.
        assert found[(1, 2, 3)] % 300 == 0 and found[(1, 2, 3)] == found[(170, 187, 204)] > 300 * 400, width


def test_all_of_it_is_printed(work):
    paragraphs = "".join(f"<p>Paragraph {i} of 150, which is long enough to fill more than one line of the paper when "
                         "it is printed at the usual size.</p>" for i in range(1, 151))
    page = view(work, f"Subject: s\nContent-Type: text/html\n\n{paragraphs}")
    printed = printed_text(work, page)
    missing = [i for i in range(1, 151) if f"Paragraph {i} of 150" not in printed]
    assert not missing, missing
    assert printed.count("Paragraph 7 of 150") == 1


def test_a_mail_without_colours_is_dark_on_a_dark_screen(work):
    for html, is_dark in (("<p>plain</p>", True), ('<p style="color:#222">coloured</p>', False)):
        page = view(work, f"Subject: s\nContent-Type: text/html\n\n{html}")
        chrome(work, page, "--window-size=800,500", f"--screenshot={work}/shot.png",
               "--blink-settings=preferredColorScheme=0", *WHOLE)
        white = colours(f"{work}/shot.png")[(255, 255, 255)]
        assert (white < 1000) is is_dark, (html, white)


def site(work):
    folder, pages = os.path.join(work, "folder"), os.path.join(work, "pages")
    shutil.rmtree(folder, ignore_errors=True)
    shutil.rmtree(pages, ignore_errors=True)
    os.mkdir(folder)
    for number, subject in enumerate(("zebra", '"><img src=x onerror=console.log("BAD")><script>console.log("BAD")</script>',
                                      "apple")):
        pathlib.Path(folder, f"{number}.eml").write_text(f"From: a{number}@x\nDate: {number + 1} Mar 2025 10:00 +0000\n"
                                                         f"Subject: {subject}\n\ntext {number}\n", encoding="utf-8")
    subprocess.run([EML, "view", "-o", pages, folder], check=True, capture_output=True)
    return pages


def test_the_list_of_a_folder_runs_its_own_script_alone(work):
    pages = site(work)
    dom, log = chrome(work, os.path.join(pages, "index.html"), "--dump-dom")
    assert "BAD" not in log and "Refused" not in log and "violates" not in log, log
    assert "<th aria-sort=\"descending\"><button>Date</button></th>" in dom  # the script was there
    assert dom.index("apple") < dom.index("zebra")
    changed = pathlib.Path(pages, "changed.html")
    text = pathlib.Path(pages, "index.html").read_text(encoding="utf-8")
    changed.write_text(text.replace('"use strict";', '"use strict";;'), encoding="utf-8")
    dom, _ = chrome(work, changed, "--dump-dom")
    assert "<button>" not in dom  # a script with another digest does not run
    assert "apple" in dom


def test_the_list_sorts_and_filters(work):
    index = pathlib.Path(site(work), "index.html")
    text = index.read_text(encoding="utf-8")
    script = """<script>
        const order = () => [...document.querySelectorAll("tbody tr")].filter(row => !row.hidden)
            .map(row => row.cells[2].textContent.slice(0, 5)).join();
        const steps = [order()];
        const filter = document.getElementById("filter");
        document.querySelectorAll("th button")[2].click(); steps.push(order());
        document.querySelectorAll("th button")[2].click(); steps.push(order());
        filter.value = "APP a2"; filter.dispatchEvent(new Event("input")); steps.push(order());
        filter.value = "nothing"; filter.dispatchEvent(new Event("input"));
        steps.push(String(document.getElementById("none").hidden));
        document.body.append("STEPS " + steps.join("; "));
        </script></body>"""
    without_policy = re.sub('<meta http-equiv="Content-Security-Policy"[^>]*>', "", text)
    index.write_text(without_policy.replace("</body>", script), encoding="utf-8")
    dom, _ = chrome(work, index, "--dump-dom")
    steps = re.findall("STEPS (.*)", dom)[-1]  # the first is in the script
    assert steps == 'apple,"&gt;&lt;im,zebra; "&gt;&lt;im,apple,zebra; zebra,apple,"&gt;&lt;im; apple; false', steps


def test_the_page_tells_what_was_blocked(work):
    server = Server()
    page = pathlib.Path(view(work, hostile_message(server))).read_text(encoding="utf-8")
    assert re.search(r"Blocked: \d+ scripts, \d+ items from the network, 1 form", page), page[:3000]


def test_tree_header_body_and_attachments_are_there(work):
    page = os.path.join(work, "report.html")
    subprocess.run([EML, "view", "-o", page, ROOT / "examples/quarterly-report.eml"], check=True, capture_output=True)
    assert os.stat(page).st_mode & 0o777 == 0o600
    dom, _ = chrome(work, page, "--dump-dom")
    for text in ("Quarterly report \u2013 draft 3", "Zo\u00eb M\u00fcller", "Caf\u00e9 at four?", "report.pdf",
                 "Umsatz f\u00fcr M\u00e4rz.png", "figures.csv", "inner message.eml", 'download="passwd"'):
        assert text in dom, text
    assert "../../etc/passwd" in dom  # as text, never as a name to store under


def test_wide_narrow_light_and_dark(work):
    page = os.path.join(work, "report.html")
    folder = SCREENSHOTS or pathlib.Path(work)
    sizes = set()
    for scheme, setting in (("light", "1"), ("dark", "0")):
        for width, height in ((1200, 900), (390, 844)):
            path = folder / f"view-{width}-{scheme}.png"
            chrome(work, page, f"--window-size={width},{height}", f"--blink-settings=preferredColorScheme={setting}",
                   f"--screenshot={path}", "--hide-scrollbars")
            assert path.stat().st_size > 10000, path
            sizes.add(path.read_bytes())
    assert len(sizes) == 4


def main():
    passed = failed = 0
    with tempfile.TemporaryDirectory() as work:
        for name, function in list(globals().items()):
            if not name.startswith("test_"):
                continue
            try:
                function(work)
                passed += 1
                print(f"ok    {name[5:].replace('_', ' ')}")
            except (AssertionError, subprocess.SubprocessError, OSError) as error:
                failed += 1
                print(f"FAIL  {name[5:].replace('_', ' ')}: {error}")
    print(f"{passed} passed, {failed} failed")
    return int(failed != 0)


if __name__ == "__main__":
    sys.exit(main())
