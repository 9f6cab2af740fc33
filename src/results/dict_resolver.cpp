// SPDX-License-Identifier: MIT
#include "results/dict_resolver.h"

#include <cstdio>
#include <cstring>

#include <unistd.h>

#include "core/options.h"
#include "dmon/dmon.h"
#include "results/report_findings.h"
#include "storage/files.h"
#include "storage/strings.h"

namespace {

// Whether it is looked for what a language lacks; what the default language has is no answer then.
bool isTranslationWanted() {
    return reportSink != nullptr && reportSink->emptyDict != nullptr;
}

void tellFault(const char *text) {
    tellFinding(TELL_FREE_CAUSE, "%s", text);
}

// Opens a file: lexica_open's result. Why it fails belongs to the finding that follows.
int openFile(LexicaDict *dict, const char *path) {
    if (reportSink == nullptr || lexica_open_telling == nullptr) return lexica_open(dict, path);
    return lexica_open_telling(dict, path, tellFault);
}

// Opens the file of a dictionary in a language: lexica_open's result.
int openDictionary(LexicaDict *dict, const char *name, const char *lang) {
    char file[sizeof DictEntry::dictName + sizeof DictResolver::lang + sizeof "_.lxc"];
    std::snprintf(file, sizeof file, "%s_%s.lxc", name, lang);
    char path[OPTION_PATH_SIZE];
    joinPath(path, sizeof path, opt_dictdir, file, tellCutPath);
    tellOpened(path);
    const bool isMissing = isTranslationWanted() && access(path, F_OK) != 0;
    return openFile(dict, isMissing ? reportSink->emptyDict : path);
}

void closeEntry(const DictResolver *resolver, DictEntry *entry) {
    lexica_close(&entry->langDict);
    if (resolver->dfltLang[0] != '\0') lexica_close(&entry->dfltDict);
}

int openEntry(const DictResolver *resolver, DictEntry *entry, const char *name) {
    safe_strncpy(entry->dictName, name, sizeof entry->dictName);
    if (openDictionary(&entry->langDict, name, resolver->lang) != 0) return DICT_NOT_OPEN;
    if (resolver->dfltLang[0] != '\0' &&
        openDictionary(&entry->dfltDict, name, resolver->dfltLang) != 0) {
        lexica_close(&entry->langDict);
        return DICT_NOT_OPEN;
    }
    return DICT_OK;
}

// The index of an open dictionary, numDicts when it is not open.
std::int32_t findDictionary(const DictResolver *resolver, const char *name) {
    std::int32_t index = 0;
    while (index < resolver->numDicts && std::strcmp(resolver->dicts[index].dictName, name) != 0)
        ++index;
    return index;
}

bool isStacked(const DictResolver *resolver, const DictStackEntry &wanted) {
    for (std::int32_t i = 0; i < resolver->depth; ++i) {
        const DictStackEntry &entry = resolver->stack[i];
        if (entry.dictIndex == wanted.dictIndex && entry.group == wanted.group &&
            entry.subgroup == wanted.subgroup)
            return true;
    }
    return false;
}

// Searches the stack, newest entry first, in the report's or in the default language. Null when no
// dictionary holds the key.
//   at  gets the index of the entry that does
const char *searchStack(DictResolver *resolver, LexicaDict DictEntry::*language, const char *key,
                        std::int32_t *at) {
    for (std::int32_t i = resolver->depth - 1; i >= 0; --i) {
        const DictStackEntry &entry = resolver->stack[i];
        DictEntry *dictionary = &resolver->dicts[entry.dictIndex];
        std::uint32_t group = entry.group;  // a copy: the library may update it
        if (lexica_locate_entry(&(dictionary->*language), &group, entry.subgroup, key) != 0)
            continue;
        const auto shown = static_cast<std::int32_t>(group);
        *at = i;
        if (language == &DictEntry::langDict)
            dmon_log(3, "  Key '%s' found in %s[%d].\n", key, dictionary->dictName, shown);
        else
            dmon_log(3, "  Key '%s' found in %s[%d] (dflt).\n", key, dictionary->dictName, shown);
        return lexica_get_value(&(dictionary->*language));
    }
    return nullptr;
}

// Tells a check where the key that was not found belongs.
void hintGroup(const DictResolver *resolver, std::int32_t at) {
    if (!wantsHints() || at < 0) return;
    const DictStackEntry *entry = &resolver->stack[at];
    const char *name = resolver->dicts[entry->dictIndex].dictName;
    if (entry->subgroup == 0)
        tellHintDetail("%s[%u]", name, entry->group);
    else
        tellHintDetail("%s[%u:%u]", name, entry->group, entry->subgroup);
}

}  // namespace

