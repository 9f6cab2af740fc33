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

// The service's own.
struct AddedWord {
    const char *name;
    DmonWordFn answer;
};
constexpr std::size_t ADDED_WORDS_MAX = 4;
AddedWord addedWords[ADDED_WORDS_MAX];
std::size_t addedCount = 0;

// Ends the reply's line, for which there is room.
void endLine(Reply *reply) {
    const std::size_t length = std::strlen(reply->text);
    reply->text[length] = '\n';
    reply->text[length + 1] = '\0';
}

// Whether the line is a word that the service has added; then it is answered.
bool answerAdded(std::string_view line, Reply *reply) {
    for (std::size_t i = 0; i < addedCount; ++i) {
        if (line != addedWords[i].name) continue;
        addedWords[i].answer(reply->text, sizeof reply->text - 1);
        endLine(reply);
        return true;
    }
    return false;
}

void answerUnknown(Reply *reply) {
    int length = std::snprintf(reply->text, sizeof reply->text, "%s",
                               "error: the words are status, describe, debug N, stop");
    for (std::size_t i = 0; i < addedCount; ++i) {
        const auto used = static_cast<std::size_t>(length);
        length += std::snprintf(reply->text + used, sizeof reply->text - used, ", %s",
                                addedWords[i].name);
    }
    endLine(reply);
}

}  // namespace

void dmon_add_word(const char *word, DmonWordFn answer) {
    if (addedCount < ADDED_WORDS_MAX) addedWords[addedCount++] = {word, answer};
}

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
    else if (!answerAdded(line, reply))
        answerUnknown(reply);
    // The service's texts are its own business, the one line is ours.
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20; };
    std::replace_if(reply->text, std::strchr(reply->text, '\0') - 1, isControl, ' ');
}
