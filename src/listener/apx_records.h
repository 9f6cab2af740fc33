// SPDX-License-Identifier: MIT
// The records that cross to the application manager. Their byte positions are the library's, the
// same on every machine; what stands between the named fields stays zero.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/subscription.h"
#include "listener/commands.h"

// The name of the change lists that the listener keeps on the applications.
constexpr char CHANGE_LIST_NAME[] = "vorn_sync";

// For APX_Create_Chg_List: has synchronisation responses sent to a registry queue.
struct ChangeListRequest {
    std::uint8_t kind;  // 2
    char listName[20];
    std::uint8_t gap21[3];
    std::int32_t queueId;
    std::int16_t setting28;  // 1
    std::uint8_t gap30[2];
    std::int32_t setting32;  // 2
    std::uint8_t setting36;  // 0
    std::uint8_t rest[3963];
};
static_assert(offsetof(ChangeListRequest, listName) == 1 &&
              offsetof(ChangeListRequest, queueId) == 24 &&
              offsetof(ChangeListRequest, setting28) == 28 &&
              offsetof(ChangeListRequest, setting32) == 32 &&
              offsetof(ChangeListRequest, setting36) == 36);
static_assert(sizeof(ChangeListRequest) == 4000);

// For APX_Save_Mult_Config: saves applications into one results file.
struct SaveRequest {
    std::int32_t kind;  // 1
    char path[64];
    std::int32_t numApps;
    char appNames[MAX_SUBSCRIPTION_APPS][APP_KEY_SIZE];
    std::uint8_t rest[3856];
};
static_assert(offsetof(SaveRequest, path) == 4 && offsetof(SaveRequest, numApps) == 68 &&
              offsetof(SaveRequest, appNames) == 72);
static_assert(sizeof(SaveRequest) == 4000);

// From APX_Get_Time_Info.
struct TimeRecord {
    std::int32_t startTime;  // seconds since 1970-01-01 UTC
    std::uint8_t rest[60];
};
static_assert(sizeof(TimeRecord) == 64);
