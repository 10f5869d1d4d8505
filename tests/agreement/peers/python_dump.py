#!/usr/bin/env python3
"""Prints what Python's email package finds in messages: one path from standard input, one line of JSON to
standard output. README.md beside this folder describes the line.

Each message is read under both policies, and of the two readings the one that gives more counts."""
import base64
import email
import email.policy
import email.utils
import json
import platform
import sys


def attempt(call, *rest):
    """What the call gives, or None when it raises: some accessors of the package do on odd mail."""
    try:
        return call(*rest)
    except Exception:
        return None


def text_of(value):
    if value is None:
        return None
    return str(value).encode("utf-8", "surrogateescape").decode("utf-8", "replace")


def header_text(message, name):
    value = attempt(message.__getitem__, name)
    if value is None:
        return None
    if message.policy is email.policy.compat32:
        value = attempt(lambda: str(email.header.make_header(email.header.decode_header(value)))) or value
    return text_of(value)


def addresses(message, name):
    if message.policy is email.policy.compat32:
        values = [str(value) for value in attempt(message.get_all, name, []) or []]
        pairs = attempt(email.utils.getaddresses, values) or []
        decoded = []
        for display, address in pairs:
            shown = attempt(lambda: str(email.header.make_header(email.header.decode_header(display))))
            decoded.append([text_of(shown or display) or None, text_of(address)])
        return decoded
    fields = attempt(message.get_all, name, []) or []
    found = [entry for field in fields for entry in attempt(getattr, field, "addresses") or []]
    return [[text_of(entry.display_name) or None, text_of(entry.addr_spec)] for entry in found]


def date_of(message):
    value = attempt(message.__getitem__, "date")
    parsed = attempt(email.utils.parsedate_tz, str(value)) if value is not None else None
    seconds = attempt(email.utils.mktime_tz, parsed) if parsed else None
    if seconds is None:
        return None
    return [seconds, None if parsed[9] is None else parsed[9] // 60]


def leaf(part, path):
    data = attempt(part.get_payload, None, True)
    if data is None:
        payload = part.get_payload()
        data = payload.encode("utf-8", "surrogateescape") if isinstance(payload, str) else b""
    return {"path": path, "type": attempt(part.get_content_type), "name": text_of(attempt(part.get_filename)),
            "disposition": text_of(attempt(part.get_content_disposition)),
            "cid": (text_of(attempt(part.__getitem__, "content-id")) or "").strip().strip("<>") or None,
            "data": base64.b64encode(data).decode()}


def unicode_text(part):
    data = attempt(part.get_payload, None, True) or b""
    label = attempt(part.get_content_charset) or "utf-8"
    decoded = attempt(data.decode, label, "replace")
    return decoded if decoded is not None else data.decode("utf-8", "replace")


def walk(message, parts, bodies):
    """All leaves, without recursion. Bodies are those of the message itself."""
    stack = [(message, "", False)]
    while stack:
        part, path, embedded = stack.pop()
        payload = part.get_payload()
        if isinstance(payload, list) and payload:
            inside = embedded or attempt(part.get_content_maintype) == "message"
            below = [(child, f"{path}.{i}" if path else str(i), inside)
                     for i, child in enumerate(payload, 1) if not isinstance(child, str)]
            stack.extend(reversed(below))
            continue
        parts.append(leaf(part, path or "1"))
        last = parts[-1]
        if not embedded and last["disposition"] != "attachment" and last["name"] is None:
            if last["type"] in bodies:
                bodies[last["type"]].append(unicode_text(part))


def read(data, policy):
    message = email.message_from_bytes(data, policy=policy)
    parts, bodies = [], {"text/plain": [], "text/html": []}
    walk(message, parts, bodies)
    row = {"parts": parts, "subject": header_text(message, "subject"), "date": date_of(message)}
    for name in ("from", "to", "cc"):
        row[name] = addresses(message, name)
    row["text"] = text_of("\n".join(bodies["text/plain"])) if bodies["text/plain"] else None
    row["html"] = text_of("\n".join(bodies["text/html"])) if bodies["text/html"] else None
    return row


def richness(row):
    """Parts, names, people, a date; of equal ones the fewer bytes, for what was not decoded is longer."""
    named = sum(1 for part in row["parts"] if part["name"])
    people = [entry for name in ("from", "to", "cc") for entry in row[name] if entry[1]]
    shown = sum(1 for entry in people if entry[0])
    size = sum(len(part["data"]) for part in row["parts"])
    return (len(row["parts"]), named, len(people), shown, row["date"] is not None, -size)


def dump(path):
    with open(path, "rb") as file:
        data = file.read()
    rows = [attempt(read, data, policy) for policy in (email.policy.default, email.policy.compat32)]
    rows = [row for row in rows if row is not None]
    if not rows:
        try:
            read(data, email.policy.compat32)
        except Exception as error:
            return {"error": f"{type(error).__name__}: {error}"}
    return max(rows, key=richness)  # of equal ones the first


def main():
    if sys.argv[1:] == ["--version"]:
        print("Python email", platform.python_version())
        return
    for line in sys.stdin:
        print(json.dumps(dump(line.rstrip("\n"))), flush=True)


main()
