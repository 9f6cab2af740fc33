// SPDX-License-Identifier: MIT
// The command line: -f, -c FILE, -D LEVEL and --help. Its messages go to standard output.
#pragma once

enum ArgsResult : int {
    ARGS_OK = 0,
    ARGS_HELP = 1,     // the usage was printed; the start ends here
    ARGS_FAILED = -1,  // a message was printed
};

// Sets the options that the arguments name. Ends at the first argument that does not begin with
// '-'; that one and all behind it are ignored.
int parseArgs(int argc, char **argv);

// Prints the usage with the configuration file as it is set now. Called by parseArgs.
void printUsage();
