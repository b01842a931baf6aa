#include "media/bwf_meta.h"
#include "support/media_fixtures.h"

#include <gtest/gtest.h>

namespace korvalume {
namespace {

using Wave = fixtures::WaveBuilder;
using Bytes = std::vector<std::byte>;

const auto junk = [](std::size_t size) { return Bytes(size, std::byte{7}); };
// 16-bit stereo at 48 kHz: four bytes a sample frame.
const auto stereo = [](std::string_view container = "RIFF", std::string_view form = "WAVE") {
    return Wave(container, form).fmt(2, 48000, 16);
};
// The chunks a builder made, without its 12-byte file header.
const auto chunksOf = [](const Wave& w) { return Bytes(w.bytes().begin() + 12, w.bytes().end()); };

// The head's bytes; with a tail, zeros and then the tail 4 GiB after the head ends, as past
// the samples of a long RF64 take.
struct SparseFile final : ByteSource {
    SparseFile(Bytes front, Bytes back = {}) : head(std::move(front)), tail(std::move(back)) {}
    std::optional<ClipFile> read() { return bwfmeta::read(*this, "take.wav", std::nullopt); }
    std::optional<std::size_t> readAt(std::uint64_t offset, std::span<std::byte> out) override {
        std::size_t i = 0;
        for (; i < out.size() && offset < end && i < end - offset; ++i) {
            const std::uint64_t at = offset + i;
            out[i] = at < head.size() ? head[at] : at >= tailAt ? tail[at - tailAt] : std::byte{};
        }
        return i;
    }
    std::optional<std::uint64_t> size() override { return end; }
    const Bytes head, tail;
    const std::uint64_t tailAt = head.size() + (tail.empty() ? 0 : 1ull << 32);
    const std::uint64_t end = tailAt + tail.size();
};

TEST(BWFMeta, ReadsAnRf64FileWrittenByFfmpeg) {
    fixtures::TempDir dir;
    // The data chunk says 0xFFFFFFFF and ds64 holds the size.
    const auto clip = bwfmeta::read(fixtures::makeWave(
        dir.file("take.wav"),
        {.seconds = 0.25, .channels = 1, .timeReference = 172'800'000, .rf64 = true}));
    ASSERT_TRUE(clip);
    EXPECT_EQ(std::tuple(clip->duration, clip->frames, clip->audioChannels, clip->audioOnly,
                         clip->startTCSeconds),
              std::tuple(0.25, 0, 1, true, 3600.0)); // 01:00:00:00
    EXPECT_FALSE(bwfmeta::read(dir.file("missing.wav")));
}

struct Layout {
    Bytes bytes;
    double duration;
    int channels = 2;
    std::optional<double> start;
    Bytes tail = {};
};

TEST(BWFMeta, ChunkWalk) {
    const double perByte = 1.0 / 4 / 48000;
    const std::uint64_t sixGiB = 6ull << 30;
    const std::uint64_t wrapTo80 = 0 - std::uint64_t(698 - 80);
    const Bytes hiddenBext = chunksOf(Wave().bext(48000));
    Bytes zeroChannels = stereo().data(48000, 4).bytes();
    zeroChannels[22] = zeroChannels[23] = std::byte{0}; // the format's channel count
    const Layout layouts[] = {
        // 24-bit stereo: 288,000,000 bytes last 1000 s; the data is never read.
        {Wave().fmt(2, 48000, 24).data(288'000'000, 64).bytes(), 1000.0},
        // The pad byte after an odd-sized chunk; 44.1 kHz mono.
        {Wave().chunk("JUNK", junk(3)).fmt(1, 44100, 16).data(88200, 16).bytes(), 1.0, 1},
        // bext after the data is still found.
        {stereo().data(32, 32).chunk("LIST", junk(5)).bext(96000).bytes(), 32 * perByte, 2, 2.0},
        // Without a format before them, data and bext do not stop the walk.
        {Wave().bext(96000).data(96, 96).fmt(1, 48000, 16).bytes(), 96.0 / 2 / 48000, 1, 2.0},
        // ds64 replaces a 0xFFFFFFFF data size only when it came first and is whole;
        // one after the data (4 GiB on, past the pad byte) replaces nothing.
        {Wave("RF64").ds64(sixGiB).fmt(2, 48000, 16).bext(48000).data(~0u, 8).bytes(),
         sixGiB * perByte, 2, 1.0},
        {stereo("BW64").data(~0u, 0).bytes(), ~0u * perByte, 2, 1.0,
         chunksOf(Wave().ds64(sixGiB).bext(48000))},
        {Wave("RF64").chunk("ds64", junk(12)).fmt(2, 48000, 16).data(~0u, 8).bytes(),
         ~0u * perByte},
        // A short bext (here with half its time reference), or one at midnight, gives no start.
        {stereo().chunk("bext", junk(342)).data(4, 4).bytes(), 4 * perByte},
        {stereo().bext(0).data(4, 4).bytes(), 4 * perByte},
        {zeroChannels, 0.25, 1},
        {stereo().data(192000, 6).bytes(), 1.0}, // cut inside the data
        // A size that would wrap the next offset round to 80, a bext hidden in a JUNK
        // payload, ends the walk instead (the data's payload is at 698).
        {stereo("RF64").ds64(wrapTo80).chunk("JUNK", hiddenBext).data(~0u, 8).bytes(),
         double(wrapTo80) * perByte},
    };
    for (std::size_t i = 0; i < std::size(layouts); ++i) {
        SCOPED_TRACE("layout " + std::to_string(i));
        const auto clip = SparseFile(layouts[i].bytes, layouts[i].tail).read();
        ASSERT_TRUE(clip);
        EXPECT_DOUBLE_EQ(clip->duration, layouts[i].duration);
        EXPECT_EQ(clip->audioChannels, layouts[i].channels);
        EXPECT_EQ(clip->startTCSeconds, layouts[i].start);
    }
}

TEST(BWFMeta, RefusesWhatIsNoUsableWave) {
    const Bytes whole = stereo().data(192000, 64).bytes();
    const Bytes refused[] = {
        // A 14-byte legacy format chunk fails the read, even with a good one later.
        Wave().chunk("fmt ", junk(14)).fmt(2, 48000, 16).data(4, 4).bytes(),
        stereo().bytes(),                           // no data
        Wave().data(4, 4).bytes(),                  // no format
        Wave().fmt(2, 48000, 0).data(4, 4).bytes(), // block align 0
        stereo("RIFF", "AVI ").data(4, 4).bytes(),
        stereo("FORM").data(4, 4).bytes(),
    };
    for (std::size_t i = 0; i < std::size(refused); ++i)
        EXPECT_FALSE(SparseFile(refused[i]).read()) << "case " << i;
    for (int keep : {0, 11, 12, 20, 30})
        EXPECT_FALSE(SparseFile(Bytes(whole.begin(), whole.begin() + keep)).read())
            << "cut at " << keep;
}

} // namespace
} // namespace korvalume
