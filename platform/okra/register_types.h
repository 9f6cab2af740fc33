// SPDX-License-Identifier: MIT
// What a line of a results file may say: the attributes of an application and of each register
// type, and where their values stand in the library's records.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

// How an attribute's text is read.
enum FieldKind : std::uint8_t {
    FIELD_U8,
    FIELD_I8,
    FIELD_U16,
    FIELD_I16,
    FIELD_U32,
    FIELD_I32,
    FIELD_U64,
    FIELD_F32,
    FIELD_F64,
    FIELD_BYTES,  // elements of 1, 2 and 4 bytes, separated by commas
    FIELD_WORDS,
    FIELD_LONGS,
    FIELD_LABELS,  // texts separated by '|'
};

struct ResultsField {
    std::string_view name;
    FieldKind kind;
    std::uint8_t offset;  // byte position in the record; of the first element for an array
};

struct RegisterType {
    std::string_view name;
    std::span<const ResultsField> fields;
};

extern const std::span<const ResultsField> appFields;

// The library's number of a register type, 1 to 23, or 0 for an unknown word.
std::uint8_t findRegisterType(std::string_view name);

// The type of a number that findRegisterType gave.
const RegisterType &registerType(std::uint8_t number);
