"""What bench/compare writes: a table of what was wanted, and one for each work."""
import contenders
import results
from contenders import BASIS, FLOOR, PROGRAMS, WORKS


def work_table(run, work):
    size = results.size_of(work.path)
    single = work.large
    head = ["Contender", "runs", "time", "times emlreader's", "MB/s", "peak memory"]
    if single:
        head[2:2] = ["open", "extract" if work.task == "attachments" else "body"]
    ours = run.figure(work, "emlreader")
    rows = []
    for name in work.contenders:
        if run.figure(work, name) is None:
            continue
        seconds = run.figure(work, name)
        row = [name, len(run.samples[f"{work.key}/{name}"]), f"{seconds * 1e3:.1f} ms",
               f"{seconds / ours:.2f}" if ours else "", f"{size / seconds / 1e6:.0f}",
               f"{run.figure(work, name, 'resident') / 1024:.1f} MiB"]
        if single:
            opening, working = run.figure(work, name, "open"), run.figure(work, name, "work")
            row[2:2] = [f"{opening * 1e3:.1f} ms", f"{working * 1e3:.1f} ms"]
            if name in PROGRAMS:
                row[2:4] = ["", ""]
            if name == FLOOR:  # does not open, so the whole is nothing to compare
                row[2:7] = ["", row[3], "", "", f"{size / working / 1e6:.0f}"]
        if name in PROGRAMS:
            row[0] += " (whole process, writes files)"
        rows.append(row)
    what = f"{results.size_of(work.path) / 1e6:.1f} MB"
    lines = [f"### {work.title} ({what})", "", *results.table(head, rows), ""]
    for name in work.contenders:
        problem = run.problems.get(f"{work.key}/{name}")
        if problem:
            lines += [f"{name}: {problem}.", ""]
    return lines


def ratio(run, work, name, what):
    """How many times the time of emlreader the other takes."""
    ours, others = run.figure(work, "emlreader", what), run.figure(work, name, what)
    if not ours or not others or not run.valid(work, "emlreader") or not run.valid(work, name):
        return None
    return others / ours


def must_show(run):
    works = {work.key: work for work in WORKS}
    rows = []

    def add(title, wanted, value, unit="x", smaller=False):
        if value is None:
            rows.append([title, wanted, "not measured", ""])
            return
        met = value <= float(wanted.split()[-2]) if smaller else value >= float(wanted.split()[0])
        rows.append([title, wanted, f"{value:.2f} {unit}", "met" if met else "MISSED"])

    def against_gmime(title, key, wanted, what):
        add(title, f"{wanted} x GMime", ratio(run, works[key], BASIS, what), "x")

    against_gmime("typical mails, open + list + metadata", "typical-open", 3.5, "seconds")
    against_gmime("typical mails, all attachments extracted", "typical-all", 3.5, "seconds")
    for key, title, wanted in (("base64", "base64 extract", 4), ("qp", "quoted-printable extract", 2.5),
                               ("8bit", "8-bit attachment copied out", 5)):
        against_gmime(f"{title}: extraction alone", key, wanted, "work")
        against_gmime(f"{title}: with the opening", key, wanted, "seconds")
    floor = ratio(run, works["base64"], FLOOR, "work")
    add("base64 extract, times the floor", "at most 1.5 x", 1 / floor if floor else None, "x", True)
    for key, title in (("text-8bit", "plain"), ("text-qp", "quoted-printable"), ("text-base64", "base64")):
        work = works[key]
        name = f"filter's stream of the 100 MB {title} body against GMime's decode"
        against_gmime(f"{name}: stream against decode", key, 1, "work")
        against_gmime(f"{name}: both with their opening", key, 1, "seconds")
    against_gmime("20,000 small parts, open + list", "parts-open", 10, "seconds")
    peaks = [run.figure(works[key], "emlreader", "resident") for key in ("base64", "qp", "8bit")]
    worst = max(peaks) / 1e6 * 1024 if all(peaks) else None
    add("peak memory of the process, 100 MB attachments", "at most 4 MB", worst, "MB", True)
    return results.table(["Work, through the stand-alone file host", "wanted", "measured", ""], rows)


def report(run, rounds, scale):
    lines = ["## Against other libraries", "",
             *(line for line in results.machine()),
             f"- {contenders.versions()}",
             f"- medians of {rounds} interleaved rounds (slow contenders: fewer, see \"runs\"), "
             "CPU time with that of the system; MB = 10^6 bytes as they stand in the message", ""]
    if scale != 1:
        lines += [f"**On messages of 1/{scale} of the size that the titles say.**", ""]
    lines += ["### What was wanted", "", *must_show(run), ""]
    for work in WORKS:
        lines += work_table(run, work)
    return lines
