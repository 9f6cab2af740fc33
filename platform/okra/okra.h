// SPDX-License-Identifier: MIT
// The application manager interface. Calls return 0 for success or an error code that APX_Error
// explains, unless said otherwise. Calls may run in several threads at once.
#pragma once

#include <cstdint>

// Called once an application; `app` is the library's application record: name at byte 12 (16 bytes,
// NUL-ended), start, stop and restart time at 32, 36, 40, status byte at 44, power-failure time at
// 48, declared register count at 52 (int32), register-name table from 56. It is valid during the
// load.
using ApxAppCallback = int (*)(const void *app, void *user);

// Called once a register of that application; `value` is the library's register value record: a
// 16-bit flags word at byte 0 (bit value 2: no value), value fields from byte 8 by register type.
// `name` and `value` are valid during the call.
using ApxRegCallback = int (*)(const void *app, const void *value, std::uint8_t type,
                               std::uint16_t id, const char *name, void *user);

// Prepares the register-name tables; `reserved` is 0.
int APX_RegNames_Init(int reserved);

// Reads a results file and calls back for each application and register, on the calling thread;
// what the callbacks return carries no meaning. On an error some callbacks may have run already.
int APX_Load_Results_File(const char *path, ApxAppCallback app, ApxRegCallback reg, void *user);

// The description of a register, to reach its labels, or null. `names` is the application record's
// register-name table (its byte 56). Asked for within a register's callback, for that register.
const void *APX_Get_Reg_Info(const void *names, std::uint16_t id);

// The label record of a selection entry or bit number, or null: the text starts at its second
// character. It is valid during the register's callback.
const char *APX_Get_Sel_Label(const void *info, std::uint32_t value);

// The text of an error code. For a failed load it names the line and the reason, and stays valid
// until the calling thread's next failed load.
const char *APX_Error(int code);

// The same without the line, which *line gets, 0 for none. Null where the instrument's library
// takes the host's place.
[[gnu::weak]] const char *APX_Error_Reason(int code, std::uint32_t *line);

// ---- the running manager ----

// What callers tell apart; any other error is a failure.
enum ApxError : int {
    APX_NOT_RUNNING = -2,  // no such application, or a handle of one that is gone
    APX_DISABLED = -3,     // the application's measurements are disabled
};

int APX_Open_Manager();

// Has application events sent to a System V message queue. Arguments as the library's manual gives
// them: queue id, 1, 0xFFFFFFFF.
int APX_Subscribe_Events(std::int32_t queueId, std::int32_t kind, std::uint32_t mask);

// A handle of a running application, or a negative number.
std::int32_t APX_Get_Handle(const char *name);

// Fills the application's time record: its first field is the start time (int32, seconds since
// 1970-01-01 UTC). Fails when the application's measurements are disabled. `record` has at least 64
// bytes; `reserved` is 0.
int APX_Get_Time_Info(std::int32_t handle, int reserved, void *record);

// Makes a change list, over one of the same name; `request` holds `size` bytes, the list's name at
// byte 1 (20 bytes), the queue id at 24.
int APX_Create_Chg_List(std::int32_t handle, const void *request, std::int32_t size);
int APX_Kill_Chg_List(std::int32_t handle, const char *name);

// Saves several applications into one results file: request type at byte 0 (int32), path at 4 (64
// bytes), count at 68 (int32), names from 72 (9 bytes each).
int APX_Save_Mult_Config(const void *request);

// Enables (byte 0 is 3) or disables (2) new measurements; the error code stands at byte 4 (int32).
int APX_Set_Global_Meas_Ctrl(const void *control);
