// scan, plan and export on a small shoot's cards, in process: what each prints, what it
// writes, and how each refuses.
#include "cli/cli_run.h"
#include "support/xmeml_reader.h"

#include <QDir>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>

namespace korvalume {
namespace {

using nlohmann::json;
using testing_cli::expectExits;
using testing_cli::runKorvalume;
using testing_cli::SmallShoot;

TEST(ScanCommand, ListsEachClipAsTextOrJsonWithProgressOnlyOnATerminal) {
    fixtures::TempDir dir;
    std::filesystem::copy_file(fixtures::cachedMovie({.container = fixtures::Container::Mp4,
                                                      .rate = {30, true},
                                                      .timecode = "10:01:00;02",
                                                      .creationTime = "2024-05-01T10:00:00Z"}),
                               dir.file("XDROOT/Clip/C0002.MP4"));
    const std::string wave = dir.file("SOUND/T01.WAV");
    fixtures::WaveBuilder().fmt(2, 48000, 24).bext(172'800'000).data(288'000, 16).write(wave);

    const auto text = runKorvalume({"scan", dir.path()});
    ASSERT_EQ(text.code, 0) << text.err;
    // In path order; the WAV file's date is the file system's, so only its place is checked.
    EXPECT_TRUE(text.out.starts_with("T01.WAV  1.000s  -  start 3600.000s  ")) << text.out;
    EXPECT_TRUE(text.out.ends_with("  -  audio 2ch 48000 Hz\n"
                                   "C0002.MP4  1.001s  29.97  tc 10:01:00;02  2024-05-01T10:00:00Z"
                                   "  -  video 64x36\n"))
        << text.out;

    const auto printed = runKorvalume({"scan", "--json", dir.path()});
    ASSERT_EQ(printed.code, 0) << printed.err;
    const auto clips = json::parse(printed.out);
    ASSERT_EQ(clips.size(), 2u);
    // What a clip does not have is left out, never null.
    EXPECT_EQ(clips[0]["path"], wave);
    EXPECT_EQ(clips[0]["startTCSeconds"], 3600.0);
    EXPECT_FALSE(clips[0].contains("rate") || clips[0].contains("startTC"));
    EXPECT_EQ(clips[1]["rate"], (json{{"timebase", 30}, {"ntsc", true}}));
    EXPECT_EQ(clips[1]["startTC"], "10:01:00;02");
    EXPECT_FALSE(clips[1].contains("startTCSeconds"));

    const struct {
        std::vector<std::string> args;
        bool terminal, progress;
    } runs[] = {{{"scan", dir.path()}, true, true},
                {{"scan", dir.path()}, false, false},
                {{"scan", "--quiet", dir.path()}, true, false},
                {{"scan", dir.path(), "-q"}, true, false}};
    for (const auto& [args, terminal, progress] : runs) {
        const auto run = runKorvalume(args, terminal);
        EXPECT_EQ(run.out, text.out);
        EXPECT_EQ(run.err.find("reading " + dir.path() + ": 2/2 files") != std::string::npos,
                  progress)
            << args.back() << " on a terminal: " << terminal << run.err;
        EXPECT_EQ(run.err.empty(), !progress);
    }

    const std::string missing = dir.file("no such card"), empty = dir.file("empty");
    std::filesystem::create_directory(empty);
    expectExits({{{"scan", missing}, 1, "korvalume scan: " + missing + ": does not exist\n"},
                 {{"scan", wave}, 1, "korvalume scan: " + wave + ": is not a folder\n"},
                 {{"scan"}, 2, "korvalume scan: expected one folder"},
                 {{"scan", dir.path(), dir.path()}, 2, "korvalume scan: expected one folder"},
                 {{"scan", empty}, 0, ""}}); // a card without clips is no error
}

TEST(PlanCommand, ListsEachCameraGivenAFolderInSessionOrderAndRefusesMistakes) {
    const SmallShoot shoot;
    shoot.makeCards();
    // A camera by any case of its name, or by its id. The plan's JSON is read by the
    // end-to-end test.
    const auto text =
        runKorvalume({"plan", shoot.log, "--folder", "cam b=" + shoot.cardB, "--folder",
                      shoot.doc.cameras[0].id.string() + "=" + shoot.cardA});
    ASSERT_EQ(text.code, 0) << text.err;
    EXPECT_EQ(text.out, "CAM A  " + shoot.cardA +
                            "  (1 of 2 clips placed)\n"
                            "  A001.mov  TIMECODE        10:00:05.000  10:00:05:00\n"
                            "  A002.mov  NOT PLACED      No timecode found in this file.\n"
                            "\nCAM B  " +
                            shoot.cardB +
                            "  (0 of 0 clips placed)\n"
                            "  warning: 1 logged recording(s) have no matching file.\n");

    const std::string missing = shoot.dir.file("nowhere"), broken = shoot.dir.file("b.korvalume");
    fixtures::writeFile(broken, "{\"id\":");
    const std::string camA = "CAM A=" + shoot.cardA;
    expectExits({
        {{"plan", shoot.log, "--folder", "CAM Q=" + shoot.cardA}, 2, "korvalume plan: "},
        // Every folder is checked before any is read.
        {{"plan", shoot.log, "--folder", camA, "--folder", "CAM B=" + missing},
         1,
         "korvalume plan: " + missing + ": does not exist\n"},
        {{"plan", broken, "--folder", camA}, 1, "b.korvalume is not a Korvalume session log."},
        {{"plan", shoot.log}, 2, "korvalume plan: no card folder given"},
        {{"plan", "--folder", camA}, 2, "korvalume plan: no session log given"},
        {{"plan", shoot.log, "--folder", "CAM A"}, 2, "--folder takes CAMERA=DIR, not 'CAM A'"},
    });
}

// Counts the clip items of a timeline, which must parse.
int clipItems(const std::string& path) {
    const auto timeline = testing::readXmeml(testing_cli::readText(path));
    if (!timeline)
        return -1;
    int items = 0;
    for (const auto* tracks : {&timeline->videoTracks, &timeline->audioTracks})
        for (const auto& track : *tracks)
            items += int(track.size());
    return items;
}

TEST(ExportCommand, WritesTheTimelineAtomicallyWhereToldOrUnderTheSessionName) {
    const SmallShoot shoot;
    shoot.makeCards();
    const fixtures::TempDir work;
    const QString previous = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(QString::fromStdString(work.path())));
    const auto named = runKorvalume({"export", shoot.log, "--folder", "CAM A=" + shoot.cardA,
                                     "--folder", "cam b=" + shoot.cardB});
    QDir::setCurrent(previous);
    ASSERT_EQ(named.code, 0) << named.err;
    const std::string written = work.path() + "/Quay Shoot SYNC MAP.xml";
    EXPECT_EQ(named.out, "Wrote " + written +
                             "\n  CAM A  1 placed, 1 not placed\n"
                             "  CAM B  0 placed, 0 not placed\n");
    EXPECT_EQ(clipItems(written), 1) << "A001 is silent: its video item alone";

    const std::string target = work.file("out/Timeline ä.xml");
    const auto empty =
        runKorvalume({"export", shoot.log, "--folder=CAM B=" + shoot.cardB, "-o", target});
    ASSERT_EQ(empty.code, 0) << empty.err;
    EXPECT_TRUE(empty.out.ends_with("No clip could be placed: the timeline is empty. "
                                    "'korvalume plan' says why.\n"))
        << empty.out;
    EXPECT_EQ(clipItems(target), 0);

    const fixtures::TempDir untouched;
    const std::string cardA = "CAM A=" + shoot.cardA,
                      missing = untouched.path() + "/no such folder/t.xml";
    expectExits({
        {{"export", shoot.log, "--folder", cardA, "-o", missing},
         1,
         "korvalume export: Could not save the sync map: " + missing},
        {{"export", shoot.log, "--folder", cardA, "--output", untouched.path()},
         1,
         untouched.path() + ": is a folder"},
        {{"export", shoot.log, "--folder", cardA, "-o"}, 2, "korvalume export: -o needs a value"},
        {{"export", shoot.log}, 2, "korvalume export: no card folder given"},
    });
    EXPECT_TRUE(QDir(QString::fromStdString(untouched.path())).isEmpty());
}

} // namespace
} // namespace korvalume
