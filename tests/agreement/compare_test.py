#!/usr/bin/env python3
"""Tests of the comparison itself: that it finds what differs, and nothing else. Needs no peer."""
import base64
import contextlib
import io
import json
import pathlib
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
HERE = pathlib.Path(__file__).resolve().parent
sys.path.append(str(HERE))
import agreement  # noqa: E402
import compare  # noqa: E402
import readers  # noqa: E402


def part(data=b"data", name="a.pdf", path="2", kind="application/pdf", **more):
    return readers.part_row({"path": path, "type": kind, "name": name, "data": base64.b64encode(data).decode(), **more})


def row(*parts, **more):
    return {"parts": list(parts), "subject": "odd", "from": [["Anna", "a@example.org"]], "to": [], "cc": [],
            "date": [1000, 60], "text": readers.body_row("Hello"), "html": None, **more}


def found(ours, **peers):
    """{(peer, kind, item): outcome} of what does not agree."""
    findings = compare.compare("m", ours, peers, attachments_only=("attachments",))
    return {(finding.peer, finding.kind, finding.item): finding.outcome
            for finding in findings if finding.outcome != "agree"}


def lost(ours, **peers):
    findings = compare.compare("m", ours, peers)
    return [(finding.peer, finding.kind) for finding in findings if compare.is_failure(finding, findings)]


class Comparing(unittest.TestCase):
    def test_equal_rows_agree_in_everything(self):
        self.assertEqual(found(row(part()), a=row(part())), {})

    def test_an_agreement_is_counted_once_for_each_kind(self):
        findings = compare.compare("m", row(part()), {"a": row(part())})
        self.assertEqual([finding.kind for finding in findings],
                         ["part", "bytes", "name", "subject", "address", "date", "body"])

    def test_a_part_that_only_the_peer_gives_is_lost(self):
        self.assertEqual(lost(row(), a=row(part())), [("a", "part")])

    def test_a_part_that_only_we_give_is_no_failure(self):
        self.assertEqual(lost(row(part()), a=row()), [])
        self.assertEqual(list(found(row(part()), a=row()).values()), ["ours"])

    def test_the_second_of_two_equal_parts_is_lost_too(self):
        self.assertEqual(lost(row(part()), a=row(part(), part())), [("a", "part")])

    def test_other_bytes_under_the_same_name_differ(self):
        self.assertEqual(lost(row(part(b"one")), a=row(part(b"two"))), [("a", "bytes")])

    def test_other_bytes_that_another_peer_confirms_are_not_lost(self):
        self.assertEqual(lost(row(part(b"one")), a=row(part(b"two")), b=row(part(b"one"))), [])

    def test_line_ends_do_not_count_as_a_difference(self):
        findings = compare.compare("m", row(part(b"a\r\nb\r\n")), {"a": row(part(b"a\nb"))})
        self.assertEqual([(finding.outcome, finding.note) for finding in findings if finding.kind == "bytes"],
                         [("agree", "line ends")])

    def test_parts_are_paired_by_name_and_type_before_they_are_paired_by_bytes(self):
        ours = row(part(b"Hello", name=None, path="1", kind="text/plain"), part(b"Hello, world"))
        self.assertEqual(found(ours, attachments=row(part(b"Hello"))),
                         {("attachments", "bytes", part(b"Hello")["sha"][:12]): "differ",
                          ("attachments", "part", part(b"Hello")["sha"][:12]): "ours"})

    def test_parts_of_other_names_are_paired_by_bytes(self):
        ours = row(part(b"one", name="x"), part(b"two", name="y"))
        self.assertEqual(found(ours, a=row(part(b"two", name="v"), part(b"one", name="w"))),
                         {("a", "name", "v"): "differ", ("a", "name", "w"): "differ"})

    def test_a_name_that_only_the_peer_gives_is_lost(self):
        self.assertEqual(lost(row(part(name=None)), a=row(part())), [("a", "name")])

    def test_a_name_that_only_the_peer_gives_is_lost_though_another_peer_has_none(self):
        self.assertEqual(lost(row(part(name=None)), a=row(part()), b=row(part(name=None))), [("a", "name")])

    def test_another_name_is_lost_unless_a_peer_gives_ours(self):
        self.assertEqual(lost(row(part(name="x")), a=row(part(name="y"))), [("a", "name")])
        self.assertEqual(lost(row(part(name="x")), a=row(part(name="y")), b=row(part(name="x"))), [])

    def test_an_empty_part_without_a_name_is_nothing(self):
        self.assertEqual(found(row(), a=row(part(b"", name=None))), {})

    def test_peers_that_give_attachments_are_not_asked_for_bodies(self):
        ours = row(part(b"Hello", name=None, kind="text/plain", body=True))
        self.assertEqual(found(ours, attachments=row()), {})
        self.assertEqual(list(found(ours, a=row()).values()), ["ours"])

    def test_subjects_are_compared_by_their_words(self):
        self.assertEqual(found(row(subject="a \t b"), a=row(subject="a b")), {})
        self.assertEqual(found(row(subject="a"), a=row(subject="b")), {("a", "subject", "subject"): "differ"})
        self.assertEqual(found(row(subject=None), a=row()), {("a", "subject", "subject"): "theirs"})

    def test_addresses_are_compared_one_by_one(self):
        self.assertEqual(found(row(), a=row(**{"from": [["Anna", "b@example.org"]]})),
                         {("a", "address", "from"): "differ"})
        self.assertEqual(found(row(), a=row(to=[["Zoe", None]])), {("a", "address", "to"): "theirs"})
        self.assertEqual(found(row(), a=row(to=[[None, None]])), {})

    def test_a_zone_counts_where_both_give_one(self):
        self.assertEqual(found(row(), a=row(date=[1000, None])), {})
        self.assertEqual(found(row(), a=row(date=[1000, 0])), {("a", "date", "date"): "differ"})
        self.assertEqual(found(row(), a=row(date=[1001, None])), {("a", "date", "date"): "differ"})
        self.assertEqual(found(row(date=None), a=row()), {("a", "date", "date"): "theirs"})

    def test_bodies_are_compared_without_blanks_at_line_ends(self):
        self.assertEqual(found(row(), a=row(text=readers.body_row("Hello  \r\n\r\n"))), {})
        self.assertEqual(found(row(), a=row(text=readers.body_row("Hallo"))), {("a", "body", "text"): "differ"})

    def test_a_peer_that_failed_has_nothing_to_compare(self):
        self.assertEqual(found(row(part()), a={"error": "no answer"}), {})


