// SPDX-License-Identifier: MIT
#include "core/stats_word.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <iterator>

#include "base/utf8_text.h"
#include "dmon/dmon.h"
#include "listener/commands.h"
#include "storage/quota.h"
#include "storage/statistics.h"

namespace {

std::int64_t startTime = 0;

struct Row {
    Statistic statistic;
    const char *group;
    const char *key;
};

constexpr Row rows[] = {
    {STAT_SAVES, "saves", "done"},
    {STAT_SAVES_REFUSED, "saves", "refused"},
    {STAT_SAVES_FAILED, "saves", "failed"},
    {STAT_REPORTS, "reports", "done"},
    {STAT_REPORTS_REFUSED, "reports", "refused"},
    {STAT_REPORTS_NO_INPUT, "reports", "no_input"},
    {STAT_REPORTS_NOT_CREATED, "reports", "not_created"},
    {STAT_REPORTS_NOT_WRITTEN, "reports", "not_written"},
    {STAT_REPORTS_NOT_MERGED, "reports", "not_merged"},
    {STAT_EVENTS, "events", "received"},
    {STAT_EVENTS_DROPPED, "events", "dropped"},
    {STAT_QUEUE_MAX, "queue", "highest"},
};
static_assert(std::size(rows) == STATISTIC_COUNT);

// A line that grows; what does not fit is left out.
struct Line {
    char *text;
    std::size_t size;
    std::size_t used;
};

[[gnu::format(printf, 2, 3)]] void put(Line *line, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int length =
        std::vsnprintf(line->text + line->used, line->size - line->used, format, arguments);
    va_end(arguments);
    line->used += static_cast<std::size_t>(length > 0 ? length : 0);
    if (line->used >= line->size) line->used = line->size - 1;
}

// A JSON string. Names are bytes of clients: what is no UTF-8 shows as '?'.
void putString(Line *line, const char *text) {
    const bool wellFormed = isUtf8Text(text);
    put(line, "\"");
    for (; *text != '\0'; ++text) {
        const auto byte = static_cast<unsigned char>(*text);
        if (byte < 0x20)
            put(line, "\\u%04x", unsigned{byte});
        else if (byte == '"' || byte == '\\')
            put(line, "\\%c", byte);
        else
            put(line, "%c", byte < 0x80 || wellFormed ? byte : '?');
    }
    put(line, "\"");
}

void putCounts(Line *line) {
    const char *group = "";
    for (const Row &row : rows) {
        if (std::strcmp(row.group, group) == 0)
            put(line, ",");
        else
            put(line, "%s\"%s\":{", *group == '\0' ? "" : "},", row.group);
        put(line, "\"%s\":%u", row.key, unsigned{statValue(row.statistic)});
        group = row.group;
    }
    put(line, ",\"size\":%d}", COMMAND_QUEUE_SIZE);  // the last group is the queue
}

void putQuotas(Line *line) {
    const char *before = "";
    put(line, "\"quotas\":[");
    for (int handle = 0; handle < QUOTA_SLOTS; ++handle) {
        const QuotaView view = quotaView(handle);
        if (!view.inUse) continue;
        put(line, "%s{\"name\":", before);
        putString(line, view.name);
        put(line, ",\"files\":%d,\"max\":%d,\"action\":\"%s\"}", view.count, view.max,
            view.action <= FULL_PURGE ? fullActionWords[view.action] : "");
        before = ",";
    }
    put(line, "]");
}

void putLastError(Line *line) {
    char text[200] = "";
    std::int64_t seconds = 0;
    if (dmon_last_error != nullptr) dmon_last_error(text, sizeof text, &seconds);
    put(line, "\"last_error\":{\"time\":%lld,\"text\":", static_cast<long long>(seconds));
    putString(line, text);
    put(line, "}");
}

void answerStats(char *buffer, std::size_t size) {
    Line line = {buffer, size, 0};
    put(&line, "{\"version\":\"" VORN_VERSION "\",\"start\":%lld,",
        static_cast<long long>(startTime));
    putCounts(&line);
    put(&line, ",");
    putQuotas(&line);
    put(&line, ",");
    putLastError(&line);
    put(&line, "}");
}

}  // namespace

void addStatsWord() {
    startTime = std::time(nullptr);
    if (dmon_add_word != nullptr) dmon_add_word("stats", answerStats);
}
