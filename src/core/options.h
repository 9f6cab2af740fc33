// SPDX-License-Identifier: MIT
// Every setting of the service, as plain globals that every folder may read. They get their
// defaults and the configuration file's values before a second thread exists; from then on clients
// change some of them. Those are atomic words, or texts that are copied whole under a lock.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include <pthread.h>

#include "base/guards.h"
#include "core/subscription.h"

// A short text that one thread replaces while others read it: a reader gets a copy of the old or of
// the new text, never of both.
template <std::size_t N>
class OptionText {
public:
    struct Copy {
        char text[N];
    };

    // A copy of the text; it lives as long as the expression, or as what it is stored in.
    [[nodiscard]] Copy get() const {
        Copy copy;
        const MutexGuard guard = lockMutex(&lock_);
        std::memcpy(copy.text, text_, N);
        return copy;
    }

    // Stores at most N - 1 characters.
    void set(std::string_view text) {
        Copy copy{};
        text.copy(copy.text, N - 1);
        const MutexGuard guard = lockMutex(&lock_);
        std::memcpy(text_, copy.text, N);
    }

private:
    mutable pthread_mutex_t lock_ = PTHREAD_MUTEX_INITIALIZER;
    char text_[N]{};
};

constexpr std::size_t OPTION_PATH_SIZE = 64;

// How results files are named. The numbers are those of the request protocol.
enum NameFormat : std::int16_t { NAME_BY_TIME = 0, NAME_BY_SEQUENCE = 1 };

// Set before the first thread starts.
inline std::int32_t opt_fgnd;
inline std::int32_t opt_debug;
inline char opt_cfgfile[OPTION_PATH_SIZE];
inline char opt_resdir[OPTION_PATH_SIZE];   // results files, a directory a subscription
inline char opt_tpldir[OPTION_PATH_SIZE];   // templates
inline char opt_rptdir[OPTION_PATH_SIZE];   // report files
inline char opt_cfgdir[OPTION_PATH_SIZE];   // configurations
inline char opt_dictdir[OPTION_PATH_SIZE];  // dictionaries
inline char opt_dflt_lang_id[4];            // fallback language of reports
inline std::int32_t opt_fullerr;            // error code for refused measurements
inline std::int32_t opt_auto_flags;         // report flags of automatic reports

// The subscriptions of the subscription files; not changed after the start.
inline std::int32_t opt_num_subs;  // entries used in opt_subs
inline Subscription opt_subs[MAX_INITIAL_SUBSCRIPTIONS];

// Changed by clients while other threads read them.
inline OptionText<4> opt_lang_id;                  // language of reports
inline std::atomic<std::int32_t> opt_max_res;      // results files a subscription
inline std::atomic<std::int32_t> opt_max_rpt;      // report files
inline std::atomic<std::int32_t> opt_fullact_res;  // FullAction
inline std::atomic<std::int32_t> opt_fullact_rpt;  // FullAction
inline std::atomic<std::int32_t> opt_autosave;     // save results on synchronisation
inline std::atomic<std::int32_t> opt_autorpt;      // make a report of each results file
inline std::atomic<std::int32_t> opt_auto_fmt;     // ReportFormat of automatic reports
inline std::atomic<std::int16_t> opt_autoname;     // NameFormat
inline OptionText<32> opt_refname;                 // reference of sequence names
inline std::atomic<std::int32_t> opt_autoseq;      // next sequence number

// Sets every option to its default and makes the quota table. quotaInit's result, or a negative
// number after a message when VORN_ROOT is too long to stand before a path.
int setDefaults();
