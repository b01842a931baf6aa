#include "app/view_rules.h"
#include "session/logged_recordings.h"
#include "support/shoot_builder.h"

#include <gtest/gtest.h>

using namespace korvalume;
using namespace korvalume::viewrules;

namespace {

constexpr MasterInstant start(1'763'200'000.0); // 2025-11-15 09:46:40 UTC

using korvalume::testing::camera;
using korvalume::testing::event;

SessionDoc session() {
    return korvalume::testing::session("SHOOT 15 NOV", FrameRate::pal(), start, 0);
}

ClipLine placed(std::optional<MasterInstant> at, double duration) {
    return {std::to_string(duration) + ".mp4", at ? "LOGGED" : "NOT PLACED", at, duration,
            at ? "" : "No timecode found in this file."};
}

PlanLines lines(const Camera& camera, std::vector<ClipLine> clips) {
    return {camera.id, camera.name, std::move(clips), {}};
}

} // namespace

TEST(ViewRules, FactsCountActiveDevicesWithPluralsAndRatesIncludeTheRemembered) {
    SessionDoc doc = session();
    EXPECT_EQ(sessionFacts(doc, 1), "25 FPS / 0 DEVICES / 1 LOG / 0 MARKERS");
    doc.fps = {30, true};
    doc.cameras = {camera(1, "CAM A"), camera(2, "CAM B")};
    doc.cameras[1].removed = true;
    doc.events = {event(1, SyncEvent::Kind::marker, start + 5)};
    EXPECT_EQ(sessionFacts(doc, 3), "29.97 FPS / 1 DEVICE / 3 LOGS / 1 MARKER");
    doc.zone = 3600;
    EXPECT_EQ(sessionStart(doc), "15 Nov 2025 / 10:46");

    EXPECT_EQ(initialRate("nonsense"), FrameRate::pal());
    // A remembered rate that is not offered by default joins the list in its place.
    const auto withThirty = rateChoices(initialRate("30"));
    ASSERT_EQ(withThirty.size(), rateChoices(FrameRate::pal()).size() + 1);
    EXPECT_EQ(withThirty[4], (FrameRate{30, false})); // between 29.97 and 50
}

TEST(ViewRules, ChartSpansTheSessionAndItsClipsAndPlacesBarsAndMarkers) {
    SessionDoc doc = session();
    EXPECT_EQ(chartSpan(doc, {}), (ChartSpan{start, start + 60})) << "a minute at least";
    doc.endedAt = start + 3600;
    PlanLines plan = lines(camera(1, "CAM A"), {placed(std::nullopt, 30)});
    EXPECT_EQ(chartSpan(doc, {plan}), (ChartSpan{start, start + 3600}));
    plan.clips.push_back(placed(start - 100, 50));
    plan.clips.push_back(placed(start + 3590, 20));
    EXPECT_EQ(chartSpan(doc, {plan}), (ChartSpan{start - 100, start + 3610}));

    doc.endedAt = start + 100;
    doc.events = {event(1, SyncEvent::Kind::marker, start + 50),
                  event(2, SyncEvent::Kind::marker, start + 150)};
    const PlanLines a =
        lines(camera(1, "CAM A"), {placed(start + 25, 50), placed(std::nullopt, 10)});
    const ChartLayout layout = chartLayout(doc, {a, lines(camera(2, "CAM B"), {})});
    ASSERT_EQ(layout.lanes.size(), 2u);
    ASSERT_EQ(layout.lanes[0].bars.size(), 1u) << "unplaced clips are not drawn";
    EXPECT_DOUBLE_EQ(layout.lanes[0].bars[0].x, 0.25);
    EXPECT_DOUBLE_EQ(layout.lanes[0].bars[0].width, 0.5);
    EXPECT_TRUE(layout.lanes[1].bars.empty());
    EXPECT_EQ(layout.markers, (std::vector<double>{0.5, 1.5})) << "past the end, not clamped";

    // A one-second clip in a day still shows; a long one is to scale.
    EXPECT_DOUBLE_EQ(barWidth({0, 1.0 / 86400}, 800), 1.5);
    EXPECT_DOUBLE_EQ(barWidth({0, 0.25}, 800), 200);
    EXPECT_DOUBLE_EQ(barWidth({0, 0.25}, 4), minBarWidth);
}

TEST(ViewRules, LiveHeaderRunsFromTheSessionsStartInItsZone) {
    const SessionDoc doc = session();
    const LiveHeader header = liveHeader(doc, 0, 0, true, start + 3599);
    EXPECT_EQ(header.running, "RUNNING 59:59");
    EXPECT_EQ(liveHeader(doc, 0, 0, true, start + 3600).running, "RUNNING 1:00:00");
    EXPECT_EQ(header.timeOfDay, "10:46:39:00");
    EXPECT_EQ(header.facts, "25 FPS / 0 DEVICES / 0 PHONES");
    EXPECT_EQ(liveHeader(doc, 1, 1, false, start).facts, "25 FPS / 1 DEVICE / 1 PHONE");
    EXPECT_EQ(liveHeader(doc, 0, 0, false, start).clockState, "NOT LINKED / CLOCK");
}

TEST(ViewRules, LiveRowsSayWhatEachCameraIsDoing) {
    SessionDoc doc = session();
    const Camera bluetooth = camera(1, "CAM A", Camera::Link::bluetooth);
    const Camera wifi = camera(2, "CAM B", Camera::Link::wifi);
    const Camera scanOnly = camera(3, "CAM C", Camera::Link::scan);
    doc.events = {event(1, SyncEvent::Kind::tcScan, start + 10, 3),
                  event(2, SyncEvent::Kind::tcScan, start + 40, 3),
                  event(3, SyncEvent::Kind::recStart, start + 50, 2),
                  event(4, SyncEvent::Kind::linkLost, start + 60, 1),
                  event(5, SyncEvent::Kind::tcScan, start + 70, 1)};
    doc.events[1].timecode = "10:00:01:00";
    const auto seen = activities(doc, std::vector{bluetooth.id, wifi.id, scanOnly.id});
    const auto row = [&](const Camera& cam, double at) {
        return liveRow(cam, seen.at(cam.id), 1, start + at);
    };
    EXPECT_EQ(row(scanOnly, 100).status, "TC LOCKED 01:00 AGO");
    EXPECT_EQ(row(scanOnly, 100).detail, "2 SCANS / LAST 10:00:01:00 / 1 MARKER");
    EXPECT_EQ(row(wifi, 3700).status, "ROLLING 1:00:50");
    EXPECT_TRUE(row(wifi, 3700).rolling);
    EXPECT_EQ(row(wifi, 3700).clips, "1 CLIP");
    // A scan after a link loss does not bring the link back.
    EXPECT_EQ(row(bluetooth, 100).status, "LINK LOST / USING TIMECODE");
    EXPECT_TRUE(row(bluetooth, 100).warning);
    EXPECT_EQ(liveRow(wifi, CameraActivity{}, 0, start).status, "SCAN NEEDED");
    EXPECT_EQ(liveRow(bluetooth, CameraActivity{}, 0, start).status, "STANDBY");
}

TEST(ViewRules, CameraCardFollowsItsFolderAndPlan) {
    const Camera cam = camera(2, "CAM B");
    EXPECT_FALSE(card(cam, "/cards/B", true, nullptr).status.empty()) << "reading";
    PlanLines plan = lines(cam, {});
    EXPECT_EQ(card(cam, "/cards/B", false, &plan).status,
              "No video or WAV files found in this folder.");
    plan.clips = {placed(start + 5, 30), placed(std::nullopt, 12)};
    plan.warnings = {"Scan CAM B's timecode once more."};
    const Card planned = card(cam, "/cards/B", false, &plan);
    EXPECT_TRUE(planned.status.empty());
    ASSERT_EQ(planned.clips.size(), 2u);
    EXPECT_TRUE(planned.clips[0].placed);
    EXPECT_EQ(planned.clips[1].method, "NOT PLACED");
    EXPECT_EQ(planned.clips[1].note, "No timecode found in this file.");
    EXPECT_EQ(planned.warnings, plan.warnings);
}
