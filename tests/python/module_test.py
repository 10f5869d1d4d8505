"""Tests of the Python module: EMLREADER_LIBRARY=.../libemlreader.so.1 python3 tests/python/module_test.py

The last line counts them; the exit code is 0 when none failed."""

import datetime
import io
import os
import pathlib
import re
import sys
import tempfile
import threading
import traceback
import warnings

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "python"))

import emlreader  # noqa: E402

LETTER = b"""From: =?UTF-8?Q?Zo=C3=AB?= <zoe@example.net>\r
To: anna@example.org\r
Subject: Report\r
Date: Tue, 4 Mar 2025 09:15:22 +0100\r
X-Room: 12\r
Content-Type: multipart/mixed; boundary="b"\r
\r
--b\r
Content-Type: text/plain; charset=utf-8\r
\r
Hello Zo\xc3\xab\r
--b\r
Content-Type: application/octet-stream; name="a.bin"\r
Content-Transfer-Encoding: base64\r
\r
AAECAw==\r
--b\r
Content-Type: message/rfc822; name="inner.eml"\r
\r
Subject: Inner\r
\r
deep\r
--b--\r
"""
ENCRYPTED = b"Subject: s\nContent-Type: application/pkcs7-mime; smime-type=enveloped-data\n\nMII=\n"


def raises(kind, call, *arguments):
    try:
        call(*arguments)
    except kind as error:
        return error
    raise AssertionError(f"{kind.__name__} was not raised")


def equal(is_, wanted):
    if is_ != wanted:
        raise AssertionError(f"\n    is: {is_!r}\nwanted: {wanted!r}")


def test_sub_files_are_a_sequence():
    with emlreader.open(LETTER) as message:
        equal([file.name for file in message.sub_files], ["Report.mail", "a.bin", "Inner.eml"])
        equal(message.sub_files[-1].is_embedded_message, True)
        equal([file.number for file in message.sub_files[1:]], [1, 2])
        equal((message.sub_files[1].stored_size, message.sub_files[1].parent), (8, 0))
        equal((message.sub_files[0].kind, message.sub_files[0].children), ("message", [1, 2]))
        assert message.sub_files[0].date is not None and message.sub_files[1].date is None
        raises(IndexError, lambda: message.sub_files[3])


def test_names_and_places_of_sub_files():
    with emlreader.open(LETTER) as message:
        equal(message.sub_files[1].name_bytes, b"a.bin")
        equal(repr(message.sub_files[1]), "<attachment 1 'a.bin'>")
    strange = LETTER.replace(b'name="a.bin"', b'name="\xc3\xab\xff.bin"')
    with emlreader.open(strange) as message:
        equal(message.sub_files[1].name, "\xeb\ufffd.bin")
        equal(message.sub_files[1].name_bytes, b"\xc3\xab\xff.bin")
    for flags, names, parents in (
            (emlreader.OPEN_ROOT_FOLDER, ["root/", "root/Report.mail", "root/a.bin", "root/Inner.eml"],
             [None, 0, 1, 1]),
            (emlreader.OPEN_ATTACHMENTS_FOLDER, ["Report.mail", "Attachments/a.bin", "Attachments/Inner.eml"],
             [None, 0, 0])):
        with emlreader.open(LETTER, flags) as message:
            equal([file.name for file in message.sub_files], names)
            equal([file.parent for file in message.sub_files], parents)


def test_attachment_that_is_not_in_the_file():
    converted = (b"Content-Type: multipart/mixed; boundary=b\n\n"
                 b'Attachment Converted: "C:\\a.doc"\n')
    with emlreader.open(converted, emlreader.OPEN_CONVERTED_ATTACHMENTS) as message:
        equal(len(message.sub_files), 2)
        equal(message.sub_files[1].stored_size, None)
    with emlreader.open(converted) as message:
        equal(len(message.sub_files), 1)


