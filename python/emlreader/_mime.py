"""The MIME reader (emlreader/eml_mime.h): the text of a message as sent, and its date with the zone of the sender."""

import codecs
import ctypes
import datetime
from ctypes import CFUNCTYPE, POINTER, Structure, byref, c_char_p, c_int32, c_int64, c_uint32, c_uint64, c_void_p

from . import _host
from . import _library as c

NONE = 0xFFFFFFFF
ROLE_TEXT_BODY, ROLE_HTML_BODY = 1, 2
FORM_TEXT = 2
DATE_VALID, DATE_NO_ZONE = 1, 2
REPLACEMENT = "\ufffd"

OpenConversion = CFUNCTYPE(c_void_p, c_void_p, c_char_p)
Convert = CFUNCTYPE(c_uint32, c_void_p, c_void_p, POINTER(c_uint32), c_void_p, POINTER(c_uint32), c_int32)
CloseConversion = CFUNCTYPE(None, c_void_p)


class ConvertRecord(Structure):
    _fields_ = [("host", c_void_p), ("open", OpenConversion), ("convert", Convert), ("close", CloseConversion)]


class Options(Structure):
    _fields_ = [("recordSize", c_uint32), ("flags", c_uint32), ("maxDepth", c_uint32), ("maxParts", c_uint32),
                ("maxHeaderBytes", c_uint32), ("maxDefects", c_uint32), ("convert", POINTER(ConvertRecord)),
                ("progress", c_void_p), ("progressHost", c_void_p)]


class Text(Structure):
    _fields_ = [("text", c_void_p), ("length", c_uint32)]

    def __str__(self):
        return ctypes.string_at(self.text, self.length).decode("utf-8", "replace") if self.text else ""


class Span(Structure):
    _fields_ = [("offset", c_uint64), ("length", c_uint64)]


class Part(Structure):
    _fields_ = ([(name, c_uint32) for name in ("parent", "firstChild", "nextSibling", "childCount", "ordinal", "depth",
                                               "message", "encoding", "dispositionKind", "ending", "protection",
                                               "roles", "flags", "defectCount")]
                + [(name, Text) for name in ("type", "subtype", "charset", "encodingText", "disposition", "name",
                                             "contentId", "location", "description")]
                + [(name, Span) for name in ("header", "body", "signedSpan")])


class Date(Structure):
    _fields_ = [("seconds", c_int64), ("zoneMinutes", c_int32), ("flags", c_uint32)]


def load():
    library = ctypes.CDLL(c.library_path("libemlmime.so.1"))
    void, word = c_void_p, c_uint32
    calls = {
        "emlMimeOpen": (void, [POINTER(c.IOobj), POINTER(c.Allocator), POINTER(Options), POINTER(word)]),
        "emlMimeClose": (None, [void]),
        "emlMimePartCount": (word, [void]),
        "emlMimeGetPart": (word, [void, word, POINTER(Part), word]),
        "emlMimeFindField": (word, [void, word, c_char_p, word, POINTER(word)]),
        "emlMimeFieldText": (word, [void, word, word, POINTER(Text)]),
        "emlMimeFieldDate": (word, [void, word, word, POINTER(Date)]),
        "emlMimeExtract": (word, [void, word, word, POINTER(c.IOobj), void]),
    }
    for name, (result, arguments) in calls.items():
        function = getattr(library, name)
        function.restype = result
        function.argtypes = arguments
    return library


# What Python calls a codec and no message can mean as a charset.
NO_CHARSETS = {"idna", "punycode", "unicode_escape", "raw-unicode-escape", "raw_unicode_escape", "unicode-escape",
               "undefined"}
