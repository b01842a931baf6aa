#include "peer_test_support.h"

namespace korvalume {
namespace {

using namespace peer_test;

TEST_F(LinkTest, TwoLinksOfOneSessionFormOneConnectionFromTheLowerName) {
    RecordingLink mac("Studio Mac", "1A2B3C4D", sampleLog(session, "mac"));
    RecordingLink phone("Tablet", "9F8E7D6C", sampleLog(session, "phone"));
    mac.link.start(session);
    phone.link.start(session);

    // The higher name waits for the invitation instead of sending one.
    phone.find(mac);
    QTest::qWait(500);
    EXPECT_TRUE(phone.link.connected().isEmpty() && mac.link.connected().isEmpty());

    mac.find(phone);
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return mac.received.size() == 1 && phone.received.size() == 1; }, linkWaitMs));
    EXPECT_EQ(mac.link.connected(), QStringList{"Tablet"});
    EXPECT_EQ(phone.link.connected(), QStringList{"Studio Mac"});
    EXPECT_EQ(mac.received[0], *phone.currentLog);
    EXPECT_EQ(phone.received[0], *mac.currentLog);
    EXPECT_EQ(mac.senders, std::vector<QString>{"Tablet"});
    EXPECT_EQ(phone.senders, std::vector<QString>{"Studio Mac"});

    // Found again while linked: still one connection, no second exchange of logs.
    mac.find(phone);
    phone.find(mac);
    QTest::qWait(500);
    EXPECT_EQ(mac.received.size() + phone.received.size(), 2u);
    EXPECT_TRUE(mac.problems.empty() && phone.problems.empty());

    // Leaving closes the link on both sides, after the last log sent has gone out.
    const SessionDoc last = sampleLog(session, "phone", 4);
    EXPECT_EQ(phone.link.broadcast(last), 1);
    phone.link.stop();
    ASSERT_TRUE(QTest::qWaitFor([&] { return mac.link.connected().isEmpty(); }, linkWaitMs));
    ASSERT_EQ(mac.received.size(), 2u);
    EXPECT_EQ(mac.received[1], last);
}

TEST_F(LinkTest, ALinkOfAnotherSessionFailsTheHandshakeAndIsNeverAdmitted) {
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
    QTest::qWait(500);
    EXPECT_TRUE(desk.link.connected().isEmpty() && stranger.link.connected().isEmpty());
    EXPECT_TRUE(desk.received.empty() && stranger.received.empty());
}

} // namespace
} // namespace korvalume
