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

TEST(Plugins, SayWhatIsWrongWithTheirClauseAndCloseTheLibrary) {
    PluginRun run;
    run.file("text.so", "no library");
    struct Case {
        const char *clause;
        const char *log;  // after "Error in main.tpl:2: "; a line without a place follows "%"
    };
    const Case cases[] = {
        {"<plugin name=>", "missing plugin 'name' in template.\n"},
        {"<plugin lib=>", "missing plugin 'lib' in template.\n"},
        {"<plugin init=>", "missing plugin 'init' in template.\n"},
        {"<plugin end=>", "missing plugin 'end' in template.\n"},
        {"<plugin name=st, path=x>", "unknown argument 'path' in 'plugin' clause.\n"},
        {"<plugin lib=./values.so, init=start>", "No name assigned to this plugin.\n"},
        {"<plugin>", "No name assigned to this plugin.\n"},
        {"<plugin name=st, init=start>", "no library specified for plugin.\n"},
        {"<plugin name=st, lib=./none.so, init=start>",
         "could not find library file './none.so'.\n"
         "./none.so: cannot open shared object file: No such file or directory.\n"},
        {"<plugin name=st, lib=./text.so, init=start>",
         "could not find library file './text.so'.\n./text.so: file too short.\n"},
        {"<plugin name=st, lib=./values.so, init=begin(a:1)>",
         "plugin function 'begin' not found.\n%plugin returned error.\n"},
        {"<plugin name=st, lib=./values.so, init=(a:1)>",
         "plugin function '' not found.\n%plugin returned error.\n"},
        {"<plugin name=st, lib=./values.so>",
         "plugin function '' not found.\n%plugin returned error.\n"},
        {"<plugin name=st, lib=./values.so, init=abcdefghijklmnopqrstuvwxyz0123456789>",
         "plugin function 'abcdefghijklmnopqrstuvwxyz01234' not found.\n"
         "%plugin returned error.\n"},
        {"<plugin name=st, lib=./values_next.so, init=start>",
         "library './values_next.so' is built for plug-in interface 2, not 1.\n"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.clause);
        const MergeOutcome outcome = run.report(c.clause);
        std::string log = "Error in main.tpl:2: " + std::string(c.log);
        if (const std::size_t mark = log.find('%'); mark != std::string::npos)
            log.replace(mark, 1, "Error in main.tpl:2: ");
        EXPECT_EQ(outcome.log, log);
        EXPECT_EQ(outcome.result, MERGE_TEMPLATE_ERROR);
        EXPECT_EQ(run.trace(), "");
        for (const char *library : {"values.so", "values_next.so"})
            EXPECT_FALSE(isLoaded(run, library)) << library;
    }
    const MergeOutcome twice = run.withPlugin("<plugin lib=x, name=st>");
    EXPECT_EQ(twice.log, "Error in main.tpl:2: plugin 'st' already declared.\n");
    EXPECT_EQ(twice.result, MERGE_TEMPLATE_ERROR);
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

TEST(Plugins, GiveValuesOfEveryTypeToRows) {
    PluginRun run;
    run.file("dict_en.lxc", "[1]\nkey = text\n");
    struct Case {
        const char *call;
        const char *format;
        const char *text;
    };
    const Case cases[] = {
        {"st.give(type:0)", "%u", "----"},
        {"st.give(type:0;null:1)", "%u", "----"},
        {"st.give(type:1;text:key)", "%s", "key"},
        {"st.give(type:1;text:key), dict", "%s", "text"},
        {"st.give(type:1;text:key;owned:1), dict", "%s", "text"},
        {"st.give(type:2;number:4000000000)", "%u", "4000000000"},
        {"st.give(type:2;number:90;owned:1), conv=time", "%s", "00:01:30"},
        {"st.give(type:3;number:-7;owned:1)", "%d", "-7"},
        {"st.give(type:4;number:3)", "%u", "12884901888"},
        {"st.give(type:5;number:3)", "%.2f", "1.50"},
        {"st.give(type:6;number:3;owned:1)", "%.2f", "0.75"},
        // Four bytes of an array; the text "AAAA" is 12.08 as a float.
        {"st.give(type:1;text:AAAA;size:4), conv=arrayFloat", "%.2f", "12.08"},
        {"st.ask(item:ifstats@rxBytes:rate;key:key)", "%s", "rxBytes kind=7 field=2 text"},
        {"st.ask(item:rxBytes;key:none)", "%s", "rxBytes kind=7 field=0 none"},
    };
    std::string body = START;
    body += "<section dict=[1], top=0, bottom=0>\n";
    std::string expected;
    for (const Case &c : cases) {
        body += row(c.call, c.format) + "\n";
        expected += c.text + std::string("\r\n");
    }
    const MergeOutcome outcome = run.report(body + "</section>");
    EXPECT_EQ(outcome.log, "");
    EXPECT_EQ(outcome.report, expected);
}

TEST(Plugins, LoseTheSizeOfATranslatedText) {
    PluginRun run;
    // The translation is one byte; were the old size kept, four would be read as a float.
    run.file("dict_en.lxc", "[1]\nAAAA = b\n");
    const MergeOutcome outcome =
        run.withPlugin("<section dict=[1]>" +
                       row("st.give(type:1;text:AAAA;size:4;owned:1), dict, conv=arrayFloat"));
    EXPECT_EQ(
        outcome.log,
        "Error in main.tpl:2: 'arrayFloat' conversion is only supported for ARRAY8x4 types.\n");
}

TEST(Plugins, AnswerConditionsAndLoopBounds) {
    PluginRun run;
    struct Case {
        const char *body;
        const char *report;
    };
    const std::string line = "<row cstyle=%s><value>in</value></row>";
    const Case cases[] = {
        {"<section top=0, bottom=0, enabled-by=st.give(type:2;number:2)>", "in\r\n"},
        {"<section top=0, bottom=0, enabled-by=st.give(type:3;number:-1;owned:1)>", "in\r\n"},
        {"<section top=0, bottom=0, enabled-by=st.give(type:3;number:0)>", ""},
        {"<section top=0, bottom=0, enabled-by=!st.give(type:2;owned:1)>", "in\r\n"},
        {"<iterate from=st.give(type:3;number:2), to=st.give(type:3;number:4;owned:1)>",
         "in\r\nin\r\nin\r\n"},
        {"<iterate from=st.give(type:3;number:2), to=st.give(type:3;number:-4)>", ""},
    };
    for (const Case &c : cases) {
        const bool loop = std::string(c.body).starts_with("<it");
        const MergeOutcome outcome = run.withPlugin(c.body + std::string("\n") + line +
                                                    (loop ? "\n</iterate>" : "\n</section>"));
        EXPECT_EQ(outcome.report, c.report) << c.body;
        EXPECT_EQ(outcome.log, "") << c.body;
    }
}

TEST(Plugins, SayWhatIsWrongWithACallInEachPlace) {
    PluginRun run;
    struct Case {
        const char *call;
        const char *message;  // null: none but the caller's
        MergeResult result;
    };
    const Case cases[] = {
        {"xx.give()", "plugin 'xx' not declared.\n", MERGE_PLUGIN_FAILED},
        {".give()", "plugin '' not declared.\n", MERGE_PLUGIN_FAILED},
        {"abcdefghijklmno.f()", "plugin 'abcdefghijklmno' not declared.\n", MERGE_PLUGIN_FAILED},
        {"averylongpluginname.f()", "no plugin name in function call.\n", MERGE_PLUGIN_FAILED},
        {"abcdefghijklmnop.f", "no plugin name in function call.\n", MERGE_PLUGIN_FAILED},
        {"st.rate()", "plugin function 'rate' not found.\n", MERGE_PLUGIN_FAILED},
        {"st.getpid()", "plugin function 'getpid' not found.\n", MERGE_PLUGIN_FAILED},  // libc's
        {"st.vorn_plugin_abi()", "plugin function 'vorn_plugin_abi' not found.\n",
         MERGE_PLUGIN_FAILED},
        {"st.give(result:5)", nullptr, MERGE_PLUGIN_FAILED},
        {"st.give(result:-3)", nullptr, MERGE_ITEM_NOT_FOUND},
        {"st.give(type:3;flags:0xFF;result:-3)", nullptr, MERGE_ITEM_NOT_FOUND},
        {"st.give(type:3;owned:1;result:-1)", nullptr, MERGE_PLUGIN_FAILED},
        {"st.give(type:3;flags:0xFF)",  // never freed: it is not from malloc
         "plugin call 'st.give(type:3;flags:0xFF)' gave a value with unknown flags 0xFF.\n",
         MERGE_PLUGIN_FAILED},
    };
    for (const Case &c : cases) {
        const std::string places[] = {row(c.call),
                                      "<section enabled-by=" + std::string(c.call) + ">",
                                      "<section enabled-by=!" + std::string(c.call) + ">",
                                      "<iterate from=" + std::string(c.call) + ">",
                                      "<iterate to=" + std::string(c.call) + ">"};
        const std::string log =
            c.message == nullptr ? "" : "Error in main.tpl:2: " + std::string(c.message);
        for (const std::string &place : places) {
            SCOPED_TRACE(place);
            const MergeOutcome outcome = run.withPlugin(place);
            EXPECT_EQ(outcome.log, log + RETURNED_ERROR);
            // A section clause turns every code into that of a template error.
            EXPECT_EQ(outcome.result,
                      place.starts_with("<section") ? int{MERGE_TEMPLATE_ERROR} : int{c.result});
        }
    }
    // Without a "." only a row's value is taken for a call.
    EXPECT_EQ(
        run.withPlugin(row("give()")).log,
        "Error in main.tpl:2: no plugin name in function call.\n" + std::string(RETURNED_ERROR));
}

TEST(Plugins, AreRefusedValuesThatDoNotFit) {
    PluginRun run;
    struct Case {
        const char *place;
        const char *call;
        const char *log;  // after the place
        MergeResult result;
    };
    constexpr char ROW[] = "<row cstyle=%s><value plugin=";
    constexpr char BY[] = "<section enabled-by=";
    constexpr char FROM[] = "<iterate from=";
    constexpr char TO[] = "<iterate to=";
    constexpr char NOTHING[] = "Plugin must return a value.\n";
    constexpr char NO_U_INT32[] = "Plugin must return an U/INT32 value.\n";
    constexpr char NO_INT32[] = "Plugin must return an INT32 value.\n";
    const Case cases[] = {
        {ROW, "st.give(type:1;null:1)",
         "plugin call 'st.give(type:1;null:1)' gave a value without data.\n", MERGE_PLUGIN_FAILED},
        {BY, "st.give(type:2;null:1)", NOTHING, MERGE_TEMPLATE_ERROR},
        {BY, "st.give(null:1)", NOTHING, MERGE_TEMPLATE_ERROR},
        {BY, "st.give(type:5)", NO_U_INT32, MERGE_TEMPLATE_ERROR},
        {BY, "st.give(type:0;owned:1)", NO_U_INT32, MERGE_TEMPLATE_ERROR},
        {FROM, "st.give(type:2)", NO_INT32, MERGE_TEMPLATE_ERROR},
        {TO, "st.give(type:4;owned:1)", NO_INT32, MERGE_TEMPLATE_ERROR},
        {TO, "st.give(type:3;null:1)", NO_INT32, MERGE_TEMPLATE_ERROR},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(std::string(c.place) + c.call);
        const MergeOutcome outcome = run.withPlugin(c.place + std::string(c.call) + ">");
        std::string log = "Error in main.tpl:2: " + std::string(c.log);
        if (c.result == MERGE_PLUGIN_FAILED) log += RETURNED_ERROR;
        EXPECT_EQ(outcome.log, log);
        EXPECT_EQ(outcome.result, c.result);
    }
    const MergeOutcome outcome = run.withPlugin(row("st.give(type:6;owned:1), conv=time"));
    EXPECT_EQ(outcome.result, CONV_BAD_TYPE);
}

TEST(Plugins, FindTheStoreAndTheQueueWhole) {
    PluginRun run;
    std::string body = "<plugin name=c, lib=./containers.so, init=start>\n";
    for (const char *name : {"store", "signals", "queue", "threads"})
        body += "<row cstyle='" + std::string(name) + " %s'><value plugin=c.check(of:" + name +
                ")></value></row>\n";
    const MergeOutcome outcome = run.report(body);
    EXPECT_EQ(outcome.log, "");
    EXPECT_EQ(outcome.report, "store ok\r\nsignals ok\r\nqueue ok\r\nthreads ok\r\n");
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
