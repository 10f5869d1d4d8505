"""Shows what is in a message: its header, its attachments, its text. With the Python module."""

import sys

import emlreader

with emlreader.open(sys.argv[1]) as message:
    for name, value in message.headers().items():
        if value is not None:
            print(f"{name}: {value}")
    for file in message.sub_files:
        if file.kind == "attachment":
            print(f"{file.number} {file.name}: {len(file.extract())} bytes")
    print()
    print(message.text(with_header=False), end="")
