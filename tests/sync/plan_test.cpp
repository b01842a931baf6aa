#include "sync/sync_map.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

namespace korvalume {
namespace {

using Method = PlacedClip::Method;

constexpr double day0 = 1'699'920'000; // a UTC midnight; the shoot's zone is UTC
constexpr double tenAM = day0 + 36'000;

// One camera of a session, with events added in any order.
struct Shoot {
    SessionDoc doc;
    Camera camera;

    Shoot() {
        doc.id = Uuid::random();
        doc.name = "Harbour";
        doc.fps = FrameRate::pal();
        doc.startedAt = day0;
        doc.zone = 0;
        camera.id = Uuid::random();
        camera.name = "CAM A";
        doc.cameras = {camera};
    }
    void event(SyncEvent::Kind kind, double at, std::optional<std::string> timecode = {}) {
        doc.events.push_back({Uuid::random(), camera.id, kind, at, std::move(timecode), {}});
    }
    void recording(double start, double end) {
        event(SyncEvent::Kind::recStart, start);
        event(SyncEvent::Kind::recStop, end);
    }
    void lostRecording(double start, double lostAt) {
        event(SyncEvent::Kind::recStart, start);
        event(SyncEvent::Kind::linkLost, lostAt);
    }
    void scan(double at, std::string timecode) { event(SyncEvent::Kind::tcScan, at, timecode); }
    CameraPlan plan(const std::vector<ClipFile>& files) {
        std::stable_sort(doc.events.begin(), doc.events.end(),
                         [](const SyncEvent& a, const SyncEvent& b) { return a.at < b.at; });
        return SyncMap::plan(camera, files, doc);
    }
};

ClipFile clip(std::string name, double duration, std::optional<std::string> timecode,
              std::optional<double> created = {}) {
    ClipFile file;
    file.path = "/cards/A/" + name;
    file.duration = duration;
    file.rate = FrameRate::pal();
    if (timecode)
        file.startTC = Timecode::parse(*timecode);
    file.created = created;
    return file;
}

struct Outcome {
    std::string name;
    Method method;
    std::optional<double> start;
    std::optional<std::string> note;
    friend bool operator==(const Outcome&, const Outcome&) = default;
    friend std::ostream& operator<<(std::ostream& out, const Outcome& o) {
        out << o.name << ' ' << label(o.method) << ' ';
        if (o.start)
            out << std::fixed << *o.start - day0;
        return out << ' ' << o.note.value_or("");
    }
};

std::vector<Outcome> outcomes(const CameraPlan& plan) {
    std::vector<Outcome> result;
    for (const auto& placed : plan.clips)
        result.push_back({placed.file.name(), placed.method, placed.start, placed.note});
    return result;
}

using Notes = std::vector<std::string>;
const std::string noTimecode = "No timecode found in this file.";
const std::string slowMotion = "Slow & quick motion clip: place by hand.";
const std::string noMatch = "No matching logged recording.";

TEST(Plan, ScansPlaceByTimecodeAndLogsCoverTheRest) {
    Shoot shoot;
    shoot.scan(tenAM, "10:00:00:00");
    shoot.recording(tenAM + 100, tenAM + 160);
    shoot.recording(tenAM + 300, tenAM + 330);
    shoot.recording(tenAM + 500, tenAM + 520);
    shoot.recording(tenAM + 700, tenAM + 710);
    auto slow = clip("C0004.MP4", 20.4, "10:08:20:00", tenAM + 500);
    slow.slowMotion = true;
    auto slowAlone = clip("C0005.MP4", 3, "10:09:00:00", tenAM + 600);
    slowAlone.slowMotion = true;
    auto wav = clip("T001.WAV", 300, std::nullopt, tenAM + 800);
    wav.rate.reset();
    wav.startTCSeconds = 36'810.5;
    const auto plan = shoot.plan({
        wav,
        clip("C0001.MP4", 60, "10:01:41:00", tenAM + 100), // its log says 10:01:40
        clip("C0002.MP4", 30, std::nullopt, tenAM + 300),
        clip("C0003.MP4", 900, std::nullopt, tenAM + 400),
        slow,
        slowAlone,
    });
    EXPECT_EQ(outcomes(plan), (std::vector<Outcome>{
                                  {"C0001.MP4", Method::timecode, tenAM + 101, {}},
                                  {"C0002.MP4", Method::logged, tenAM + 300, {}},
                                  {"C0003.MP4", Method::unplaced, {}, noTimecode},
                                  {"C0004.MP4", Method::logged, tenAM + 500, {}},
                                  {"C0005.MP4", Method::unplaced, {}, slowMotion},
                                  {"T001.WAV", Method::timecode, tenAM + 810.5, {}},
                              }));
    EXPECT_EQ(plan.warnings, Notes{"1 logged recording(s) have no matching file."});
    ASSERT_EQ(plan.placed().size(), 4u);
    EXPECT_EQ(plan.placed()[1].file.name(), "C0002.MP4");
}

TEST(Plan, ScanTimecodeIsReadAtEachFilesOwnRate) {
    Shoot shoot; // a 25 fps session with a 29.97 camera
    shoot.scan(tenAM, "10:00:00:00");
    auto file = clip("C0001.MP4", 10, "10:00:10:00");
    file.rate = FrameRate{30, true};
    const auto plan = shoot.plan({file});
    ASSERT_TRUE(plan.clips[0].start);
    EXPECT_NEAR(*plan.clips[0].start, tenAM + 10.01, 1e-6);
}

TEST(Plan, CamerasWithoutScansOrFiles) {
    Shoot empty;
    empty.recording(tenAM, tenAM + 10);
    empty.recording(tenAM + 20, tenAM + 30);
    empty.lostRecording(tenAM + 40, tenAM + 50);
    const auto noFiles = empty.plan({});
    EXPECT_TRUE(noFiles.clips.empty());
    EXPECT_EQ(noFiles.warnings, Notes{"3 logged recording(s) have no matching file."});

    // Scans that cannot be read give no anchor: absent, not a timecode, or overflowing.
    Shoot unlogged;
    unlogged.event(SyncEvent::Kind::tcScan, tenAM);
    unlogged.scan(tenAM, "ten o'clock");
    unlogged.scan(tenAM, "-9999999999999999:00:00:00");
    const auto plan = unlogged.plan({clip("A.MP4", 10, "10:00:00:00"), clip("B.MP4", 10, {})});
    EXPECT_EQ(outcomes(plan),
              (std::vector<Outcome>{
                  {"A.MP4", Method::unplaced, {}, "No scan or log for this device."},
                  {"B.MP4", Method::unplaced, {}, noTimecode},
              }));
    EXPECT_TRUE(plan.warnings.empty());
}

TEST(Plan, LearnsTheTimecodeFromOneMatchedFile) {
    Shoot shoot;
    shoot.recording(tenAM, tenAM + 60);
    const auto matched = clip("C0001.MP4", 60.4, "10:00:00:00", tenAM);
    const auto plan = shoot.plan({
        matched,
        clip("C0002.MP4", 12, "11:00:00:00", tenAM + 3600),
        clip("C0003.MP4", 12, std::nullopt, tenAM + 4000),
    });
    EXPECT_EQ(outcomes(plan), (std::vector<Outcome>{
                                  {"C0001.MP4", Method::logged, tenAM, {}},
                                  {"C0002.MP4", Method::learned, tenAM + 3600, {}},
                                  {"C0003.MP4", Method::unplaced, {}, noTimecode},
                              }));
    EXPECT_EQ(plan.warnings, Notes{"Only one logged recording to learn this camera's timecode "
                                   "from. Check the clips marked TIMECODE + LOG."});

    // With every file matched there is nothing to learn for, and nothing to warn about.
    const auto all = shoot.plan({matched});
    EXPECT_EQ(outcomes(all), (std::vector<Outcome>{{"C0001.MP4", Method::logged, tenAM, {}}}));
    EXPECT_TRUE(all.warnings.empty());
}

TEST(Plan, LearnsFromSeveralMatchesOnlyWhenTheyAgree) {
    // The camera's clock gains a second over the 4000 s between the two recordings.
    Shoot drifting;
    drifting.recording(tenAM, tenAM + 60);
    drifting.recording(tenAM + 4001, tenAM + 4031);
    const std::vector files{
        clip("C0001.MP4", 60, "10:00:00:00", tenAM),
        clip("C0002.MP4", 200, "10:33:20:00", tenAM + 2000),
        clip("C0003.MP4", 30, "11:06:40:00", tenAM + 4001),
    };
    const auto learned = drifting.plan(files);
    EXPECT_EQ(outcomes(learned), (std::vector<Outcome>{
                                     {"C0001.MP4", Method::logged, tenAM, {}},
                                     {"C0002.MP4", Method::learned, tenAM + 2000.5, {}},
                                     {"C0003.MP4", Method::logged, tenAM + 4001, {}},
                                 }));
    EXPECT_TRUE(learned.warnings.empty());

    // Two seconds of disagreement: the timecode was stopped between takes.
    Shoot recRun;
    recRun.recording(tenAM, tenAM + 60);
    recRun.recording(tenAM + 4002, tenAM + 4032);
    const auto refused = recRun.plan(files);
    EXPECT_EQ(outcomes(refused), (std::vector<Outcome>{
                                     {"C0001.MP4", Method::logged, tenAM, {}},
                                     {"C0002.MP4", Method::unplaced, {}, noMatch},
                                     {"C0003.MP4", Method::logged, tenAM + 4002, {}},
                                 }));
    EXPECT_EQ(refused.warnings,
              Notes{"This camera's timecode does not follow the clock (not FREE RUN), so clips "
                    "shot while Bluetooth was down cannot be placed."});
    const auto allMatched = recRun.plan({files[0], files[2]});
    EXPECT_TRUE(allMatched.warnings.empty());
}

TEST(Plan, OpenEndedRecordingTakesTheFileItsTimecodePlacesWithinThreeSeconds) {
    Shoot shoot;
    shoot.recording(tenAM, tenAM + 60);
    shoot.recording(tenAM + 1000, tenAM + 1030);
    shoot.lostRecording(tenAM + 2000, tenAM + 2005);
    const auto plan = shoot.plan({
        clip("C0001.MP4", 60, "10:00:00:00", tenAM),
        clip("C0002.MP4", 30, "10:16:40:00", tenAM + 1000),
        clip("C0003.MP4", 100, "10:33:23:00", tenAM + 2002), // exactly 3 s off
        clip("C0004.MP4", 100, "10:33:21:00", tenAM + 2003),
    });
    // The taken file then teaches the clock too, one second off its recording's start.
    EXPECT_EQ(outcomes(plan), (std::vector<Outcome>{
                                  {"C0001.MP4", Method::logged, tenAM, {}},
                                  {"C0002.MP4", Method::logged, tenAM + 1000, {}},
                                  {"C0003.MP4", Method::learned, tenAM + 2002, {}},
                                  {"C0004.MP4", Method::logged, tenAM + 2000, {}},
                              }));
    EXPECT_TRUE(plan.warnings.empty());
}

TEST(Plan, OpenEndedRecordingWithoutAnchorsTakesALongEnoughFileBetweenItsNeighbours) {
    Shoot shoot;
    shoot.recording(tenAM, tenAM + 60);
    shoot.lostRecording(tenAM + 1000, tenAM + 1100); // known to have run 100 s at least
    shoot.recording(tenAM + 2000, tenAM + 2030);
    shoot.event(SyncEvent::Kind::recStart, tenAM + 3000); // never stopped
    const std::vector files{
        clip("C0001.MP4", 60, {}, tenAM),         clip("C0002.MP4", 89, {}, tenAM + 1000),
        clip("C0003.MP4", 90, {}, tenAM + 1001),  clip("C0004.MP4", 30, {}, tenAM + 2000),
        clip("C0005.MP4", 500, {}, tenAM + 3000),
    };
    // Without an end of logging the running recording lasts nothing, so any later file fits.
    const auto plan = shoot.plan(files);
    EXPECT_EQ(outcomes(plan), (std::vector<Outcome>{
                                  {"C0001.MP4", Method::logged, tenAM, {}},
                                  {"C0002.MP4", Method::unplaced, {}, noTimecode},
                                  {"C0003.MP4", Method::logged, tenAM + 1000, {}},
                                  {"C0004.MP4", Method::logged, tenAM + 2000, {}},
                                  {"C0005.MP4", Method::logged, tenAM + 3000, {}},
                              }));
    EXPECT_TRUE(plan.warnings.empty());

    // Logging ended 600 s in: the last file is 90 s short of that.
    shoot.doc.endedAt = tenAM + 3600;
    const auto ended = shoot.plan(files);
    EXPECT_EQ(ended.clips[4].note, noTimecode);
    EXPECT_EQ(ended.warnings, Notes{"1 logged recording(s) have no matching file."});
}

TEST(Plan, TimecodeResetMidSessionUsesTheScanNearestEachFile) {
    Shoot shoot;
    shoot.scan(tenAM, "10:00:00:00");
    shoot.scan(tenAM + 4000, "01:00:00:00"); // someone reset the camera's timecode
    const auto plan = shoot.plan({
        clip("C0001.MP4", 10, "10:01:00:00", tenAM + 60),
        clip("C0002.MP4", 10, "01:01:00:00", tenAM + 4060),
        clip("C0003.MP4", 10, "01:02:00:00"), // no date: the latest timecode decides
    });
    EXPECT_EQ(outcomes(plan), (std::vector<Outcome>{
                                  {"C0003.MP4", Method::timecode, day0 + 3720, {}},
                                  {"C0001.MP4", Method::timecode, tenAM + 60, {}},
                                  {"C0002.MP4", Method::timecode, tenAM + 4060, {}},
                              }));
    EXPECT_EQ(plan.warnings, Notes{"Timecode was changed during the session. Clips use the scan "
                                   "nearest their recording time."});
}

TEST(Plan, FilesAreOrderedByDateThenName) {
    Shoot shoot;
    const auto plan = shoot.plan({clip("B.MP4", 1, {}, 5), clip("A.MP4", 1, {}, 5),
                                  clip("Z.MP4", 1, {}), clip("C.MP4", 1, {}, 1)});
    std::vector<std::string> names;
    for (const auto& placed : plan.clips)
        names.push_back(placed.file.name());
    EXPECT_EQ(names, (std::vector<std::string>{"Z.MP4", "C.MP4", "A.MP4", "B.MP4"}));
}

} // namespace
} // namespace korvalume
