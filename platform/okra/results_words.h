// SPDX-License-Identifier: MIT
// The words of a results file's line and the numbers in them.
#pragma once

#include <cstddef>
#include <string_view>

// A word, or the value of an attribute, as it stands in the line.
struct ResultsText {
    std::string_view raw;  // without the quotes
    bool quoted;
    bool escaped;  // holds \" or \\, which copyText resolves
};

// What was found at the front of a line's rest.
enum WordResult { WORD_NONE, WORD_FOUND, WORD_BROKEN };

// Takes a word, quoted or not, off the front of `rest`. WORD_BROKEN sets *reason.
WordResult takeText(std::string_view *rest, ResultsText *text, const char **reason);

// Takes NAME=VALUE or NAME alone; `hasValue` says which.
WordResult takeAttribute(std::string_view *rest, std::string_view *name, bool *hasValue,
                         ResultsText *value, const char **reason);

// Copies a text without its escapes; `out` holds raw.size() bytes. Returns the number of bytes.
std::size_t copyText(const ResultsText &text, char *out);
