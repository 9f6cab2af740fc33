// SPDX-License-Identifier: MIT
// The state of one merge: what the reader, the clauses and the value sources work on. One thread
// uses it.
#pragma once

#include <climits>
#include <cstdint>
#include <cstdio>

#include "output/dump_backend.h"
#include "report/tag_memo.h"
#include "results/dict_resolver.h"
#include "vorn/plugin.h"

constexpr std::int32_t TEMPLATE_MAX_FILES = 4;       // the template and three levels of include
constexpr std::int32_t TEMPLATE_MAX_SECTIONS = 8;    // open at once
constexpr std::int32_t TEMPLATE_MAX_ITERATIONS = 8;  // open at once
constexpr std::int32_t TEMPLATE_MAX_PLUGINS = 4;     // declared in one merge
constexpr std::size_t TEMPLATE_PATH_SIZE = 64;

// Passes of all loops of one merge together, and its steps: a tag is one, what takes longer than a
// tag is several. No report that is read has as many; without a limit a template of a few lines
// could keep a thread busy for years. Counted, not timed, so that every machine ends alike.
constexpr std::int32_t TEMPLATE_MAX_PASSES = 10'000'000;
constexpr std::int64_t TEMPLATE_MAX_STEPS = 40'000'000;
enum TemplateSteps : std::int32_t {
    STEPS_TAG = 1,
    STEPS_HINT = 10,         // of a check, which looks for one or tells it
    STEPS_PARAMETERS = 4,    // so many that a search passes are one
    STEPS_EXPANSION = 1,     // for each 8 characters that are searched for references
    STEPS_LOOKUP = 10,       // of a dictionary key, and
    STEPS_LOOKUP_ENTRY = 4,  // for each entry of the dictionary stack
    STEPS_CONVERSION = 3,
    STEPS_ARRAY = 1,  // for each 128 bytes of an array that is shown
    STEPS_PLUGIN_CALL = 5,
    STEPS_FINDING = 20,  // a line of the log
    STEPS_WINDOW = 40,   // a window's bytes, read anew
    STEPS_FILE = 250,    // opened
};
constexpr std::size_t TEMPLATE_LINE_SIZE = 1024;
constexpr std::size_t TEMPLATE_TEXT_SIZE = 512;  // argument values, literals, expansions
constexpr std::size_t TEMPLATE_PLACE_SIZE = 48;
constexpr std::size_t TEMPLATE_WHOLE_PATH_SIZE = PATH_MAX + TEMPLATE_PATH_SIZE;

// Bytes of a file that are held at once. A loop whose body fits is run without touching the file
// again.
constexpr std::size_t TEMPLATE_WINDOW_SIZE = 8192;

struct RowPlans;  // report/row_plan.h

// Where the merge stands; the clauses that count depend on it.
enum MergeState : std::int32_t {
    OUTSIDE_REPORT = 0,   // before and after the report
    INSIDE_REPORT = 1,    // in the report, in no section
    INSIDE_SECTION = 2,   // in an enabled section
    INSIDE_ROW = 3,       // in a row
    INSIDE_VALUE = 4,     // in a value
    INSIDE_DISABLED = 5,  // in a disabled section, or in any section inside one
    INSIDE_SKIPPED = 6,   // in an iteration whose range is empty
};

enum MergeResult : int {
    MERGE_OK = 0,
    MERGE_NO_APPLICATION = -2,    // a global variable names an unknown application
    MERGE_TEMPLATE_ERROR = -11,   // a bad clause, argument or expansion
    MERGE_TOO_MANY_VALUES = -13,  // a seventeenth value in a row
    MERGE_ITEM_NOT_FOUND = -14,   // an item or an array element that is not there
    MERGE_UNKNOWN_GLOBAL = -16,   // no such global variable, or no application at all
    MERGE_NO_SUCH_FIELD = -17,    // a field that the item's kind does not have
    MERGE_PLUGIN_FAILED = -22,    // a plug-in or function not found, or one that failed
    MERGE_LEFT_OUT = -23,         // needs what a check left out, and told of
};

// A line of a template file, kept after the file was left.
struct TemplatePlace {
    char path[TEMPLATE_PATH_SIZE];
    std::int32_t lineNo;
};

