#include "session/camera_activity.h"
#include "session/logged_recordings.h"
#include "support/shoot_builder.h"

#include <gtest/gtest.h>

using namespace korvalume;
using namespace korvalume::testing;
using enum SyncEvent::Kind;

namespace {

// Camera 1's events, interleaved with camera 2's and session events that must not
// disturb its pairing.
SessionDoc logOf(std::vector<std::pair<SyncEvent::Kind, double>> ownEvents) {
    SessionDoc doc = session();
    unsigned n = 0;
    for (const auto& [kind, at] : ownEvents) {
        doc.events.push_back(event(++n, kind, at, 1));
        doc.events.push_back(event(++n, recStop, at, 2));
        doc.events.push_back(event(++n, recStart, at, 2));
        doc.events.push_back(event(++n, linkLost, at));
    }
    return doc;
}

// The recording opened by camera 1's own event number `ownIndex`.
LoggedClip clip(const SessionDoc& doc, std::size_t ownIndex, std::optional<double> end,
                bool openEnded = false) {
    const auto& start = doc.events[ownIndex * 4];
    return LoggedClip{start.id, uuidNumber(1), start.at,
                      end ? std::optional(MasterInstant(*end)) : std::nullopt, openEnded};
}

} // namespace

TEST(LoggedRecordings, PairsStartsWithStopsAndLinkLosses) {
    // A repeated start keeps the first; a stop without a start is passed over.
    auto doc = logOf({{recStop, 5}, {recStart, 10}, {recStart, 12}, {tcScan, 15}, {recStop, 20}});
    EXPECT_EQ(clips(doc, uuidNumber(1)), std::vector{clip(doc, 1, 20)});

    // A link loss closes the recording open-ended; the stop after it is ignored.
    doc = logOf({{recStart, 10}, {linkLost, 15}, {recStop, 20}, {recStart, 30}, {recStop, 40}});
    EXPECT_EQ(clips(doc, uuidNumber(1)), (std::vector{clip(doc, 0, 15, true), clip(doc, 3, 40)}));

    // A start with nothing after it is still running.
    doc = logOf({{recStart, 10}, {recStop, 11}, {recStart, 20}});
    EXPECT_EQ(clips(doc, uuidNumber(1)), (std::vector{clip(doc, 0, 11), clip(doc, 2, {})}));
}

TEST(CameraActivity, StatusFollowsTheFirstRuleThatApplies) {
    SessionDoc doc = session();
    const Camera bluetooth = camera(1, "CAM A", Camera::Link::bluetooth);
    const Camera wifi = camera(2, "CAM B", Camera::Link::wifi);
    const Camera scanOnly = camera(3, "CAM C", Camera::Link::scan);
    const std::vector ids{bluetooth.id, wifi.id, scanOnly.id};
    const auto statusAt = [&](const Camera& cam, double now) {
        return status(cam, activities(doc, ids).at(cam.id), MasterInstant(now));
    };
    using State = CameraStatus::State;
    EXPECT_EQ(statusAt(bluetooth, 100), (CameraStatus{State::standby, 0}));
    EXPECT_EQ(statusAt(wifi, 100), (CameraStatus{State::scanNeeded, 0}));

    doc.events = {event(1, tcScan, 10, 3), event(2, tcScan, 40, 3), event(3, recStart, 50, 2),
                  event(4, linkLost, 60, 1), event(5, tcScan, 70, 1)};
    EXPECT_EQ(statusAt(scanOnly, 100), (CameraStatus{State::timecodeLocked, 60}));
    EXPECT_EQ(statusAt(wifi, 3700), (CameraStatus{State::rolling, 3650}));
    // A scan after a link loss does not bring the link back; a recording after it does.
    EXPECT_EQ(statusAt(bluetooth, 100), (CameraStatus{State::linkLost, 0}));
    doc.events.push_back(event(6, recStart, 80, 1));
    doc.events.push_back(event(7, recStop, 90, 1));
    EXPECT_EQ(statusAt(bluetooth, 100), (CameraStatus{State::standby, 0}));
    EXPECT_EQ(activities(doc, ids).at(bluetooth.id).recordings, clips(doc, bluetooth.id).size());
}
