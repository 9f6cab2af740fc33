// SPDX-License-Identifier: MIT
// The reading layer of the template engine: the stack of open files, their lines, tags and literal
// text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "report/template_context.h"

// Reads the next line, at most 1023 characters of it. 0, or -1 when no file is open or the current
// one is at its end. Called by nextTemplateTag and readTemplateText, which begin a line when they
// need one.
int readTemplateLine(TemplateContext *ctx);

// The text of the current file's next tag, without "<" and ">"; data() is null at the end of the
// file. It stays valid until the next line is read, and is not ended by a NUL. ctx->tag is the tag
// itself: CLAUSE_UNREAD, or as it was read when the same scan found it before.
std::string_view nextTemplateTag(TemplateContext *ctx);

// Copies the text up to the next "<" or the end of the line, at most size - 1 characters; at the
// end of a line the next one is read first. 0, or -1 at the end of the file.
int readTemplateText(TemplateContext *ctx, char *out, std::size_t size);

// Opens a file for the entry above the current one; a relative name counts from the current file's
// folder.
//   wanted  its parameters go to the entry when MERGE_OK is returned and the file is open
//   stream  the open template, which stays the caller's; null: the reader opens the file
// MERGE_OK, also when an optional file is missing and nothing was pushed, or MERGE_TEMPLATE_ERROR
// after a message.
int pushTemplateFile(TemplateContext *ctx, IncludeSpec *wanted, std::FILE *stream);

// Leaves the current file and frees its parameters; does nothing when none is open. MERGE_OK.
int popTemplateFile(TemplateContext *ctx);

// Drops what is left of the line. Called by pushTemplateFile and popTemplateFile: a file that is
// entered or left begins with a new line.
void resetTemplateLine(TemplateContext *ctx);

// The position of the current file's next line, or -1 when no file is open.
std::int64_t templateTell(const TemplateContext *ctx);

// Goes on reading the current file at a position of templateTell; the rest of the current line is
// still scanned first.
void templateSeek(TemplateContext *ctx, std::int64_t position, std::int32_t lineNo);
