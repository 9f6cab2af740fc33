// SPDX-License-Identifier: MIT
// The settings of the configuration file, a row a key.
#pragma once

#include <cstddef>
#include <string_view>

#include "core/findings.h"

struct Setting {
    std::string_view key;
    // Sets the option from a word; false, and nothing changed, for a word that it does not know.
    //   at  for warnings, which go to the sink
    bool (*set)(const FindingSink &sink, const Place &at, const char *word);
    const char *preset;   // the word of the default, as service.md shows it; null: another key's
    const char *missing;  // the error for a line without a value; null: that is the empty word
    const char *unknown;  // the error for a word that is not known, before the word
};

extern const Setting settings[];
extern const std::size_t settingsCount;

// The row of a key, or null.
const Setting *findSetting(std::string_view key);

// Sets every option that the file can set to its default. Fixed paths get the root in front.
void presetSettings();
