#include "time/master_time.h"

#include <QTimeZone>
#include <gtest/gtest.h>

using korvalume::FrameRate;
using korvalume::Timecode;
using namespace korvalume;

namespace {
const QTimeZone utc = QTimeZone::utc();
const QTimeZone plusOne(3600);
} // namespace

TEST(MasterTime, SecondsOfDayWrapsAndFollowsTheZoneOfTheInstant) {
    EXPECT_EQ(mastertime::secondsOfDay(MasterInstant(86399.5), utc), 86399.5);
    EXPECT_EQ(mastertime::secondsOfDay(MasterInstant(86400), utc), 0);
    EXPECT_EQ(mastertime::secondsOfDay(MasterInstant(-1), utc),
              86399); // before 1970 stays in range
    EXPECT_EQ(mastertime::secondsOfDay(MasterInstant(0), plusOne), 3600);
    EXPECT_EQ(mastertime::secondsOfDay(MasterInstant(-3600.25), plusOne), 86399.75);
    // Daylight saving is that of the instant: Berlin springs forward at 2026-03-29 01:00 UTC.
    const QTimeZone berlin("Europe/Berlin");
    ASSERT_TRUE(berlin.isValid());
    EXPECT_EQ(mastertime::secondsOfDay(MasterInstant(1774746000 - 1), berlin), 2 * 3600 - 1);
    EXPECT_EQ(mastertime::secondsOfDay(MasterInstant(1774746000), berlin), 3 * 3600);
}

TEST(MasterTime, TimeOfDayLabelsAtTheNominalBase) {
    const double tenAndAHalf = 10 * 3600 + 0.5;
    EXPECT_EQ(mastertime::timeOfDay(MasterInstant(tenAndAHalf), FrameRate::pal(), utc),
              (Timecode{10, 0, 0, 12}));
    // 59.94 uses base 30, never drop-frame, no slow-down.
    EXPECT_EQ(mastertime::timeOfDay(MasterInstant(tenAndAHalf), FrameRate{60, true}, utc),
              (Timecode{10, 0, 0, 15, false}));
    EXPECT_EQ(mastertime::timeOfDay(MasterInstant(86399.99), FrameRate{24, false}, utc),
              (Timecode{23, 59, 59, 23}));
    EXPECT_EQ(mastertime::timeOfDay(MasterInstant(9 * 3600), FrameRate::pal(), plusOne),
              (Timecode{10, 0, 0, 0}));
}
