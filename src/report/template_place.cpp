// SPDX-License-Identifier: MIT
#include "report/template_place.h"

#include <cstdio>
#include <cstring>

#include "storage/strings.h"

const char *templateFolder(const TemplateContext *ctx, const char *path) {
    return ctx->folder != nullptr && path[0] != '/' ? ctx->folder : "";
}

const char *getTemplateLine(TemplateContext *ctx) {
    const TemplateFile *file = currentFile(ctx);
    if (file == nullptr)
        copyPiece(ctx->location, "<unknown>");
    else
        std::snprintf(ctx->location,
                      ctx->folder != nullptr ? sizeof ctx->location : TEMPLATE_PLACE_SIZE,
                      "%s%s:%d", templateFolder(ctx, file->path), file->path, file->lineNo);
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
