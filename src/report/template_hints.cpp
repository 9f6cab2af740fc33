// SPDX-License-Identifier: MIT
#include "report/template_hints.h"

#include <algorithm>
#include <iterator>

#include <strings.h>

#include "pdf/font_widths.h"
#include "report/template_tag.h"

namespace {

constexpr std::size_t NAME_MAX_COMPARED = 12;  // no clause's name is longer

// The number of letters to change, add, leave out or swap with the next.
std::size_t distance(std::string_view a, std::string_view b) {
    std::size_t rows[NAME_MAX_COMPARED + 3][NAME_MAX_COMPARED + 3] = {};
    for (std::size_t i = 0; i <= a.size(); ++i) rows[i][0] = i;
    for (std::size_t j = 0; j <= b.size(); ++j) rows[0][j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i)
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t differs = a[i - 1] == b[j - 1] ? 0 : 1;
            rows[i][j] =
                std::min({rows[i - 1][j] + 1, rows[i][j - 1] + 1, rows[i - 1][j - 1] + differs});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                rows[i][j] = std::min(rows[i][j], rows[i - 2][j - 2] + 1);
        }
    return rows[a.size()][b.size()];
}

// By MergeState.
constexpr const char *stateNames[] = {"outside the report",
                                      "in the report",
                                      "in a section",
                                      "in a row",
                                      "in a value",
                                      "in a section that does not appear",
                                      "in a loop that is skipped"};
static_assert(std::size(stateNames) == INSIDE_SKIPPED + 1);

}  // namespace

bool isNearName(std::string_view name, std::string_view known) {
    if (name.size() < 3 || name.size() > NAME_MAX_COMPARED) return false;
    if (name.starts_with('/') != known.starts_with('/') || name.starts_with('!')) return false;
    if (name.size() == known.size() && strncasecmp(name.data(), known.data(), name.size()) == 0)
        return true;
    return distance(name, known) <= (known.size() > 4 ? 2U : 1U);
}

void hintIgnored(const TemplateContext *ctx, std::string_view clause) {
    if (!wantsHints() || ctx->state == INSIDE_DISABLED || ctx->state == INSIDE_SKIPPED) return;
    tellHint("clause '%.*s' does not count %s and is passed over.", static_cast<int>(clause.size()),
             clause.data(), stateNames[ctx->state]);
}

void hintRestOfLine(const TemplateContext *ctx, std::string_view clause) {
    if (!wantsHints() || ctx->cursor == nullptr) return;
    const std::string_view rest(ctx->cursor, static_cast<std::size_t>(ctx->lineEnd - ctx->cursor));
    if (rest.find_first_not_of(" \t\r") == std::string_view::npos) return;
    tellHint("text behind the '%.*s' clause on its line is not read.",
             static_cast<int>(clause.size()), clause.data());
}

void hintSplitQuotes(std::string_view args) {
    if (!wantsHints()) return;
    while (!args.empty()) {
        const std::string_view piece = args.substr(0, args.find(','));
        args.remove_prefix(std::min(piece.size() + 1, args.size()));
        tellCut(splitArg(piece, '=').value, TEMPLATE_TEXT_SIZE, "an argument's value");
        const std::size_t quote = piece.find_first_of("'\"");
        if (quote == std::string_view::npos) continue;
        if (piece.find(piece[quote], quote + 1) != std::string_view::npos) continue;
        tellHint(args.empty() ? "a value's quote is not closed before '>'."
                              : "a ',' splits a value in quotes.");
        return;  // the rest of the value looks like more of the kind
    }
}

void tellCut(std::string_view value, std::size_t room, const char *what) {
    if (room > 0 && value.size() >= room) tellHint("%s is cut to %zu characters.", what, room - 1);
}

void hintNoEffect(std::string_view property, std::string_view value) {
    if (wantsHints())
        tellHint("'%.*s:%.*s' has no effect.", static_cast<int>(property.size()), property.data(),
                 static_cast<int>(value.size()), value.data());
}

void hintNumber(std::string_view text, std::int32_t number) {
    if (!wantsHints()) return;
    const std::string_view digits =
        text.substr(text.starts_with('-') || text.starts_with('+') ? 1 : 0);
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string_view::npos)
        tellHint("'%.*s' is no number and counts as %d.", static_cast<int>(text.size()),
                 text.data(), number);
}

void hintFont(const char *family) {
    if (wantsHints() && *family != '\0' && !isPdfFont(family))
        tellHint("'%s' is no font of a PDF report.", family);
}

void hintEnd(const TemplateContext *ctx, bool hadReport) {
    if (!hadReport) return tellPlainHint("the template has no 'report' clause.");
    // In a disabled section nobody can tell.
    const bool isOpen = ctx->state != OUTSIDE_REPORT && ctx->state != INSIDE_DISABLED &&
                        ctx->state != INSIDE_SKIPPED;
    if (isOpen) tellHint("the report is not closed.");
}
