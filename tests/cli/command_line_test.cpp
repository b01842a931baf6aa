#include "cli/command.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

struct Run {
    int code;
    std::string out;
    std::string err;
};

Run run(std::vector<std::string> args) {
    std::ostringstream out, err;
    korvalume::cli::Io io{out, err};
    const int code = korvalume::cli::runCommandLine(args, io);
    return {code, out.str(), err.str()};
}

TEST(CommandLine, HelpVersionAndUsageErrors) {
    auto help = run({"--help"});
    EXPECT_EQ(help.code, 0);
    EXPECT_NE(help.out.find("Usage: korvalume COMMAND"), std::string::npos);

    auto version = run({"--version"});
    EXPECT_EQ(version.code, 0);
    EXPECT_EQ(version.out.rfind("korvalume ", 0), 0u);

    auto none = run({});
    EXPECT_EQ(none.code, 2);
    auto unknown = run({"frobnicate"});
    EXPECT_EQ(unknown.code, 2);
    EXPECT_NE(unknown.err.find("unknown command 'frobnicate'"), std::string::npos);
}

TEST(CommandLine, EveryCommandHasHelpWithAnExample) {
    for (const auto& command : korvalume::cli::commandRegistry()) {
        auto result = run({std::string(command.name), "--help"});
        EXPECT_EQ(result.code, 0) << command.name;
        EXPECT_NE(result.out.find("korvalume " + std::string(command.name)), std::string::npos)
            << command.name;
    }
}

} // namespace
