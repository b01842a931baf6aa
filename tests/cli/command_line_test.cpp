#include "cli/cli_run.h"
#include "cli/options.h"
#include "live/peer_test_support.h"
#include "live/scripted_time_server.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>

namespace {

using korvalume::testing_cli::runKorvalume;

TEST(CommandLine, HelpVersionAndUsageErrors) {
    EXPECT_TRUE(runKorvalume({"--help"}).out.starts_with("Usage: korvalume COMMAND"));
    EXPECT_TRUE(runKorvalume({"--version"}).out.starts_with("korvalume "));
    EXPECT_EQ(runKorvalume({}).code, 2);
    const auto unknown = runKorvalume({"frobnicate"});
    EXPECT_EQ(unknown.code, 2);
    EXPECT_TRUE(unknown.err.starts_with("korvalume: unknown command 'frobnicate'\n"));
    for (const auto& command : korvalume::cli::commands()) {
        const auto help = runKorvalume({std::string(command.name), "--help"});
        EXPECT_EQ(help.code, 0) << command.name;
        EXPECT_NE(help.out.find("\n  korvalume " + std::string(command.name) + " "),
                  std::string::npos)
            << command.name << " has no example";
    }
}

TEST(CommandLine, OptionsTakeTheirValueEitherWayAndMistakesAreNamed) {
    using korvalume::cli::parseArgs;
    std::ostringstream err;
    const auto parsed =
        parseArgs(std::vector<std::string>{"--folder", "CAM A=x", "a.korvalume", "--folder=B=y",
                                           "--json", "-o", "out", "--", "-odd name"},
                  {{{"json"}}, {{"folder"}, "a value"}, {{"o", "output"}, "a name"}}, "plan", err);
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

TEST(CommandLine, LiveCommandsRefuseWhatTheyCannotTakeBeforeGoingLive) {
    korvalume::testing_cli::expectExits({
        {{"host", "--fps", "48*"},
         2,
         "--fps takes one of 23.976, 24, 25, 29.97, 30, 50, 59.94, 60"},
        {{"host", "--save-operator"}, 2, "--save-operator needs --operator NAME"},
        {{"join", "--for", "-1", "x.korvalume"}, 2, "--for takes a number of seconds"},
    });
    const auto help = runKorvalume({"host", "--help"});
    EXPECT_NE(help.out.find("23.976, 24, 25, 29.97, 30, 50, 59.94, 60 (default 25)"),
              std::string::npos)
        << "the help offers exactly what --fps takes";
}

TEST(ClockCommand, ReportsEverySampleAndTheOffsetTheClockWouldTake) {
    korvalume::peer_test::application();
    korvalume::testing::ScriptedTimeServer server;
    server.shift = 1.5;
    const std::string address = server.address().toStdString();
    const auto answered = runKorvalume({"clock", "--server=" + address, "--json"});
    EXPECT_EQ(answered.code, 0) << answered.err;
    const auto report = nlohmann::json::parse(answered.out);
    EXPECT_EQ(report["server"], address);
    ASSERT_EQ(report["samples"].size(), 4u);
    EXPECT_NEAR(report["offset"].get<double>(), 1.5, 0.005);
    EXPECT_EQ(server.requests, 4);

    server.mode = korvalume::testing::ScriptedTimeServer::Answer::stratumZero;
    const auto refused = runKorvalume({"clock", "--server", address});
    EXPECT_EQ(refused.code, 1);
    EXPECT_NE(refused.out.find("sample 4: stratum 0\n"), std::string::npos) << refused.out;
    EXPECT_EQ(runKorvalume({"clock", "--server", "host:99999"}).code, 2);
}

} // namespace
