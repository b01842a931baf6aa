#include "session/session_doc.h"
#include "session_builders.h"

#include <gtest/gtest.h>

using namespace korvalume;
using namespace korvalume::testing;
using Kind = SyncEvent::Kind;

namespace {

std::vector<double> times(const SessionDoc& doc) {
    std::vector<double> at;
    for (const auto& e : doc.events)
        at.push_back(e.at);
    return at;
}

} // namespace

TEST(Combining, NewerCamerasWinOnlyWhenStrictlyNewer) {
    SessionDoc doc = session();
    doc.cameras = {camera(1, "CAM A", Camera::Link::bluetooth, 10),
                   camera(2, "CAM B", Camera::Link::bluetooth, 10)};
    SessionDoc other = session();
    Camera removedNewer = camera(1, "CAM A2", Camera::Link::wifi, 11);
    removedNewer.removed = true;
    other.cameras = {camera(3, "SOUND A"), camera(2, "CAM B2", Camera::Link::scan, 10),
                     removedNewer};

    doc.merge(other);
    ASSERT_EQ(doc.cameras.size(), 3u);
    EXPECT_EQ(doc.cameras[0], removedNewer); // replaced whole, removed included
    EXPECT_EQ(doc.cameras[1].name, "CAM B"); // equal updatedAt: own version kept
    EXPECT_EQ(doc.cameras[1].link, Camera::Link::bluetooth);
    EXPECT_EQ(doc.cameras[2].name, "SOUND A"); // new ones appended
}

TEST(Combining, EventsAreAddedByIdNeverReplacedAndSortedStably) {
    SessionDoc doc = session();
    doc.events = {event(1, Kind::recStart, 10, 1), event(2, Kind::marker, 20),
                  event(3, Kind::recStop, 30, 1)};
    SessionDoc other = session();
    SyncEvent changed = event(2, Kind::marker, 5); // same id, other contents
    changed.label = "moved";
    other.events = {event(5, Kind::tcScan, 30, 1), changed, event(4, Kind::marker, 20),
                    event(6, Kind::marker, 1)};

    doc.merge(other);
    EXPECT_EQ(times(doc), (std::vector<double>{1, 10, 20, 20, 30, 30}));
    // Equal times keep this document's events first, then the other's in its order.
    EXPECT_EQ(doc.events[2], event(2, Kind::marker, 20));
    EXPECT_EQ(doc.events[3].id, uuidNumber(1000004));
    EXPECT_EQ(doc.events[4].id, uuidNumber(1000003));
    EXPECT_EQ(doc.events[5].id, uuidNumber(1000005));

    // Own events out of order are sorted too.
    SessionDoc unsorted = session();
    unsorted.events = {event(1, Kind::marker, 9), event(2, Kind::marker, 3)};
    SessionDoc more = session();
    more.events = {event(3, Kind::marker, 5)};
    unsorted.merge(more);
    EXPECT_EQ(times(unsorted), (std::vector<double>{3, 5, 9}));
}

TEST(Combining, EndTimesOwnerAndIdentity) {
    SessionDoc doc = session();
    doc.zone = 3600;
    SessionDoc other = session("OTHER NAME");
    other.fps = FrameRate{30, true};
    other.startedAt = 5;
    other.zone = -3600;
    other.ownerID = "DESK";
    other.endedAt = 100;
    other.endedForAll = 90;

    doc.merge(other);
    EXPECT_EQ(doc.endedAt, 100);
    EXPECT_EQ(doc.endedForAll, 90);
    EXPECT_EQ(doc.ownerID, "DESK");
    EXPECT_EQ(doc.name, "SHOOT 15 NOV");
    EXPECT_EQ(doc.fps, (FrameRate{25, false}));
    EXPECT_EQ(doc.startedAt, 1700000000);
    EXPECT_EQ(doc.zone, 3600);

    other.endedAt = 50;
    other.endedForAll.reset();
    other.ownerID = "PHONE";
    doc.merge(other);
    EXPECT_EQ(doc.endedAt, 100); // the later end stays
    EXPECT_EQ(doc.endedForAll, 90);
    EXPECT_EQ(doc.ownerID, "DESK");

    // Live combining keeps this document's own end, present or absent.
    SessionDoc live = session();
    live.mergeLive(other);
    EXPECT_FALSE(live.endedAt);
    live.endedAt = 10;
    live.mergeLive(other);
    EXPECT_EQ(live.endedAt, 10);

    // Another session changes nothing.
    SessionDoc stranger = other;
    stranger.id = uuidNumber(77);
    stranger.events = {event(1, Kind::marker, 1)};
    const SessionDoc before = doc;
    doc.merge(stranger);
    EXPECT_EQ(doc, before);
}

