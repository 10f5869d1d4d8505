"""The C interface of libemlreader (emlreader/eml.h, emlreader/eml_host.h) as ctypes records and functions."""

import ctypes
import os
from ctypes import (CFUNCTYPE, POINTER, Structure, c_char_p, c_int32, c_int64, c_long, c_size_t, c_ssize_t,
                    c_uint32, c_void_p)

OK = 0
ENCRYPTED = 8
KIND_MESSAGE, KIND_ATTACHMENT, KIND_FOLDER = 0, 1, 3
FLAG_ENCRYPTED, FLAG_NOT_IN_FILE, FLAG_MESSAGE = 2, 4, 8
EXTRACT_PREFER_RICH = 4
FILL_RESTART, FILL_BODY_ONLY = 1, 2
REQUEST_BY_NAME = 1
SEEK_END = 2
CONVERT_FORM = 32

ERROR_TEXTS = {
    2: "out of memory",
    4: "the input cannot be used",
    6: "an input or output failed",
    7: "the message is empty",
    8: "the message is encrypted",
    12: "the message cannot be opened",
    16: "the output cannot be used",
    20: "no such sub-file",
    22: "the input cannot be opened",
    25: "no output for this destination",
    34: "invalid argument",
}

# The host's charset ids, and Python's codecs for them.
CHARSET_SHIFT_JIS = 1
CHARSET_GB2312 = 2
CHARSET_BIG5 = 3
CHARSET_KSC_5601 = 4
CHARSET_CENTRAL_EUROPE = 5
CHARSET_CYRILLIC = 6
CHARSET_WESTERN = 7
CHARSET_GREEK = 8
CHARSET_TURKISH = 9
CHARSET_HEBREW = 10
CHARSET_ARABIC = 11
CHARSET_BALTIC = 12
CHARSET_VIETNAMESE = 13
CHARSET_ISO_8859_3 = 16
CHARSET_ISO_8859_4 = 17
CHARSET_ISO_8859_6 = 19
CHARSET_ISO_8859_8 = 21
CHARSET_ISO_8859_9 = 22
CHARSET_ISO_8859_14 = 23
CHARSET_ISO_8859_15 = 24
CHARSET_DOS_862 = 35
CHARSET_TEXT_16 = 51
CHARSET_UTF_16 = 52
CHARSET_UTF_8 = 53
CHARSET_UTF_7 = 54
CHARSET_ISO_2022_JP = 55
CHARSET_EUC_JP = 66
CHARSET_EUC_KR = 69
CHARSET_ISO_8859_10 = 81
CHARSET_ISO_8859_13 = 82
CHARSET_GB18030 = 94

CODECS = {
    CHARSET_SHIFT_JIS: "cp932",
    CHARSET_GB2312: "cp936",
    CHARSET_BIG5: "cp950",
    CHARSET_KSC_5601: "cp949",
    CHARSET_CENTRAL_EUROPE: "cp1250",
    CHARSET_CYRILLIC: "cp1251",
    CHARSET_WESTERN: "cp1252",
    CHARSET_GREEK: "cp1253",
    CHARSET_TURKISH: "cp1254",
    CHARSET_HEBREW: "cp1255",
    CHARSET_ARABIC: "cp1256",
    CHARSET_BALTIC: "cp1257",
    CHARSET_VIETNAMESE: "cp1258",
    CHARSET_ISO_8859_3: "iso8859-3",
    CHARSET_ISO_8859_4: "iso8859-4",
    CHARSET_ISO_8859_6: "iso8859-6",
    CHARSET_ISO_8859_8: "iso8859-8",
    CHARSET_ISO_8859_9: "iso8859-9",
    CHARSET_ISO_8859_14: "iso8859-14",
    CHARSET_ISO_8859_15: "iso8859-15",
    CHARSET_DOS_862: "cp862",
    CHARSET_TEXT_16: "utf-16-le",
    CHARSET_UTF_16: "utf-16",
    CHARSET_UTF_8: "utf-8",
    CHARSET_UTF_7: "utf-7",
    CHARSET_ISO_2022_JP: "iso2022-jp",
    CHARSET_EUC_JP: "euc-jp",
    CHARSET_EUC_KR: "euc-kr",
    CHARSET_ISO_8859_10: "iso8859-10",
    CHARSET_ISO_8859_13: "iso8859-13",
    CHARSET_GB18030: "gb18030",
}

OpenEntry = CFUNCTYPE(c_int32, c_void_p)
ReadEntry = CFUNCTYPE(c_int32, c_void_p, c_void_p, c_uint32)
WriteEntry = CFUNCTYPE(c_uint32, c_void_p, c_void_p, c_uint32)
SeekEntry = CFUNCTYPE(c_int32, c_void_p, c_uint32, c_int32, c_uint32)
TellEntry = CFUNCTYPE(c_int64, c_void_p)
CloseEntry = CFUNCTYPE(c_int32, c_void_p)


class IOobj(Structure):
    _fields_ = [
        ("hostOwned1", c_void_p * 2),
        ("size", c_uint32 * 2),
        ("hostOwned2", c_void_p * 6),
        ("open", OpenEntry),
        ("read", ReadEntry),
        ("write", WriteEntry),
        ("seek", SeekEntry),
        ("tell", TellEntry),
        ("close", CloseEntry),
        ("reserved17", c_void_p),
        ("release", c_void_p),
    ]


AllocateEntry = CFUNCTYPE(c_void_p, c_void_p, c_uint32)
FreeEntry = CFUNCTYPE(None, c_void_p, c_void_p)
ReallocateEntry = CFUNCTYPE(c_void_p, c_void_p, c_void_p, c_uint32)
AllocateZeroedEntry = CFUNCTYPE(c_void_p, c_void_p, c_uint32, c_uint32)


