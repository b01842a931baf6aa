// Shoots made of arbitrary values (as a damaged log or odd media could give):
// the export must neither crash nor write a document an XML parser refuses.
#include "export/premiere_xml.h"

#include <QXmlStreamReader>

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdio>
#include <cstdlib>

namespace {

using namespace korvalume;

double anyDouble(FuzzedDataProvider& data) {
    // Mostly instants and durations of real shoots, sometimes anything at all.
    if (data.ConsumeBool())
        return data.ConsumeFloatingPoint<double>();
    return 1.7e9 + data.ConsumeFloatingPointInRange<double>(-1e5, 1e5);
}

FrameRate anyRate(FuzzedDataProvider& data) {
    if (data.ConsumeBool())
        return FrameRate{data.ConsumeIntegral<std::int64_t>(), data.ConsumeBool()};
    return FrameRate{data.ConsumeIntegralInRange<std::int64_t>(-2, 130), data.ConsumeBool()};
}

std::int64_t anyInt(FuzzedDataProvider& data, std::int64_t low, std::int64_t high) {
    if (data.ConsumeBool())
        return data.ConsumeIntegral<std::int64_t>();
    return data.ConsumeIntegralInRange(low, high);
}

ClipFile anyFile(FuzzedDataProvider& data) {
    ClipFile file;
    file.path = "/" + data.ConsumeRandomLengthString(24);
    file.duration = data.ConsumeBool() ? data.ConsumeFloatingPoint<double>()
                                       : data.ConsumeFloatingPointInRange<double>(0, 600);
    file.frames = anyInt(data, 0, 20'000);
    if (data.ConsumeBool())
        file.rate = anyRate(data);
    if (data.ConsumeBool())
        file.startTC = Timecode{anyInt(data, 0, 23), anyInt(data, 0, 59), anyInt(data, 0, 59),
                                anyInt(data, 0, 59), data.ConsumeBool()};
    file.width = anyInt(data, 1, 8192);
    file.height = anyInt(data, 1, 8192);
    file.audioChannels = anyInt(data, 0, 12);
    file.audioOnly = data.ConsumeBool();
    file.sampleRate = anyInt(data, 8000, 192'000);
    if (data.ConsumeBool())
        file.startTCSeconds = data.ConsumeBool()
                                  ? data.ConsumeFloatingPoint<double>()
                                  : data.ConsumeFloatingPointInRange<double>(0, 86400);
    return file;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedDataProvider data(bytes, size);
    SessionDoc doc;
    doc.name = data.ConsumeRandomLengthString(32);
    doc.fps = anyRate(data);
    doc.startedAt = MasterInstant(anyDouble(data));
    doc.zone = data.ConsumeIntegralInRange<std::int64_t>(-50'400, 50'400);
    for (int m = data.ConsumeIntegralInRange(0, 4); m > 0; --m) {
        SyncEvent marker;
        marker.kind = data.ConsumeBool() ? SyncEvent::Kind::marker : SyncEvent::Kind::tcScan;
        marker.at = MasterInstant(anyDouble(data));
        if (data.ConsumeBool())
            marker.label = data.ConsumeRandomLengthString(16);
        doc.events.push_back(marker);
    }
    std::vector<CameraPlan> plans(data.ConsumeIntegralInRange<std::size_t>(0, 4));
    std::vector<ClipFile> files;
    for (auto& plan : plans) {
        for (int c = data.ConsumeIntegralInRange(0, 24); c > 0 && data.remaining_bytes() > 0; --c) {
            // Reusing a file exercises the short references.
            if (!files.empty() && data.ConsumeBool())
                files.push_back(
                    files[data.ConsumeIntegralInRange<std::size_t>(0, files.size() - 1)]);
            else
                files.push_back(anyFile(data));
            std::optional<MasterInstant> start;
            if (data.ConsumeIntegralInRange(0, 4) != 0)
                start = MasterInstant(anyDouble(data));
            plan.clips.push_back(
                {files.back(), start,
                 start ? PlacedClip::Method::timecode : PlacedClip::Method::unplaced,
                 std::nullopt});
        }
    }

    const auto document = premierexml::build(doc, plans);
    QXmlStreamReader reader(
        QByteArray::fromRawData(document.xml.data(), qsizetype(document.xml.size())));
    while (!reader.atEnd())
        reader.readNext();
    if (reader.hasError()) {
        std::fprintf(stderr, "not well-formed at line %lld: %s\n",
                     static_cast<long long>(reader.lineNumber()),
                     reader.errorString().toUtf8().constData());
        std::abort();
    }
    return 0;
}