TEST(Combining, CoversWhenTheOtherAddsNothingButItsEnd) {
    SessionDoc doc = session();
    doc.cameras = {camera(1, "CAM A", Camera::Link::bluetooth, 10)};
    doc.events = {event(1, Kind::recStart, 10, 1)};
    EXPECT_TRUE(doc.covers(doc));

    SessionDoc finished = doc;
    finished.endedAt = 500;
    EXPECT_TRUE(doc.covers(finished));
    finished.endedForAll = 500;
    EXPECT_FALSE(doc.covers(finished));

    SessionDoc renamed = doc;
    renamed.cameras[0].name = "CAM Z";
    EXPECT_TRUE(doc.covers(renamed)); // not newer: it would be ignored
    renamed.cameras[0].updatedAt = 11;
    EXPECT_FALSE(doc.covers(renamed));

    SessionDoc moreEvents = doc;
    moreEvents.events.push_back(event(2, Kind::recStop, 20, 1));
    EXPECT_FALSE(doc.covers(moreEvents));
    EXPECT_TRUE(moreEvents.covers(doc));
}

TEST(Combining, FinishClosesThisDevicesRollingCamerasOpenEnded) {
    SessionDoc doc = session();
    Camera mine = camera(1, "CAM A");
    mine.ownerID = "PHONE-1";
    Camera mineStopped = camera(2, "CAM B");
    mineStopped.ownerID = "PHONE-1";
    Camera mineRemoved = camera(3, "CAM C");
    mineRemoved.ownerID = "PHONE-1";
    mineRemoved.removed = true;
    Camera theirs = camera(4, "CAM D");
    theirs.ownerID = "PHONE-2";
    doc.cameras = {mine, mineStopped, mineRemoved, theirs};
    doc.events = {event(1, Kind::recStart, 10, 1), event(2, Kind::recStart, 10, 2),
                  event(3, Kind::recStop, 20, 2),  event(4, Kind::recStart, 10, 3),
                  event(5, Kind::recStart, 10, 4), event(6, Kind::marker, 200)};

    EXPECT_TRUE(doc.finish("PHONE-1", 100, FinishScope::thisDevice));
    EXPECT_EQ(doc.endedAt, 100);
    EXPECT_FALSE(doc.endedForAll);
    ASSERT_EQ(doc.events.size(), 7u);
    const SyncEvent& added = doc.events[5]; // sorted in before the marker at 200
    EXPECT_EQ(added.kind, Kind::linkLost);
    EXPECT_EQ(added.cameraID, uuidNumber(1));
    EXPECT_EQ(added.at, 100);
    EXPECT_FALSE(added.timecode);
    EXPECT_FALSE(added.label);
    const auto clips = doc.clips(uuidNumber(1));
    ASSERT_EQ(clips.size(), 1u);
    EXPECT_EQ(clips[0].end, 100);
    EXPECT_TRUE(clips[0].openEnded);
    EXPECT_TRUE(doc.isRolling(uuidNumber(3))); // removed cameras are left alone
    EXPECT_TRUE(doc.isRolling(uuidNumber(4))); // another phone's camera too

    // Finishing again only records the end for everyone.
    const auto eventsBefore = doc.events;
    EXPECT_FALSE(doc.finish("PHONE-2", 300, FinishScope::everyone));
    EXPECT_EQ(doc.endedForAll, 300);
    EXPECT_EQ(doc.endedAt, 100);
    EXPECT_EQ(doc.events, eventsBefore);
    EXPECT_FALSE(doc.finish("PHONE-2", 400, FinishScope::everyone));
    EXPECT_EQ(doc.endedForAll, 300);
}

