// SPDX-License-Identifier: MIT
// vornctl: drives a running service from a shell. One subcommand a request; what the service
// answers goes to standard output, what goes wrong to standard error and into the exit status.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "base/fixed_places.h"
#include "base/numbers.h"
#include "core/options.h"
#include "format_option.h"
#include "number_option.h"
#include "output/dump_backend.h"
#include "server/requests.h"
#include "server/server.h"
#include "storage/quota.h"
#include "vornctl_check.h"
#include "vornctl_client.h"
#include "vornctl_stats.h"
#include "vornctl_texts.h"

namespace {

// Keys of an answer appear in the order in which they were put in.
using Json = nlohmann::ordered_json;

constexpr double TIMEOUT_S = 30;
constexpr double REPORT_TIMEOUT_S = 600;  // the reply comes when the report is made

// What each word is, with its limit. A word that is not here gets no help.
const std::map<std::string, const char *> wordHelp = {
    {"NAME", "subscription, 1 to 15 characters, no '/'"},
    {"APP", "application, at most 15 characters; none: the one named like the subscription"},
    {"SUBS", "subscription, at most 15 characters; set-template reaches names of 8"},
    {"TEMPLATE", "path, or file of the templates' folder, at most 63 characters"},
    {"RESULTS", "path, or file of the results' folder, at most 63 characters"},
    {"OUTPUT", "path, or file of the reports' folder, at most 63 characters"},
    {"PAIRS", "NAME, at most 15 characters, and VALUE, at most 127, of each"},
    {"ID", "language, at most 3 characters"},
    {"MAX", "1 to 65535 files"},
    {"N", "-2147483648 to 2147483647"},
    {"results|reports", "whose quota"},
    {"stop|block|purge", "refuse files, measurements too, or delete the oldest"},
    {"off|on", "not to do it, or to"},
    {"txt|pdf", "format of the reports"},
};

// NX_PORT when it is a port to go to. The service takes a 0 too: the system's choice, which only
// its log tells.
std::uint16_t defaultPort() {
    const char *text = std::getenv("NX_PORT");
    std::uint64_t port = 0;
    const bool isPort = text != nullptr && parseDecimal(text, 65535, &port) == NUMBER_OK;
    return isPort && port > 0 ? static_cast<std::uint16_t>(port) : SERVICE_PORT;
}

// Where to go and how to answer: the options that every subcommand takes.
struct Common {
    std::string host = "127.0.0.1";
    std::uint16_t port = defaultPort();
    std::string root;
    double timeout = 0;  // seconds; 0: the subcommand's own
    bool json = false;
};

// What was said behind a subcommand. Only one is, so the options of all share this.
struct Words {
    std::map<std::string, std::string> said;  // by the name of the word
    std::vector<std::string> list;
    std::string format;
    std::string reference;
    std::int32_t level = 0;
    std::string config;
    std::uint32_t flags = 0;
    bool force = false;
    bool prometheus = false;
};

// ---- doing it ----

int complain(const std::string &text) {
    std::fprintf(stderr, "vornctl: %s\n", text.c_str());
    return CTL_REFUSED;
}

int fail(const Common &common, const Exchange &exchange) {
    complain(exchange.status == CTL_NO_CONNECTION
                 ? "no connection to " + common.host + " port " + std::to_string(common.port) +
                       ": " + exchange.trouble
                 : exchange.trouble);
    return exchange.status;
}

void printJson(const Json &json) {
    // Bytes that are no UTF-8 must not end the program.
    std::printf("%s\n", json.dump(-1, ' ', false, Json::error_handler_t::replace).c_str());
}

Deadline deadlineAfter(const Common &common, double seconds) {
    constexpr double LONGEST_S = 1e9;  // what the clock can count
    const double given = common.timeout > 0 ? common.timeout : seconds;
    const std::chrono::duration<double> wait(std::min(given, LONGEST_S));
    return std::chrono::steady_clock::now() +
           std::chrono::ceil<std::chrono::steady_clock::duration>(wait);
}

// How a reply that is no plain result is told: its JSON keys and its line.
using ShowReply = std::string (*)(const PktMessage &reply, Json *json);

// Makes a request and tells what came of it; the program's exit status.
int exchangeRequest(const Common &common, const std::string &command, const Message &message,
                    ShowReply show) {
    const double timeout = message.packet.type == REQ_MAKE_REPORT ? REPORT_TIMEOUT_S : TIMEOUT_S;
    Message reply;
    const Exchange exchange = exchangeMessages(common.host, std::to_string(common.port),
                                               deadlineAfter(common, timeout), message, &reply);
    if (exchange.status != CTL_DONE) return fail(common, exchange);
    const PktMessage &packet = reply.packet;
    Json json = {{"command", command}};
    if (packet.type == REPLY_RESULT || packet.type == 0) {
        const bool done = packet.type == REPLY_RESULT && packet.param1 == SRV_OK;
        const ResultOf kind =
            message.packet.type == REQ_MAKE_REPORT ? ResultOf::REPORT : ResultOf::REQUEST;
        const std::string text =
            packet.type == 0 ? libraryText(packet.param1) : resultText(kind, packet.param1);
        json.update({{"ok", done}, {"result", packet.param1}, {"text", text}});
        if (common.json) printJson(json);
        if (done) return CTL_DONE;
        return complain(command + " refused: " + text + " (" + std::to_string(packet.param1) + ")");
    }
    if (packet.type != message.packet.type) {
        return complain("the answer is of an unknown type (" + std::to_string(packet.type) + ")");
    }
    json.update({{"ok", true}, {"result", SRV_OK}, {"text", "done"}});
    const std::string line = show(packet, &json);
    if (common.json) {
        printJson(json);
    } else {
        std::printf("%s\n", line.c_str());
    }
    return CTL_DONE;
}

// Sends a line to the control socket and gets its answer; CTL_DONE, or another status after a
// message.
int askSocket(const Common &common, const std::string &line, std::string *answer) {
    const std::string path = common.root + CONTROL_SOCKET;
    const Exchange exchange = exchangeLines(path, deadlineAfter(common, TIMEOUT_S), line, answer);
    if (exchange.status != CTL_DONE)
        complain(exchange.status == CTL_NO_CONNECTION
                     ? "no connection to " + path + ": " + exchange.trouble
                     : exchange.trouble);
    return exchange.status;
}

// Tells what the service did so far.
int stats(const Common &common, bool prometheus) {
    if (common.json && prometheus) throw CLI::ExcludesError("--prometheus", "--json");
    std::string answer;
    const int status = askSocket(common, "stats", &answer);
    if (status != CTL_DONE) return status;
    try {
        const Json told = Json::parse(answer);
        if (common.json) {
            Json json = {{"command", "stats"}, {"ok", true}};
            json.update(told);
            printJson(json);
        } else {
            std::printf("%s", (prometheus ? statsPrometheus(told) : statsText(told)).c_str());
        }
        return CTL_DONE;
    } catch (const Json::exception &) {
        return complain("stats refused: " + answer);
    }
}

// Sends a line to the control socket and tells the answer; `status` splits off its code.
int control(const Common &common, const std::string &command, const std::string &line) {
    std::string answer;
    const int status = askSocket(common, line, &answer);
    if (status != CTL_DONE) return status;
    const bool ok = answer.rfind("error", 0) != 0;
    Json json = {{"command", command}, {"ok", ok}};
    if (ok && command == "status") {
        json["code"] = toInt32(answer);
        json["text"] = answer.substr(std::min(answer.find(' '), answer.size() - 1) + 1);
    } else {
        json["text"] = answer;
    }
    if (common.json) printJson(json);
    if (!ok) return complain(command + " refused: " + answer);
    if (!common.json) std::printf("%s\n", answer.c_str());
    return CTL_DONE;
}

// Appends texts; throws the usage error that the command line's reader turns into its message.
void putTexts(Message *message, const std::vector<std::string> &texts) {
    for (const std::string &text : texts) {
        if (pktPutString(&message->packet, text.c_str()) != PKT_OK) {
            throw CLI::ValidationError("the words are too long for one request");
        }
    }
}

// ---- requests ----

// One word of a row: "1:a|b", where a is 0 and b is 1, or "NAME", in brackets when it may be left
// out, with dots for more.
struct WordForm {
    explicit WordForm(std::string form) : optional(form.front() == '[') {
        if (optional) form = form.substr(1, form.size() - 2);
        if (form.size() > 2 && form[1] == ':') parameter = form[0];
        name = form.substr(parameter == 0 ? 0 : 2);
        many = name.size() > 3 && name.compare(name.size() - 3, 3, "...") == 0;
        if (many) name.resize(name.size() - 3);
        std::istringstream parts(name);
        if (name.find('|') == std::string::npos) return;
        for (std::string choice; std::getline(parts, choice, '|');) choices.push_back(choice);
    }

