// SPDX-License-Identifier: MIT
// The functions that plug-ins call by name from the running program. A null where a text belongs is
// a plug-in's mistake, most often a look-up that found nothing; it finds nothing here either.
#include <string_view>

#include "results/dict_resolver.h"
#include "results/results.h"
#include "vorn/plugin.h"

extern "C" {

const RegisterRecord *vorn_get_result_item(char *itemText, const Results *results,
                                           std::int32_t *field) {
    if (itemText == nullptr) return nullptr;
    return getForeignItemResult(itemText, results, field);
}

const char *vorn_get_param_value(const TemplateParam *params, const char *name) {
    if (name == nullptr) return nullptr;
    const std::string_view wanted = name;
    for (; params != nullptr; params = params->next)
        if (params->name == wanted) return params->value;
    return nullptr;
}

char *vorn_copy_dict_value(DictResolver *dict, const char *key) {
    if (key == nullptr) return nullptr;
    return dictResolvGetCopy(dict, key);
}
}
