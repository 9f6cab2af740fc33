// SPDX-License-Identifier: MIT
// Prints values by random formats that fit them and compares with the C library: snprintf for
// bytes, swprintf for characters.
#include <algorithm>
#include <array>
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
    ItemValue value;
    union {
        std::uint32_t u32;
        std::uint64_t u64;
        float f32;
        double f64;
    } number;
    std::string string;
};

class PairMaker {
public:
    explicit PairMaker(unsigned seed) : random_(seed) {}

    Pair make() {
        Pair pair{};
        constexpr std::uint32_t types[] = {VORN_TYPE_STRING, VORN_TYPE_UINT32, VORN_TYPE_INT32,
                                           VORN_TYPE_UINT64, VORN_TYPE_FLOAT,  VORN_TYPE_DOUBLE};
        const std::uint32_t type = pair.value.type = types[below(std::size(types))];
        const bool isString = type == VORN_TYPE_STRING;
        const bool floats = type == VORN_TYPE_FLOAT || type == VORN_TYPE_DOUBLE;
        pair.format = literal() + "%" + flags(!isString) + sizes();
        if (type == VORN_TYPE_UINT64) pair.format += below(2) == 0 ? "ll" : "j";
        pair.format += oneOf(isString ? "s" : floats ? "feEgGaAF" : "diuoxX") + literal();
        if (isString)
            pair.string = string();
        else if (type == VORN_TYPE_FLOAT)
            pair.number.f32 = static_cast<float>(floating());
        else if (type == VORN_TYPE_DOUBLE)
            pair.number.f64 = floating();
        else if (type == VORN_TYPE_UINT64)
            pair.number.u64 = integer();
        else
            pair.number.u32 = static_cast<std::uint32_t>(integer());
        return pair;
    }

private:
    std::size_t below(std::size_t limit) { return random_() % limit; }
    char oneOf(std::string_view letters) { return letters[below(letters.size())]; }

    std::string literal() {
        constexpr std::string_view parts[] = {"", "", " ", "ab", "%%", "%% c"};
        return std::string(parts[below(std::size(parts))]);
    }

    // Flags that are undefined for strings print nothing there; the library agrees, but the
    // compiler's checks do not.
    std::string flags(bool number) {
        std::string flags;
        for (std::size_t n = below(4); n > 0; --n) flags += oneOf(number ? "-+ #0'" : "-");
        return flags;
    }

    std::string sizes() {
        std::string sizes;
        const std::size_t kind = below(20);
        if (kind == 0) sizes += std::to_string(below(4096));
        if (kind > 10) sizes += std::to_string(1 + below(40));
        const std::size_t precision = below(20);
        if (precision == 0) sizes += "." + std::to_string(below(4096));
        if (precision == 1) sizes += ".";
        if (precision > 8) sizes += "." + std::to_string(below(20));
        return sizes;
    }

    std::uint64_t integer() {
        const std::uint64_t bits = random_() >> below(64);
        const std::size_t kind = below(8);
        if (kind == 0) return below(3);
        return kind == 1 ? ~bits : bits;
    }

    double floating() {
        const std::uint64_t bits = random_();
        double any = 0;
        switch (below(6)) {
            case 0:  // any number at all: subnormal, infinite, not a number
                std::memcpy(&any, &bits, sizeof any);
                return any;
            case 1:  // ties
                return (static_cast<double>(below(4000)) - 2000) / 8;
            case 2:
                return static_cast<double>(bits >> below(64));
            case 3:
                return (static_cast<double>(below(2000000)) - 1000000) / 1000;
            case 4:
                return std::array<double, 10>{0.0,  -0.0,  INFINITY, -INFINITY, NAN,
                                              -NAN, 1e308, 5e-324,   9.9999995, 999999.5}[below(
                    10)];
            default:
                return std::ldexp(static_cast<double>(bits), -static_cast<int>(below(200)));
        }
    }

    std::string string() {
        std::string text;
        for (std::size_t n = below(below(8) == 0 ? 150 : 20); n > 0; --n) {
            const std::size_t kind = below(12);
            if (kind == 0) text += "\u00E9";
            if (kind == 1) text += "\u20AC";
            if (kind == 2) text += static_cast<char>(1 + below(255));
            if (kind > 2) text += static_cast<char>(' ' + below(95));
        }
        return text;
    }

