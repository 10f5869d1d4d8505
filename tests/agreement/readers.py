"""Runs the readers over messages, each in a process of its own, and makes the rows that are compared.

A reader is a program that gets the path of a message on each line of standard input and answers with one line of
JSON. Answers of peers are kept in the build folder: a message is read once by each version of a peer."""
import base64
import hashlib
import json
import os
import pathlib
import re
import resource
import selectors
import subprocess
import tempfile
import time

TIMEOUT = 20.0  # seconds for one message
HEAD = 80  # characters of a body that are kept


def digest(data):
    return hashlib.sha256(data).hexdigest()


def plain_bytes(data):
    """Without what readers of text disagree on: kinds of line ends, and line ends at the end."""
    return data.replace(b"\r\n", b"\n").replace(b"\r", b"\n").rstrip(b"\n")


def plain_text(text):
    """A body as it is compared: line ends LF, no blanks at line ends, no empty lines, no byte order mark."""
    text = text.replace("\r\n", "\n").replace("\r", "\n").replace("\ufeff", "")
    lines = [line.rstrip() for line in text.split("\n")]
    return "\n".join(line for line in lines if line)


def body_row(text):
    text = plain_text(text or "")
    if not text:
        return None
    return {"sha": digest(text.encode("utf-8", "surrogatepass")), "head": text[:HEAD], "size": len(text)}


def part_row(part):
    data = base64.b64decode(part["data"])
    row = {key: part.get(key) for key in ("path", "type", "name", "disposition", "cid")}
    row["path"] = re.sub(r"^0?$", "1", str(row["path"]))
    row["name"] = row["name"] or None
    row["type"] = (row["type"] or "").lower()
    row["size"], row["sha"], row["plain"] = len(data), digest(data), digest(plain_bytes(data))
    row.update({key: part[key] for key in ("body", "container") if part.get(key)})
    return row


def row_of(line):
    """The row that is compared and kept, from a reader's line of JSON."""
    raw = json.loads(line)
    if "error" in raw:
        return {"error": raw["error"]}
    row = {"parts": [part_row(part) for part in raw["parts"]], "subject": raw.get("subject") or None,
           "date": raw.get("date")}
    for field in ("from", "to", "cc"):
        row[field] = [[name or None, address or None] for name, address in raw.get(field) or []]
    for body in ("text", "html"):
        row[body] = body_row(raw.get(body))
    return row


def limits():
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    resource.setrlimit(resource.RLIMIT_FSIZE, (0, 0))  # a reader of messages writes no file


class Worker:
    """A reader's process, started again after a crash or a timeout."""

    def __init__(self, command, environment=None, timeout=TIMEOUT):
        self.command, self.timeout, self.process = command, timeout, None
        self.environment = {"PATH": os.environ.get("PATH", ""), "LC_ALL": "C.UTF-8", "TZ": "UTC",
                            **(environment or {})}
        self.folder = tempfile.TemporaryDirectory(prefix="agreement-")

    def start(self):
        self.process = subprocess.Popen(
            [str(word) for word in self.command], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
            stderr=subprocess.DEVNULL, cwd=self.folder.name, env=self.environment, preexec_fn=limits)

    def stop(self):
        if self.process:
            self.process.kill()
            self.process.wait()
            self.process.stdin.close()
            self.process.stdout.close()
            self.process = None

    def read_line(self):
        """A line, or None after the timeout; what came before the process ended, without its line end."""
        end, data, descriptor = time.monotonic() + self.timeout, b"", self.process.stdout.fileno()
        with selectors.DefaultSelector() as selector:
            selector.register(descriptor, selectors.EVENT_READ)
            while not data.endswith(b"\n"):
                if not selector.select(max(0.0, end - time.monotonic())):
                    return None
                block = os.read(descriptor, 1 << 20)
                if not block:
                    break
                data += block
        return data

    def ask(self, path):
        if self.process is None:
            self.start()
        try:
            self.process.stdin.write(f"{path}\n".encode())
            self.process.stdin.flush()
            line = self.read_line()
        except BrokenPipeError:
            line = b""
        if line is None:
            self.stop()
            return {"error": f"no answer within {self.timeout:g} seconds"}
        if not line.endswith(b"\n"):
            code = self.process.wait()
            self.stop()
            return {"error": f"the reader ended with {code}"}
        try:
            return row_of(line)
        except (ValueError, KeyError, TypeError) as error:
            return {"error": f"not the line that is wanted: {error}"}

    def close(self):
        self.stop()
        self.folder.cleanup()


class Cache:
    """Rows by the bytes of the message, of one version of one reader."""

    def __init__(self, path, version):
        self.path, self.version, self.rows, self.changed = path, version, {}, False
        try:
            kept = json.loads(path.read_text(encoding="utf-8"))
            if kept["version"] == version:
                self.rows = kept["rows"]
        except (OSError, ValueError, KeyError):
            pass  # not there, or broken off: made anew

    def save(self):
        if self.changed:
            self.path.parent.mkdir(parents=True, exist_ok=True)
            self.path.write_text(json.dumps({"version": self.version, "rows": self.rows}), encoding="utf-8")


def read_all(command, messages, cache=None, environment=None, timeout=TIMEOUT):
    """{message: row} for messages, which is {name: path}."""
    rows, worker = {}, Worker(command, environment, timeout)
    try:
        for name, path in messages.items():
            key = digest(pathlib.Path(path).read_bytes())
            if cache is not None and key in cache.rows:
                rows[name] = cache.rows[key]
                continue
            rows[name] = worker.ask(path)
            if cache is not None:
                cache.rows[key], cache.changed = rows[name], True
    finally:
        worker.close()
        if cache is not None:
            cache.save()
    return rows
