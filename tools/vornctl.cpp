// SPDX-License-Identifier: MIT
// vornctl: drives a running service from a shell. One subcommand a request; what the service
// answers goes to standard output, what goes wrong to standard error and into the exit status.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "server/requests.h"
#include "storage/quota.h"
#include "vornctl_check.h"
#include "vornctl_client.h"
#include "vornctl_texts.h"

namespace {

// Keys of an answer appear in the order in which they were put in.
using Json = nlohmann::ordered_json;

constexpr double TIMEOUT_S = 30;
constexpr double REPORT_TIMEOUT_S = 600;  // the reply comes when the report is made
constexpr int QUOTA_MAX = 65535;          // the service keeps 16 bits of it

const std::map<std::string, int> QUOTAS = {{"results", QUOTA_RESULTS}, {"reports", QUOTA_REPORTS}};
const std::map<std::string, int> ACTIONS = {
    {"stop", FULL_STOP}, {"block", FULL_BLOCK}, {"purge", FULL_PURGE}};
const std::map<std::string, int> FORMATS = {{"txt", 0}, {"pdf", 1}};
const std::map<std::string, int> SWITCH = {{"on", 1}, {"off", 0}};

// NX_PORT when it is a port to go to. The service takes a 0 too: the system's choice, which only
// its log tells.
std::string defaultPort() {
    const char *text = std::getenv("NX_PORT");
    const bool digits =
        text != nullptr && *text != '\0' && text[std::strspn(text, "0123456789")] == '\0';
    const long port = digits ? std::strtol(text, nullptr, 10) : 0;
    return port >= 1 && port <= 65535 ? text : "55000";
}

// Where to go and how to answer: the options that every subcommand takes.
struct Common {
    std::string host = "127.0.0.1";
    std::string port = defaultPort();
    std::string root;
    double timeout = 0;  // seconds; 0: the subcommand's own
    bool json = false;
};

// The words of all subcommands.
struct Words {
    std::string name;
    std::string value;
    std::string results;
    std::string templateFile;
    std::string output;
    std::string quota;
    std::string action;
    std::string onOff;
    std::string format;
    std::string reference;
    std::vector<std::string> list;
    std::int64_t number = 0;
    std::uint32_t flags = 0;
    bool force = false;
};

// ---- doing it ----

int complain(const std::string &text) {
    std::fprintf(stderr, "vornctl: %s\n", text.c_str());
    return EXIT_REFUSED;
}

int fail(const Common &common, const Exchange &exchange) {
    complain(exchange.status == EXIT_NO_CONNECTION ? "no connection to " + common.host + " port " +
                                                         common.port + ": " + exchange.trouble
                                                   : exchange.trouble);
    return exchange.status;
}

void printJson(const Json &json) {
    // Bytes that are no UTF-8 must not end the program.
    std::printf("%s\n", json.dump(-1, ' ', false, Json::error_handler_t::replace).c_str());
}

Deadline deadlineAfter(const Common &common, double seconds) {
    const std::chrono::duration<double> wait(common.timeout > 0 ? common.timeout : seconds);
    return std::chrono::steady_clock::now() +
           std::chrono::ceil<std::chrono::steady_clock::duration>(wait);
}

// How a reply that is no plain result is told: its JSON keys and its line.
using ShowReply = std::function<std::string(const PktMessage &reply, Json *json)>;

// Makes a request and tells what came of it; the program's exit status.
int request(const Common &common, const std::string &command, const Message &message,
            const ShowReply &show = nullptr, double timeout = TIMEOUT_S) {
    Message reply;
    const Exchange exchange =
        exchangeMessages(common.host, common.port, deadlineAfter(common, timeout), message, &reply);
    if (exchange.status != EXIT_DONE) return fail(common, exchange);
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
        if (done) return EXIT_DONE;
        return complain(command + " refused: " + text + " (" + std::to_string(packet.param1) + ")");
    }
    if (packet.type != message.packet.type || !show) {
        return complain("the answer is of an unknown type (" + std::to_string(packet.type) + ")");
    }
    json.update({{"ok", true}, {"result", SRV_OK}, {"text", "done"}});
    const std::string line = show(packet, &json);
    if (common.json) {
        printJson(json);
    } else {
        std::printf("%s\n", line.c_str());
    }
    return EXIT_DONE;
}

