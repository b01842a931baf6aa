#include "session/session_doc.h"
#include "session_builders.h"

#include <gtest/gtest.h>

using namespace korvalume;
using namespace korvalume::testing;
using Kind = SyncEvent::Kind;

namespace {

// Camera 1's events at the given times, interleaved with camera 2's and session events
// that must not disturb its pairing.
SessionDoc withEvents(std::vector<std::pair<Kind, double>> ownEvents) {
    SessionDoc doc = session();
    doc.cameras = {camera(1, "CAM A"), camera(2, "CAM B")};
    unsigned n = 0;
    for (const auto& [kind, at] : ownEvents) {
        doc.events.push_back(event(++n, kind, at, 1));
        doc.events.push_back(event(++n, Kind::recStop, at, 2));
        doc.events.push_back(event(++n, Kind::recStart, at, 2));
        doc.events.push_back(event(++n, Kind::linkLost, at));
    }
    return doc;
}

LoggedClip clip(const SessionDoc& doc, std::size_t startIndex, std::optional<double> end,
                bool openEnded = false) {
    const auto& start = doc.events[startIndex];
    return LoggedClip{start.id, uuidNumber(1), start.at, end, openEnded};
}

} // namespace

TEST(LoggedRecordings, PairsStartsWithStopsAndLinkLosses) {
    // A repeated start keeps the first; a stop without a start is passed over.
    auto doc = withEvents({{Kind::recStop, 5},
                           {Kind::recStart, 10},
                           {Kind::recStart, 12},
                           {Kind::tcScan, 15},
                           {Kind::recStop, 20}});
    EXPECT_EQ(doc.clips(uuidNumber(1)), std::vector{clip(doc, 4, 20)});

    // A link loss closes the recording open-ended; the stop after it is ignored.
    doc = withEvents({{Kind::recStart, 10},
                      {Kind::linkLost, 15},
                      {Kind::recStop, 20},
                      {Kind::recStart, 30},
                      {Kind::recStop, 40}});
    EXPECT_EQ(doc.clips(uuidNumber(1)), (std::vector{clip(doc, 0, 15, true), clip(doc, 12, 40)}));
    EXPECT_FALSE(doc.isRolling(uuidNumber(1)));

    // A start with nothing after it is still running.
    doc = withEvents({{Kind::recStart, 10}, {Kind::recStop, 11}, {Kind::recStart, 20}});
    const auto clips = doc.clips(uuidNumber(1));
    EXPECT_EQ(clips, (std::vector{clip(doc, 0, 11), clip(doc, 8, std::nullopt)}));
    EXPECT_TRUE(doc.isRolling(uuidNumber(1)));
    EXPECT_EQ(clips.back().duration(25), 5);
    EXPECT_EQ(clips.front().duration(25), 1);

    EXPECT_TRUE(doc.clips(uuidNumber(3)).empty());
    EXPECT_FALSE(doc.isRolling(uuidNumber(3)));
}

TEST(LoggedRecordings, ScansAreTheCamerasOwnInStoredOrder) {
    SessionDoc doc = session();
    doc.events = {event(1, Kind::tcScan, 1, 1), event(2, Kind::tcScan, 2, 2),
                  event(3, Kind::marker, 3), event(4, Kind::tcScan, 4, 1),
                  event(5, Kind::recStart, 5, 1)};
    EXPECT_EQ(doc.scans(uuidNumber(1)), (std::vector{doc.events[0], doc.events[3]}));
}

TEST(LoggedRecordings, SummaryFollowsTheFirstRuleThatApplies) {
    SessionDoc doc = session();
    const Camera bluetooth = camera(1, "CAM A", Camera::Link::bluetooth);
    const Camera wifi = camera(2, "CAM B", Camera::Link::wifi);
    const Camera scanOnly = camera(3, "CAM C", Camera::Link::scan);
    doc.cameras = {bluetooth, wifi, scanOnly};

    EXPECT_EQ(doc.summary(bluetooth, 100), (CameraSummary{"STANDBY", false, false}));
    EXPECT_EQ(doc.summary(wifi, 100), (CameraSummary{"SCAN NEEDED", false, true}));

    doc.events = {event(1, Kind::tcScan, 10, 3), event(2, Kind::tcScan, 40, 3),
                  event(3, Kind::recStart, 50, 2), event(4, Kind::linkLost, 60, 1),
                  event(5, Kind::tcScan, 70, 1)};
    EXPECT_EQ(doc.summary(scanOnly, 100), (CameraSummary{"TC LOCKED 01:00 AGO", false, false}));
    EXPECT_EQ(doc.summary(wifi, 3700), (CameraSummary{"ROLLING 1:00:50", true, false}));
    // A scan after a link loss does not bring the link back.
    EXPECT_EQ(doc.summary(bluetooth, 100),
              (CameraSummary{"LINK LOST / USING TIMECODE", false, true}));

    doc.events.push_back(event(6, Kind::recStart, 80, 1));
    doc.events.push_back(event(7, Kind::recStop, 90, 1));
    EXPECT_EQ(doc.summary(bluetooth, 100), (CameraSummary{"STANDBY", false, false}));

    // Instants far apart in a damaged log don't end the process.
    doc.events = {event(8, Kind::recStart, -1.7e308, 1)};
    EXPECT_TRUE(doc.summary(bluetooth, 1.7e308).rolling);
}
