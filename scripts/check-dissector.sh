#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Has tshark read the protocol's test vectors with the dissector, as packets of a capture, and compares
# what it shows with what Python reads out of the bytes.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh tshark
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

python3 - "$work/vectors.pcap" >"$work/expected" <<'PYTHON'
import struct
import sys

packets, numbers = [], {">": 1, "<": 1}
for line in open("docs/protocol-vectors.txt", encoding="utf-8"):
    if line[:1] not in numbers or not line[1:].strip():
        continue
    data, way = bytes.fromhex(line[1:]), line[0]
    ports = (40000, 55000) if way == ">" else (55000, 40000)
    other = "<" if way == ">" else ">"
    tcp = struct.pack(">HHIIBBHHH", *ports, numbers[way], numbers[other], 0x50, 0x18, 65535, 0, 0)
    numbers[way] += len(data)
    ip = struct.pack(">BBHHHBBH4s4s", 0x45, 0, 40 + len(data), 0, 0, 64, 6, 0, bytes([127, 0, 0, 1]), bytes([127, 0, 0, 1]))
    packets.append(ip + tcp + data)
    _, kind, _, param1, param2 = struct.unpack(">IHHii", data[:16])
    at, words, texts = 16, [], []
    while at < len(data):
        value = struct.unpack(">H", data[at + 1:at + 3])[0]
        if data[at] == 2:
            texts.append(data[at + 3:at + 3 + value].decode())
        else:
            words.append(str(value))
        at += 3 + (value if data[at] == 2 else 0)
    print(kind, param1, param2, ",".join(words), ",".join(texts), sep="|")

with open(sys.argv[1], "wb") as capture:
    capture.write(struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 262144, 101))  # raw IP
    for i, packet in enumerate(packets):
        capture.write(struct.pack("<IIII", i, 0, len(packet), len(packet)) + packet)
PYTHON

tshark -X lua_script:contrib/vorn.lua -r "$work/vectors.pcap" -T fields -E separator='|' -e vorn.type \
    -e vorn.param1 -e vorn.param2 -e vorn.number -e vorn.text >"$work/shown" 2>"$work/said" || {
    cat "$work/said" >&2
    exit 1
}
diff -u "$work/expected" "$work/shown"
echo "check-dissector: $(wc -l <"$work/shown") messages read"
