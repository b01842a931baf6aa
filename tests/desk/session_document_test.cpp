#include "desk_test_support.h"
#include "support/shoot_builder.h"

#include "session/session_file.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

namespace korvalume {
namespace {

using namespace testing;

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

TEST(SessionDocument, LogsOfOneSessionCombineAndAnotherSessionIsLeftOutWithAMessage) {
    Desk desk;
    const SessionDoc first = shootWithOneTake(desk.wallClock - 50'000, 1);
    SessionDoc other = first;
    other.id = uuidNumber(77);
    other.name = "OTHER DAY";
    SessionDoc third = first;
    third.cameras.push_back(camera(2, "CAM B"));
    const auto text = desk.dir.file("notes.txt");
    fixtures::writeFile(text, "not a log");

    desk->open({text, writeLog(desk.dir, "a.korvalume", first),
                writeLog(desk.dir, "b.KORVALUME", other),
                writeLog(desk.dir, "c.korvalume", third)});

    EXPECT_EQ(desk->document().logCount(), 2);
    EXPECT_EQ(desk.doc().activeCameras().size(), 2u);
    EXPECT_EQ(
        desk->document().message(),
        "b.KORVALUME is from session \u201cOTHER DAY\u201d. You have \u201cSHOOT 15 NOV\u201d "
        "open, so it was left out.");
    EXPECT_EQ(desk->document().importReport(),
              (QStringList{"CAM A is already in this session. This log had nothing new for it.",
                           "CAM B is new to this session."}));
    EXPECT_FALSE(desk->live().isLive()) << "the log has ended";
}

TEST(SessionDocument, AnUnreadableLogIsNamedAndChangesNothing) {
    Desk desk;
    desk->open({writeLog(desk.dir, "a.korvalume", shootWithOneTake(desk.wallClock - 9e4, 1))});
    const SessionDoc kept = desk.doc();
    QSignalSpy changed(&desk->document(), &SessionDocument::changed);
    const auto broken = desk.dir.file("broken.korvalume");
    fixtures::writeFile(broken, "{\"id\":");
    desk->open({broken});
    EXPECT_EQ(desk->document().message(), "broken.korvalume is not a Korvalume session log.");
    EXPECT_EQ(desk.doc(), kept);
    EXPECT_EQ(changed.size(), 0);
}

TEST(SessionDocument, ACombinedLogSaysWhichCamerasItChanged) {
    Desk desk;
    const SessionDoc first = shootWithOneTake(desk.wallClock - 9e4, 1);
    desk->open({writeLog(desk.dir, "a.korvalume", first)});
    QSignalSpy changed(&desk->document(), &SessionDocument::changed);
    SessionDoc more = first;
    more.cameras.push_back(camera(2, "CAM B"));
    more.events.push_back(event(9, SyncEvent::Kind::tcScan, first.startedAt + 100, 2));
    addMarker(more, first.startedAt + 200, "MARK 1");
    desk->open({writeLog(desk.dir, "b.korvalume", more)});

    ASSERT_EQ(changed.size(), 1);
    const auto changes = changed[0][0].value<LogChanges>();
    EXPECT_EQ(changes.eventsAdded, 2u);
    EXPECT_EQ(changes.cameras, std::vector{uuidNumber(2)}) << "CAM A is untouched";
    EXPECT_TRUE(changes.markersAdded);

    // The same log once more adds nothing, and says so by not changing.
    desk->open({writeLog(desk.dir, "c.korvalume", more)});
    EXPECT_EQ(changed.size(), 1);
    EXPECT_EQ(desk->document().logCount(), 3);
}

TEST(SessionDocument, ClearingKeepsOnlyTheCombiningReport) {
    Desk desk;
    const SessionDoc doc = shootWithOneTake(desk.wallClock - 9e4, 1);
    desk->open({writeLog(desk.dir, "a.korvalume", doc), writeLog(desk.dir, "b.korvalume", doc)});
    ASSERT_TRUE(desk->saveLogTo(desk.dir.file("saved.korvalume")));
    desk->clear();
    EXPECT_FALSE(desk->document().hasDoc());
    EXPECT_EQ(desk->document().logCount(), 0);
    EXPECT_TRUE(desk->document().savedTo().isEmpty());
    EXPECT_TRUE(desk->document().hasImportReport());
}

TEST(SessionDocument, FailedWritesSayWhyAndKeepTheLastSave) {
    Desk desk;
    desk->open({writeLog(desk.dir, "a.korvalume", shootWithOneTake(desk.wallClock - 9e4, 1))});
    const Status exported = desk->exportTo(desk.dir.path() + "/missing/folder/x.xml");
    EXPECT_EQ(exported.kind(), ErrorKind::io);
    EXPECT_TRUE(desk->document().message().startsWith(
        "Could not save the sync map: " + qs(desk.dir.path() + "/missing/folder/x.xml")))
        << desk->document().message();
    EXPECT_FALSE(desk->saveLogTo(desk.dir.path() + "/missing/folder/x.korvalume"));
    EXPECT_TRUE(desk->document().message().startsWith("Could not save the log: "));
    EXPECT_TRUE(desk->document().savedTo().isEmpty());
    EXPECT_TRUE(desk.services.shown.empty());
}

} // namespace
} // namespace korvalume
