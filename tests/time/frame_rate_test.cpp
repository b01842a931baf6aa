#include "time/frame_rate.h"

#include <gtest/gtest.h>

#include <utility>

using korvalume::FrameRate;

TEST(FrameRate, DerivedValuesHalveOnceAboveThirty) {
    for (const auto& [timebase, tcBase] : {std::pair{30, 30}, {50, 25}, {100, 50}, {120, 60}})
        EXPECT_EQ((FrameRate{timebase, false}.tcBase()), tcBase) << timebase;
    std::string labels;
    for (const FrameRate& rate : FrameRate::all())
        labels += rate.label() + " ";
    EXPECT_EQ(labels + (FrameRate{48, true}.label()), "23.976 24 25 29.97 30 50 59.94 60 48*");
}

TEST(FrameRate, SonyRateTexts) {
    // Within 0.001 of the whole rate is not NTSC.
    const std::pair<const char*, FrameRate> read[] = {
        {"23.98p", {24, true}},   {" 25P ", {25, false}}, {"59.94i", {60, true}},
        {"119.88p", {120, true}}, {"29.97", {30, true}},  {"pIp50iP", {50, false}},
        {"24.0005", {24, false}}};
    for (const auto& [text, rate] : read)
        EXPECT_EQ(FrameRate::sony(text), rate) << text;
    for (const char* rejected : {"48p", "15p", "abc", "", "pp", "25 fps", "nan", "inf", "2 5p"})
        EXPECT_FALSE(FrameRate::sony(rejected).has_value()) << rejected;
}
