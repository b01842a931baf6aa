#include "desk_test_support.h"
#include "support/shoot_builder.h"

#include "session/session_file.h"

#include <QFile>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

namespace korvalume {
namespace {

using namespace testing;

// A desk with one camera that rolled once, 2 s from `start`, in a finished log.
struct Planned {
    Desk desk;
    const double start = desk.wallClock - 50'000;
    const Uuid cam = uuidNumber(1);

    Planned() {
        SessionDoc doc = session("SHOOT 15 NOV", FrameRate::pal(), start - 60);
        doc.endedAt = MasterInstant(start + 600);
        doc.cameras.push_back(camera(1, "CAM A"));
        doc.events.push_back(event(1, SyncEvent::Kind::recStart, start, 1));
        doc.events.push_back(event(2, SyncEvent::Kind::recStop, start + 2, 1));
        const std::string log = desk.dir.file("shoot.korvalume");
        fixtures::writeFile(log, *sessionfile::encoded(doc));
        desk->open({log});
    }
    CardPlanner& planner() { return desk->planner(); }
    std::string card(const std::string& name, int movies) {
        const auto& mp4 =
            fixtures::cachedMovie({.container = fixtures::Container::Mp4, .seconds = 2});
        for (int i = 0; i < movies; ++i)
            std::filesystem::copy_file(
                mp4, desk.dir.file(name + "/C" + std::to_string(1000 + i) + ".MP4"));
        return desk.dir.path() + "/" + name;
    }
};

TEST(CardPlanner, AFolderReplacedBeforeItsReadEndsPlansOnlyTheLaterChoice) {
    Planned shoot;
    // The first card is the slower read, so its result comes in after the second's.
    const std::string slow = shoot.card("slow", 120), quick = shoot.card("quick", 1);
    ASSERT_TRUE(shoot.planner().setFolder(shoot.cam, slow));
    ASSERT_TRUE(shoot.planner().setFolder(shoot.cam, quick));
    EXPECT_TRUE(shoot.planner().isReading(shoot.cam));
    ASSERT_TRUE(shoot.desk.cardsRead());

    const auto plans = shoot.planner().cameraPlans();
    ASSERT_EQ(plans.size(), 1u);
    ASSERT_EQ(plans[0].clips.size(), 1u);
    EXPECT_EQ(plans[0].clips[0].file.name(), "C1000.MP4");
    EXPECT_EQ(plans[0].clips[0].method, PlacedClip::Method::logged);
    EXPECT_NEAR(*plans[0].clips[0].start - MasterInstant(shoot.start), 0, 1e-6);
    EXPECT_TRUE(shoot.planner().canExport());
}

TEST(CardPlanner, AReadThatEndsAfterTheLogWasClosedIsDropped) {
    Planned shoot;
    const std::string slow = shoot.card("slow", 60);
    const auto log = shoot.desk.dir.file("shoot.korvalume");
    ASSERT_TRUE(shoot.planner().setFolder(shoot.cam, slow));
    shoot.desk->clear();
    shoot.desk->open({log});
    ASSERT_TRUE(shoot.desk.cardsRead());
    EXPECT_TRUE(shoot.planner().plans().empty());
}

TEST(CardPlanner, RefusesWhatIsNotAFolderOfACameraInTheLog) {
    Planned shoot;
    const std::string file = shoot.card("card", 1) + "/C1000.MP4";
    const Status notAFolder = shoot.planner().setFolder(shoot.cam, file);
    EXPECT_EQ(notAFolder.message(), file + " is not a folder");
    EXPECT_EQ(shoot.planner().setFolder(uuidNumber(9), shoot.desk.dir.path()).kind(),
              ErrorKind::notFound);
    EXPECT_TRUE(shoot.planner().folders().empty()) << "a refused folder changes nothing";
    EXPECT_FALSE(shoot.planner().isReading(shoot.cam));
}

TEST(CardPlanner, ACardReadAgainRereadsOnlyTheFilesThatChanged) {
    Planned shoot;
    const std::string card = shoot.card("card", 2);
    ASSERT_TRUE(shoot.planner().setFolder(shoot.cam, card));
    ASSERT_TRUE(shoot.desk.cardsRead());
    // One file is replaced by a longer movie: it must be read afresh, the other not.
    const auto longer =
        fixtures::cachedMovie({.container = fixtures::Container::Mp4, .seconds = 3});
    const std::string changed = card + "/C1001.MP4";
    std::filesystem::remove(changed);
    std::this_thread::sleep_for(std::chrono::milliseconds(20)); // a new modification time
    std::filesystem::copy_file(longer, changed);
    std::filesystem::remove(card + "/C1000.MP4");
    ASSERT_TRUE(shoot.planner().setFolder(shoot.cam, card));
    ASSERT_TRUE(shoot.desk.cardsRead());
    const auto clips = shoot.planner().cameraPlans().front().clips;
    ASSERT_EQ(clips.size(), 1u);
    EXPECT_NEAR(clips[0].file.duration, 3, 0.1) << "a changed file is not taken from the cache";
}

TEST(CardPlanner, AChangedLogReplansOnlyTheCamerasItTouched) {
    Planned shoot;
    ASSERT_TRUE(shoot.planner().setFolder(shoot.cam, shoot.card("card", 1)));
    ASSERT_TRUE(shoot.desk.cardsRead());
    QSignalSpy replanned(&shoot.planner(), &CardPlanner::plansChanged);

    // A marker changes no plan.
    SessionDoc marked = shoot.desk.doc();
    addMarker(marked, shoot.start + 1, "MARK 1");
    shoot.desk->document().combine(marked);
    EXPECT_EQ(replanned.size(), 0);

    // A scan of the camera moves its clip to the scanned timecode.
    SessionDoc scanned = marked;
    scanned.events.push_back(event(7, SyncEvent::Kind::tcScan, shoot.start + 100, 1));
    scanned.events.back().timecode = "10:00:00:00";
    shoot.desk->document().combine(scanned);
    ASSERT_EQ(replanned.size(), 1);
    EXPECT_EQ(shoot.planner().cameraPlans().front().clips[0].method, PlacedClip::Method::timecode);
}

} // namespace
} // namespace korvalume
