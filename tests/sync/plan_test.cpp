#include "support/shoot_builder.h"
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
constexpr auto lost = SyncEvent::Kind::linkLost;
using Rows = std::vector<std::string>;

// One camera of a session; every time is in seconds after ten o'clock, in order.
struct Shoot : testing::ShootLog {
    Uuid cam = camera("CAM A", Camera::Kind::camera, Camera::Link::bluetooth);

    Shoot() : ShootLog("Harbour", FrameRate::pal(), day0) {}
    void recordings(const std::vector<std::pair<double, double>>& spans,
                    SyncEvent::Kind ending = SyncEvent::Kind::recStop) {
        for (const auto& [start, end] : spans)
            recording(cam, tenAM + start, tenAM + end, ending);
    }
    void scan(double at, std::string timecode) { ShootLog::scan(cam, tenAM + at, timecode); }

    // Each clip as "NAME METHOD start: note", the start in seconds after ten o'clock
    // to the microsecond; then the plan's warnings.
    Rows outcomes(const std::vector<ClipFile>& files) const {
        const CameraPlan plan = syncmap::plan(doc.cameras[0], files, doc);
        Rows rows;
        for (const auto& placed : plan.clips) {
            std::ostringstream row;
            row << placed.file.name() << ' ' << label(placed.method) << std::setprecision(12);
            if (placed.start)
                row << ' ' << std::round((*placed.start - MasterInstant(tenAM)) * 1e6) / 1e6;
            if (placed.note)
                row << ": " << *placed.note;
            rows.push_back(row.str());
        }
        rows.insert(rows.end(), plan.warnings.begin(), plan.warnings.end());
        return rows;
    }
};

ClipFile clip(std::string name, double duration, std::optional<std::string> timecode,
              std::optional<double> created = {}, FrameRate rate = FrameRate::pal()) {
    return {.path = "/cards/A/" + name,
            .duration = duration,
            .rate = rate,
            .startTC = timecode ? Timecode::parse(*timecode) : std::nullopt,
            .created = created ? std::optional(tenAM + *created) : std::nullopt};
}

const std::string noTimecode = " NOT PLACED: No timecode found in this file.";
const std::string oneUnmatched = "1 logged recording(s) have no matching file.";

TEST(Plan, ScansPlaceByTimecodeAndLogsCoverTheRest) {
    Shoot shoot;
    shoot.scan(0, "10:00:00:00");
    shoot.recordings({{100, 160}, {300, 330}, {500, 520}, {700, 710}});
    auto slow = clip("C0004.MP4", 20.4, "10:08:20:00", 500);
    auto slowAlone = clip("C0005.MP4", 3, "10:09:00:00", 600);
    slow.slowMotion = slowAlone.slowMotion = true;
    EXPECT_EQ(shoot.outcomes(
                  {clip("C0001.MP4", 60, "10:01:41:00", 100), // its log says 10:01:40
                   clip("C0002.MP4", 30, {}, 300), clip("C0003.MP4", 900, {}, 400), slow, slowAlone,
                   // A 29.97 file in a 25 fps session: the scan and its timecode are read at 29.97.
                   clip("C0006.MP4", 5, "10:12:00:00", 720, FrameRate{30, true})}),
              (Rows{"C0001.MP4 TIMECODE 101", "C0002.MP4 LOGGED 300", "C0003.MP4" + noTimecode,
                    "C0004.MP4 LOGGED 500",
                    "C0005.MP4 NOT PLACED: Slow & quick motion clip: place by hand.",
                    "C0006.MP4 TIMECODE 720.72", oneUnmatched}));
}

TEST(Plan, UnreadableScansGiveNoAnchor) {
    // Absent, not a timecode, or overflowing. Files of one date keep the order of their names.
    Shoot unlogged;
    unlogged.add(SyncEvent::Kind::tcScan, unlogged.cam, tenAM);
    unlogged.scan(0, "ten o'clock");
    unlogged.scan(0, "-9999999999999999:00:00:00");
    EXPECT_EQ(unlogged.outcomes({clip("B.MP4", 10, {}, 0), clip("A.MP4", 10, "10:00:00:00", 0)}),
              (Rows{"A.MP4 NOT PLACED: No scan or log for this device.", "B.MP4" + noTimecode}));
}

