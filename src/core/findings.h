// SPDX-License-Identifier: MIT
// What the readers of configuration and subscription files have to say. They hand each finding to a
// function: the service's writes the log, that of a check collects them.
#pragma once

enum Severity {
    SEVERITY_APPLIED,  // nothing is wrong: the text is the line's key, which has taken effect
    SEVERITY_HINT,     // for who checks the file; the log does not tell it
    SEVERITY_WARNING,
    SEVERITY_ERROR,
};

struct Place {
    const char *path;
    int line;  // 0: the whole file
};

// Lives for the call.
struct Finding {
    Severity severity;
    Place place;
    const char *text;
    const char *logged;  // how the log words it; null: severity, place and text
};

// What the reader does after a wrong line: the service stops there, while a check reads on to
// report every one. The result is the same.
enum AfterError { STOP_AT_ERROR, GO_ON_AFTER_ERRORS };

struct FindingSink {
    void (*take)(void *user, const Finding &finding);
    void *user;
    AfterError after;
};

// Logs at level 1 and stops at an error: what the service does.
extern const FindingSink logFindings;

void tell(const FindingSink &sink, const Finding &finding);

// A finding whose text is put together.
[[gnu::format(printf, 4, 5)]] void tellText(const FindingSink &sink, Severity severity,
                                            const Place &place, const char *format, ...);

// The same for one that the log words without its place: "Error: text" or "Warning: text".
[[gnu::format(printf, 4, 5)]] void tellPlain(const FindingSink &sink, Severity severity,
                                             const Place &place, const char *format, ...);

// Copies a path of a line into a field of `size` bytes, with a warning when it is cut.
void takePath(const FindingSink &sink, const Place &place, char *out, unsigned size,
              const char *path);
