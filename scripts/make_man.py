#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Makes the manual pages out of the documents, so that neither can say what the other does not.
    scripts/make_man.py OUTPUT_FOLDER
A page is a document, or some of its chapters. A chapter that is not there any more is an error."""
import dataclasses
import pathlib
import re
import sys
import textwrap

ROOT = pathlib.Path(__file__).resolve().parent.parent
WIDTH = 78  # of a source line


@dataclasses.dataclass
class Page:
    name: str
    section: int
    what: str
    document: str
    synopsis: tuple = ()
    only: tuple = ()     # beginnings of the chapters to take; empty: all
    without: tuple = ()  # and of those to leave out
    see_also: tuple = ()


CONFIGURATION = ("Configuration file", "Subscription files")
SIMULATOR = "An instrument on your desk"
PAGES = (
    Page("vorn", 8, "Configs and Reports Manager of a measurement instrument", "service.md",
         without=(*CONFIGURATION, SIMULATOR),
         see_also=("vornctl(1)", "vorn-report(1)", "tarix-sim(1)", "vorn.cfg(5)", "vorn-templates(5)")),
    Page("vorn.cfg", 5, "configuration and subscriptions of vorn", "service.md",
         synopsis=("/etc/tarix/vorn.cfg", "/etc/tarix/vorn/*.subs"),
         only=(*CONFIGURATION, "Names of files", "Quotas"), see_also=("vorn(8)", "vornctl(1)")),
    Page("vornctl", 1, "drives a running vorn from a shell", "vornctl.md",
         see_also=("vorn(8)", "vorn.cfg(5)")),
    Page("vorn-report", 1, "makes a report from a results file and a template", "vorn-report.md",
         see_also=("vorn-templates(5)", "vorn(8)")),
    Page("tarix-sim", 1, "plays the instrument for vorn", "service.md",
         synopsis=("tarix-sim COMMAND [WORDS]",), only=(SIMULATOR,), see_also=("vorn(8)", "vornctl(1)")),
    Page("vorn-templates", 5, "templates of reports", "templates.md",
         see_also=("vorn-report(1)", "vorn-messages(5)", "vorn(8)")),
    Page("vorn-messages", 5, "messages about templates of reports", "messages.md",
         see_also=("vorn-templates(5)", "vorn-report(1)")),
)
DOCUMENT_PAGES = {"service.md": "vorn(8)", "vornctl.md": "vornctl(1)", "vorn-report.md": "vorn-report(1)",
                  "templates.md": "vorn-templates(5)", "messages.md": "vorn-messages(5)"}


# ---- characters ----

def plain(text):
    """A text without markup, safe in the middle of a line."""
    return text.replace("\\", "\\e").replace("^", "\\(ha").replace("~", "\\(ti")


def literal(text):
    """What a reader may copy: no character of it may become another one."""
    return plain(text).replace("-", "\\-").replace("'", "\\(aq").replace("`", "\\(ga")


def safe_start(line):
    return "\\&" + line if line.startswith((".", "'")) else line


INLINE = re.compile(r"`(?P<code>[^`]+)`|\*\*(?P<bold>[^*]+)\*\*|(?<!\w)\*(?P<slant>[^*\s][^*]*)\*(?!\w)"
                    r"|\[(?P<text>[^]]+)\]\((?P<target>[^)]+)\)")


def inline(text):
    out, at = "", 0
    for found in INLINE.finditer(text):
        out += plain(text[at:found.start()])
        at = found.end()
        if found["code"]:
            # A blank in it must not become the end of a line.
            out += "\\fB" + literal(found["code"]).replace(" ", "\\ ") + "\\fR"
        elif found["bold"]:
            out += "\\fB" + plain(found["bold"]) + "\\fR"
        elif found["slant"]:
            out += "\\fI" + plain(found["slant"]) + "\\fR"
        else:
            page = DOCUMENT_PAGES.get(found["target"].split("#")[0])
            out += f"\\fB{page[:-3]}\\fR{page[-3:]}" if page else inline(found["text"])
    return out + plain(text[at:])


def filled(text):
    """Lines of a paragraph."""
    # Breaks go at blanks only, and not at one that a backslash holds.
    held = text.replace("\\ ", "\0\0")  # as wide as it stands in the source
    lines = textwrap.wrap(held, WIDTH, break_long_words=False, break_on_hyphens=False)
    return [safe_start(line.replace("\0\0", "\\ ")) for line in lines]


# ---- blocks ----

def blocks(lines):
    """Yields (kind, content): heading, code, table, list, text."""
    i = 0
    while i < len(lines):
        line = lines[i]
        if not line.strip():
            i += 1
        elif line.startswith("#"):
            marks, _, title = line.partition(" ")
            yield "heading", (len(marks), title)
            i += 1
        elif line.startswith("```"):
            end = lines.index("```", i + 1)
            yield "code", lines[i + 1:end]
            i = end + 1
        elif line.startswith("    "):
            end = i
            while end < len(lines) and (lines[end].startswith("    ") or not lines[end].strip()):
                end += 1
            code = [text[4:] for text in lines[i:end]]
            while not code[-1]:
                code.pop()
            yield "code", code
            i = end
        else:
            end = i
            while end < len(lines) and lines[end].strip() and not lines[end].startswith(("#", "```")):
                end += 1
            yield ("table" if line.startswith("|") else "list" if LIST_MARK.match(line) else "text"), lines[i:end]
            i = end


LIST_MARK = re.compile(r"(?:- |(\d+)\. )")


def code_block(lines):
    return [".PP", ".RS 4", ".nf", *(safe_start(literal(line)) for line in lines), ".fi", ".RE"]


def list_block(lines):
    items = []
    for line in lines:
        found = LIST_MARK.match(line)
        if found:
            items.append((found[1], [line[found.end():]]))
        else:
            items[-1][1].append(line.strip())
    out = []
    for number, texts in items:
        out.append(f".IP {number}. 4" if number else ".IP \\(bu 2")
        out += filled(inline(" ".join(texts)))
    return out


def cells(line):
    parts = re.split(r"(?<!\\)\|", line.strip().strip("|"))
    return [part.strip().replace("\\|", "|") for part in parts]


def table_block(lines):
    """A paragraph a row. Cells behind the second column are told with the column's head."""
    heads, out = cells(lines[0]), []
    for row in map(cells, lines[2:]):
        said = [(f"{head}: " if head and len(heads) > 2 else "") + text
                for head, text in zip(heads[1:], row[1:]) if text]
        head = safe_start(inline(row[0]) or "\\ ")
        long = len(head) > WIDTH  # too much for a tag, which is one line
        out += [".PP", *filled(inline(row[0])), ".RS 4"] if long else [".TP", head]
        for i, text in enumerate(said or ["\\&"]):
            out += [".br"] * (i > 0) + filled(inline(text) if said else text)
        out += [".RE"] * long
    return out


