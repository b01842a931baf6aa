#include "sync/sync_map.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

namespace korvalume {
namespace {

constexpr double day0 = 1'699'920'000; // a UTC midnight
constexpr double tenAM = day0 + 36'000;

// One camera of a session; every time is in seconds after ten o'clock, in order.
struct Shoot {
    SessionDoc doc = SessionDoc::newSession("Harbour", FrameRate::pal(), day0, std::nullopt);
    Camera camera;

    Shoot() { camera.id = Uuid::random(); }

    void event(SyncEvent::Kind kind, double at, std::optional<std::string> timecode = {}) {
        doc.events.push_back({Uuid::random(), camera.id, kind, tenAM + at, timecode, {}});
    }
    void recording(double start, double end, SyncEvent::Kind ending = SyncEvent::Kind::recStop) {
        event(SyncEvent::Kind::recStart, start);
        event(ending, end);
    }
    void recordings(const std::vector<std::pair<double, double>>& spans) {
        for (const auto& [start, end] : spans)
            recording(start, end);
    }
    void scan(double at, std::string timecode) { event(SyncEvent::Kind::tcScan, at, timecode); }
    CameraPlan plan(const std::vector<ClipFile>& files) {
        return SyncMap::plan(camera, files, doc);
    }
};
constexpr auto lost = SyncEvent::Kind::linkLost;

ClipFile clip(std::string name, double duration, std::optional<std::string> timecode,
              std::optional<double> created = {}, FrameRate rate = FrameRate::pal()) {
    ClipFile file;
    file.path = "/cards/A/" + name;
    file.duration = duration;
    file.rate = rate;
    if (timecode)
        file.startTC = Timecode::parse(*timecode);
    if (created)
        file.created = tenAM + *created;
    return file;
}

// Each clip as "NAME METHOD start: note", the start in seconds after ten o'clock
// to the microsecond.
std::vector<std::string> outcomes(const CameraPlan& plan) {
    std::vector<std::string> rows;
    for (const auto& placed : plan.clips) {
        std::ostringstream row;
        row << placed.file.name() << ' ' << label(placed.method) << std::setprecision(12);
        if (placed.start)
            row << ' ' << std::round((*placed.start - tenAM) * 1e6) / 1e6;
        if (placed.note)
            row << ": " << *placed.note;
        rows.push_back(row.str());
    }
    return rows;
}

using Rows = std::vector<std::string>;
const std::string noTimecode = " NOT PLACED: No timecode found in this file.";
const std::string noMatch = " NOT PLACED: No matching logged recording.";
const std::string oneUnmatched = "1 logged recording(s) have no matching file.";

TEST(Plan, ScansPlaceByTimecodeAndLogsCoverTheRest) {
    Shoot shoot;
    shoot.scan(0, "10:00:00:00");
    shoot.recordings({{100, 160}, {300, 330}, {500, 520}, {700, 710}});
    auto slow = clip("C0004.MP4", 20.4, "10:08:20:00", 500);
    auto slowAlone = clip("C0005.MP4", 3, "10:09:00:00", 600);
    slow.slowMotion = slowAlone.slowMotion = true;
    auto wav = clip("T001.WAV", 300, {}, 800);
    wav.rate.reset();
    wav.startTCSeconds = 36'810.5;
    const auto plan = shoot.plan(
        {wav, clip("C0001.MP4", 60, "10:01:41:00", 100), // its log says 10:01:40
         clip("C0002.MP4", 30, {}, 300), clip("C0003.MP4", 900, {}, 400), slow, slowAlone,
         // A 29.97 file in a 25 fps session: the scan and its timecode are read at 29.97.
         clip("C0006.MP4", 5, "10:12:00:00", 720, FrameRate{30, true})});
    EXPECT_EQ(outcomes(plan),
              (Rows{"C0001.MP4 TIMECODE 101", "C0002.MP4 LOGGED 300", "C0003.MP4" + noTimecode,
                    "C0004.MP4 LOGGED 500",
                    "C0005.MP4 NOT PLACED: Slow & quick motion clip: place by hand.",
                    "C0006.MP4 TIMECODE 720.72", "T001.WAV TIMECODE 810.5"}));
    EXPECT_EQ(plan.warnings, Rows{oneUnmatched});
}

TEST(Plan, CamerasWithoutScansOrFiles) {
    Shoot noFiles;
    noFiles.recordings({{0, 10}, {20, 30}});
    noFiles.recording(40, 50, lost);
    EXPECT_TRUE(noFiles.plan({}).clips.empty());
    EXPECT_EQ(noFiles.plan({}).warnings, Rows{"3 logged recording(s) have no matching file."});

    // Unreadable scans give no anchor: absent, not a timecode, or overflowing.
    // Files of one date keep the order of their names.
    Shoot unlogged;
    unlogged.event(SyncEvent::Kind::tcScan, 0);
    unlogged.scan(0, "ten o'clock");
    unlogged.scan(0, "-9999999999999999:00:00:00");
    const auto plan =
        unlogged.plan({clip("B.MP4", 10, {}, 0), clip("A.MP4", 10, "10:00:00:00", 0)});
    EXPECT_EQ(outcomes(plan),
              (Rows{"A.MP4 NOT PLACED: No scan or log for this device.", "B.MP4" + noTimecode}));
    EXPECT_TRUE(plan.warnings.empty());
}

TEST(Plan, LearnsTheTimecodeFromOneMatchedFile) {
    Shoot shoot;
    shoot.recording(0, 60);
    const auto matched = clip("C0001.MP4", 60.4, "10:00:00:00", 0);
    const auto plan = shoot.plan(
        {matched, clip("C0002.MP4", 12, "11:00:00:00", 3600), clip("C0003.MP4", 12, {}, 4000)});
    EXPECT_EQ(outcomes(plan), (Rows{"C0001.MP4 LOGGED 0", "C0002.MP4 TIMECODE + LOG 3600",
                                    "C0003.MP4" + noTimecode}));
    EXPECT_EQ(plan.warnings, Rows{"Only one logged recording to learn this camera's timecode "
                                  "from. Check the clips marked TIMECODE + LOG."});

    // With every file matched there is nothing to learn for, and nothing to warn about.
    const auto all = shoot.plan({matched});
    EXPECT_EQ(outcomes(all), Rows{"C0001.MP4 LOGGED 0"});
    EXPECT_TRUE(all.warnings.empty());
}

TEST(Plan, LearnsFromSeveralMatchesOnlyWhenTheyAgree) {
    // The camera's clock gains a second over the 4000 s between the two recordings.
    Shoot drifting;
    drifting.recordings({{0, 60}, {4001, 4031}});
    const std::vector files{clip("C0001.MP4", 60, "10:00:00:00", 0),
                            clip("C0002.MP4", 200, "10:33:20:00", 2000),
                            clip("C0003.MP4", 30, "11:06:40:00", 4001)};
    const auto learned = drifting.plan(files);
    EXPECT_EQ(outcomes(learned), (Rows{"C0001.MP4 LOGGED 0", "C0002.MP4 TIMECODE + LOG 2000.5",
                                       "C0003.MP4 LOGGED 4001"}));
    EXPECT_TRUE(learned.warnings.empty());

    // Two seconds of disagreement: the timecode was stopped between takes.
    Shoot recRun;
    recRun.recordings({{0, 60}, {4002, 4032}});
    const auto refused = recRun.plan(files);
    EXPECT_EQ(outcomes(refused),
              (Rows{"C0001.MP4 LOGGED 0", "C0002.MP4" + noMatch, "C0003.MP4 LOGGED 4002"}));
    EXPECT_EQ(refused.warnings,
              Rows{"This camera's timecode does not follow the clock (not FREE RUN), so clips "
                   "shot while Bluetooth was down cannot be placed."});
    EXPECT_TRUE(recRun.plan({files[0], files[2]}).warnings.empty());
}

TEST(Plan, OpenEndedRecordingTakesTheFileItsTimecodePlacesWithinThreeSeconds) {
    Shoot shoot;
    shoot.recordings({{0, 60}, {1000, 1030}});
    shoot.recording(2000, 2005, lost);
    const auto plan = shoot.plan({clip("C0001.MP4", 60, "10:00:00:00", 0),
                                  clip("C0002.MP4", 30, "10:16:40:00", 1000),
                                  clip("C0003.MP4", 100, "10:33:23:00", 2002), // exactly 3 s off
                                  clip("C0004.MP4", 100, "10:33:21:00", 2003)});
    // The taken file then teaches the clock too, one second off its recording's start.
    EXPECT_EQ(outcomes(plan), (Rows{"C0001.MP4 LOGGED 0", "C0002.MP4 LOGGED 1000",
                                    "C0003.MP4 TIMECODE + LOG 2002", "C0004.MP4 LOGGED 2000"}));
    EXPECT_TRUE(plan.warnings.empty());
}

TEST(Plan, OpenEndedRecordingWithoutAnchorsTakesALongEnoughFileBetweenItsNeighbours) {
    Shoot shoot;
    shoot.recording(0, 60);
    shoot.recording(1000, 1100, lost); // known to have run 100 s at least
    shoot.recording(2000, 2030);
    shoot.event(SyncEvent::Kind::recStart, 3000); // never stopped
    const std::vector files{clip("C0001.MP4", 60, {}, 0), clip("C0002.MP4", 89, {}, 1000),
                            clip("C0003.MP4", 90, {}, 1001), clip("C0004.MP4", 30, {}, 2000),
                            clip("C0005.MP4", 500, {}, 3000)};
    // Without an end of logging the running recording lasts nothing, so any later file fits.
    const auto plan = shoot.plan(files);
    EXPECT_EQ(outcomes(plan),
              (Rows{"C0001.MP4 LOGGED 0", "C0002.MP4" + noTimecode, "C0003.MP4 LOGGED 1000",
                    "C0004.MP4 LOGGED 2000", "C0005.MP4 LOGGED 3000"}));
    EXPECT_TRUE(plan.warnings.empty());

    // Logging ended 600 s in: the last file is 90 s short of that.
    shoot.doc.endedAt = tenAM + 3600;
    const auto ended = shoot.plan(files);
    EXPECT_EQ(outcomes(ended).back(), "C0005.MP4" + noTimecode);
    EXPECT_EQ(ended.warnings, Rows{oneUnmatched});
}

TEST(Plan, TimecodeResetMidSessionUsesTheScanNearestEachFile) {
    Shoot shoot;
    shoot.scan(0, "10:00:00:00");
    shoot.scan(4000, "01:00:00:00"); // someone reset the camera's timecode
    const auto plan = shoot.plan({
        clip("C0001.MP4", 10, "10:01:00:00", 60), clip("C0002.MP4", 10, "01:01:00:00", 4060),
        clip("C0003.MP4", 10, "01:02:00:00"), // no date: the latest timecode decides
    });
    EXPECT_EQ(outcomes(plan), (Rows{"C0003.MP4 TIMECODE -32280", "C0001.MP4 TIMECODE 60",
                                    "C0002.MP4 TIMECODE 4060"}));
    EXPECT_EQ(plan.warnings, Rows{"Timecode was changed during the session. Clips use the scan "
                                  "nearest their recording time."});
}

} // namespace
} // namespace korvalume