// Sends a line to the control socket and tells the answer; `status` splits off its code.
int control(const Common &common, const std::string &command, const std::string &line) {
    const std::string path = common.root + "/run/tarix/vorn.ctl";
    std::string answer;
    const Exchange exchange = exchangeLines(path, deadlineAfter(common, TIMEOUT_S), line, &answer);
    if (exchange.status != EXIT_DONE) {
        complain(exchange.status == EXIT_NO_CONNECTION
                     ? "no connection to " + path + ": " + exchange.trouble
                     : exchange.trouble);
        return exchange.status;
    }
    const bool ok = answer.rfind("error", 0) != 0;
    Json json = {{"command", command}, {"ok", ok}};
    if (ok && command == "status") {
        json["code"] = std::atoi(answer.c_str());
        json["text"] = answer.substr(std::min(answer.find(' '), answer.size() - 1) + 1);
    } else {
        json["text"] = answer;
    }
    if (common.json) printJson(json);
    if (!ok) return complain(command + " refused: " + answer);
    if (!common.json) std::printf("%s\n", answer.c_str());
    return EXIT_DONE;
}

// Appends texts; throws the usage error that the command line's reader turns into its message.
void putTexts(Message *message, const std::vector<std::string> &texts) {
    for (const std::string &text : texts) {
        if (pktPutString(&message->packet, text.c_str()) != PKT_OK) {
            throw CLI::ValidationError("the words are too long for one request");
        }
    }
}

// ---- the subcommands ----

int addSubs(const Common &common, const Words &words) {
    Message message(REQ_ADD_SUBS, static_cast<std::int32_t>(words.list.size()));
    putTexts(&message, {words.name});
    for (const std::string &app : words.list) putTexts(&message, {app, app});
    return request(common, "add-subs", message);
}

int removeSubs(const Common &common, const Words &words) {
    Message message(REQ_REMOVE_SUBS);
    putTexts(&message, {words.name});
    return request(common, "remove-subs", message);
}

int setQuota(const Common &common, const Words &words) {
    if (!words.force && (words.number < 1 || words.number > QUOTA_MAX)) {
        throw CLI::ValidationError("MAX is not in 1 to 65535, and the service keeps 16 bits of it",
                                   "give --force to send it all the same");
    }
    if (words.number < INT32_MIN || words.number > INT32_MAX) {
        throw CLI::ValidationError("MAX does not fit 32 bits");
    }
    const Message message(REQ_SET_QUOTA, static_cast<std::int32_t>(words.number),
                          QUOTAS.at(words.quota));
    return request(common, "set-quota", message);
}

int setVar(const Common &common, const Words &words) {
    if (words.list.size() % 2 != 0) throw CLI::ValidationError("each NAME needs a VALUE");
    Message message(REQ_SET_URV, static_cast<std::int32_t>(words.list.size() / 2));
    putTexts(&message, words.list);
    return request(common, "set-var", message);
}

bool endsInPdf(const std::string &name) {
    return name.size() > 4 && name.compare(name.size() - 4, 4, ".pdf") == 0;
}

int report(const Common &common, const Words &words) {
    const std::string guess = endsInPdf(words.output) ? "pdf" : "txt";
    Message message(REQ_MAKE_REPORT, static_cast<std::int32_t>(words.flags),
                    FORMATS.at(words.format.empty() ? guess : words.format));
    putTexts(&message, {words.name, words.results, words.templateFile, words.output});
    return request(common, "report", message, nullptr, REPORT_TIMEOUT_S);
}

int setLang(const Common &common, const Words &words) {
    Message message(REQ_SET_LANG);
    putTexts(&message, {words.name});
    return request(common, "set-lang", message);
}

int autoreport(const Common &common, const Words &words) {
    const bool bySequence = !words.reference.empty();
    Message message(REQ_SET_AUTOREPORT, SWITCH.at(words.onOff),
                    FORMATS.at(words.format.empty() ? "pdf" : words.format));
    pktPut16(&message.packet, bySequence ? 1 : 0);
    if (bySequence) putTexts(&message, {words.reference});
    return request(common, "autoreport", message);
}

