// SPDX-License-Identifier: MIT
// Prints values by random formats that fit them and compares with the C library: snprintf for
// bytes, swprintf for characters.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <cwchar>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "base/utf8_text.h"
#include "output/c_format.h"
#include "pdf/utf8.h"

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int PAIRS = 100000;
#else
constexpr int PAIRS = 1000000;
#endif

constexpr std::size_t ROOM = 127;

struct Pair {
    std::string format;
    std::uint32_t type;
    std::uint64_t integer;
    double floating;
    std::string string;
};

class PairMaker {
public:
    Pair make() {
        Pair pair{};
        constexpr std::uint32_t types[] = {VORN_TYPE_STRING, VORN_TYPE_UINT32, VORN_TYPE_INT32,
                                           VORN_TYPE_UINT64, VORN_TYPE_FLOAT,  VORN_TYPE_DOUBLE};
        pair.type = types[below(std::size(types))];
        const bool isString = pair.type == VORN_TYPE_STRING;
        const bool floats = pair.type == VORN_TYPE_FLOAT || pair.type == VORN_TYPE_DOUBLE;
        pair.format = literal() + "%";
        // Flags that are undefined for strings print nothing there; the library agrees, but the
        // compiler's checks do not.
        for (std::size_t n = below(4); n > 0; --n) pair.format += oneOf(isString ? "-" : "-+ #0'");
        pair.format += size(1) + (below(2) == 0 ? "." + size(0) : "");
        if (pair.type == VORN_TYPE_UINT64) pair.format += below(2) == 0 ? "ll" : "j";
        pair.format += oneOf(isString ? "s" : floats ? "feEgGaAF" : "diuoxX") + literal();
        pair.integer = below(8) == 0 ? ~integer() : integer();
        pair.floating = floating();
        for (std::size_t n = below(below(8) == 0 ? 150 : 20); n > 0; --n)
            pair.string += character();
        return pair;
    }

private:
    std::size_t below(std::size_t limit) { return static_cast<std::size_t>(random_() % limit); }
    char oneOf(std::string_view letters) { return letters[below(letters.size())]; }

    std::string literal() {
        constexpr const char *parts[] = {"", "", " ", "ab", "%%", "%% c"};
        return parts[below(std::size(parts))];
    }
    std::string size(std::size_t least) {
        const std::size_t kind = below(20);
        if (kind < 9) return "";
        return std::to_string(least + below(kind == 9 ? 4095 : 40));
    }
    std::uint64_t integer() { return random_() >> below(64); }
    double floating() {
        constexpr double special[] = {0.0, -0.0, INFINITY, -INFINITY, NAN, 1e308, 9.9999995};
        const std::uint64_t bits = random_();
        double any = 0;  // any number at all: subnormal, infinite, not a number
        std::memcpy(&any, &bits, sizeof any);
        const double number = static_cast<double>(below(4000000)) - 2000000;
        switch (below(5)) {
            case 0:
                return any;
            case 1:
                return special[below(std::size(special))];
            case 2:
                return number / 8;  // ties
            case 3:
                return number / 1000;
            default:
                return std::ldexp(static_cast<double>(bits), 30 - static_cast<int>(below(200)));
        }
    }
    std::string character() {
        const std::size_t kind = below(12);
        if (kind < 2) return kind == 0 ? "\u00E9" : "\u20AC";
        return {static_cast<char>(kind == 2 ? 1 + below(255) : ' ' + below(95))};
    }

    std::mt19937_64 random_{20240501};
};

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
std::string byLibrary(const Pair &pair) {
    char out[10000];
    const auto into = [&](auto value) {
        std::snprintf(out, sizeof out, pair.format.c_str(), value);
        return std::string(out);
    };
    if (pair.type == VORN_TYPE_STRING) return into(pair.string.c_str());
    if (pair.type == VORN_TYPE_UINT64) return into(pair.integer);
    if (pair.type == VORN_TYPE_FLOAT) return into(double{static_cast<float>(pair.floating)});
    if (pair.type == VORN_TYPE_DOUBLE) return into(pair.floating);
    return into(static_cast<std::uint32_t>(pair.integer));
}
#pragma GCC diagnostic pop

// A string through wide characters, as %ls prints it.
std::string byWideLibrary(const Pair &pair) {
    char32_t decoded[CFORMAT_MAX_STRING + 1] = {};
    utf8_decode_str(decoded, CFORMAT_MAX_STRING, pair.string.c_str());
    std::wstring format;
    for (const char c : pair.format) format += c == 's' ? L"ls" : std::wstring(1, c);
    static_assert(sizeof(wchar_t) == sizeof(char32_t));
    const std::wstring argument(decoded, std::find(decoded, std::end(decoded), U'\0'));
    wchar_t wide[10000];
    std::swprintf(wide, std::size(wide), format.c_str(), argument.c_str());
    std::string text;
    for (const wchar_t *at = wide; *at != 0 && at < wide + ROOM; ++at) {
        char bytes[4];
        std::size_t length = 0;
        utf8_encode(static_cast<char32_t>(*at), bytes, sizeof bytes, &length);
        text.append(bytes, length);
    }
    return text;
}

std::string print(const Pair &pair, CFormatUnit unit) {
    const auto u32 = static_cast<std::uint32_t>(pair.integer);
    const auto f32 = static_cast<float>(pair.floating);
    const void *data[] = {nullptr, pair.string.c_str(), &u32, &u32, &pair.integer,
                          &f32,    &pair.floating};
    const ItemValue value{pair.type, const_cast<void *>(data[pair.type]), 0, 0};
    // Of exact size, so that a sanitizer sees a byte too many.
    const std::size_t size = unit == CFORMAT_BYTES ? ROOM + 1 : ROOM * CFORMAT_MAX_BYTES + 1;
    std::string out(size, '\xAA');
    const std::size_t length = printCFormat(out.data(), ROOM, unit, pair.format, &value);
    EXPECT_EQ(out[length], '\0');
    return out.substr(0, length);
}

}  // namespace

TEST(CFormatRandom, PrintsWhatTheLibraryPrints) {
    PairMaker maker;
    for (int i = 0; i < PAIRS && !HasFailure(); ++i) {
        const Pair pair = maker.make();
        SCOPED_TRACE(pair.format);
        const std::string whole = byLibrary(pair);
        const bool string = pair.type == VORN_TYPE_STRING;
        ASSERT_EQ(print(pair, CFORMAT_BYTES), cutAtCharacter(whole, ROOM));
        ASSERT_EQ(print(pair, CFORMAT_CHARACTERS),
                  string ? byWideLibrary(pair) : whole.substr(0, ROOM));
    }
}
