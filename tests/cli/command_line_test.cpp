#include "cli/cli_run.h"

#include <gtest/gtest.h>

namespace {

using korvalume::testing_cli::runKorvalume;

TEST(CommandLine, HelpVersionAndUsageErrors) {
    const auto help = runKorvalume({"--help"});
    EXPECT_EQ(help.code, 0);
    EXPECT_EQ(help.out.rfind("Usage: korvalume COMMAND", 0), 0u);
    const auto version = runKorvalume({"--version"});
    EXPECT_EQ(version.code, 0);
    EXPECT_EQ(version.out.rfind("korvalume ", 0), 0u);
    EXPECT_EQ(runKorvalume({}).code, 2);
    const auto unknown = runKorvalume({"frobnicate"});
    EXPECT_EQ(unknown.code, 2);
    EXPECT_EQ(unknown.err.rfind("korvalume: unknown command 'frobnicate'\n", 0), 0u);
}

TEST(CommandLine, EveryCommandHasHelpWithAnExample) {
    for (const auto& command : korvalume::cli::commandRegistry()) {
        const auto result = runKorvalume({std::string(command.name), "--help"});
        EXPECT_EQ(result.code, 0) << command.name;
        EXPECT_NE(result.out.find("\n  korvalume " + std::string(command.name) + " "),
                  std::string::npos)
            << command.name;
    }
}

} // namespace
