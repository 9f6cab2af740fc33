// SPDX-License-Identifier: MIT
#include "core/command_line.h"

#include <cstdio>
#include <string_view>

#include "core/options.h"
#include "storage/files.h"
#include "storage/strings.h"

int parseArgs(int argc, char **argv) {
    for (int i = 1; i < argc && argv[i][0] == '-'; ++i) {
        const std::string_view option = argv[i];
        // The list ends with a null pointer, so there is always one to look at.
        const char *value = argv[i + 1];
        if (option == "-f") {
            opt_fgnd = 1;
        } else if (option == "--help") {
            printUsage();
            return ARGS_HELP;
        } else if (option == "-c") {
            if (value == nullptr) {
                std::printf("Error: missing config file after '%s' option.\n", argv[i]);
                return ARGS_FAILED;
            }
            copyPath(opt_cfgfile, sizeof opt_cfgfile, value);
            ++i;
        } else if (option == "-D") {
            if (value == nullptr) {
                std::printf("Error: missing debug level after '%s' option.\n", argv[i]);
                return ARGS_FAILED;
            }
            opt_debug = toInt32(value);
            ++i;
        } else {
            std::printf("Error: unknown option '%s'.\n", argv[i]);
            return ARGS_FAILED;
        }
    }
    return ARGS_OK;
}

void printUsage() {
    std::printf("\nvorn " VORN_VERSION ": Tarix Configurations and Reports Manager.\n\n");
    std::printf("    -c <file>  : Use this config file (default: %s)\n", opt_cfgfile);
}
