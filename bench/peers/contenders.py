"""Who takes part in bench/compare, in what, and how their packages are installed."""
import os
import pathlib
import shutil
import subprocess

import results
from results import BUILD, PEERS, say

HERE = pathlib.Path(__file__).resolve().parent

# The Debian package, what shows that it is installed, and the package whose version is reported.
PACKAGES = [("libgmime-3.0-dev", "/usr/include/gmime-3.0/gmime/gmime.h"),
            ("libetpan-dev", "/usr/include/libetpan/libetpan.h"),
            ("libmimetic-dev", "/usr/include/mimetic/mimetic.h"),
            ("libvmime-dev", "/usr/include/vmime/vmime.hpp"),
            ("ripmime", "/usr/bin/ripmime"),
            ("mpack", "/usr/bin/munpack"),
            ("maildir-utils", "/usr/bin/mu"),
            ("python3", "/usr/bin/python3")]

PYTHON = "Python email"
LIBRARIES = {  # name, command of the driver
    "emlreader": [PEERS / "driver_ours"],
    "emlreader (mapped)": [PEERS / "driver_ours_mapped"],
    "emlreader MIME": [PEERS / "driver_mime"],
    "emlreader MIME (mapped)": [PEERS / "driver_mime_mapped"],
    "GMime": [PEERS / "driver_gmime"],
    "GMime (mapped)": [PEERS / "driver_gmime_mapped"],
    "libetpan": [PEERS / "driver_etpan"],
    "mimetic": [PEERS / "driver_mimetic"],
    "VMime": [PEERS / "driver_vmime"],
    PYTHON: ["python3", HERE / "python_email.py"],
}
FILTER = ("emlreader", "emlreader (mapped)")  # these give texts as a stream of records
FLOOR = "floor (no library)"
RENDERED = "emlreader (rendered)"  # by the container reader
# Whole processes that write files: {file} is the message, {folder} where they write to.
PROGRAMS = {
    "eml extract": [BUILD / "tool" / "eml", "extract", "--output", "{folder}", "{file}"],
    "ripmime": ["ripmime", "-i", "{file}", "-d", "{folder}"],
    "munpack": ["munpack", "-q", "-f", "-C", "{folder}", "{file}"],
    "mu extract": ["mu", "extract", "--save-attachments", "--overwrite", "--target-dir={folder}", "{file}"],
}
BASIS = "GMime"  # the others are compared with it


class Work:
    """One row of contenders: what they do on what."""

    def __init__(self, key, title, task, kind, size, whole=False):
        self.key, self.title, self.task, self.kind, self.size = key, title, task, kind, size
        self.large = kind not in ("mailbox", "notes", "parts")
        self.contenders = dict(LIBRARIES)
        if key in ("typical-all", "parts-all"):
            del self.contenders[PYTHON]  # the slowest, and as slow in the rows without decoding
        if key in ("base64", "8bit"):
            self.contenders[FLOOR] = [PEERS / "driver_floor"]
        if task == "body":
            self.contenders[RENDERED] = [PEERS / "driver_ours_rendered"]
        if whole:
            self.contenders.update(PROGRAMS)
        self.path = None


WORKS = [
    Work("typical-open", "Typical mails: open, list, From/To/Subject/Date", "open", "mailbox", 5000),
    Work("typical-all", "Typical mails: the same, and all attachments decoded", "attachments", "mailbox",
         5000),
    Work("notes", "Mails of 2 KB: open, list, From/To/Subject/Date", "open", "notes", 5000),
    Work("base64", "One attachment of 100 MB in base64", "attachments", "base64", 100_000_000, True),
    Work("qp", "One attachment of 100 MB in quoted-printable", "attachments", "qp", 100_000_000, True),
    Work("8bit", "One attachment of 100 MB, 8-bit", "attachments", "8bit", 100_000_000, True),
    Work("parts-open", "20,000 small parts: open, list", "open", "parts", 20000),
    Work("parts-all", "20,000 small parts: the same, and all decoded", "attachments", "parts", 20000, True),
    Work("text-base64", "A text of 100 MB in base64", "body", "text-base64", 100_000_000),
    Work("text-qp", "A text of 100 MB in quoted-printable", "body", "text-qp", 100_000_000),
    Work("text-8bit", "A text of 100 MB, 8-bit", "body", "text-8bit", 100_000_000),
]


def install():
    """Returns the packages that are installed in the end."""
    missing = [package for package, probe in PACKAGES if not os.path.exists(probe)]
    if missing and shutil.which("apt-get"):
        root = [] if os.getuid() == 0 else ["sudo", "-n"]
        say("Updating the list of packages")
        quiet = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL, "check": False}
        environment = dict(os.environ, DEBIAN_FRONTEND="noninteractive")
        subprocess.run([*root, "apt-get", "-q", "update"], env=environment, **quiet)
        for package in missing:
            say(f"Installing {package}")
            command = ["apt-get", "-q", "-o", "DPkg::Lock::Timeout=120", "install", "-y"]
            command = [*root, *command, "--no-install-recommends", package]
            subprocess.run(command, env=environment, **quiet)
    for package, probe in PACKAGES:
        if not os.path.exists(probe):
            say(f"Going on without {package}: it is not to be had here")


def versions():
    told = []
    for package, probe in PACKAGES:
        version = results.first_line("dpkg-query", "-W", "-f", "${Version}", package)
        told.append(f"{package} {version}" if os.path.exists(probe) else f"{package}: not installed")
    return "; ".join(told)


def command_for(work, name, folder, check):
    """The command that runs the contender; None when it is not installed."""
    words = work.contenders[name]
    if shutil.which(str(words[0])) is None:
        return None
    option = ["--check"] if check else []
    if name in PROGRAMS:
        filled = [str(word).format(file=work.path, folder=folder) for word in words]
        return [PEERS / "emlreader_whole", *option, folder, *filled]
    return [*words, *option, work.task, work.path]


def agreement(work, name, found, basis):
    """How a contender's findings differ from those of the basis; empty when they do not."""
    same_text = found.get("textbytes") == basis.get("textbytes") and \
        found.get("text", basis.get("text")) == basis.get("text")
    if name not in PROGRAMS and name != FLOOR and work.task != "body":
        for key in ("messages", "senders", "recipients", "dates", "attachments", "names"):
            if found[key] != basis[key]:
                return f"{key}: {found[key]} instead of {basis[key]}"
        # A library that does not decode encoded words still has a subject.
        if found["subjects"] == 0:
            return "no subjects"
    if found["attachments"] != basis["attachments"]:
        return f"{found['attachments']} attachments instead of {basis['attachments']}"
    if work.task == "open":
        return ""
    if work.task == "body" and name in FILTER:
        # The filter drops or adds single bytes where its reads end: kept behaviour.
        near = abs(found["textbytes"] - basis["textbytes"]) * 1000 <= basis["textbytes"]
        return "" if near else f"another text ({found['textbytes']} bytes instead of {basis['textbytes']})"
    if found.get("exact") == basis.get("exact") or same_text:
        return ""
    return f"decodes to something else ({found['bytes']} bytes instead of {basis['bytes']})"