class Allocator(Structure):
    _fields_ = [
        ("context", c_size_t),
        ("allocate", AllocateEntry),
        ("free", FreeEntry),
        ("reallocate", ReallocateEntry),
        ("allocateZeroed", AllocateZeroedEntry),
    ]


class TextSpan(Structure):
    _fields_ = [("text", c_void_p), ("length", c_uint32)]


DuplicateEntry = CFUNCTYPE(c_void_p, c_void_p, c_void_p)
ConvertEntry = CFUNCTYPE(c_uint32, c_void_p, POINTER(TextSpan), POINTER(TextSpan), c_uint32, c_uint32)
ConvertFromEntry = CFUNCTYPE(c_uint32, c_void_p, c_uint32, POINTER(TextSpan), POINTER(TextSpan), c_uint32)
LeadByteEntry = CFUNCTYPE(c_int32, c_void_p, c_uint32, c_uint32)
StoreDateEntry = CFUNCTYPE(None, c_ssize_t, POINTER(c_uint32))


class HostServices(Structure):
    _fields_ = [
        ("hostOwned1", c_void_p * 27),
        ("openFile", c_void_p),
        ("hostOwned2", c_void_p * 9),
        ("allocator", Allocator),
        ("hostOwned3", c_void_p * 36),
        ("duplicateString", DuplicateEntry),
        ("hostOwned4", c_void_p * 14),
        ("convertText", ConvertEntry),
        ("reserved95", c_void_p),
        ("convertTextFrom", ConvertFromEntry),
        ("isLeadByte", LeadByteEntry),
        ("reserved98", c_void_p),
        ("resetCharset", c_void_p),
        ("hostOwned5", c_void_p * 9),
        ("currentCharset", c_uint32),
        ("hostOwned6", c_void_p * 300),
        ("storeDate", StoreDateEntry),
        ("reserved411", c_void_p),
        ("lastError", c_uint32),
    ]


class HostRecord(Structure):
    _fields_ = [("hostOwned", c_size_t), ("allocator", POINTER(Allocator))]


class ContainerInfo(Structure):
    _fields_ = [
        ("hostOwned1", c_uint32 * 3),
        ("subFileCount", c_uint32),
        ("hostOwned2", c_uint32 * 4),
        ("charset", c_uint32),
        ("charsetExtra", c_uint32),
    ]


class SubFileInfo(Structure):
    _fields_ = [
        ("hostOwned", c_uint32 * 3),
        ("name", c_void_p),
        ("kind", c_uint32),
        ("size", c_int32),
        ("flags", c_uint32),
        ("charset", c_uint32),
        ("charsetExtra", c_uint32),
        ("date", c_uint32 * 2),
        ("parent", c_int32),
        ("childCount", c_uint32),
        ("children", c_void_p),
    ]


class ExtractInfo(Structure):
    _fields_ = [("resultFlags", c_uint32), ("outputCharset", c_uint32)]


class MetaDataEntry(Structure):
    _fields_ = [
        ("hasValue", c_uint32),
        ("reserved", c_uint32),
        ("type", c_uint32),
        ("name", c_void_p),
        ("value", c_void_p),
        ("valueLength", c_uint32),
    ]


class MetaData(Structure):
    _fields_ = [
        ("hostOwned", c_uint32 * 3),
        ("count", c_int32),
        ("entries", POINTER(POINTER(MetaDataEntry))),
    ]


class MetaDataRequest(Structure):
    _fields_ = [("kind", c_uint32), ("name", c_char_p)]


def library_path(name):
    """Where a library is: beside the one that EMLREADER_LIBRARY names, else where it is installed."""
    folder = os.path.dirname(os.environ.get("EMLREADER_LIBRARY") or "")
    return os.path.join(folder, name)


def load():
    """Loads the library that EMLREADER_LIBRARY names, else the installed one."""
    library = ctypes.CDLL(os.environ.get("EMLREADER_LIBRARY") or "libemlreader.so.1")
    void, word, number = c_void_p, c_uint32, c_int32
    calls = {
        "emlInit2": (void, [POINTER(IOobj), POINTER(HostServices), word, word, word, POINTER(word)]),
        "emlShutdown2": (None, [void]),
        "emlGetContainerInfo2": (word, [void, POINTER(ContainerInfo), POINTER(HostRecord)]),
        "emlGetSubFileInfo2": (word, [void, number, POINTER(SubFileInfo), POINTER(HostRecord)]),
        "emlGetSubFileMetadata2": (word, [void, number, number, POINTER(POINTER(MetaDataRequest)),
                                          POINTER(MetaData), POINTER(HostRecord)]),
        "emlExtractSubFileToIOobj2": (word, [void, number, POINTER(IOobj), POINTER(ExtractInfo), word, word]),
        "emlInitEx": (void, [POINTER(IOobj), POINTER(HostServices), word, word, word, POINTER(word)]),
        "emlShutdown": (None, [void]),
        "emlFillBuffer": (word, [void, void, POINTER(word), POINTER(word), word]),
        "emlFillBufferEx": (word, [void, word, void, POINTER(word), POINTER(word), word, word]),
    }
    for name, (result, arguments) in calls.items():
        function = getattr(library, name)
        function.restype = result
        function.argtypes = arguments
    return library


def load_libc():
    libc = ctypes.CDLL(None)
    for name, result, arguments in (("malloc", c_void_p, [c_size_t]), ("free", None, [c_void_p]),
                                    ("calloc", c_void_p, [c_size_t, c_size_t]),
                                    ("realloc", c_void_p, [c_void_p, c_size_t])):
        function = getattr(libc, name)
        function.restype = result
        function.argtypes = arguments
    return libc


assert ctypes.sizeof(c_long) == ctypes.sizeof(c_ssize_t)