class Consensus(unittest.TestCase):
    def against(self, ours, **peers):
        findings = compare.compare("m", ours, peers)
        return [[finding.peer for finding in group] for group in compare.consensus_against_us(findings)]

    def test_two_peers_that_say_the_same(self):
        self.assertEqual(self.against(row(), a=row(subject="x"), b=row(subject="x")), [["a", "b"]])

    def test_one_peer_is_none(self):
        self.assertEqual(self.against(row(), a=row(subject="x")), [])

    def test_peers_that_contradict_each_other_are_none(self):
        self.assertEqual(self.against(row(), a=row(subject="x"), b=row(subject="y")), [])

    def test_a_peer_that_agrees_with_us_breaks_it(self):
        self.assertEqual(self.against(row(), a=row(subject="x"), b=row(subject="x"), c=row()), [])

    def test_parts_that_two_peers_give(self):
        self.assertEqual(self.against(row(), a=row(part()), b=row(part())), [["a", "b"]])


class KnownRows(unittest.TestCase):
    def known(self, text):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "known.tsv"
            path.write_text(text, encoding="utf-8")
            return compare.read_known(path)

    def judge(self, text, ours, **peers):
        judge = agreement.Judge(self.known(text))
        judge.take("m", compare.compare("m", ours, peers))
        return judge

    def test_a_row_explains_its_finding_and_no_other(self):
        text = f"m\ta\tpart\t{part()['sha'][:12]}\tA heading\n"
        self.assertEqual(self.judge(text, row(), a=row(part())).lost, {})
        self.assertEqual(list(self.judge(text, row(), b=row(part())).lost), ["m"])
        self.assertEqual(list(self.judge(text, row(), a=row(part(b"more"))).lost), ["m"])
        self.assertEqual(self.judge(text.replace("\ta\t", "\tall\t"), row(), b=row(part())).lost, {})

    def test_a_row_that_explains_nothing_is_a_complaint(self):
        judge = self.judge("m\ta\tname\tx\tA heading\n", row(part()), a=row(part()))
        complaints = list(agreement.complaints_about_known(judge, {"m": None}, {"a": None}))
        self.assertTrue(any("nothing to explain" in complaint for complaint in complaints))
        self.assertTrue(any("no heading 'A heading'" in complaint for complaint in complaints))

    def test_a_row_of_a_message_that_was_not_read_is_left_alone(self):
        judge = self.judge("other\ta\tname\tx\tA heading\n", row(part()), a=row(part()))
        complaints = list(agreement.complaints_about_known(judge, {"m": None}, {"a": None}))
        self.assertFalse(any("nothing to explain" in complaint for complaint in complaints))

    def test_five_columns_are_wanted(self):
        with self.assertRaises(ValueError):
            self.known("m\ta\tpart\n")

    def test_control_characters_of_a_name(self):
        text = "m\ta\tname\ta?b\tA heading\n"
        self.assertEqual(self.judge(text, row(part(name=None)), a=row(part(name="a\tb"))).lost, {})