TEST(Plan, LearnsTheTimecodeFromOneMatchedFile) {
    Shoot shoot;
    shoot.recordings({{0, 60}});
    const auto matched = clip("C0001.MP4", 60.4, "10:00:00:00", 0);
    EXPECT_EQ(shoot.outcomes({matched, clip("C0002.MP4", 12, "11:00:00:00", 3600),
                              clip("C0003.MP4", 12, {}, 4000)}),
              (Rows{"C0001.MP4 LOGGED 0", "C0002.MP4 TIMECODE + LOG 3600", "C0003.MP4" + noTimecode,
                    "Only one logged recording to learn this camera's timecode from. Check the "
                    "clips marked TIMECODE + LOG."}));
    // With every file matched there is nothing to learn for, and nothing to warn about.
    EXPECT_EQ(shoot.outcomes({matched}), Rows{"C0001.MP4 LOGGED 0"});
}

TEST(Plan, LearnsFromSeveralMatchesOnlyWhenTheyAgree) {
    // The camera's clock gains a second over the 4000 s between the two recordings.
    Shoot drifting;
    drifting.recordings({{0, 60}, {4001, 4031}});
    const std::vector files{clip("C0001.MP4", 60, "10:00:00:00", 0),
                            clip("C0002.MP4", 200, "10:33:20:00", 2000),
                            clip("C0003.MP4", 30, "11:06:40:00", 4001)};
    EXPECT_EQ(
        drifting.outcomes(files),
        (Rows{"C0001.MP4 LOGGED 0", "C0002.MP4 TIMECODE + LOG 2000.5", "C0003.MP4 LOGGED 4001"}));

    // Two seconds of disagreement: the timecode was stopped between takes.
    Shoot recRun;
    recRun.recordings({{0, 60}, {4002, 4032}});
    EXPECT_EQ(recRun.outcomes(files),
              (Rows{"C0001.MP4 LOGGED 0", "C0002.MP4 NOT PLACED: No matching logged recording.",
                    "C0003.MP4 LOGGED 4002",
                    "This camera's timecode does not follow the clock (not FREE RUN), so clips "
                    "shot while Bluetooth was down cannot be placed."}));
    EXPECT_EQ(recRun.outcomes({files[0], files[2]}),
              (Rows{"C0001.MP4 LOGGED 0", "C0003.MP4 LOGGED 4002"}));
}

TEST(Plan, OpenEndedRecordingTakesTheFileItsTimecodePlacesWithinThreeSeconds) {
    Shoot shoot;
    shoot.recordings({{0, 60}, {1000, 1030}});
    shoot.recordings({{2000, 2005}}, lost);
    // The taken file then teaches the clock too, one second off its recording's start.
    EXPECT_EQ(shoot.outcomes({clip("C0001.MP4", 60, "10:00:00:00", 0),
                              clip("C0002.MP4", 30, "10:16:40:00", 1000),
                              clip("C0003.MP4", 100, "10:33:23:00", 2002), // exactly 3 s off
                              clip("C0004.MP4", 100, "10:33:21:00", 2003)}),
              (Rows{"C0001.MP4 LOGGED 0", "C0002.MP4 LOGGED 1000", "C0003.MP4 TIMECODE + LOG 2002",
                    "C0004.MP4 LOGGED 2000"}));
}

TEST(Plan, OpenEndedRecordingWithoutAnchorsTakesALongEnoughFileBetweenItsNeighbours) {
    Shoot shoot;
    shoot.recordings({{0, 60}});
    shoot.recordings({{1000, 1100}}, lost); // known to have run 100 s at least
    shoot.recordings({{2000, 2030}});
    shoot.add(SyncEvent::Kind::recStart, shoot.cam, tenAM + 3000); // never stopped
    const std::vector files{clip("C0001.MP4", 60, {}, 0), clip("C0002.MP4", 89, {}, 1000),
                            clip("C0003.MP4", 90, {}, 1001), clip("C0004.MP4", 30, {}, 2000),
                            clip("C0005.MP4", 500, {}, 3000)};
    // Without an end of logging the running recording lasts nothing, so any later file fits.
    EXPECT_EQ(shoot.outcomes(files),
              (Rows{"C0001.MP4 LOGGED 0", "C0002.MP4" + noTimecode, "C0003.MP4 LOGGED 1000",
                    "C0004.MP4 LOGGED 2000", "C0005.MP4 LOGGED 3000"}));

    // Logging ended 600 s in: the last file is 90 s short of that.
    shoot.doc.endedAt = MasterInstant(tenAM + 3600);
    EXPECT_EQ(shoot.outcomes(files),
              (Rows{"C0001.MP4 LOGGED 0", "C0002.MP4" + noTimecode, "C0003.MP4 LOGGED 1000",
                    "C0004.MP4 LOGGED 2000", "C0005.MP4" + noTimecode, oneUnmatched}));
}

} // namespace
} // namespace korvalume
