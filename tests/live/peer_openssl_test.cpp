#include "peer_test_support.h"
#include "session/session_file.h"

#include <QProcess>
#include <QStandardPaths>

namespace korvalume {
namespace {

using namespace peer_test;

// openssl s_client as an independent TLS-PSK peer that links to a desk and writes to it.
struct OpenSslClient {
    OpenSslClient(quint16 port, const QByteArray& key,
                  const QString& cipher = "ECDHE-PSK-CHACHA20-POLY1305") {
        process.start("openssl", {"s_client", "-connect", QStringLiteral("127.0.0.1:%1").arg(port),
                                  "-psk", QString::fromLatin1(key.toHex()), "-psk_identity",
                                  "Field phone#C0DE", "-tls1_2", "-cipher", cipher});
        process.waitForStarted();
    }
    // The end of input lets it leave on its own; the process object kills what is left.
    ~OpenSslClient() {
        process.closeWriteChannel();
        process.waitForFinished(5000);
    }
    bool finished() const { return process.state() == QProcess::NotRunning; }
    QByteArray output() { return seen += process.readAllStandardOutput(); }

    QProcess process;
    QByteArray seen;
};

class PeerOpenSslTest : public LinkTest {
protected:
    void SetUp() override {
        if (QStandardPaths::findExecutable("openssl").isEmpty())
            GTEST_SKIP() << "the openssl command is not installed (scripts/setup installs it)";
        desk.link.start(session);
    }
    RecordingLink desk{"Desk", "AAAA0000", sampleLog(session, "desk")};
};

QByteArray frame(const SessionDoc& log) {
    return peerprotocol::encodeFrame(*sessionfile::encoded(log));
}

TEST_F(PeerOpenSslTest, FramedLogsThroughOpenSslAreReceivedAndGarbageIsDropped) {
    OpenSslClient client(desk.link.listeningPort(), peerprotocol::preSharedKey(session));
    // Not JSON, then JSON that is not a log: both dropped; the log after them arrives.
    const SessionDoc log = sampleLog(session, "openssl", 3);
    client.process.write(peerprotocol::encodeFrame("\xFF not json") +
                         peerprotocol::encodeFrame("{\"id\":1}") + frame(log));
    ASSERT_TRUE(QTest::qWaitFor([&] { return desk.received.size() == 1; }, linkWaitMs))
        << client.output().toStdString() << client.process.readAllStandardError().toStdString();
    EXPECT_EQ(desk.received[0], log);
    EXPECT_EQ(desk.link.connected(), QStringList{"Field phone"});

    // The desk's own log came back the other way, framed.
    ASSERT_TRUE(QTest::qWaitFor([&] { return client.output().contains(frame(*desk.currentLog)); },
                                linkWaitMs))
        << client.seen.toStdString();

    // One byte over 64 MiB announced: the desk hangs up without waiting for the bytes.
    client.process.write(QByteArray("\x04\x00\x00\x01", 4) + "{}");
    ASSERT_TRUE(QTest::qWaitFor([&] { return desk.link.connected().isEmpty(); }, linkWaitMs));
    EXPECT_TRUE(QTest::qWaitFor([&] { return client.finished(); }, linkWaitMs));
    ASSERT_FALSE(desk.problems.empty());
    EXPECT_TRUE(desk.problems.back().contains("67108865")) << desk.problems.back().toStdString();
    EXPECT_EQ(desk.received.size(), 1u);
}

TEST_F(PeerOpenSslTest, NothingIsReceivedWithAWrongKeyOrAPlainPskSuite) {
    // A wrong key, then the right key without forward secrecy: the desk talks to neither.
    for (const auto& [key, cipher] :
         {std::pair{peerprotocol::preSharedKey(Uuid::random()), "ECDHE-PSK-CHACHA20-POLY1305"},
          std::pair{peerprotocol::preSharedKey(session), "PSK-CHACHA20-POLY1305"}}) {
        OpenSslClient client(desk.link.listeningPort(), key, cipher);
        client.process.write(frame(sampleLog(session, "x")));
        ASSERT_TRUE(QTest::qWaitFor([&] { return client.finished(); }, linkWaitMs)) << cipher;
        EXPECT_NE(client.process.exitCode(), 0) << cipher;
    }
    ASSERT_TRUE(QTest::qWaitFor([&] { return desk.problems.size() >= 2; }, linkWaitMs));
    QTest::qWait(300);
    EXPECT_TRUE(desk.received.empty());
    EXPECT_TRUE(desk.link.connected().isEmpty());
    EXPECT_TRUE(desk.problems[0].contains("was not admitted")) << desk.problems[0].toStdString();
}

} // namespace
} // namespace korvalume
