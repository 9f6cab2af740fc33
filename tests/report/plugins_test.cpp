// SPDX-License-Identifier: MIT
// Plug-ins as a template uses them: real libraries, built as tests/plugins says.
#include "report/plugins.h"

#include <cstdlib>
#include <filesystem>
#include <string>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include "base/guards.h"
#include "core/options.h"
#include "output/conversions.h"
#include "storage/strings.h"
#include "support/merge_run.h"

namespace {

constexpr char RESULTS[] =
    "okra 1\napp ifstats\nreg counter rxBytes value=8 time=1 mult=1 div=1 secs=1\n"
    "reg a8 four data=0,0,128,63\n";
constexpr char START[] = "<plugin name=st, lib=./values.so, init=start(), end=finish()>";
constexpr char RETURNED_ERROR[] = "Error in main.tpl:2: plugin returned error.\n";

// A directory with the libraries, and "trace.txt" in it, where they write what they were called as.
class PluginRun : public MergeRun {
public:
    PluginRun() : MergeRun(RESULTS) {
        copyPiece(opt_dictdir, ".");
        for (const char *name : {"values.so", "values_next.so", "containers.so", "throwing.so"})
            std::filesystem::create_symlink(std::filesystem::path(VORN_TEST_PLUGIN_DIR) / name,
                                            dir().path(name));
    }

    // Merges a line that follows the clause of plug-in "st".
    MergeOutcome withPlugin(const std::string &line) { return report(START + line); }

    // What the libraries wrote since the last call.
    std::string trace() const {
        std::string text = dir().read("trace.txt");
        std::filesystem::remove(dir().path("trace.txt"));
        return text;
    }
};

bool isLoaded(const PluginRun &run, const char *library) {
    void *handle = dlopen(run.dir().path(library).c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) dlclose(handle);
    return handle != nullptr;
}

std::string row(const std::string &value, const std::string &format = "%s") {
    return "<row cstyle='" + format + "'><value plugin=" + value + "></value></row>";
}

}  // namespace

TEST(Plugins, AreStartedAtTheirClauseAndEndedInOrderWhateverTheMergeCameTo) {
    PluginRun run;
    const std::string clauses =
        "<plugin name=abcdefghijklmnop, lib=./values.so, init= start ( mode : fast;a:1;;a: 2 )>"
        "<plugin name=two, lib=./values.so, init=startStatic, end=finishStatic(x:1;y:'a b')>"
        "<plugin name=three, lib=./containers.so, init=start>"
        "<plugin name=four, lib=./values.so, init=startNothing(), end=finish(z)>";
    const std::string expected =
        "ifstats [mode]=[fast] [a]=[2]\nstatic\nnothing\n"
        "finishStatic [x]=[1] [y]=[a b]\nfinish [z]=[]\n";

    MergeOutcome outcome =
        run.report(clauses + "<iterate to=2>\n" + row("abcdefghijklmno.count()", "%u") +
                   row("abcdefghijklmno.give(type:3;number:-5)", "%d") + "\n</iterate>");
    EXPECT_EQ(outcome.result, MERGE_OK);
    EXPECT_EQ(outcome.report, "0\r\n-5\r\n1\r\n-5\r\n2\r\n-5\r\n");  // the data stays with the name
    EXPECT_EQ(outcome.log, "");
    EXPECT_EQ(run.trace(), expected);

    outcome = run.report(clauses + "<section bad=1>");
    EXPECT_EQ(outcome.result, MERGE_TEMPLATE_ERROR);
    EXPECT_EQ(run.trace(), expected);

    outcome = run.report(clauses + "<plugin name=five>");
    EXPECT_EQ(outcome.log, "Error in main.tpl:2: too many plugins.\n");
    EXPECT_EQ(outcome.result, MERGE_TEMPLATE_ERROR);
    EXPECT_EQ(run.trace(), expected);
    EXPECT_FALSE(isLoaded(run, "values.so"));
    EXPECT_FALSE(isLoaded(run, "containers.so"));
}

