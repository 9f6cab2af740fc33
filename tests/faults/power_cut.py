# SPDX-License-Identifier: MIT
"""What a power cut may leave, from the record of a run: after each change of a file, what was not synced may be
missing, empty or cut, and a name may be there without its bytes."""
import os
import re


def read_record(path, folder):
    """Yields (what, name, other, bytes) of files below a folder, which was the program's own, and of the log."""
    with open(path, "rb") as file:
        while line := file.readline():
            what, name, other, size = line.decode(errors="replace").rstrip("\n").split("\t")
            content, name = file.read(int(size)), os.path.normpath(os.path.join(folder, name))
            other = os.path.normpath(os.path.join(folder, other)) if what in ("rename", "link") else other
            if what == "log" or name.startswith(f"{folder}/") or name == folder:
                yield what, name, other, content


class File:
    def __init__(self, content=b"", synced=b""):
        self.content, self.synced = bytearray(content), bytes(synced)


class Disk:
    """The files by name as the program sees them, and as the medium has them for sure."""

    def __init__(self, initial):
        self.names = {name: File(content, content) for name, content in initial.items()}
        self.durable = dict(self.names)
        self.folders = set()  # made in this run, and not synced yet
        self.whole = {name: {bytes(content)} for name, content in initial.items()}

    def file(self, name):
        return self.names.setdefault(name, File())

    def change(self, what, name, other, content):
        if what == "write":
            at = int(other)
            self.file(name).content[at:at + len(content)] = content
        elif what == "truncate":
            del self.file(name).content[int(other):]
        elif what == "fsync" and name in self.names:
            self.names[name].synced = bytes(self.names[name].content)
        elif what == "fsync":  # a folder
            here = lambda path: os.path.dirname(path) == name
            self.durable = {path: file for path, file in self.durable.items() if not here(path)}
            self.durable |= {path: file for path, file in self.names.items() if here(path)}
            self.folders = {path for path in self.folders if not here(path)}
        elif what in ("rename", "link"):
            file = self.names.pop(name) if what == "rename" else self.file(name)
            self.names[other] = file
            self.whole.setdefault(other, set()).add(bytes(file.content))
        elif what == "unlink":
            self.names.pop(name, None)
        elif what == "mkdir":
            self.folders.add(name)

    def left(self):
        """The states that a cut now may leave, each as {name: content}."""
        lost = lambda path: any(path.startswith(folder + "/") for folder in self.folders)
        yield {path: file.synced for path, file in self.durable.items() if not lost(path)}
        yield {path: file.synced for path, file in self.names.items()}
        cut = lambda file: file.synced if file.synced == file.content else bytes(file.content[:len(file.content) // 2])
        yield {path: cut(file) for path, file in self.names.items()}
        for path, file in self.names.items():  # one name of many got there
            if self.durable.get(path) is not file and not lost(path):
                yield {name: one.synced for name, one in {**self.durable, path: file}.items() if not lost(name)}


def check(folder, initial, promises):
    """Replays a run. `promises` are (pattern of a log line, function that gives the names of which one is to be whole
    from then on). Gives the number of states looked at, and what is wrong."""
    disk, states, found = Disk(initial), 0, set()
    promised = []
    for what, name, other, content in read_record(f"{folder}/record", str(folder)):
        if what == "log":
            for pattern, names in promises:
                promised += [set(names(match)) for match in re.finditer(pattern, content.decode(errors="replace"))]
            continue
        disk.change(what, name, other, content)
        for state in disk.left():
            states += 1
            for path, bytes_left in state.items():
                if not os.path.basename(path).startswith(".") and bytes_left not in disk.whole.get(path, ()):
                    found.add(f"after '{what} {name}' {path} may hold {len(bytes_left)} bytes of none of its versions")
            left = set(state.values())
            found |= {f"after '{what} {name}' {one} may be lost" for one in initial if bytes(initial[one]) not in left}
            for names in promised:  # not what was there before
                if not any(one in state and state[one] != initial.get(one) for one in names):
                    found.add(f"after '{what} {name}' none of {sorted(names)} may be left")
    return states, sorted(found)