class Running(unittest.TestCase):
    """Readers of our own that answer, crash, hang and babble."""

    def read(self, program, names=("one", "two", "three"), cache=None):
        with tempfile.TemporaryDirectory() as folder:
            messages = {}
            for name in names:
                messages[name] = pathlib.Path(folder) / name
                messages[name].write_text(name, encoding="utf-8")
            return readers.read_all([sys.executable, "-c", program], messages, cache, timeout=2.0)

    GOOD = 'print(\'{"parts": [], "subject": "%s"}\' % line.strip().split("/")[-1], flush=True)'

    def test_each_message_gets_its_answer(self):
        rows = self.read(f"import sys\nfor line in sys.stdin: {self.GOOD}")
        self.assertEqual([rows[name]["subject"] for name in rows], ["one", "two", "three"])

    def test_a_crash_is_a_row_and_the_next_message_is_read(self):
        rows = self.read(f"import sys\nfor line in sys.stdin:\n if 'two' in line: sys.exit(3)\n {self.GOOD}")
        self.assertEqual(rows["two"], {"error": "the reader ended with 3"})
        self.assertEqual(rows["three"]["subject"], "three")

    def test_a_timeout_is_a_row_and_the_next_message_is_read(self):
        rows = self.read(f"import sys, time\nfor line in sys.stdin:\n if 'two' in line: time.sleep(60)\n {self.GOOD}")
        self.assertIn("no answer", rows["two"]["error"])
        self.assertEqual(rows["three"]["subject"], "three")

    def test_an_answer_that_is_no_json_is_a_row(self):
        rows = self.read("import sys\nfor line in sys.stdin: print('{', flush=True)", ("one",))
        self.assertIn("not the line", rows["one"]["error"])

    def test_a_message_in_the_cache_is_not_read_again(self):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "cache.json"
            self.read(f"import sys\nfor line in sys.stdin: {self.GOOD}", ("one",), readers.Cache(path, "1"))
            again = self.read("raise SystemExit(9)", ("one",), readers.Cache(path, "1"))
            self.assertEqual(again["one"]["subject"], "one")
            newer = self.read("raise SystemExit(9)", ("one",), readers.Cache(path, "2"))
            self.assertIn("error", newer["one"])
            self.assertEqual(json.loads(path.read_text(encoding="utf-8"))["version"], "2")


class StandIn(unittest.TestCase):
    """Python's email as our reader, against one that knows less."""

    def test_python_finds_parts_names_and_fields(self):
        name = "agreement/messages/name_rfc2231.eml"
        rows = agreement.read_ours("python", {name: HERE / "messages" / "name_rfc2231.eml"})
        self.assertEqual([entry["name"] for entry in rows[name]["parts"]], [None, "na\u00efve file.pdf"])
        less = json.loads(json.dumps(rows[name]))
        less["parts"][1]["name"] = None
        self.assertEqual(lost(less, a=rows[name]), [("a", "name")])
        del less["parts"][1]
        self.assertEqual(lost(less, a=rows[name]), [("a", "part")])

    def test_every_message_of_the_index_is_there_and_no_other(self):
        lines = (HERE / "messages" / "INDEX.tsv").read_text(encoding="utf-8").splitlines()[1:]
        listed = [line.split("\t")[0] for line in lines]
        self.assertEqual(sorted(listed), sorted(path.name for path in (HERE / "messages").glob("*.eml")))


def main():
    said = io.StringIO()
    with contextlib.redirect_stderr(said):
        done = unittest.main(exit=False, argv=sys.argv[:1]).result
    failed = len(done.failures) + len(done.errors)
    if failed:
        print(said.getvalue())
    print(f"{done.testsRun - failed} passed, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
