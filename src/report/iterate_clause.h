// SPDX-License-Identifier: MIT
// The iterate clause and the iteration stack: loops over template lines with a counter.
#pragma once

#include <string_view>

#include "report/template_context.h"

// Starts an iteration; one with an empty range, or inside a skipped one, is skipped. MERGE_OK or a
// negative code after a message.
int beginIteration(TemplateContext *ctx, std::string_view args);

// Reads an iterate clause into a record, the place of the loop body included. MERGE_OK or a
// negative code after a message. Called by beginIteration.
int parseIterateClause(TemplateContext *ctx, std::string_view args, TemplateIteration *iteration);

// Opens an iteration. MERGE_OK, or MERGE_TEMPLATE_ERROR after a message when eight are open or
// there is no memory. Called by beginIteration.
int pushIteration(TemplateContext *ctx, const TemplateIteration *iteration);

// Counts the innermost iteration on: ITERATION_AGAIN when its body is to run again (the file is
// back at its start), ITERATION_OVER, or MERGE_TEMPLATE_ERROR after a message when the merge ran
// too many, or without memory.
enum : int { ITERATION_OVER = 0, ITERATION_AGAIN = 1 };
int nextIteration(TemplateContext *ctx);

// Leaves the innermost iteration. MERGE_OK, or MERGE_TEMPLATE_ERROR after a message when none is
// open.
int popIteration(TemplateContext *ctx);
