#include "sync/anchor_line.h"
#include "sync/sync_map.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace korvalume {
namespace {

using syncmap::Anchor;

const FrameRate pal = FrameRate::pal();
const FrameRate ntsc30{30, true};

// A clip anchor: timecode `position` seconds was running at master time `at`.
Anchor clipAnchor(double at, double position, double created = 0) {
    return {MasterInstant(at), std::nullopt, position, MasterInstant(created)};
}

TEST(Anchors, AgreeWhileTheirOffsetsSpanLessThanTwoSeconds) {
    std::vector anchors{clipAnchor(105, 100), clipAnchor(206.9, 200)};
    EXPECT_TRUE(syncmap::isConsistent(anchors, pal));
    // Offsets 5, 7, 6.9: the span of all counts, not the steps between neighbours.
    anchors.insert(anchors.begin() + 1, clipAnchor(307, 300));
    EXPECT_FALSE(syncmap::isConsistent(anchors, pal));
    // A scan anchor's position depends on the rate: 10:00:00:00 is 36036 s at 29.97.
    const std::vector both{
        Anchor{MasterInstant(36036), Timecode{10, 0, 0, 0, false}, std::nullopt, MasterInstant()},
        clipAnchor(36100, 36099)};
    EXPECT_TRUE(syncmap::isConsistent(both, ntsc30));
    EXPECT_FALSE(syncmap::isConsistent(both, pal));
}

TEST(Place, InterpolatesBetweenAnchorsExtendsBeyondThemAndWrapsByDays) {
    // Given out of order; the camera's clock gains one second between the anchors.
    const std::vector anchors{clipAnchor(2201, 200), clipAnchor(2100, 100)};
    // At an anchor's position that anchor is the interval's end: its offset exactly.
    for (const auto& [t, expected] : std::vector<std::pair<double, double>>{
             {150, 2150.5}, {175, 2175.75}, {200, 2201}, {100, 2100}, {40, 2040}, {900, 2901}})
        EXPECT_DOUBLE_EQ(syncmap::place(t, anchors, pal, true, {}).seconds, expected) << t;
    // Of anchors at one position the one given later sorts last.
    const std::vector same{clipAnchor(2101, 100), clipAnchor(2100, 100)};
    EXPECT_DOUBLE_EQ(syncmap::place(150, same, pal, true, {}).seconds, 2150);
    EXPECT_DOUBLE_EQ(syncmap::place(50, same, pal, true, {}).seconds, 2051);
    // Many days away a clip lands within half a day of its anchor (clips on both sides of
    // midnight are placed from real media in the night shoots); absurd input ends.
    const std::vector scan{
        Anchor{MasterInstant(1e6), Timecode{0, 0, 10, 0, false}, std::nullopt, MasterInstant(1e6)}};
    EXPECT_LE(std::abs(syncmap::place(1e12, scan, pal, true, {}).seconds - 1e6), 43200);
    EXPECT_TRUE(std::isfinite(syncmap::place(1e300, scan, pal, true, {}).seconds));
}

TEST(Place, DisagreeingAnchorsPlaceAClipWhereItLandsNearestItsDate) {
    // The timecode was reset to 01:00:00 between the two recordings.
    const std::vector anchors{clipAnchor(10'000, 36'000, 10'000), clipAnchor(20'000, 3'600, 20'000),
                              clipAnchor(30'000, 13'590, 30'000)};
    ASSERT_FALSE(syncmap::isConsistent(anchors, pal));
    EXPECT_DOUBLE_EQ(syncmap::place(36'100, anchors, pal, false, MasterInstant(12'000)).seconds,
                     10'100);
    EXPECT_DOUBLE_EQ(syncmap::place(3'700, anchors, pal, false, MasterInstant(19'000)).seconds,
                     20'100);
    // The two anchors after the reset differ by 10 s: the one that puts the clip nearer
    // its date wins.
    EXPECT_DOUBLE_EQ(syncmap::place(3'700, anchors, pal, false, MasterInstant(25'000)).seconds,
                     20'110);
    // Shot just before the reset, nearer in time to the scan after it: still on the old
    // clock, not 11 hours away on the new one.
    EXPECT_DOUBLE_EQ(syncmap::place(45'900, anchors, pal, false, MasterInstant(19'900)).seconds,
                     19'900);
    // Without a date: the anchor latest in timecode, whatever the clip's own timecode.
    EXPECT_DOUBLE_EQ(syncmap::place(3'700, anchors, pal, false, {}).seconds,
                     10'000 - 36'000 + 3'700);
}

TEST(Place, AnchorsAddedOneByOnePlaceAsTheWholeListDoes) {
    // The engine grows its anchors while pairing open-ended recordings; anchors at
    // equal positions must keep their given order either way.
    std::mt19937 random(99);
    std::uniform_int_distribution<int> small(0, 4);
    for (int round = 0; round < 200; ++round) {
        std::vector<Anchor> anchors;
        syncmap::AnchorLine line({}, pal);
        for (int k = 0; k < 6; ++k) {
            const double position = 100.0 * small(random);
            anchors.push_back(clipAnchor(1000 + position + small(random), position, small(random)));
            line.add(anchors.back());
            ASSERT_EQ(line.consistent(), syncmap::isConsistent(anchors, pal));
            for (double t : {50.0, 100.0, 150.0, 400.0, 450.0})
                for (bool consistent : {true, false})
                    for (auto created :
                         {std::optional{MasterInstant(2.0)}, std::optional<MasterInstant>{}})
                        ASSERT_EQ(line.place(t, consistent, created),
                                  syncmap::place(t, anchors, pal, consistent, created));
        }
    }
}

} // namespace
} // namespace korvalume
