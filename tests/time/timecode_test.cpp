#include "time/timecode.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <utility>

using korvalume::FrameRate;
using korvalume::Timecode;

namespace {

Timecode tc(std::int64_t h, std::int64_t m, std::int64_t s, std::int64_t f, bool df = false) {
    return Timecode{h, m, s, f, df};
}

} // namespace

TEST(TimecodeText, ParsesCleanTextAndPrintsPadded) {
    // '.' or ';' before the frames means drop-frame, read at that one position only; empty
    // pieces are dropped and failing ones skipped; frames up to 59 whatever the rate.
    const std::pair<const char*, Timecode> read[] = {
        {"10:00:00:00", tc(10, 0, 0, 0)},      {"10:00:00;00", tc(10, 0, 0, 0, true)},
        {"01:02:03.04", tc(1, 2, 3, 4, true)}, {"01.02.03.04", tc(1, 2, 3, 4, true)},
        {"1:2:3;4", tc(1, 2, 3, 4)},           {"10::00:00:00", tc(10, 0, 0, 0)},
        {"x:10:00:00:00", tc(10, 0, 0, 0)},    {"00:00:00:30", tc(0, 0, 0, 30)},
        {"-1:00:00:00", tc(-1, 0, 0, 0)},      {"+1:00:00:00", tc(1, 0, 0, 0)}};
    for (const auto& [text, label] : read)
        EXPECT_EQ(Timecode::parse(text), label) << text;
    for (const char* rejected : {"24:00:00:00", "10:60:00:00", "10:00:60:00", "10:00:00:60",
                                 "10:00:00:00:00", "10:00:00", "10:00:00:x", "", " 10:00:00:00 x",
                                 "10:00:00: 1", "--1:00:00:00", "99999999999999999999:00:00:00"})
        EXPECT_FALSE(Timecode::parse(rejected).has_value()) << rejected;

    EXPECT_EQ(tc(1, 2, 3, 4, true).string(), "01:02:03;04");
    EXPECT_EQ(tc(100, 0, 0, 0).string(), "100:00:00:00");
    EXPECT_EQ(tc(0, 0, 0, -1).string(), "00:00:00:-1");
}

TEST(TimecodeCount, WholeDayCountsEveryLabelInOrderAtEveryKnownRate) {
    for (const auto& rate : FrameRate::all()) {
        for (bool dropFrame : {false, true}) {
            // Drop-frame exists only at base 30, elsewhere the flag is ignored: it skips frames
            // 00 and 01 at the start of every minute not divisible by ten.
            const std::int64_t base = rate.tcBase();
            const bool df = dropFrame && base == 30;
            std::int64_t n = 0;
            for (std::int64_t h = 0; h < 24; ++h)
                for (std::int64_t m = 0; m < 60; ++m)
                    for (std::int64_t s = 0; s < 60; ++s)
                        for (std::int64_t f = df && s == 0 && m % 10 ? 2 : 0; f < base; ++f, ++n) {
                            const Timecode label = Timecode::fromFrameCount(n, base, dropFrame);
                            ASSERT_EQ(label, tc(h, m, s, f, df)) << rate.label() << " " << n;
                            ASSERT_EQ(label.frameCount(base), n) << rate.label() << " " << n;
                        }
            // One whole day starts again at midnight.
            EXPECT_EQ(Timecode::fromFrameCount(n, base, dropFrame), tc(0, 0, 0, 0, df));
        }
    }
    EXPECT_EQ(tc(0, 1, 0, 2, true).frameCount(24), tc(0, 1, 0, 2).frameCount(24));
}

TEST(TimecodeSeconds, NtscConversionsAndRounding) {
    const FrameRate ntsc30{30, true};
    const FrameRate ntsc60{60, true};
    // One hour of 29.97 drop-frame labels is almost exactly an hour of wall-clock time.
    EXPECT_NEAR(tc(1, 0, 0, 0, true).secondsAt(ntsc30), 3600.0, 0.004);
    // Non-drop labels run slow by 1000/1001.
    EXPECT_NEAR(tc(1, 0, 0, 0).secondsAt(ntsc30), 3603.6, 1e-9);
    // 59.94 counts at its halved base with 29.97 drop-frame rules.
    EXPECT_EQ(tc(1, 0, 0, 0, true).secondsAt(ntsc60), tc(1, 0, 0, 0, true).secondsAt(ntsc30));

    // Seconds back to labels go through the slowed rate, halves rounding away from zero.
    EXPECT_EQ(Timecode::fromSeconds(3603.6, ntsc30, false), tc(1, 0, 0, 0));
    EXPECT_EQ(Timecode::fromSeconds(0.5, FrameRate::pal(), false), tc(0, 0, 0, 13)); // 12.5 up
    EXPECT_EQ(Timecode::fromSeconds(0.49, FrameRate::pal(), false), tc(0, 0, 0, 12));
    EXPECT_EQ(Timecode::fromSeconds(-5, FrameRate::pal(), false), tc(0, 0, 0, 0));
    EXPECT_EQ(Timecode::fromSeconds(86400, FrameRate::pal(), false), tc(0, 0, 0, 0));

    // Every label of a 23.976 and a 59.94 day survives a trip through seconds.
    for (const auto& rate : {FrameRate{24, true}, ntsc60}) {
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
