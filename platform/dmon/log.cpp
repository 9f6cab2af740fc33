// SPDX-License-Identifier: MIT
// The log: a line a message on standard error. It works in fixed buffers, so that a message about
// memory that ran out still appears, and it may be called while a thread is being cancelled.
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>
#include <string_view>

#include <limits.h>
#include <poll.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/guards.h"
#include "base/numbers.h"
#include "base/utf8_text.h"
#include "base/words.h"
#include "dmon/dmon.h"
#include "dmon/log_end.h"

namespace {

std::atomic<int> debugLevel{1};

// A pipe takes up to PIPE_BUF bytes in one piece: lines of this size never mix with those of other
// threads or processes. Longer messages are cut, and say so.
constexpr std::size_t LINE_SIZE = PIPE_BUF;
constexpr std::string_view CUT_MARK = "...";

struct Line {
    char text[LINE_SIZE];
    std::size_t length;
};

// Whether standard error leads to the journal, which names the stream that it gave the process.
bool goesToJournal() {
    const char *stream = std::getenv("JOURNAL_STREAM");
    if (stream == nullptr) return false;
    std::string_view inodeText = stream;
    const std::string_view deviceText = takeWord(&inodeText, ":");
    inodeText.remove_prefix(std::min<std::size_t>(1, inodeText.size()));
    constexpr std::uint64_t MOST = std::numeric_limits<std::uint64_t>::max();
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    if (parseDecimal(deviceText, MOST, &device) != NUMBER_OK) return false;
    if (parseDecimal(inodeText, MOST, &inode) != NUMBER_OK) return false;
    struct stat status {};
    return fstat(STDERR_FILENO, &status) == 0 && status.st_dev == device && status.st_ino == inode;
}

bool tellsError(int level, std::string_view text) {
    return level == 1 && (text.starts_with("Error") || text.starts_with("Could not"));
}

// The journal's priorities, which are those of syslog.
void putPriority(Line *line, int level, std::string_view text) {
    char priority = level >= 3 ? '7' : level == 2 ? '6' : '5';
    if (level == 1 && text.starts_with("Warning")) priority = '4';
    if (tellsError(level, text)) priority = '3';
    const char mark[] = {'<', priority, '>'};
    std::copy(std::begin(mark), std::end(mark), line->text);
    line->length = sizeof mark;
}

// A number with zeros in front, and the character behind it.
void putNumber(Line *line, std::int64_t number, int digits, char after) {
    for (int i = digits - 1; i >= 0; --i, number /= 10)
        line->text[line->length + static_cast<std::size_t>(i)] =
            static_cast<char>('0' + number % 10);
    line->length += static_cast<std::size_t>(digits);
    line->text[line->length++] = after;
}

// Date of a day since 1970, worked out here: the C library takes a lock for it, which a signal
// handler must not. Years are counted from March on, so that the leap day is the last one.
void putDate(Line *line, std::int64_t day) {
    day += 719468;  // since the first of March of the year 0
    const std::int64_t era = day / 146097;
    const std::int64_t ofEra = day % 146097;
    const std::int64_t year = (ofEra - ofEra / 1460 + ofEra / 36524 - ofEra / 146096) / 365;
    const std::int64_t ofYear = ofEra - (365 * year + year / 4 - year / 100);
    const std::int64_t month = (5 * ofYear + 2) / 153;  // 0: March
    putNumber(line, year + era * 400 + (month >= 10 ? 1 : 0), 4, '-');
    putNumber(line, month < 10 ? month + 3 : month - 9, 2, '-');
    putNumber(line, ofYear - (153 * month + 2) / 5 + 1, 2, 'T');
}

// "2026-05-01T10:15:00.123Z 2 "
void putStamp(Line *line, int level) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const std::int64_t seconds = now.tv_sec;
    line->length = 0;
    putDate(line, seconds / 86400);
    putNumber(line, seconds / 3600 % 24, 2, ':');
    putNumber(line, seconds / 60 % 60, 2, ':');
    putNumber(line, seconds % 60, 2, '.');
    putNumber(line, now.tv_nsec / 1000000, 3, 'Z');
    line->text[line->length++] = ' ';
    *std::to_chars(line->text + line->length, line->text + LINE_SIZE, level).ptr = '\0';
    line->length += std::strlen(line->text + line->length);
    line->text[line->length++] = ' ';
}

void putHead(Line *line, int level, std::string_view text) {
    if (goesToJournal())
        putPriority(line, level, text);
    else
        putStamp(line, level);
}

