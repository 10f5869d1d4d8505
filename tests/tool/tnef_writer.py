"""Writes TNEF (winmail.dat), as much of it as tests need."""

import struct

SIGNATURE = struct.pack("<I", 0x223E9F78)
MESSAGE, ATTACHMENT = 1, 2  # levels

# Attributes: name and type
VERSION = (0x9006, 8)
CODE_PAGE = (0x9007, 6)
RENDERING = (0x9002, 6)
DATA = (0x800F, 6)
TITLE = (0x8010, 1)
PROPERTIES = (0x9005, 6)
MESSAGE_PROPERTIES = (0x9003, 6)

# Properties: number and type in one
BODY = 0x1000001F
SUBJECT = 0x0037001F
SENDER = 0x0C1A001F
DISPLAY_TO = 0x0E04001F
SUBMIT_TIME = 0x00390040
LONG_NAME = 0x3707001F
LONG_NAME_ANSI = 0x3707001E
DISPLAY_NAME = 0x3001001F
MIME_TYPE = 0x370E001E
OBJECT = 0x3701000D
BINARY = 0x37010102

MESSAGE_INTERFACE = bytes.fromhex("0703020000000000c000000000000046")


def attribute(level, kind, content, length=None):
    """One attribute; `length` is what it claims, where that is not the truth."""
    name, form = kind
    claimed = len(content) if length is None else length
    checksum = sum(content) & 0xFFFF
    return struct.pack("<BHHI", level, name, form, claimed) + content + struct.pack("<H", checksum)


def prop(tag, value, length=None):
    """One property. Text becomes UTF-16 or ASCII as its type asks for."""
    if isinstance(value, str):
        value = (value + "\0").encode("utf-16-le" if tag & 0xFFFF == 0x1F else "ascii")
    claimed = len(value) if length is None else length
    return struct.pack("<III", tag, 1, claimed) + value + bytes(-len(value) % 4)


def properties(*props, count=None):
    return struct.pack("<I", len(props) if count is None else count) + b"".join(props)


def attachment(content, title=None, *props):
    """`content` is None where it is among the properties."""
    parts = [attribute(ATTACHMENT, RENDERING, struct.pack("<HIHHI", 1, 0xFFFFFFFF, 0, 0, 0))]
    if content is not None:
        parts.append(attribute(ATTACHMENT, DATA, content))
    if title is not None:
        parts.append(attribute(ATTACHMENT, TITLE, title + b"\0"))
    if props:
        parts.append(attribute(ATTACHMENT, PROPERTIES, properties(*props)))
    return b"".join(parts)


def message_object(name, inner):
    """A message inside the message, which is TNEF itself."""
    return attachment(None, None, prop(DISPLAY_NAME, name), prop(OBJECT, MESSAGE_INTERFACE + inner))


def tnef(*parts, code_page=1252):
    return (SIGNATURE + struct.pack("<H", 1) + attribute(MESSAGE, VERSION, struct.pack("<I", 0x10000))
            + attribute(MESSAGE, CODE_PAGE, struct.pack("<II", code_page, 0)) + b"".join(parts))
