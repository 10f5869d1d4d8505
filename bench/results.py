"""What bench/compare, bench/growth and bench/instructions share: building, messages, the results page."""
import argparse
import os
import pathlib
import platform
import re
import statistics
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = pathlib.Path(os.environ.get("BUILD", ROOT / "build" / "bench"))
PROGRAMS = BUILD / "bench"
PEERS = PROGRAMS / "peers"
PAGE = ROOT / "bench" / "RESULTS.md"

median = statistics.median


def say(text):
    print(text, file=sys.stderr, flush=True)


def arguments(description):
    """A parser with the options that all commands share."""
    parser = argparse.ArgumentParser(description=description,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--no-build", action="store_true", help="with what was built before")
    parser.add_argument("--data", help="folder for messages, 1 GB; default: one in $TMPDIR, which stays")
    return parser


def build(*targets):
    """Builds in the folder of the preset "bench", or in $BUILD."""
    say(f"Building in {BUILD}")
    configure = ["cmake", "--preset", "bench", "-B", str(BUILD), "-DEMLREADER_BENCH_PEERS=ON"]
    subprocess.run(configure, cwd=ROOT, check=True, stdout=subprocess.DEVNULL)
    for target in targets:
        command = ["cmake", "--build", str(BUILD), "--parallel", "2", "--target", target]
        subprocess.run(command, cwd=ROOT, check=True, stdout=subprocess.DEVNULL)


def data_folder(given):
    """Where messages are kept between runs."""
    folder = pathlib.Path(given or os.path.join(tempfile.gettempdir(), f"emlreader-bench-{os.getuid()}"))
    folder.mkdir(parents=True, exist_ok=True)
    return folder


def generate(kind, size, path, seed=1):
    """Writes a message (or a mailbox) unless an earlier run has left it."""
    if path.exists():
        return path
    half = path.with_name(path.name + ".part")
    subprocess.run(["rm", "-rf", str(half)], check=True)
    generator = PROGRAMS / "emlreader_generate"
    subprocess.run([str(generator), kind, str(size), str(half), str(seed)], check=True)
    half.rename(path)
    return path


def size_of(path):
    if path.is_dir():
        return sum(file.stat().st_size for file in path.iterdir())
    return path.stat().st_size


def measure(command, limit):
    """Runs a driver. Returns what it prints, as numbers, or a text that says why there is nothing."""
    try:
        done = subprocess.run([str(word) for word in command], capture_output=True, text=True, timeout=limit,
                              check=False)
    except subprocess.TimeoutExpired:
        return f"no result after {limit} s"
    except OSError as error:
        return str(error)
    if done.returncode != 0:
        errors = done.stderr.strip().splitlines()
        return errors[-1] if errors else f"exit status {done.returncode}"
    words = (word.split("=") for word in done.stdout.split())
    return {key: float(value) if "." in value else int(value) for key, value in words}


def first_line(*command):
    try:
        done = subprocess.run(command, capture_output=True, text=True, check=False)
    except OSError:
        return ""
    return (done.stdout.splitlines() or [""])[0]


def cached(name):
    """A value of CMake's cache."""
    found = re.search(rf"^{name}:\w+=(.*)$", (BUILD / "CMakeCache.txt").read_text(encoding="utf-8"), re.M)
    return found.group(1) if found else ""


def commit():
    name = first_line("git", "-C", str(ROOT), "rev-parse", "--short", "HEAD")
    changed = first_line("git", "-C", str(ROOT), "status", "--porcelain", "src", "standalone", "include")
    return name + (" and changes" if changed else "")


def machine():
    """Lines that say where the figures come from."""
    info = pathlib.Path("/proc/cpuinfo").read_text(encoding="utf-8")
    model = re.search(r"model name\s*: (.*)", info)
    cpu = model.group(1) if model else platform.processor()
    signature = re.search(r"cpu family\s*: (\d+)\nmodel\s*: (\d+)", info)
    if signature:
        cpu += f" (family {signature.group(1)}, model {signature.group(2)})"
    level = "AVX-512" if " avx512vbmi " in info else "AVX2" if " avx2 " in info else "no AVX2"
    memory = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / 2**30
    compiler = first_line(cached("CMAKE_CXX_COMPILER") or "c++", "--version")
    flags = f"{cached('CMAKE_CXX_FLAGS')} {cached('CMAKE_CXX_FLAGS_RELEASE')}".strip()
    load = os.getloadavg()[0]
    system = f"{platform.system()} {platform.release()}"
    return [f"- {cpu}, {os.cpu_count()} CPUs, {level}, {memory:.0f} GiB; {system}",
            f"- {compiler}; {cached('CMAKE_BUILD_TYPE')} ({flags}); commit {commit()}",
            f"- load of the machine when the figures were written: {load:.1f}"]


def table(head, rows):
    """A Markdown table; the first column is text, the others stand to the right."""
    lines = ["| " + " | ".join(head) + " |", "|---" + "|--:" * (len(head) - 1) + "|"]
    return lines + ["| " + " | ".join(str(cell) for cell in row) + " |" for row in rows]


def write_section(name, lines):
    """Puts a section into the results page, between its marks; the others stay unchanged."""
    begin, end = f"<!-- {name} -->", f"<!-- end of {name} -->"
    section = "\n".join([begin, *lines, end])
    page = PAGE.read_text(encoding="utf-8") if PAGE.exists() else "# Results\n"
    marked = re.compile(re.escape(begin) + ".*?" + re.escape(end), re.S)
    page = marked.sub(lambda _: section, page) if marked.search(page) else f"{page.rstrip()}\n\n{section}\n"
    PAGE.write_text(page, encoding="utf-8")
    say(f"Written: {PAGE}, section {name}")
