#include "app/view_rules.h"
#include "session/logged_recordings.h"

#include <gtest/gtest.h>

using namespace korvalume;
using namespace korvalume::ViewRules;

namespace {

constexpr double start = 1'763'200'000.0; // 2025-11-15 09:46:40 UTC

SessionDoc session() {
    SessionDoc doc;
    doc.id = Uuid::random();
    doc.name = "SHOOT 15 NOV";
    doc.fps = FrameRate::pal();
    doc.startedAt = start;
    doc.zone = 0;
    return doc;
}

Camera camera(const std::string& name) {
    Camera cam;
    cam.id = Uuid::random();
    cam.name = name;
    return cam;
}

PlacedClip placed(std::optional<double> at, double duration) {
    PlacedClip clip;
    clip.file.path = "/cards/A/" + std::to_string(duration) + ".mp4";
    clip.file.duration = duration;
    clip.start = at;
    clip.method = at ? PlacedClip::Method::logged : PlacedClip::Method::unplaced;
    return clip;
}

SyncEvent event(SyncEvent::Kind kind, double at, std::optional<Uuid> cameraID = std::nullopt) {
    SyncEvent e;
    e.id = Uuid::random();
    e.kind = kind;
    e.at = at;
    e.cameraID = cameraID;
    return e;
}

} // namespace

TEST(ViewRules, PanelAndStepsFollowTheModelState) {
    EXPECT_EQ(panel(false, false), Panel::welcome);
    EXPECT_EQ(panel(true, false), Panel::session);
    EXPECT_EQ(panel(true, true), Panel::live);
    EXPECT_EQ(steps(false, false).size(), 3u);
    EXPECT_EQ(steps(true, false)[1].title, "02 / CAMERA FOLDERS");
    EXPECT_TRUE(steps(true, true).empty());
    // Only the owner ends the session for everyone; anyone else only stops watching.
    EXPECT_EQ(liveSidebar(true).endButton, "END SESSION FOR EVERYONE");
    EXPECT_EQ(liveSidebar(false).endButton, "STOP WATCHING");
    EXPECT_EQ(endConfirmation(true).button, "End for everyone");
    EXPECT_EQ(endConfirmation(false).button, "Stop watching");
}

TEST(ViewRules, CombiningReportSeparatesLinesAndEndsWithReassurance) {
    EXPECT_EQ(combiningReport({"Added CAM B.", "Added 3 events."}),
              "Added CAM B.\n\nAdded 3 events.\n\nNothing was replaced.");
    EXPECT_EQ(combiningReport({}), "\n\nNothing was replaced.");
}

TEST(ViewRules, FactsCountDevicesLogsAndMarkersWithPlurals) {
    SessionDoc doc = session();
    EXPECT_EQ(sessionFacts(doc, 1), "25 FPS / 0 DEVICES / 1 LOG / 0 MARKERS");
    doc.fps = {30, true};
    doc.cameras = {camera("CAM A"), camera("CAM B")};
    doc.cameras[1].removed = true; // a removed camera is not counted
    doc.events = {event(SyncEvent::Kind::marker, start + 5)};
    EXPECT_EQ(sessionFacts(doc, 3), "29.97 FPS / 1 DEVICE / 3 LOGS / 1 MARKER");

    doc.zone = 3600;
    EXPECT_EQ(sessionStart(doc), "15 Nov 2025 / 10:46");
}

TEST(ViewRules, RateLookupRunsOverAllKnownRates) {
    EXPECT_EQ(initialRate(std::nullopt), FrameRate::pal());
    EXPECT_EQ(initialRate("29.97"), (FrameRate{30, true}));
    EXPECT_EQ(initialRate("nonsense"), FrameRate::pal());

    const FrameRate thirty = initialRate("30");
    EXPECT_EQ(thirty, (FrameRate{30, false}));
    const auto withThirty = rateChoices(thirty);
    ASSERT_EQ(withThirty.size(), 7u);
    EXPECT_EQ(withThirty[4], thirty); // between 29.97 and 50
    EXPECT_EQ(rateChoices(FrameRate::pal()).size(), 6u);
}

TEST(ViewRules, ChartSpanIsAtLeastAMinuteFromTheSessionStart) {
    SessionDoc doc = session();
    EXPECT_EQ(chartSpan(doc, {}), (ChartSpan{start, start + 60}));

    doc.endedAt = start + 3600;
    CameraPlan plan{camera("CAM A"), {placed(std::nullopt, 30)}, {}};
    // An unplaced clip changes nothing: the span runs to the session's end.
    EXPECT_EQ(chartSpan(doc, {plan}), (ChartSpan{start, start + 3600}));

    // A clip starting before the session moves t0 back; one running past the end moves t1.
    plan.clips.push_back(placed(start - 100, 50));
    plan.clips.push_back(placed(start + 3590, 20));
    EXPECT_EQ(chartSpan(doc, {plan}), (ChartSpan{start - 100, start + 3610}));
}