    bool optional;
    bool many = false;
    char parameter = 0;
    std::string name;
    std::vector<std::string> choices;
};

std::vector<WordForm> wordForms(const Request &row) {
    std::vector<WordForm> forms;
    std::istringstream words(row.words);
    for (std::string word; words >> word;) forms.emplace_back(word);
    return forms;
}

std::int32_t parameterOf(const WordForm &form, const std::string &word) {
    const auto choice = std::find(form.choices.begin(), form.choices.end(), word);
    if (choice == form.choices.end()) return numberOf<std::int32_t>(form.name, word);
    return static_cast<std::int32_t>(choice - form.choices.begin());
}

// Puts the words into the message as the row says.
void putWords(const Request &row, const Words &words, Message *message) {
    for (const WordForm &form : wordForms(row)) {
        if (form.many) continue;  // the list comes last
        const std::string &word = words.said.at(form.name);
        if (form.parameter == 0)
            putTexts(message, {word});
        else if (!form.optional || !word.empty())
            (form.parameter == '1' ? message->packet.param1 : message->packet.param2) =
                parameterOf(form, word);
    }
}

void putList(const Words &words, Message *message) {
    putTexts(message, words.list);
}

// ---- what some requests need besides ----

void putApps(const Words &words, Message *message) {
    message->packet.param1 = static_cast<std::int32_t>(words.list.size());
    for (const std::string &app : words.list) putTexts(message, {app, app});
}

void putPairs(const Words &words, Message *message) {
    if (words.list.size() % 2 != 0) throw CLI::ValidationError("each NAME needs a VALUE");
    message->packet.param1 = static_cast<std::int32_t>(words.list.size() / 2);
    putList(words, message);
}

void offerForce(CLI::App *command, Words *words) {
    command->add_flag("--force", words->force, "send a MAX outside 1 to 65535 too");
}

void checkQuota(const Words &words, Message *message) {
    const int max = message->packet.param1;
    if (!words.force && (max < 1 || max > QUOTA_MAX_FILES))
        throw CLI::ValidationError("MAX is not in 1 to " + std::to_string(QUOTA_MAX_FILES) +
                                       ", and the service keeps 16 bits of it",
                                   "give --force to send it all the same");
}

void offerFormat(CLI::App *command, Words *words) {
    command->add_option("--format", words->format, "default: pdf when OUTPUT ends in .pdf")
        ->check(isReportFormat());
    addNumber(command, "--flags", &words->flags, "shown in the service's log");
}

void putFormat(const Words &words, Message *message) {
    const bool isPdf = words.format.empty() ? isReportName(words.said.at("OUTPUT"), RPT_FMT_PDF)
                                            : words.format == reportFormatWords[RPT_FMT_PDF];
    message->packet.param1 = static_cast<std::int32_t>(words.flags);
    message->packet.param2 = isPdf ? RPT_FMT_PDF : RPT_FMT_TXT;
}

void offerReference(CLI::App *command, Words *words) {
    command->add_option("--reference", words->reference,
                        "name files by it and a number (default: by time)");
}

void putReference(const Words &words, Message *message) {
    if (words.said.at("txt|pdf").empty()) message->packet.param2 = RPT_FMT_PDF;
    const bool bySequence = !words.reference.empty();
    pktPut16(&message->packet, bySequence ? NAME_BY_SEQUENCE : NAME_BY_TIME);
    if (bySequence) putTexts(message, {words.reference});
}

void askForReports(const Words & /*words*/, Message *message) {
    message->packet.param2 = QUOTA_REPORTS;
}

std::string showParameters(const PktMessage &reply, Json *json) {
    (*json)["param1"] = reply.param1;
    (*json)["param2"] = reply.param2;
    return "param1 " + std::to_string(reply.param1) + ", param2 " + std::to_string(reply.param2);
}

std::string showNumFiles(const PktMessage &reply, Json *json) {
    (*json)["max"] = reply.param1;
    (*json)["files"] = reply.param2;
    return std::to_string(reply.param2) + " report files of at most " +
           std::to_string(reply.param1);
}

std::string showAutoseq(const PktMessage &reply, Json *json) {
    const std::string naming = reply.param1 == NAME_BY_SEQUENCE ? "sequence" : "time";
    (*json)["naming"] = naming;
    (*json)["sequence"] = reply.param2;
    return "names by " + naming + ", next number " + std::to_string(reply.param2);
}

struct Extra {
    RequestCode code;
    void (*offer)(CLI::App *command, Words *words);        // options; may be null
    void (*finish)(const Words &words, Message *message);  // after the words, their list apart
    ShowReply show;
};

constexpr Extra noExtra = {REPLY_RESULT, nullptr, putList, showParameters};
constexpr Extra extras[] = {
    {REQ_ADD_SUBS, nullptr, putApps, showParameters},
    {REQ_SET_URV, nullptr, putPairs, showParameters},
    {REQ_SET_QUOTA, offerForce, checkQuota, showParameters},
    {REQ_MAKE_REPORT, offerFormat, putFormat, showParameters},
    {REQ_SET_AUTOREPORT, offerReference, putReference, showParameters},
    {REQ_GET_NUMFILES, nullptr, askForReports, showNumFiles},
    {REQ_GET_AUTOSEQ, nullptr, putList, showAutoseq},
};

const Extra &extraOf(const Request &row) {
    for (const Extra &extra : extras)
        if (extra.code == row.code) return extra;
    return noExtra;
}

int makeRequest(const Common &common, const Request &row, const Words &words) {
    const Extra &extra = extraOf(row);
    Message message(row.code);
    putWords(row, words, &message);
    extra.finish(words, &message);
    return exchangeRequest(common, row.name, message, extra.show);
}

// ---- the control socket and the check ----

int check(const Common &common, const std::string &configFile) {
    bool ok = true;
    Json list = Json::array();
    for (const CheckFinding &finding : checkConfig(common.root, configFile)) {
        const char *kind = finding.error ? "error" : "hint";
        const std::string line = std::to_string(finding.line);
        ok = ok && !finding.error;
        list.push_back({{"kind", kind},
                        {"file", finding.file},
                        {"line", finding.line == 0 ? Json() : Json(finding.line)},
                        {"text", finding.text}});
        if (!common.json)
            std::printf("%s: %s%s: %s\n", kind, finding.file.c_str(),
                        finding.line == 0 ? "" : (":" + line).c_str(), finding.text.c_str());
    }
    if (common.json) printJson({{"command", "check-config"}, {"ok", ok}, {"findings", list}});
    return ok ? CTL_DONE : CTL_REFUSED;
}

// ---- the command line ----

// Subcommands with their words, as `vornctl --help` shows them.
class CommandLine {
public:
    CommandLine() : app_("Drives a running VORN service.", "vornctl") {
        app_.set_version_flag("--version", "vornctl " VORN_VERSION);
        app_.require_subcommand(1);
        app_.add_option("--host", common_.host, "where the service listens (default: 127.0.0.1)");
        addNumber(&app_, "--port", &common_.port, "its port (default: NX_PORT, else 55000)",
                  std::uint16_t{1});
        app_.add_option("--root", common_.root, "directory in front of fixed paths")
            ->envname("VORN_ROOT");
        app_.add_option("--timeout", common_.timeout,
                        "seconds to wait for the answer (default: 30, for a report 600)")
            ->check(CLI::PositiveNumber);
        app_.add_flag("--json", common_.json, "print the answer as one JSON line");
        for (std::size_t i = 0; i < requestCount; ++i) addRequest(requestTable[i]);
        addControls();
        app_.footer("Examples:\n" + examples_ +
                    "\nBefore words that begin with '-' put --: vornctl set-var -- name -x\n"
                    "Exit status: 0 done, 1 refused or failed, 2 usage, 3 no connection, "
                    "4 timed out.");
    }

