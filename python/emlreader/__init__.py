"""Reads Internet e-mail messages (RFC 5322 with MIME) with libemlreader.

    import emlreader

    with emlreader.open("letter.eml") as message:
        print(message.header("Subject"))
        for file in message.sub_files:
            print(file.number, file.name, file.stored_size)
        data = message.extract(1)
        print(message.text())

Names, values and content come from whoever sent the message: never use a name as a path, and never show the HTML
form outside a sandbox.
"""

import builtins
import ctypes
import functools
import io
import os
import subprocess
import threading
import warnings
from collections.abc import Sequence

from . import _host
from . import _library as c
from . import _mime

__all__ = ["Error", "Message", "SubFile", "open", "OPEN_CONVERTED_ATTACHMENTS", "OPEN_ROOT_FOLDER",
           "OPEN_ATTACHMENTS_FOLDER"]
__version__ = "0.1.0"

OPEN_CONVERTED_ATTACHMENTS = 0x20
OPEN_ROOT_FOLDER = 0x40000
OPEN_ATTACHMENTS_FOLDER = 0x80000

_lib = c.load()


class Error(Exception):
    """A failed call of the library. `code` is its result code (EML_... in eml_host.h)."""

    def __init__(self, code):
        super().__init__(c.ERROR_TEXTS.get(code, f"result {code}"))
        self.code = code


def open(source, flags=0):
    """Opens a message: a path, bytes, or a binary file object (one that cannot seek is read whole)."""
    return Message(source, flags)


class SubFile:
    """Describes the message (kind "message"), an attachment or a folder."""

    def __init__(self, message, number, info, name, children):
        self._message = message
        self.number = number
        self.name_bytes = name
        # Bytes that are invalid in the charset become U+FFFD; name_bytes has the original.
        self.name = _host.decode(name, message.charset)
        self.kind = {c.KIND_MESSAGE: "message", c.KIND_ATTACHMENT: "attachment",
                     c.KIND_FOLDER: "folder"}.get(info.kind, "unknown")
        self.stored_size = None if info.size == -1 else info.size & 0xFFFFFFFF
        self.is_embedded_message = bool(info.flags & c.FLAG_MESSAGE)
        self.is_encrypted = bool(info.flags & c.FLAG_ENCRYPTED)
        self.parent = None if info.parent < 0 else info.parent
        self.children = children
    @property
    def date(self):
        """Of the message: Message.date. None for an attachment."""
        return self._message.date if self.kind == "message" else None

    def extract(self, sink=None):
        """Same as Message.extract with this number."""
        return self._message.extract(self.number, sink)

    def __repr__(self):
        return f"<{self.kind} {self.number} {self.name!r}>"


class _SubFiles(Sequence):
    """The sub-files of a message, each described on access."""

    def __init__(self, message, count):
        self._message = message
        self._count = count

    def __len__(self):
        return self._count

    def __getitem__(self, index):
        if isinstance(index, slice):
            return [self[i] for i in range(*index.indices(self._count))]
        if index < 0:
            index += self._count
        if not 0 <= index < self._count:
            raise IndexError("no such sub-file")
        return self._message._describe(index)


def _alone(method):
    """A method during which no other of the same message runs: a context belongs to one caller at a time."""

    @functools.wraps(method)
    def call(self, *arguments, **named):
        # What a sink or a source calls back would wait for itself.
        if self._caller == threading.get_ident():
            raise RuntimeError("the message is in use: one of its methods is running")
        with self._lock:
            self._caller = threading.get_ident()
            try:
                return method(self, *arguments, **named)
            finally:
                self._caller = None

    return call


