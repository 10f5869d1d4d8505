"""Chromium without a window, on pages of a server of our own on loopback.

    with Browser(pages) as browser:      # {"name.html": bytes}
        answers = browser.run(script)    # the page of `script` posts what it found to /answer/KEY
"""
import http.server
import pathlib
import shutil
import subprocess
import tempfile
import threading
import urllib.parse


class Browser:
    def __init__(self, pages):
        self.pages, self.answers, self.requests = dict(pages), {}, []
        self.done = threading.Event()
        browser = self

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                path = urllib.parse.unquote(self.path.split("?")[0].lstrip("/"))
                browser.requests.append(self.path)
                body = browser.pages.get(path)
                self.send_response(404 if body is None else 200)
                self.send_header("Content-Type", "text/html; charset=utf-8")
                self.end_headers()
                self.wfile.write(body or b"")

            def do_POST(self):
                body = self.rfile.read(int(self.headers["Content-Length"]))
                key = urllib.parse.unquote(self.path.removeprefix("/answer/"))
                if key == "done":
                    browser.done.set()
                else:
                    browser.answers[key] = body.decode("utf-8", "replace")
                self.send_response(200)
                self.end_headers()

            def log_message(self, *arguments):
                pass

        class Server(http.server.ThreadingHTTPServer):
            def handle_error(self, *arguments):
                pass  # a browser that is ended leaves requests

        self.server = Server(("127.0.0.1", 0), Handler)
        self.address = f"http://127.0.0.1:{self.server.server_address[1]}"

    def __enter__(self):
        threading.Thread(target=self.server.serve_forever, daemon=True).start()
        return self

    def __exit__(self, *problem):
        self.server.shutdown()
        self.server.server_close()

    def run(self, script, timeout=600):
        """The answers that the script has posted until it posted to /answer/done."""
        page = f'<!DOCTYPE html><meta charset="utf-8"><body><script type="module">{script}\n'
        page += 'await fetch("/answer/done", {method: "POST", body: ""});</script>'
        self.pages["harness.html"] = page.encode()
        self.done.clear()
        profile = tempfile.mkdtemp()
        command = ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                   "--window-size=1000,800", f"--user-data-dir={profile}", "--remote-debugging-port=0",
                   self.address + "/harness.html"]
        process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        try:
            if not self.done.wait(timeout):
                raise TimeoutError("Chromium gave no answer in time")
        finally:
            process.kill()
            process.wait()
            shutil.rmtree(profile, ignore_errors=True)
        return self.answers


def corpus_folder():
    """The messages of others, beside the project; None without them."""
    folder = pathlib.Path(__file__).resolve().parents[3] / "shared" / "corpus"
    return folder if folder.is_dir() else None
