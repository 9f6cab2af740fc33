# SPDX-License-Identifier: MIT
"""The instructions of programs, and the inputs they are counted with: what run and growth share."""
import os
import pathlib
import re
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent.parent
BIN = ROOT / "build/release/bin"
ROWS = 25_000
PORTS = 250  # of the results file, four registers each
LINE = "Received frames on port 1, all sizes, good and bad frames, since the start .... 123456789 frames"[:93]


def results_file(registers=4 * PORTS):
    """So many registers, in applications of at most 50,000."""
    lines = ["okra 1"]
    for i in range(registers // 4):
        if i % 12_500 == 0:
            lines.append(f"app ports{i // 12_500 or ''} start=1700000000 stop=1700003600")
        lines += [f'reg sel state{i} value={i % 2} labels="down|up"', f"reg u32 frames{i} value={i * 7919} min=0 max=9999999",
                  f"reg u64 bytes{i} value={i * 104729 * 1000}", f"reg f64 jitter{i} value={i * 0.173:.6f}"]
    return "\n".join(lines) + "\n"


def rows_template(rows):
    """Rows of four values, `rows` a multiple of PORTS or below it."""
    values = "".join(f"<value link=ports@{name}${{i}}></value>\n" for name in ("state", "frames", "bytes", "jitter"))
    ports = min(rows, PORTS)
    return (f"<report>\n<iterate from=1, to={rows // ports}>\n<iterate var=i, from=0, to={ports - 1}>\n"
            f"<row cstyle='%-16s %10u %12llu %10.3f'>\n{values}</row>\n</iterate>\n</iterate>\n</report>\n")


def lines_template(lines):
    return (f"<report>\n<iterate from=1, to={lines}>\n<row cstyle='%s'>\n<value>{LINE}</value>\n</row>\n"
            f"</iterate>\n</report>\n")


class Work:
    """The inputs of all figures, in a folder of their own."""

    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        self.write("in.res", results_file())

    def write(self, name, text):
        path = self.folder / name
        path.write_text(text, encoding="utf-8")
        return path

    def report(self, template, out):
        return [BIN / "vorn-report", self.folder / "in.res", template, self.folder / out]

    def rows(self, rows):
        return self.report(self.write(f"rows{rows}.tpl", rows_template(rows)), f"rows{rows}.txt")

    def lines(self, lines):
        return self.report(self.write(f"lines{lines}.tpl", lines_template(lines)), f"lines{lines}.pdf")

    def rows_by_hand(self, kind, rows):
        return [BIN / "rows_by_hand", kind, self.folder / "in.res", str(rows), self.folder / f"{kind}{rows}.txt"]

    def lines_by_hand(self, lines):
        return [BIN / "lines_by_hand", LINE, str(lines), self.folder / f"by_hand{lines}.pdf"]


def count(command, profile="/dev/null"):
    """The instructions of a command as callgrind counts them."""
    done = subprocess.run(["valgrind", "--tool=callgrind", f"--callgrind-out-file={profile}", *command],
                          capture_output=True, text=True, check=False, env={**os.environ, "LC_ALL": "C"})
    collected = re.search(r"Collected : (\d+)", done.stderr)
    if done.returncode != 0 or not collected:
        sys.exit(f"{' '.join(map(str, command))} failed:\n{done.stderr}")
    return int(collected.group(1))


def build(*targets):
    subprocess.run([ROOT / "scripts/setup.sh", "valgrind"], check=True)
    subprocess.run(["cmake", "--preset", "release"], cwd=ROOT, stdout=subprocess.DEVNULL, check=True)
    subprocess.run(["cmake", "--build", "--preset", "release", "--target", *targets], cwd=ROOT,
                   stdout=subprocess.DEVNULL, check=True)
