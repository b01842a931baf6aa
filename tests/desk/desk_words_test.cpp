#include "desk/desk_words.h"
#include "support/shoot_builder.h"

#include <gtest/gtest.h>

#include <limits>

namespace korvalume {
namespace {

using namespace testing;
using Link = Camera::Link;
constexpr auto recStart = SyncEvent::Kind::recStart;
constexpr auto recStop = SyncEvent::Kind::recStop;
constexpr auto tcScan = SyncEvent::Kind::tcScan;
constexpr auto marker = SyncEvent::Kind::marker;

TEST(DeskWords, ACombiningReportSaysWhatEachCameraGained) {
    SessionDoc doc = session();
    doc.cameras = {camera(1, "CAM A"), camera(2, "CAM B")};
    doc.events = {event(1, recStart, 1, 1)};
    SessionDoc other = session();
    Camera gone = camera(9, "CAM GONE");
    gone.removed = true;
    other.cameras = {camera(1, "CAM A2", Link::bluetooth, 1), camera(2, "CAM B2"),
                     camera(4, "SOUND A"), camera(5, "SOUND B"), gone};
    other.events = {event(1, recStart, 1, 1), // already here: not counted
                    event(2, recStart, 2, 1),  event(3, recStart, 3, 1), event(4, tcScan, 4, 1),
                    event(5, tcScan, 5, 2),    event(6, recStop, 6, 2),  event(7, recStart, 7, 4),
                    event(8, marker, 8),       event(9, marker, 9),      event(10, marker, 10),
                    event(11, recStart, 11, 9)};
    EXPECT_EQ(words::lines(report(doc, other)),
              (std::vector<std::string>{
                  "CAM A is already in this session. Added 2 recordings and 1 timecode scan "
                  "that weren't here. Renamed to CAM A2, the newer name.",
                  "CAM B is already in this session. Added 1 timecode scan that wasn't here. "
                  "Kept the name CAM B, which is newer than CAM B2.",
                  "SOUND A is new to this session, with 1 recording.",
                  "SOUND B is new to this session.", "Added 3 markers."}));

    // Combined with itself: nothing new and no marker line.
    doc.events.push_back(event(12, marker, 12));
    const std::string nothingNew = " is already in this session. This log had nothing new for it.";
    EXPECT_EQ(words::lines(report(doc, doc)),
              (std::vector{"CAM A" + nothingNew, "CAM B" + nothingNew}));
    other.cameras = {gone};
    other.events = {event(12, marker, 12), event(13, recStart, 13, 9)};
    EXPECT_EQ(words::lines(report(doc, other)),
              std::vector<std::string>{"This log had no cameras or markers in it."});
}

TEST(DeskWords, AnEndlessRunningTimeIsWordedNotFatal) {
    const double endless = std::numeric_limits<double>::infinity();
    EXPECT_FALSE(words::text(CameraStatus{CameraStatus::State::rolling, endless}).empty());
    EXPECT_EQ(words::text(CameraStatus{CameraStatus::State::timecodeLocked, 61}),
              "TC LOCKED 01:01 AGO");
}

} // namespace
} // namespace korvalume
