#include "session/combining.h"
#include "support/shoot_builder.h"

#include <gtest/gtest.h>

using namespace korvalume;
using namespace korvalume::testing;
using enum SyncEvent::Kind;
using Link = Camera::Link;

TEST(Combining, AddsEventsByIdAndReplacesOnlyStrictlyNewerCameras) {
    SessionDoc doc = session(); // own events out of order get sorted too
    doc.cameras = {camera(1, "CAM A", Link::bluetooth, 10), camera(2, "CAM B", Link::wifi, 10)};
    doc.events = {event(1, recStart, 10, 1), event(3, recStop, 30, 1), event(2, marker, 20)};
    SessionDoc other = session();
    Camera removedNewer = camera(1, "CAM A2", Link::wifi, 11);
    removedNewer.removed = true;
    other.cameras = {camera(3, "SOUND A"), camera(2, "CAM B2", Link::scan, 10), removedNewer};
    other.events = {event(5, tcScan, 30, 1), event(2, recStop, 5, 1), event(4, marker, 20),
                    event(6, marker, 1)};
    merge(doc, other);
    // Replaced whole, removal included; an equal updatedAt keeps our own; new ones appended.
    EXPECT_EQ(doc.cameras, (std::vector{removedNewer, camera(2, "CAM B", Link::wifi, 10),
                                        camera(3, "SOUND A")}));
    // An event already here is never replaced. Equal times keep this document's events
    // first, then the other's in its order.
    EXPECT_EQ(doc.events, (std::vector{event(6, marker, 1), event(1, recStart, 10, 1),
                                       event(2, marker, 20), event(4, marker, 20),
                                       event(3, recStop, 30, 1), event(5, tcScan, 30, 1)}));
}

TEST(Combining, KeepsIdentityTakesTheLaterEndAndIgnoresOtherSessions) {
    SessionDoc doc = session("SHOOT 15 NOV", FrameRate::pal(), 1'700'000'000, 3600);
    SessionDoc other = session("OTHER NAME", FrameRate{30, true}, 1, -3600);
    other.ownerID = "DESK";
    other.endedAt = MasterInstant(100);
    other.endedForAll = MasterInstant(90);
    SessionDoc expected = doc;
    expected.ownerID = "DESK";
    expected.endedAt = MasterInstant(100);
    expected.endedForAll = MasterInstant(90);
    merge(doc, other);
    other.endedAt = MasterInstant(50);
    other.ownerID = "PHONE"; // an owner, once known, stays
    merge(doc, other);
    other.id = uuidNumber(77);
    other.events = {event(1, marker, 1)};
    other.endedAt = MasterInstant(200);
    merge(doc, other);
    EXPECT_EQ(doc, expected);

    // Live combining keeps this document's own end, present or absent.
    SessionDoc live = session();
    mergeLive(live, expected);
    EXPECT_FALSE(live.endedAt);
    live.endedAt = MasterInstant(10);
    mergeLive(live, expected);
    EXPECT_EQ(live.endedAt, MasterInstant(10));
}

TEST(Combining, CoversWhenTheOtherAddsNothingButItsEnd) {
    SessionDoc doc = session();
    doc.events = {event(1, recStart, 10, 1)};
    SessionDoc other = doc;
    other.endedAt = MasterInstant(500);
    EXPECT_TRUE(covers(doc, other));
    other.endedForAll = MasterInstant(500);
    EXPECT_FALSE(covers(doc, other));
    other = doc;
    other.events.push_back(event(2, recStop, 20, 1));
    EXPECT_FALSE(covers(doc, other));
    EXPECT_TRUE(covers(other, doc));
}

TEST(Combining, FinishClosesThisDevicesRollingCamerasOpenEnded) {
    SessionDoc doc = session();
    doc.cameras = {camera(1, "CAM A"), camera(2, "CAM B"), camera(3, "CAM C"), camera(4, "CAM D")};
    for (auto& c : doc.cameras)
        c.ownerID = "PHONE-1";
    doc.cameras[2].removed = true;
    doc.cameras[3].ownerID = "PHONE-2";
    doc.events = {event(1, recStart, 10, 1), event(2, recStart, 10, 2), event(3, recStart, 10, 3),
                  event(4, recStart, 10, 4), event(5, recStop, 20, 2),  event(6, marker, 200)};
    SessionDoc expected = doc;
    expected.endedAt = MasterInstant(100);

    EXPECT_TRUE(finish(doc, "PHONE-1", MasterInstant(100), FinishScope::thisDevice));
    ASSERT_EQ(doc.events.size(), 7u); // only CAM A's recording closes, with a fresh id
    expected.events.insert(
        expected.events.begin() + 5,
        SyncEvent{doc.events[5].id, uuidNumber(1), linkLost, MasterInstant(100), {}, {}});
    EXPECT_EQ(doc, expected);

    // Finishing again only records the end for everyone, once.
    EXPECT_FALSE(finish(doc, "PHONE-2", MasterInstant(300), FinishScope::everyone));
    EXPECT_FALSE(finish(doc, "PHONE-2", MasterInstant(400), FinishScope::everyone));
    expected.endedForAll = MasterInstant(300);
    EXPECT_EQ(doc, expected);
}
