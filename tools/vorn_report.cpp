// SPDX-License-Identifier: MIT
// vorn-report: the template author's tool. Makes a report with the service's own engine, or lists
// what a results file offers to a template. docs/vorn-report.md is its manual.
#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include <CLI/CLI.hpp>
#include <unistd.h>

#include "core/options.h"
#include "dmon/dmon.h"
#include "item_list.h"
#include "output/dump_backend.h"
#include "report/report.h"
#include "report/user_vars.h"
#include "results/results.h"
#include "storage/strings.h"

namespace {

namespace fs = std::filesystem;

enum ExitStatus : int { EXIT_MADE = 0, EXIT_FAILED = 1, EXIT_USAGE = 2 };

// A message names its place as "path:line" in 47 characters. A template's folder of at most 16
// leaves 25 to the names of included files, which stand beside it, and 5 to the line.
constexpr std::size_t LONGEST_FOLDER = 16;

struct Arguments {
    std::string results, templateFile, output;
    std::string format, dictDir, lang = "en", defLang = "en", dict;
    std::vector<std::string> vars;
    int verbose = 0;
    bool items = false, json = false;
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

void declareArguments(CLI::App *app, Arguments *args) {
    app->add_option("RESULTS", args->results, "results file (.res)")->required()->type_name("");
    app->add_option("TEMPLATE", args->templateFile, "report template")->type_name("");
    app->add_option("OUTPUT", args->output,
                    "report file to make; an earlier one is kept\nunder a numbered name")
        ->type_name("");
    app->add_option("--format", args->format,
                    "txt or pdf; else OUTPUT's extension decides,\nas in 'out.pdf'")
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"txt", "pdf"}).description(""));
    app->add_option("--dict-dir", args->dictDir,
                    "folder of the dictionary files NAME_LANG.lxc,\n"
                    "as in '--dict-dir dicts'; else the template's")
        ->type_name("DIR")
        ->check(CLI::ExistingDirectory.description(""));
    const auto langId = [](const std::string &id) { return atMost(id, 3); };
    app->add_option("--lang", args->lang,
                    "language of a text report, as in '--lang de';\nelse en, as PDF always is")
        ->type_name("ID")
        ->check(langId);
    app->add_option("--def-lang", args->defLang,
                    "language of labels that the report's language\nlacks, as in '--def-lang fr'; "
                    "else en")
        ->type_name("ID")
        ->check(langId);
    app->add_option("--dict", args->dict,
                    "dictionary that dict=[GROUP], without a name,\nmeans, as in '--dict tester'")
        ->type_name("NAME")
        ->check([](const std::string &name) { return atMost(name, 15); });
    app->add_option("--var", args->vars,
                    "sets a user variable, as in '--var \"site=Lab 2\"';\n"
                    "may be repeated. 'report-name' is the name of\nRESULTS unless it is set")
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false)
        ->check(isAssignment);
    app->add_flag("-v,--verbose", args->verbose,
                  "more messages on standard error: -v warnings\nand the outcome, -vv dictionary "
                  "look-ups and\nsections too");
    app->add_flag("--items", args->items,
                  "lists what RESULTS holds, with the argument that\nshows each value, as in\n"
                  "'vorn-report --items lab.res'");
    app->add_flag("--json", args->json, "the list of --items as JSON")->needs("--items");
    app->set_version_flag("--version", "vorn-report " VORN_VERSION, "prints the version");
    app->set_help_flag("-h,--help", "prints this text");
}

// Throws what the parser throws, so that all wrong usage ends alike.
void checkArguments(Arguments *args) {
    if (args->items) {
        if (!args->templateFile.empty()) throw CLI::ExtrasError({args->templateFile});
        return;
    }
    if (args->templateFile.empty()) throw CLI::RequiredError("TEMPLATE");
    if (args->output.empty()) throw CLI::RequiredError("OUTPUT");
    if (!args->format.empty()) return;
    const fs::path extension = fs::path(args->output).extension();
    if (extension != ".txt" && extension != ".pdf")
        throw CLI::ValidationError(
            "OUTPUT", "'" + args->output + "' ends in neither .txt nor .pdf; say --format");
    args->format = extension.string().substr(1);
}

