// SPDX-License-Identifier: MIT
// Reads a results file (.res) line by line into the library's binary records.
//
// A line is a record: `okra 1` first, `app NAME ATTRIBUTE=VALUE...` an application, `reg TYPE NAME
// ATTRIBUTE=VALUE...` a register of the application above it. Memory grows with the longest line
// and with nothing else: a file may declare as many registers as it likes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/line_reader.h"
#include "okra/records.h"

constexpr std::size_t RESULTS_NAME_MAX = 63;
constexpr std::uint32_t RESULTS_LABELS_MAX = 256;  // a selection's value is a byte

// The label records of the register read last: entry i is a blank and the text.
struct ResultsLabels {
    GrowingBlock block;
    std::uint32_t count = 0;
    std::uint32_t offsets[RESULTS_LABELS_MAX];  // into the block; NO_LABEL for an empty entry
};

enum ResultsLine { APP_LINE, REG_LINE, NO_LINE };

struct ResultsReader {
    DescriptorGuard file;
    LineReader lines;
    LineReader ahead;  // runs one application ahead, to count its registers
    std::string_view line;

    // Of the last `app` line.
    alignas(8) unsigned char app[APP_RECORD_SIZE] = {};
    char appName[RESULTS_NAME_MAX + 1] = {};  // the record holds its first 15 bytes
    std::int32_t appLines = 0;                // its `reg` lines
    std::uint32_t nextId = 0;

    // Of the last `reg` line.
    std::uint8_t type = 0;
    std::uint16_t id = 0;
    char name[RESULTS_NAME_MAX + 1] = {};
    GrowingBlock value;  // the register value record
    ResultsLabels labels;
};

// Opens a file and reads its first line. OKRA_OK, OKRA_FILE_ERROR, OKRA_BAD_FILE or OKRA_NO_MEMORY,
// with the reason kept for APX_Error. The reader closes it.
int resultsOpen(ResultsReader *reader, const char *path);

// Reads up to the next application or register, whose fields the reader then holds. Codes as above.
int resultsNext(ResultsReader *reader, ResultsLine *line);