def test_dates_of_every_size():
    for year in (1950, 1969, 1970, 2025, 2150, 9990):
        with emlreader.open(f"Date: Tue, 4 Mar {year} 09:15:22 +0100\n\n".encode()) as message:
            zone = datetime.timezone(datetime.timedelta(hours=1))
            equal(message.date, datetime.datetime(year, 3, 4, 9, 15, 22, tzinfo=zone))
            equal(message.sub_files[0].date, message.date)
    with emlreader.open(b"Date: Tue, 4 Mar 99999 09:15:22\n\n") as message:
        equal(message.sub_files[0].date, None)  # Python has no such date


def test_charset_and_status():
    with emlreader.open(LETTER) as message:
        equal((message.status, message.encoding), (0, "utf-8"))
    cyrillic = b"Content-Type: text/plain; charset=windows-1251\n\n\xf2\xe5\xea\xf1\xf2\n"
    with emlreader.open(cyrillic) as message:
        equal(message.encoding, "cp1251")
        assert "\u0442\u0435\u043a\u0441\u0442".encode() in message.render()
    # An open that ends early still gives a message.
    with emlreader.open(b"Content-Type: multipart/related; boundary=a\n\n--a\n"
                        b"Content-Type: multipart/related; boundary=b\n\nno part\n--a--\n") as message:
        equal(message.status, 6)


def test_rich_rendering():
    both = (b"Content-Type: multipart/alternative; boundary=b\n\n--b\nContent-Type: text/plain\n\nplain\n"
            b"--b\nContent-Type: text/html\n\n<i>rich</i>\n--b--\n")
    with emlreader.open(both) as message:
        equal([b"<i>rich" in message.render(rich=rich) for rich in (False, True)], [False, True])
        equal([b"plain" in message.render(rich=rich) for rich in (False, True)], [True, False])


def test_version_and_public_names():
    project = (ROOT / "CMakeLists.txt").read_text()
    equal(emlreader.__version__, re.search(r"project\(emlreader VERSION (\S+)", project).group(1))
    names = {name for name in vars(emlreader) if not name.startswith("_")}
    equal({name for name in names if getattr(vars(emlreader)[name], "__module__", None) == "emlreader"
           or name.startswith("OPEN_")}, set(emlreader.__all__))


def test_headers():
    with emlreader.open(LETTER) as message:
        equal(message.headers(), {"From": "Zo\xeb <zoe@example.net>", "Sent": "Tue, 4 Mar 2025 09:15:22 +0100",
                                  "To": "anna@example.org", "Cc": None, "Bcc": None, "Subject": "Report",
                                  "Priority": None})
        equal(message.headers("X-Room", "X-None"), {"X-Room": "12", "X-None": None})
        equal(message.header("Subject"), "Report")


def test_text_with_and_without_header():
    with emlreader.open(LETTER) as message:
        for read in (message.text, message.filter_text):
            equal(read(with_header=False).rstrip("\n"), "Hello Zo\xeb")
            assert "Zo\xeb <zoe@example.net>" in read()
        equal(message.text(), "From: Zo\xeb <zoe@example.net>\nTo: anna@example.org\n"
              "Date: Tue, 4 Mar 2025 09:15:22 +0100\nSubject: Report\n\nHello Zo\xeb")
        equal(message.header("Subject"), "Report")


def test_text_is_as_it_was_sent():
    quoted = b"Content-Transfer-Encoding: quoted-printable\n"
    for head, body, text in (
            (quoted, b"utm_source=3D1\n", "utm_source=1\n"),
            (b"Content-Type: text/plain; charset=koi8-r\n", b"\xd0\xd2\xc9", "\u043f\u0440\u0438"),
            (b"Content-Type: text/plain; charset=iso-2022-kr\n", "\uc548\ub155".encode("iso2022_kr"), "\uc548\ub155"),
            (b"Content-Type: text/plain; charset=big5\n", ("\u4f60" * 80000).encode("big5"), "\u4f60" * 80000),
            (b"Content-Type: text/plain; charset=utf-7\n", ("\u4f60" * 40000).encode("utf-7"), "\u4f60" * 40000),
            (b"Content-Type: text/plain; charset=utf-16\nContent-Transfer-Encoding: base64\n", b"YQBiAA==", "ab"),
            (b"Content-Type: text/plain; charset=gbk\n", b"a\xff\xffb", "a\ufffd\ufffdb"),
            (b"Content-Type: text/plain; charset=base64\n", b"YQ==", "YQ=="),
            (b"Content-Type: text/html; charset=utf-8\n", b"<p>caf\xc3\xa9", "<p>caf\xe9")):
        with emlreader.open(head + b"\n" + body) as message:
            got = message.text(with_header=False)
            equal((len(got), got[:40], got == text), (len(text), text[:40], True))
    two = (b"Content-Type: multipart/mixed; boundary=b\n\n--b\n\none\n--b\nContent-Type: image/png\n\nx\n--b\n\ntwo"
           b"\n--b--\n")
    with emlreader.open(two) as message:
        equal(message.text(with_header=False), "onetwo")
    with emlreader.open(b"Subject: order\n before =?utf-8?q?caf=C3=A9?=\n\nx") as message:
        equal(message.text(), "Subject: order before caf\xe9\n\nx")


