// The host's work for one received log: a 1,000-event log from a phone merged into the
// open session, every planned camera placed again, the log saved and sent on to a linked
// peer. Real parts throughout: the desk model, a card of 20 Broadcast WAV files read
// for real, the peer link on loopback with one phone linked.
#include "desk/desk_test_support.h"
#include "live/peer_test_support.h"
#include "session/session_link.h"

#include <benchmark/benchmark.h>

#include <cstdio>

using namespace korvalume;
using namespace korvalume::testing;

namespace {

constexpr int waitMs = 30'000;

// A phone's log of the session: its own camera and `events` recordings and scans.
SessionDoc phoneLog(const SessionDoc& session, int events, int batch) {
    SessionDoc doc = session;
    Camera camera;
    camera.id = Uuid::random();
    camera.name = "CAM " + std::to_string(batch);
    doc.cameras.push_back(camera);
    for (int i = 0; i < events; ++i) {
        SyncEvent event;
        event.id = Uuid::random();
        event.cameraID = camera.id;
        event.kind = i % 2 == 0 ? SyncEvent::Kind::recStart : SyncEvent::Kind::recStop;
        event.at = session.startedAt + 10 + i * 5;
        doc.events.push_back(event);
    }
    return doc;
}

void BM_HostTakesInA1000EventLog(benchmark::State& state) {
    Desk desk;
    desk->live().start("BENCH", FrameRate{25, false});
    const SessionDoc started = desk.doc();

    // A recorder with a planned card, so that every received log places its clips again.
    SessionDoc withRecorder = started;
    Camera recorder;
    recorder.id = Uuid::random();
    recorder.name = "SOUND A";
    recorder.kind = Camera::Kind::recorder;
    withRecorder.cameras.push_back(recorder);
    for (int i = 0; i < 20; ++i) {
        SyncEvent start{Uuid::random(),
                        recorder.id,
                        SyncEvent::Kind::recStart,
                        started.startedAt + 100 * i,
                        {},
                        {}};
        SyncEvent stop{Uuid::random(),
                       recorder.id,
                       SyncEvent::Kind::recStop,
                       started.startedAt + 100 * i + 1,
                       {},
                       {}};
        withRecorder.events.push_back(start);
        withRecorder.events.push_back(stop);
        fixtures::WaveBuilder()
            .fmt(2, 48000, 24)
            .bext(std::uint64_t(i) * 4800000)
            .data(288000, 288000)
            .write(desk.dir.file("card/T" + std::to_string(100 + i) + ".WAV"));
    }
    desk->live().receive(withRecorder, {});
    if (!desk->planner().setFolder(recorder.id, desk.dir.path() + "/card") ||
        !desk.cardsRead(waitMs) || desk->planner().plans().empty()) {
        state.SkipWithError("the card was not read");
        return;
    }

    peer_test::RecordingLink phone("TABLET", "7AB10000");
    phone.link.start(started.id);
    desk.link.connectTo(QHostAddress(QHostAddress::LocalHost), phone.link.listeningPort(),
                        phone.link.peerName());
    if (!QTest::qWaitFor([&] { return !desk->live().peers().isEmpty(); }, waitMs)) {
        state.SkipWithError("the phone did not link");
        return;
    }

    int batch = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const SessionDoc incoming = phoneLog(withRecorder, 1000, ++batch);
        state.ResumeTiming();
        desk->live().receive(incoming, {});
        // The save and the send to the phone happen on the next pass of the event loop.
        QCoreApplication::processEvents();
    }
    state.counters["events_in_log"] = double(desk.doc().events.size());
}
BENCHMARK(BM_HostTakesInA1000EventLog)->Unit(benchmark::kMillisecond)->Iterations(30);

} // namespace

int main(int argc, char** argv) {
    application();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
