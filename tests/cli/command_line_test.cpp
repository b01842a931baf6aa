#include "cli/cli_run.h"
#include "cli/command.h"

#include <gtest/gtest.h>

namespace {

using korvalume::testing_cli::runKorvalume;

TEST(CommandLine, HelpVersionAndUsageErrors) {
    auto help = runKorvalume({"--help"});
    EXPECT_EQ(help.code, 0);
    EXPECT_NE(help.out.find("Usage: korvalume COMMAND"), std::string::npos);

    auto version = runKorvalume({"--version"});
    EXPECT_EQ(version.code, 0);
    EXPECT_EQ(version.out.rfind("korvalume ", 0), 0u);

    auto none = runKorvalume({});
    EXPECT_EQ(none.code, 2);
    auto unknown = runKorvalume({"frobnicate"});
    EXPECT_EQ(unknown.code, 2);
    EXPECT_NE(unknown.err.find("unknown command 'frobnicate'"), std::string::npos);
}

TEST(CommandLine, EveryCommandHasHelpWithAnExample) {
    for (const auto& command : korvalume::cli::commandRegistry()) {
        auto result = runKorvalume({std::string(command.name), "--help"});
        EXPECT_EQ(result.code, 0) << command.name;
        EXPECT_NE(result.out.find("korvalume " + std::string(command.name)), std::string::npos)
            << command.name;
    }
}

} // namespace
