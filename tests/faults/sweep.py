#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Fails each call of the system in turn, in vorn-report and in the service, and looks at what that leaves.
    tests/faults/sweep.py BUILD_FOLDER [SCENARIO]
Each run is to end by itself: with all that is asked for, exactly, or with a message and without it. No older
file is lost, and none that was reported as saved. No part of a file stays where it could be removed."""
import concurrent.futures
import errno
import glob
import os
import pathlib
import re
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time

import power_cut

KINDS = "open read write fsync rename unlink mkdir stat lock socket malloc thread".split()
FAULTS = [  # kind, the error, or 0 for a short write
    ("open", errno.EMFILE), ("open", errno.EIO), ("read", errno.EIO), ("read", errno.EINTR), ("write", errno.ENOSPC),
    ("write", errno.EINTR), ("write", 0), ("fsync", errno.EIO), ("rename", errno.EIO), ("unlink", errno.EIO),
    ("mkdir", errno.ENOSPC), ("stat", errno.EIO), ("lock", errno.EIO), ("lock", errno.EINTR),
    ("socket", errno.EMFILE), ("malloc", errno.ENOMEM), ("thread", errno.EAGAIN)]
ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(sys.argv[1]).resolve()
BIN = BUILD / "bin"
STATE = "okra 1\napp tx start=1700000000\nreg u32 frames value=7\n"
TEMPLATE = "<report>\n<row cstyle='%u'><value link=tx@frames></value></row>\n</report>\n"
SILENT = "something is missing, and nothing is said of it"
REPORT = b"\xef\xbb\xbf7\r\n"


def parts(folder):
    return glob.glob(f"{folder}/**/.*.part", recursive=True)


def environment(folder, fault, **more):
    env = dict(os.environ, LD_PRELOAD=str(BUILD / "faults/faults.so"), **more)
    if fault:
        env["FAULTS_FAIL"] = f"{KINDS.index(fault[0])}:{fault[1]}:{fault[2]}"
    else:
        counts = folder / "counts"
        counts.write_bytes(bytes(8 * len(KINDS)))
        env |= {"FAULTS_COUNTS": str(counts), "FAULTS_RECORD": str(folder / "record")}
    return env


def replay(scenario, folder, initial, promises):
    """Looks at what power cuts of a run without faults may leave."""
    states, found = power_cut.check(folder, initial, promises)
    print(f"{scenario.name}: {states} states that a power cut may leave, {len(found)} findings")
    return found


def files(*folders):
    return {str(path): path.read_bytes() for folder in folders for path in folder.rglob("*") if path.is_file()}


class Tool:
    """vorn-report makes the example's report, where an earlier one stands."""
    every = {}

    def __init__(self, output):
        self.name, self.output, self.expected = f"vorn-report {output}", output, None

    def run(self, folder, fault):
        out, kept = folder / self.output, folder / self.output.replace(".", "_01.")
        out.write_text("earlier")
        initial = files(folder)
        command = [BIN / "vorn-report", "--dict-dir", ROOT / "examples/dicts", "--dict", "tester",
                   ROOT / "examples/tester.res", ROOT / "examples/tester.tpl", self.output]
        done = subprocess.run(command, cwd=folder, env=environment(folder, fault), capture_output=True, timeout=20)
        found = []
        made = out.read_bytes() if out.exists() else b""
        # What the C++ library needs before main is asked for where nothing can refuse it.
        before_main = fault and fault[0] == "malloc" and fault[1] < 16 and b"terminate called" in done.stderr
        if done.returncode < 0 and not before_main:
            found.append(f"ended by signal {-done.returncode}")
        elif done.returncode == 0 and self.expected is not None and made != self.expected:
            found.append("status 0 with another report")
        elif done.returncode != 0 and not done.stderr:
            found.append("failed without a message")
        elif done.returncode != 0 and made not in (b"", b"earlier"):
            found.append("failed and left a report")
        if b"earlier" not in (made, kept.read_bytes() if kept.exists() else b""):
            found.append("the earlier report is lost")
        if fault is None:
            self.expected = made
            found += replay(self, folder, initial, [])
        return found


