#include "media/media_reader.h"
#include "media/movie_meta.h"
#include "support/media_fixtures.h"

#include <gtest/gtest.h>

#include <cmath>

namespace korvalume {
namespace {

using fixtures::Container;

TEST(MovieMeta, NearestKnownRateKeepsTheEarlierOnTies) {
    EXPECT_EQ(MovieMeta::nearestRate(29.97), (FrameRate{30, true}));
    EXPECT_EQ(MovieMeta::nearestRate(30000.0 / 1001), (FrameRate{30, true}));
    EXPECT_EQ(MovieMeta::nearestRate(59.9), (FrameRate{60, true}));
    EXPECT_EQ(MovieMeta::nearestRate(120), (FrameRate{60, false}));
    EXPECT_EQ(MovieMeta::nearestRate(0), (FrameRate{24, true}));
    // Exactly halfway between two members: the one listed first.
    EXPECT_EQ(MovieMeta::nearestRate(24.5), (FrameRate{24, false}));
    EXPECT_EQ(MovieMeta::nearestRate(40), (FrameRate{30, false}));
}

TEST(MovieMeta, TimecodeTrackFrameNumbers) {
    // Frame 1800 at quanta 30: drop-frame skips labels 00 and 01 of minute 1.
    EXPECT_EQ(MovieMeta::timecodeFromFrameNumber(1800, 30, true), (Timecode{0, 1, 0, 2, true}));
    EXPECT_EQ(MovieMeta::timecodeFromFrameNumber(1800, 30, false), (Timecode{0, 1, 0, 0, false}));
    // 59.94 counts 60 labels a second; it is given at 30, as cameras display it.
    EXPECT_EQ(MovieMeta::timecodeFromFrameNumber(3601, 60, true), (Timecode{0, 1, 0, 2, true}));
    EXPECT_EQ(MovieMeta::timecodeFromFrameNumber(50 * 3600 + 49, 50, false),
              (Timecode{1, 0, 0, 24, false}));
    // The drop flag means nothing at 25.
    EXPECT_EQ(MovieMeta::timecodeFromFrameNumber(25 * 61, 25, true), (Timecode{0, 1, 1, 0, false}));
    EXPECT_FALSE(MovieMeta::timecodeFromFrameNumber(100, 0, false));
    // Frame numbers past a day wrap like a clock.
    EXPECT_EQ(MovieMeta::timecodeFromFrameNumber(24 * 3600 * 24 + 5, 24, false),
              (Timecode{0, 0, 0, 5, false}));

    EXPECT_EQ(MovieMeta::timecodeFromText("10:00:00;58", FrameRate{60, true}),
              (Timecode{10, 0, 0, 29, true}));
    EXPECT_EQ(MovieMeta::timecodeFromText("10:00:00:24", FrameRate{25, false}),
              (Timecode{10, 0, 0, 24, false}));
    EXPECT_FALSE(MovieMeta::timecodeFromText("-01:00:00:00", FrameRate{25, false}));
    EXPECT_FALSE(MovieMeta::timecodeFromText("garbage", FrameRate{25, false}));
}

struct RateCase {
    FrameRate rate;
    std::string written; // as given to ffmpeg -timecode
    Timecode expected;   // as the desk reads it
};

// Start timecodes away from whole seconds, so a wrong base or drop rule shows.
const RateCase rateCases[] = {
    {{24, true}, "01:02:03:04", {1, 2, 3, 4, false}},
    {{24, false}, "10:00:00:23", {10, 0, 0, 23, false}},
    {{25, false}, "10:00:59:24", {10, 0, 59, 24, false}},
    {{30, true}, "10:01:00;02", {10, 1, 0, 2, true}},
    {{50, false}, "10:00:00:49", {10, 0, 0, 24, false}},
    {{60, true}, "10:01:00;05", {10, 1, 0, 2, true}},
};

TEST(MovieMeta, TimecodeTracksAtEveryRateInEveryContainer) {
    for (const Container container : {Container::Mov, Container::Mp4, Container::Mxf}) {
        for (const RateCase& c : rateCases) {
            const std::string& path =
                fixtures::cachedMovie({.container = container,
                                       .rate = c.rate,
                                       .timecode = c.written,
                                       .seconds = 1.0,
                                       .width = 64,
                                       .height = 48,
                                       .creationTime = "2024-05-01T10:00:00Z"});
            SCOPED_TRACE(path);
            const auto clip = MediaReader::read(path);
            ASSERT_TRUE(clip);
            EXPECT_EQ(clip->path, path);
            EXPECT_EQ(clip->rate, c.rate);
            EXPECT_EQ(clip->startTC, c.expected);
            // ffmpeg's 1 s at an NTSC rate is a whole number of frames lasting 1.001 s.
            const double expectedSeconds = std::ceil(c.rate.fps() - 1e-9) / c.rate.fps();
            EXPECT_NEAR(clip->duration, expectedSeconds, 0.002);
            EXPECT_EQ(clip->frames, c.rate.timebase);
            EXPECT_EQ(clip->width, 64);
            EXPECT_EQ(clip->height, 48);
            ASSERT_TRUE(clip->created);
            EXPECT_DOUBLE_EQ(*clip->created, 1714557600.0);
        }
    }
}

TEST(MovieMeta, MissingPartsAndUnreadableMovies) {
    // No timecode track and no date: still a record.
    const auto bare = MediaReader::read(fixtures::cachedMovie(
        {.container = Container::M4v, .rate = {30, true}, .timecode = std::nullopt}));
    ASSERT_TRUE(bare);
    EXPECT_FALSE(bare->startTC);
    EXPECT_FALSE(bare->created);
    EXPECT_EQ(bare->rate, (FrameRate{30, true}));
    EXPECT_EQ(bare->width, 64);
    EXPECT_EQ(bare->height, 36);

    fixtures::TempDir dir;
    EXPECT_FALSE(MediaReader::read(dir.file("missing.mov")));
    fixtures::writeFile(dir.file("empty.mp4"), "");
    EXPECT_FALSE(MediaReader::read(dir.file("empty.mp4")));
    fixtures::writeFile(dir.file("text.mov"), std::string(5000, 'x'));
    EXPECT_FALSE(MediaReader::read(dir.file("text.mov")));

    // A QuickTime movie whose index is cut off (ffmpeg writes it last) cannot be
    // listed; an MXF file keeps its header metadata up front, and cut inside that
    // it cannot be listed either.
    const auto mov = fixtures::readFile(fixtures::cachedMovie({.container = Container::Mov}));
    const auto mxf = fixtures::readFile(fixtures::cachedMovie({.container = Container::Mxf}));
    for (const auto& [whole, keep] : {std::pair{mov, mov.size() / 2}, std::pair{mxf, 1024ul}}) {
        const std::vector<std::byte> cut(whole.begin(), whole.begin() + keep);
        MemorySource source(cut);
        EXPECT_FALSE(MovieMeta::read(source, "cut")) << keep;
    }

    // A sound-only movie is not listed.
    EXPECT_FALSE(MediaReader::read(fixtures::cachedMovie(
        {.container = Container::Mov, .withVideo = false, .withAudio = true})));
}

TEST(MovieMeta, ReadsHeadersNotMedia) {
    // A movie with sound; reading it costs a small part of the file.
    const std::string& path = fixtures::cachedMovie({.container = Container::Mov,
                                                     .seconds = 4.0,
                                                     .width = 320,
                                                     .height = 240,
                                                     .withAudio = true});
    FileSource file(path);
    CountingSource counted(file);
    const auto clip = MovieMeta::read(counted, path);
    ASSERT_TRUE(clip);
    EXPECT_EQ(clip->width, 320);
    EXPECT_LT(counted.count().bytes * 4, *file.size());
}

} // namespace
} // namespace korvalume
