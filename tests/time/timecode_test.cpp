#include "time/timecode.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>

using korvalume::FrameRate;
using korvalume::Timecode;

namespace {
Timecode tc(std::int64_t h, std::int64_t m, std::int64_t s, std::int64_t f, bool df = false) {
    return Timecode{h, m, s, f, df};
}
} // namespace

TEST(TimecodeText, SimpleParser) {
    EXPECT_EQ(Timecode::parse("10:00:00:00"), tc(10, 0, 0, 0));
    EXPECT_EQ(Timecode::parse("10:00:00;00"), tc(10, 0, 0, 0, true));
    EXPECT_EQ(Timecode::parse("01:02:03.04"), tc(1, 2, 3, 4, true));
    EXPECT_EQ(Timecode::parse("01.02.03.04"), tc(1, 2, 3, 4, true));
    // The drop-frame flag is read at one fixed position only.
    EXPECT_EQ(Timecode::parse("1:2:3;4"), tc(1, 2, 3, 4, false));
    // Empty pieces are dropped; failing pieces are skipped, not errors.
    EXPECT_EQ(Timecode::parse("10::00:00:00"), tc(10, 0, 0, 0));
    EXPECT_EQ(Timecode::parse("x:10:00:00:00"), tc(10, 0, 0, 0));
    // Frames are bounded by 59 whatever the rate, negatives pass.
    EXPECT_EQ(Timecode::parse("00:00:00:30"), tc(0, 0, 0, 30));
    EXPECT_EQ(Timecode::parse("-1:00:00:00"), tc(-1, 0, 0, 0));
    EXPECT_EQ(Timecode::parse("+1:00:00:00"), tc(1, 0, 0, 0));

    for (const char* rejected : {"24:00:00:00", "10:60:00:00", "10:00:60:00", "10:00:00:60",
                                 "10:00:00:00:00", "10:00:00", "10:00:00:x", "", " 10:00:00:00 x",
                                 "10:00:00: 1", "--1:00:00:00", "99999999999999999999:00:00:00"}) {
        // " 10:00:00:00 x" still has four numbers only if " 10" parsed, which strict parsing
        // refuses.
        EXPECT_FALSE(Timecode::parse(rejected).has_value()) << rejected;
    }
}

TEST(TimecodeText, PrintsPaddedWithDropSeparator) {
    EXPECT_EQ(tc(1, 2, 3, 4, true).string(), "01:02:03;04");
    EXPECT_EQ(tc(23, 59, 59, 29).string(), "23:59:59:29");
    EXPECT_EQ(tc(100, 0, 0, 0).string(), "100:00:00:00");
    EXPECT_EQ(tc(0, 0, 0, -1).string(), "00:00:00:-1");
}

TEST(TimecodeCount, DropFrameAcrossMinuteAndTenMinuteBoundaries) {
    EXPECT_EQ(tc(0, 1, 0, 2, true).frameCount(30), 1800);
    EXPECT_EQ(tc(0, 10, 0, 0, true).frameCount(30), 17982);
    EXPECT_EQ(tc(1, 0, 0, 0, true).frameCount(30), 107892);
    EXPECT_EQ(Timecode::fromFrameCount(1799, 30, true), tc(0, 0, 59, 29, true));
    EXPECT_EQ(Timecode::fromFrameCount(1800, 30, true), tc(0, 1, 0, 2, true));
    EXPECT_EQ(Timecode::fromFrameCount(17981, 30, true), tc(0, 9, 59, 29, true));
    EXPECT_EQ(Timecode::fromFrameCount(17982, 30, true), tc(0, 10, 0, 0, true));
    // The tenth minute keeps its labels 00 and 01.
    EXPECT_EQ(Timecode::fromFrameCount(17983, 30, true), tc(0, 10, 0, 1, true));
    EXPECT_EQ(Timecode::fromFrameCount(17982 + 1799, 30, true), tc(0, 10, 59, 29, true));
    EXPECT_EQ(Timecode::fromFrameCount(17982 + 1800, 30, true), tc(0, 11, 0, 2, true));

    // Drop-frame only exists at base 30: elsewhere the flag is ignored and never produced.
    EXPECT_EQ(tc(0, 1, 0, 2, true).frameCount(24), tc(0, 1, 0, 2).frameCount(24));
    EXPECT_FALSE(Timecode::fromFrameCount(100, 24, true).dropFrame);
    EXPECT_FALSE(Timecode::fromFrameCount(100, 60, true).dropFrame);
}