    std::mt19937_64 random_;
};

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
std::string byLibrary(const Pair &pair) {
    char out[10000];
    const auto into = [&](auto value) {
        std::snprintf(out, sizeof out, pair.format.c_str(), value);
    };
    switch (pair.value.type) {
        case VORN_TYPE_STRING:
            into(pair.string.c_str());
            break;
        case VORN_TYPE_UINT64:
            into(pair.number.u64);
            break;
        case VORN_TYPE_FLOAT:
            into(static_cast<double>(pair.number.f32));
            break;
        case VORN_TYPE_DOUBLE:
            into(pair.number.f64);
            break;
        default:
            into(pair.number.u32);
            break;
    }
    return out;
}
#pragma GCC diagnostic pop

// A string through wide characters, as %ls prints it.
std::string byWideLibrary(const Pair &pair) {
    char32_t decoded[CFORMAT_MAX_STRING + 1] = {};
    utf8_decode_str(decoded, CFORMAT_MAX_STRING, pair.string.c_str());
    std::wstring format;
    for (const char c : pair.format) {
        if (c == 's') format += L'l';
        format += static_cast<wchar_t>(c);
    }
    static_assert(sizeof(wchar_t) == sizeof(char32_t));
    const std::wstring argument(std::begin(decoded),
                                std::find(std::begin(decoded), std::end(decoded), U'\0'));
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

std::string print(Pair *pair, CFormatUnit unit) {
    pair->value.data = &pair->number;
    if (pair->value.type == VORN_TYPE_STRING) pair->value.data = pair->string.data();
    // Of exact size, so that a sanitizer sees a byte too many.
    const std::size_t size = unit == CFORMAT_BYTES ? ROOM + 1 : ROOM * CFORMAT_MAX_BYTES + 1;
    std::string out(size, '\xAA');
    const std::size_t length = printCFormat(out.data(), ROOM, unit, pair->format, &pair->value);
    EXPECT_EQ(out[length], '\0');
    return out.substr(0, length);
}

}  // namespace

TEST(CFormatRandom, PrintsWhatTheLibraryPrints) {
    PairMaker maker(20240501);
    int differences = 0;
    for (int i = 0; i < PAIRS && differences < 10; ++i) {
        Pair pair = maker.make();
        const std::string whole = byLibrary(pair);
        const std::string bytes = print(&pair, CFORMAT_BYTES);
        const std::string characters = print(&pair, CFORMAT_CHARACTERS);
        const bool string = pair.value.type == VORN_TYPE_STRING;
        const std::string wide = string ? byWideLibrary(pair) : whole.substr(0, ROOM);
        if (bytes == cutAtCharacter(whole, ROOM) && characters == wide) continue;
        ++differences;
        ADD_FAILURE() << "pair " << i << " '" << pair.format << "' type " << pair.value.type
                      << "\nlibrary    [" << whole << "]\nbytes      [" << bytes
                      << "]\nwide       [" << wide << "]\ncharacters [" << characters << "]";
    }
}

// Whatever a template says, a value prints within its room; the sanitizers see the rest.
TEST(CFormatRandom, SurvivesAnyFormat) {
    constexpr std::string_view letters =
        "%%%%%-+ #0'I**..1234567890$hlLqjztdiuoxXeEfFgGaAcCsSpnmy;\xC3\xA9\xE2\xF0\x9F";
    PairMaker maker(20240502);
    std::mt19937 random(20240502);
    for (int i = 0; i < PAIRS / 4; ++i) {
        Pair pair = maker.make();
        pair.format.clear();
        for (std::size_t n = random() % CFORMAT_SIZE; n > 0; --n)
            pair.format += letters[random() % letters.size()];
        EXPECT_LE(print(&pair, CFORMAT_BYTES).size(), ROOM);
        const std::string text = print(&pair, CFORMAT_CHARACTERS);
        std::string_view rest = text;
        std::size_t count = 0;
        for (; !rest.empty(); ++count) rest.remove_prefix(characterBytes(rest));
        EXPECT_LE(count, ROOM) << pair.format;
        char line[CFORMAT_SIZE * CFORMAT_MAX_BYTES];
        printCFormatAs(line, CFORMAT_SIZE - 1, CFORMAT_CHARACTERS, pair.format, "ls", &pair.value);
    }
}
