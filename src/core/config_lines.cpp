// SPDX-License-Identifier: MIT
#include "core/config_lines.h"

#include <cstring>

#include "base/words.h"

bool readConfigLine(std::FILE *file, ConfigLine *line) {
    while (std::fgets(line->text, sizeof line->text, file) != nullptr) {
        ++line->number;
        if (line->text[0] == '#') continue;
        const std::size_t length = std::strcspn(line->text, "\n");
        line->cut = length == sizeof line->text - 1;
        line->text[length] = '\0';
        char *rest = nullptr;
        line->key = strtok_r(line->text, BLANKS.data(), &rest);
        line->value = strtok_r(nullptr, BLANKS.data(), &rest);
        line->extra = strtok_r(nullptr, BLANKS.data(), &rest);
        if (line->key != nullptr) return true;
    }
    return false;
}

void tellIgnored(const FindingSink &sink, const Place &at, const ConfigLine &line) {
    if (line.extra != nullptr)
        tellText(sink, SEVERITY_HINT, at, "'%s' and what follows it are ignored.", line.extra);
    if (line.cut)
        tellText(sink, SEVERITY_HINT, at,
                 "only %d characters belong to this line, the rest is the next.",
                 CONFIG_LINE_SIZE - 1);
}
