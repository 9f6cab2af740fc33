// SPDX-License-Identifier: MIT
// vorn-report: the template author's tool. Makes a report with the service's own engine, or lists
// what a results file offers to a template. docs/vorn-report.md is its manual.
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>
#include <fcntl.h>
#include <unistd.h>

#include "base/guards.h"
#include "base/words.h"
#include "core/options.h"
#include "dmon/dmon.h"
#include "format_option.h"
#include "item_list.h"
#include "number_option.h"
#include "output/dump_backend.h"
#include "report/user_vars.h"
#include "report_check.h"
#include "report_each.h"
#include "report_make.h"
#include "report_scaffold.h"
#include "report_watch.h"
#include "results/dict_resolver.h"
#include "results/results.h"
#include "storage/strings.h"
#include "storage/time_format.h"

namespace {

namespace fs = std::filesystem;

enum ToolStatus : int { EXIT_MADE = 0, EXIT_FAILED = 1, EXIT_USAGE = 2 };

struct Arguments {
    std::string results, templateFile, output;
    std::string format, dictDir, lang = "en", defLang = "en", dict;
    std::vector<std::string> vars;
    int verbose = 0;
    bool items = false, json = false;
    bool check = false, scaffold = false, each = false, nul = false;
    std::string missingKeys;
    std::vector<std::string> more;  // results files of --each
    unsigned jobs = 1;
    bool overwrite = false, strict = false, quiet = false, watch = false;
};

// ---- command line ----

std::string atMost(const std::string &text, std::size_t length) {
    if (text.size() <= length) return {};
    return "'" + text + "' is longer than " + std::to_string(length) + " characters";
}

std::string isAssignment(const std::string &text) {
    const std::size_t end = text.find('=');
    if (end == std::string::npos || end == 0) return "'" + text + "' is not NAME=VALUE";
    return atMost(text.substr(0, end), 64);
}

// The parser's own check ends the program when there is no memory.
std::string isFolder(const std::string &path) {
    std::error_code error;
    if (fs::is_directory(path, error)) return {};
    return "'" + path + "' is no directory";
}

std::string isLangId(const std::string &id) {
    return atMost(id, sizeof DictResolver::lang - 1);
}

// The files, and how a report goes into its own.
void declareFiles(CLI::App *app, Arguments *args) {
    app->add_option("RESULTS", args->results, "results file (.res); - for standard input")
        ->required()
        ->type_name("");
    app->add_option("TEMPLATE", args->templateFile, "report template; - for standard input")
        ->type_name("");
    app->add_option("OUTPUT", args->output,
                    "report file to make, - for standard output; an\n"
                    "earlier one is kept under a numbered name")
        ->type_name("");
    app->add_flag("--overwrite", args->overwrite,
                  "replaces an earlier report, as in\n"
                  "'vorn-report --overwrite lab.res lab.tpl lab.txt'");
    app->add_option("--format", args->format,
                    "txt or pdf; else OUTPUT's extension decides,\nas in 'out.pdf'")
        ->type_name("FORMAT")
        ->check(isReportFormat().description(""));
}

// What a report shows, apart from what stands in its files.
void declareContents(CLI::App *app, Arguments *args) {
    app->add_option("--dict-dir", args->dictDir,
                    "folder of the dictionary files NAME_LANG.lxc,\n"
                    "as in '--dict-dir dicts'; else the template's")
        ->type_name("DIR")
        ->check(isFolder);
    app->add_option("--lang", args->lang,
                    "language of a text report, as in '--lang de';\nelse en, as PDF always is")
        ->type_name("ID")
        ->check(isLangId);
    app->add_option("--def-lang", args->defLang,
                    "language of labels that the report's language\nlacks, as in '--def-lang fr'; "
                    "else en")
        ->type_name("ID")
        ->check(isLangId);
    app->add_option("--dict", args->dict,
                    "dictionary that dict=[GROUP], without a name,\nmeans, as in '--dict tester'")
        ->type_name("NAME")
        ->check(
            [](const std::string &name) { return atMost(name, sizeof DictResolver::name - 1); });
    app->add_option("--var", args->vars,
                    "sets a user variable, as in '--var \"site=Lab 2\"';\n"
                    "may be repeated. 'report-name' is the name of\nRESULTS unless it is set")
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false)
        ->check(isAssignment);
}

