// SPDX-License-Identifier: MIT
// The library's binary records: what stands at which byte, for the library and for those whom it
// calls back. Numbers are little-endian, as on the instrument, and stand at these positions
// whatever the host aligns them to.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

static_assert(std::endian::native == std::endian::little);

// Application record.
constexpr std::size_t APP_NAME = 12;  // 16 bytes, ended by a NUL
constexpr std::size_t APP_NAME_SIZE = 16;
constexpr std::size_t APP_START = 32;
constexpr std::size_t APP_STOP = 36;
constexpr std::size_t APP_RESTART = 40;
constexpr std::size_t APP_STATUS = 44;
constexpr std::size_t APP_POWERFAIL = 48;
constexpr std::size_t APP_REG_COUNT = 52;
constexpr std::size_t APP_REG_NAMES = 56;  // the host has its reader's address there
constexpr std::size_t APP_RECORD_SIZE = APP_REG_NAMES + 8;

// Register value record. Behind the first value come others, where the register's type says.
constexpr std::size_t REG_FLAGS = 0;
constexpr std::uint16_t REG_FLAG_NO_VALUE = 2;
constexpr std::size_t REG_VALUE = 8;
constexpr std::size_t REG_ARRAY_LENGTH = REG_VALUE;
constexpr std::size_t REG_FIXED_SIZE = 72;  // all fields but the elements of an array

template <class T>
void putField(void *record, std::size_t offset, T value) {
    std::memcpy(static_cast<char *>(record) + offset, &value, sizeof value);
}

template <class T>
T getField(const void *record, std::size_t offset) {
    T value;
    std::memcpy(&value, static_cast<const char *>(record) + offset, sizeof value);
    return value;
}
