// Planning speed: one busy camera (2,000 files against 2,000 logged recordings),
// and a whole shoot of 20 cameras with 500 clips each.
#include "session/logged_recordings.h"
#include "sync/sync_map.h"

#include <benchmark/benchmark.h>

#include <random>
#include <string>
#include <vector>

namespace korvalume {
namespace {

constexpr double day0 = 1'699'920'000;

struct CameraShoot {
    SessionDoc doc;
    Camera camera;
    std::vector<ClipFile> files;
};

void addEvent(SessionDoc& doc, const Camera& camera, SyncEvent::Kind kind, double at,
              std::optional<std::string> timecode = {}) {
    doc.events.push_back(
        {Uuid::random(), camera.id, kind, MasterInstant(at), std::move(timecode), {}});
}

// A free-running camera shooting `takes` takes from 08:00 on. Some takes were
// not logged (Bluetooth down), some logged ones have no file (a card swapped out),
// a few recordings lost their link before the stop, and a few files are slow motion.
void shootCamera(SessionDoc& doc, Camera camera, std::vector<ClipFile>& files, int takes,
                 bool scanned, std::mt19937& random) {
    std::uniform_real_distribution<double> length(4, 240);
    std::uniform_real_distribution<double> pause(5, 90);
    std::uniform_real_distribution<double> jitter(-0.4, 0.4);
    std::uniform_int_distribution<int> percent(0, 99);
    double clock = day0 + 8 * 3600;
    const double timecodeOffset = 0.52; // the camera runs half a second behind
    if (scanned)
        addEvent(doc, camera, SyncEvent::Kind::tcScan, clock - 60, "07:58:59:12");
    for (int take = 0; take < takes; ++take) {
        const double duration = length(random);
        const int fate = percent(random);
        if (fate >= 3) { // logged
            addEvent(doc, camera, SyncEvent::Kind::recStart, clock);
            addEvent(doc, camera, fate < 6 ? SyncEvent::Kind::linkLost : SyncEvent::Kind::recStop,
                     clock + duration + jitter(random));
        }
        if (fate < 97 || fate >= 99) { // on the card
            ClipFile file;
            file.path = "/cards/" + camera.name + "/C" + std::to_string(10000 + take) + ".MP4";
            file.duration = duration;
            file.rate = FrameRate::pal();
            file.startTC = Timecode::fromSeconds(clock - day0 - timecodeOffset, *file.rate, false);
            file.created = clock + duration; // cameras stamp the end
            file.slowMotion = percent(random) == 0;
            files.push_back(std::move(file));
        }
        clock += duration + pause(random);
    }
    if (scanned)
        addEvent(doc, camera, SyncEvent::Kind::tcScan, clock, std::nullopt);
}

SessionDoc newDoc() {
    SessionDoc doc;
    doc.id = Uuid::random();
    doc.name = "Benchmark";
    doc.fps = FrameRate::pal();
    doc.startedAt = MasterInstant(day0 + 7 * 3600);
    doc.endedAt = MasterInstant(day0 + 23 * 3600);
    doc.zone = 0;
    return doc;
}

Camera newCamera(int index) {
    Camera camera;
    camera.id = Uuid::random();
    camera.name = "CAM " + std::to_string(index);
    return camera;
}

void sortEvents(SessionDoc& doc) {
    std::stable_sort(doc.events.begin(), doc.events.end(),
                     [](const SyncEvent& a, const SyncEvent& b) { return a.at < b.at; });
}

void BM_OneCamera2000Files(benchmark::State& state) {
    std::mt19937 random(7);
    SessionDoc doc = newDoc();
    const Camera camera = newCamera(1);
    doc.cameras = {camera};
    std::vector<ClipFile> files;
    shootCamera(doc, camera, files, 2000, false, random);
    sortEvents(doc);
    const auto logged = clips(doc, camera.id).size();
    for (auto _ : state) {
        auto plan = syncmap::plan(camera, files, doc);
        benchmark::DoNotOptimize(plan);
    }
    state.counters["files"] = double(files.size());
    state.counters["logged"] = double(logged);
}
BENCHMARK(BM_OneCamera2000Files)->Unit(benchmark::kMillisecond);

void BM_Align2000x2000(benchmark::State& state) {
    std::mt19937 random(11);
    std::uniform_real_distribution<double> length(4, 240);
    std::vector<double> files(2000), logged(2000);
    for (std::size_t i = 0; i < files.size(); ++i) {
        logged[i] = length(random);
        files[i] = logged[i] + 0.3;
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(syncmap::align(files, logged));
}
BENCHMARK(BM_Align2000x2000)->Unit(benchmark::kMillisecond);

void BM_Shoot20Cameras500Clips(benchmark::State& state) {
    std::mt19937 random(13);
    SessionDoc doc = newDoc();
    std::vector<std::vector<ClipFile>> cards(20);
    for (int c = 0; c < 20; ++c) {
        doc.cameras.push_back(newCamera(c + 1));
        // Half the cameras were scanned; the others rely on their logs.
        shootCamera(doc, doc.cameras.back(), cards[std::size_t(c)], 500, c % 2 == 0, random);
    }
    sortEvents(doc);
    for (auto _ : state) {
        for (std::size_t c = 0; c < cards.size(); ++c) {
            auto plan = syncmap::plan(doc.cameras[c], cards[c], doc);
            benchmark::DoNotOptimize(plan);
        }
    }
}
BENCHMARK(BM_Shoot20Cameras500Clips)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace korvalume