void declareMessages(CLI::App *app, Arguments *args) {
    app->add_flag("-q,--quiet", args->quiet,
                  "no warnings and no outcome on standard error,\nas in "
                  "'vorn-report -q lab.res lab.tpl lab.txt'");
    app->add_flag("--strict", args->strict,
                  "a warning is an error: no report is made, as in\n"
                  "'vorn-report --strict lab.res lab.tpl lab.txt'");
    app->add_flag("-v,--verbose", args->verbose,
                  "more messages on standard error: -v the steps of\nthe work, -vv dictionary "
                  "look-ups and sections too,\nas in 'vorn-report -v lab.res lab.tpl lab.txt'");
}

// What is done other than one report.
void declareModes(CLI::App *app, Arguments *args) {
    app->add_flag("--check", args->check,
                  "tells all mistakes of TEMPLATE and makes nothing:\n"
                  "'vorn-report --check lab.tpl [lab.res]'");
    app->add_flag("--watch", args->watch,
                  "makes the report, or checks, again whenever a file\n"
                  "of it changes, until Ctrl-C:\n"
                  "'vorn-report --watch lab.res lab.tpl lab.txt'");
    app->add_option("--missing-keys", args->missingKeys,
                    "lists the keys that no dictionary has in a\nlanguage: "
                    "'vorn-report --missing-keys de lab.tpl\n[lab.res]'")
        ->type_name("ID")
        ->check(isLangId);
    app->add_flag("--scaffold", args->scaffold,
                  "prints a template that shows all of RESULTS:\n'vorn-report --scaffold lab.res'");
    app->add_flag("--items", args->items,
                  "lists what RESULTS holds, with the argument that\nshows each value, as in\n"
                  "'vorn-report --items lab.res'");
    app->add_flag("--json", args->json,
                  "the list of --items, or what --check finds, as\nJSON: 'vorn-report --items "
                  "--json lab.res'");
}

void declareBatch(CLI::App *app, Arguments *args) {
    app->add_flag("--each", args->each,
                  "makes a report of each results file in a folder:\n"
                  "'vorn-report --each lab.tpl reports *.res'; - for\nnames on standard input");
    app->add_option("MORE", args->more, "results files of --each")->type_name("");
    addNumber(app, "--jobs", &args->jobs, "processes for --each, as in '--jobs 4'; else 1", 1U,
              1024U)
        ->type_name("N");
    app->add_flag("-0", args->nul,
                  "names on standard input end in NUL, as those of\n'find -print0'");
}

void declareArguments(CLI::App *app, Arguments *args) {
    declareFiles(app, args);
    declareContents(app, args);
    declareMessages(app, args);
    declareModes(app, args);
    declareBatch(app, args);
    app->set_version_flag("--version", "vorn-report " VORN_VERSION, "prints the version");
    app->set_help_flag("-h,--help", "prints this text");
}

// Refuses what cannot be done in one run.
void checkModes(const Arguments &args) {
    const std::pair<const char *, bool> modes[] = {{"--check", args.check},
                                                   {"--missing-keys", !args.missingKeys.empty()},
                                                   {"--scaffold", args.scaffold},
                                                   {"--each", args.each},
                                                   {"--items", args.items}};
    const char *chosen = nullptr;
    for (const auto &[name, isChosen] : modes) {
        if (!isChosen) continue;
        if (chosen != nullptr) throw CLI::ExcludesError(chosen, name);
        chosen = name;
    }
    if (args.watch && chosen != nullptr && !args.check) throw CLI::ExcludesError("--watch", chosen);
    for (const std::string &path : {args.results, args.templateFile})
        if (args.watch && isStream(path))
            throw CLI::ExcludesError("--watch", path == "-" ? "standard input" : path);
}

