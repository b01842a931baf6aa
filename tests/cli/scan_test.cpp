#include "cli/cli_run.h"
#include "cli/command.h"
#include "support/media_fixtures.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using namespace korvalume;

testing_cli::CommandRun scan(std::vector<std::string> args, bool errIsTerminal = false) {
    args.insert(args.begin(), "scan");
    return testing_cli::runKorvalume(args, errIsTerminal);
}

// A card with a Sony clip (sidecar), a plain movie and a broadcast-wave take.
struct Card {
    fixtures::TempDir dir;
    Card() {
        fixtures::MovieSpec movie;
        movie.container = fixtures::Container::Mp4;
        movie.rate = {30, true};
        movie.timecode = "10:01:00;02";
        movie.creationTime = "2024-05-01T10:00:00Z";
        const std::string sony = dir.file("XDROOT/Clip/C0001.MP4");
        std::filesystem::copy_file(fixtures::cachedMovie(movie), sony);
        fixtures::SonySidecarSpec sidecar;
        sidecar.serial = "4294967295";
        fixtures::writeSonySidecar(sony, sidecar);
        std::filesystem::copy_file(fixtures::cachedMovie(movie), dir.file("XDROOT/Clip/C0002.MP4"));
        fixtures::WaveBuilder()
            .fmt(2, 48000, 24)
            .bext(172'800'000)
            .data(288'000, 16)
            .write(dir.file("SOUND/T01.WAV"));
    }
};

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> result;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        result.push_back(line);
    return result;
}

TEST(ScanCommand, ListsEveryClipOneLineEachInPathOrder) {
    Card card;
    const auto result = scan({card.dir.path()});
    ASSERT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.err, "");
    const auto printed = lines(result.out);
    ASSERT_EQ(printed.size(), 3u) << result.out;
    // The WAV file's date is the file system's; only its place is checked.
    EXPECT_EQ(printed[0].rfind("T01.WAV  1.000s  -  start 3600.000s  ", 0), 0u) << printed[0];
    EXPECT_TRUE(printed[0].ends_with("  -  audio 2ch 48000 Hz")) << printed[0];
    EXPECT_EQ(printed[1], "C0001.MP4  10.000s  25  tc 10:00:00:00  2024-05-01T10:00:00Z  "
                          "ILME-FX6V  video 3840x2160");
    EXPECT_EQ(printed[2], "C0002.MP4  1.001s  29.97  tc 10:01:00;02  2024-05-01T10:00:00Z  -  "
                          "video 64x36");
}

TEST(ScanCommand, JsonLeavesOutWhatIsAbsent) {
    Card card;
    const auto result = scan({"--json", card.dir.path()});
    ASSERT_EQ(result.code, 0) << result.err;
    const auto clips = nlohmann::json::parse(result.out);
    ASSERT_TRUE(clips.is_array());
    ASSERT_EQ(clips.size(), 3u);

    const auto& wave = clips[0];
    EXPECT_EQ(wave["path"], card.dir.path() + "/SOUND/T01.WAV");
    EXPECT_EQ(wave["name"], "T01.WAV");
    EXPECT_EQ(wave["startTCSeconds"], 3600.0);
    EXPECT_EQ(wave["audioOnly"], true);
    EXPECT_EQ(wave["frames"], 0);
    EXPECT_FALSE(wave.contains("rate"));
    EXPECT_FALSE(wave.contains("startTC"));

    const auto& movie = clips[2];
    EXPECT_EQ(movie["rate"], (nlohmann::json{{"timebase", 30}, {"ntsc", true}}));
    EXPECT_EQ(movie["startTC"], "10:01:00;02");
    EXPECT_EQ(movie["created"], "2024-05-01T10:00:00Z");
    EXPECT_EQ(movie["frames"], 30);
    EXPECT_FALSE(movie.contains("startTCSeconds"));
    for (const char* key : {"path", "name", "duration", "frames", "model", "serial", "width",
                            "height", "audioChannels", "slowMotion", "audioOnly", "sampleRate"})
        EXPECT_TRUE(movie.contains(key)) << key;
    EXPECT_EQ(clips[1]["serial"], "");
    EXPECT_EQ(clips[1]["model"], "ILME-FX6V");
}

TEST(ScanCommand, ProblemsAndProgress) {
    fixtures::TempDir dir;
    const std::string missing = dir.file("no such card");
    const auto absent = scan({missing});
    EXPECT_EQ(absent.code, 1);
    EXPECT_EQ(absent.err, "korvalume scan: " + missing + ": does not exist\n");
    fixtures::writeFile(dir.file("file.wav"), "");
    EXPECT_EQ(scan({dir.file("file.wav")}).code, 1);

    EXPECT_EQ(scan({}).code, 2);
    EXPECT_EQ(scan({dir.path(), dir.path()}).code, 2);
    const auto option = scan({dir.path(), "--xml"});
    EXPECT_EQ(option.code, 2);
    EXPECT_NE(option.err.find("--xml"), std::string::npos);

    // An empty card is no error: nothing to list. A terminal sees progress on stderr.
    fixtures::WaveBuilder().fmt(1, 48000, 16).data(96000, 8).write(dir.file("card/a.wav"));
    const auto terminal = scan({dir.file("card")}, true);
    EXPECT_EQ(terminal.code, 0);
    EXPECT_NE(terminal.err.find("1/1 files"), std::string::npos);
    EXPECT_EQ(lines(terminal.out).size(), 1u);
    std::filesystem::create_directories(dir.file("empty"));
    const auto empty = scan({dir.file("empty"), "--json"});
    EXPECT_EQ(empty.code, 0);
    EXPECT_EQ(nlohmann::json::parse(empty.out), nlohmann::json::array());
}

} // namespace
