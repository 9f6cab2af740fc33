// SPDX-License-Identifier: MIT
// tarix-sim: plays the instrument for the host platform. It changes the application manager's files
// and posts to the queues as the instrument does, so that whatever the service does can be watched
// and provoked from a shell.
#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <exception>
#include <filesystem>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <CLI/CLI.hpp>
#include <sys/msg.h>

#include "base/fixed_places.h"
#include "base/folders.h"
#include "base/line_reader.h"
#include "base/numbers.h"
#include "base/open_file.h"
#include "base/root_path.h"
#include "base/whole_file.h"
#include "okra/manager_files.h"
#include "okra/okra.h"
#include "okra/okra_error.h"

namespace {

namespace fs = std::filesystem;

enum ExitStatus : int { DONE = 0, FAILED = 1, USAGE = 2 };

// A failure: its text is the one line that standard error gets.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// A word of the command line that the command does not take.
struct WrongWord : Failure {
    using Failure::Failure;
};

// For the library's calls, whose texts name the file.
void check(int code) {
    if (code != OKRA_OK) throw Failure(APX_Error(code));
}

// ---- paths ----

std::string rooted(const char *path) {
    char out[ROOTED_PATH_SIZE];
    if (rootedPath(out, "%s", path) != 0) throw Failure("VORN_ROOT is too long");
    return out;
}

std::string okraFile(const char *folder, const char *name = nullptr) {
    char path[ROOTED_PATH_SIZE];
    check(okraPath(path, folder, name));
    return path;
}

// The names in a folder, in order; none when it is not there. Files being written are left out.
std::vector<std::string> namesIn(const std::string &folder, std::size_t longest = 255) {
    std::vector<std::string> names;
    std::error_code error;
    for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
        const std::string name = at->path().filename();
        if (okraIsName(name, longest)) names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

// ---- arguments ----

std::uint32_t number(const char *text, std::uint32_t max, bool hex, const char *what) {
    std::uint64_t value = 0;
    const std::string_view digits = text;
    const bool isHex = digits.find_first_of("xX") != std::string_view::npos;
    if ((isHex && !hex) || parseUnsigned(digits, max, &value) != NUMBER_OK)
        throw WrongWord(std::string("'") + text + "' is no " + what + ": 0 to " +
                        std::to_string(max));
    return static_cast<std::uint32_t>(value);
}

std::uint32_t timeArgument(const char *text) {
    if (text == nullptr) return static_cast<std::uint32_t>(std::time(nullptr));
    return number(text, UINT32_MAX, false, "time");
}

void checkName(const char *app) {
    if (!okraIsName(app, OKRA_APP_NAME_MAX))
        throw WrongWord(std::string("'") + app +
                        "' is no application's name: 1 to 15 letters, digits, '.', '_', '-'");
}

// The path of a running application's state.
std::string runningApp(const char *app) {
    checkName(app);
    char path[ROOTED_PATH_SIZE];
    const int found = okraFindApp(app, path);
    if (found == OKRA_NOT_RUNNING)
        throw Failure(std::string("application '") + app + "' does not run");
    if (found != OKRA_OK) throw Failure(APX_Error(found));
    return path;
}

// ---- messages ----

// A message as it travels: the queue's type word, whatever its size, and the bytes that count from
// position 4 on.
struct Message {
    long type;
    char bytes[24];
};
constexpr long APP_EVENT = 1;
constexpr long SYNC_RESPONSE = 2;
constexpr std::uint32_t EVENT_CREATED = 1;
constexpr std::uint32_t EVENT_DESTROYED = 2;
constexpr std::uint32_t STATE_SYNCHRONISED = 2;

// Posts without waiting. A queue that is gone is nobody's loss; the others are served before the
// first failure is told.
void post(const Message &message, std::size_t size, const std::vector<std::int32_t> &queues) {
    std::string failure;
    for (const std::int32_t queue : queues) {
        if (msgsnd(queue, &message, size, IPC_NOWAIT) == 0) continue;
        if (errno == EINVAL || errno == EIDRM || !failure.empty()) continue;
        failure = "queue " + std::to_string(queue) + ": " +
                  (errno == EAGAIN ? "full, the message is lost" : std::strerror(errno));
    }
    if (!failure.empty()) throw Failure(failure);
}

void postEvent(const char *app, std::uint32_t mask) {
    std::int32_t ids[OKRA_SUBSCRIBERS_MAX];
    std::size_t count = 0;
    check(okraReadSubscribers(ids, &count));
    Message message{APP_EVENT, {}};
    std::memcpy(message.bytes, &mask, sizeof mask);
    std::snprintf(message.bytes + 4, OKRA_APP_NAME_MAX + 1, "%s", app);
    post(message, 4 + OKRA_APP_NAME_MAX + 1, {ids, ids + count});
}

// The queue of a change list.
std::int32_t listQueue(const std::string &list) {
    std::int32_t queue = -1;
    std::size_t count = 0;
    check(okraReadIds(list.c_str(), &queue, 1, &count));
    return queue;
}

void postResponse(const char *app, std::uint32_t state) {
    std::vector<std::int32_t> queues;
    const std::string folder = okraFile("changes", app);
    for (const std::string &list : namesIn(folder))
        queues.push_back(listQueue(fs::path(folder) / list));
    Message message{SYNC_RESPONSE, {}};
    std::snprintf(message.bytes, OKRA_APP_NAME_MAX + 1, "%s", app);
    message.bytes[16] = static_cast<char>(state);
    post(message, 17, queues);
}

// ---- states ----

// What an application has when nobody says.
constexpr char ownRegisters[] =
    "reg u32 frames value=123456 min=0 max=200000\n"
    "reg counter bytes value=987654321 time=3600 mult=8 div=1 secs=3600\n"
    "reg sel linkState value=1 labels=\"down|up\"\n"
    "reg bits alarms value=0x5 labels=\"LOS|AIS|RDI\"\n"
    "reg a32 hist data=1,2,3,4\n"
    "reg f64 jitter value=0.125\n";

// Writes a state, which appears whole, from a state or results file with one application.
void writeState(const std::string &to, const char *app, const OkraApp &times,
                const std::string &from) {
    WholeFile file;
    std::error_code error;
    fs::create_directories(fs::path(to).parent_path(), error);
    int failed = file.begin(to.c_str(), PART_WAIT);
    if (failed == 0) {
        std::fputs(OKRA_FORMAT_LINE, file.stream());
        check(okraCopyApp(from.c_str(), app, times, file.stream()));
        failed = file.commit(TARGET_REPLACED);
    }
    if (failed != 0) throw Failure(std::string("application: ") + std::strerror(failed));
}

OkraApp readState(const std::string &path) {
    OkraApp app{};
    check(okraReadApp(path.c_str(), &app));
    return app;
}

// The last measurement control as it was sent, or "unset".
std::string control() {
    std::string_view line = "unset";
    const DescriptorGuard file = openRegular(okraFile("control").c_str());
    if (file.get() < 0) {
        if (errno == ENOENT) return std::string(line);
        throw Failure(std::string("control: ") + std::strerror(errno));
    }
    LineReader lines(file.get());
    const LineResult result = lines.nextText(&line);
    if (result != LINE_READ)
        throw Failure(result == LINE_END ? "control: empty"
                                         : std::string("control: ") + lineFailure(result));
    return std::string(line);
}

// ---- commands: arguments end with a null ----

// Keeps other simulators and the library from changing what a command has read.
DescriptorGuard lockManager() {
    DescriptorGuard lock;
    check(okraLock(&lock));
    return lock;
}

void up(const char *const *) {
    for (const char *folder :
         {REGISTRY_FOLDER, MANAGER_FOLDER, "/etc/tarix", "/tarix/data/templates"}) {
        const std::string path = rooted(folder);
        const int error = makeFolders(path.c_str(), 0775);
        if (error != 0) throw Failure(path + ": " + std::strerror(error));
    }
}

void down(const char *const *) {
    const std::string registry = rooted(REGISTRY_FOLDER);
    for (const std::string &name : namesIn(registry)) {
        std::int32_t queue = -1;
        std::size_t count = 0;
        const std::string path = fs::path(registry) / name;
        if (okraReadIds(path.c_str(), &queue, 1, &count) == OKRA_OK && count == 1)
            msgctl(queue, IPC_RMID, nullptr);
    }
    for (const char *folder : {REGISTRY_FOLDER, MANAGER_FOLDER}) {
        std::error_code error;
        fs::remove_all(rooted(folder), error);
        if (error) throw Failure(rooted(folder) + ": " + error.message());
    }
    std::error_code inUse;
    fs::remove(rooted(RUN_FOLDER), inUse);  // unless the daemon's socket is there
}

void create(const char *const *args) {
    const char *app = args[0];
    checkName(app);
    const DescriptorGuard lock = lockManager();
    char path[ROOTED_PATH_SIZE];
    const int found = okraFindApp(app, path);
    if (found != OKRA_OK && found != OKRA_NOT_RUNNING) throw Failure(APX_Error(found));
    if (found == OKRA_OK) throw Failure(std::string("application '") + app + "' runs already");
    const std::string state = okraFile("apps", app);
    if (args[1] != nullptr) {
        writeState(state, app, readState(args[1]), args[1]);
    } else {
        const std::string text = OKRA_FORMAT_LINE + std::string("app ") + app +
                                 " start=" + std::to_string(std::time(nullptr)) + "\n" +
                                 ownRegisters;
        check(okraWriteText(state.c_str(), text.c_str()));
    }
    postEvent(app, EVENT_CREATED);
}

void destroy(const char *const *args) {
    const DescriptorGuard lock = lockManager();
    std::error_code error;
    if (!fs::remove(runningApp(args[0]), error) && error)
        throw Failure("application: " + error.message());
    fs::remove_all(okraFile("changes", args[0]), error);
    postEvent(args[0], EVENT_DESTROYED);
}

void enable(const char *const *args) {
    const DescriptorGuard lock = lockManager();
    runningApp(args[0]);
    std::error_code error;
    fs::remove(okraFile("disabled", args[0]), error);
    if (error) throw Failure("disabled: " + error.message());
}

void disable(const char *const *args) {
    const DescriptorGuard lock = lockManager();
    runningApp(args[0]);
    check(okraWriteText(okraFile("disabled", args[0]).c_str(), ""));
}

void start(const char *const *args) {
    const std::uint32_t time = timeArgument(args[1]);
    const DescriptorGuard lock = lockManager();
    const std::string path = runningApp(args[0]);
    const std::string last = control();
    if (last.starts_with("disabled"))
        throw Failure("new measurements are disabled (code" + last.substr(8) + ")");
    OkraApp app = readState(path);
    app.start = time;
    writeState(path, args[0], app, path);
}

void sync(const char *const *args) {
    const std::uint32_t time = timeArgument(args[1]);
    const DescriptorGuard lock = lockManager();
    const std::string path = runningApp(args[0]);
    OkraApp app = readState(path);
    app.stop = time;
    writeState(path, args[0], app, path);
    postResponse(args[0], STATE_SYNCHRONISED);
}

void respond(const char *const *args) {
    const std::uint32_t state = number(args[1], UINT8_MAX, true, "state");
    const DescriptorGuard lock = lockManager();
    runningApp(args[0]);
    postResponse(args[0], state);
}

void event(const char *const *args) {
    checkName(args[0]);
    const std::uint32_t mask = number(args[1], UINT32_MAX, true, "event mask");
    const DescriptorGuard lock = lockManager();
    postEvent(args[0], mask);
}

void show(const char *const *) {
    const DescriptorGuard lock = lockManager();
    for (const std::string &app : namesIn(okraFile("apps"), OKRA_APP_NAME_MAX)) {
        const OkraApp state = readState(runningApp(app.c_str()));
        const bool disabled = fs::exists(okraFile("disabled", app.c_str()));
        std::printf("app %s start=%u stop=%u %s\n", app.c_str(), unsigned{state.start},
                    unsigned{state.stop}, disabled ? "disabled" : "enabled");
    }
    for (const std::string &app : namesIn(okraFile("changes"), OKRA_APP_NAME_MAX)) {
        const std::string folder = okraFile("changes", app.c_str());
        for (const std::string &list : namesIn(folder))
            std::printf("list %s/%s queue=%d\n", app.c_str(), list.c_str(),
                        int{listQueue(fs::path(folder) / list)});
    }
    const std::string registry = rooted(REGISTRY_FOLDER);
    for (const std::string &name : namesIn(registry)) {
        const std::int32_t id = listQueue(fs::path(registry) / name);
        msqid_ds status{};
        const bool there = msgctl(id, IPC_STAT, &status) == 0;
        std::printf("queue %s id=%d %s\n", name.c_str(), int{id},
                    there ? ("messages=" + std::to_string(status.msg_qnum)).c_str() : "gone");
    }
    std::printf("control %s\n", control().c_str());
}

struct Command {
    const char *name;
    const char *words;  // those in brackets may be left out
    const char *purpose;
    const char *example;
    void (*run)(const char *const *args);
};

constexpr Command commands[] = {
    {"up", "", "make registry, manager and folders; what is there stays", "", up},
    {"down", "", "remove queues, registry and manager; the data stays", "", down},
    {"create", "APP [FILE]", "run an application, with registers of its own or those of a file",
     "ifstats ifstats.res", create},
    {"destroy", "APP", "end an application, and its change lists", "ifstats", destroy},
    {"enable", "APP", "enable its measurements", "ifstats", enable},
    {"disable", "APP", "disable its measurements", "ifstats", disable},
    {"start", "APP [TIME]", "set its start time, unless the control says disabled",
     "ifstats 1700000000", start},
    {"sync", "APP [TIME]", "set its stop time and tell that it is synchronised",
     "ifstats 1700003600", sync},
    {"respond", "APP STATE", "post a synchronisation response", "ifstats 1", respond},
    {"event", "APP MASK", "post an application event, also for a name that does not run",
     "ifstats 0x3", event},
    {"show", "", "print applications, change lists, queues and control", "", show},
};

const std::map<std::string, const char *> wordHelp = {
    {"APP", "1 to 15 letters, digits, '.', '_', '-'"},
    {"FILE", "results file with one application"},
    {"TIME", "seconds since 1970-01-01 UTC, 0 to 4294967295; now when absent"},
    {"STATE", "0 to 255, decimal or 0x; 2 is synchronised"},
    {"MASK", "0 to 4294967295, decimal or 0x; bit 0 is created, bit 1 destroyed"},
};

constexpr std::size_t WORDS_MAX = 2;

// What was said behind the command.
struct Said {
    const Command *command;
    std::string words[WORDS_MAX];
};

void addCommand(CLI::App *app, const Command &command, Said *said) {
    CLI::App *added = app->add_subcommand(command.name, command.purpose);
    added->footer("Example:\n  tarix-sim " + std::string(command.name) + " " + command.example);
    added->callback([said, &command] { said->command = &command; });
    std::istringstream words(command.words);
    std::size_t i = 0;
    for (std::string word; words >> word; ++i) {
        const bool optional = word.front() == '[';
        if (optional) word = word.substr(1, word.size() - 2);
        added->add_option(word, said->words[i], wordHelp.at(word))->required(!optional);
    }
}

void runCommand(const Said &said) {
    const char *args[WORDS_MAX + 1] = {};
    for (std::size_t i = 0; i < WORDS_MAX; ++i)
        if (!said.words[i].empty()) args[i] = said.words[i].c_str();
    said.command->run(args);
}

// Tells a failure in one line, whatever was in the words.
int fail(std::string text, ExitStatus status) {
    for (char &c : text)
        if (static_cast<unsigned char>(c) < ' ' || c == 0x7F) c = '?';
    std::fprintf(stderr, "tarix-sim: %s\n", text.c_str());
    return status;
}

// Reads the command line and does what it says; the exit status. A failure is thrown.
int run(int argc, char **argv) {
    CLI::App app("Plays the instrument for the service.", "tarix-sim");
    Said said{};
    app.set_version_flag("--version", "tarix-sim " VORN_VERSION);
    app.require_subcommand(1);
    app.footer(
        "VORN_ROOT of the environment stands in front of all paths.\n"
        "Exit status: 0 done, 1 failed, 2 usage.");
    for (const Command &command : commands) addCommand(&app, command, &said);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        if (error.get_exit_code() == 0) return app.exit(error);
        return fail(std::string(error.what()) + "; see tarix-sim --help", USAGE);
    }
    runCommand(said);
    if (std::fflush(stdout) != 0) throw Failure("standard output cannot be written");
    return DONE;
}

}  // namespace

int main(int argc, char **argv) {
    try {
        return run(argc, argv);
    } catch (const WrongWord &error) {
        return fail(error.what(), USAGE);
    } catch (const std::exception &error) {
        return fail(error.what(), FAILED);
    }
}
