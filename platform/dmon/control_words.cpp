// SPDX-License-Identifier: MIT
#include "dmon/control_words.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>

#include "base/numbers.h"
#include "base/words.h"

namespace {

using dmon::Reply;

constexpr int TEXT_SIZE = 256;

void setReply(Reply *reply, const char *text) {
    std::snprintf(reply->text, sizeof reply->text, "%s\n", text);
}

// A text of the service; false when it has none to give.
bool askText(int (*callback)(int, char *, int), char (&text)[TEXT_SIZE]) {
    text[0] = '\0';
    return callback != nullptr && callback(0, text, TEXT_SIZE) == 0;
}

void answerStatus(const DmonOps *ops, Reply *reply) {
    char text[TEXT_SIZE];
    if (ops->statusCode == nullptr || !askText(ops->statusText, text)) {
        setReply(reply, "error: the service has no status");
        return;
    }
    std::snprintf(reply->text, sizeof reply->text, "%d %s\n", ops->statusCode(0), text);
}

void answerDescribe(const DmonOps *ops, Reply *reply) {
    char text[TEXT_SIZE];
    setReply(reply,
             askText(ops->description, text) ? text : "error: the service has no description");
}

void answerStop(const DmonOps * /*ops*/, Reply *reply) {
    setReply(reply, "ok");
    reply->stop = true;
}

void answerDebug(const DmonOps *ops, std::string_view argument, Reply *reply) {
    std::uint64_t number = 0;
    constexpr std::uint64_t max = std::numeric_limits<std::int32_t>::max();
    if (parseUnsigned(argument, max, &number) != NUMBER_OK) {
        setReply(reply, "error: debug takes a level, 0 or more");
        return;
    }
    const auto level = static_cast<int>(number);
    if (ops->setDebugLevel != nullptr && ops->setDebugLevel(level) != 0) {
        setReply(reply, "error: the service refused the level");
        return;
    }
    dmon_set_level(level);
    setReply(reply, "ok");
}

struct Word {
    std::string_view name;
    void (*answer)(const DmonOps *ops, Reply *reply);
};

constexpr Word words[] = {
    {"status", answerStatus},
    {"describe", answerDescribe},
    {"stop", answerStop},
};

}  // namespace

void dmon::answerControlLine(const DmonOps *ops, std::string_view line, Reply *reply) {
    reply->stop = false;
    if (line.ends_with('\r')) line.remove_suffix(1);
    line = trim(line);
    const std::string_view name = line.substr(0, line.find_first_of(BLANKS));
    const auto *word = std::find_if(std::begin(words), std::end(words),
                                    [&](const Word &known) { return known.name == line; });
    if (word != std::end(words))
        word->answer(ops, reply);
    else if (name == "debug")
        answerDebug(ops, trim(line.substr(name.size())), reply);
    else
        setReply(reply, "error: the words are status, describe, debug N, stop");
    // The service's texts are its own business, the one line is ours.
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20; };
    std::replace_if(reply->text, std::strchr(reply->text, '\0') - 1, isControl, ' ');
}
