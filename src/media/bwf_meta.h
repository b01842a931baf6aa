#pragma once

#include "media/byte_source.h"
#include "media/clip_file.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

// WAV, BWF, RF64 and BW64 files: a walk over chunk headers that reads only the
// format, ds64 and bext fields it needs and seeks past everything else.
namespace korvalume::bwfmeta {

// What the chunk walk found, before it becomes a ClipFile.
struct WaveInfo {
    std::uint32_t sampleRate = 0;
    std::uint16_t channels = 0;
    std::uint16_t blockAlign = 0;
    std::uint64_t dataSize = 0;
    std::uint64_t timeReference = 0; // samples since midnight, from bext
    bool dataMet = false;
    bool bextMet = false;

    friend bool operator==(const WaveInfo&, const WaveInfo&) = default;
};

// Walks the chunks; nullopt when the header is not a WAVE container or the
// format chunk is too short. The result may still lack a data chunk.
std::optional<WaveInfo> walk(ByteSource& source);

// The record for a walked file; nullopt unless data, a sample rate and a
// block align were found. `created` comes from the caller.
std::optional<ClipFile> clipFrom(const WaveInfo& info, const std::string& path,
                                 std::optional<double> created);

// Reads one WAV file; nullopt when it is not a usable WAVE file.
std::optional<ClipFile> read(const std::string& path);
// The same through any source (counted reads, bytes in memory).
std::optional<ClipFile> read(ByteSource& source, const std::string& path,
                             std::optional<double> created);

// Little-endian 32-bit value of four payload bytes at `index`.
std::uint32_t le32(std::span<const std::byte> bytes, std::size_t index);

} // namespace korvalume::bwfmeta
