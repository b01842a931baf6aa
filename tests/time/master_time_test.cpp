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
    EXPECT_EQ(mastertime::secondsOfDay(86399.5, utc), 86399.5);
    EXPECT_EQ(mastertime::secondsOfDay(86400, utc), 0);
    EXPECT_EQ(mastertime::secondsOfDay(-1, utc), 86399); // before 1970 stays in range
    EXPECT_EQ(mastertime::secondsOfDay(0, plusOne), 3600);
    EXPECT_EQ(mastertime::secondsOfDay(-3600.25, plusOne), 86399.75);
    // Daylight saving is that of the instant: Berlin springs forward at 2026-03-29 01:00 UTC.
    const QTimeZone berlin("Europe/Berlin");
    ASSERT_TRUE(berlin.isValid());
    EXPECT_EQ(mastertime::secondsOfDay(1774746000 - 1, berlin), 2 * 3600 - 1);
    EXPECT_EQ(mastertime::secondsOfDay(1774746000, berlin), 3 * 3600);
}

TEST(MasterTime, TimeOfDayLabelsAtTheNominalBase) {
    const double tenAndAHalf = 10 * 3600 + 0.5;
    EXPECT_EQ(mastertime::timeOfDay(tenAndAHalf, FrameRate::pal(), utc), (Timecode{10, 0, 0, 12}));
    // 59.94 uses base 30, never drop-frame, no slow-down.
    EXPECT_EQ(mastertime::timeOfDay(tenAndAHalf, FrameRate{60, true}, utc),
              (Timecode{10, 0, 0, 15, false}));
    EXPECT_EQ(mastertime::timeOfDay(86399.99, FrameRate{24, false}, utc),
              (Timecode{23, 59, 59, 23}));
    EXPECT_EQ(mastertime::timeOfDay(9 * 3600, FrameRate::pal(), plusOne), (Timecode{10, 0, 0, 0}));
}

TEST(MasterTime, InstantNearestATimeOfDayStaysWithinTwelveHours) {
    const double lateEvening = 23.5 * 3600, earlyMorning = 86400 + 0.5 * 3600;
    EXPECT_EQ(mastertime::instant(3600, lateEvening, utc), lateEvening + 1.5 * 3600);
    EXPECT_EQ(mastertime::instant(23 * 3600, earlyMorning, utc), earlyMorning - 1.5 * 3600);
    EXPECT_EQ(mastertime::instant(0, 12 * 3600, utc), 0); // exactly twelve hours: same day
    EXPECT_EQ(mastertime::instant(10 * 3600, 0, plusOne), 9 * 3600);
}
