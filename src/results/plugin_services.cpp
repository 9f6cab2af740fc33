// SPDX-License-Identifier: MIT
// The functions that plug-ins call by name from the running program.
#include <string_view>

#include "results/dict_resolver.h"
#include "results/results.h"
#include "vorn/plugin.h"

extern "C" {

const RegisterRecord *vorn_get_result_item(char *itemText, const Results *results,
                                           std::int32_t *field) {
    return getAppItemResult(itemText, results, field, nullptr);
}

const char *vorn_get_param_value(const TemplateParam *params, const char *name) {
    const std::string_view wanted = name;
    for (; params != nullptr; params = params->next)
        if (params->name == wanted) return params->value;
    return nullptr;
}

char *vorn_copy_dict_value(DictResolver *dict, const char *key) {
    return dictResolvGetCopy(dict, key);
}
}
