// Builds a session and a card from the input, plans the camera, and checks that
// every file got one outcome whose parts agree with its method.
#include "sync/sync_map.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using namespace korvalume;

// Mostly the values a shoot produces, sometimes anything at all.
double instant(FuzzedDataProvider& data) {
    if (data.ConsumeIntegralInRange(0, 7) == 0)
        return data.ConsumeFloatingPoint<double>();
    return 1'700'000'000.0 + data.ConsumeFloatingPointInRange<double>(-100'000, 100'000);
}

double seconds(FuzzedDataProvider& data) {
    if (data.ConsumeIntegralInRange(0, 7) == 0)
        return data.ConsumeFloatingPoint<double>();
    return data.ConsumeFloatingPointInRange<double>(0, 600);
}

FrameRate rate(FuzzedDataProvider& data) {
    if (data.ConsumeIntegralInRange(0, 7) == 0)
        return {data.ConsumeIntegral<std::int64_t>(), data.ConsumeBool()};
    const auto known = FrameRate::all();
    return known[data.ConsumeIntegralInRange<std::size_t>(0, known.size() - 1)];
}

Timecode timecode(FuzzedDataProvider& data) {
    if (data.ConsumeIntegralInRange(0, 7) == 0) {
        return {data.ConsumeIntegral<std::int64_t>(), data.ConsumeIntegral<std::int64_t>(),
                data.ConsumeIntegral<std::int64_t>(), data.ConsumeIntegral<std::int64_t>(),
                data.ConsumeBool()};
    }
    return {data.ConsumeIntegralInRange<std::int64_t>(0, 23),
            data.ConsumeIntegralInRange<std::int64_t>(0, 59),
            data.ConsumeIntegralInRange<std::int64_t>(0, 59),
            data.ConsumeIntegralInRange<std::int64_t>(0, 29), data.ConsumeBool()};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedDataProvider data(bytes, size);
    SessionDoc doc;
    doc.fps = rate(data);
    if (data.ConsumeBool())
        doc.endedAt = instant(data);
    Camera camera;
    camera.id.bytes[0] = 1;
    Camera other;
    other.id.bytes[0] = 2;
    doc.cameras = {camera, other};

    const auto eventCount = data.ConsumeIntegralInRange(0, 48);
    for (int i = 0; i < eventCount; ++i) {
        SyncEvent event;
        event.id.bytes[1] = static_cast<std::uint8_t>(i);
        event.cameraID = data.ConsumeIntegralInRange(0, 9) == 0 ? other.id : camera.id;
        event.kind = static_cast<SyncEvent::Kind>(data.ConsumeIntegralInRange(0, 4));
        event.at = instant(data);
        if (event.kind == SyncEvent::Kind::tcScan && data.ConsumeBool()) {
            event.timecode =
                data.ConsumeBool() ? timecode(data).string() : data.ConsumeRandomLengthString(24);
        }
        doc.events.push_back(std::move(event));
    }

    std::vector<ClipFile> files(data.ConsumeIntegralInRange(0, 24));
    for (std::size_t i = 0; i < files.size(); ++i) {
        ClipFile& file = files[i];
        file.path = "/card/" + data.ConsumeRandomLengthString(6) + std::to_string(i);
        file.duration = seconds(data);
        if (data.ConsumeBool())
            file.rate = rate(data);
        switch (data.ConsumeIntegralInRange(0, 2)) {
        case 0:
            file.startTC = timecode(data);
            break;
        case 1:
            file.startTCSeconds = data.ConsumeFloatingPoint<double>();
            break;
        default:
            break;
        }
        if (data.ConsumeBool())
            file.created = instant(data);
        file.slowMotion = data.ConsumeIntegralInRange(0, 9) == 0;
    }

    const CameraPlan plan = syncmap::plan(camera, files, doc);
    if (plan.clips.size() != files.size())
        std::abort();
    for (const auto& clip : plan.clips) {
        const bool placed = clip.method != PlacedClip::Method::unplaced;
        if (placed != clip.start.has_value() || placed == clip.note.has_value())
            std::abort();
    }
    return 0;
}
