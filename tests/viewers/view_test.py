"""Opens pages of `eml view` in headless Chromium: a hostile message reaches no server and runs no script.

    python3 tests/viewers/view_test.py build/release/tool/eml [FOLDER FOR SCREENSHOTS]

The same HTML as it is, without the page around it, must do both: otherwise the test would show nothing. The last line
counts the tests; the exit code is 0 when none failed."""

import os
import pathlib
import re
import shutil
import socket
import subprocess
import sys
import tempfile
import threading

EML = os.path.abspath(sys.argv[1]) if len(sys.argv) > 1 else sys.exit(__doc__)
SCREENSHOTS = pathlib.Path(sys.argv[2]) if len(sys.argv) > 2 else None
ROOT = pathlib.Path(__file__).resolve().parents[2]

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


def view(work, content):
    message = os.path.join(work, "message.eml")
    pathlib.Path(message).write_bytes(content.encode())
    page = os.path.join(work, "page.html")
    subprocess.run([EML, "view", "--overwrite", "-o", page, message], check=True, capture_output=True)
    return page


def hostile_message(server):
    subject = SUBJECT.replace("HOST", server.host)
    html = HOSTILE.replace("HOST", server.host)
    return PARTS.format(subject=subject, html=html, name="<img src=http:" + "x.html")


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
