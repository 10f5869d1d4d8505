"""Python's own email package, in the form of the drivers: [--check] open|attachments|body PATH."""
import email
import email.policy
import os
import sys
import time


def resident():
    with open("/proc/self/status", encoding="ascii") as status:
        return next(int(line.split()[1]) for line in status if line.startswith("VmHWM:"))


def main():
    check = "--check" in sys.argv[1:]
    arguments = [argument for argument in sys.argv[1:] if argument != "--check"]
    if len(arguments) != 2 or arguments[0] not in ("open", "attachments", "body"):
        sys.exit("usage: python_email.py [--check] open|attachments|body PATH")
    work, path = arguments
    paths = [path]
    if os.path.isdir(path):
        paths = sorted(os.path.join(path, name) for name in os.listdir(path))
    found = dict.fromkeys(
        ("messages", "senders", "recipients", "dates", "subjects", "attachments", "names", "bytes",
         "textbytes"), 0)
    opened = None
    begin = time.process_time()
    for name in paths:
        with open(name, "rb") as file:
            message = email.message_from_binary_file(file, policy=email.policy.default)
        found["messages"] += 1
        parts = [message] if work == "body" else []
        if work != "body":
            found["senders"] += bool(str(message["From"]))
            found["recipients"] += bool(str(message["To"]))
            found["subjects"] += len(str(message["Subject"]).encode())
            found["dates"] += message["Date"].datetime is not None
            parts = [part for part in message.walk() if part.get_content_disposition() == "attachment"]
            found["attachments"] += len(parts)
            found["names"] += sum(len(part.get_filename().encode()) for part in parts)
        if opened is None:
            opened = time.process_time()
        for part in parts if work != "open" else []:
            content = part.get_payload(decode=True)
            found["bytes"] += len(content)
            if check:
                found["textbytes"] += len(content.replace(b"\r", b"").rstrip(b"\n"))
    end = time.process_time()
    opening = opened - begin if len(paths) == 1 else 0
    print(f"seconds={end - begin:.6f} open={opening:.6f} resident={resident()}",
          *(f"{key}={value}" for key, value in found.items()))


if __name__ == "__main__":
    main()