int setAutoseq(const Common &common, const Words &words) {
    return request(common, "set-autoseq",
                   Message(REQ_SET_AUTOSEQ, static_cast<std::int32_t>(words.number)));
}

int getAutoseq(const Common &common, const Words & /*words*/) {
    return request(common, "get-autoseq", Message(REQ_GET_AUTOSEQ),
                   [](const PktMessage &reply, Json *json) {
                       const bool bySequence = reply.param1 == 1;
                       (*json)["naming"] = bySequence ? "sequence" : "time";
                       (*json)["sequence"] = reply.param2;
                       return std::string("names by ") + (bySequence ? "sequence" : "time") +
                              ", next number " + std::to_string(reply.param2);
                   });
}

int setTemplate(const Common &common, const Words &words) {
    Message message(REQ_SET_TEMPLATE);
    putTexts(&message, {words.name, words.templateFile});
    return request(common, "set-template", message);
}

int fullAction(const Common &common, const Words &words) {
    return request(common, "full-action",
                   Message(REQ_SET_FULLACTION, ACTIONS.at(words.action), QUOTAS.at(words.quota)));
}

int numFiles(const Common &common, const Words & /*words*/) {
    return request(common, "num-files", Message(REQ_GET_NUMFILES, 0, QUOTA_REPORTS),
                   [](const PktMessage &reply, Json *json) {
                       (*json)["max"] = reply.param1;
                       (*json)["files"] = reply.param2;
                       return std::to_string(reply.param2) + " report files of at most " +
                              std::to_string(reply.param1);
                   });
}

int autosave(const Common &common, const Words &words) {
    return request(common, "autosave", Message(REQ_SET_AUTOSAVE, SWITCH.at(words.onOff)));
}

int deleteAll(const Common &common, const Words &words) {
    return request(common, "delete-all", Message(REQ_DELETE_ALL, QUOTAS.at(words.quota)));
}

int status(const Common &common, const Words & /*words*/) {
    return control(common, "status", "status");
}

int debug(const Common &common, const Words &words) {
    return control(common, "debug", "debug " + std::to_string(words.number));
}

int stop(const Common &common, const Words & /*words*/) {
    return control(common, "stop", "stop");
}

int check(const Common &common, const Words & /*words*/) {
    const std::vector<std::string> findings = checkConfig(common.root);
    if (common.json) {
        printJson({{"command", "check-config"}, {"ok", findings.empty()}, {"findings", findings}});
    } else {
        for (const std::string &finding : findings) std::printf("%s\n", finding.c_str());
    }
    return findings.empty() ? EXIT_DONE : EXIT_REFUSED;
}

// ---- the command line ----

using Act = int (*)(const Common &common, const Words &words);

// Subcommands with their words, as `vornctl --help` shows them.
class CommandLine {
public:
    CommandLine() : app_("Drives a running VORN service.", "vornctl") {
        app_.set_version_flag("--version", "vornctl " VORN_VERSION);
        app_.require_subcommand(1);
        app_.add_option("--host", common_.host, "where the service listens (default: 127.0.0.1)");
        app_.add_option("--port", common_.port, "its port (default: NX_PORT, else 55000)")
            ->check(CLI::Range(1, 65535));
        app_.add_option("--root", common_.root, "directory in front of fixed paths")
            ->envname("VORN_ROOT");
        app_.add_option("--timeout", common_.timeout,
                        "seconds to wait for the answer (default: 30, for a report 600)")
            ->check(CLI::PositiveNumber);
        app_.add_flag("--json", common_.json, "print the answer as one JSON line");
        addRequests();
        addSettings();
        addControls();
        app_.footer("Examples:\n" + examples_ +
                    "\nBefore words that begin with '-' put --: vornctl set-var -- name -x\n"
                    "Exit status: 0 done, 1 refused or failed, 2 usage, 3 no connection, "
                    "4 timed out.");
    }

