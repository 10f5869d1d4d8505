"""The host's side in Python: memory, input, output and character conversion for one open message.

An exception must not pass through the library. Each entry that can raise one keeps it and returns as an entry that
fails; the caller of the library raises it afterwards.
"""

import ctypes
import os

from . import _library as c

_libc = c.load_libc()


def _offset(low, high):
    return (high << 32) | low


class Host:
    """The services record, and the first exception that an entry raised."""

    def __init__(self):
        self.failure = None
        self._blocks = set()
        self.services = c.HostServices()
        allocator = self.services.allocator
        allocator.allocate = c.AllocateEntry(self._allocate)
        allocator.free = c.FreeEntry(self._free)
        allocator.reallocate = c.ReallocateEntry(self._reallocate)
        allocator.allocateZeroed = c.AllocateZeroedEntry(self._allocate_zeroed)
        self.services.duplicateString = c.DuplicateEntry(self._duplicate)
        self.services.convertText = c.ConvertEntry(self._convert_text)
        self.services.convertTextFrom = c.ConvertFromEntry(self._convert_text_from)
        self.services.isLeadByte = c.LeadByteEntry(self._is_lead_byte)
        self.services.storeDate = c.StoreDateEntry(self._store_date)
        self.record = c.HostRecord(1, ctypes.pointer(allocator))

    def raise_failure(self):
        failure, self.failure = self.failure, None
        if failure is not None:
            raise failure

    def guarded(self, entry, failing):
        """Wraps `entry` as a host entry: keeps an exception and then returns `failing`."""

        def guard(*arguments):
            try:
                return entry(*arguments)
            except BaseException as exception:  # also KeyboardInterrupt: it is raised again after the call
                if self.failure is None:
                    self.failure = exception
                return failing

        return guard

    # Memory. A set keeps every block, since the library forgets a block that cannot grow.

    def _adopt(self, block):
        if block:
            self._blocks.add(block)
        return block

    def _allocate(self, _, size):
        return self._adopt(_libc.malloc(size or 1))

    def _allocate_zeroed(self, _, count, size):
        return self._adopt(_libc.calloc(count or 1, size or 1))

    def _reallocate(self, _, block, size):
        moved = _libc.realloc(block, size or 1)
        if moved:
            self._blocks.discard(block)
        return self._adopt(moved)

    def _free(self, _, block):
        if block:
            self._blocks.discard(block)
            _libc.free(block)

    def free(self, block):
        self._free(None, block)

    def live_blocks(self):
        return len(self._blocks)

    def free_all(self):
        while self._blocks:
            _libc.free(self._blocks.pop())

    def _duplicate(self, _, text):
        size = len(ctypes.string_at(text)) + 1
        copy = self._allocate(None, size)
        if copy:
            ctypes.memmove(copy, text, size)
        return copy

    # Characters.

    def _convert(self, from_id, to_id, source, destination):
        room, destination.contents.length = destination.contents.length, 0
        if not source.contents.text:
            return 0
        text = decode(ctypes.string_at(source.contents.text, source.contents.length), from_id)
        converted = text.encode(codec(to_id), "replace")
        if destination.contents.text:
            converted = converted[:room]
            ctypes.memmove(destination.contents.text, converted, len(converted))
        destination.contents.length = len(converted)
        return len(converted)

    def _convert_text(self, _, source, destination, form, __):
        convert = self.guarded(self._convert, 0)
        if form != c.CONVERT_FORM:
            destination.contents.length = 0
            return 0
        return convert(self.services.currentCharset, c.CHARSET_TEXT_16, source, destination)

    def _convert_text_from(self, _, charset, source, destination, __):
        return self.guarded(self._convert, 0)(charset, self.services.currentCharset, source, destination)

    def _is_lead_byte(self, _, byte, charset):
        if charset == 1:
            return int(0x81 <= byte <= 0x9F or 0xE0 <= byte <= 0xFC)
        return int(charset in (2, 3, 4) and 0x81 <= byte <= 0xFE)

    def _store_date(self, seconds, destination):
        bits = seconds & 0xFFFFFFFFFFFFFFFF
        destination[0] = bits & 0xFFFFFFFF
        destination[1] = bits >> 32


def codec(charset):
    """Returns Python's name for a charset id; an unknown id counts as Western."""
    return c.CODECS.get(charset, "cp1252")


def decode(data, charset):
    """Decodes text of a charset. Invalid bytes become U+FFFD."""
    name = codec(charset)
    if name == "utf-16" and data[:2] not in (b"\xff\xfe", b"\xfe\xff"):
        name = "utf-16-le"
    return data.decode(name, "replace")


class Input:
    """An IOobj that reads from a seekable binary file object."""

    def __init__(self, host, file):
        self._file = file
        self.size = file.seek(0, os.SEEK_END)
        self.object = c.IOobj()
        self.object.open = c.OpenEntry(host.guarded(self._open, 0))
        self.object.read = c.ReadEntry(host.guarded(self._read, -1))
        self.object.seek = c.SeekEntry(host.guarded(self._seek, 0))
        self.object.tell = c.TellEntry(host.guarded(lambda _: self._file.tell(), 0))
        self.object.close = c.CloseEntry(lambda _: 1)

    def _open(self, _):
        self._file.seek(0)
        return 1

    def _read(self, _, buffer, count):
        # A file object may give more than it was asked for.
        data = self._file.read(count)[:count]
        ctypes.memmove(buffer, data, len(data))
        return len(data)

    def _seek(self, _, low, high, origin):
        target = _offset(low, high) + (self.size if origin == c.SEEK_END else 0)
        if target < 0:
            return 0
        self._file.seek(target)
        return 1


class Output:
    """An IOobj that passes everything written to it to a function, in order."""

    def __init__(self, host, write):
        self._write_bytes = write
        self._position = 0
        self.object = c.IOobj()
        self.object.open = c.OpenEntry(lambda _: 1)
        self.object.write = c.WriteEntry(host.guarded(self._write, 0))
        self.object.seek = c.SeekEntry(self._seek)
        self.object.tell = c.TellEntry(lambda _: self._position)
        self.object.close = c.CloseEntry(lambda _: int(host.failure is None))
        self._host = host

    def _write(self, _, data, count):
        # After a failure the rest is discarded.
        if self._host.failure is not None:
            return 0
        self._write_bytes(ctypes.string_at(data, count))
        self._position += count
        return count

    def _seek(self, _, low, high, origin):
        target = _offset(low, high) + (self._position if origin == c.SEEK_END else 0)
        return int(target == self._position)
