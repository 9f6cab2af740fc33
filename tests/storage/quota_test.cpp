// SPDX-License-Identifier: MIT
#include "storage/quota.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/options.h"
#include "storage/meas_control.h"
#include "support/log_capture.h"
#include "support/test_root.h"

namespace {

// A folder of files that a quota counts and purges.
struct Folder {
    int files = 0;
    int undeletable = 0;       // a purge leaves at least so many
    std::vector<int> keeps{};  // what purges were told to keep
};

int countFiles(void *user) {
    return static_cast<Folder *>(user)->files;
}

int purgeFiles(void *user, int keep) {
    auto *folder = static_cast<Folder *>(user);
    folder->keeps.push_back(keep);
    folder->files = std::max(keep, folder->undeletable);
    return folder->files;
}

// The application manager's directory is there; what it was last told stands in its control file.
class Quota : public testing::Test {
protected:
    Quota() {
        root_.makeDir("run/tarix/okra");
        setDefaults();
        opt_fullerr = -7;
        initMeasControl();
    }
    int install(Folder *folder, std::uint16_t max, FullAction action) {
        return quotaInstall(max, action, purgeFiles, countFiles, folder);
    }
    [[nodiscard]] std::string control() const {
        const std::string text = root_.read("run/tarix/okra/control");
        return text.substr(0, text.find('\n'));
    }

    const TempDir &root_ = testRoot();
};

}  // namespace

TEST_F(Quota, CountsFilesWithinItsBoundsAndRefusesMoreUnlessItPurges) {
    Folder folder{3};
    const int handle = install(&folder, 3, FULL_STOP);
    EXPECT_EQ(quotaCheckBefore(handle, 0), QUOTA_ALLOWED);
    EXPECT_EQ(quotaCheckBefore(handle, 1), QUOTA_REFUSED);
    EXPECT_EQ(quotaCheckBefore(handle, INT32_MAX), QUOTA_REFUSED);
    quotaSetAction(handle, FULL_PURGE);
    EXPECT_EQ(quotaCheckBefore(handle, 1), QUOTA_ALLOWED);
    EXPECT_TRUE(folder.keeps.empty());
    folder.files = 2;
    EXPECT_EQ(quotaRefreshCount(handle), QUOTA_OK);
    EXPECT_EQ(quotaGetCount(handle), 2);
    quotaAddCount(handle, -5);
    EXPECT_EQ(quotaGetCount(handle), 0);
    quotaSetMax(handle, 65535);
    quotaAddCount(handle, INT32_MAX);
    EXPECT_EQ(quotaGetCount(handle), 65535);
}

TEST_F(Quota, KeepsMeasurementsDisabledWhileABlockingQuotaIsFull) {
    Folder a{2};
    Folder b{1};
    const LogCapture log(2);
    const int first = install(&a, 3, FULL_BLOCK);
    EXPECT_EQ(control(), "enabled");
    const int second = install(&b, 1, FULL_BLOCK);
    EXPECT_EQ(control(), "disabled -7");
    quotaAddCount(first, 1);
    quotaAddCount(first, 1);
    quotaSetMax(second, 2);  // the first is still full
    EXPECT_EQ(control(), "disabled -7");
    quotaSetMax(first, 5);
    EXPECT_EQ(control(), "enabled");
    quotaEnableAll(0);
    quotaSetMax(first, 4);
    EXPECT_EQ(control(), "enabled");
    quotaEnableAll(1);
    EXPECT_EQ(control(), "disabled -7");
    quotaRemove(first);
    EXPECT_EQ(control(), "enabled");
    std::string said;
    for (const char *word : {"en", "dis", "en", "dis", "en"})
        said += std::string("Measurement enable control: ") + word + "abled\n";
    EXPECT_EQ(log.text(), said);
}

TEST_F(Quota, PurgesWhatIsOverTheMaximumAndSaysWhatStays) {
    Folder folder{4};
    const int handle = install(&folder, 5, FULL_PURGE);
    EXPECT_EQ(quotaSetLimits(handle, 2, FULL_STOP), QUOTA_OK);  // judged together, once
    EXPECT_TRUE(folder.keeps.empty());
    EXPECT_EQ(quotaSetLimits(handle, 3, FULL_PURGE), QUOTA_OK);
    quotaAddCount(handle, 1);
    EXPECT_EQ(quotaGetCount(handle), 3);
    quotaEnableAll(0);
    quotaAddCount(handle, 2);
    EXPECT_EQ(quotaGetCount(handle), 5);

    const LogCapture log;
    folder.undeletable = 2;
    quotaEnableAll(1);
    quotaSetMax(handle, 1);
    EXPECT_EQ(quotaGetCount(handle), 2);
    EXPECT_EQ(quotaDeleteAll(handle), QUOTA_NONE);
    // The evaluation after it tries again.
    const std::string left = "Error: purge function #0 didn't leave 1 files, but 2.\n";
    EXPECT_EQ(log.text(),
              left + "Error: purge function #0 didn't clean all files (2 left).\n" + left);
    folder.undeletable = 0;
    EXPECT_EQ(quotaDeleteAll(handle), QUOTA_OK);
    EXPECT_EQ(quotaGetCount(handle), 0);
    EXPECT_EQ(folder.keeps, (std::vector{3, 3, 3, 1, 0, 1, 0}));
}

TEST_F(Quota, HasEightSlotsAndRefusesHandlesThatAreNotInUse) {
    Folder folder;
    for (int i = 0; i < QUOTA_SLOTS; ++i) EXPECT_EQ(install(&folder, 1, FULL_STOP), i);
    EXPECT_EQ(install(&folder, 1, FULL_STOP), QUOTA_NONE);
    EXPECT_EQ(quotaRemove(5), QUOTA_OK);
    for (const int h : {-1, 5, QUOTA_SLOTS})
        for (const int result :
             {quotaRemove(h), quotaSetMax(h, 1), quotaSetAction(h, FULL_STOP),
              quotaSetLimits(h, 1, FULL_STOP), quotaGetCount(h), quotaRefreshCount(h),
              quotaAddCount(h, 1), quotaCheckBefore(h, 1), quotaDeleteAll(h)})
            EXPECT_EQ(result, QUOTA_NONE);
    EXPECT_EQ(install(&folder, 1, FULL_STOP), 5);
}
