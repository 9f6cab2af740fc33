# SPDX-License-Identifier: MIT
"""What scripts/soak.sh runs: four subscriptions with the three actions of a full quota, events without a pause, clients
that ask for reports of both kinds and change everything that can be changed. Status 1 when something was lost."""
import collections
import os
import pathlib
import random
import re
import signal
import subprocess
import sys
import tempfile
import time

BIN, MINUTES = pathlib.Path(sys.argv[1]).resolve(), float(sys.argv[2])
SUBSCRIPTIONS = "abcd"
STATE = "okra 1\napp {0} start=1700000000\nreg u32 frames value=7\nreg a32 hist data=1,2,3\n"
TEMPLATE = ("<report>\n<iterate var=i, from=1, to=50>\n<row cstyle='%s %u'><value var=report-name></value>"
            "<value link=frames></value></row>\n</iterate>\n</report>\n")
REQUESTS = [("full-action", "results", action) for action in ("stop", "block", "purge")]
REQUESTS += [("autoreport", "on", kind, "--reference", "run") for kind in ("txt", "pdf")]
REQUESTS += [("set-quota", "results", "20"), ("set-quota", "reports", "500"), ("set-var", "site", "Lab"), ("get-autoseq",),
             ("num-files",), ("set-lang", "de"), ("delete-all", "results"), ("delete-all", "reports"), ("autosave", "on")]


def process(pid):
    status = pathlib.Path(f"/proc/{pid}/status").read_text()
    return int(re.search(r"VmRSS:\s+(\d+)", status)[1]), len(os.listdir(f"/proc/{pid}/fd"))


def main():
    folder = pathlib.Path(tempfile.mkdtemp(prefix="vorn-soak-"))
    for path, text in {"etc/tarix/vorn.cfg": "autosave yes\nautoreport txt\nautoname refseq\nreference run\nmax-files 20\n",
                       "etc/tarix/vorn/s.subs": "".join(f"subscribe {s}:{s}1,{s}2:t.tpl\n" for s in SUBSCRIPTIONS),
                       "tarix/data/templates/t.tpl": TEMPLATE, "old.res": STATE.format("a1"),
                       **{f"run/tarix/okra/apps/{s}{n}": STATE.format(f"{s}{n}") for s in SUBSCRIPTIONS for n in "12"}}.items():
        (folder / path).parent.mkdir(parents=True, exist_ok=True)
        (folder / path).write_text(text)
    env = dict(os.environ, VORN_ROOT=str(folder), NX_PORT="0")
    call = lambda *words: subprocess.run([str(word) for word in words], env=env, capture_output=True, text=True, timeout=60)
    call(BIN / "tarix-sim", "up")
    log = folder / "log"
    service = subprocess.Popen([BIN / "vorn", "-D", "2"], env=env, stderr=open(log, "wb"))
    while not (port := re.findall(r"address 127.0.0.1, port (\d+)", log.read_text())):
        time.sleep(0.05)
    time.sleep(2)
    first, counts, number = process(service.pid), collections.Counter(), 0
    end = time.monotonic() + 60 * MINUTES
    while time.monotonic() < end and service.poll() is None:
        app = random.choice(SUBSCRIPTIONS) + random.choice("12")
        call(BIN / "tarix-sim", "sync", app)
        if random.random() < 0.1:
            call(BIN / "tarix-sim", random.choice(("disable", "enable")), app)
            call(BIN / "tarix-sim", "enable", app)
        words = random.choice(REQUESTS)
        if random.random() < 0.5:
            number += 1
            words = ("report", app[0], folder / "old.res", "t.tpl", f"asked{number}.{random.choice(('txt', 'pdf'))}")
        counts["requests"] += 1
        counts["refused"] += call(BIN / "vornctl", "--port", port[-1], *words).returncode != 0
    last = process(service.pid) if service.poll() is None else (0, 0)
    service.send_signal(signal.SIGTERM)
    status = service.wait(60)
    call(BIN / "tarix-sim", "down")
    said = log.read_text(errors="replace")
    rows = [("requests", counts["requests"]), ("of them refused", counts["refused"]),
            ("saves", said.count("Saved results file")), ("automatic reports", said.count("Autoreport for ")),
            ("reports asked for", said.count("make report done, ret=0")),
            ("refused at a full quota", said.count("too many result files") + said.count("too many report files")),
            ("losses", said.count("Overflow") + said.count("lost") + len(re.findall("Sanitizer", said))),
            ("parts left", len(list(folder.rglob(".*.part")))), ("exit status", status),
            ("resident KiB, start and end", f"{first[0]} {last[0]}"), ("descriptors, start and end", f"{first[1]} {last[1]}")]
    for name, value in rows:
        print(f"{name:30} {value}")
    failed = status != 0 or rows[6][1] or rows[7][1]
    print(f"log: {log}" if failed else "nothing lost")
    return 1 if failed else 0


sys.exit(main())
