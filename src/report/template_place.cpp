// SPDX-License-Identifier: MIT
#include "report/template_place.h"

#include <cstdio>
#include <cstring>

#include "storage/strings.h"

const char *getTemplateLine(TemplateContext *ctx) {
    const TemplateFile *file = currentFile(ctx);
    if (file == nullptr)
        copyPiece(ctx->location, "<unknown>");
    else
        std::snprintf(ctx->location, sizeof ctx->location, "%s:%d", file->path, file->lineNo);
    return ctx->location;
}

TemplatePlace currentPlace(const TemplateContext *ctx) {
    TemplatePlace place{};
    const TemplateFile *file = currentFile(ctx);
    if (file != nullptr) {
        std::memcpy(place.path, file->path, sizeof place.path);
        place.lineNo = file->lineNo;
    }
    return place;
}