class Service:
    """The service saves two applications twice, over older files, reports by itself and on request, and stops."""
    every = {"malloc": 7}
    name = "service"

    def run(self, folder, fault, patience=1):
        data, log = folder / "tarix/data", folder / "log"
        for path, text in {"etc/tarix/vorn.cfg": "autosave yes\nautoreport txt\nautoname refseq\nreference run\n",
                           "etc/tarix/vorn/a.subs": "subscribe tx:tx,ty:t.tpl\n", "tarix/data/templates/t.tpl": TEMPLATE,
                           "tarix/data/results/old.res": STATE, "tarix/data/reports/run00001.txt": "old",
                           "tarix/data/results/tx/run00002.res": STATE.replace("7", "6"),
                           "run/tarix/okra/apps/tx": STATE,
                           "run/tarix/okra/apps/ty": STATE.replace("tx", "ty")}.items():
            (folder / path).parent.mkdir(parents=True, exist_ok=True)
            (folder / path).write_text(text)
        initial = files(data)
        plain = dict(os.environ, VORN_ROOT=str(folder))
        sim = lambda *words: subprocess.run([BIN / "tarix-sim", *words], env=plain, capture_output=True, timeout=10)
        sim("up")
        env = environment(folder, fault, VORN_ROOT=str(folder), NX_PORT="0")
        service = subprocess.Popen([BIN / "vorn", "-D", "2"], env=env, stdout=subprocess.DEVNULL, stderr=open(log, "wb"))
        text = lambda: log.read_text(errors="replace")

        def wait(*texts, seconds=3.0, times=1):
            end = time.monotonic() + seconds * patience
            while time.monotonic() < end and service.poll() is None:
                if any(text().count(one) >= times for one in texts):
                    return True
                time.sleep(0.005)
            return False

        found = []
        try:
            watched = [f"Created sync change list on app '{app}'" for app in ("tx", "ty")]
            if wait(watched[0], "Listening to clients on port"):
                for line in watched:
                    wait(line, seconds=1.5)
                wait("Listening to clients on port", seconds=1.5)
                for times in (1, 2):
                    sim("sync", "tx")
                    sim("sync", "ty")
                    wait("Autoreport for tx", "rror", times=times, seconds=1.5)
                port = re.findall(r"address 127.0.0.1, port (\d+)", text())
                if port:
                    subprocess.run([BIN / "vornctl", "--port", port[-1], "report", "tx", data / "results/old.res", "t.tpl",
                                    "asked.txt"], env=plain, capture_output=True, timeout=20)
            saved_state, end = data / "vorn/vorn.sav", time.monotonic() + 0.5 * patience
            number = lambda: saved_state.read_bytes()[-1:] if saved_state.exists() else b""
            while (parts(data) or number() != b"\3") and time.monotonic() < end:  # a stop may fall into a save
                time.sleep(0.01)
            if service.poll() is None:
                service.send_signal(signal.SIGTERM)
            status = service.wait(timeout=10)
        except subprocess.TimeoutExpired:
            found.append("hangs")
            service.kill()
            status = service.wait()
        finally:
            sim("down")
        said = text().replace("Warning: no persistent data found.", "")
        reports = {path.stem: path.read_bytes() for path in (data / "reports").glob("*.txt")}
        saved = {path.stem: path.read_text() for path in (data / "results/tx").glob("*.res")}
        if status < 0 and "hangs" not in found:
            found.append(f"ended by signal {-status}")
        older = [text for text in (reports, saved) for name in list(text) if text[name] in (b"old", STATE.replace("7", "6"))
                 and (text.pop(name) or True)]
        if len(older) != 2 or (data / "results/old.res").read_text() != STATE:
            found.append("an older file is lost")
        found += [f"report {name} is not whole" for name, content in reports.items() if content != REPORT]
        found += [f"results {name} are not whole" for name, content in saved.items() if content.count("value=7\n") != 2]
        for name in re.findall(r"Saved results file .*?(\w+)\.res", said):
            if name not in reports and name not in saved:
                found.append(f"{name} was saved and is lost")
        complete = len(reports) == 3 and not saved and status == 0
        if not complete and not re.search("rror|Warning|Could not|could not|Overflow|memory", said):
            found += [SILENT] if patience == 1 else [SILENT, said[-2000:]]
        if fault is None and not complete:
            found.append(f"status {status}, {sorted(reports)}, {sorted(saved)}: {said}")
        if fault is None:
            report = lambda name: str(data / f"reports/{name}.txt")
            found += replay(self, folder, initial, [
                (r"Saved results file (\S*/(\w+)\.res)", lambda found: [found[1], report(found[2])]),
                (r"make report done, ret=0", lambda _: [report("asked")])])
        return found


def run(scenario, fault, **how):
    folder = pathlib.Path(tempfile.mkdtemp(prefix="vorn-faults-"))
    try:
        found = scenario.run(folder, fault, **how)
        if SILENT in found and not how:  # it may be slow, or about to try again
            return run(scenario, fault, patience=6)
        left = parts(folder)
        if left and (fault is None or fault[0] not in ("unlink", "open", "rename", "stat")):
            found.append(f"left {left}")
        counts = folder / "counts"
        calls = dict(zip(KINDS, struct.unpack(f"<{len(KINDS)}Q", counts.read_bytes()))) if counts.exists() else None
        return found, calls
    except subprocess.TimeoutExpired:
        return ["hangs"], None
    finally:
        shutil.rmtree(folder, ignore_errors=True)


def main():
    faults = 0
    for scenario in (Tool("out.txt"), Tool("out.pdf"), Service()):
        if len(sys.argv) > 2 and sys.argv[2] not in scenario.name:
            continue
        begun = time.monotonic()
        found, calls = run(scenario, None)
        for text in found:
            print(f"{scenario.name}: {text}")
        cases = [(kind, n, error) for kind, error in FAULTS
                 for n in range(1, calls[kind] + 1, scenario.every.get(kind, 1))]
        bad = len(found)
        with concurrent.futures.ThreadPoolExecutor(2 * (os.cpu_count() or 1)) as pool:
            for case, (found, _) in zip(cases, pool.map(lambda case: run(scenario, case), cases)):
                for text in found:
                    print(f"{scenario.name}: {case[0]} {case[1]} with {errno.errorcode.get(case[2], 'a short write')}: {text}")
                bad += bool(found)
        print(f"{scenario.name}: {len(cases)} calls failed in turn, {bad} findings, {time.monotonic() - begun:.0f} s")
        faults += bad
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