TEST(ViewRules, ChartLayoutGivesLaneFractionsAndUnclampedMarkers) {
    SessionDoc doc = session();
    doc.endedAt = start + 100;
    doc.events = {event(SyncEvent::Kind::marker, start + 50),
                  event(SyncEvent::Kind::marker, start + 150)};
    CameraPlan a{camera("CAM A"), {placed(start + 25, 50), placed(std::nullopt, 10)}, {}};
    CameraPlan b{camera("CAM B"), {}, {}};

    const ChartLayout layout = chartLayout(doc, {a, b});
    ASSERT_EQ(layout.lanes.size(), 2u);
    EXPECT_EQ(layout.lanes[0].name, "CAM A");
    ASSERT_EQ(layout.lanes[0].bars.size(), 1u); // unplaced clips are not drawn
    EXPECT_DOUBLE_EQ(layout.lanes[0].bars[0].x, 0.25);
    EXPECT_DOUBLE_EQ(layout.lanes[0].bars[0].width, 0.5);
    EXPECT_TRUE(layout.lanes[1].bars.empty());
    ASSERT_EQ(layout.markers.size(), 2u);
    EXPECT_DOUBLE_EQ(layout.markers[0], 0.5);
    EXPECT_DOUBLE_EQ(layout.markers[1], 1.5); // past the lane's end, not clamped

    EXPECT_TRUE(chartLayout(doc, {}).lanes.empty());
}

TEST(ViewRules, ShortClipsKeepAVisibleBar) {
    SessionDoc doc = session();
    doc.endedAt = start + 86400;
    CameraPlan plan{camera("CAM A"), {placed(start + 3600, 1)}, {}};
    const ChartBar bar = chartLayout(doc, {plan}).lanes[0].bars[0];
    EXPECT_DOUBLE_EQ(barWidth(bar, 800), 1.5);             // 0.009 points computed
    EXPECT_DOUBLE_EQ(barWidth({0, 1.5 / 800}, 800), 1.5);  // exactly 1.5 stays
    EXPECT_DOUBLE_EQ(barWidth({0, 0.25}, 800), 200);       // a long clip is to scale
    EXPECT_DOUBLE_EQ(barWidth({0, 0.25}, 4), minBarWidth); // a narrow lane still shows it
}

TEST(ViewRules, LiveTextsAtAFixedTime) {
    SessionDoc doc = session();
    const auto at = [&](double elapsed) { return liveTexts(doc, start + elapsed, true, {}); };

    LiveTexts texts = at(3599);
    EXPECT_EQ(texts.running, "RUNNING 59:59");
    EXPECT_EQ(at(3600).running, "RUNNING 1:00:00");
    EXPECT_EQ(texts.timeOfDay, "10:46:39:00");
    EXPECT_EQ(texts.facts, "25 FPS / 0 DEVICES / 0 PHONES");
    EXPECT_EQ(liveTexts(doc, start, false, {}).clockState, "NOT LINKED / CLOCK");
    EXPECT_FALSE(texts.waitingTitle.empty() || texts.phonesEmpty.empty());

    // The first camera replaces the waiting note; a linked phone replaces "None yet".
    Camera cam = camera("CAM A");
    doc.cameras = {cam};
    doc.events = {event(SyncEvent::Kind::recStart, start + 10, cam.id),
                  event(SyncEvent::Kind::marker, start + 20)};
    texts = liveTexts(doc, start + 75, false, {"Ana's iPhone"});
    EXPECT_TRUE(texts.waitingTitle.empty());
    EXPECT_TRUE(texts.phonesEmpty.empty());
    EXPECT_EQ(texts.facts, "25 FPS / 1 DEVICE / 1 PHONE");
    ASSERT_EQ(texts.rows.size(), 1u);
    EXPECT_EQ(texts.rows[0].kindLink, "CAMERA / BLUETOOTH");
    EXPECT_TRUE(texts.rows[0].rolling);
    EXPECT_EQ(texts.rows[0].status, summary(doc, cam, start + 75).text);
    EXPECT_EQ(texts.rows[0].clips, "1 CLIP");
    EXPECT_EQ(texts.rows[0].detail, "0 SCANS / 1 MARKER");
}

TEST(ViewRules, CameraCardFollowsItsFolderAndPlan) {
    const Camera cam = camera("CAM B");
    Card c = card(cam, std::nullopt, false, nullptr);
    EXPECT_EQ(c.folderButton, "CHOOSE FOLDER");
    EXPECT_TRUE(c.status.empty());

    c = card(cam, std::string("/cards/B"), true, nullptr);
    EXPECT_EQ(c.status, "READING CLIPS...");
    EXPECT_EQ(c.folderButton, "CHANGE FOLDER");

    CameraPlan plan{cam, {}, {}};
    EXPECT_EQ(card(cam, std::string("/cards/B"), false, &plan).status,
              "No video or WAV files found in this folder.");

    PlacedClip lost = placed(std::nullopt, 12);
    lost.note = "No logged recording matches its length.";
    plan.clips = {placed(start + 5, 30), lost};
    plan.warnings = {"Scan CAM B's timecode once more."};
    c = card(cam, std::string("/cards/B"), false, &plan);
    EXPECT_TRUE(c.status.empty());
    ASSERT_EQ(c.clips.size(), 2u);
    EXPECT_EQ(c.clips[0].method, "LOGGED");
    EXPECT_TRUE(c.clips[0].placed);
    EXPECT_EQ(c.clips[1].method, "NOT PLACED");
    EXPECT_EQ(c.clips[1].note, "No logged recording matches its length.");
    EXPECT_EQ(c.warnings, plan.warnings);
}