def test_dates_have_the_zone_of_the_sender():
    for field, text in (("Tue, 4 Mar 2025 09:15:22 +0530", "2025-03-04T09:15:22+05:30"),
                        ("4 March 2025 09:15:22 EST", "2025-03-04T09:15:22-05:00"),
                        ("Tue, 4 Mar 2025 09:15:22 -0000", "2025-03-04T09:15:22+00:00")):
        with emlreader.open(f"Date: {field}\n\nx".encode()) as message:
            equal(message.date.isoformat(), text)
            equal(message.sub_files[0].date, message.date)
    for head in (b"Date: soon\n\n", b"Subject: s\n\n"):
        with emlreader.open(head + b"x") as message:
            equal((message.date, message.sub_files[0].date), (None, None))


def test_extraction_into_bytes_and_sinks():
    with emlreader.open(LETTER) as message:
        equal(message.extract(1), b"\0\1\2\3")
        sink = io.BytesIO()
        equal(message.sub_files[1].extract(sink), None)
        equal(sink.getvalue(), b"\0\1\2\3")
        with emlreader.open(message.extract(2)) as inner:
            equal(inner.header("Subject"), "Inner")
        assert "Hello Zo\xeb".encode() in message.render()


def test_what_a_sink_raises_comes_out():
    def full(_):
        raise OverflowError("full")

    with emlreader.open(LETTER) as message:
        raises(OverflowError, message.extract, 1, full)
        equal(message.extract(1), b"\0\1\2\3")


def test_a_message_is_used_by_one_call_at_a_time():
    with emlreader.open(LETTER) as message:
        for use in (message.close, message.text, message.headers, lambda: message.extract(2),
                    lambda: message.sub_files[0], lambda: message.date, message.filter_text):
            raises(RuntimeError, message.extract, 1, lambda _: use())
        equal(message.extract(1), b"\0\1\2\3")


def test_markdown_is_that_of_the_command():
    with tempfile.TemporaryDirectory() as folder:
        command = pathlib.Path(folder, "eml")
        # Stands for the command: says how it was called, and what it was given.
        command.write_text(f"#!{sys.executable}\nimport sys\nprint(sys.argv[1:], len(sys.stdin.buffer.read()))\n"
                           "print('eml: -: warning: guessed', file=sys.stderr)\n"
                           "sys.exit(5 if '--body-only' in sys.argv else 0)\n")
        command.chmod(0o755)
        before = os.environ.get("EMLREADER_COMMAND")
        os.environ["EMLREADER_COMMAND"] = str(command)
        try:
            with emlreader.open(LETTER) as message, warnings.catch_warnings(record=True) as said:
                warnings.simplefilter("always")
                equal(message.as_markdown(), f"['render', '--to=markdown', '--force', '-'] {len(LETTER)}\n")
                equal([str(each.message) for each in said], ["eml: -: warning: guessed"])
                raises(RuntimeError, message.as_markdown, False)
                os.environ["EMLREADER_COMMAND"] = str(command) + "-missing"
                raises(FileNotFoundError, message.as_markdown)
                equal(message.header("Subject"), "Report")
        finally:
            os.environ.pop("EMLREADER_COMMAND")
            if before is not None:
                os.environ["EMLREADER_COMMAND"] = before