class Message:
    """An open message. Close it, or use a `with` statement.

    Its methods may be called from any thread; they run one after another. What a sink or a source calls of the message that
    is calling it raises RuntimeError."""

    def __init__(self, source, flags=0):
        self._lock = threading.Lock()
        self._caller = None
        self._context = None
        self._file = None
        self._host = _host.Host()
        self._message_number = 1 if flags & OPEN_ROOT_FOLDER else 0
        if isinstance(source, (bytes, bytearray, memoryview)):
            file = self._file = io.BytesIO(source)
        elif hasattr(source, "read"):
            file = source if source.seekable() else io.BytesIO(source.read())
        else:
            # A window for the input: the library seeks before each line.
            file = self._file = builtins.open(source, "rb", buffering=65536)
            if not file.seekable():
                with file:
                    file = self._file = io.BytesIO(file.read())
        self._source = file
        try:
            self._input = _host.Input(self._host, file)
            status = ctypes.c_uint32()
            self._context = _lib.emlInit2(self._input.object, self._host.services, flags, 0, 0, status)
            self._host.raise_failure()
            if not self._context:
                raise Error(status.value)
        except BaseException:
            self.close()
            raise
        self.status = status.value
        info = c.ContainerInfo()
        self._check(_lib.emlGetContainerInfo2(self._context, info, self._host.record))
        self.charset = info.charset
        self.encoding = _host.codec(info.charset)
        self.size = self._input.size
        self.sub_files = _SubFiles(self, info.subFileCount)

    @_alone
    def close(self):
        """Closes the message. Everything obtained from it stays usable; the message does not."""
        context, self._context = self._context, None
        if context:
            _lib.emlShutdown2(context)
        self._host.free_all()
        if self._file is not None:
            self._file.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def __del__(self):
        if getattr(self, "_host", None) is not None:
            self.close()

    @_alone
    def headers(self, *names):
        """Returns the named header values, or From, Sent, To, Cc, Bcc, Subject, Priority. None for a missing field."""
        count = len(names)
        requests = [c.MetaDataRequest(c.REQUEST_BY_NAME, name.encode("latin-1", "replace")) for name in names]
        pointers = (ctypes.POINTER(c.MetaDataRequest) * max(count, 1))(*map(ctypes.pointer, requests))
        data = c.MetaData()
        result = _lib.emlGetSubFileMetadata2(self._opened(), self._message_number, count,
                                             pointers if count else None, data, self._host.record)
        values = self._take_entries(data, names)
        self._check(result)
        return values

    def header(self, name):
        """Returns one header value, or None."""
        return self.headers(name)[name]

    def extract(self, number, sink=None):
        """Returns the decoded bytes of an attachment; for the message itself, one document with its best body.

        With `sink`, an object with `write` or a function, passes the bytes there piece by piece instead."""
        return self._extract(number, sink, 0, 0)

    def render(self, rich=False, sink=None):
        """Returns the message as one document, header block and best body: text in UTF-8, or with `rich` HTML or RTF
        if it has such a body. The HTML form is untrusted: scripts, remote content, unescaped header values."""
        return self._extract(self._message_number, sink, c.EXTRACT_PREFER_RICH if rich else 0, c.CHARSET_UTF_8)

    @property
    @_alone
    def date(self):
        """When the message was sent: an aware datetime in the zone of the sender (UTC if the message names none). None
        without a date that can be read, or one that Python cannot hold."""
        with self._mime() as reader:
            return reader.date()

    @_alone
    def text(self, with_header=True):
        """Returns the readable text, as the MIME reader gives it: a line for each of From, To, Cc, Date and Subject, an
        empty line, then the body. An HTML body keeps its markup; it is taken if there is no other. For an encrypted
        message, only the header."""
        with self._mime() as reader:
            body = reader.body()
            if not with_header:
                return body
            fields = ((name, reader.field(name)) for name in ("From", "To", "Cc", "Date", "Subject"))
            return "".join(f"{name}: {value}\n" for name, value in fields if value is not None) + "\n" + body

    @_alone
    def as_markdown(self, with_header=True):
        """Returns the message as Markdown without HTML in it, as `eml render --to=markdown` makes it: header and attachments
        as front matter, then the text that a person sees. Runs the command `eml`, or the one that the environment variable
        EMLREADER_COMMAND names: FileNotFoundError without it, RuntimeError with its words if it fails. What was guessed
        or left out is a warning (module warnings)."""
        self._opened()
        command = os.environ.get("EMLREADER_COMMAND", "eml")
        options = [] if with_header else ["--body-only"]
        self._source.seek(0)
        done = subprocess.run([command, "render", "--to=markdown", *options, "--force", "-"], input=self._source.read(),
                              capture_output=True, check=False)
        said = done.stderr.decode("utf-8", "replace").strip().splitlines()
        if done.returncode != 0:
            raise RuntimeError(said[-1] if said else f"{command} ended with exit code {done.returncode}")
        for line in said:
            warnings.warn(line, stacklevel=4)
        return done.stdout.decode("utf-8")

    @_alone
    def filter_text(self, with_header=True):
        """Returns the text exactly as the message filter gives it: header fields, then the body; an HTML body keeps its
        markup. For an encrypted message, only the header."""
        self._opened()
        status = ctypes.c_uint32()
        services, record = self._host.services, self._input.object
        context = _lib.emlInitEx(record, services, 0, 0, 0, status)
        if not context:
            self._host.raise_failure()
            raise Error(status.value)
        try:
            return self._read_stream(context, with_header)
        finally:
            _lib.emlShutdown(context)

    def _mime(self):
        self._opened()
        return _mime.Reader(self._source, Error)

    def _opened(self):
        if not self._context:
            raise ValueError("the message is closed")
        return self._context

    def _check(self, result):
        self._host.raise_failure()
        if result != c.OK:
            raise Error(result)

    @_alone
    def _describe(self, number):
        info = c.SubFileInfo()
        result = _lib.emlGetSubFileInfo2(self._opened(), number, info, self._host.record)
        name = ctypes.string_at(info.name) if info.name else b""
        children = []
        if info.children:
            children = list((ctypes.c_uint32 * info.childCount).from_address(info.children))
        self._host.free(info.name)
        self._host.free(info.children)
        self._check(result)
        return SubFile(self, number, info, name, children)

    def _take_entries(self, data, names):
        values = {}
        for i in range(data.count if data.entries else 0):
            if not data.entries[i]:
                continue
            entry = data.entries[i].contents
            name = names[i] if names else ctypes.string_at(entry.name).decode("ascii") if entry.name else ""
            values[name] = None
            if entry.value:
                values[name] = _host.decode(ctypes.string_at(entry.value, entry.valueLength), self.charset)
            self._host.free(entry.name)
            self._host.free(entry.value)
            self._host.free(ctypes.cast(data.entries[i], ctypes.c_void_p).value)
        self._host.free(ctypes.cast(data.entries, ctypes.c_void_p).value)
        return values

    @_alone
    def _extract(self, number, sink, options, charset):
        pieces = []
        write = pieces.append if sink is None else getattr(sink, "write", sink)
        output = _host.Output(self._host, write)
        extract_info = c.ExtractInfo(0, charset)
        self._check(_lib.emlExtractSubFileToIOobj2(self._opened(), number, output.object, extract_info, 0, options))
        return b"".join(pieces) if sink is None else None

    def _read_stream(self, context, with_header):
        reader = _TextReader()
        capacity = 65536
        buffer = ctypes.create_string_buffer(capacity)
        size, progress = ctypes.c_uint32(), ctypes.c_uint32()
        flags = c.FILL_RESTART if with_header else c.FILL_RESTART | c.FILL_BODY_ONLY
        while progress.value < 100:
            result = _lib.emlFillBufferEx(context, 0, buffer, size, progress, capacity, flags)
            if result == c.ENCRYPTED and with_header:
                result = _lib.emlFillBuffer(context, buffer, size, progress, capacity)
            elif result == c.ENCRYPTED:
                break
            self._check(result)
            reader.take(buffer.raw[:size.value])
            flags &= ~c.FILL_RESTART
        return reader.finish()


class _TextReader:
    """Joins the text records of the message filter (eml.h lists them)."""

    def __init__(self):
        self._charset = 0
        self._pending = b""  # in that charset: a character can be cut between two records
        self._pieces = []

    def take(self, records):
        at = 0
        while at + 5 <= len(records):
            tag = records[at]
            length = int.from_bytes(records[at + 1:at + 5], "little")
            if length < 5 or at + length > len(records):
                break
            payload = records[at + 5:at + length]
            at += length
            if tag == 0:
                self._pending += payload[4:]
            elif tag in (3, 13):
                self._flush()
                self._pieces.append("\t" if tag == 3 else "\n")
            elif tag == 27:
                self._flush()
                self._charset = int.from_bytes(payload[:4], "little")

    def _flush(self):
        if self._pending:
            self._pieces.append(_host.decode(self._pending, self._charset))
            self._pending = b""

    def finish(self):
        self._flush()
        return "".join(self._pieces)
