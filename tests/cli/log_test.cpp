#include "cli/cli_run.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>

namespace korvalume {
namespace {

using testing_cli::runKorvalume;

// The example shoot's two phone logs, a log of another session and a broken one.
struct LogCommand : ::testing::Test {
    fixtures::TempDir dir;
    const std::string mia = KORVALUME_SOURCE_DIR "/examples/logs/harbour-walk-mia.korvalume";
    const std::string jonas = KORVALUME_SOURCE_DIR "/examples/logs/harbour-walk-jonas.korvalume";
    const std::string stranger = dir.file("other.korvalume");
    const std::string broken = dir.file("broken.korvalume");

    void SetUp() override {
        auto other = sessionfile::decode(testing_cli::readText(mia));
        ASSERT_TRUE(other) << other.message();
        other->id = Uuid::random();
        fixtures::writeFile(stranger, *sessionfile::encoded(*other));
        fixtures::writeFile(broken, "{\"cameras\": [");
    }
};

TEST_F(LogCommand, PrintsTheCombinedSessionAndSaysWhatItLeftOut) {
    const auto result = runKorvalume({"log", mia, stranger, broken, jonas, dir.file("notes.txt")});
    EXPECT_EQ(result.code, 0) << result.err;
    for (const char* line :
         {"Session: Harbour Walk\n", "Started: 2024-06-15 10:00:00 +01:00\n", "Logs:    2\n",
          "  CAM B  camera, bluetooth, 3 recordings, 0 timecode scans, Pocket 6K\n",
          "  2024-06-15 10:03:45.520 +01:00  Boat passes\n", "Combining report:\n  CAM C is"})
        EXPECT_NE(result.out.find(line), std::string::npos) << line << "\n" << result.out;
    // Each log left out is named on its own line; files without the extension go unmentioned.
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 2) << result.err;
    EXPECT_TRUE(result.err.starts_with("other.korvalume is from session")) << result.err;
}

TEST_F(LogCommand, JsonPrintsTheLogExactlyAsItsFileHoldsIt) {
    const std::string saved = dir.file("combined.korvalume");
    const auto result = runKorvalume({"log", mia, broken, jonas, "--json", "-o", saved});
    ASSERT_EQ(result.code, 0) << result.err;
    const auto printed = nlohmann::json::parse(result.out);
    EXPECT_EQ(printed["logCount"], 2);
    EXPECT_EQ(printed["messages"],
              nlohmann::json::array({"broken.korvalume is not a Korvalume session log."}));
    EXPECT_EQ(printed["report"].size(), 5u);
    const std::string file = testing_cli::readText(saved);
    ASSERT_FALSE(file.empty());
    EXPECT_TRUE(result.out.starts_with("{\"doc\":" + file + ",")) << "keys in order, doc first";

    const std::string nowhere = dir.file("no-such-folder") + "/x.korvalume";
    testing_cli::expectExits({
        {{"log", broken, dir.file("notes.txt")},
         1,
         "korvalume log: no session log could be opened"},
        {{"log", mia, "-o", nowhere}, 1, "Could not save the log: " + nowhere},
        {{"log"}, 2, "korvalume log: no session log given"},
    });
    // Even with nothing opened, --json prints its object.
    const auto none = runKorvalume({"log", broken, "--json"});
    EXPECT_EQ(none.code, 1);
    EXPECT_EQ(nlohmann::json::parse(none.out)["doc"], nullptr);
}

} // namespace
} // namespace korvalume
