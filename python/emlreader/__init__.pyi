import datetime
import os
from collections.abc import Callable, Sequence
from typing import Any, BinaryIO, Literal, Protocol, Union

class _Writer(Protocol):
    def write(self, data: bytes, /) -> object: ...

_Source = Union[str, os.PathLike[str], bytes, bytearray, memoryview, BinaryIO]
_Sink = Union[_Writer, Callable[[bytes], object]]

OPEN_CONVERTED_ATTACHMENTS: int
OPEN_ROOT_FOLDER: int
OPEN_ATTACHMENTS_FOLDER: int
__version__: str

class Error(Exception):
    code: int
    def __init__(self, code: int) -> None: ...

class SubFile:
    number: int
    name: str
    name_bytes: bytes
    kind: Literal["message", "attachment", "folder", "unknown"]
    stored_size: int | None
    is_embedded_message: bool
    is_encrypted: bool
    parent: int | None
    children: list[int]
    date: datetime.datetime | None
    def extract(self, sink: _Sink | None = ...) -> bytes | None: ...

class Message:
    status: int
    charset: int
    encoding: str
    size: int
    sub_files: Sequence[SubFile]
    def __init__(self, source: _Source, flags: int = ...) -> None: ...
    def close(self) -> None: ...
    def __enter__(self) -> Message: ...
    def __exit__(self, *_: Any) -> None: ...
    def headers(self, *names: str) -> dict[str, str | None]: ...
    def header(self, name: str) -> str | None: ...
    def extract(self, number: int, sink: _Sink | None = ...) -> bytes | None: ...
    def render(self, rich: bool = ..., sink: _Sink | None = ...) -> bytes | None: ...
    def text(self, with_header: bool = ...) -> str: ...
    def as_markdown(self, with_header: bool = ...) -> str: ...

def open(source: _Source, flags: int = ...) -> Message: ...
