#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes the SPDX document of a Debian package into the package's folder, before it is packed.
    scripts/make_spdx.py PACKAGE FOLDER
It names each file with its checksums, and what was compiled into the programs from elsewhere."""
import datetime
import hashlib
import json
import os
import pathlib
import re
import subprocess
import sys

# Linked in as code: of a package of the build machine, with its licence.
CONTAINED = {
    "vorn": (("libstdc++-12-dev", "GPL-3.0-or-later WITH GCC-exception-3.1"),),
    "vorn-tools": (("libcli11-dev", "BSD-3-Clause"), ("nlohmann-json3-dev", "MIT")),
}


def output(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout.strip()


def version_of(package):
    shown = subprocess.run(["dpkg-query", "-W", "-f", "${Version}\n", package], capture_output=True, text=True)
    return shown.stdout.split("\n")[0] or "NOASSERTION"


def identifier(text):
    return "SPDXRef-" + re.sub(r"[^A-Za-z0-9.-]", "-", text)


def package_entry(name, version, licence):
    return {"name": name, "SPDXID": identifier("Package-" + name), "versionInfo": version,
            "downloadLocation": "NOASSERTION", "filesAnalyzed": False, "licenseConcluded": licence,
            "licenseDeclared": licence, "copyrightText": "NOASSERTION"}


def file_entry(path, folder):
    name = "./" + str(path.relative_to(folder))
    data = path.read_bytes()
    sums = [{"algorithm": kind.upper(), "checksumValue": hashlib.new(kind, data).hexdigest()}
            for kind in ("sha1", "sha256")]
    return {"fileName": name, "SPDXID": identifier("File-" + name[2:]), "checksums": sums,
            "licenseConcluded": "MIT", "copyrightText": "NOASSERTION"}


def verification_code(files):
    sums = sorted(entry["checksums"][0]["checksumValue"] for entry in files)
    return hashlib.sha1("".join(sums).encode()).hexdigest()


def main():
    package, folder = sys.argv[1], pathlib.Path(sys.argv[2])
    version = output("dpkg-parsechangelog", "-S", "Version")
    epoch = os.environ.get("SOURCE_DATE_EPOCH") or output("dpkg-parsechangelog", "-S", "Timestamp")
    created = datetime.datetime.fromtimestamp(int(epoch), datetime.timezone.utc)
    files = [file_entry(path, folder) for path in sorted(folder.rglob("*"))
             if path.is_file() and not path.is_symlink() and "DEBIAN" not in path.relative_to(folder).parts]

    main_entry = package_entry(package, version, "MIT")
    main_entry["copyrightText"] = "2026 The VORN authors"
    main_entry["filesAnalyzed"] = True
    main_entry["packageVerificationCode"] = {"packageVerificationCodeValue": verification_code(files)}
    own = main_entry["SPDXID"]
    contained = [package_entry(name, version_of(name), licence) for name, licence in CONTAINED.get(package, ())]
    relations = [("SPDXRef-DOCUMENT", "DESCRIBES", own)]
    relations += [(own, "CONTAINS", entry["SPDXID"]) for entry in files + contained]

    document = {
        "spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT",
        "name": f"{package}-{version}",
        "documentNamespace": f"https://vorn.invalid/spdx/{package}-{version}-{epoch}",
        "creationInfo": {"created": created.strftime("%Y-%m-%dT%H:%M:%SZ"),
                         "creators": ["Tool: make_spdx.py", "Organization: The VORN authors"]},
        "packages": [main_entry, *contained], "files": files,
        "relationships": [{"spdxElementId": a, "relationshipType": kind, "relatedSpdxElement": b}
                          for a, kind, b in relations],
    }
    target = folder / "usr/share/doc" / package / f"{package}.spdx.json"
    target.parent.mkdir(parents=True, exist_ok=True)
    target.write_text(json.dumps(document, indent=1) + "\n", encoding="utf-8")
    target.chmod(0o644)


main()