TEST(Plugins, GiveValuesAndFailAsTheirCasesSay) {
    PluginRun run;
    run.file("dict_en.lxc", "[1]\nkey = text\nAAAA = b\n");
    runCases("report/cases/plugins.txt", 1, [&run](const CaseFields &given) {
        const bool started = given[0].starts_with("!st");
        const CaseFields fields =
            run.caseOutcome(started ? START + given[0].substr(3) : std::string(given[0]));
        for (const char *library : {"values.so", "values_next.so"})
            EXPECT_FALSE(isLoaded(run, library)) << library;
        return fields;
    });
}

TEST(Plugins, GetTheArgumentsOfACall) {
    PluginRun run;
    const std::string longValue(70, 'v');
    run.file("part.tpl",
             "<row cstyle='%s'><value plugin=st.note(a:${port};b:x${port}y)></value></row>\n");
    const MergeOutcome outcome = run.withPlugin(
        row("st.note(port:1; dir:rx)") + row("st.note") + row("st. note (first:1;first:2") +
        row("st.note(:x;;name:" + longValue + ";q:'a;b')rest") + "<include file=part.tpl(port:7)>");
    EXPECT_EQ(outcome.result, MERGE_OK) << outcome.log;
    EXPECT_EQ(outcome.report, "----\r\n----\r\n----\r\n----\r\n----\r\n");
    EXPECT_EQ(run.trace(),
              "ifstats\nnote [port]=[1] [dir]=[rx]\nnote\nnote [first]=[2]\n"
              "note [name]=[" +
                  longValue.substr(0, 63) +
                  "] [q]=[a] [b']=[]\n"
                  "note [a]=[7] [b]=[x7y]\nfinish\n");
}

TEST(Plugins, MayThrowWithoutHarm) {
    PluginRun run;
    // That the library depends on one for another interface does not count.
    const std::string clause = "<plugin name=t, lib=./throwing.so, end=throwAtEnd(), init=";
    const std::string place = "Error in main.tpl:2: ";
    MergeOutcome outcome = run.report(clause + "startOrThrow(a:1)>");
    EXPECT_EQ(outcome.log,
              place + "plugin function 'startOrThrow' threw an exception.\n" + RETURNED_ERROR);
    EXPECT_EQ(outcome.result, MERGE_TEMPLATE_ERROR);

    outcome = run.report(clause + "startOrThrow()>" + START + row("t.throwNumber(a:1)"));
    EXPECT_EQ(outcome.log, place + "plugin function 'throwNumber' threw an exception.\n" +
                               RETURNED_ERROR + place +
                               "plugin function 'throwAtEnd' threw an exception.\n");
    EXPECT_EQ(outcome.result, MERGE_PLUGIN_FAILED);
    EXPECT_EQ(run.trace(), "ifstats\nfinish\n");  // the next one is ended, too
    EXPECT_FALSE(isLoaded(run, "throwing.so"));

    outcome = run.report(clause + "startOrThrow()>");
    EXPECT_EQ(outcome.log,
              "Error in <unknown>: plugin function 'throwAtEnd' threw an exception.\n");
    EXPECT_EQ(outcome.result, MERGE_OK);
}

TEST(Plugins, LetACancelledThreadGo) {
    const HeapGuard<TemplateContext> ctx(
        static_cast<TemplateContext *>(std::calloc(1, sizeof(TemplateContext))));
    ctx->plugins[0].handle = dlopen(VORN_TEST_PLUGIN_DIR "/throwing.so", RTLD_NOW);
    ctx->pluginCount = 1;
    copyPiece(ctx->plugins[0].name, "t");
    pthread_t thread;
    const auto call = [](void *argument) -> void * {
        ItemValue value{};
        callPlugin(static_cast<TemplateContext *>(argument), "t.cancelThread(a:1)", &value);
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, nullptr, call, ctx.get()), 0);
    void *result = nullptr;
    pthread_join(thread, &result);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    unloadPlugins(ctx.get());
}