TEST(TimecodeCount, WholeDayRoundTripsAtEveryKnownRate) {
    for (const auto& rate : FrameRate::all()) {
        for (bool dropFrame : {false, true}) {
            const std::int64_t base = rate.tcBase();
            const bool df = dropFrame && base == 30;
            const std::int64_t day = df ? 2589408 : 24 * 3600 * base;
            for (std::int64_t n = 0; n < day; ++n) {
                const Timecode label = Timecode::fromFrameCount(n, base, dropFrame);
                ASSERT_EQ(label.frameCount(base), n) << rate.label() << " count " << n;
                if (df) {
                    // Labels 00 and 01 are skipped in every minute not divisible by ten.
                    ASSERT_FALSE(label.seconds == 0 && label.frames < 2 && label.minutes % 10 != 0)
                        << label.string();
                }
            }
            // One whole day starts again at midnight.
            EXPECT_EQ(Timecode::fromFrameCount(day, base, dropFrame), tc(0, 0, 0, 0, df));
        }
    }
}

TEST(TimecodeSeconds, NtscConversionsAndRounding) {
    const FrameRate ntsc30{30, true};
    const FrameRate ntsc60{60, true};
    const FrameRate ntsc24{24, true};
    // One hour of 29.97 drop-frame labels is almost exactly an hour of wall-clock time.
    EXPECT_NEAR(tc(1, 0, 0, 0, true).secondsAt(ntsc30), 3600.0, 0.004);
    // Non-drop labels run slow by 1000/1001.
    EXPECT_NEAR(tc(1, 0, 0, 0).secondsAt(ntsc30), 3603.6, 1e-9);
    // 59.94 counts at its halved base with 29.97 drop-frame rules.
    EXPECT_EQ(tc(1, 0, 0, 0, true).secondsAt(ntsc60), tc(1, 0, 0, 0, true).secondsAt(ntsc30));
    EXPECT_EQ(tc(0, 0, 1, 0).secondsAt(ntsc24), 24 / (24 * 0.999000999000999));

    // Seconds back to labels go through the slowed rate, halves rounding away from zero.
    EXPECT_EQ(Timecode::fromSeconds(3603.6, ntsc30, false), tc(1, 0, 0, 0));
    EXPECT_EQ(Timecode::fromSeconds(tc(10, 0, 0, 0, true).secondsAt(ntsc30), ntsc30, true),
              tc(10, 0, 0, 0, true));
    EXPECT_EQ(Timecode::fromSeconds(0.5, FrameRate::pal(), false), tc(0, 0, 0, 13)); // 12.5 up
    EXPECT_EQ(Timecode::fromSeconds(0.49, FrameRate::pal(), false), tc(0, 0, 0, 12));
    EXPECT_EQ(Timecode::fromSeconds(-5, FrameRate::pal(), false), tc(0, 0, 0, 0));
    EXPECT_EQ(Timecode::fromSeconds(86400, FrameRate::pal(), false), tc(0, 0, 0, 0));

    // Every label of a 23.976 and a 59.94 day survives a trip through seconds.
    for (const auto& rate : {ntsc24, ntsc60}) {
        const bool df = rate.tcBase() == 30;
        for (std::int64_t n = 0; n < 2589408; n += 997) {
            const Timecode label = Timecode::fromFrameCount(n, rate.tcBase(), df);
            ASSERT_EQ(Timecode::fromSeconds(label.secondsAt(rate), rate, df), label) << n;
        }
    }
}

TEST(TimecodeChecked, OutsideValuesThatWouldOverflowAreUnreadable) {
    const Timecode huge{INT64_MAX / 60, 0, 0, 0, false};
    EXPECT_FALSE(huge.checkedFrameCount(25).has_value());
    EXPECT_FALSE(huge.checkedSecondsAt(FrameRate::pal()).has_value());
    EXPECT_FALSE((Timecode{0, 0, 1, INT64_MAX, false}.checkedFrameCount(25).has_value()));
    EXPECT_FALSE((Timecode{0, INT64_MIN, 0, 0, true}.checkedFrameCount(30).has_value()));
    EXPECT_EQ(tc(23, 59, 59, 24).checkedFrameCount(25), 24 * 3600 * 25 - 1);

    EXPECT_FALSE(Timecode::checkedFromSeconds(1e300, FrameRate::pal(), false).has_value());
    EXPECT_FALSE(Timecode::checkedFromSeconds(std::nan(""), FrameRate::pal(), false).has_value());
    EXPECT_FALSE(Timecode::checkedFromFrameCount(10, 0, false).has_value());
    EXPECT_FALSE(Timecode::checkedFromFrameCount(INT64_MAX, 30, true).has_value());
    // Negative counts give negative fields, as truncating arithmetic does.
    EXPECT_EQ(Timecode::fromFrameCount(-1, 25, false), tc(0, 0, 0, -1));
}
