// SPDX-License-Identifier: MIT
// Prints values by printf-style conversions. What a conversion means is in C99 7.19.6.1; where that
// leaves a case undefined, c_format.h says what happens here.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <utility>

#include "base/utf8_text.h"
#include "output/c_format.h"
#include "output/c_format_piece.h"
#include "output/report_records.h"
#include "pdf/utf8.h"

namespace {

// ---- writing text ----

// The text being made.
struct Text {
    char *out;
    std::size_t room;  // units left
    CFormatUnit unit;
    std::size_t length;  // bytes
};

// Both write a byte at a time: most of what they get is shorter than a call of memcpy is long.
char *copyShort(char *to, std::string_view bytes) {
    for (const char byte : bytes) *to++ = byte;
    return to;
}
char *fillShort(char *to, char c, std::size_t count) {
    for (; count > 0; --count) *to++ = c;
    return to;
}

void putAscii(Text *text, std::string_view ascii) {
    const std::size_t length = std::min(ascii.size(), text->room);
    copyShort(text->out + text->length, ascii.substr(0, length));
    text->length += length;
    text->room -= length;
}

void putFill(Text *text, char c, std::size_t count) {
    if (count == 0) return;
    const std::size_t length = std::min(count, text->room);
    std::memset(text->out + text->length, c, length);
    text->length += length;
    text->room -= length;
}

// Not "c >= 0": a char has no sign on ARM.
constexpr bool isAscii(char c) {
    return static_cast<unsigned char>(c) < 0x80;
}

// Puts the character that begins `rest`; ends the text when it does not fit. Returns its bytes.
std::size_t putCharacter(Text *text, std::string_view rest) {
    const std::size_t length = isAscii(rest.front()) ? 1 : characterBytes(rest);
    const std::size_t units = text->unit == CFORMAT_BYTES ? length : 1;
    if (units > text->room) {
        text->room = 0;
        return length;
    }
    for (std::size_t i = 0; i < length; ++i) text->out[text->length++] = rest[i];
    text->room -= units;
    return length;
}

// Puts a text of so many units.
void putUtf8(Text *text, std::string_view utf8, std::size_t units) {
    if (units > text->room) {
        while (text->room > 0) utf8.remove_prefix(putCharacter(text, utf8));
        return;
    }
    utf8.copy(text->out + text->length, utf8.size());
    text->length += utf8.size();
    text->room -= units;
}

// The text around a conversion: "%%" prints one %, and so does a further conversion, which has no
// value.
void putLiteral(Text *text, std::string_view literal) {
    if (literal == " ") return putAscii(text, literal);  // what stands between columns
    while (!literal.empty() && text->room > 0) {
        const bool pair = literal.size() > 1 && literal[0] == '%' && literal[1] == '%';
        const std::size_t length = putCharacter(text, literal);
        literal.remove_prefix(pair ? 2 : length);
    }
}

// ---- the conversions ----

std::size_t paddingOf(const Conversion *conversion, std::size_t length) {
    const auto width = static_cast<std::size_t>(conversion->width);
    return width > length ? width - length : 0;
}

// A text of so many units, padded with blanks.
void putField(Text *text, const Conversion *conversion, std::string_view field, std::size_t units) {
    const std::size_t padding = paddingOf(conversion, units);
    if (!conversion->has(FLAG_LEFT)) putFill(text, ' ', padding);
    putUtf8(text, field, units);
    if (conversion->has(FLAG_LEFT)) putFill(text, ' ', padding);
}

// A number: sign or base, zeros that the precision asks for, digits. `padZeros` lets the flag 0
// fill the width with zeros.
void putNumber(Text *text, const Conversion *conversion, std::string_view prefix, std::size_t zeros,
               std::string_view digits, bool padZeros) {
    std::size_t padding = paddingOf(conversion, prefix.size() + zeros + digits.size());
    const bool left = conversion->has(FLAG_LEFT);
    if (padZeros && !left && conversion->has(FLAG_ZERO)) {
        zeros += padding;
        padding = 0;
    }
    const std::size_t length = padding + prefix.size() + zeros + digits.size();
    if (length > text->room) {
        if (!left) putFill(text, ' ', padding);
        putAscii(text, prefix);
        putFill(text, '0', zeros);
        putAscii(text, digits);
        if (left) putFill(text, ' ', padding);
        return;
    }
    char *to = text->out + text->length;
    if (!left) to = fillShort(to, ' ', padding);
    to = copyShort(to, prefix);
    to = fillShort(to, '0', zeros);
    to = copyShort(to, digits);
    if (left) fillShort(to, ' ', padding);
    text->length += length;
    text->room -= length;
}

// The format for snprintf of a conversion that only the C library prints: flags, width and
// precision as arguments, the modifier given, the letter.
struct LibraryFormat {
    char text[16];
};

LibraryFormat libraryFormat(const Conversion *conversion, std::string_view modifier, char letter) {
    LibraryFormat format{};
    char *to = format.text;
    *to++ = '%';
    constexpr std::string_view flags = "-+ #0'";  // in the order of the flags' bits
    for (std::size_t i = 0; i < flags.size(); ++i)
        if (conversion->has(1U << i)) *to++ = flags[i];
    for (const char c : {'*', '.', '*'}) *to++ = c;
    to = std::copy(modifier.begin(), modifier.end(), to);
    *to = letter;
    return format;
}

thread_local std::int32_t printWork = 0;

// Notes a floating number that the C library prints: it works out digit by digit, of large ones
// some hundred.
void notePrinted(const Conversion *conversion, double number) {
    constexpr std::int32_t least = 4;
    constexpr std::int32_t digitsEach = 8;
    constexpr double large[] = {1e20, 1e50, 1e100, 1e150, 1e200, 1e250, 1e300};
    constexpr std::int32_t largeEach = 20;
    printWork += least + std::max(conversion->precision, 0) / digitsEach;
    for (const double limit : large)
        if (std::fabs(number) > limit) printWork += largeEach;
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"  // made here, of checked parts
// Number is what modifier and letter say: double, or long long for "ll".
template <class Number>
void putByLibrary(Text *text, const Conversion *conversion, std::string_view modifier, char letter,
                  Number number) {
    const LibraryFormat format = libraryFormat(conversion, modifier, letter);
    const int length = std::snprintf(text->out + text->length, text->room + 1, format.text,
                                     conversion->width, conversion->precision, number);
    if (length < 0) return;  // no memory: the field stays empty
    const std::size_t written = std::min(static_cast<std::size_t>(length), text->room);
    text->length += written;
    text->room -= written;
}
#pragma GCC diagnostic pop

void toUpper(char *from, const char *to) {
    for (; from != to; ++from)
        if (*from >= 'a' && *from <= 'z') *from = static_cast<char>(*from - 'a' + 'A');
}

// The sign of a number by the flags: "-", "+", " " or nothing.
std::string_view signOf(const Conversion *conversion, bool negative) {
    if (negative) return "-";
    if (conversion->has(FLAG_PLUS)) return "+";
    return conversion->has(FLAG_BLANK) ? " " : "";
}

// An integer value: its bits, and what its type says of them.
struct Integer {
    std::uint64_t bits;  // sign-extended when isSigned, else zero-extended
    bool isSigned;
    bool is64;
};

// The same bits read as a signed or unsigned number: of the same size, or of the smaller one that
// the modifier h or hh names.
std::uint64_t readAs(const Integer *integer, CFormatSize size, bool asSigned) {
    if (size == SIZE_8 || size == SIZE_16) {
        const unsigned unused = size == SIZE_8 ? 56 : 48;
        const std::uint64_t top = integer->bits << unused;
        return asSigned ? static_cast<std::uint64_t>(static_cast<std::int64_t>(top) >> unused)
                        : top >> unused;
    }
    if (integer->is64) return integer->bits;
    const auto low = static_cast<std::uint32_t>(integer->bits);
    return asSigned ? static_cast<std::uint64_t>(static_cast<std::int32_t>(low)) : low;
}

void putDecimal(Text *text, const Conversion *conversion, std::uint64_t bits, bool isSigned) {
    if (conversion->has(FLAG_GROUP)) {
        if (isSigned)
            putByLibrary(text, conversion, "ll", 'd', static_cast<long long>(bits));
        else
            putByLibrary(text, conversion, "ll", 'u', static_cast<unsigned long long>(bits));
        return;
    }
    const bool negative = isSigned && static_cast<std::int64_t>(bits) < 0;
    char digits[24];
    const auto end = std::to_chars(digits, std::end(digits), negative ? 0 - bits : bits).ptr;
    std::string_view shown(digits, static_cast<std::size_t>(end - digits));
    if (conversion->precision == 0 && bits == 0) shown = {};
    const auto wanted = static_cast<std::size_t>(std::max(conversion->precision, 0));
    putNumber(text, conversion, isSigned ? signOf(conversion, negative) : "",
              wanted > shown.size() ? wanted - shown.size() : 0, shown,
              conversion->precision == NOT_GIVEN);
}

void putHexOrOctal(Text *text, const Conversion *conversion, std::uint64_t bits) {
    const bool octal = conversion->letter == 'o';
    char digits[24];
    char *end = std::to_chars(digits, std::end(digits), bits, octal ? 8 : 16).ptr;
    if (conversion->letter == 'X') toUpper(digits, end);
    std::string_view shown(digits, static_cast<std::size_t>(end - digits));
    if (conversion->precision == 0 && bits == 0) shown = {};
    const auto wanted = static_cast<std::size_t>(std::max(conversion->precision, 0));
    std::size_t zeros = wanted > shown.size() ? wanted - shown.size() : 0;
    std::string_view prefix;
    if (conversion->has(FLAG_ALTERNATE)) {
        if (octal && zeros == 0 && (shown.empty() || shown.front() != '0')) zeros = 1;
        if (!octal && bits != 0) prefix = conversion->letter == 'X' ? "0X" : "0x";
    }
    putNumber(text, conversion, prefix, zeros, shown, conversion->precision == NOT_GIVEN);
}

// %c prints the low byte, %lc the code point. A NUL ends the text, as it does in a C string.
void putChar(Text *text, const Conversion *conversion, std::uint32_t code) {
    const bool wide = conversion->isWide();
    if (!wide) code &= 0xFF;
    char bytes[4] = {static_cast<char>(code)};
    std::size_t length = wide || text->unit == CFORMAT_CHARACTERS ? 0 : 1;
    if (length == 0) utf8_encode(code, bytes, sizeof bytes, &length);
    const std::size_t units = text->unit == CFORMAT_BYTES ? length : 1;
    if (code != 0) {
        putField(text, conversion, {bytes, length}, units);
        return;
    }
    if (!conversion->has(FLAG_LEFT)) putFill(text, ' ', paddingOf(conversion, units));
    text->room = 0;
}

void putInteger(Text *text, const Conversion *conversion, const Integer *integer) {
    const CFormatSize size = conversion->size;
    const bool fits = size == SIZE_MACHINE || size == SIZE_16 || size == SIZE_8 ||
                      size == (integer->is64 ? SIZE_64 : SIZE_32);
    switch (conversion->letter) {
        case 'd':
        case 'i':
        case 'u': {
            const bool asSigned = fits ? conversion->letter != 'u' : integer->isSigned;
            putDecimal(text, conversion, readAs(integer, size, asSigned), asSigned);
            return;
        }
        case 'o':
        case 'x':
        case 'X':
            putHexOrOctal(text, conversion, readAs(integer, size, false));
            return;
        case 'c':
        case 'C':
            if (conversion->printsCharacter() && !integer->is64) {
                putChar(text, conversion, static_cast<std::uint32_t>(integer->bits));
                return;
            }
            break;
        default:
            break;
    }
    Conversion decimal = *conversion;  // the precision meant decimals, or a length of text
    decimal.precision = NOT_GIVEN;
    putDecimal(text, &decimal, integer->bits, integer->isSigned);
}

// The most decimals that putFixed prints, and its room: 16 digits before the point, the point,
// these.
constexpr int MAX_FIXED_DECIMALS = 9;
constexpr std::size_t FIXED_ROOM = 16 + 1 + MAX_FIXED_DECIMALS;

// Prints a number of 0 or more as "%.*f" does, by whole numbers; null when it cannot, which is
// rare. A double is a whole number of 53 bits times a power of two. Of these bits, 60 at most are
// kept behind the binary point: ten times as much still fits into 64 bits, so that the decimals
// come out one after the other, and what is left of the bits says exactly how to round.
char *putFixed(char (&digits)[FIXED_ROOM], double number, int precision) {
    constexpr int MANTISSA_BITS = 52;
    constexpr int EXPONENT_BIAS = 1023 + MANTISSA_BITS;
    constexpr int KEPT_BITS = 60;
    if (precision > MAX_FIXED_DECIMALS) return nullptr;
    std::uint64_t bits = 0;
    std::memcpy(&bits, &number, sizeof bits);
    const int exponent = static_cast<int>(bits >> MANTISSA_BITS);
    const std::uint64_t hidden = std::uint64_t{1} << MANTISSA_BITS;
    std::uint64_t mantissa = (bits & (hidden - 1)) | (exponent > 0 ? hidden : 0);
    int cut = EXPONENT_BIAS - std::max(exponent, 1);  // the bits behind the binary point
    if (cut < 1) return nullptr;                      // a large whole number, or none
    bool lost = false;
    if (cut > KEPT_BITS) {
        const int tooMany = std::min(cut - KEPT_BITS, 63);
        lost = (mantissa & ((std::uint64_t{1} << tooMany) - 1)) != 0;
        mantissa >>= tooMany;
        cut = KEPT_BITS;
    }
    const std::uint64_t one = std::uint64_t{1} << cut;
    std::uint64_t whole = mantissa >> cut;
    std::uint64_t rest = mantissa & (one - 1);
    std::uint64_t decimals = 0;
    std::uint64_t allDecimals = 1;
    for (int i = 0; i < precision; ++i, allDecimals *= 10) {
        rest *= 10;
        decimals = decimals * 10 + (rest >> cut);
        rest &= one - 1;
    }
    // Bits that were lost are less than one of the last place, which has been taken times ten as
    // well.
    const std::uint64_t half = one / 2;
    if (lost && (rest < half ? half : one) - rest <= allDecimals) return nullptr;
    const bool odd = ((precision == 0 ? whole : decimals) & 1) != 0;
    if (rest > half || (rest == half && (odd || lost))) ++decimals;
    if (decimals == allDecimals) {
        ++whole;
        decimals = 0;
    }

    char *to = std::to_chars(digits, std::end(digits), whole).ptr;
    if (precision == 0) return to;
    *to++ = '.';
    for (int i = precision; i > 0; --i, decimals /= 10)
        to[i - 1] = static_cast<char>('0' + decimals % 10);
    return to + precision;
}

void putDouble(Text *text, const Conversion *conversion, double number) {
    constexpr std::string_view letters = "fFeEgGaA";
    const bool known = letters.find(conversion->letter) != std::string_view::npos;
    const char letter = known ? conversion->letter : 'f';
    const int precision = conversion->precision == NOT_GIVEN ? 6 : conversion->precision;
    char digits[FIXED_ROOM];
    const char *end = nullptr;
    if ((letter == 'f' || letter == 'F') && !conversion->has(FLAG_ALTERNATE | FLAG_GROUP))
        end = putFixed(digits, std::fabs(number), precision);
    if (end == nullptr) {
        notePrinted(conversion, number);
        return putByLibrary(text, conversion, "", letter, number);
    }
    putNumber(text, conversion, signOf(conversion, std::signbit(number)), 0,
              {digits, static_cast<std::size_t>(end - digits)}, true);
}

// A string counted in bytes: the precision cuts it as snprintf does.
void putByteString(Text *text, const Conversion *conversion, const char *string) {
    const std::size_t length =
        conversion->precision == NOT_GIVEN
            ? std::strlen(string)
            : strnlen(string, static_cast<std::size_t>(conversion->precision));
    putField(text, conversion, {string, length}, length);
}

// A string counted in characters, as the lenient decoder reads it, encoded again.
void putCharacterString(Text *text, const Conversion *conversion, const char *string) {
    std::size_t most = CFORMAT_MAX_STRING;
    if (conversion->precision != NOT_GIVEN)
        most = std::min(most, static_cast<std::size_t>(conversion->precision));
    char encoded[CFORMAT_MAX_STRING * 3];  // the decoder gives no code point of four bytes
    std::size_t length = 0;
    std::size_t count = 0;
    for (std::size_t at = 0; count < most; ++count) {
        if (isAscii(string[at]) && string[at] != '\0') {
            encoded[length++] = string[at++];
            continue;
        }
        const char32_t codePoint = utf8_decode_next(string, &at);
        if (codePoint == 0) break;
        utf8_encode(codePoint, encoded, sizeof encoded, &length);
    }
    putField(text, conversion, {encoded, length}, count);
}

void putString(Text *text, const Conversion *conversion, const char *string) {
    if (text->unit == CFORMAT_BYTES)
        putByteString(text, conversion, string);
    else
        putCharacterString(text, conversion, string);
}

void putValue(Text *text, const Conversion *conversion, const ItemValue *value) {
    if (value->data == nullptr || value->type == VORN_TYPE_NONE) {
        putString(text, conversion, value->type == VORN_TYPE_STRING ? "" : "----");
        return;
    }
    Integer integer{};
    switch (value->type) {
        case VORN_TYPE_STRING:
            putString(text, conversion, static_cast<const char *>(value->data));
            return;
        case VORN_TYPE_FLOAT:
            putDouble(text, conversion, loadNumber<float>(value));
            return;
        case VORN_TYPE_DOUBLE:
            putDouble(text, conversion, loadNumber<double>(value));
            return;
        case VORN_TYPE_UINT32:
            integer = {loadNumber<std::uint32_t>(value), false, false};
            break;
        case VORN_TYPE_INT32:
            integer = {static_cast<std::uint64_t>(loadNumber<std::int32_t>(value)), true, false};
            break;
        default:
            integer = {loadNumber<std::uint64_t>(value), false, true};
            break;
    }
    putInteger(text, conversion, &integer);
}

}  // namespace

std::int32_t takePrintWork() {
    return std::exchange(printWork, 0);
}

std::size_t printCFormatPiece(char *out, std::size_t room, CFormatUnit unit,
                              const CFormatPiece *piece, const ItemValue *value) {
    Text text{out, room, unit, 0};
    if (value->type <= VORN_TYPE_DOUBLE) {  // no text at all for an unknown type
        putLiteral(&text, piece->before);
        if (piece->hasConversion) putValue(&text, &piece->conversion, value);
        putLiteral(&text, piece->after);
    }
    out[text.length] = '\0';
    return text.length;
}

std::size_t printCFormat(char *out, std::size_t room, CFormatUnit unit, std::string_view format,
                         const ItemValue *value) {
    const CFormatPiece piece = readCFormatPiece(format);
    return printCFormatPiece(out, room, unit, &piece, value);
}

std::size_t printCFormatAs(char *out, std::size_t room, CFormatUnit unit, std::string_view format,
                           std::string_view newType, const ItemValue *value) {
    char buffer[CFORMAT_SIZE];
    const std::size_t length = changeCFormatDataType(buffer, sizeof buffer, format, newType);
    std::string_view changed(buffer, length);
    // The change may have pushed the end of a full format out, and cut a character with it. Bytes
    // need not be UTF-8.
    if (unit == CFORMAT_CHARACTERS && length == sizeof buffer - 1)
        changed = withoutHalfCharacter(changed);
    CFormatPiece piece = readCFormatPiece(changed);
    if (piece.conversion.letter != newType.back()) piece = readCFormatPiece(format);
    return printCFormatPiece(out, room, unit, &piece, value);
}
