#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks of the tracked files that the formatter does not make: each names its licence in its first
lines, includes point down the layers only, internals.md and CONTRIBUTING.md name what is there,
and the documents tell each message, clause and conversion of the report engine.
Prints a line a fault; exit status 1 when there is one."""
import pathlib
import re
import subprocess
import sys

LICENCE = "SPDX-License-Identifier: MIT"
LICENSED = {".h", ".def", ".c", ".cpp", ".cmake", ".sh", ".py"}
LICENSED_NAMES = {"CMakeLists.txt", "run"}

# A folder may include itself and what stands below it.
LAYERS = ["core", "server", "listener", "report", "output", "results", "pdf", "storage", "util"]
PLATFORM = {"dmon", "kelp", "okra", "lexica", "pktio", "nx"}
# Records and settings that every folder may read; they include each other and base alone.
LEAVES = {"vorn/plugin.h", "core/options.h", "core/subscription.h"}

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)


def allowed(path, target):
    """Whether the file may include the header, both as paths from the root of the includes."""
    parts = path.parts
    folder = target.split("/")[0]
    if parts[0] == "base":
        return folder == "base"
    if parts[0] == "platform":
        return folder in PLATFORM | {"base"}
    if parts[0] != "src":
        return True
    if f"{parts[1]}/{path.name}" in LEAVES:
        return target in LEAVES or folder == "base"
    if target in LEAVES or folder in PLATFORM | {"base"}:
        return True
    return folder in LAYERS and LAYERS.index(folder) >= LAYERS.index(parts[1])


def faults(path):
    text = path.read_text(encoding="utf-8")
    licensed = path.suffix in LICENSED or path.name in LICENSED_NAMES
    if licensed and LICENCE not in "\n".join(text.splitlines()[:3]):
        yield f"{path}: no '{LICENCE}' in the first lines"
    if path.suffix in {".h", ".def", ".c", ".cpp"}:
        for target in INCLUDE.findall(text):
            if not allowed(path, target):
                yield f"{path}: must not include {target}"


def stale_names(path):
    """Names of files that are not there, and of what the files named beside them do not hold."""
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        names = [name for name in re.findall(r"`([^`]+)`", line) if " " not in name and "FOLDER" not in name]
        files = [pathlib.Path(name) for name in names if "/" in name]
        yield from (f"{path}:{number}: there is no file {file}" for file in files if not file.is_file())
        text = "".join(file.read_text(encoding="utf-8") for file in files if file.is_file())
        if not line.startswith("| ") or not text:
            continue
        yield from (f"{path}:{number}: {name} does not stand in the files beside it" for name in names
                    if "/" not in name and not re.search(rf"\b{re.escape(name)}\b", text))


MESSAGE_FOLDERS = ("src/report", "src/output", "src/results")
MESSAGE_DOCUMENTS = ("docs/messages.md", "docs/plugins.md")
LITERALS = re.compile(r'(?:"(?:[^"\\\n]|\\.)*"\s*)+')  # side by side they are one text


def shape(message):
    """A message with "..." for what differs."""
    message = re.sub(r"%[-+ #0-9.*]*(?:hh|h|ll|l|z)?[a-zA-Z]", "...", message.replace("%%", "%"))
    return re.sub(r"[.]{3,}", "...", message).strip()


def engine_messages():
    """(path, shape) of each text of the report engine that is a sentence or a line."""
    for path in sorted(path for folder in MESSAGE_FOLDERS for path in pathlib.Path(folder).iterdir()):
        for found in LITERALS.finditer(re.sub(r"//.*", "", path.read_text(encoding="utf-8"))):
            text = re.sub(r'"\s*"', "", found[0].strip()).strip('"')
            first, end, _ = text.partition(r"\n")
            if (end or first.endswith(".")) and re.search("[a-z] ", shape(first)):
                yield path, shape(first)


def untold_messages():
    """Messages that no document tells, and advice for messages that there are not any more."""
    lines = [line for name in MESSAGE_DOCUMENTS for line in pathlib.Path(name).read_text(encoding="utf-8").splitlines()]
    told = {shape(span) for line in lines for span in re.findall(r"`([^`]+)`", line)}
    forms = [text for text in told if text.startswith("'...' conversion ")]  # one line for those of all conversions
    told_by_form = re.compile("|".join(re.escape(text).replace(r"\.\.\.", ".+") for text in forms))
    messages = list(engine_messages())
    yield from (f"{path}: no document tells '{text}'" for path, text in messages
                if text not in told and not told_by_form.fullmatch(text))
    advice = pathlib.Path("tools/report_advice.cpp")
    texts = {text for _, text in messages}
    for found in re.findall(r'\{"((?:[^"\\]|\\.)*)",', advice.read_text(encoding="utf-8")):
        if shape(found) not in texts:
            yield f"{advice}: the engine never says '{found}'"


def untold_names():
    """Clauses and conversions that the templates' page has no line of in its tables."""
    page = pathlib.Path("docs/templates.md").read_text(encoding="utf-8")
    told = " ".join(re.findall(r"^\| (`[^|]*) \|", page, re.MULTILINE))
    chapters = " ".join(re.findall(r"^### (.*)", page, re.MULTILINE)).split()
    for path, row in (("src/report/merge.cpp", r'^    \{\w+.*, "(/?\w+)", \w+\},'),
                      ("src/output/conversions.cpp", r'^    \{"([\w-]+)", to\w+,')):
        text = pathlib.Path(path).read_text(encoding="utf-8")
        names = re.findall(row, text, re.MULTILINE)
        yield from (f"docs/templates.md: no table tells of '{name}' in {path}" for name in names
                    if not re.search(rf"`{re.escape(name)}[`(]", told))
        yield from (f"docs/templates.md: '{name}' has no chapter" for name in names
                    if "clauses" in text and name[0] != "/" and name not in chapters)
        if not names:
            yield f"{path}: its table looks otherwise than scripts/check_sources.py knows"


def main():
    listed = subprocess.run(["git", "ls-files", "-z"], capture_output=True, check=True).stdout
    paths = [pathlib.Path(name.decode()) for name in listed.split(b"\0") if name]
    found = [fault for path in paths if path.is_file() for fault in faults(path)]
    found += [fault for name in ("docs/internals.md", "CONTRIBUTING.md") for fault in stale_names(pathlib.Path(name))]
    found += untold_messages()
    found += untold_names()
    print("\n".join(found), end="\n" if found else "")
    return 1 if found else 0


sys.exit(main())