// One open file. A stream that the reader opened is closed when the file is left.
struct TemplateFile {
    char path[TEMPLATE_PATH_SIZE];
    std::FILE *stream;
    std::int32_t lineNo;  // lines read so far
    std::uint8_t ownsStream;
    TemplateParam *params;

    bool atEnd;                // a read found the end
    std::int64_t windowStart;  // file position of the window's first byte
    std::size_t windowLength;
    std::size_t windowPos;  // of the next byte to read
    char window[TEMPLATE_WINDOW_SIZE];
};

enum : std::uint32_t { INCLUDE_OPTIONAL = 1 };  // IncludeSpec.flags: a missing file is no error

// What an include clause asks for. The parameters belong to whoever holds the record, and to the
// file's entry once it was pushed.
struct IncludeSpec {
    char file[TEMPLATE_PATH_SIZE];
    TemplateParam *params;
    std::uint32_t flags;
};

struct TemplateIteration {
    std::int32_t from;
    std::int32_t to;
    std::int32_t counter;
    char var[TEMPLATE_NAME_SIZE];  // may be empty
    std::int64_t filePos;          // of the loop body
    std::int32_t lineNo;           // of the file at filePos
    MergeState savedState;         // to go back to when a skipped iteration ends
};

struct TemplatePlugin {
    char name[TEMPLATE_NAME_SIZE];
    char endCall[TEMPLATE_TEXT_SIZE];  // may be empty
    void *handle;                      // the dynamic loader's; null: a check left its clause out
    void *pluginData;                  // what init returned
};

struct TemplateContext {
    MergeState state;
    std::int32_t sectionLevel;
    TemplateSection sections[TEMPLATE_MAX_SECTIONS];
    std::int32_t iterDepth;
    TemplateIteration iterations[TEMPLATE_MAX_ITERATIONS];
    DumpBackend backend;
    DictResolver dict;
    const Results *results;
    const char *reportName;  // the merge's own "report-name"; null: the user variable's
    const char *folder;      // goes before relative paths below; null: none, and places are short
    std::int32_t fileDepth;
    TemplateFile files[TEMPLATE_MAX_FILES];
    char line[TEMPLATE_LINE_SIZE];  // a line that lies across the window's edge
    const char *cursor;             // where the scan goes on; null: at the next line
    const char *lineEnd;            // the end of the line, in `line` or in the file's window
    TemplateTag *tag;               // what nextTemplateTag found last
    TagMemo memo;                   // of the current file's window
    FoundTag unkept;                // the tag of a line that is not in the window
    std::int32_t pluginCount;
    TemplatePlugin plugins[TEMPLATE_MAX_PLUGINS];

    bool failed;          // what no clause may pass over: it was told, and ends the merge
    std::int32_t passes;  // of loop bodies, so far
    std::int64_t steps;   // so far
    char location[TEMPLATE_WHOLE_PATH_SIZE];  // what getTemplateLine returns
    char expansion[TEMPLATE_TEXT_SIZE];       // what expandTemplateString returns
    TemplatePlace sectionPlaces[TEMPLATE_MAX_SECTIONS];
    TemplatePlace iterationPlaces[TEMPLATE_MAX_ITERATIONS];
    TemplatePlace rowPlace;
    RowPlans *plans;  // of the current file's window; null: rows have none
};

// Counts the look-up of a key.
inline void countLookup(TemplateContext *ctx) {
    ctx->steps += STEPS_LOOKUP + STEPS_LOOKUP_ENTRY * ctx->dict.depth;
}

// The file that is read, or null when none is open.
inline TemplateFile *currentFile(TemplateContext *ctx) {
    return ctx->fileDepth > 0 ? &ctx->files[ctx->fileDepth - 1] : nullptr;
}
inline const TemplateFile *currentFile(const TemplateContext *ctx) {
    return ctx->fileDepth > 0 ? &ctx->files[ctx->fileDepth - 1] : nullptr;
}

// The offset of a character in the file's window; that of one elsewhere, as in `line`, is beyond
// the end.
inline std::size_t windowOffset(const TemplateFile *file, const char *character) {
    return reinterpret_cast<std::uintptr_t>(character) -
           reinterpret_cast<std::uintptr_t>(file->window);
}
