#include "peer_test_support.h"
#include "session/session_file.h"

#include <gtest/gtest.h>

namespace korvalume {
namespace {

using namespace peer_test;

const QStringList none;

// Lets the event loop run for a while, for checks that something does NOT happen.
void settle(int ms = 500) {
    QTest::qWait(ms);
}

class PeerLinkTest : public ::testing::Test {
protected:
    void TearDown() override {
        // Links delete their connections later; let that happen inside the test.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    const Uuid session = Uuid::random();
};

TEST_F(PeerLinkTest, TwoLinksOfOneSessionFormOneConnectionFromTheLowerName) {
    RecordingLink mac("Studio Mac", "1A2B3C4D", sampleLog(session, "mac"));
    RecordingLink phone("Tablet", "9F8E7D6C", sampleLog(session, "phone"));
    mac.link.start(session);
    phone.link.start(session);
    ASSERT_NE(mac.link.listeningPort(), 0);
    ASSERT_EQ(mac.link.peerName(), "Studio Mac#1A2B");

    // The higher name waits for the invitation instead of sending one.
    phone.find(mac);
    settle();
    EXPECT_EQ(phone.link.connected(), none);
    EXPECT_EQ(mac.link.connected(), none);

    mac.find(phone);
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return mac.received.size() == 1 && phone.received.size() == 1; }, linkWaitMs))
        << mac.problems.size() << phone.problems.size();
    EXPECT_EQ(mac.link.connected(), QStringList{"Tablet"});
    EXPECT_EQ(phone.link.connected(), QStringList{"Studio Mac"});
    EXPECT_EQ(mac.received[0], *phone.currentLog);
    EXPECT_EQ(phone.received[0], *mac.currentLog);
    EXPECT_EQ(mac.senders[0], "Tablet");
    EXPECT_EQ(phone.senders[0], "Studio Mac");

    // Found again while linked: still one connection, no second exchange of logs.
    mac.find(phone);
    phone.find(mac);
    settle();
    EXPECT_EQ(mac.received.size(), 1u);
    EXPECT_EQ(phone.received.size(), 1u);

    const SessionDoc later = sampleLog(session, "phone", 3);
    EXPECT_EQ(phone.link.broadcast(later), 1);
    ASSERT_TRUE(QTest::qWaitFor([&] { return mac.received.size() == 2; }, linkWaitMs));
    EXPECT_EQ(mac.received[1], later);
    EXPECT_TRUE(mac.problems.empty());
    EXPECT_TRUE(phone.problems.empty());

    // Leaving closes the link on both sides, after the last log sent has gone out.
    const SessionDoc last = sampleLog(session, "phone", 4);
    EXPECT_EQ(phone.link.broadcast(last), 1);
    phone.link.stop();
    EXPECT_EQ(phone.link.connected(), none);
    EXPECT_EQ(phone.link.listeningPort(), 0);
    ASSERT_TRUE(QTest::qWaitFor([&] { return mac.link.connected().isEmpty(); }, linkWaitMs));
    ASSERT_EQ(mac.received.size(), 3u);
    EXPECT_EQ(mac.received[2], last);
}

TEST_F(PeerLinkTest, ALinkOfAnotherSessionFailsTheHandshakeAndIsNeverAdmitted) {
    RecordingLink desk("Desk", "AAAA0000", sampleLog(session, "desk"));
    const Uuid otherSession = Uuid::random();
    RecordingLink stranger("Camera cart", "BBBB1111", sampleLog(otherSession, "stranger"));
    desk.link.start(session);
    stranger.link.start(otherSession);

    stranger.find(desk); // "Camera cart" sorts first, so it invites
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return !stranger.problems.empty() && !desk.problems.empty(); }, linkWaitMs));
    EXPECT_TRUE(stranger.problems[0].startsWith("Desk#AAAA")) << stranger.problems[0].toStdString();
    EXPECT_TRUE(stranger.problems[0].contains("could not be linked"));
    EXPECT_TRUE(desk.problems[0].contains("was not admitted")) << desk.problems[0].toStdString();
    settle();
    EXPECT_EQ(desk.link.connected(), none);
    EXPECT_EQ(stranger.link.connected(), none);
    EXPECT_TRUE(desk.received.empty());
    EXPECT_TRUE(stranger.received.empty());
}

TEST_F(PeerLinkTest, StartingAgainWithTheSameSessionKeepsTheConnection) {
    RecordingLink alpha("Alpha", "AAAA0000", sampleLog(session, "alpha"));
    RecordingLink bravo("Bravo", "BBBB0000", sampleLog(session, "bravo"));
    alpha.link.start(session);
    bravo.link.start(session);
    const quint16 port = bravo.link.listeningPort();
    alpha.find(bravo);
    ASSERT_TRUE(QTest::qWaitFor([&] { return bravo.received.size() == 1; }, linkWaitMs));

    alpha.link.start(session);
    bravo.link.start(session);
    settle();
    EXPECT_EQ(alpha.link.connected(), QStringList{"Bravo"});
    EXPECT_EQ(bravo.link.listeningPort(), port);
    EXPECT_EQ(alpha.link.broadcast(*alpha.currentLog), 1);
    ASSERT_TRUE(QTest::qWaitFor([&] { return bravo.received.size() == 2; }, linkWaitMs));

    // Another session is a new link: the old peers are gone.
    alpha.link.start(Uuid::random());
    EXPECT_EQ(alpha.link.connected(), none);
    ASSERT_TRUE(QTest::qWaitFor([&] { return bravo.link.connected().isEmpty(); }, linkWaitMs));
}

} // namespace
} // namespace korvalume
