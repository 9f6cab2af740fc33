// SPDX-License-Identifier: MIT
// What the service asks the running application manager for.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "okra/okra.h"
#include "support/temp_dir.h"

namespace {

class OkraManager : public testing::Test {
protected:
    OkraManager() {
        setenv("VORN_ROOT", root_.path().c_str(), 1);
        root_.makeDir("run/tarix/okra");
    }

    void runApp(const std::string &name, const std::string &attributes = "") const {
        root_.write("run/tarix/okra/apps/" + name,
                    "okra 1\napp " + name + attributes + "\nreg u8 r value=1\n");
    }

    // Saves applications into a file of the root; the error's text, or "".
    std::string save(const std::string &file, const std::vector<std::string> &names) const {
        char request[4000] = {1};
        const std::string path = root_.path(file);
        path.copy(request + 4, 63);
        const auto count = static_cast<std::int32_t>(names.size());
        std::memcpy(request + 68, &count, sizeof count);
        for (std::size_t i = 0; i < names.size(); ++i) names[i].copy(request + 72 + 9 * i, 8);
        const int code = APX_Save_Mult_Config(request);
        return code == 0 ? "" : APX_Error(code);
    }

    // How many files a folder of the root holds.
    auto files(const std::string &folder) const {
        return std::distance(std::filesystem::directory_iterator(root_.path(folder)), {});
    }

    TempDir root_;
};

}  // namespace

TEST_F(OkraManager, SavesTheStatesOfWhatRunsIntoOneWholeFile) {
    root_.makeDir("data");
    root_.write("data/.old.res.part", "left over");
    root_.write("run/tarix/okra/apps/b",
                "okra 1\n# c\napp b stop=2 regs=5\nreg u8 \"x y\"  value=1");
    runApp("a", " start=1 restart=3 powerfail=4 status=5");
    EXPECT_EQ(save("data/x.res", {"b", "gone", "../apps", "a", "b", ""}), "");
    EXPECT_EQ(root_.read("data/x.res"),
              "okra 1\n"
              "app b start=0 stop=2 restart=0 powerfail=0 status=0 regs=5\n"
              "reg u8 \"x y\"  value=1\n"
              "app a start=1 stop=0 restart=3 powerfail=4 status=5\n"
              "reg u8 r value=1\n");
    EXPECT_EQ(files("data"), 1);

    const std::string before = root_.read("data/x.res");
    EXPECT_EQ(save("data/x.res", {"gone"}), "none of the applications runs");
    EXPECT_EQ(save("data/y.res", {}), "none of the applications runs");
    root_.write("run/tarix/okra/apps/b", "okra 1\napp b\nreg u8 x value=999\n");
    EXPECT_EQ(save("data/x.res", {"a", "b"}),
              "b: line 3: '999' of attribute 'value' is out of range");
    EXPECT_EQ(save("none/x.res", {"a"}), "No such file or directory");
    EXPECT_EQ(root_.read("data/x.res"), before);
    EXPECT_EQ(files("data"), 1);

    std::filesystem::remove_all(root_.path("run/tarix/okra"));
    EXPECT_EQ(save("data/x.res", {"a"}), "the application manager is not ready");
}