// The latest error.
pthread_mutex_t errorLock = PTHREAD_MUTEX_INITIALIZER;
char errorText[200];
std::int64_t errorTime = 0;

void keepError(std::string_view text) {
    if (text.ends_with('\n')) text.remove_suffix(1);
    const MutexGuard lock = lockMutex(&errorLock);
    text = cutAtCharacter(text, sizeof errorText - 1);
    errorText[text.copy(errorText, text.size())] = '\0';
    errorTime = std::time(nullptr);
}

// Appends the text with its control characters made visible; false when it did not fit.
bool putVisible(Line *line, std::string_view text) {
    const std::size_t limit = LINE_SIZE - CUT_MARK.size() - 1;
    for (std::size_t i = 0; i < text.size();) {
        std::size_t controls = controlLength(text.substr(i));
        if (line->length + std::max<std::size_t>(4 * controls, 1) > limit) return false;
        if (controls == 0) line->text[line->length++] = text[i++];
        for (; controls > 0; --controls) {
            constexpr char digits[] = "0123456789ABCDEF";
            const auto byte = static_cast<unsigned char>(text[i++]);
            const char shown[] = {'\\', 'x', digits[byte >> 4], digits[byte & 15]};
            std::copy(std::begin(shown), std::end(shown), line->text + line->length);
            line->length += sizeof shown;
        }
    }
    return true;
}

// Appends a message of which `text` is all, or the beginning when `cut`.
void putMessage(Line *line, std::string_view text, bool cut) {
    if (!cut && text.ends_with('\n')) text.remove_suffix(1);
    cut = !putVisible(line, text) || cut;
    if (cut) {
        line->length = withoutHalfCharacter({line->text, line->length}).size();
        line->length += CUT_MARK.copy(line->text + line->length, CUT_MARK.size());
    }
    line->text[line->length++] = '\n';
}

// Standard error may be a pipe that somebody else made non-blocking: then it is waited for.
void writeLine(const Line *line) {
    while (write(STDERR_FILENO, line->text, line->length) < 0) {
        pollfd ready = {STDERR_FILENO, POLLOUT, 0};
        if (errno == EAGAIN)
            poll(&ready, 1, -1);
        else if (errno != EINTR)
            return;
    }
}

// Keeps the caller's errno and lets no cancellation in between half a line.
class Undisturbed {
public:
    Undisturbed() = default;
    Undisturbed(const Undisturbed &) = delete;
    Undisturbed &operator=(const Undisturbed &) = delete;
    ~Undisturbed() { errno = errno_; }

private:
    int errno_ = errno;
    CancellationOff off_;
};

}  // namespace

void dmon_set_level(int level) {
    debugLevel.store(level, std::memory_order_relaxed);
}

int dmon_level() {
    return debugLevel.load(std::memory_order_relaxed);
}

void dmon_log(int level, const char *format, ...) {
    const int limit = dmon_level();
    if (level > limit || limit <= 0) return;
    const Undisturbed undisturbed;

    char message[LINE_SIZE];
    va_list arguments;
    va_start(arguments, format);
// The format is the caller's: the compiler checks it there, by the attribute in the header.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    const int length = std::vsnprintf(message, sizeof message, format, arguments);
#pragma GCC diagnostic pop
    va_end(arguments);

    Line line;
    const char *text = length < 0 ? format : message;
    putHead(&line, level, text);
    if (tellsError(level, text)) keepError(text);
    if (length < 0) {  // an argument that cannot be printed: the format still tells most
        putMessage(&line, format, false);
    } else {
        const std::size_t kept =
            std::min<std::size_t>(static_cast<std::size_t>(length), LINE_SIZE - 1);
        putMessage(&line, {message, kept}, kept < static_cast<std::size_t>(length));
    }
    writeLine(&line);
}

void dmon::logEnd(const char *text) {
    const int limit = dmon_level();
    pollfd ready = {STDERR_FILENO, POLLOUT, 0};
    if (limit < 1 || poll(&ready, 1, 0) != 1) return;
    Line line;
    putHead(&line, 1, text);
    putMessage(&line, text, false);
    static_cast<void>(!write(STDERR_FILENO, line.text, line.length));
}

void dmon_last_error(char *text, std::size_t size, std::int64_t *seconds) {
    const MutexGuard lock = lockMutex(&errorLock);
    const std::string_view kept = cutAtCharacter(errorText, size - 1);
    text[kept.copy(text, kept.size())] = '\0';
    *seconds = errorTime;
}