int dictResolvCreate(DictResolver *resolver, const char *name, const char *lang,
                     const char *dfltLang) {
    std::memset(resolver, 0, sizeof *resolver);
    safe_strncpy(resolver->name, name, sizeof resolver->name);
    const auto configured = opt_lang_id.get();
    safe_strncpy(resolver->lang, lang != nullptr ? lang : configured.text, sizeof resolver->lang);
    if (dfltLang != nullptr) safe_strncpy(resolver->dfltLang, dfltLang, sizeof resolver->dfltLang);
    // Compared as they were cut: then both would be the same file.
    if (std::strcmp(resolver->dfltLang, resolver->lang) == 0) resolver->dfltLang[0] = '\0';
    return DICT_OK;
}

int dictResolvAddDict(DictResolver *resolver, const char *dictName, std::uint32_t group,
                      std::uint32_t subgroup) {
    // The name is compared as it is kept, or a long one would be opened at every request.
    char name[sizeof DictEntry::dictName];
    const bool given = dictName != nullptr && dictName[0] != '\0';
    safe_strncpy(name, given ? dictName : resolver->name, sizeof name);

    const std::int32_t index = findDictionary(resolver, name);
    const bool isNew = index == resolver->numDicts;
    if (isNew) {
        if (resolver->numDicts == DICT_MAX_DICTS) return DICT_FULL;
        const int result = openEntry(resolver, &resolver->dicts[index], name);
        if (result != DICT_OK) return result;
    }
    const DictStackEntry entry = {index, group, subgroup};
    if (isStacked(resolver, entry)) return DICT_OK;
    if (resolver->depth == DICT_MAX_DEPTH) {
        if (isNew) closeEntry(resolver, &resolver->dicts[index]);
        return DICT_FULL;
    }
    if (isNew) ++resolver->numDicts;
    resolver->stack[resolver->depth++] = entry;
    return DICT_OK;
}

int dictResolvPush(DictResolver *resolver, const char *dictName, std::uint32_t group,
                   std::uint32_t subgroup) {
    const std::int32_t depth = resolver->depth;
    const int result = dictResolvAddDict(resolver, dictName, group, subgroup);
    return result == DICT_OK ? depth : result;
}

void dictResolvPop(DictResolver *resolver, std::int32_t level) {
    if (level >= 0 && level <= resolver->depth) resolver->depth = level;
}

const char *dictResolvGet(DictResolver *resolver, const char *key) {
    const char *text = nullptr;
    std::int32_t at = resolver != nullptr ? resolver->depth - 1 : -1;
    if (resolver != nullptr) {
        text = searchStack(resolver, &DictEntry::langDict, key, &at);
        if (text != nullptr) return text;
        if (resolver->dfltLang[0] != '\0')
            text = searchStack(resolver, &DictEntry::dfltDict, key, &at);
    }
    if (text != nullptr && !isTranslationWanted()) return text;
    tellFinding(TELL_WARNING, "dictionary key '%s' not found.", key);
    hintGroup(resolver, at);
    if (text != nullptr) tellHintDetail("%s", text);
    return text != nullptr ? text : key;
}

char *dictResolvGetCopy(DictResolver *resolver, const char *key) {
    return strdup(dictResolvGet(resolver, key));
}

void dictResolvFree(DictResolver *resolver) {
    for (std::int32_t i = 0; i < resolver->numDicts; ++i) closeEntry(resolver, &resolver->dicts[i]);
    resolver->numDicts = 0;
    resolver->depth = 0;
}
