#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes what is told again of a request's row and of a key's line, each from the one place where it
stands: the subcommands in docs/vornctl.md and the names in contrib/vorn.lua from src/server/requests.def,
etc/vorn.cfg from the table of keys in docs/service.md. With --check it writes nothing, prints a line a
file that is not so, and its exit status is 1 when there is one."""
import argparse
import pathlib
import re
import sys
import textwrap

REQUESTS = pathlib.Path("src/server/requests.def")
KEYS = pathlib.Path("docs/service.md")
CONFIG_HEAD = """\
# Configuration of vorn, read once at the start: vorn.cfg(5) tells all. Each key is shown with its
# default. After a change: vornctl check-config, then restart the service.
"""


def requests():
    """(code, subcommand, words, help) of each row."""
    text = re.sub(r"^//.*", "", REQUESTS.read_text(encoding="utf-8"), flags=re.MULTILINE)
    for row in text.split("VORN_REQUEST(")[1:]:
        code = int(re.search(r"\b[0-9]+\b", row)[0])
        row = re.sub(r'(?<!\\)"\s*\n\s*"', "", row)  # a literal that goes on on the next line
        name, words, told, _ = re.findall(r'"((?:[^"\\]|\\.)*)"', row)
        yield code, name, re.sub(r"\b[0-9]:", "", words), told.replace(r'\"', '"')


def subcommands(text):
    """docs/vornctl.md with a line a request in its first table."""
    rows = "".join("| `{}` | {} |\n".format(f"{name} {words}".strip().replace("|", r"\|"), told)
                   for _, name, words, told in requests())
    return re.sub(r"(\| subcommand \|.*\n\|---\|---\|\n)(?:\|.*\n)+", lambda head: head[1] + rows, text, count=1)


def dissector(text):
    """contrib/vorn.lua with the name of each code."""
    names = {0: "no reply", 256: "result"} | {code: name for code, name, _, _ in requests()}
    entries = (f'[{code}] = "{names[code]}",' for code in sorted(names))
    listed = " ".join(entry.replace(" ", "\0") for entry in entries)  # lines do not end within one
    lines = textwrap.fill(listed, 106, initial_indent="    ", subsequent_indent="    ", break_on_hyphens=False)
    return re.sub(r"(local names = \{\n)[^}]*", lambda head: head[1] + lines.replace("\0", " ") + "\n", text, count=1)


def plain(cell):
    """A table's cell without what only a page can show."""
    cell = re.sub(r"[;,] see \[[^]]*\]\([^)]*\)", "", cell)
    return re.sub(r"\[([^]]*)\]\([^)]*\)", r"\1", cell).replace("`", "").replace(r"\|", "|")


def configuration(_):
    """The whole example of a configuration file."""
    table = KEYS.read_text(encoding="utf-8").split("| key | value |")[1].split("\n\n")[0]
    text = CONFIG_HEAD
    for line in table.splitlines()[2:]:
        key, value, default, meaning = (plain(cell.strip()) for cell in re.split(r"(?<!\\)\|", line)[1:-1])
        told = f"{meaning[0].upper()}{meaning[1:]}"
        if any(word not in meaning for word in value.split(", ")) and not value.isalpha():
            told += f": {value}"
        text += "\n" + textwrap.fill(told + ".", 100, initial_indent="# ", subsequent_indent="# ", break_on_hyphens=False)
        text += f"\n#{key} " + {"empty": '""', "": "no"}.get(default, default) + "\n"
    return text


MADE = {"docs/vornctl.md": subcommands, "contrib/vorn.lua": dissector, "etc/vorn.cfg": configuration}


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--check", action="store_true")
    check, stale = parser.parse_args().check, False
    for name, make in MADE.items():
        path = pathlib.Path(name)
        before = path.read_text(encoding="utf-8")
        after = make(before)
        if after == before:
            continue
        if check:
            print(f"{name}: scripts/make_tables.py would write it differently")
            stale = True
        else:
            path.write_text(after, encoding="utf-8")
    return 1 if stale else 0


sys.exit(main())