def test_closing_in_another_thread_waits():
    message = emlreader.open(LETTER)
    inside, closed = threading.Event(), []

    def sink(data):
        inside.set()
        closer.join(0.2)
        closed.append(closer.is_alive())

    closer = threading.Thread(target=lambda: (inside.wait(), message.close()))
    closer.start()
    message.extract(1, sink)
    closer.join()
    equal(closed, [True])
    raises(ValueError, message.extract, 1)


def test_an_input_may_give_more_than_it_is_asked_for():
    class Generous(io.BytesIO):
        def read(self, *_):
            return super().read()

    long = LETTER + b"x" * 100000
    with emlreader.open(Generous(long)) as message, emlreader.open(long) as other:
        equal(message.headers(), other.headers())
        equal([file.name for file in message.sub_files], [file.name for file in other.sub_files])
        equal(message.extract(1), other.extract(1))


def test_what_an_input_raises_comes_out():
    class Broken(io.BytesIO):
        def read(self, *_):
            raise OSError("broken")

    raises(OSError, emlreader.open, Broken(LETTER))


def test_failures_have_their_code():
    with emlreader.open(LETTER) as message:
        equal(raises(emlreader.Error, message.extract, 9).code, 20)
    raises(FileNotFoundError, emlreader.open, "/no/such/file.eml")
    raises(IsADirectoryError, emlreader.open, "/")
    with emlreader.open(ENCRYPTED) as message:
        equal(message.sub_files[0].is_encrypted, True)
        equal(str(raises(emlreader.Error, message.render)), "the message is encrypted")
        assert "Subject:" in message.text()
        equal(message.text(with_header=False), "")
    raises(ValueError, message.text)


def test_sources():
    with tempfile.TemporaryDirectory() as folder:
        path = pathlib.Path(folder, "letter.eml")
        path.write_bytes(LETTER)
        for source in (path, str(path), bytearray(LETTER), memoryview(LETTER), io.BytesIO(LETTER)):
            with emlreader.open(source) as message:
                equal((message.size, message.header("Subject")), (len(LETTER), "Report"))
        reader, writer = os.pipe()
        os.write(writer, LETTER)
        os.close(writer)
        with os.fdopen(reader, "rb") as pipe, emlreader.open(pipe) as message:
            equal(len(message.sub_files), 3)


def test_root_folder():
    with emlreader.open(LETTER, emlreader.OPEN_ROOT_FOLDER) as message:
        equal([file.kind for file in message.sub_files], ["folder", "message", "attachment", "attachment"])
        equal(message.header("Subject"), "Report")
        assert b"Report" in message.render()


def test_nothing_is_kept_of_what_was_handed_over():
    with emlreader.open(LETTER) as message:
        blocks = message._host.live_blocks()
        for _ in range(3):
            message.headers()
            message.headers("X-Room")
            message.text()
            message.filter_text()
            message.extract(0)
            for file in message.sub_files:
                file.extract()
        equal(message._host.live_blocks(), blocks)
    equal(message._host.live_blocks(), 0)


def test_every_message_of_the_tests():
    count = 0
    for path in sorted((ROOT / "tests/messages").glob("*.eml")):
        try:
            with emlreader.open(path) as message:
                for file in message.sub_files:
                    if file.kind == "attachment":
                        file.extract()
                message.headers()
                if message.size and not message.sub_files[0].is_encrypted:
                    message.render(rich=True)
                message.text()
        except emlreader.Error as error:
            assert error.code in (4, 6, 7, 8, 20), (path, error)
        count += 1
    assert count > 50


def main():
    passed = failed = 0
    for name, function in sorted(globals().items()):
        if not name.startswith("test_"):
            continue
        try:
            function()
            passed += 1
        except Exception:  # noqa: BLE001
            failed += 1
            print(f"FAILED: {name}")
            traceback.print_exc(file=sys.stdout)
    print(f"{passed} passed, {failed} failed")
    return int(failed != 0)


if __name__ == "__main__":
    sys.exit(main())
