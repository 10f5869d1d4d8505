"""Compares what our reader finds in a message with what other readers find.

Pure functions over rows (readers.py makes them). A finding is one comparison of one item:

    kind      part, name, bytes, subject, address, date or body
    outcome   agree, ours (ours only), theirs (theirs only) or differ
    item      what known.tsv names it by: the beginning of a part's SHA-256, a file name, a field
"""
import collections
import csv
import re
import unicodedata

KINDS = ("part", "name", "bytes", "subject", "address", "date", "body")
OUTCOMES = ("agree", "ours", "theirs", "differ")
ADDRESS_FIELDS = ("from", "to", "cc")
BODIES = ("text", "html")
FAILING = ("part", "name", "bytes")  # the kinds that must not be lost

Finding = collections.namedtuple("Finding", "message peer kind outcome item ours theirs note")


def same_text(text):
    """The text by which two readers are compared: composed, each run of blanks one blank."""
    if text is None:
        return None
    return re.sub(r"\s+", " ", unicodedata.normalize("NFC", text)).strip() or None


def outcome_of(ours, theirs):
    if ours == theirs:
        return "agree" if ours is not None else None
    if theirs is None:
        return "ours"
    return "theirs" if ours is None else "differ"


def show(part):
    name = f" {part['name']!r}" if part["name"] else ""
    return f"{part['path']} {part['type']}{name} {part['size']} bytes {part['sha'][:12]}"


# --- Parts ----------------------------------------------------------------------------------------------------

# How two parts may be found to be the same one, the surest first.
SAME = (lambda a, b: a["sha"] == b["sha"] and a["name"] == b["name"] and a["path"] == b["path"],
        lambda a, b: a["sha"] == b["sha"] and a["name"] == b["name"],
        lambda a, b: a["name"] is not None and a["name"] == b["name"] and a["type"] == b["type"],
        lambda a, b: a["size"] and a["sha"] == b["sha"],
        lambda a, b: a["plain"] == b["plain"] and a["name"] == b["name"] and a["type"] == b["type"],
        lambda a, b: a["size"] and a["plain"] == b["plain"],
        lambda a, b: a["name"] is not None and a["name"] == b["name"],
        lambda a, b: a["path"] == b["path"] and a["type"] == b["type"],
        lambda a, b: a["type"] == b["type"] and a["name"] == b["name"])


def pair_parts(ours, theirs):
    """[(our part or None, their part or None)]: each part once."""
    ours, theirs = list(ours), list(theirs)
    pairs = []
    for same in SAME:
        left = []
        for part in theirs:
            match = next((index for index, own in enumerate(ours) if same(own, part)), None)
            if match is None:
                left.append(part)
            else:
                pairs.append((ours.pop(match), part))
        theirs = left
    return pairs + [(None, part) for part in theirs] + [(part, None) for part in ours]


def is_something(part):
    return part["size"] > 0 or part["name"] is not None


def compare_parts(ours, theirs, attachments_only):
    """Yields (kind, outcome, item, ours, theirs, note). A peer that gives attachments only is not asked for the
    bodies and for the messages that hold them."""
    for own, part in pair_parts(ours["parts"], [part for part in theirs["parts"] if is_something(part)]):
        if part is None:
            if is_something(own) and not own.get("container") and not (attachments_only and own.get("body")):
                yield "part", "ours", own["sha"][:12], show(own), None, ""
            continue
        if own is None:
            yield "part", "theirs", part["sha"][:12], None, show(part), ""
            continue
        yield "part", "agree", part["sha"][:12], show(own), show(part), ""
        if own["sha"] == part["sha"]:
            yield "bytes", "agree", part["sha"][:12], show(own), show(part), ""
        elif own["plain"] == part["plain"]:
            yield "bytes", "agree", part["sha"][:12], show(own), show(part), "line ends"
        else:
            yield "bytes", "differ", part["sha"][:12], show(own), show(part), ""
        outcome = outcome_of(same_text(own["name"]), same_text(part["name"]))
        if outcome:
            yield "name", outcome, part["name"] or own["name"], own["name"], part["name"], show(part)


# --- Fields and bodies ----------------------------------------------------------------------------------------


def mailboxes(row, field):
    found = [(same_text(name), same_text(address)) for name, address in row[field]]
    return [entry for entry in found if entry != (None, None)] or None


def compare_dates(ours, theirs):
    """A zone counts where both give one."""
    if ours is None or theirs is None:
        return outcome_of(ours, theirs)
    zones = None not in (ours[1], theirs[1]) and ours[1] != theirs[1]
    return "differ" if ours[0] != theirs[0] or zones else "agree"


