// The timeline of a large shoot: 20 cameras with N placed clips each, movies
// and sound files with one to eight channels, some clips overlapping so that
// cameras spread over several tracks.
#include "export/premiere_xml.h"

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <random>
#include <string>
#include <vector>

namespace {

using namespace korvalume;

constexpr double shootStart = 1'715'594'400.0;

// Documents of every size come from fresh mappings, so sizes compare fairly:
// glibc otherwise starts reusing freed blocks of up to 32 MB after the first run.
[[maybe_unused]] const int fixedMmapThreshold = mallopt(M_MMAP_THRESHOLD, 1 << 20);

struct Shoot {
    SessionDoc doc;
    std::vector<CameraPlan> plans;
};

Shoot largeShoot(int cameras, int clipsPerCamera) {
    std::mt19937_64 random(42);
    std::uniform_real_distribution<double> length(5.0, 120.0), pause(-3.0, 60.0);
    std::uniform_int_distribution<std::int64_t> channels(1, 8);
    Shoot shoot;
    shoot.doc.name = "Benchmark";
    shoot.doc.fps = FrameRate{30, true};
    shoot.doc.startedAt = MasterInstant(shootStart);
    shoot.doc.zone = 0;
    for (int m = 0; m < clipsPerCamera / 10; ++m) {
        SyncEvent marker;
        marker.kind = SyncEvent::Kind::marker;
        marker.at = MasterInstant(shootStart + 60.0 * m);
        marker.label = "Take " + std::to_string(m);
        shoot.doc.events.push_back(marker);
    }
    for (int c = 0; c < cameras; ++c) {
        CameraPlan plan;
        plan.camera.name = "CAM " + std::to_string(c);
        const bool recorder = c % 5 == 4;
        double at = shootStart + 10;
        for (int i = 0; i < clipsPerCamera; ++i) {
            ClipFile file;
            file.path = "/Volumes/Shoot Day/CAM " + std::to_string(c) + "/C" + std::to_string(i) +
                        (recorder ? ".WAV" : ".MP4");
            file.duration = length(random);
            file.audioChannels = channels(random);
            if (recorder) {
                file.audioOnly = true;
                file.startTCSeconds = 36'000.0 + at - shootStart;
            } else {
                file.rate = FrameRate{30, true};
                file.frames = std::int64_t(file.duration * 29.97);
                file.startTC = Timecode{10, i % 60, 0, 0, false};
                file.width = 3840;
                file.height = 2160;
            }
            plan.clips.push_back(
                {file, MasterInstant(at), PlacedClip::Method::timecode, std::nullopt});
            at += file.duration + pause(random);
        }
        shoot.plans.push_back(std::move(plan));
    }
    return shoot;
}

void exportShoot(benchmark::State& state) {
    const auto shoot = largeShoot(20, int(state.range(0)));
    std::size_t bytes = 0;
    for (auto _ : state) {
        auto xml = premierexml::exportDocument(shoot.doc, shoot.plans);
        bytes = xml.size();
        benchmark::DoNotOptimize(xml);
    }
    state.SetComplexityN(state.range(0));
    state.counters["MB"] = double(bytes) / 1e6;
    state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(bytes));
}
BENCHMARK(exportShoot)
    ->Arg(500)
    ->Arg(5000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oN);

// Every clip of one camera overlapping all the others: one lane per clip, so
// the lane search is what grows. Both sizes' documents (50 and 500 MB) are far
// beyond the caches, so they compare fairly.
void exportPileUp(benchmark::State& state) {
    Shoot shoot;
    shoot.doc.name = "Pile-up";
    shoot.doc.fps = FrameRate{25, false};
    shoot.doc.startedAt = MasterInstant(shootStart);
    CameraPlan plan;
    for (std::int64_t i = 0; i < state.range(0); ++i) {
        ClipFile file;
        file.path = "/cards/" + std::to_string(i) + ".MOV";
        file.duration = 1e5;
        file.frames = 2'500'000;
        file.rate = FrameRate{25, false};
        plan.clips.push_back(
            {file, MasterInstant(shootStart + double(i)), PlacedClip::Method::timecode, {}});
    }
    shoot.plans.push_back(std::move(plan));
    for (auto _ : state)
        benchmark::DoNotOptimize(premierexml::exportDocument(shoot.doc, shoot.plans));
    state.SetComplexityN(state.range(0));
}
BENCHMARK(exportPileUp)
    ->Arg(20000)
    ->Arg(200000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oN);

} // namespace