def body(lines, top):
    """The chapters below a heading of level `top`."""
    out, fresh = [], True
    for kind, content in blocks(lines):
        if kind == "heading":
            level, title = content
            text = inline(title)
            out.append(f'.SH "{text.upper()}"' if level <= top + 1 else f'.SS "{text}"')
            fresh = True
            continue
        made = {"code": code_block, "list": list_block, "table": table_block,
                "text": lambda text: [".PP", *filled(inline(" ".join(text)))]}[kind](content)
        # A paragraph's mark right behind a heading has no effect, and is reported.
        if fresh and made[0] == ".PP":
            made = made[1:]
        out += made
        fresh = False
    return out


# ---- pages ----

def chapters(path):
    """The lines before the first chapter, and (title, lines) of each chapter."""
    found = [("", [])]
    fenced = False
    for line in path.read_text(encoding="utf-8").splitlines():
        fenced ^= line.startswith("```")
        if line.startswith("## ") and not fenced:
            found.append((line[3:], []))
        found[-1][1].append(line)
    return found[0][1][1:], found[1:]


def chosen(page, found):
    for wanted in (*page.only, *page.without):
        if not any(title.startswith(wanted) for title, _ in found):
            sys.exit(f"{page.document}: no chapter '{wanted}' for {page.name}.{page.section}")
    return [(title, lines) for title, lines in found
            if (not page.only or title.startswith(page.only)) and not (page.without and title.startswith(page.without))]


def release():
    """Version and date of the newest release."""
    text = (ROOT / "CHANGELOG.md").read_text(encoding="utf-8")
    return re.search(r"^## \[(\d[\d.]*)\] - (\d{4}-\d\d-\d\d)$", text, re.MULTILINE).groups()


def make(page):
    version, date = release()
    intro, found = chapters(ROOT / "docs" / page.document)
    out = [".\\\" SPDX-License-Identifier: MIT",
           f".TH {page.name.upper()} {page.section} {date} \"vorn {version}\"",
           ".SH NAME", f"{literal(page.name)} \\- {page.what}"]
    if page.synopsis:
        out.append(".SH SYNOPSIS")
        for i, line in enumerate(page.synopsis):
            out += [".br"] * (i > 0) + [safe_start(literal(line))]
    if not page.only:
        out += [".SH DESCRIPTION", *body(intro, 1)[0 if intro and intro[0].startswith("#") else 0:]]
    # A page of one chapter has that chapter's parts as its own.
    for title, lines in chosen(page, found):
        out += body(lines, 1)
    out += [".SH SEE ALSO", ",\n".join(f"\\fB{literal(name[:-3])}\\fR{name[-3:]}" for name in page.see_also)]
    return "\n".join(out) + "\n"


def main():
    folder = pathlib.Path(sys.argv[1])
    for page in PAGES:
        path = folder / f"man{page.section}" / f"{page.name}.{page.section}"
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(make(page), encoding="utf-8")


main()
