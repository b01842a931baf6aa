#pragma once

// Real media for tests: movies and WAV files through the ffmpeg CLI, hand-built WAV files
// and Sony-shaped XML sidecars. Makers throw std::runtime_error with ffmpeg's own message.

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
    std::optional<std::string> timecode = "10:00:00:00"; // as -timecode takes it, ";" for DF
    double seconds = 1.0;
    int width = 64, height = 36;
    std::optional<std::string> creationTime; // "2024-05-01T10:00:00Z"
    bool withVideo = true, withAudio = false;
    int audioChannels = 1, sampleRate = 48000; // of the one audio stream
    std::optional<std::string> videoCodec;     // -c:v in place of MPEG-2 (MXF) or H.264
    friend bool operator==(const MovieSpec&, const MovieSpec&) = default;
};

// Writes a movie at `path`, returned; cachedMovie makes each once a process (it is slow).
std::string makeMovie(const std::string& path, const MovieSpec& recipe);
const std::string& cachedMovie(const MovieSpec& recipe);

// A WAV file from ffmpeg's own muxer, with bext and RF64 where asked.
struct WaveSpec {
    double seconds = 0.5; // at 48 kHz
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
    WaveBuilder& bext(std::uint64_t timeReference); // version 1, 602 bytes
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

// An ILME-FX6V's clip sidecar, 29.97p from 01:56:34:12, shaped as the camera writes it.
struct SonySidecarSpec {
    std::int64_t durationFrames = 1250;
};
std::string sonySidecarXml(const SonySidecarSpec& recipe);
// Writes the sidecar beside `clipPath` as base + `suffix` ("M01.XML" or "M01.xml").
std::string writeSonySidecar(const std::string& clipPath, const SonySidecarSpec& recipe,
                             std::string_view suffix = "M01.XML");

void writeFile(const std::string& path, std::string_view contents);

} // namespace korvalume::fixtures