// ---- paths ----

// Enters a long template folder, so that places in messages and the paths of included files, which
// the engine cuts, stay whole.
void enterTemplateFolder(Arguments *args) {
    const fs::path path = args->templateFile;
    const fs::path folder = path.parent_path();
    std::error_code error;
    if (folder.native().size() <= LONGEST_FOLDER || !fs::is_directory(folder, error)) return;
    for (std::string *other : {&args->results, &args->output, &args->dictDir})
        *other = fs::absolute(*other, error).string();
    fs::current_path(folder, error);
    args->templateFile = error ? fs::absolute(path).string() : path.filename().string();
}

// The engine builds the path of a dictionary file in OPTION_PATH_SIZE bytes. Takes the shorter of
// the directory's own and its relative path; false, after a message, when a file's path is longer.
bool setDictDir(const std::string &directory) {
    std::error_code error;
    const std::string relative = fs::relative(directory, error).string();
    const bool useRelative = !error && !relative.empty() && relative.size() < directory.size();
    const std::string &path = useRelative ? relative : directory;

    std::string longest;
    for (const fs::directory_entry &entry : fs::directory_iterator(path, error)) {
        const std::string name = entry.path().filename().string();
        if (name.ends_with(".lxc") && name.size() > longest.size()) longest = name;
    }
    const std::size_t length = path.size() + 1 + longest.size();
    if (length >= OPTION_PATH_SIZE) {
        std::fprintf(stderr,
                     "vorn-report: the dictionary directory is too far from the template: '%s/%s' "
                     "has %zu characters, %zu are read\n",
                     path.c_str(), longest.c_str(), length, OPTION_PATH_SIZE - 1);
        return false;
    }
    copyPiece(opt_dictdir, path);
    return true;
}

// ---- the two jobs ----

bool setVariables(const Arguments &args) {
    if (initUserVars() != KV_OK) return false;
    const std::string name = fs::path(args.results).filename().string();
    if (setUserVar(&kv_urv, "report-name", name.substr(0, name.find(".res")).c_str()) != KV_OK)
        return false;
    for (const std::string &var : args.vars) {
        const std::size_t end = var.find('=');
        if (setUserVar(&kv_urv, var.substr(0, end).c_str(), var.c_str() + end + 1) != KV_OK)
            return false;
    }
    return true;
}

int makeReport(Arguments *args) {
    if (args->dictDir.empty()) args->dictDir = fs::path(args->templateFile).parent_path().string();
    if (args->dictDir.empty()) args->dictDir = ".";
    enterTemplateFolder(args);
    if (!setDictDir(args->dictDir)) return EXIT_USAGE;
    opt_lang_id.set(args->lang);
    copyPiece(opt_dflt_lang_id, args->defLang);
    if (!setVariables(*args)) {
        std::fputs("vorn-report: the user variables cannot be stored\n", stderr);
        return EXIT_FAILED;
    }
    const std::uint32_t format = args->format == "pdf" ? RPT_FMT_PDF : RPT_FMT_TXT;
    const int result = generateReport(args->results.c_str(), args->templateFile.c_str(),
                                      args->output.c_str(), 0, format, &kv_urv, args->dict.c_str());
    return result == REPORT_OK ? EXIT_MADE : EXIT_FAILED;
}

int listItems(const Arguments &args) {
    Results *results = nullptr;
    if (loadResultsFile(args.results.c_str(), &results) != RESULTS_OK) return EXIT_FAILED;
    const std::unique_ptr<Results, void (*)(Results *)> owner(results, freeResults);
    const std::string list = args.json ? itemListJson(results) : itemListText(results);
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
        "  vorn-report --items lab.res\n\n"
        "Exit status: 0 the report was made, 1 it was not, 2 wrong usage.");
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
    return args.items ? listItems(args) : makeReport(&args);
}

}  // namespace

int main(int argc, char **argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "vorn-report: %s\n", error.what());
        return EXIT_FAILED;
    }
}
