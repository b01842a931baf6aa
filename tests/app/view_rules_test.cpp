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

PlacedClip placed(std::optional<MasterInstant> at, double duration) {
    namespace build = korvalume::testing;
    auto file = build::movie("/cards/A/" + std::to_string(duration) + ".mp4", duration);
    return at ? build::placedAt(file, *at, PlacedClip::Method::logged) : build::notPlaced(file);
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
    CameraPlan plan{camera(1, "CAM A"), {placed(std::nullopt, 30)}, {}};
    EXPECT_EQ(chartSpan(doc, {plan}), (ChartSpan{start, start + 3600}));
    plan.clips.push_back(placed(start - 100, 50));
    plan.clips.push_back(placed(start + 3590, 20));
    EXPECT_EQ(chartSpan(doc, {plan}), (ChartSpan{start - 100, start + 3610}));

    doc.endedAt = start + 100;
    doc.events = {event(1, SyncEvent::Kind::marker, start + 50),
                  event(2, SyncEvent::Kind::marker, start + 150)};
    CameraPlan a{camera(1, "CAM A"), {placed(start + 25, 50), placed(std::nullopt, 10)}, {}};
    const ChartLayout layout = chartLayout(doc, {a, {camera(2, "CAM B"), {}, {}}});
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

TEST(ViewRules, LiveTextsAtAFixedTime) {
    SessionDoc doc = session();
    const LiveTexts texts = liveTexts(doc, start + 3599, true, {});
    EXPECT_EQ(texts.running, "RUNNING 59:59");
    EXPECT_EQ(liveTexts(doc, start + 3600, true, {}).running, "RUNNING 1:00:00");
    EXPECT_EQ(texts.timeOfDay, "10:46:39:00");
    EXPECT_EQ(texts.facts, "25 FPS / 0 DEVICES / 0 PHONES");
    EXPECT_EQ(liveTexts(doc, start, false, {}).clockState, "NOT LINKED / CLOCK");
    EXPECT_FALSE(texts.waitingTitle.empty() || texts.phonesEmpty.empty());

    // The first camera replaces the waiting note; a linked phone replaces "None yet".
    const Camera cam = camera(1, "CAM A");
    doc.cameras = {cam};
    doc.events = {event(1, SyncEvent::Kind::recStart, start + 10, 1),
                  event(2, SyncEvent::Kind::marker, start + 20)};
    const LiveTexts rolling = liveTexts(doc, start + 75, false, {"Ana's iPhone"});
    EXPECT_TRUE(rolling.waitingTitle.empty() && rolling.phonesEmpty.empty());
    EXPECT_EQ(rolling.facts, "25 FPS / 1 DEVICE / 1 PHONE");
    ASSERT_EQ(rolling.rows.size(), 1u);
    EXPECT_EQ(rolling.rows[0].kindLink, "CAMERA / BLUETOOTH");
    EXPECT_TRUE(rolling.rows[0].rolling);
    EXPECT_EQ(rolling.rows[0].status, summary(doc, cam, start + 75).text);
    EXPECT_EQ(rolling.rows[0].clips, "1 CLIP");
    EXPECT_EQ(rolling.rows[0].detail, "0 SCANS / 1 MARKER");
}

TEST(ViewRules, CameraCardFollowsItsFolderAndPlan) {
    const Camera cam = camera(2, "CAM B");
    EXPECT_FALSE(card(cam, "/cards/B", true, nullptr).status.empty()) << "reading";
    CameraPlan plan{cam, {}, {}};
    EXPECT_EQ(card(cam, "/cards/B", false, &plan).status,
              "No video or WAV files found in this folder.");
    PlacedClip lost = placed(std::nullopt, 12);
    lost.note = "No logged recording matches its length.";
    plan.clips = {placed(start + 5, 30), lost};
    plan.warnings = {"Scan CAM B's timecode once more."};
    const Card planned = card(cam, "/cards/B", false, &plan);
    EXPECT_TRUE(planned.status.empty());
    ASSERT_EQ(planned.clips.size(), 2u);
    EXPECT_TRUE(planned.clips[0].placed);
    EXPECT_EQ(planned.clips[1].method, "NOT PLACED");
    EXPECT_EQ(planned.clips[1].note, *lost.note);
    EXPECT_EQ(planned.warnings, plan.warnings);
}
