// SPDX-License-Identifier: MIT
#include "server/request_table.h"

#include <algorithm>
#include <iterator>

const Request requestTable[] = {
    {REQ_ADD_SUBS, srvAddSubscription, "add-subs", "NAME [APP...]",
     "add a subscription, by default to the application of its name", "tx gen1 ana2"},
    {REQ_REMOVE_SUBS, srvRemoveSubscription, "remove-subs", "NAME",
     "remove a subscription; its files stay", "tx"},
    {REQ_SET_TEMPLATE, srvSetTemplate, "set-template", "SUBS TEMPLATE",
     "set a subscription's template", "tx summary.tpl"},
    {REQ_SET_URV, srvSetUserVars, "set-var", "PAIRS...", "set user variables; PAIRS are NAME VALUE",
     "operator \"J. Doe\" site lab"},
    {REQ_MAKE_REPORT, srvMakeReport, "report", "SUBS RESULTS TEMPLATE OUTPUT", "make a report",
     "tx /tarix/data/results/tx/run00001.res summary.tpl run00001.pdf"},
    {REQ_SET_LANG, srvSetLangId, "set-lang", "ID", "set the language of reports", "de"},
    {REQ_SET_QUOTA, srvSetQuota, "set-quota", "2:results|reports 1:MAX",
     "set the maximum number of files", "results 100"},
    {REQ_SET_FULLACTION, srvSetFullAction, "full-action", "2:results|reports 1:stop|block|purge",
     "set what a full quota does", "reports purge"},
    {REQ_GET_NUMFILES, srvGetNumFiles, "num-files", "", "tell the number of report files", ""},
    {REQ_DELETE_ALL, srvDeleteAllFiles, "delete-all", "1:results|reports", "delete all files",
     "reports"},
    {REQ_SET_AUTOSAVE, srvSetAutosave, "autosave", "1:on|off",
     "save results on synchronisation, or not", "on"},
    {REQ_SET_AUTOREPORT, srvSetAutoreport, "autoreport", "1:on|off [2:txt|pdf]",
     "make a report of each results file, or not; default: pdf", "on txt --reference run"},
    {REQ_SET_AUTOSEQ, srvSetAutoSequence, "set-autoseq", "1:N", "set the next number of file names",
     "1"},
    {REQ_GET_AUTOSEQ, srvGetAutoSequence, "get-autoseq", "", "tell it, and how files are named",
     ""},
};
const std::size_t requestCount = std::size(requestTable);

const Request *findRequest(unsigned code) {
    const Request *found = std::find_if(std::begin(requestTable), std::end(requestTable),
                                        [code](const Request &row) { return row.code == code; });
    return found == std::end(requestTable) ? nullptr : found;
}
