// SPDX-License-Identifier: MIT
#include "okra/register_types.h"

#include <iterator>

#include "okra/records.h"

namespace {

constexpr ResultsField appTable[] = {
    {"start", FIELD_U32, APP_START},         {"stop", FIELD_U32, APP_STOP},
    {"restart", FIELD_U32, APP_RESTART},     {"status", FIELD_U8, APP_STATUS},
    {"powerfail", FIELD_U32, APP_POWERFAIL}, {"regs", FIELD_I32, APP_REG_COUNT},
};

constexpr ResultsField u8Fields[] = {
    {"value", FIELD_U8, 8}, {"max", FIELD_U8, 10}, {"min", FIELD_U8, 11}};
constexpr ResultsField i8Fields[] = {
    {"value", FIELD_I8, 8}, {"max", FIELD_I8, 10}, {"min", FIELD_I8, 11}};
constexpr ResultsField u16Fields[] = {
    {"value", FIELD_U16, 8}, {"max", FIELD_U16, 12}, {"min", FIELD_U16, 14}};
constexpr ResultsField i16Fields[] = {
    {"value", FIELD_I16, 8}, {"max", FIELD_I16, 12}, {"min", FIELD_I16, 14}};
constexpr ResultsField u32Fields[] = {
    {"value", FIELD_U32, 8}, {"max", FIELD_U32, 16}, {"min", FIELD_U32, 20}};
constexpr ResultsField i32Fields[] = {
    {"value", FIELD_I32, 8}, {"max", FIELD_I32, 16}, {"min", FIELD_I32, 20}};
constexpr ResultsField u64Fields[] = {
    {"value", FIELD_U64, 8}, {"max", FIELD_U64, 24}, {"min", FIELD_U64, 32}};
constexpr ResultsField u32bFields[] = {
    {"value", FIELD_U32, 12}, {"max", FIELD_U32, 16}, {"min", FIELD_U32, 20}};
constexpr ResultsField i32bFields[] = {
    {"value", FIELD_I32, 12}, {"max", FIELD_I32, 16}, {"min", FIELD_I32, 20}};
constexpr ResultsField f32Fields[] = {{"value", FIELD_F32, 8}};
constexpr ResultsField f64Fields[] = {{"value", FIELD_F64, 8}};
constexpr ResultsField selFields[] = {{"value", FIELD_U8, 8}, {"labels", FIELD_LABELS, 0}};
constexpr ResultsField bitsFields[] = {{"value", FIELD_U32, 8}, {"labels", FIELD_LABELS, 0}};
constexpr ResultsField counterFields[] = {{"value", FIELD_U64, 8},
                                          {"time", FIELD_U64, 16},
                                          {"mult", FIELD_U32, 24},
                                          {"div", FIELD_U32, 28},
                                          {"secs", FIELD_U32, 64}};
constexpr ResultsField u8SecsFields[] = {{"value", FIELD_U8, 8}, {"secs", FIELD_U32, 16}};
constexpr ResultsField a8Fields[] = {{"data", FIELD_BYTES, 10}};
constexpr ResultsField a16Fields[] = {{"data", FIELD_WORDS, 10}};
constexpr ResultsField a32Fields[] = {{"data", FIELD_LONGS, 12}};

// The library's numbers count from 1.
constexpr RegisterType types[] = {
    {"u8", u8Fields},          {"i8", i8Fields},      {"u16", u16Fields},
    {"i16", i16Fields},        {"u32", u32Fields},    {"i32", i32Fields},
    {"f32", f32Fields},        {"f64", f64Fields},    {"sel", selFields},
    {"sel-b", selFields},      {"sel-c", selFields},  {"counter", counterFields},
    {"u8-secs", u8SecsFields}, {"a8", a8Fields},      {"a16", a16Fields},
    {"a8-b", a8Fields},        {"a16-b", a16Fields},  {"u64", u64Fields},
    {"u32-b", u32bFields},     {"i32-b", i32bFields}, {"a32", a32Fields},
    {"a32-b", a32Fields},      {"bits", bitsFields},
};
static_assert(std::size(types) == 23);

}  // namespace

const std::span<const ResultsField> appFields = appTable;

std::uint8_t findRegisterType(std::string_view name) {
    for (std::size_t i = 0; i < std::size(types); ++i)
        if (types[i].name == name) return static_cast<std::uint8_t>(i + 1);
    return 0;
}

const RegisterType &registerType(std::uint8_t number) {
    return types[number - 1];
}
