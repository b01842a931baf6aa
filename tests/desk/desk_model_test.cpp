#include "desk/desk_rules.h"
#include "desk_test_support.h"
#include "live/peer_test_support.h"
#include "support/shoot_builder.h"

#include "session/combining.h"
#include "session/session_file.h"
#include "sync/placed_clip.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include <filesystem>

namespace korvalume {
namespace {

using namespace testing;

constexpr int waitMs = 20'000;

std::string writeLog(const fixtures::TempDir& dir, const std::string& name, const SessionDoc& doc) {
    const std::string path = dir.file(name);
    fixtures::writeFile(path, *sessionfile::encoded(doc));
    return path;
}

// A camera that rolled once, from `start` for `seconds`, in a log that has ended.
SessionDoc shootWithOneTake(double start, double seconds) {
    SessionDoc doc = session("SHOOT 15 NOV", FrameRate::pal(), start - 60);
    doc.endedAt = MasterInstant(start + 600);
    doc.cameras.push_back(camera(1, "CAM A"));
    doc.events.push_back(event(1, SyncEvent::Kind::recStart, start, 1));
    doc.events.push_back(event(2, SyncEvent::Kind::recStop, start + seconds, 1));
    return doc;
}

TEST(DeskModel, OpeningCombinesLogsOfOneSessionAndLeavesOthersOutWithAMessage) {
    Desk desk;
    SessionDoc first = shootWithOneTake(desk.wallClock - 50'000, 1);
    SessionDoc other = first;
    other.id = uuidNumber(77);
    other.name = "OTHER DAY";
    SessionDoc third = first;
    third.cameras.push_back(camera(2, "CAM B"));

    const auto a = writeLog(desk.dir, "a.korvalume", first);
    const auto b = writeLog(desk.dir, "b.KORVALUME", other);
    const auto c = writeLog(desk.dir, "c.korvalume", third);
    const auto text = desk.dir.file("notes.txt");
    fixtures::writeFile(text, "not a log");
    desk->open({text, a, b, c});

    ASSERT_TRUE(desk->hasDoc());
    EXPECT_EQ(desk->logCount(), 2);
    EXPECT_EQ(desk->doc()->activeCameras().size(), 2u);
    EXPECT_TRUE(desk->message().startsWith("b.KORVALUME is from session")) << desk->message();
    EXPECT_TRUE(desk->hasImportReport());
    EXPECT_FALSE(desk->isLive()) << "the log has ended";

    // The same log again is combined with itself, and the report says what it added.
    const auto before = desk->importReport().size();
    desk->open({c});
    EXPECT_EQ(desk->logCount(), 3);
    EXPECT_GT(desk->importReport().size(), before);

    // A broken file gets its message; the open log stays as it was.
    const auto broken = desk.dir.file("broken.korvalume");
    fixtures::writeFile(broken, "{\"id\":");
    const SessionDoc kept = *desk->doc();
    desk->open({broken});
    EXPECT_TRUE(desk->message().startsWith("broken.korvalume")) << desk->message();
    EXPECT_EQ(*desk->doc(), kept);

    // Clearing keeps the report of what was combined, and nothing else.
    desk->clear();
    EXPECT_FALSE(desk->hasDoc());
    EXPECT_EQ(desk->logCount(), 0);
    EXPECT_TRUE(desk->message().isEmpty());
    EXPECT_TRUE(desk->hasImportReport());
}

TEST(DeskModel, AnUnfinishedLogIsTakenUpLiveOnlyWhenYoungerThan18Hours) {
    for (const double hoursAgo : {17.0, 19.0}) {
        Desk desk;
        const SessionDoc doc = session("DAY", FrameRate::pal(), desk.wallClock - hoursAgo * 3600);
        desk->open({writeLog(desk.dir, "live.korvalume", doc)});
        const bool live = hoursAgo < 18;
        EXPECT_EQ(desk->isLive(), live) << hoursAgo;
        EXPECT_EQ(desk.link.isRunning(), live) << hoursAgo;
        EXPECT_EQ(desk.services.holds, live ? 1 : 0) << hoursAgo;
        if (live) {
            EXPECT_EQ(desk.services.awakeReasons.back(), "Live Korvalume session");
            EXPECT_EQ(desk.settings.value("clock.session").toString(),
                      QString::fromStdString(doc.id.string()));
        }
    }
}

TEST(DeskModel, ALiveSessionMarksSavesItselfAndEndsForEveryoneWhenOwned) {
    Desk desk;
    desk->mark();
    EXPECT_FALSE(desk->hasDoc()) << "marking needs a live session";

    desk->startLive(std::string("  a/b:c "), FrameRate{25, false});
    ASSERT_TRUE(desk->isLive());
    EXPECT_EQ(desk->doc()->name, "A/B:C");
    EXPECT_TRUE(desk->isOwner());
    EXPECT_EQ(desk->doc()->startedAt, desk.clock.now());
    EXPECT_EQ(desk.services.holds, 1);

    for (int i = 0; i < 3; ++i)
        desk->mark();
    const auto markers = desk->doc()->markers();
    ASSERT_EQ(markers.size(), 3u);
    EXPECT_EQ(markers[2].label, "MARK 3");

    // Saved on every change, under the session's name and id.
    const QString saved = desk->savedTo().toLocalFile();
    EXPECT_EQ(QFileInfo(saved).fileName().toStdString(),
              "A-B-C " + desk->doc()->id.string().substr(0, 4) + ".korvalume");
    EXPECT_EQ(QFileInfo(saved).absolutePath(), QFileInfo(desk.sessionsFolder).absoluteFilePath());
    QFile file(saved);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(sessionfile::decode(file.readAll().toStdString()).value(), *desk->doc());

    desk->endLive();
    EXPECT_FALSE(desk->isLive());
    EXPECT_TRUE(desk->hasDoc()) << "the log stays open for the cards";
    EXPECT_TRUE(desk->doc()->endedAt);
    EXPECT_TRUE(desk->doc()->endedForAll) << "the owner ends it for everyone";
    EXPECT_EQ(desk.services.holds, 0);
}

TEST(DeskModel, AFolderReplacedBeforeItsReadEndsOnlyPlansTheLaterChoice) {
    Desk desk;
    const double start = desk.wallClock - 50'000;
    desk->open({writeLog(desk.dir, "shoot.korvalume", shootWithOneTake(start, 2))});
    const Uuid cam = uuidNumber(1);

    // The first card is the slower read, so its result comes in after the second's.
    const std::string first = desk.dir.path() + "/first", second = desk.dir.path() + "/second";
    const auto& mp4 = fixtures::cachedMovie({.container = fixtures::Container::Mp4, .seconds = 2});
    for (int i = 1; i < 120; ++i)
        std::filesystem::copy_file(mp4,
                                   desk.dir.file("first/C" + std::to_string(1000 + i) + ".MP4"));
    std::filesystem::copy_file(fixtures::cachedMovie({.seconds = 2}),
                               desk.dir.file("second/C0002.MOV"));

    desk->setFolder(cam, first);
    desk->setFolder(cam, second);
    EXPECT_TRUE(desk->isReading(cam));
    EXPECT_FALSE(desk->canExport());
    ASSERT_TRUE(QTest::qWaitFor([&] { return !desk->isReading(cam); }, waitMs));

    const auto plans = desk->cameraPlans();
    ASSERT_EQ(plans.size(), 1u);
    ASSERT_EQ(plans[0].clips.size(), 1u);
    EXPECT_EQ(plans[0].clips[0].file.name(), "C0002.MOV");
    EXPECT_EQ(plans[0].clips[0].method, PlacedClip::Method::logged);
    EXPECT_NEAR(*plans[0].clips[0].start - MasterInstant(start), 0, 1e-6);
    EXPECT_TRUE(desk->canExport());

    // A read whose folder is no longer chosen when it ends is dropped.
    const auto log = desk.dir.file("shoot.korvalume");
    desk->clear();
    desk->open({log});
    desk->setFolder(cam, first);
    desk->clear();
    desk->open({log});
    ASSERT_TRUE(QTest::qWaitFor([&] { return !desk->isReading(cam); }, waitMs));
    EXPECT_TRUE(desk->plans().empty());
    desk->setFolder(cam, second);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !desk->isReading(cam); }, waitMs));
    EXPECT_EQ(desk->plans().size(), 1u);

