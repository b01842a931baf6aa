// A live desk killed at random moments while it saves a stream of incoming logs: the saved
// log always decodes, and is always one whole state the desk went through.
#include "autosave_states.h"
#include "desk_test_support.h"
#include "session/session_file.h"
#include "session/session_link.h"
#include "support/shoot_builder.h"

#include <QDir>
#include <QProcess>

#include <gtest/gtest.h>

#include <random>

namespace korvalume {
namespace {

using namespace testing;

TEST(DeskCrash, AKilledDeskLeavesAWholeSavedLog) {
    application();
    fixtures::TempDir dir;
    std::mt19937 random(20261124);
    std::uniform_int_distribution<int> delayMs(0, 60);
    const double startedAt = 1'700'000'000;
    int withMarkers = 0;
    for (int round = 0; round < 200; ++round) {
        const QString sessions = QString::fromStdString(dir.path()) + "/" + QString::number(round);
        QDir().mkpath(sessions);
        QProcess desk;
        desk.start(KORVALUME_AUTOSAVE_PROBE, {sessions, QString::number(startedAt, 'f', 0)});
        ASSERT_TRUE(desk.waitForReadyRead(20'000)) << "the probe did not start";
        QTest::qWait(delayMs(random));
        desk.kill();
        ASSERT_TRUE(desk.waitForFinished(20'000));

        const auto saved = QDir(sessions).entryList({"*.korvalume"}, QDir::Files);
        ASSERT_EQ(saved.size(), 1) << "round " << round << ": " << saved.join(", ");
        QFile file(sessions + "/" + saved.front());
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const auto doc = sessionfile::decode(file.readAll().toStdString());
        ASSERT_TRUE(doc.ok()) << "round " << round << ": " << doc.message();
        const int markers = int(doc->markers().size());
        // Before the first log came in, the desk holds what the join link gave it.
        const SessionDoc expected = markers == 0
                                        ? SessionLink::from(autosaveState(startedAt, 0)).doc()
                                        : autosaveState(startedAt, markers);
        EXPECT_EQ(*doc, expected) << "round " << round;
        withMarkers += markers > 0 ? 1 : 0;
    }
    // Most kills land while logs stream in, not before the first one.
    EXPECT_GT(withMarkers, 100);
}

} // namespace
} // namespace korvalume
