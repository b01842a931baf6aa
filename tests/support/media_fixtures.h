#pragma once

// Test fixtures that make real media: movies and WAV files through the ffmpeg
// CLI, hand-built WAV files and Sony-shaped XML sidecars. Makers throw
// std::runtime_error (with ffmpeg's own message) on failure.

#include "time/frame_rate.h"

#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvalume::fixtures {

// A fresh folder, removed with the object; under $KORVALUME_TEST_TMP when set.
class TempDir {
public:
    TempDir();
    const std::string& path() const { return path_; }
    // path()/relative, with missing parent folders made.
    std::string file(std::string_view relative) const;

private:
    QTemporaryDir dir_;
    std::string path_;
};

enum class Container { Mov, Mp4, M4v, Mxf };

struct MovieSpec {
    Container container = Container::Mov;
    FrameRate rate{25, false};
    // As ffmpeg's -timecode takes it ("10:00:00:00", ";" for drop-frame).
    std::optional<std::string> timecode = "10:00:00:00";
    double seconds = 1.0;
    int width = 64;
    int height = 36;
    std::optional<std::string> creationTime; // ISO 8601, e.g. "2024-05-01T10:00:00Z"
    bool withVideo = true;
    bool withAudio = false;
    int audioChannels = 1; // of the one audio stream, when withAudio
    int sampleRate = 48000;
    // ffmpeg's -c:v in place of the container's usual codec (MPEG-2 in MXF, H.264 elsewhere).
    std::optional<std::string> videoCodec;
    friend bool operator==(const MovieSpec&, const MovieSpec&) = default;
};

// Writes a movie at `path` with the ffmpeg CLI; returns `path`.
std::string makeMovie(const std::string& path, const MovieSpec& recipe);
// Made once per test process per recipe and shared: media making dominates the suite.
const std::string& cachedMovie(const MovieSpec& recipe);

// A WAV file made by ffmpeg's own muxer, with bext and RF64 where asked.
struct WaveSpec {
    double seconds = 0.5;
    int sampleRate = 48000;
    int channels = 2;
    std::optional<std::uint64_t> timeReference; // written in a bext chunk
    bool rf64 = false;
};
std::string makeWave(const std::string& path, const WaveSpec& recipe);

// Hand-built RIFF/RF64/BW64 files, chunk by chunk, for layouts no muxer writes.
class WaveBuilder {
public:
    explicit WaveBuilder(std::string_view containerId = "RIFF", std::string_view formType = "WAVE");

    WaveBuilder& fmt(std::uint16_t channels, std::uint32_t sampleRate, std::uint16_t bitsPerSample);
    WaveBuilder& ds64(std::uint64_t dataSize);
    // A 602-byte bext chunk (version 1) with this time reference.
    WaveBuilder& bext(std::uint64_t timeReference);
    // A header saying `declaredSize` over `payloadBytes` zero bytes (fewer cuts the file short).
    WaveBuilder& data(std::uint32_t declaredSize, std::size_t payloadBytes);
    // Header with the payload's own size, the payload, a pad byte when odd.
    WaveBuilder& chunk(std::string_view id, const std::vector<std::byte>& payload);

    const std::vector<std::byte>& bytes() const { return bytes_; }
    std::string write(const std::string& path) const;

private:
    void header(std::string_view id, std::uint32_t declaredSize);
    std::vector<std::byte> bytes_;
};

// A Sony camera's clip sidecar, shaped as real cameras write it.
struct SonySidecarSpec {
    std::int64_t durationFrames = 250;
    std::string formatFps = "25p";
    std::string captureFps = "25p";
    std::string tcFps = "25";
    std::string firstLtc = "00000010"; // 10:00:00:00
    std::string creationDate = "2024-05-01T12:00:00+02:00";
    std::string model = "ILME-FX6V";
    std::string serial = "0123456";
    std::int64_t width = 3840;
    std::int64_t height = 2160;
    std::int64_t channels = 4;
};
std::string sonySidecarXml(const SonySidecarSpec& recipe);
// Writes the sidecar beside `clipPath` as base + `suffix` ("M01.XML" or "M01.xml").
std::string writeSonySidecar(const std::string& clipPath, const SonySidecarSpec& recipe,
                             std::string_view suffix = "M01.XML");

void writeFile(const std::string& path, std::string_view contents);

} // namespace korvalume::fixtures