// Throws what the parser throws, so that all wrong usage ends alike.
void checkArguments(Arguments *args) {
    checkModes(*args);
    if (args->json && !args->items && !args->check)
        throw CLI::RequiredError("--json: --items or --check");
    if (args->check || !args->missingKeys.empty()) {
        if (!args->output.empty()) throw CLI::ExtrasError({args->output});
        std::swap(args->results, args->templateFile);
        return;
    }
    if (args->each) {
        if (args->output.empty()) throw CLI::RequiredError("RESULTS");
        args->more.insert(args->more.begin(), args->output);
        args->output = args->templateFile;  // the folder
        args->templateFile = args->results;
        if (args->format.empty()) args->format = reportFormatWords[RPT_FMT_TXT];
        if (args->templateFile == "-")
            throw CLI::ExcludesError("--each", "a template on standard input");
        return;
    }
    if (!args->more.empty()) throw CLI::ExtrasError(args->more);
    if (args->results == "-" && args->templateFile == "-")
        throw CLI::ExcludesError("RESULTS from standard input", "TEMPLATE");
    if (args->items || args->scaffold) {
        if (!args->templateFile.empty()) throw CLI::ExtrasError({args->templateFile});
        return;
    }
    if (args->templateFile.empty()) throw CLI::RequiredError("TEMPLATE");
    if (args->output.empty()) throw CLI::RequiredError("OUTPUT");
    if (!args->format.empty()) return;
    if (args->output == "-" || args->output.starts_with("/dev/")) {
        args->format = reportFormatWords[RPT_FMT_TXT];
        return;
    }
    const std::string_view name = fileNameOf(args->output);
    if (!isReportName(name))
        throw CLI::ValidationError(
            "OUTPUT", "'" + args->output + "' ends in neither .txt nor .pdf; say --format");
    args->format = name.substr(name.rfind('.') + 1);
}

// ---- paths ----

// Whether the engine, which builds the path of a dictionary file in OPTION_PATH_SIZE bytes, can
// read every file that a dictionary in this folder may have.
bool fitsDictPath(const std::string &folder) {
    constexpr std::size_t LONGEST_FILE =
        sizeof DictEntry::dictName - 1 + sizeof DictResolver::lang - 1 + sizeof "_.lxc" - 1;
    return folder.size() + 1 + LONGEST_FILE < OPTION_PATH_SIZE;
}

// Sets the folder of the dictionaries: its own path, or the path seen from here, or a short name of
// the open folder, which lasts as long as what it returns.
DescriptorGuard setDictDir(const std::string &folder) {
    std::error_code error;
    const std::string relative = fs::relative(folder, error).string();
    std::string path = folder;
    if (!fitsDictPath(path) && !relative.empty() && relative.size() < path.size()) path = relative;
    int opened = -1;
    if (!fitsDictPath(path)) {
        opened = open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
        // A folder that cannot be opened is told of when a dictionary is.
        if (opened >= 0) path = "/proc/self/fd/" + std::to_string(opened);
    }
    copyPiece(opt_dictdir, path);
    return DescriptorGuard(opened);
}

// ---- the two jobs ----

bool setVariables(const Arguments &args) {
    if (initUserVars() != KV_OK) return false;
    if (setUserVar(&kv_urv, "report-name", reportNameOf(args.results).c_str()) != KV_OK)
        return false;
    for (const std::string &var : args.vars) {
        const std::size_t end = var.find('=');
        if (setUserVar(&kv_urv, var.substr(0, end).c_str(), var.c_str() + end + 1) != KV_OK)
            return false;
    }
    return true;
}

// What reports and checks take from the arguments; `dictFolder` has to live as long as they work.
bool prepare(const Arguments &args, DescriptorGuard *dictFolder) {
    std::string dictDir = args.dictDir;
    if (dictDir.empty()) dictDir = fs::path(args.templateFile).parent_path().string();
    dictFolder->reset(setDictDir(dictDir.empty() ? "." : dictDir).release());
    opt_lang_id.set(args.missingKeys.empty() ? args.lang : args.missingKeys);
    copyPiece(opt_dflt_lang_id, args.defLang);
    if (setVariables(args)) return true;
    std::fputs("vorn-report: the user variables cannot be stored: no memory\n", stderr);
    return false;
}

// The reports of one watch replace each other; one from before is kept as in a single run.
[[noreturn]] void watchReport(const Arguments &args, ReportOrder order) {
    watchFiles({args.results, args.templateFile}, args.quiet, [&order] {
        if (makeReport(order)) order.overwrite = true;
    });
}

int runReport(const Arguments &args) {
    const ReportOrder order = {
        args.results,
        args.templateFile,
        args.output,
        args.format == reportFormatWords[RPT_FMT_PDF] ? RPT_FMT_PDF : RPT_FMT_TXT,
        args.dict,
        args.lang,
        args.overwrite,
        args.strict,
        args.quiet,
        args.each,
        std::none_of(args.vars.begin(), args.vars.end(),
                     [](const std::string &var) { return var.starts_with("report-name="); }),
        {}};
    if (args.watch) watchReport(args, order);
    if (!args.each) return makeReport(order) ? EXIT_MADE : EXIT_FAILED;
    const bool listed = args.more.size() == 1 && args.more.front() == "-";
    const std::vector<std::string> results = listed ? readNames(args.nul) : args.more;
    return makeEach(order, results, args.jobs) ? EXIT_MADE : EXIT_FAILED;
}

