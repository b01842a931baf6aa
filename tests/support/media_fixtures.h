#pragma once

// Test fixtures that make real media: movies through the ffmpeg command-line
// tool, WAV files byte by byte or through ffmpeg, and Sony-shaped XML sidecars.
// Every maker throws std::runtime_error (with ffmpeg's own message) on failure.

#include "time/frame_rate.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvalume::fixtures {

// A fresh folder, removed with the object; under $KORVALUME_TEST_TMP when set.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return path_; }
    // path()/relative, with missing parent folders made.
    std::string file(std::string_view relative) const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
    std::string path_;
};

enum class Container { Mov, Mp4, M4v, Mxf };

struct MovieSpec {
    Container container = Container::Mov;
    FrameRate rate{25, false};
    // Start timecode as ffmpeg's -timecode takes it ("10:00:00:00", ";" for drop-frame).
    std::optional<std::string> timecode = "10:00:00:00";
    double seconds = 1.0;
    int width = 64;
    int height = 36;
    std::optional<std::string> creationTime; // ISO 8601, e.g. "2024-05-01T10:00:00Z"
    bool withVideo = true;
    bool withAudio = false;
};

// Writes a movie at `path` with the ffmpeg CLI; returns `path`.
std::string makeMovie(const std::string& path, const MovieSpec& spec);

// Movies made once per test process and shared by every test that asks for
// the same spec (the suite runs twice in CI; media making dominates it).
const std::string& cachedMovie(const MovieSpec& spec);

// ffmpeg's rate text for a FrameRate: "24000/1001", "25".
std::string ffmpegRate(const FrameRate& rate);

// A WAV file made by ffmpeg's own muxer, with bext and RF64 where asked.
struct WaveSpec {
    double seconds = 0.5;
    int sampleRate = 48000;
    int channels = 2;
    std::optional<std::uint64_t> timeReference; // written in a bext chunk
    bool rf64 = false;
};
std::string makeWave(const std::string& path, const WaveSpec& spec);

// Hand-built RIFF/RF64/BW64 files, chunk by chunk, for layouts no muxer writes.
class WaveBuilder {
public:
    explicit WaveBuilder(std::string_view containerId = "RIFF", std::string_view formType = "WAVE");

    // A 16-byte PCM format chunk.
    WaveBuilder& fmt(std::uint16_t channels, std::uint32_t sampleRate, std::uint16_t bitsPerSample);
    // A ds64 chunk whose 64-bit data size is `dataSize`.
    WaveBuilder& ds64(std::uint64_t dataSize);
    // A 602-byte bext chunk (version 1 layout) with this time reference.
    WaveBuilder& bext(std::uint64_t timeReference);
    // A data chunk whose header says `declaredSize` and that holds `payloadBytes`
    // zero bytes (fewer than declared makes a file cut short).
    WaveBuilder& data(std::uint32_t declaredSize, std::size_t payloadBytes);
    // Any chunk: header with the payload's own size, the payload, a pad byte when odd.
    WaveBuilder& chunk(std::string_view id, const std::vector<std::byte>& payload);
    // A chunk header whose size field says `declaredSize`, followed by `payload`
    // as given (no pad byte added): for short and lying chunks.
    WaveBuilder& rawChunk(std::string_view id, std::uint32_t declaredSize,
                          const std::vector<std::byte>& payload);

    const std::vector<std::byte>& bytes() const { return bytes_; }
    std::string write(const std::string& path) const;

private:
    std::vector<std::byte> bytes_;
};

// A Sony camera's clip sidecar, in the shape real cameras write.
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
std::string sonySidecarXml(const SonySidecarSpec& spec);
// Writes the sidecar beside `clipPath` as base + `suffix` ("M01.XML" or "M01.xml").
std::string writeSonySidecar(const std::string& clipPath, const SonySidecarSpec& spec,
                             std::string_view suffix = "M01.XML");

void writeFile(const std::string& path, std::string_view contents);
void writeFile(const std::string& path, const std::vector<std::byte>& contents);
std::vector<std::byte> readFile(const std::string& path);

} // namespace korvalume::fixtures
