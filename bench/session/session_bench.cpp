// Decoding, encoding, combining and reporting on two logs of 100,000 events
// each that share half their events, as two phones' logs of a long shoot would.
#include "session/combining.h"
#include "session/session_doc.h"
#include "session/session_file.h"

#include <benchmark/benchmark.h>

#include <cstdio>

using namespace korvalume;

namespace {

constexpr unsigned eventsPerLog = 100000;
constexpr unsigned cameraCount = 8;

Uuid numbered(unsigned n, std::uint8_t group) {
    Uuid id = *Uuid::parse("3F2A9C1D-5B6E-4F70-8A9B-000000000000");
    id.bytes[8] = group;
    for (int i = 0; i < 4; ++i)
        id.bytes[std::size_t(15 - i)] = std::uint8_t(n >> (8 * i));
    return id;
}

SyncEvent numberedEvent(unsigned n) {
    static constexpr SyncEvent::Kind cycle[] = {SyncEvent::Kind::recStart, SyncEvent::Kind::tcScan,
                                                SyncEvent::Kind::recStop, SyncEvent::Kind::tcScan};
    SyncEvent event;
    event.id = numbered(n, 0xEE);
    event.at = MasterInstant(1700000000.0 + n * 0.37 + (n % 1000) * 1e-6);
    if (n % 997 == 0) {
        event.kind = SyncEvent::Kind::marker;
        event.label = "MARK " + std::to_string(n / 997 + 1);
        return event;
    }
    event.cameraID = numbered(n % cameraCount, 0xCC);
    event.kind = cycle[(n / cameraCount) % 4];
    if (event.kind == SyncEvent::Kind::tcScan) {
        char text[16];
        std::snprintf(text, sizeof text, "%02u:%02u:%02u:%02u", (n / 90000) % 24, (n / 1500) % 60,
                      (n / 25) % 60, n % 25);
        event.timecode = text;
    }
    return event;
}

// Events [first, first + eventsPerLog).
SessionDoc phoneLog(unsigned first) {
    SessionDoc doc;
    doc.id = numbered(1, 0x5E);
    doc.name = "SHOOT 15 NOV";
    doc.fps = FrameRate{25, false};
    doc.startedAt = MasterInstant(1700000000);
    doc.zone = 3600;
    for (unsigned c = 0; c < cameraCount; ++c) {
        Camera camera;
        camera.id = numbered(c, 0xCC);
        camera.name = "CAM " + std::string(1, char('A' + c));
        camera.model = "ILME-FX6";
        camera.ownerID = "PHONE-" + std::to_string(c % 3);
        camera.ownerName = "Phone " + std::to_string(c % 3);
        camera.updatedAt = MasterInstant(1700000000.5 + first);
        doc.cameras.push_back(camera);
    }
    doc.events.reserve(eventsPerLog);
    for (unsigned n = first; n < first + eventsPerLog; ++n)
        doc.events.push_back(numberedEvent(n));
    return doc;
}

const SessionDoc& firstLog() {
    static const SessionDoc doc = phoneLog(0);
    return doc;
}

const SessionDoc& secondLog() {
    static const SessionDoc doc = phoneLog(eventsPerLog / 2);
    return doc;
}

void BM_Encode(benchmark::State& state) {
    std::size_t bytes = 0;
    for (auto _ : state) {
        auto encoded = sessionfile::encoded(firstLog());
        bytes = encoded->size();
        benchmark::DoNotOptimize(encoded);
    }
    state.counters["bytes"] = double(bytes);
    state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(bytes));
}

void BM_Decode(benchmark::State& state) {
    const std::string bytes = *sessionfile::encoded(firstLog());
    for (auto _ : state) {
        auto decoded = sessionfile::decode(bytes);
        if (!decoded)
            state.SkipWithError(decoded.message().c_str());
        benchmark::DoNotOptimize(decoded);
    }
    state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(bytes.size()));
}

void BM_Merge(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        SessionDoc doc = firstLog();
        state.ResumeTiming();
        merge(doc, secondLog());
        benchmark::DoNotOptimize(doc);
        state.PauseTiming();
        if (doc.events.size() != eventsPerLog * 3 / 2)
            state.SkipWithError("wrong number of combined events");
        doc = {}; // freeing is not part of combining
        state.ResumeTiming();
    }
}

void BM_Report(benchmark::State& state) {
    for (auto _ : state) {
        auto lines = report(firstLog(), secondLog());
        benchmark::DoNotOptimize(lines);
    }
}

} // namespace

BENCHMARK(BM_Encode)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Decode)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Merge)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Report)->Unit(benchmark::kMillisecond);
