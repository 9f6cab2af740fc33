// SPDX-License-Identifier: MIT
#include "vornctl_texts.h"

#include <algorithm>
#include <cstddef>

#include "listener/commands.h"
#include "nx/loop.h"
#include "output/conversions.h"
#include "report/report.h"
#include "report/template_context.h"
#include "server/requests.h"
#include "server/server.h"

namespace {

struct CodeText {
    int code;
    const char *text;
};

constexpr CodeText requestTexts[] = {
    {SRV_OK, "done"},
    {POST_REFUSED, "the service's command queue is full"},
    {SRV_BAD_FIELD, "a field is too long, missing or not allowed"},
    {SRV_NOT_STORED, "the service has no memory for it"},
    {SRV_BAD_APP_COUNT, "too many applications"},
    {SRV_BAD_FORMAT, "no such report format"},
    {SRV_UNKNOWN_ID, "no such quota or action"},
};

constexpr CodeText reportTexts[] = {
    {SRV_OK, "done"},
    {MERGE_NO_APPLICATION, "the results lack an application that the template names"},
    {REPORT_QUOTA_FULL, "there are too many report files"},
    {SRV_BAD_FIELD, "a name is too long, missing or not allowed"},
    {REPORT_NO_INPUT, "the template or the results file cannot be read"},
    {REPORT_NOT_CREATED, "the report file cannot be created, or its PDF completed"},
    {MERGE_TEMPLATE_ERROR, "the template has an error"},
    {MERGE_TOO_MANY_VALUES, "a row of the template has too many values"},
    {MERGE_ITEM_NOT_FOUND, "the results lack an item that the template names"},
    {CONV_BAD_TYPE, "a value does not fit its conversion"},
    {MERGE_UNKNOWN_GLOBAL, "the template names an unknown global variable"},
    {MERGE_NO_SUCH_FIELD, "an item lacks the field that the template names"},
    {REPORT_NOT_WRITTEN, "the report file cannot be written"},
    {SRV_BAD_FORMAT, "no such report format"},
    {MERGE_PLUGIN_FAILED, "a plug-in failed"},
};

constexpr CodeText libraryTexts[] = {
    {NX_REFUSED, "the service serves as many clients as it can"},
    {CALLBACK_UNKNOWN_CODE, "the service does not know this request"},
    {SRV_BAD_FIELD, "a field is too long or missing"},
};

template <std::size_t N>
std::string textOf(const CodeText (&texts)[N], int code) {
    const CodeText *found =
        std::find_if(texts, texts + N, [code](const CodeText &row) { return row.code == code; });
    return found == texts + N ? "failed" : found->text;
}

}  // namespace

std::string resultText(ResultOf kind, int code) {
    return kind == ResultOf::REPORT ? textOf(reportTexts, code) : textOf(requestTexts, code);
}

std::string libraryText(int code) {
    return textOf(libraryTexts, code);
}
