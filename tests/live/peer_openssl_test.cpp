#include "peer_test_support.h"
#include "session/session_file.h"

#include <QProcess>
#include <QStandardPaths>

#include <gtest/gtest.h>

namespace korvalume {
namespace {

using namespace peer_test;

// openssl s_client as an independent TLS-PSK peer that links to a desk and writes to it.
struct OpenSslClient {
    OpenSslClient(quint16 port, const QByteArray& key, const QStringList& cipherArgs) {
        process.start(QStringLiteral("openssl"),
                      QStringList{"s_client", "-connect", QStringLiteral("127.0.0.1:%1").arg(port),
                                  "-psk", QString::fromLatin1(key.toHex()), "-psk_identity",
                                  "Field phone#C0DE", "-tls1_2"} +
                          cipherArgs);
        process.waitForStarted();
    }
    ~OpenSslClient() {
        process.closeWriteChannel();
        if (!process.waitForFinished(5000)) {
            process.kill();
            process.waitForFinished();
        }
    }
    bool finished() { return process.state() == QProcess::NotRunning; }
    QByteArray output() { return seen += process.readAllStandardOutput(); }

    QProcess process;
    QByteArray seen;
};

class PeerOpenSslTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (QStandardPaths::findExecutable(QStringLiteral("openssl")).isEmpty()) {
            GTEST_SKIP() << "the openssl command is not installed (scripts/setup installs it)";
        }
        desk.link.start(session);
    }
    void TearDown() override {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    const Uuid session = Uuid::random();
    RecordingLink desk{"Desk", "AAAA0000", sampleLog(session, "desk")};
    const QStringList ecdhePsk{"-cipher", "ECDHE-PSK-CHACHA20-POLY1305"};
};

TEST_F(PeerOpenSslTest, AFramedLogThroughOpenSslIsReceivedWithTheRightKey) {
    OpenSslClient client(desk.link.listeningPort(), PeerProtocol::preSharedKey(session), ecdhePsk);
    const SessionDoc log = sampleLog(session, "openssl", 3);
    client.process.write(PeerProtocol::encodeFrame(*sessionfile::encoded(log)));

    ASSERT_TRUE(QTest::qWaitFor([&] { return desk.received.size() == 1; }, linkWaitMs))
        << client.output().toStdString() << client.process.readAllStandardError().toStdString();
    EXPECT_EQ(desk.received[0], log);
    EXPECT_EQ(desk.link.connected(), QStringList{"Field phone"});

    // The desk's own log came back the other way, framed.
    const QByteArray expected = PeerProtocol::encodeFrame(*sessionfile::encoded(*desk.currentLog));
    ASSERT_TRUE(QTest::qWaitFor([&] { return client.output().contains(expected); }, linkWaitMs))
        << client.seen.toStdString();
    EXPECT_TRUE(client.seen.contains("Cipher is ECDHE-PSK-CHACHA20-POLY1305"));
    EXPECT_TRUE(client.seen.contains("Protocol  : TLSv1.2")) << client.seen.toStdString();
}

TEST_F(PeerOpenSslTest, GarbageIsDroppedAndAnOversizedLengthClosesTheConnection) {
    OpenSslClient client(desk.link.listeningPort(), PeerProtocol::preSharedKey(session), ecdhePsk);
    // Not JSON, then JSON that is not a log: both dropped; the log after them arrives.
    const SessionDoc log = sampleLog(session, "openssl", 2);
    client.process.write(PeerProtocol::encodeFrame("\xFF not json") +
                         PeerProtocol::encodeFrame("{\"id\":1}") +
                         PeerProtocol::encodeFrame(*sessionfile::encoded(log)));
    ASSERT_TRUE(QTest::qWaitFor([&] { return desk.received.size() == 1; }, linkWaitMs));
    EXPECT_EQ(desk.received[0], log);
    EXPECT_EQ(desk.link.connected(), QStringList{"Field phone"});

    // One byte over 64 MiB announced: the desk hangs up without waiting for the bytes.
    client.process.write(QByteArray("\x04\x00\x00\x01", 4) + "{}");
    ASSERT_TRUE(QTest::qWaitFor([&] { return desk.link.connected().isEmpty(); }, linkWaitMs));
    EXPECT_TRUE(QTest::qWaitFor([&] { return client.finished(); }, linkWaitMs));
    ASSERT_FALSE(desk.problems.empty());
    EXPECT_TRUE(desk.problems.back().contains("67108865")) << desk.problems.back().toStdString();
    EXPECT_EQ(desk.received.size(), 1u);
}

TEST_F(PeerOpenSslTest, NothingIsReceivedWithAWrongKeyOrAPlainPskSuite) {
    const Uuid other = Uuid::random();
    {
        OpenSslClient wrongKey(desk.link.listeningPort(), PeerProtocol::preSharedKey(other),
                               ecdhePsk);
        wrongKey.process.write(
            PeerProtocol::encodeFrame(*sessionfile::encoded(sampleLog(session, "x"))));
        ASSERT_TRUE(QTest::qWaitFor([&] { return wrongKey.finished(); }, linkWaitMs));
        EXPECT_NE(wrongKey.process.exitCode(), 0);
    }
    {
        // Without forward secrecy the desk does not talk, even with the right key.
        OpenSslClient plainPsk(desk.link.listeningPort(), PeerProtocol::preSharedKey(session),
                               {"-cipher", "PSK-CHACHA20-POLY1305"});
        ASSERT_TRUE(QTest::qWaitFor([&] { return plainPsk.finished(); }, linkWaitMs));
        EXPECT_NE(plainPsk.process.exitCode(), 0);
    }
    ASSERT_TRUE(QTest::qWaitFor([&] { return desk.problems.size() >= 2; }, linkWaitMs));
    QTest::qWait(300);
    EXPECT_TRUE(desk.received.empty());
    EXPECT_EQ(desk.link.connected(), QStringList{});
    EXPECT_TRUE(desk.problems[0].contains("was not admitted")) << desk.problems[0].toStdString();
}

} // namespace
} // namespace korvalume
