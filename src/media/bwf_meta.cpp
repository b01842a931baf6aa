#include "media/bwf_meta.h"

#include <array>
#include <cstring>
#include <limits>
#include <string_view>

namespace korvalume::bwfmeta {

std::uint32_t le32(std::span<const std::byte> bytes, std::size_t index) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value |= std::uint32_t(bytes[index + i]) << (8 * i);
    return value;
}

namespace {

std::uint16_t le16(std::span<const std::byte> bytes, std::size_t index) {
    return std::uint16_t(std::uint16_t(bytes[index]) | std::uint16_t(bytes[index + 1]) << 8);
}

bool idIs(std::span<const std::byte> bytes, std::size_t index, std::string_view id) {
    return std::memcmp(bytes.data() + index, id.data(), 4) == 0;
}

// Payload lengths the walk needs; nothing beyond them is ever read.
constexpr std::size_t fmtLength = 16;
constexpr std::size_t ds64Length = 16;
constexpr std::size_t bextLength = 346; // broadcast-wave fields up to the time reference
constexpr std::uint32_t sizeFromDs64 = 0xFFFFFFFF;

// Reads min(size, N) payload bytes; the count that arrived, or 0 on an error.
template <std::size_t N>
std::size_t readPayload(ByteSource& source, std::uint64_t at, std::uint64_t size,
                        std::array<std::byte, N>& into) {
    const std::size_t wanted = std::size_t(std::min<std::uint64_t>(size, N));
    return source.readAt(at, std::span(into).first(wanted)).value_or(0);
}

} // namespace

std::optional<WaveInfo> walk(ByteSource& source) {
    std::array<std::byte, 12> header{};
    if (source.readAt(0, header) != header.size())
        return std::nullopt;
    if (!(idIs(header, 0, "RIFF") || idIs(header, 0, "RF64") || idIs(header, 0, "BW64")) ||
        !idIs(header, 8, "WAVE"))
        return std::nullopt;

    WaveInfo info;
    std::optional<std::uint64_t> ds64DataSize;
    std::uint64_t position = 12;
    for (;;) {
        std::array<std::byte, 8> chunk{};
        if (source.readAt(position, chunk) != chunk.size())
            break;
        const std::uint64_t payloadAt = position + 8;
        std::uint64_t size = le32(chunk, 4);

        if (idIs(chunk, 0, "fmt ")) {
            std::array<std::byte, fmtLength> fmt{};
            if (readPayload(source, payloadAt, size, fmt) < fmtLength)
                return std::nullopt; // a 14-byte legacy format chunk is refused on purpose
            info.channels = le16(fmt, 2);
            info.sampleRate = le32(fmt, 4);
            info.blockAlign = le16(fmt, 12);
        } else if (idIs(chunk, 0, "ds64")) {
            std::array<std::byte, ds64Length> ds64{};
            if (readPayload(source, payloadAt, size, ds64) == ds64Length)
                ds64DataSize = std::uint64_t(le32(ds64, 8)) | std::uint64_t(le32(ds64, 12)) << 32;
        } else if (idIs(chunk, 0, "bext")) {
            std::array<std::byte, bextLength> bext{};
            if (readPayload(source, payloadAt, size, bext) == bextLength) {
                info.timeReference = std::uint64_t(le32(bext, 338)) | std::uint64_t(le32(bext, 342))
                                                                          << 32;
                info.bextMet = true;
            }
        } else if (idIs(chunk, 0, "data")) {
            // Only a ds64 met before this chunk replaces its size.
            if (size == sizeFromDs64 && ds64DataSize)
                size = *ds64DataSize;
            info.dataSize = size;
            info.dataMet = true;
        }

        // A 64-bit size from the file can point past any real offset: that ends the walk.
        const std::uint64_t span = size + (size % 2);
        if (span < size || span > std::numeric_limits<std::uint64_t>::max() - payloadAt)
            break;
        if (info.dataMet && info.bextMet && info.sampleRate != 0)
            break;
        position = payloadAt + span;
    }
    return info;
}

std::optional<ClipFile> clipFrom(const WaveInfo& info, const std::string& path,
                                 std::optional<double> created) {
    if (!info.dataMet || info.sampleRate == 0 || info.blockAlign < 1)
        return std::nullopt;
    ClipFile clip;
    clip.path = path;
    clip.duration = double(info.dataSize) / double(info.blockAlign) / double(info.sampleRate);
    clip.frames = 0;
    clip.created = created;
    clip.audioOnly = true;
    clip.audioChannels = info.channels <= 1 ? 1 : info.channels;
    clip.sampleRate = info.sampleRate;
    // A recording that starts exactly at midnight reads as having no start time.
    if (info.bextMet && info.timeReference != 0)
        clip.startTCSeconds = double(info.timeReference) / double(info.sampleRate);
    return clip;
}

std::optional<ClipFile> read(ByteSource& source, const std::string& path,
                             std::optional<double> created) {
    const auto info = walk(source);
    if (!info)
        return std::nullopt;
    return clipFrom(*info, path, created);
}

std::optional<ClipFile> read(const std::string& path) {
    FileSource source(path);
    if (!source.isOpen())
        return std::nullopt;
    const auto created = source.birthTime();
    return read(source, path, created);
}

} // namespace korvalume::bwfmeta
