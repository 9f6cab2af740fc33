// SPDX-License-Identifier: MIT
#include "report/template_reader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <sys/types.h>

#include "report/row_plan.h"
#include "report/template_error.h"
#include "report/template_hints.h"
#include "report/template_params.h"
#include "report/template_place.h"
#include "results/report_findings.h"
#include "storage/files.h"
#include "storage/strings.h"

static_assert(sizeof(off_t) == 8, "template positions have 64 bits");

namespace {

std::int64_t nextPosition(const TemplateFile *file) {
    return file->windowStart + static_cast<std::int64_t>(file->windowPos);
}

// Forgets what points into the current file's window.
void forgetFound(TemplateContext *ctx) {
    forgetTags(&ctx->memo);
    forgetRowPlans(ctx);
}

// Lets go of the window's bytes; the next line is read from a position of the file.
void moveWindow(TemplateContext *ctx, TemplateFile *file, std::int64_t position) {
    file->windowStart = position;
    file->windowLength = 0;
    file->windowPos = 0;
    forgetFound(ctx);
}

// Moves the window to the next byte to read; false at the end of the file or, after a message, when
// it cannot be read.
bool fillWindow(TemplateContext *ctx, TemplateFile *file) {
    moveWindow(ctx, file, nextPosition(file));
    ctx->steps += STEPS_WINDOW;
    const bool placed = ftello(file->stream) == file->windowStart ||
                        fseeko(file->stream, file->windowStart, SEEK_SET) == 0;
    if (placed) file->windowLength = std::fread(file->window, 1, sizeof file->window, file->stream);
    if (file->windowLength == 0 && (!placed || std::ferror(file->stream) != 0)) {
        const int reason = errno;
        templateError(ctx, MERGE_TEMPLATE_ERROR, "the file cannot be read: %s.",
                      std::strerror(reason));
        ctx->failed = true;
    }
    return file->windowLength > 0;
}

// Opens a template file, below the merge's folder when its path is relative.
FileGuard openTemplate(TemplateContext *ctx, const char *path) {
    ctx->steps += STEPS_FILE;
    char whole[TEMPLATE_WHOLE_PATH_SIZE];
    std::snprintf(whole, sizeof whole, "%s%s", templateFolder(ctx, path), path);
    tellOpened(whole);
    return openForReading(whole);
}

// The path of a file named in an include clause: absolute names and the template's own stand as
// they are.
void resolvePath(const TemplateContext *ctx, const char *name, char (&path)[TEMPLATE_PATH_SIZE]) {
    const TemplateFile *includer = currentFile(ctx);
    char whole[2 * TEMPLATE_PATH_SIZE] = "";
    if (name[0] != '/' && includer != nullptr) copyPiece(whole, folderOf(includer->path));
    safe_strncat(whole, name, sizeof whole);
    copyPath(path, sizeof path, whole, tellCutPath);
}

// What it means that an included file could not be opened, for `error` of errno: without memory,
// say, nobody knows whether it is there.
int notOpened(TemplateContext *ctx, const IncludeSpec *wanted, const char *path, int error) {
    const char *folder = templateFolder(ctx, path);
    if (error == ENOMEM || error == EIO || error == EMFILE || error == ENFILE)
        return templateError(ctx, MERGE_TEMPLATE_ERROR, "file '%s%s' cannot be opened: %s.", folder,
                             path, std::strerror(error));
    if ((wanted->flags & INCLUDE_OPTIONAL) != 0) return MERGE_OK;
    return templateError(ctx, MERGE_TEMPLATE_ERROR, "file '%s%s' not found.", folder, path);
}

void setLine(TemplateContext *ctx, const char *line, std::size_t length) {
    ctx->cursor = line;
    ctx->lineEnd = line + length;
}

const char *findInLine(const TemplateContext *ctx, const char *from, char character) {
    return static_cast<const char *>(
        std::memchr(from, character, static_cast<std::size_t>(ctx->lineEnd - from)));
}

bool atLineEnd(const TemplateContext *ctx) {
    return ctx->cursor == nullptr || ctx->cursor == ctx->lineEnd;
}

void countLine(TemplateFile *file) {
    if (file->lineNo < INT32_MAX) ++file->lineNo;
}

// Goes on to the next tag when it is remembered.
bool recallNextTag(TemplateContext *ctx) {
    TemplateFile *file = currentFile(ctx);
    if (file == nullptr) return false;
    const bool newLine = atLineEnd(ctx);
    const std::size_t offset = newLine ? file->windowPos : windowOffset(file, ctx->cursor);
    FoundTag *found =
        offset < file->windowLength ? recallTag(&ctx->memo, {offset, newLine}) : nullptr;
    if (found == nullptr) return false;
    // A long line ends elsewhere when it is read in other pieces.
    if (!newLine && found->lineEnd != ctx->lineEnd) return false;
    if (newLine) {
        ctx->lineEnd = found->lineEnd;
        file->windowPos = found->nextLine;
        countLine(file);
    }
    ctx->cursor = found->tag.text.data() + found->tag.text.size() + 1;
    ctx->tag = &found->tag;
    return true;
}

// Makes a text the current tag, and remembers it when the scan that found it may come again.
void takeTag(TemplateContext *ctx, const char *start, bool newLine, std::string_view text) {
    const TemplateFile *file = currentFile(ctx);
    const std::size_t offset = windowOffset(file, start);
    const bool isKept = offset < file->windowLength && !readsOn();  // a check may end it elsewhere
    FoundTag *found = isKept ? rememberTag(&ctx->memo, {offset, newLine}) : &ctx->unkept;
    found->tag.text = text;
    found->tag.clause = CLAUSE_UNREAD;
    found->lineEnd = ctx->lineEnd;
    found->nextLine = file->windowPos;
    ctx->tag = &found->tag;
}

}  // namespace

