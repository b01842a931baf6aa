#include "media/bwf_meta.h"
#include "support/media_fixtures.h"

#include <gtest/gtest.h>

namespace korvalume {
namespace {

using fixtures::WaveBuilder;

std::optional<ClipFile> readBytes(const WaveBuilder& wave) {
    MemorySource source(wave.bytes());
    return BWFMeta::read(source, "/card/take.wav", std::nullopt);
}

std::vector<std::byte> junk(std::size_t size) {
    return std::vector<std::byte>(size, std::byte{7});
}

TEST(BWFMeta, ReadsFilesWrittenByFfmpegsMuxer) {
    fixtures::TempDir dir;
    const auto bwf = BWFMeta::read(fixtures::makeWave(
        dir.file("bext.wav"),
        {.seconds = 0.5, .sampleRate = 48000, .channels = 2, .timeReference = 172'800'000}));
    ASSERT_TRUE(bwf);
    EXPECT_DOUBLE_EQ(bwf->duration, 0.5);
    EXPECT_EQ(bwf->audioChannels, 2);
    EXPECT_EQ(bwf->sampleRate, 48000);
    EXPECT_TRUE(bwf->audioOnly);
    ASSERT_TRUE(bwf->startTCSeconds);
    EXPECT_DOUBLE_EQ(*bwf->startTCSeconds, 3600.0); // 01:00:00:00
    EXPECT_EQ(bwf->width, 1920);                    // the record's defaults stand for sound files
    EXPECT_EQ(bwf->name(), "bext.wav");

    const auto rf64 = BWFMeta::read(
        fixtures::makeWave(dir.file("long.wav"), {.seconds = 0.25, .channels = 1, .rf64 = true}));
    ASSERT_TRUE(rf64);
    EXPECT_DOUBLE_EQ(rf64->duration, 0.25); // the data chunk says 0xFFFFFFFF; ds64 holds the size
    EXPECT_EQ(rf64->audioChannels, 1);
    EXPECT_FALSE(rf64->startTCSeconds);
}

TEST(BWFMeta, ChunkWalkFollowsSizesPadBytesAndDs64Order) {
    // 24-bit stereo at 48 kHz: 288,000,000 bytes last 1000 s. The data is cut
    // short in the file; the walk never reads it.
    const auto longTake = readBytes(WaveBuilder().fmt(2, 48000, 24).data(288'000'000, 64));
    ASSERT_TRUE(longTake);
    EXPECT_DOUBLE_EQ(longTake->duration, 1000.0);

    // An odd-sized chunk is followed by a pad byte; the next header is found after it.
    const auto padded =
        readBytes(WaveBuilder().chunk("JUNK", junk(3)).fmt(1, 48000, 16).data(96000, 16));
    ASSERT_TRUE(padded);
    EXPECT_DOUBLE_EQ(padded->duration, 1.0);

    // bext after the data chunk is still found.
    const auto bextLast =
        readBytes(WaveBuilder().fmt(2, 48000, 16).data(32, 32).chunk("LIST", junk(5)).bext(96000));
    ASSERT_TRUE(bextLast);
    ASSERT_TRUE(bextLast->startTCSeconds);
    EXPECT_DOUBLE_EQ(*bextLast->startTCSeconds, 2.0);

    // ds64 replaces a 0xFFFFFFFF data size only when it came first.
    const std::uint64_t sixGiB = 6ull << 30;
    const auto rf64 = readBytes(
        WaveBuilder("RF64").ds64(sixGiB).fmt(2, 48000, 16).bext(48000).data(0xFFFFFFFF, 8));
    ASSERT_TRUE(rf64);
    EXPECT_DOUBLE_EQ(rf64->duration, double(sixGiB) / 4 / 48000);
    EXPECT_DOUBLE_EQ(*rf64->startTCSeconds, 1.0);

    const auto ds64Late =
        readBytes(WaveBuilder("BW64").fmt(2, 48000, 16).data(0xFFFFFFFF, 8).ds64(sixGiB));
    ASSERT_TRUE(ds64Late);
    EXPECT_DOUBLE_EQ(ds64Late->duration, double(0xFFFFFFFFu) / 4 / 48000);

    // A ds64 too short to hold the size is ignored.
    const auto shortDs64 = readBytes(
        WaveBuilder("RF64").chunk("ds64", junk(12)).fmt(2, 48000, 16).data(0xFFFFFFFF, 8));
    ASSERT_TRUE(shortDs64);
    EXPECT_DOUBLE_EQ(shortDs64->duration, double(0xFFFFFFFFu) / 4 / 48000);
}

TEST(BWFMeta, ShortChunksAndOddFormats) {
    // A bext shorter than its time reference is ignored, and so is a zero reference.
    const auto shortBext =
        readBytes(WaveBuilder().fmt(2, 48000, 16).chunk("bext", junk(300)).data(4, 4));
    ASSERT_TRUE(shortBext);
    EXPECT_FALSE(shortBext->startTCSeconds);
    const auto midnight = readBytes(WaveBuilder().fmt(2, 48000, 16).bext(0).data(4, 4));
    ASSERT_TRUE(midnight);
    EXPECT_FALSE(midnight->startTCSeconds);

    // Mono and a format that says 0 channels both report one channel.
    EXPECT_EQ(readBytes(WaveBuilder().fmt(1, 44100, 16).data(4, 4))->audioChannels, 1);
    auto zeroChannels = WaveBuilder().rawChunk("fmt ", 16,
                                               {std::byte{1},
                                                {},
                                                {},
                                                {},
                                                std::byte{0x80},
                                                std::byte{0xBB},
                                                {},
                                                {},
                                                {},
                                                {},
                                                {},
                                                {},
                                                std::byte{4},
                                                {},
                                                std::byte{16},
                                                {}});
    const auto zero = readBytes(zeroChannels.data(48000, 4));
    ASSERT_TRUE(zero);
    EXPECT_EQ(zero->audioChannels, 1);
    EXPECT_DOUBLE_EQ(zero->duration, 0.25);

    // A 14-byte legacy format chunk fails the whole read, even with a good one later.
    EXPECT_FALSE(readBytes(WaveBuilder().chunk("fmt ", junk(14)).fmt(2, 48000, 16).data(4, 4)));
    // Without data, format or block align there is nothing to report.
    EXPECT_FALSE(readBytes(WaveBuilder().fmt(2, 48000, 16)));
    EXPECT_FALSE(readBytes(WaveBuilder().data(4, 4)));
    EXPECT_FALSE(readBytes(WaveBuilder().fmt(2, 48000, 0).data(4, 4)));
    // Other RIFF forms and containers are refused.
    EXPECT_FALSE(readBytes(WaveBuilder("RIFF", "AVI ").fmt(2, 48000, 16).data(4, 4)));
    EXPECT_FALSE(readBytes(WaveBuilder("FORM", "WAVE").fmt(2, 48000, 16).data(4, 4)));
}

TEST(BWFMeta, StopsOnceFormatDataAndBextAreKnown) {
    // Past the early stop lies a chunk that would fail the read if it were looked at.
    const auto wave =
        WaveBuilder().fmt(2, 48000, 16).bext(48000).data(1'000'000, 16).chunk("fmt ", junk(14));
    MemorySource memory(wave.bytes());
    CountingSource counted(memory);
    const auto clip = BWFMeta::read(counted, "x.wav", std::nullopt);
    ASSERT_TRUE(clip);
    EXPECT_DOUBLE_EQ(*clip->startTCSeconds, 1.0);
    // Header, three chunk headers, the format fields and the bext fields; never the data.
    EXPECT_EQ(counted.count().reads, 6u);
    EXPECT_EQ(counted.count().bytes, 12u + 3 * 8 + 16 + 346);

    // Without a format before them, data and bext do not stop the walk.
    const auto formatLast = readBytes(WaveBuilder().bext(96000).data(96, 96).fmt(1, 48000, 16));
    ASSERT_TRUE(formatLast);
    EXPECT_DOUBLE_EQ(*formatLast->startTCSeconds, 2.0);
}

TEST(BWFMeta, DamagedFilesYieldNothingOrWhatWasMet) {
    fixtures::TempDir dir;
    EXPECT_FALSE(BWFMeta::read(dir.file("missing.wav")));
    fixtures::writeFile(dir.file("empty.wav"), "");
    EXPECT_FALSE(BWFMeta::read(dir.file("empty.wav")));
    EXPECT_FALSE(BWFMeta::read(WaveBuilder().write(dir.file("header-only.wav"))));

    const auto whole = WaveBuilder().fmt(2, 48000, 16).data(192000, 64).bytes();
    for (std::size_t cut : {0u, 11u, 20u, 30u}) {
        const std::vector<std::byte> head(whole.begin(), whole.begin() + cut);
        MemorySource source(head);
        EXPECT_FALSE(BWFMeta::read(source, "cut.wav", std::nullopt)) << cut;
    }
    // Cut inside the data: what was met stands.
    const std::vector<std::byte> inData(whole.begin(), whole.begin() + 50);
    MemorySource source(inData);
    const auto partial = BWFMeta::read(source, "cut.wav", std::nullopt);
    ASSERT_TRUE(partial);
    EXPECT_DOUBLE_EQ(partial->duration, 1.0);

    // A chunk size that runs past any real offset ends the walk, not the process.
    const auto huge = readBytes(WaveBuilder("RF64")
                                    .ds64(~0ull)
                                    .fmt(2, 48000, 16)
                                    .data(0xFFFFFFFF, 8)
                                    .chunk("JUNK", junk(2)));
    ASSERT_TRUE(huge);
    EXPECT_FALSE(huge->startTCSeconds);
}

} // namespace
} // namespace korvalume