def compare_fields(ours, theirs):
    yield "subject", outcome_of(same_text(ours["subject"]), same_text(theirs["subject"])), "subject", \
        ours["subject"], theirs["subject"], ""
    for field in ADDRESS_FIELDS:
        own, other = mailboxes(ours, field), mailboxes(theirs, field)
        yield "address", outcome_of(own, other), field, own, other, ""
    yield "date", compare_dates(ours["date"], theirs["date"]), "date", ours["date"], theirs["date"], ""
    for body in BODIES:
        own, other = ours[body], theirs[body]
        yield "body", outcome_of(own and own["sha"], other and other["sha"]), body, \
            own and own["head"], other and other["head"], ""


def compare(message, ours, rows, attachments_only=()):
    """All findings of one message. `rows` is {peer: row}; one with an error has nothing to compare."""
    findings = []
    for peer, row in rows.items():
        if "error" in row or "error" in ours:
            continue
        for finding in (*compare_parts(ours, row, peer in attachments_only), *compare_fields(ours, row)):
            if finding[1] is not None:
                findings.append(Finding(message, peer, *finding))
    return findings


# --- Judgement ------------------------------------------------------------------------------------------------


def backed_by(finding, findings):
    """Another peer that agrees with us on the item where this one differs."""
    for other in findings:
        if other.kind == finding.kind and other.outcome == "agree" and other.peer != finding.peer \
                and other.ours == finding.ours and finding.kind != "part":
            return other.peer
    return None


def is_failure(finding, findings):
    """What a peer gives and we do not: lost. A part or a name that differs is lost, too, unless another peer gives
    it as we do."""
    if finding.kind not in FAILING or finding.outcome not in ("theirs", "differ"):
        return False
    return finding.outcome == "theirs" or backed_by(finding, findings) is None


def value_of(finding):
    """What the peer says, so that peers can be compared with each other."""
    if finding.kind in ("part", "bytes"):
        return finding.item
    if finding.kind == "date":
        return finding.theirs and finding.theirs[0]
    return repr(same_text(finding.theirs) if isinstance(finding.theirs, str) else finding.theirs)


def consensus_against_us(findings):
    """Findings in which two or more peers say the same, none says another thing and none agrees with us."""
    found = []
    groups = collections.defaultdict(list)
    for finding in findings:
        key = finding.ours if finding.kind in ("name", "bytes") else finding.item
        groups[finding.kind, key].append(finding)
    for group in groups.values():
        against = [finding for finding in group if finding.outcome in ("theirs", "differ")]
        if len(against) < 2 or any(finding.outcome == "agree" for finding in group):
            continue
        if len({value_of(finding) for finding in against}) == 1:
            found.append(against)
    return found


# --- What is known --------------------------------------------------------------------------------------------

Known = collections.namedtuple("Known", "message peers kind item heading line")


def read_known(path):
    rows = []
    with open(path, encoding="utf-8", newline="") as file:
        for number, row in enumerate(csv.reader(file, delimiter="\t", quoting=csv.QUOTE_NONE), 1):
            if not row or row[0].startswith("#"):
                continue
            if len(row) != 5:
                raise ValueError(f"{path}:{number}: five columns are wanted")
            message, peers, kind, item, heading = row
            rows.append(Known(message, peers.split(","), kind, item, heading, number))
    return rows


def spelled(text):
    """An item as known.tsv writes it: without tabs, line ends and other control characters."""
    return re.sub(r"[\x00-\x1f\x7f]", "?", str(text))


def known_for(finding, known):
    for row in known:
        if row.message == finding.message and row.kind == finding.kind and row.item == spelled(finding.item) \
                and ("all" in row.peers or finding.peer in row.peers):
            return row
    return None


def headings_of(text):
    return {line.lstrip("#").strip() for line in text.splitlines() if line.startswith("#")}


# --- Table ----------------------------------------------------------------------------------------------------


def table(findings, peers):
    """Lines of a table: peer x kind, each cell "agree / ours only / theirs only / differ"."""
    counts = collections.Counter((finding.peer, finding.kind, finding.outcome) for finding in findings)
    lines = ["| Peer | Parts | Names | Bytes | Subjects | Addresses | Dates | Bodies |", "|---" * 8 + "|"]
    for peer in peers:
        cells = [" / ".join(str(counts[peer, kind, outcome]) for outcome in OUTCOMES) for kind in KINDS]
        lines.append(f"| {peer} | " + " | ".join(cells) + " |")
    return lines
