// The peer link on loopback: how long two links take to link, how fast one 10,000-event
// log travels (encode, TLS, frame, decode), and how much memory the desk spends per
// connected peer (the peers run in a child process, so only the desk's side is counted).
#include "live/peer_link.h"
#include "live/peer_protocol.h"
#include "session/session_doc.h"
#include "session/session_file.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QSocketNotifier>
#include <QSslCipher>
#include <QSslConfiguration>
#include <QSslPreSharedKeyAuthenticator>
#include <QSslSocket>
#include <QTest>
#include <QTimer>

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

using namespace korvalume;

namespace {

constexpr int waitMs = 30'000;

// Runs the event loop until `done`, blocking between events (QTest::qWaitFor sleeps in
// 10 ms steps, which would swamp what is measured). False after `waitMs`.
template <class Predicate> bool spinUntil(Predicate done) {
    QElapsedTimer clock;
    clock.start();
    QTimer wake; // bounds each blocking wait
    wake.start(50);
    while (!done()) {
        if (clock.elapsed() > waitMs) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

SessionDoc logWithEvents(const Uuid& session, int count) {
    SessionDoc doc;
    doc.id = session;
    doc.name = "BENCH";
    doc.fps = FrameRate{25, false};
    doc.startedAt = MasterInstant(1'700'000'000.0);
    Camera camera;
    camera.id = Uuid::random();
    camera.name = "CAM A";
    doc.cameras.push_back(camera);
    for (int i = 0; i < count; ++i) {
        SyncEvent event;
        event.id = Uuid::random();
        event.cameraID = camera.id;
        event.kind = i % 3 == 0 ? SyncEvent::Kind::tcScan : SyncEvent::Kind::recStart;
        event.at = doc.startedAt + i * 0.37;
        if (event.kind == SyncEvent::Kind::tcScan) {
            event.timecode = "10:00:00:00";
        }
        doc.events.push_back(event);
    }
    return doc;
}

struct Pair {
    explicit Pair(const Uuid& session)
        : alpha({"Alpha", "AAAA", PeerLink::Discovery::manual, QHostAddress::LocalHost}),
          bravo({"Bravo", "BBBB", PeerLink::Discovery::manual, QHostAddress::LocalHost}) {
        alpha.start(session);
        bravo.start(session);
    }
    bool link() {
        alpha.connectTo(QHostAddress::LocalHost, bravo.listeningPort(), bravo.peerName());
        return spinUntil(
            [&] { return !alpha.connected().isEmpty() && !bravo.connected().isEmpty(); });
    }
    PeerLink alpha;
    PeerLink bravo;
};

void BM_LinkTwoPeers(benchmark::State& state) {
    const Uuid session = Uuid::random();
    for (auto _ : state) {
        Pair pair(session);
        if (!pair.link()) {
            state.SkipWithError("the pair did not link");
            break;
        }
        state.PauseTiming();
        pair.alpha.stop();
        pair.bravo.stop();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        state.ResumeTiming();
    }
}
BENCHMARK(BM_LinkTwoPeers)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_SendAndDecode10kEventLog(benchmark::State& state) {
    const Uuid session = Uuid::random();
    const SessionDoc doc = logWithEvents(session, 10'000);
    const auto bytes = sessionfile::encoded(doc)->size();
    Pair pair(session);
    int received = 0;
    pair.bravo.setOnReceive([&](const SessionDoc&, const QString&) { ++received; });
    if (!pair.link()) {
        state.SkipWithError("the pair did not link");
        return;
    }
    for (auto _ : state) {
        const int before = received;
        pair.alpha.broadcast(doc);
        if (!spinUntil([&] { return received == before + 1; })) {
            state.SkipWithError("the log did not arrive");
            break;
        }
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(bytes));
    state.counters["log_bytes"] = static_cast<double>(bytes);
}
BENCHMARK(BM_SendAndDecode10kEventLog)->Unit(benchmark::kMillisecond)->UseRealTime();

// Child process: links `count` hand-made TLS-PSK peers to the port and keeps them open
// until its standard input closes.
int runPeers(quint16 port, int count, const QByteArray& key) {
    auto configuration = QSslConfiguration::defaultConfiguration();
    configuration.setProtocol(QSsl::TlsV1_2);
    configuration.setCiphers({QSslCipher(QStringLiteral("ECDHE-PSK-CHACHA20-POLY1305"))});
    configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
    std::vector<std::unique_ptr<QSslSocket>> sockets;
    for (int i = 0; i < count; ++i) {
        auto socket = std::make_unique<QSslSocket>();
        socket->setSslConfiguration(configuration);
        const QByteArray identity = "Phone " + QByteArray::number(i) + "#0000";
        QObject::connect(socket.get(), &QSslSocket::preSharedKeyAuthenticationRequired,
                         socket.get(), [identity, key](QSslPreSharedKeyAuthenticator* a) {
                             a->setIdentity(identity);
                             a->setPreSharedKey(key);
                         });
        QObject::connect(socket.get(), &QSslSocket::readyRead, socket.get(),
                         [s = socket.get()] { s->readAll(); });
        socket->connectToHostEncrypted(QStringLiteral("127.0.0.1"), port);
        sockets.push_back(std::move(socket));
    }
    // The parent closes our standard input when it has measured.
    QSocketNotifier input(0, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &input, [] {
        char line[64];
        if (std::fgets(line, sizeof line, stdin) == nullptr) {
            QCoreApplication::quit();
        }
    });
    return QCoreApplication::exec();
}

void BM_MemoryPerConnectedPeer(benchmark::State& state) {
    const int peers = static_cast<int>(state.range(0));
    for (auto _ : state) {
        const Uuid session = Uuid::random();
        PeerLink desk({"Desk", "DDDD", PeerLink::Discovery::manual, QHostAddress::LocalHost});
        desk.setCurrent([&] { return logWithEvents(session, 10); });
        desk.start(session);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        const auto before = mallinfo2().uordblks;
        QProcess child;
        child.start(QCoreApplication::applicationFilePath(),
                    {"--peers", QString::number(desk.listeningPort()), QString::number(peers),
                     QString::fromLatin1(peerprotocol::preSharedKey(session).toHex())});
        if (!QTest::qWaitFor([&] { return desk.connected().size() == peers; }, waitMs)) {
            state.SkipWithError("not every peer linked");
            child.kill();
            child.waitForFinished();
            break;
        }
        QTest::qWait(200);
        const auto after = mallinfo2().uordblks;
        state.counters["bytes_per_peer"] =
            static_cast<double>(after - before) / static_cast<double>(peers);
        child.closeWriteChannel();
        child.waitForFinished(10'000);
    }
}
BENCHMARK(BM_MemoryPerConnectedPeer)->Arg(50)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    if (argc == 5 && std::strcmp(argv[1], "--peers") == 0) {
        return runPeers(static_cast<quint16>(std::atoi(argv[2])), std::atoi(argv[3]),
                        QByteArray::fromHex(argv[4]));
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
