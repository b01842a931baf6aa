#include "cli/cli_run.h"

#include "cli/options.h"

#include <gtest/gtest.h>

#include <sstream>

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
    for (const auto& command : korvalume::cli::commands()) {
        const auto result = runKorvalume({std::string(command.name), "--help"});
        EXPECT_EQ(result.code, 0) << command.name;
        EXPECT_NE(result.out.find("\n  korvalume " + std::string(command.name) + " "),
                  std::string::npos)
            << command.name;
    }
}

TEST(CommandLine, OptionsTakeTheirValueEitherWayAndMistakesAreNamed) {
    using korvalume::cli::parseArgs;
    std::ostringstream err;
    const std::vector<std::string> args{"--folder",     "CAM A=x", "a.korvalume",
                                        "--folder=B=y", "--json",  "-o",
                                        "out",          "--",      "-odd name"};
    const auto parsed = parseArgs(
        args, {{{"json"}}, {{"folder"}, "a value"}, {{"o", "output"}, "a file name"}}, "plan", err);
    ASSERT_TRUE(parsed) << err.str();
    EXPECT_EQ(parsed->values("folder"), (std::vector<std::string>{"CAM A=x", "B=y"}));
    EXPECT_TRUE(parsed->isSet("json"));
    EXPECT_EQ(parsed->value("o"), "out");
    EXPECT_EQ(parsed->positional(), (std::vector<std::string>{"a.korvalume", "-odd name"}));

    const auto mistake = [](std::vector<std::string> given) {
        std::ostringstream said;
        const auto result =
            parseArgs(given, {{{"json"}}, {{"o", "output"}, "a file name"}}, "log", said);
        return result ? std::string("accepted") : said.str();
    };
    EXPECT_EQ(mistake({"x", "--pretty"}), "korvalume log: unknown option '--pretty'\n");
    EXPECT_EQ(mistake({"x", "--output"}), "korvalume log: --output needs a file name\n");
    EXPECT_EQ(mistake({"x", "--json=yes"}), "korvalume log: --json takes no value\n");
    EXPECT_EQ(mistake({"x", "--output=o.korvalume"}), "accepted");
}

} // namespace