[[noreturn]] void watchCheck(const Arguments &args, const CheckOrder &order) {
    std::vector<std::string> files = {args.templateFile};
    if (!args.results.empty()) files.push_back(args.results);
    watchFiles(files, args.quiet, [&] {
        const int found = checkTemplate(order);
        std::fflush(stdout);
        if (!args.quiet)
            std::fprintf(stderr, "vorn-report: %d finding%s\n", found, found == 1 ? "" : "s");
    });
}

int runCheck(const Arguments &args) {
    const CheckOrder order = {args.templateFile, args.results, args.format, args.dict, args.json};
    if (args.watch) watchCheck(args, order);
    const int found = args.check ? checkTemplate(order) : listMissingKeys(order);
    if (std::fflush(stdout) != 0) std::perror("vorn-report: standard output");
    return found == 0 ? EXIT_MADE : EXIT_FAILED;
}

int listItems(const Arguments &args) {
    ResultsGuard results;
    if (!loadResults(args.results, &results)) return EXIT_FAILED;
    const std::string list = args.scaffold ? scaffoldFor(results.get())
                             : args.json   ? itemListJson(results.get())
                                           : itemListText(results.get());
    std::fputs(list.c_str(), stdout);
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return EXIT_MADE;
    std::perror("vorn-report: standard output");
    return EXIT_FAILED;
}

int run(int argc, char **argv) {
    CLI::App app("Makes a report from a results file and a template.", "vorn-report");
    app.footer(
        "  vorn-report lab.res acceptance.tpl lab.pdf\n"
        "  vorn-report --lang de --var \"site=Lab 2\" lab.res acceptance.tpl lab.txt\n"
        "  vorn-report --items lab.res\n"
        "  vorn-report --check acceptance.tpl lab.res\n\n"
        "Exit status: 0 the report was made or nothing found, 1 not so, 2 wrong usage.");
    app.get_formatter()->column_width(24);
    Arguments args;
    declareArguments(&app, &args);
    try {
        app.parse(argc, argv);
        checkArguments(&args);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? EXIT_MADE : EXIT_USAGE;
    }
    dmon_set_level(1 + args.verbose);
    if (setDefaults() != 0 || initResultsLoader() != RESULTS_OK) return EXIT_FAILED;
    if (args.items || args.scaffold) return listItems(args);
    DescriptorGuard dictFolder;
    if (!prepare(args, &dictFolder)) return EXIT_FAILED;
    return args.check || !args.missingKeys.empty() ? runCheck(args) : runReport(args);
}

// Opens something in place of standard streams that are closed, so that no other file becomes one.
// Its direction is wrong: what uses it fails as it would have.
bool fillStandardStreams() {
    for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        const int flags = number == STDIN_FILENO ? O_WRONLY : O_RDONLY;
        if (fcntl(number, F_GETFD) < 0 && open("/dev/null", flags) != number) return false;
    }
    return true;
}

// A list as JSON asks for memory even when it is released, where no exception can pass.
[[noreturn]] void endWithoutMemory() {
    try {
        if (std::current_exception() != nullptr) std::rethrow_exception(std::current_exception());
    } catch (const std::bad_alloc &) {
        std::fputs("vorn-report: no memory\n", stderr);
        std::_Exit(EXIT_FAILED);
    } catch (...) {  // a fault of the program
    }
    std::abort();
}

}  // namespace

int main(int argc, char **argv) {
    if (!fillStandardStreams()) return EXIT_FAILED;
    std::set_terminate(endWithoutMemory);
    std::signal(SIGXFSZ, SIG_IGN);  // a file above the size limit is a write that fails
    if (loadLocalTime() != 0) {
        std::fputs("vorn-report: no memory\n", stderr);
        return EXIT_FAILED;
    }
    try {
        return run(argc, argv);
    } catch (const std::bad_alloc &) {
        std::fputs("vorn-report: no memory\n", stderr);
        return EXIT_FAILED;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "vorn-report: %s\n", error.what());
        return EXIT_FAILED;
    }
}
