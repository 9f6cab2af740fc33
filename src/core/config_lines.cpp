// SPDX-License-Identifier: MIT
#include "core/config_lines.h"

#include <cstring>

bool readConfigLine(std::FILE *file, ConfigLine *line) {
    while (std::fgets(line->text, sizeof line->text, file) != nullptr) {
        ++line->number;
        if (line->text[0] == '#') continue;
        line->text[std::strcspn(line->text, "\n")] = '\0';
        char *rest = nullptr;
        line->key = strtok_r(line->text, " \t", &rest);
        line->value = strtok_r(nullptr, " \t", &rest);
        if (line->key != nullptr) return true;
    }
    return false;
}
