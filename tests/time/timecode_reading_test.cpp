#include "time/timecode_reading.h"

#include <gtest/gtest.h>

#include <vector>

using korvalume::FrameRate;
using korvalume::Timecode;
namespace Reading = korvalume::TimecodeReading;

namespace {

// Readings of a camera whose label 10:00:00:00 began at master time `origin`; the i-th
// reading is taken `phase(i)` of a frame after its label began.
std::vector<Reading::Sample> series(int count, const FrameRate& rate, double origin,
                                    double (*phase)(int)) {
    const double frame = 1.0 / rate.tcFps();
    const std::int64_t start = Timecode{10, 0, 0, 0}.frameCount(rate.tcBase());
    std::vector<Reading::Sample> samples;
    for (int i = 0; i < count; ++i) {
        const std::int64_t n = start + 3 * i;
        const Timecode label = Timecode::fromFrameCount(n, rate.tcBase(), false);
        samples.push_back({origin + double(3 * i) * frame + phase(i) * frame, label});
    }
    return samples;
}

double spreadPhase(int i) {
    return double(i % 16) / 16.0;
} // covers 15/16 of a frame
double fixedPhase(int) {
    return 0.25;
}
double narrowPhase(int i) {
    return double(i % 16) / 40.0;
} // covers 37.5 %

} // namespace

TEST(TimecodeReadingParse, ToleratesNoiseButChecksTheBase) {
    EXPECT_EQ(Reading::parse("TC 1O:2S:3B:O7", 25), (Timecode{10, 25, 38, 7, false}));
    EXPECT_EQ(Reading::parse("10 : 00 : 00 ; 12", 30), (Timecode{10, 0, 0, 12, true}));
    EXPECT_EQ(Reading::parse("10:00:00.12", 30), (Timecode{10, 0, 0, 12, true}));
    EXPECT_EQ(Reading::parse("10:00:00,05", 25), (Timecode{10, 0, 0, 5, false}));
    EXPECT_EQ(Reading::parse("lI:|Z:00:00", 25), (Timecode{11, 12, 0, 0, false}));
    // Frames at or above the base are skipped, and a later plausible match wins.
    EXPECT_FALSE(Reading::parse("10:00:00:27", 25).has_value());
    EXPECT_EQ(Reading::parse("10:00:00:27 then 10:00:01:02", 25), (Timecode{10, 0, 1, 2}));
    // Digits glued on either side make no match.
    EXPECT_FALSE(Reading::parse("110:00:00:00", 25).has_value());
    EXPECT_FALSE(Reading::parse("10:00:00:001", 25).has_value());
    EXPECT_FALSE(Reading::parse("24:00:00:00", 25).has_value());
    EXPECT_FALSE(Reading::parse("", 25).has_value());
    // Non-ASCII digits never convert into a timecode.
    EXPECT_FALSE(Reading::parse("١٠:٠٠:٠٠:٠٠", 25).has_value());
}

TEST(TimecodeReadingLock, NeedsCountAndCoverage) {
    const FrameRate rate = FrameRate::pal();
    const double frame = 1.0 / rate.tcFps();
    EXPECT_FALSE(Reading::lock(series(15, rate, 1000, spreadPhase), rate).has_value());
    EXPECT_FALSE(Reading::lock(series(16, rate, 1000, narrowPhase), rate).has_value());

    const auto samples = series(16, rate, 1000, spreadPhase);
    const auto locked = Reading::lock(samples, rate);
    ASSERT_TRUE(locked.has_value());
    EXPECT_EQ(locked->samples, 16);
    EXPECT_EQ(locked->timecode, samples.back().timecode);
    // The covered range is [0, 15/16) of a frame: its middle less half a frame is 15/32 - 1/2.
    const double labelSeconds = samples.back().timecode.secondsAt(rate);
    EXPECT_NEAR(locked->at - labelSeconds, 1000 - 10 * 3600 + (15.0 / 32 - 0.5) * frame, 1e-6);
    EXPECT_NEAR(locked->spread, 0.5 * frame / 16, 1e-9);

    // A full series locks without coverage, leaving half a frame of doubt.
    const auto full = Reading::lock(series(48, rate, 1000, fixedPhase), rate);
    ASSERT_TRUE(full.has_value());
    EXPECT_NEAR(full->spread, frame / 2, 1e-9);
    EXPECT_FALSE(Reading::lock(series(47, rate, 1000, fixedPhase), rate).has_value());
}

TEST(TimecodeReadingLock, DropsOutliersButNeedsMostReadingsKept) {
    const FrameRate rate{30, true};
    auto twenty = series(20, rate, 5000, spreadPhase);
    for (int i = 0; i < 9; ++i)
        twenty[std::size_t(i * 2)].at += 2.0; // 9 far off: 11 kept, fewer than 16
    EXPECT_FALSE(Reading::lock(twenty, rate).has_value());

    auto forty = series(40, rate, 5000, spreadPhase);
    for (int i = 0; i < 15; ++i)
        forty[std::size_t(i)].at -= 1.0; // 25 kept of 40: 25 >= 24 goes on
    const auto locked = Reading::lock(forty, rate);
    ASSERT_TRUE(locked.has_value());
    EXPECT_EQ(locked->samples, 25);

    auto tooMany = series(40, rate, 5000, spreadPhase);
    for (int i = 0; i < 17; ++i)
        tooMany[std::size_t(i)].at -= 1.0; // 23 kept: under 60 %, even though the median is fine
    EXPECT_FALSE(Reading::lock(tooMany, rate).has_value());
}

TEST(TimecodeReadingProgress, CountAndCoverageHalves) {
    const FrameRate rate = FrameRate::pal();
    EXPECT_EQ(Reading::progress({}, rate), 0);
    EXPECT_EQ(Reading::progress(series(1, rate, 0, fixedPhase), rate), 1.0 / 32);
    // 8 readings covering 30 % of a frame: a quarter for the count, a quarter for coverage.
    auto eight = series(8, rate, 0, fixedPhase);
    eight.back().at += 0.3 / rate.tcFps();
    EXPECT_NEAR(Reading::progress(eight, rate), 0.5, 1e-9);
    EXPECT_NEAR(Reading::progress(series(16, rate, 0, fixedPhase), rate), 0.5, 1e-9);
    EXPECT_EQ(Reading::progress(series(48, rate, 0, spreadPhase), rate), 1.0);
}
