#include "cli/cli_run.h"
#include "live/peer_test_support.h"
#include "live/scripted_time_server.h"

#include <nlohmann/json.hpp>

namespace {

using korvalume::testing::ScriptedTimeServer;
using korvalume::testing_cli::runKorvalume;
using nlohmann::json;

TEST(ClockCommand, ReportsEverySampleAndTheOffsetTheClockWouldTake) {
    korvalume::peer_test::application();
    ScriptedTimeServer server;
    server.shift = 1.5;
    const std::string address = server.address().toStdString();

    const auto answered = runKorvalume({"clock", "--server=" + address, "--json"});
    EXPECT_EQ(answered.code, 0) << answered.err;
    const json report = json::parse(answered.out);
    EXPECT_EQ(report["server"], address);
    ASSERT_EQ(report["samples"].size(), 4u);
    EXPECT_NEAR(report["samples"][0]["offset"].get<double>(), 1.5, 0.005);
    EXPECT_NEAR(report["offset"].get<double>(), 1.5, 0.005);
    EXPECT_EQ(server.requests, 4);

    server.mode = ScriptedTimeServer::Answer::stratumZero;
    const auto refused = runKorvalume({"clock", "--server", address});
    EXPECT_EQ(refused.code, 1);
    EXPECT_NE(refused.out.find("sample 4: stratum 0\n"), std::string::npos) << refused.out;
    EXPECT_NE(refused.out.find("No sample"), std::string::npos);

    EXPECT_EQ(runKorvalume({"clock", "--server", "host:99999"}).code, 2);
}

} // namespace
