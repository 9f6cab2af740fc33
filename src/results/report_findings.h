// SPDX-License-Identifier: MIT
// What the making of a report has to say. The service has it in its log; a program for the authors
// of templates gives a function that takes each finding instead, with the place that the merge has
// come to.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>

enum FindingSeverity : std::uint8_t {
    FOUND_ERROR,
    FOUND_WARNING,
    FOUND_CAUSE,   // why the error comes that follows
    FOUND_DETAIL,  // says more of the error before it
    FOUND_HINT,    // a warning that the log never has
};

// How the log words a finding: "OPENING PLACE: TEXT", or "OPENING TEXT" without a place.
struct FindingForm {
    FindingSeverity severity;
    std::int8_t level;  // of the log; 0: never there
    bool hasPlace;
    const char *opening;
};

// Lives for the call, `form` and `message` for ever.
struct ReportFinding {
    const FindingForm *form;
    const char *folder;  // before `path`
    const char *path;    // of the template file that is read; null: none is
    std::int32_t line;
    const char *message;  // the text as it stands in the program: one for all findings of a kind
    const char *text;
};

struct ReportSink {
    void (*take)(void *user, const ReportFinding &finding);
    void *user;
    bool hints;           // looks for what the log never has, too
    bool goOn;            // leaves a wrong clause out and reads on
    bool withoutResults;  // looks at everything that needs no results, whatever they would say
    void (*opens)(const char *path);  // is told each file before it is opened; null: nobody is
    const char *emptyDict;            // not null: looks for keys that the language lacks, and
                                      // opens this for a dictionary without a file
};

// Null: findings go to the log. A program sets it before its first report and has one thread.
extern const ReportSink *reportSink;

// Where the merge reads, for findings of those who do not know; the merge sets it while it runs
// with a sink.
struct FindingPlace {
    void (*locate)(const void *merge, ReportFinding *finding);
    const void *merge;
};
extern FindingPlace findingPlace;

inline bool wantsHints() {
    return reportSink != nullptr && reportSink->hints;
}

// Tells a sink of an include or a dictionary that is going to be opened.
inline void tellOpened(const char *path) {
    if (reportSink != nullptr && reportSink->opens != nullptr) reportSink->opens(path);
}

// Whether somebody reads findings of a form.
bool isFindingRead(const FindingForm *form);

// Hands a finding on. `place` is that of the merge, "path:line", for the log. `format` has no line
// end.
[[gnu::cold, gnu::format(printf, 3, 0)]] void tellReport(const FindingForm *form, const char *place,
                                                         const char *format, va_list arguments);

// Findings that need no place in the log.
enum PlainFinding : std::uint8_t {
    TELL_CAUSE,         // "Error: TEXT" at level 1, the cause of what its caller reports
    TELL_FREE_CAUSE,    // the TEXT alone, of the same
    TELL_ERROR,         // "Error: TEXT" at level 1, an error of its own
    TELL_FREE_ERROR,    // the TEXT alone, of the same
    TELL_WARNING,       // "Warning: TEXT" at level 2
    TELL_FREE_WARNING,  // the TEXT alone, of the same
    TELL_PATH,          // "Warning: TEXT" at level 1
    PLAIN_FINDING_COUNT
};

[[gnu::cold, gnu::format(printf, 2, 3)]] void tellFinding(PlainFinding kind, const char *format,
                                                          ...);

// What copyPath and joinPath (storage/files.h) tell of the files of a report.
void tellCutPath(const char *path, std::size_t limit);

// For sinks alone: a hint with the place of the merge, what belongs to the finding before it, and
// the cause of the error that follows.
[[gnu::cold, gnu::format(printf, 1, 2)]] void tellHint(const char *format, ...);
[[gnu::cold, gnu::format(printf, 1, 2)]] void tellHintDetail(const char *format, ...);
[[gnu::cold, gnu::format(printf, 1, 2)]] void tellHiddenCause(const char *format, ...);

// A hint for every sink, also of a plain report.
[[gnu::cold, gnu::format(printf, 1, 2)]] void tellPlainHint(const char *format, ...);

// The number of hints that were told since the last call: they cost time.
std::int32_t takeHintCount();
