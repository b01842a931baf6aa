#include "time/frame_rate.h"

#include <gtest/gtest.h>

using korvalume::FrameRate;

TEST(FrameRate, DerivedValuesHalveOnceAboveThirty) {
    constexpr double k = 0.999000999000999;
    const FrameRate ntsc24{24, true};
    EXPECT_EQ(ntsc24.fps(), 24 * k);
    EXPECT_EQ(ntsc24.tcBase(), 24);
    EXPECT_EQ(ntsc24.label(), "23.976");

    const FrameRate ntsc60{60, true};
    EXPECT_EQ(ntsc60.tcBase(), 30);
    EXPECT_EQ(ntsc60.tcFps(), 30 * k);
    EXPECT_EQ(ntsc60.label(), "59.94");

    EXPECT_EQ((FrameRate{100, false}.tcBase()), 50);
    EXPECT_EQ((FrameRate{120, false}.tcBase()), 60);
    EXPECT_EQ((FrameRate{48, true}.label()), "48*");
    EXPECT_EQ((FrameRate{100, false}.label()), "100");
    EXPECT_EQ((FrameRate{30, true}.id()), "29.97");
}

TEST(FrameRate, SonyRateTexts) {
    EXPECT_EQ(FrameRate::sony("23.98p"), (FrameRate{24, true}));
    EXPECT_EQ(FrameRate::sony(" 25P "), (FrameRate{25, false}));
    EXPECT_EQ(FrameRate::sony("59.94i"), (FrameRate{60, true}));
    EXPECT_EQ(FrameRate::sony("119.88p"), (FrameRate{120, true}));
    EXPECT_EQ(FrameRate::sony("29.97"), (FrameRate{30, true}));
    EXPECT_EQ(FrameRate::sony("pIp50iP"), (FrameRate{50, false}));
    // Within 0.001 of the whole rate is not NTSC.
    EXPECT_EQ(FrameRate::sony("24.0005"), (FrameRate{24, false}));
    for (const char* rejected : {"48p", "15p", "abc", "", "pp", "25 fps", "nan", "inf", "2 5p"})
        EXPECT_FALSE(FrameRate::sony(rejected).has_value()) << rejected;
}
