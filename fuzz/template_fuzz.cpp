// SPDX-License-Identifier: MIT
// Merges hostile templates, as text and as PDF, with results that hold every kind of register.
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>

#include "base/guards.h"
#include "core/options.h"
#include "dmon/dmon.h"
#include "memory_file.h"
#include "report/merge.h"
#include "report/user_vars.h"
#include "results/results.h"
#include "storage/strings.h"

namespace {

constexpr char RESULTS[] =
    "okra 1\napp a start=1 stop=90000\nreg u32 n value=2 min=1 max=3\nreg i32 i value=-2\n"
    "reg u64 w value=18446744073709551615\nreg f32 f value=0.5\nreg f64 d value=1e300\n"
    "reg sel s value=1 labels=\"x|y\"\nreg bits b value=5 labels=\"p|q|r\"\n"
    "reg counter c value=1 time=2 mult=3 div=4 secs=5\nreg u8-secs u value=1 secs=2\n"
    "reg a32 h data=1,2,3\nreg a8 k data=1,2,3,4\nreg u32 z value=1 invalid\napp b\n";

Results *loaded;

void prepare() {
    setDefaults();
    dmon_set_level(0);
    initUserVars();
    initResultsLoader();
    setUserVar(&kv_urv, "v", "text ${p}");
    const MemoryFile file(reinterpret_cast<const std::uint8_t *>(RESULTS), sizeof RESULTS - 1);
    loadResultsFile(file.path(), &loaded);
}

// Numbers above 99 could make a loop that runs for days, and a plug-in is code: neither is what is
// looked for here.
std::string tame(const std::uint8_t *data, std::size_t size) {
    std::string text;
    int digits = 0;
    for (std::size_t i = 0; i < size; ++i) {
        const char c = static_cast<char>(data[i]);
        digits = c >= '0' && c <= '9' ? digits + 1 : 0;
        if (digits < 3) text += c;
    }
    for (std::size_t at; (at = text.find("lib")) != std::string::npos;) text.erase(at, 3);
    int loops = 0;
    for (std::size_t at = 0; (at = text.find("<iterate", at)) != std::string::npos; ++at)
        if (++loops > 2) text[at] = ' ';
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const bool prepared = (prepare(), true);
    static_cast<void>(prepared);
    std::string text = tame(data, size);
    for (const std::uint32_t format : {0u, 1u}) {
        const MemoryFile file(reinterpret_cast<const std::uint8_t *>(text.data()), text.size());
        const FileGuard in(std::fopen(file.path(), "r"));
        const FileGuard out(std::tmpfile());
        if (in && out) mergeTemplate(loaded, in.get(), out.get(), "t.tpl", format, &kv_urv, "dict");
    }
    return 0;
}