    int run(int argc, char **argv) {
        try {
            app_.parse(argc, argv);
            return act_();
        } catch (const CLI::ParseError &error) {
            return app_.exit(error) == 0 ? CTL_DONE : CTL_USAGE;
        }
    }

private:
    CLI::App *add(const std::string &name, std::function<int()> act, const std::string &description,
                  const std::string &example) {
        CLI::App *command = app_.add_subcommand(name, description);
        const std::string line = "  vornctl " + name + (example.empty() ? "" : " " + example);
        command->footer("Example:\n" + line);
        command->fallthrough();
        command->callback([this, act = std::move(act)] { act_ = act; });
        examples_ += line + "\n";
        return command;
    }

    void addWord(CLI::App *command, const WordForm &form, std::string *said) {
        const auto known = wordHelp.find(form.name);
        const std::string help = known != wordHelp.end() ? known->second : "";
        CLI::Option *option = form.many ? command->add_option(form.name, words_.list, help)
                                        : command->add_option(form.name, *said, help);
        option->required(!form.optional);
        if (!form.choices.empty())
            option->check(CLI::IsMember(form.choices));
        else if (form.parameter != 0)
            option->type_name("INT");
    }

    void addRequest(const Request &row) {
        std::map<std::string, std::string> *said = &said_[row.name];
        CLI::App *command = add(
            row.name,
            [this, &row, said] {
                words_.said = *said;
                return makeRequest(common_, row, words_);
            },
            row.help, row.example);
        for (const WordForm &form : wordForms(row)) addWord(command, form, &(*said)[form.name]);
        if (extraOf(row).offer != nullptr) extraOf(row).offer(command, &words_);
    }

    void addControls() {
        add(
            "status", [this] { return control(common_, "status", "status"); },
            "tell the service's status", "");
        CLI::App *command = add(
            "debug",
            [this] { return control(common_, "debug", "debug " + std::to_string(words_.level)); },
            "set the level up to which the service logs", "2");
        addNumber(command, "N", &words_.level, "level, 0 (nothing) to 3 (all)")->required();
        add(
            "stop", [this] { return control(common_, "stop", "stop"); }, "stop the service", "");
        command = add(
            "stats", [this] { return stats(common_, words_.prometheus); },
            "tell what the service has done since it started", "");
        command->add_flag("--prometheus", words_.prometheus, "as Prometheus reads it");
        command = add(
            "check-config", [this] { return check(common_, words_.config); },
            "read the configuration and tell errors and hints; the service need not run",
            "--root /tmp/demo");
        command->add_option("-c", words_.config, "configuration file (default: the service's)");
    }

    CLI::App app_;
    Common common_;
    Words words_;
    std::map<std::string, std::map<std::string, std::string>> said_;  // by subcommand
    std::function<int()> act_;
    std::string examples_;
};

}  // namespace

int main(int argc, char **argv) {
    return CommandLine().run(argc, argv);
}