    // The timeline goes where asked and is shown; a folder that is not there gets the reason.
    const auto xml = desk.dir.file("out/SHOOT SYNC MAP.xml");
    ASSERT_TRUE(desk->exportTo(xml));
    EXPECT_TRUE(QFile::exists(QString::fromStdString(xml)));
    ASSERT_EQ(desk.services.shown.size(), 1u);
    EXPECT_FALSE(desk->exportTo(desk.dir.path() + "/missing/folder/x.xml"));
    EXPECT_TRUE(desk->message().startsWith("Could not save the sync map: ")) << desk->message();
    EXPECT_FALSE(desk->saveLogTo(desk.dir.path() + "/missing/folder/x.korvalume"));
    EXPECT_TRUE(desk->message().startsWith("Could not save the log: ")) << desk->message();
    EXPECT_TRUE(desk->savedTo().isEmpty());
}

TEST(DeskModel, ReceivedLogsAreCombinedAndPassedOnOnlyWhenTheyAddSomething) {
    Desk desk;
    desk->startLive(std::string("DAY"), FrameRate{25, false});
    const SessionDoc started = *desk->doc();
    QSignalSpy received(&desk.model, &DeskModel::received);

    // The phone logs its own camera; the desk sorts first by name, so it invites.
    SessionDoc phoneLog = started;
    phoneLog.cameras.push_back(camera(5, "CAM B"));
    phoneLog.events.push_back(event(1, SyncEvent::Kind::recStart, started.startedAt + 5, 5));
    peer_test::RecordingLink phone("TABLET", "7AB10000-0000-4000-8000-000000000002", phoneLog);
    phone.link.start(started.id);
    desk.link.connectTo(QHostAddress(QHostAddress::LocalHost), phone.link.listeningPort(),
                        phone.link.peerName());

    // Each side sends its log on linking; the desk passes on the combined one.
    ASSERT_TRUE(QTest::qWaitFor([&] { return phone.received.size() == 2; }, waitMs));
    EXPECT_EQ(desk->connectedPeers(), QStringList{"TABLET"});
    EXPECT_EQ(phone.received[0], started);
    EXPECT_EQ(phone.received[1], *desk->doc());
    EXPECT_EQ(desk->doc()->activeCameras().size(), 1u);
    ASSERT_EQ(received.size(), 1);
    EXPECT_EQ(received[0][0].toString(), "TABLET");
    EXPECT_FALSE(received[0][1].toStringList().isEmpty()) << "the report says what came in";

    // What the desk holds already is not sent back: two desks and phones never echo.
    phone.link.broadcast(*desk->doc());
    ASSERT_TRUE(QTest::qWaitFor([&] { return received.size() == 2; }, waitMs));
    QTest::qWait(200);
    EXPECT_EQ(phone.received.size(), 2u);

    // The owner ending the session for everyone ends it here too, and that is passed on.
    SessionDoc ended = *desk->doc();
    finish(ended, "7AB10000-0000-4000-8000-000000000002", desk.clock.now(), FinishScope::everyone);
    phone.link.broadcast(ended);
    ASSERT_TRUE(QTest::qWaitFor([&] { return phone.received.size() == 3; }, waitMs));
    EXPECT_FALSE(desk->isLive());
    EXPECT_TRUE(desk->doc()->endedForAll);
    EXPECT_TRUE(desk->doc()->endedAt) << "this desk's own logging ended";
    EXPECT_EQ(phone.received[2], *desk->doc());

    // Another session's log changes nothing.
    SessionDoc stranger = phoneLog;
    stranger.id = uuidNumber(99);
    const SessionDoc before = *desk->doc();
    desk->receive(stranger, "SOMEONE");
    EXPECT_EQ(*desk->doc(), before);
}

TEST(DeskRules, NamesAndLabels) {
    SessionDoc doc = session("A/B:C");
    doc.id = *Uuid::parse("0C1D0000-0000-4000-8000-000000000000");
    EXPECT_EQ(deskrules::autosaveFileName(doc), "A-B-C 0C1D.korvalume");
    doc.name = "SHOOT 15/NOV \U0001F3AC é-1";
    EXPECT_EQ(deskrules::autosaveFileName(doc), "SHOOT 15-NOV - é-1 0C1D.korvalume");
    EXPECT_EQ(deskrules::defaultName(QDate(2026, 11, 15)), "SHOOT 15 NOV");
    EXPECT_EQ(deskrules::sessionName("  ", QDate(2026, 1, 2)), "SHOOT 2 JAN");
    EXPECT_EQ(deskrules::sessionName(" day two ", QDate(2026, 1, 2)), "DAY TWO");
}

} // namespace
} // namespace korvalume
