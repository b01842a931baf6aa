// The live view on a long session: 100,000 logged events over 20 cameras that are all
// rolling. A redraw (ten a second) must stay far below a millisecond, and an event that
// a phone sends must reach the camera's row within a few milliseconds.
#include "app/live_view.h"
#include "desk/desk_model.h"
#include "desk/preview_services.h"

#include <QGuiApplication>

#include <benchmark/benchmark.h>

using namespace korvalume;

namespace {

constexpr int cameras = 20;
constexpr int events = 100'000;

SessionDoc longSession() {
    SessionDoc doc = SessionDoc::newSession("LONG DAY", FrameRate{25, false},
                                            MasterInstant(1'700'000'000), "DESK");
    for (int c = 0; c < cameras; ++c) {
        Camera camera;
        camera.id = Uuid::random();
        camera.name = "CAM " + std::to_string(c + 1);
        camera.link = c % 2 ? Camera::Link::bluetooth : Camera::Link::scan;
        doc.cameras.push_back(camera);
    }
    // Takes of every camera in turn, with a scan now and then; every camera ends rolling.
    for (int i = 0; i < events; ++i) {
        SyncEvent event;
        event.id = Uuid::random();
        event.cameraID = doc.cameras[std::size_t(i % cameras)].id;
        const int step = i / cameras;
        event.kind = step % 7 == 6
                         ? SyncEvent::Kind::tcScan
                         : (step % 2 ? SyncEvent::Kind::recStop : SyncEvent::Kind::recStart);
        if (i >= events - cameras)
            event.kind = SyncEvent::Kind::recStart;
        if (event.kind == SyncEvent::Kind::tcScan)
            event.timecode = "10:00:00:00";
        event.at = doc.startedAt + 0.5 * i;
        doc.events.push_back(std::move(event));
    }
    return doc;
}

struct LiveDesk {
    PreviewServices services{{"MIA", "JONAS"}, true, "DESK"};
    DeskModel model{services.services()};
    LiveState view;

    LiveDesk() {
        model.show(longSession());
        view.setModel(&model);
    }
};

void BM_LiveViewRedraw(benchmark::State& state) {
    LiveDesk desk;
    for (auto _ : state)
        desk.view.redraw();
    state.counters["rows"] = desk.view.rows()->rowCount();
}
BENCHMARK(BM_LiveViewRedraw)->Unit(benchmark::kMicrosecond);

// A phone's new event, as the link hands it over, until its camera's row shows it.
void BM_ReceivedEventReachesItsRow(benchmark::State& state) {
    LiveDesk desk;
    const SessionDoc& doc = *desk.model.document().doc();
    SessionDoc delta = doc;
    delta.events.clear();
    const int row = 3;
    const Camera camera = doc.activeCameras()[row];
    MasterInstant at = doc.events.back().at;
    for (auto _ : state) {
        state.PauseTiming();
        SyncEvent scan;
        scan.id = Uuid::random();
        scan.cameraID = camera.id;
        scan.kind = SyncEvent::Kind::tcScan;
        scan.timecode = "10:00:00:00";
        at += 1;
        scan.at = at;
        delta.events = {scan};
        const QString before =
            desk.view.rows()->data(desk.view.rows()->index(row), LiveRowsModel::Detail).toString();
        state.ResumeTiming();
        desk.model.live().receive(delta, "MIA");
        const QString after =
            desk.view.rows()->data(desk.view.rows()->index(row), LiveRowsModel::Detail).toString();
        if (after == before) {
            state.SkipWithError("the row did not change");
            return;
        }
    }
    state.counters["events"] = double(desk.model.document().doc()->events.size());
}
BENCHMARK(BM_ReceivedEventReachesItsRow)->Unit(benchmark::kMicrosecond)->Iterations(200);

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