TEST(CombiningReport, SaysWhatEachCameraGainedInPlainWords) {
    SessionDoc doc = session();
    doc.cameras = {camera(1, "CAM A", Camera::Link::bluetooth, 10),
                   camera(2, "CAM B", Camera::Link::bluetooth, 10),
                   camera(3, "CAM C", Camera::Link::bluetooth, 10)};
    doc.events = {event(1, Kind::recStart, 1, 1)};

    SessionDoc other = session();
    Camera gone = camera(9, "CAM GONE");
    gone.removed = true;
    other.cameras = {camera(1, "CAM A2", Camera::Link::bluetooth, 11),
                     camera(2, "CAM B2", Camera::Link::bluetooth, 10),
                     camera(3, "CAM C", Camera::Link::bluetooth, 3),
                     camera(4, "SOUND A"),
                     camera(5, "SOUND B"),
                     gone};
    other.events = {event(1, Kind::recStart, 1, 1), // already here: not counted
                    event(2, Kind::recStart, 2, 1), event(3, Kind::recStart, 3, 1),
                    event(4, Kind::tcScan, 4, 1),   event(5, Kind::tcScan, 5, 2),
                    event(6, Kind::recStop, 6, 2),  event(7, Kind::recStart, 7, 4),
                    event(8, Kind::marker, 8),      event(9, Kind::marker, 9),
                    event(10, Kind::marker, 10),    event(11, Kind::recStart, 11, 9)};

    EXPECT_EQ(doc.report(other),
              (std::vector<std::string>{
                  "CAM A is already in this session. Added 2 recordings and 1 timecode scan "
                  "that weren't here. Renamed to CAM A2, the newer name.",
                  "CAM B is already in this session. Added 1 timecode scan that wasn't here. "
                  "Kept the name CAM B, which is newer than CAM B2.",
                  "CAM C is already in this session. This log had nothing new for it.",
                  "SOUND A is new to this session, with 1 recording.",
                  "SOUND B is new to this session.",
                  "Added 3 markers.",
              }));
}

TEST(CombiningReport, ALogWithNothingToSayAndALogCombinedWithItself) {
    SessionDoc doc = session();
    doc.cameras = {camera(1, "CAM A")};
    doc.events = {event(1, Kind::recStart, 1, 1), event(2, Kind::marker, 2)};
    EXPECT_EQ(doc.report(doc),
              std::vector<std::string>{"CAM A is already in this session. This log had nothing "
                                       "new for it."});

    SessionDoc removedOnly = session();
    removedOnly.cameras = {camera(5, "CAM X")};
    removedOnly.cameras[0].removed = true;
    removedOnly.events = {event(2, Kind::marker, 2), event(3, Kind::recStart, 3, 5)};
    EXPECT_EQ(doc.report(removedOnly),
              std::vector<std::string>{"This log had no cameras or markers in it."});

    removedOnly.events.push_back(event(4, Kind::marker, 4));
    EXPECT_EQ(doc.report(removedOnly), std::vector<std::string>{"Added 1 marker."});

    SessionDoc oneRecording = doc;
    oneRecording.events.push_back(event(5, Kind::recStart, 5, 1));
    EXPECT_EQ(doc.report(oneRecording),
              std::vector<std::string>{"CAM A is already in this session. Added 1 recording "
                                       "that wasn't here."});
}
