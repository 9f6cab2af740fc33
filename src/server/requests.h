// SPDX-License-Identifier: MIT
// The requests of clients: their codes, and a handler each. A handler reads the request's fields in
// order, acts, logs at level 2 and makes the reply. It returns 0, or, where it says so, a result
// for the server library instead of making a reply. Handlers run on the service thread, one at a
// time, and keep no state.
#pragma once

#include <cstdint>

#include "pktio/pktio.h"

enum RequestCode : std::uint16_t {
    REPLY_RESULT = 256,
    REQ_ADD_SUBS = 257,
    REQ_REMOVE_SUBS = 258,
    REQ_SET_QUOTA = 259,
    REQ_SET_URV = 261,
    REQ_MAKE_REPORT = 262,
    REQ_SET_LANG = 263,
    REQ_SET_AUTOREPORT = 264,
    REQ_SET_AUTOSEQ = 265,
    REQ_GET_AUTOSEQ = 266,
    REQ_SET_TEMPLATE = 267,
    REQ_SET_FULLACTION = 269,
    REQ_GET_NUMFILES = 270,
    REQ_SET_AUTOSAVE = 271,
    REQ_DELETE_ALL = 272,
};

// param1 of a REPLY_RESULT. Subscription requests add -1, a full command queue; a report's request
// adds generateReport's codes.
enum RequestResult : int {
    SRV_OK = 0,
    SRV_BAD_FIELD = -6,      // cannot be read, or names no file or subscription
    SRV_NOT_STORED = -7,     // no memory for a user variable
    SRV_BAD_APP_COUNT = -8,  // below 0 or above 8 applications
    SRV_BAD_FORMAT = -19,    // no ReportFormat
    SRV_UNKNOWN_ID = -22,    // no such quota, or no FullAction
};

constexpr int USER_VAR_NAME_SIZE = 16;
constexpr int USER_VAR_VALUE_SIZE = 128;

// param1: number of applications, 0 for one that is called as the subscription. Payload: the
// subscription's name, then an application's name and its second name for each.
int srvAddSubscription(const PktMessage *request, PktMessage *reply);

// Payload: the subscription's name.
int srvRemoveSubscription(const PktMessage *request, PktMessage *reply);

// param1: maximum number of files; param2: QuotaSubject.
int srvSetQuota(const PktMessage *request, PktMessage *reply);

// param1: number of pairs. Payload: name and value of each. Pairs before a failure stay stored.
int srvSetUserVars(const PktMessage *request, PktMessage *reply);

// Makes a report before it replies. param1: flags; param2: ReportFormat. Payload: subscription,
// results file, template and report file. A file's name that begins with '/' is taken as it is;
// any other is made safe and names a file directly in its directory.
int srvMakeReport(const PktMessage *request, PktMessage *reply);

// Payload: language identifier, at most 3 characters.
int srvSetLangId(const PktMessage *request, PktMessage *reply);

// param1: on or off; param2: ReportFormat. Payload: 16-bit name format and, when that is 1, the
// reference name; without that name SRV_BAD_FIELD and no reply.
int srvSetAutoreport(const PktMessage *request, PktMessage *reply);

// param1: next sequence number.
int srvSetAutoSequence(const PktMessage *request, PktMessage *reply);

// Replies with name format and sequence number.
int srvGetAutoSequence(const PktMessage *request, PktMessage *reply);

// Payload: subscription, template. SRV_BAD_FIELD and no reply when one cannot be read.
int srvSetTemplate(const PktMessage *request, PktMessage *reply);

// param1: FullAction; param2: QuotaSubject.
int srvSetFullAction(const PktMessage *request, PktMessage *reply);

// param2: QuotaSubject, only QUOTA_REPORTS. Replies with maximum and number of files.
int srvGetNumFiles(const PktMessage *request, PktMessage *reply);

// param1: on or off.
int srvSetAutosave(const PktMessage *request, PktMessage *reply);

// param1: QuotaSubject, which other requests have in param2.
int srvDeleteAllFiles(const PktMessage *request, PktMessage *reply);
