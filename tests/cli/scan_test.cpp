#include "cli/cli_run.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>

namespace korvalume {
namespace {

using testing_cli::runKorvalume;

// A card with a drop-frame movie and a broadcast-wave take, listed in path order.
struct ScanCommand : ::testing::Test {
    fixtures::TempDir dir;
    const std::string movie = dir.file("XDROOT/Clip/C0002.MP4");
    const std::string wave = dir.file("SOUND/T01.WAV");

    void SetUp() override {
        fixtures::MovieSpec recipe;
        recipe.container = fixtures::Container::Mp4;
        recipe.rate = {30, true};
        recipe.timecode = "10:01:00;02";
        recipe.creationTime = "2024-05-01T10:00:00Z";
        std::filesystem::copy_file(fixtures::cachedMovie(recipe), movie);
        fixtures::WaveBuilder().fmt(2, 48000, 24).bext(172'800'000).data(288'000, 16).write(wave);
    }
};

TEST_F(ScanCommand, ListsEachClipAsTextOrJson) {
    const auto text = runKorvalume({"scan", dir.path()});
    ASSERT_EQ(text.code, 0) << text.err;
    EXPECT_EQ(text.err, "");
    // The WAV file's date is the file system's; only its place is checked.
    const auto wavePrefix = "T01.WAV  1.000s  -  start 3600.000s  ";
    EXPECT_EQ(text.out.rfind(wavePrefix, 0), 0u) << text.out;
    EXPECT_TRUE(
        text.out.ends_with("  -  audio 2ch 48000 Hz\n"
                           "C0002.MP4  1.001s  29.97  tc 10:01:00;02  2024-05-01T10:00:00Z  "
                           "-  video 64x36\n"))
        << text.out;

    const auto json = runKorvalume({"scan", "--json", dir.path()});
    ASSERT_EQ(json.code, 0) << json.err;
    auto clips = nlohmann::json::parse(json.out);
    ASSERT_EQ(clips.size(), 2u);
    // What a clip does not have is left out, never null; it has every other key.
    EXPECT_EQ(clips[0]["path"], wave);
    EXPECT_EQ(clips[0]["startTCSeconds"], 3600.0);
    EXPECT_FALSE(clips[0].contains("rate") || clips[0].contains("startTC"));
    EXPECT_EQ(clips[0].size(), 14u);
    EXPECT_EQ(clips[1]["rate"], (nlohmann::json{{"timebase", 30}, {"ntsc", true}}));
    EXPECT_EQ(clips[1]["startTC"], "10:01:00;02");
    EXPECT_EQ(clips[1]["created"], "2024-05-01T10:00:00Z");
    EXPECT_FALSE(clips[1].contains("startTCSeconds"));
    EXPECT_EQ(clips[1].size(), 15u);
}

// Progress goes to stderr only when it is a terminal, and never with --quiet or -q.
TEST_F(ScanCommand, ProgressOnATerminalUnlessQuiet) {
    const std::string card = dir.path();
    const struct {
        std::vector<std::string> args;
        bool terminal, progress;
    } cases[] = {{{"scan", card}, true, true},
                 {{"scan", card}, false, false},
                 {{"scan", "--quiet", card}, true, false},
                 {{"scan", card, "-q"}, true, false}};
    const auto listing = runKorvalume({"scan", card}).out;
    for (const auto& [args, terminal, progress] : cases) {
        const auto result = runKorvalume(args, terminal);
        EXPECT_EQ(result.code, 0);
        EXPECT_EQ(result.out, listing);
        const bool shown = result.err.find("reading " + card + ": 2/2 files") != std::string::npos;
        EXPECT_EQ(shown, progress) << args.back() << " on a terminal: " << terminal << result.err;
        EXPECT_EQ(result.err.empty(), !progress);
    }
}

TEST(ScanProblems, ExitCodesAndMessages) {
    fixtures::TempDir dir;
    const std::string missing = dir.file("no such card"), file = dir.file("file.wav");
    fixtures::writeFile(file, "");
    testing_cli::expectExits({
        {{"scan", missing}, 1, "korvalume scan: " + missing + ": does not exist\n"},
        {{"scan", file}, 1, "korvalume scan: " + file + ": is not a folder\n"},
        {{"scan"}, 2, "korvalume scan: expected one folder"},
        {{"scan", dir.path(), dir.path()}, 2, "korvalume scan: expected one folder"},
        {{"scan", dir.path()}, 0, ""}, // a card without clips is no error
    });
}

} // namespace
} // namespace korvalume
