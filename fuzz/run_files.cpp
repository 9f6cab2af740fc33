// SPDX-License-Identifier: MIT
// Runs a fuzz entry on files, once each: to look at a finding with any compiler.
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

int main(int argc, char **argv) {
    for (int i = 1; i < argc; ++i) {
        std::ifstream file(argv[i], std::ios::binary);
        const std::vector<char> content((std::istreambuf_iterator<char>(file)), {});
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(content.data()),
                               content.size());
        std::printf("%s: %zu bytes\n", argv[i], content.size());
    }
    return 0;
}
