// SPDX-License-Identifier: MIT
// Printf-style formats that come from templates: cutting them into pieces of one conversion each,
// counting and rewriting conversions, and printing a value by a piece. A format is data here: it
// never reaches printf, so no template can make it read or write what is not there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "vorn/plugin.h"

struct CFormatPiece;  // output/c_format_piece.h

// The number of conversions: each % that is not the first of a pair "%%".
std::int32_t countCFormatFields(const char *format);

// Takes the next piece off a format: one conversion with the literal text around it, up to the next
// conversion or the end. Moves the cursor behind it.
std::string_view takeCFormatPiece(const char **cursor);

// The same, copied to `out` and cut to outSize - 1 bytes. Returns where the next piece begins. Rows
// need no copy; it is for who hands pieces to dumpTextFormatVal or dumpTextWFormatVal, which take
// them with a NUL.
const char *getNextCFormat(char *out, std::size_t outSize, const char *cursor);

// Copies a format with the letters of each conversion (the whole run of "diouxXeEfFgGaAcCsSPnl"
// behind flags, width and precision) replaced by newType. The copy is cut to outSize - 1 bytes and
// ends in a NUL. Returns its length.
std::size_t changeCFormatDataType(char *out, std::size_t outSize, std::string_view format,
                                  std::string_view newType);

// How widths, precisions and room are counted.
enum CFormatUnit : std::uint8_t {
    CFORMAT_BYTES,       // as snprintf does
    CFORMAT_CHARACTERS,  // as swprintf does, but the text is UTF-8
};

// Strings printed in characters are read by the lenient decoder of pdf/utf8.h, at most this many.
constexpr std::size_t CFORMAT_MAX_STRING = 63;

// Most bytes of a character; a buffer for n characters has CFORMAT_MAX_BYTES * n + 1 bytes.
constexpr std::size_t CFORMAT_MAX_BYTES = 4;

// Widths and precisions above this are taken as not given.
constexpr std::int32_t CFORMAT_MAX_WIDTH = 4095;

// Prints one value by a piece: the literal text and, in place of the conversion, the value.
//
// A conversion that fits the value prints what printf prints: d i u o x X c for the integers, with
// the length modifier of the value's size (none for 32 bits, ll q j L for 64; l z t have the size
// of the machine and fit both), e f g a for FLOAT and DOUBLE, any for strings. Any other prints
// the value by its type (integers in decimal or in the base asked for, floating numbers as %f)
// with the flags, the width and, where it has the same meaning, the precision; so does "*", which
// counts as not given. Conversions after the first are literal text. The decimal sign is a point;
// what the C library prints (the flags ' and #, %e, %g, %a, more than nine decimals, very large
// numbers) asks the numeric locale, where it is one too unless a plug-in has set another.
//
// A value of type none, or a number without data, prints as the string "----", a string without
// data as "", and a value of an unknown type gives no text at all.
//   out    gets the text and a NUL: room + 1 bytes, or CFORMAT_MAX_BYTES * room + 1
//   room   bytes or characters; what does not fit is cut, never inside a UTF-8 character
// Returns the number of bytes without the NUL.
std::size_t printCFormat(char *out, std::size_t room, CFormatUnit unit, std::string_view format,
                         const ItemValue *value);

// The same by a format whose letters changeCFormatDataType changed to newType, in CFORMAT_SIZE
// bytes; by the format itself when it has no letters to change.
std::size_t printCFormatAs(char *out, std::size_t room, CFormatUnit unit, std::string_view format,
                           std::string_view newType, const ItemValue *value);

// How much of this thread's printing since the last call took long, in units of some 60 ns: the
// numbers that the C library prints, of up to 308 digits. Limits of templates count it.
std::int32_t takePrintWork();

// printCFormat by a piece that was taken apart before.
std::size_t printCFormatPiece(char *out, std::size_t room, CFormatUnit unit,
                              const CFormatPiece *piece, const ItemValue *value);

// Whether a piece, and `text` that it was read from, prints strings by itself just as
// printCFormatAs prints them by it with "s" or "ls". Many that do are not found out.
bool isTextPiece(std::string_view text, const CFormatPiece *piece);
