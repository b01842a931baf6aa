#include "time/timecode_reading.h"

#include <gtest/gtest.h>

#include <vector>

using korvalume::FrameRate;
using korvalume::Timecode;
namespace Reading = korvalume::timecodereading;

namespace {

// Readings of a camera whose label 10:00:00:00 began at master time `origin`; the i-th
// reading is taken `offset + (i % 16) * step` of a frame after its label began.
std::vector<Reading::Sample> series(int count, const FrameRate& rate, double origin, double step,
                                    double offset = 0) {
    const double frame = 1.0 / rate.tcFps();
    const std::int64_t start = Timecode{10, 0, 0, 0}.frameCount(rate.tcBase());
    std::vector<Reading::Sample> samples;
    for (int i = 0; i < count; ++i) {
        const double phase = offset + double(i % 16) * step;
        samples.push_back({origin + double(3 * i) * frame + phase * frame,
                           Timecode::fromFrameCount(start + 3 * i, rate.tcBase(), false)});
    }
    return samples;
}

constexpr double spread = 1.0 / 16; // sixteen readings cover 15/16 of a frame
constexpr double narrow = 1.0 / 40; // ... or 37.5 %

} // namespace

// What a phone's camera reads off a camera's display: letters that look like digits, loose
// separators, and stray text around it.
TEST(TimecodeReadingParse, ToleratesNoiseButChecksTheBase) {
    EXPECT_EQ(Reading::parse("TC 1O:2S:3B:O7", 25), (Timecode{10, 25, 38, 7, false}));
    EXPECT_EQ(Reading::parse("10 : 00 : 00 ; 12", 30), (Timecode{10, 0, 0, 12, true}));
    EXPECT_EQ(Reading::parse("lI:|Z:00:00", 25), (Timecode{11, 12, 0, 0, false}));
    EXPECT_EQ(Reading::parse("10:00:00,05", 25), (Timecode{10, 0, 0, 5, false}));
    // Frames at or above the base are skipped, and a later plausible match wins.
    EXPECT_EQ(Reading::parse("10:00:00:27 then 10:00:01:02", 25), (Timecode{10, 0, 1, 2}));
    for (const char* refused : {"10:00:00:27", "110:00:00:00", "10:00:00:001", "24:00:00:00", "",
                                "\u0661\u0660:\u0660\u0660:\u0660\u0660:\u0660\u0660"})
        EXPECT_FALSE(Reading::parse(refused, 25)) << refused;
}

TEST(TimecodeReadingLock, NeedsCountAndCoverage) {
    const FrameRate rate = FrameRate::pal();
    const double frame = 1.0 / rate.tcFps();
    EXPECT_FALSE(Reading::lock(series(15, rate, 1000, spread), rate).has_value());
    EXPECT_FALSE(Reading::lock(series(16, rate, 1000, narrow), rate).has_value());

    const auto samples = series(16, rate, 1000, spread);
    const auto locked = Reading::lock(samples, rate);
    ASSERT_TRUE(locked.has_value());
    EXPECT_EQ(locked->samples, 16);
    EXPECT_EQ(locked->timecode, samples.back().timecode);
    // The covered range is [0, 15/16) of a frame: its middle less half a frame is 15/32 - 1/2.
    const double labelSeconds = samples.back().timecode.secondsAt(rate);
    EXPECT_NEAR(locked->at - labelSeconds, 1000 - 10 * 3600 + (15.0 / 32 - 0.5) * frame, 1e-6);
    EXPECT_NEAR(locked->spread, 0.5 * frame / 16, 1e-9);

    // A full series locks without coverage, leaving half a frame of doubt.
    const auto full = Reading::lock(series(48, rate, 1000, 0, 0.25), rate);
    ASSERT_TRUE(full.has_value());
    EXPECT_NEAR(full->spread, frame / 2, 1e-9);
    EXPECT_FALSE(Reading::lock(series(47, rate, 1000, 0, 0.25), rate).has_value());
}

TEST(TimecodeReadingLock, DropsOutliersButNeedsMostReadingsKept) {
    const FrameRate rate{30, true};
    // `far` of `count` readings, every `stride`-th one, moved by `by` seconds.
    const auto shifted = [&](int count, int far, int stride, double by) {
        auto samples = series(count, rate, 5000, spread);
        for (int i = 0; i < far; ++i)
            samples[std::size_t(i * stride)].at += by;
        return Reading::lock(samples, rate);
    };
    EXPECT_FALSE(shifted(20, 9, 2, 2).has_value()); // 11 kept, fewer than 16
    const auto locked = shifted(40, 15, 1, -1);     // 25 kept of 40: 25 >= 24 goes on
    ASSERT_TRUE(locked.has_value());
    EXPECT_EQ(locked->samples, 25);
    // 23 kept: under 60 %, even though the median is fine.
    EXPECT_FALSE(shifted(40, 17, 1, -1).has_value());
}