class _Conversion:
    """Keeps what does not fit into the library's buffer. Bytes count as used in step with what is handed over: after
    the last one the library does not come back, and it gives up on calls that use none."""

    def __init__(self, decoder):
        self._decoder = decoder
        self._pending = b""
        self._ahead = 0  # bytes that were decoded, and do not count as used yet

    def take(self, data, last, room):
        """UTF-8 that fits, how many sequences were replaced, how many bytes of `data` are left."""
        text = self._decode(data[self._ahead:], last) if len(data) > self._ahead or not self._pending else ""
        whole = self._pending + text.encode("utf-8", "replace")
        cut = min(room, len(whole))
        while 0 < cut < len(whole) and whole[cut] & 0xC0 == 0x80:
            cut -= 1
        self._pending = whole[cut:]
        self._ahead = max(1, len(data) * len(self._pending) // len(whole)) if self._pending and data else 0
        return whole[:cut], text.count(REPLACEMENT), self._ahead

    def _decode(self, data, last):
        try:
            return self._decoder.decode(data, last)
        except UnicodeError:  # some codecs raise it in spite of "replace"
            self._decoder.reset()
            return REPLACEMENT


class _Conversions:
    """Charsets by Python's codecs."""

    def __init__(self, host):
        self._open = {}
        self._last = 0
        self.record = ConvertRecord(None, OpenConversion(host.guarded(self._begin, 0)),
                                    Convert(host.guarded(self._convert, 0)), CloseConversion(self._end))

    def _begin(self, _, label):
        try:
            codec = codecs.lookup(label.decode("ascii", "replace").strip())
            b"a".decode(codec.name, "ignore")  # base64 and the like are codecs as well, but none of text
            if codec.name in NO_CHARSETS:
                return 0
        except (LookupError, TypeError, ValueError):
            return 0
        self._last += 1
        # Without a byte order mark, the codec named after both orders would refuse the text.
        name = "utf-16-le" if codec.name == "utf-16" else codec.name
        self._open[self._last] = _Conversion(codecs.getincrementaldecoder(name)("replace"))
        return self._last

    def _convert(self, number, source, source_length, destination, destination_length, last):
        data = ctypes.string_at(source, source_length[0]) if source_length[0] else b""
        text, replaced, left = self._open[number].take(data, bool(last), destination_length[0])
        ctypes.memmove(destination, text, len(text))
        source_length[0], destination_length[0] = len(data) - left, len(text)
        return replaced

    def _end(self, number):
        self._open.pop(number, None)


class Reader:
    """One message, opened by the MIME reader; a context manager."""

    def __init__(self, file, error):
        self._error = error
        self._host = _host.Host()
        self._input = _host.Input(self._host, file)
        self._conversions = _Conversions(self._host)
        options = Options(recordSize=ctypes.sizeof(Options), convert=ctypes.pointer(self._conversions.record))
        status = c_uint32()
        self._context = _lib.emlMimeOpen(self._input.object, self._host.services.allocator, options, status)
        try:
            self._host.raise_failure()
            if not self._context:
                raise error(status.value)
        except BaseException:
            self.close()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        _lib.emlMimeClose(self._context)
        self._host.free_all()

    def _check(self, result):
        self._host.raise_failure()
        if result != c.OK:
            raise self._error(result)

    def _find(self, name):
        found = c_uint32()
        self._check(_lib.emlMimeFindField(self._context, 0, name.encode("ascii"), 0, found))
        return None if found.value == NONE else found.value

    def field(self, name):
        index = self._find(name)
        if index is None:
            return None
        text = Text()
        self._check(_lib.emlMimeFieldText(self._context, 0, index, text))
        return str(text)

    def date(self):
        """An aware datetime in the zone of the sender (UTC if the message names none), or None."""
        index = self._find("Date")
        if index is None:
            return None
        date = Date()
        self._check(_lib.emlMimeFieldDate(self._context, 0, index, date))
        if not date.flags & DATE_VALID:
            return None
        try:
            zone = datetime.timezone(datetime.timedelta(minutes=date.zoneMinutes))
            return (EPOCH + datetime.timedelta(seconds=date.seconds)).astimezone(zone)
        except (OverflowError, ValueError):
            return None

    def _bodies(self, role):
        for number in range(_lib.emlMimePartCount(self._context)):
            part = Part()
            self._check(_lib.emlMimeGetPart(self._context, number, part, ctypes.sizeof(Part)))
            if part.message == 0 and part.roles & role and str(part.type) in ("text", "multipart"):
                yield number

    def body(self):
        """The text bodies one after the other; those in HTML, with their markup, if there is no other."""
        for role in (ROLE_TEXT_BODY, ROLE_HTML_BODY):
            pieces = []
            for number in self._bodies(role):
                output = _host.Output(self._host, pieces.append)
                self._check(_lib.emlMimeExtract(self._context, number, FORM_TEXT, output.object, None))
            text = b"".join(pieces).decode("utf-8", "replace")
            if text.strip():
                return text
        return ""


EPOCH = datetime.datetime(1970, 1, 1, tzinfo=datetime.timezone.utc)
_lib = load()