int readTemplateLine(TemplateContext *ctx) {
    TemplateFile *file = currentFile(ctx);
    if (file == nullptr || file->atEnd) return -1;

    std::size_t length = 0;  // of what stands in ctx->line already
    bool ended = false;
    do {
        if (file->windowPos == file->windowLength && !fillWindow(ctx, file)) {
            file->atEnd = true;
            setLine(ctx, ctx->line, length);
            break;
        }
        const char *from = file->window + file->windowPos;
        const std::size_t most =
            std::min(file->windowLength - file->windowPos, TEMPLATE_LINE_SIZE - 1 - length);
        const auto *newline = static_cast<const char *>(std::memchr(from, '\n', most));
        const std::size_t taken =
            newline != nullptr ? static_cast<std::size_t>(newline - from) : most;
        file->windowPos += taken + (newline != nullptr ? 1 : 0);
        ended = newline != nullptr || length + taken == TEMPLATE_LINE_SIZE - 1;
        if (ended && length == 0) {
            setLine(ctx, from, taken);  // the usual case: nothing is copied
        } else {
            std::memcpy(ctx->line + length, from, taken);
            length += taken;
            setLine(ctx, ctx->line, length);
        }
    } while (!ended);
    countLine(file);
    return 0;
}

std::string_view nextTemplateTag(TemplateContext *ctx) {
    for (;;) {
        if (recallNextTag(ctx)) return ctx->tag->text;
        const bool newLine = atLineEnd(ctx);
        if (newLine && readTemplateLine(ctx) != 0) return {};
        if (atLineEnd(ctx)) continue;  // an empty line
        const char *start = ctx->cursor;
        const char *open = findInLine(ctx, start, '<');
        const char *close = open != nullptr ? findInLine(ctx, open, '>') : nullptr;
        ctx->cursor = close != nullptr ? close + 1 : nullptr;
        if (close == nullptr && open != nullptr)
            tellHint("a '<' without '>' on its line drops the rest of the line.");
        if (close == nullptr && open != nullptr && readsOn())
            close = ctx->cursor = ctx->lineEnd;  // it is taken for the tag that it was to be
        if (close == nullptr) continue;
        takeTag(ctx, start, newLine, {open + 1, static_cast<std::size_t>(close - open - 1)});
        return ctx->tag->text;
    }
}

int readTemplateText(TemplateContext *ctx, char *out, std::size_t size) {
    if (atLineEnd(ctx) && readTemplateLine(ctx) != 0) return -1;
    const char *open = findInLine(ctx, ctx->cursor, '<');
    const char *end = open != nullptr ? open : ctx->lineEnd;
    auto length = static_cast<std::size_t>(end - ctx->cursor);
    if (length >= size) {
        hintCut({ctx->cursor, length}, size, "the value's text");
        length = size - 1;
    }
    std::memcpy(out, ctx->cursor, length);
    out[length] = '\0';
    ctx->cursor = end;
    return 0;
}

int pushTemplateFile(TemplateContext *ctx, IncludeSpec *wanted, std::FILE *stream) {
    if (ctx->fileDepth == TEMPLATE_MAX_FILES)
        return templateError(ctx, MERGE_TEMPLATE_ERROR, "too many nested files.");
    char path[TEMPLATE_PATH_SIZE];
    resolvePath(ctx, wanted->file, path);

    FileGuard opened;
    if (stream == nullptr) {
        opened = openTemplate(ctx, path);
        if (!opened) return notOpened(ctx, wanted, path, errno);
    }

    TemplateFile *file = &ctx->files[ctx->fileDepth];
    std::memcpy(file->path, path, sizeof file->path);
    file->ownsStream = stream == nullptr ? 1 : 0;
    file->stream = stream == nullptr ? opened.release() : stream;
    file->lineNo = 0;
    file->params = wanted->params;
    wanted->params = nullptr;
    file->atEnd = false;
    moveWindow(ctx, file, std::max<std::int64_t>(ftello(file->stream), 0));
    ++ctx->fileDepth;
    resetTemplateLine(ctx);
    return MERGE_OK;
}

int popTemplateFile(TemplateContext *ctx) {
    TemplateFile *file = currentFile(ctx);
    if (file == nullptr) return MERGE_OK;
    --ctx->fileDepth;
    if (file->ownsStream != 0) static_cast<void>(std::fclose(file->stream));
    file->stream = nullptr;
    freeTemplateParams(file->params);
    file->params = nullptr;
    resetTemplateLine(ctx);
    return MERGE_OK;
}

void resetTemplateLine(TemplateContext *ctx) {
    ctx->cursor = nullptr;
    ctx->lineEnd = nullptr;
    // They belong to the current file, as the line does.
    forgetFound(ctx);
}

std::int64_t templateTell(const TemplateContext *ctx) {
    const TemplateFile *file = currentFile(ctx);
    return file != nullptr ? nextPosition(file) : -1;
}

void templateSeek(TemplateContext *ctx, std::int64_t position, std::int32_t lineNo) {
    TemplateFile *file = currentFile(ctx);
    if (file == nullptr) return;
    const std::int64_t inWindow = position - file->windowStart;
    if (inWindow >= 0 && inWindow <= static_cast<std::int64_t>(file->windowLength)) {
        file->windowPos = static_cast<std::size_t>(inWindow);
    } else {
        moveWindow(ctx, file, position);
    }
    file->lineNo = lineNo;
    file->atEnd = false;
}
