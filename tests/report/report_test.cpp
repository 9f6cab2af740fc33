// SPDX-License-Identifier: MIT
#include "report/report.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <sstream>
#include <thread>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include "base/whole_file.h"
#include "core/options.h"
#include "output/dump_backend.h"
#include "report/user_vars.h"
#include "storage/quota.h"
#include "storage/statistics.h"
#include "storage/strings.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"

namespace {

constexpr char TEMPLATE[] = "<report><row cstyle='%u'><value link=n></value></row></report>";
constexpr char REPORT[] =
    "\xEF\xBB\xBF"
    "42\r\n";

class Report : public testing::Test {
protected:
    void SetUp() override {
        setDefaults();
        initUserVars();
        dir.makeDir("rpt");
        copyPiece(opt_rptdir, dir.path("rpt"));
        dir.write("in.res", "okra 1\napp a\nreg u32 n value=42\n");
        dir.write("t.tpl", TEMPLATE);
    }
    int make(const char *name, const char *results = "in.res", const char *text = "t.tpl",
             std::uint32_t format = RPT_FMT_TXT) const {
        return generateReport(dir.path(results).c_str(), dir.path(text).c_str(),
                              dir.path(name).c_str(), 0, format, &kv_urv, "dict");
    }
    [[nodiscard]] std::string listing() const { return dir.files("rpt"); }
    // Writes a report file that is older the larger `age` is.
    void writeOld(const char *name, int age) const {
        dir.write(std::string("rpt/") + name, "old");
        const auto now = std::filesystem::file_time_type::clock::now();
        std::filesystem::last_write_time(dir.path(std::string("rpt/") + name),
                                         now - std::chrono::hours(age));
    }

    TempDir dir;
};

TEST_F(Report, IsWrittenWholeAndMovesAnEarlierOneAside) {
    EXPECT_EQ(make("rpt/b.txt"), REPORT_OK);  // no quota yet
    EXPECT_EQ(getReportCount(), -1);
    std::filesystem::rename(dir.path("rpt/b.txt"), dir.path("rpt/.b.txt.part"));
    dir.write("rpt/b.part", "somebody's");
    initReports();  // sweeps what was left half written
    EXPECT_EQ(listing(), "b.part");
    EXPECT_EQ(make("rpt/a.txt"), REPORT_OK);
    dir.write("rpt/a.txt", "edited");
    EXPECT_EQ(make("rpt/a.txt"), REPORT_OK);
    EXPECT_EQ(dir.read("rpt/a.txt"), REPORT);
    EXPECT_EQ(dir.read("rpt/a_01.txt"), "edited");
    EXPECT_EQ(listing(), "a.txt a_01.txt b.part");
    EXPECT_EQ(getReportCount(), 2);
}

TEST_F(Report, QuotaRefusesOrPurgesTheOldest) {
    opt_max_rpt = 2;
    for (const char *other : {"x.TXT", "b.pdf.bak", ".pdf"}) writeOld(other, 9);
    dir.makeDir("rpt/c.txt");
    writeOld("new.pdf", 1);
    writeOld("old.txt", 5);
    const std::string others = listing();
    initReports();
    EXPECT_EQ(make("rpt/a.txt"), REPORT_QUOTA_FULL);
    EXPECT_EQ(listing(), others);
    opt_fullact_rpt = FULL_PURGE;
    updateReportQuota();
    EXPECT_EQ(make("rpt/a.txt"), REPORT_OK);
    EXPECT_EQ(listing(), ".pdf a.txt b.pdf.bak c.txt new.pdf x.TXT");
    EXPECT_EQ(getReportCount(), 2);
    quotaEnableAll(0);  // then nothing is deleted
    EXPECT_EQ(make("rpt/b.txt"), REPORT_OK);
    EXPECT_EQ(getReportCount(), 3);
    EXPECT_EQ(deleteAllReports(), 0);
    EXPECT_EQ(listing(), ".pdf b.pdf.bak c.txt x.TXT");
    EXPECT_EQ(getReportCount(), 0);
}

TEST_F(Report, IsRefusedWithACodeAndLeavesNothing) {
    initReports();
    EXPECT_EQ(make("rpt/a.txt", "none.res"), REPORT_NO_INPUT);
    EXPECT_EQ(make("rpt/a.txt", "in.res", "none.tpl"), REPORT_NO_INPUT);
    EXPECT_EQ(make("none/a.txt"), REPORT_NOT_CREATED);
    EXPECT_EQ(make("rpt/.a.part"), REPORT_NOT_CREATED);  // the next start would delete it
    EXPECT_EQ(make("rpt/a.txt", "in.res", "t.tpl", 2), DUMP_UNKNOWN_FORMAT);
    EXPECT_EQ(getReportCount(), 0);
    EXPECT_EQ(listing(), "");

    const std::uint32_t notWritten = statValue(STAT_REPORTS_NOT_WRITTEN);
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit tiny{4, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &tiny);  // as a full disk
    EXPECT_EQ(make("rpt/a.txt"), REPORT_NOT_WRITTEN);
    EXPECT_EQ(make("rpt/a.pdf", "in.res", "t.tpl", RPT_FMT_PDF), DUMP_NO_DOCUMENT);
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(statValue(STAT_REPORTS_NOT_WRITTEN), notWritten + 2);
    EXPECT_EQ(listing(), "");

    WholeFile first;  // of the same name, being written
    const std::string path = dir.path("rpt/a.txt");
    ASSERT_EQ(symlink("/nowhere", dir.path("rpt/.a.txt.part").c_str()), 0);  // not followed
    ASSERT_EQ(first.begin(path.c_str(), PART_REFUSE), 0);
    std::fputs("first", first.stream());
    const LogCapture log;
    EXPECT_EQ(make("rpt/a.txt"), REPORT_NOT_CREATED);
    EXPECT_EQ(log.text(), "Error creating report file '" + path + "': Device or resource busy\n");
    EXPECT_EQ(first.commit(TARGET_KEPT), 0);
    EXPECT_EQ(dir.read("rpt/a.txt"), "first");
    EXPECT_EQ(listing(), "a.txt");
}

TEST_F(Report, TwoAtOnceDoNotMixAndSeeWholeVariables) {
    // Each names its own parameter; a shared buffer would show in one of them.
    const auto body = [](const std::string &word) {
        return "<report>\n<iterate var=i, from=1, to=300>\n<row cstyle='%s %s'><value>" + word +
               "-${i}</value><value var=site></value></row>\n</iterate>\n";
    };
    dir.write("left.tpl", body("left"));
    dir.write("right.tpl", body("right"));
    std::atomic<bool> done = false;
    setUserVar(&kv_urv, "site", "aaaa");
    std::thread writer([&done] {
        while (!done)
            for (const char *text : {"bbbbbbbbbbbb", "aaaa"}) setUserVar(&kv_urv, "site", text);
    });
    std::thread other([this] { EXPECT_EQ(make("left.txt", "in.res", "left.tpl"), REPORT_OK); });
    EXPECT_EQ(make("right.txt", "in.res", "right.tpl"), REPORT_OK);
    other.join();
    done = true;
    writer.join();
    for (const std::string name : {"left", "right"}) {
        std::istringstream lines(dir.read(name + ".txt").substr(3));
        int count = 0;
        for (std::string line; std::getline(lines, line);) {
            const std::string start = name + "-" + std::to_string(++count) + " ";
            EXPECT_TRUE(line == start + "aaaa\r" || line == start + "bbbbbbbbbbbb\r") << line;
        }
        EXPECT_EQ(count, 300);
    }
}

}  // namespace
