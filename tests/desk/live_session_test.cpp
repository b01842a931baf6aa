#include "desk_test_support.h"
#include "live/peer_test_support.h"
#include "support/shoot_builder.h"

#include "desk/preview_services.h"
#include "session/combining.h"
#include "session/session_file.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>

#include <gtest/gtest.h>

namespace korvalume {
namespace {

using namespace testing;

constexpr int waitMs = 20'000;

TEST(LiveSession, AnUnfinishedLogIsTakenUpLiveOnlyWhenYoungerThan18Hours) {
    for (const double hoursAgo : {17.0, 19.0}) {
        Desk desk;
        const SessionDoc doc = session("DAY", FrameRate::pal(), desk.wallClock - hoursAgo * 3600);
        const std::string path = desk.dir.file("live.korvalume");
        fixtures::writeFile(path, *sessionfile::encoded(doc));
        desk->open({path});
        const bool live = hoursAgo < 18;
        EXPECT_EQ(desk->live().isLive(), live) << hoursAgo;
        EXPECT_EQ(desk.link.isRunning(), live) << hoursAgo;
        EXPECT_EQ(desk.services.holds, live ? 1 : 0) << hoursAgo;
        if (live) {
            EXPECT_EQ(desk.services.awakeReasons.back(), "Live Korvalume session");
            EXPECT_EQ(desk.settings.value("clock.session").toString(), qs(doc.id.string()));
        }
    }
}

TEST(LiveSession, AStartedSessionIsOwnedHereAndMarkersAreNumbered) {
    Desk desk;
    desk->live().mark();
    EXPECT_FALSE(desk->document().hasDoc()) << "marking needs a live session";

    desk->live().start("  a/b:c ", FrameRate{25, false});
    ASSERT_TRUE(desk->live().isLive());
    EXPECT_EQ(desk.doc().name, "A/B:C");
    EXPECT_TRUE(desk->live().isOwner());
    EXPECT_EQ(desk.doc().startedAt, desk.clock.now());
    for (int i = 0; i < 3; ++i)
        desk->live().mark();
    const auto markers = desk.doc().markers();
    ASSERT_EQ(markers.size(), 3u);
    EXPECT_EQ(markers[2].label, "MARK 3");
}

TEST(LiveSession, EveryChangeIsSavedUnderTheSessionsNameAndId) {
    Desk desk;
    desk->live().start("a/b:c", FrameRate{25, false});
    desk->live().mark();
    const QString saved = desk->document().savedTo().toLocalFile();
    EXPECT_EQ(utf8(QFileInfo(saved).fileName()),
              "A-B-C " + desk.doc().id.string().substr(0, 4) + ".korvalume");
    EXPECT_EQ(QFileInfo(saved).absolutePath(), QFileInfo(desk.sessionsFolder).absoluteFilePath());
    QFile file(saved);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(sessionfile::decode(file.readAll().toStdString()).value(), desk.doc());
}

TEST(LiveSession, TheOwnerEndsItForEveryoneAndTheLogStaysOpen) {
    Desk desk;
    desk->live().start("DAY", FrameRate{25, false});
    EXPECT_EQ(desk.services.holds, 1);
    desk->live().end();
    EXPECT_FALSE(desk->live().isLive());
    ASSERT_TRUE(desk->document().hasDoc()) << "the log stays open for the cards";
    EXPECT_TRUE(desk.doc().endedAt);
    EXPECT_TRUE(desk.doc().endedForAll);
    EXPECT_EQ(desk.services.holds, 0);
}

// A desk in a live session linked to one phone that logs its own camera.
struct LinkedPhone {
    Desk desk;
    SessionDoc phoneLog;
    std::unique_ptr<peer_test::RecordingLink> phone;

    LinkedPhone() {
        desk->live().start("DAY", FrameRate{25, false});
        phoneLog = desk.doc();
        phoneLog.cameras.push_back(camera(5, "CAM B"));
        phoneLog.events.push_back(event(1, SyncEvent::Kind::recStart, phoneLog.startedAt + 5, 5));
        phone = std::make_unique<peer_test::RecordingLink>(
            "TABLET", "7AB10000-0000-4000-8000-000000000002", phoneLog);
        phone->link.start(phoneLog.id);
        // The desk's name sorts first, so it invites.
        desk.link.connectTo(QHostAddress(QHostAddress::LocalHost), phone->link.listeningPort(),
                            phone->link.peerName());
    }
};

TEST(LiveSession, AReceivedLogIsCombinedReportedAndPassedOnButNeverEchoed) {
    LinkedPhone linked;
    Desk& desk = linked.desk;
    QSignalSpy received(&desk->live(), &LiveSession::received);
    const SessionDoc started = linked.phoneLog;
    // Each side sends its log on linking; the desk passes on the combined one.
    ASSERT_TRUE(QTest::qWaitFor([&] { return linked.phone->received.size() == 2; }, waitMs));
    EXPECT_EQ(desk->live().peers(), QStringList{"TABLET"});
    EXPECT_EQ(linked.phone->received[1], desk.doc());
    EXPECT_EQ(desk.doc().activeCameras().size(), 1u);
    ASSERT_EQ(received.size(), 1);
    EXPECT_EQ(received[0][0].toString(), "TABLET");
    EXPECT_EQ(received[0][1].toStringList(),
              QStringList{"CAM B is new to this session, with 1 recording."});

    // What the desk holds already is not sent back: two desks and phones never echo.
    linked.phone->link.broadcast(desk.doc());
    ASSERT_TRUE(QTest::qWaitFor([&] { return received.size() == 2; }, waitMs));
    QTest::qWait(200);
    EXPECT_EQ(linked.phone->received.size(), 2u);

    // Another session's log changes nothing.
    SessionDoc stranger = started;
    stranger.id = uuidNumber(99);
    const SessionDoc before = desk.doc();
    desk->live().receive(stranger, "SOMEONE");
    EXPECT_EQ(desk.doc(), before);
}

TEST(LiveSession, TheOwnersEndReceivedEndsItHereAndIsPassedOn) {
    LinkedPhone linked;
    Desk& desk = linked.desk;
    ASSERT_TRUE(QTest::qWaitFor([&] { return linked.phone->received.size() == 2; }, waitMs));
    SessionDoc ended = desk.doc();
    finish(ended, "7AB10000-0000-4000-8000-000000000002", desk.clock.now(), FinishScope::everyone);
    linked.phone->link.broadcast(ended);
    ASSERT_TRUE(QTest::qWaitFor([&] { return linked.phone->received.size() == 3; }, waitMs));
    EXPECT_FALSE(desk->live().isLive());
    EXPECT_TRUE(desk.doc().endedForAll);
    EXPECT_TRUE(desk.doc().endedAt) << "this desk's own logging ended";
    EXPECT_EQ(linked.phone->received[2], desk.doc());
}

TEST(LiveSession, APreviewShowsALiveLogWithoutSavingOrKeepingAwake) {
    fixtures::TempDir dir;
    PreviewServices preview({"MIA"}, true, Desk::deviceID);
    DeskModel model(preview.services());
    model.show(session("PREVIEW", FrameRate::pal(), 1'700'000'000.0));
    EXPECT_TRUE(model.live().isLive());
    EXPECT_EQ(model.live().peers(), QStringList{"MIA"});
    model.live().mark();
    EXPECT_EQ(model.document().doc()->markers().size(), 1u);
    EXPECT_TRUE(model.document().savedTo().isEmpty()) << "a preview saves nothing";
}

} // namespace
} // namespace korvalume