    int run(int argc, char **argv) {
        try {
            app_.parse(argc, argv);
            return act_(common_, words_);
        } catch (const CLI::ParseError &error) {
            return app_.exit(error) == 0 ? EXIT_DONE : EXIT_USAGE;
        }
    }

private:
    CLI::App *add(const std::string &name, Act act, const std::string &description,
                  const std::string &example) {
        CLI::App *command = app_.add_subcommand(name, description);
        const std::string line = "  vornctl " + name + (example.empty() ? "" : " " + example);
        command->footer("Example:\n" + line);
        command->fallthrough();
        command->callback([this, act] { act_ = act; });
        examples_ += line + "\n";
        return command;
    }
    static void oneOf(CLI::App *command, const std::string &name, std::string *word,
                      const std::map<std::string, int> &names) {
        command->add_option(name, *word)->required()->check(CLI::IsMember(names));
    }
    static void text(CLI::App *command, const std::string &name, std::string *word) {
        command->add_option(name, *word)->required();
    }

    void addRequests() {
        CLI::App *command = add("add-subs", addSubs, "add a subscription", "tx gen1 ana2");
        text(command, "NAME", &words_.name);
        command->add_option("APP", words_.list, "its applications (default: the one of its name)");
        text(add("remove-subs", removeSubs, "remove a subscription; its files stay", "tx"), "NAME",
             &words_.name);
        command =
            add("set-template", setTemplate, "set a subscription's template", "tx summary.tpl");
        text(command, "SUBS", &words_.name);
        text(command, "TEMPLATE", &words_.templateFile);
        command = add("set-var", setVar, "set user variables", "operator \"J. Doe\" site lab");
        command->add_option("PAIRS", words_.list, "NAME VALUE [NAME VALUE ...]")->required();
        command = add("report", report, "make a report",
                      "tx /tarix/data/results/tx/run00001.res summary.tpl run00001.pdf");
        text(command, "SUBS", &words_.name);
        text(command, "RESULTS", &words_.results);
        text(command, "TEMPLATE", &words_.templateFile);
        text(command, "OUTPUT", &words_.output);
        command->add_option("--format", words_.format, "default: pdf when OUTPUT ends in .pdf")
            ->check(CLI::IsMember(FORMATS));
        command->add_option("--flags", words_.flags, "shown in the service's log");
        text(add("set-lang", setLang, "set the language of reports", "de"), "ID", &words_.name);
    }

    void addSettings() {
        CLI::App *command =
            add("set-quota", setQuota, "set the maximum number of files", "results 100");
        oneOf(command, "results|reports", &words_.quota, QUOTAS);
        command->add_option("MAX", words_.number)->required();
        command->add_flag("--force", words_.force, "send a MAX outside 1 to 65535 too");
        command = add("full-action", fullAction, "set what a full quota does", "reports purge");
        oneOf(command, "results|reports", &words_.quota, QUOTAS);
        oneOf(command, "stop|block|purge", &words_.action, ACTIONS);
        add("num-files", numFiles, "tell the number of report files", "");
        oneOf(add("delete-all", deleteAll, "delete all files", "reports"), "results|reports",
              &words_.quota, QUOTAS);
        oneOf(add("autosave", autosave, "save results on synchronisation, or not", "on"), "on|off",
              &words_.onOff, SWITCH);
        command = add("autoreport", autoreport, "make a report of each results file, or not",
                      "on txt --reference run");
        oneOf(command, "on|off", &words_.onOff, SWITCH);
        command->add_option("txt|pdf", words_.format, "default: pdf")
            ->check(CLI::IsMember(FORMATS));
        command->add_option("--reference", words_.reference,
                            "name files by it and a number (default: by time)");
        command = add("set-autoseq", setAutoseq, "set the next number of file names", "1");
        command->add_option("N", words_.number)
            ->required()
            ->check(CLI::Range(INT32_MIN, INT32_MAX));
        add("get-autoseq", getAutoseq, "tell it, and how files are named", "");
    }

    void addControls() {
        add("status", status, "tell the service's status", "");
        CLI::App *command = add("debug", debug, "set the level up to which the service logs", "2");
        command->add_option("N", words_.number)
            ->required()
            ->check(CLI::Range(INT32_MIN, INT32_MAX));
        add("stop", stop, "stop the service", "");
        add("check-config", check,
            "read the configuration and report all findings; the service need not run",
            "--root /tmp/demo");
    }

    CLI::App app_;
    Common common_;
    Words words_;
    Act act_ = nullptr;
    std::string examples_;
};

}  // namespace

int main(int argc, char **argv) {
    return CommandLine().run(argc, argv);
}
