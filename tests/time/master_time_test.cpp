#include "time/master_time.h"

#include <QDateTime>
#include <cmath>
#include <gtest/gtest.h>

using korvalume::FrameRate;
using korvalume::Timecode;
namespace MasterTime = korvalume::MasterTime;

namespace {
const QTimeZone utc = QTimeZone::utc();
const QTimeZone plusOne(3600);
const QTimeZone berlin("Europe/Berlin");

double utcInstant(const char* iso) {
    return double(QDateTime::fromString(iso, Qt::ISODate).toSecsSinceEpoch());
}
} // namespace

TEST(MasterTime, SecondsOfDayWrapsAndFollowsTheZone) {
    EXPECT_EQ(MasterTime::secondsOfDay(0, utc), 0);
    EXPECT_EQ(MasterTime::secondsOfDay(86399.5, utc), 86399.5);
    EXPECT_EQ(MasterTime::secondsOfDay(86400, utc), 0);
    EXPECT_EQ(MasterTime::secondsOfDay(-1, utc), 86399); // before 1970 stays in range
    EXPECT_EQ(MasterTime::secondsOfDay(0, plusOne), 3600);
    EXPECT_EQ(MasterTime::secondsOfDay(-3600.25, plusOne), 86399.75);
}

TEST(MasterTime, DaylightSavingIsThatOfTheInstant) {
    ASSERT_TRUE(berlin.isValid());
    // Europe/Berlin springs forward at 01:00 UTC on 2026-03-29.
    const double beforeChange = utcInstant("2026-03-29T00:59:59Z");
    const double afterChange = utcInstant("2026-03-29T01:00:00Z");
    EXPECT_EQ(MasterTime::secondsOfDay(beforeChange, berlin), 1 * 3600 + 59 * 60 + 59);
    EXPECT_EQ(MasterTime::secondsOfDay(afterChange, berlin), 3 * 3600);

    // 01:30 local near 02:30 UTC (04:30 summer time) is on the same local day, taken with
    // the offset of the reference instant.
    const double near = utcInstant("2026-03-29T02:30:00Z");
    const double found = MasterTime::instant(1.5 * 3600, near, berlin);
    EXPECT_EQ(found, utcInstant("2026-03-28T23:30:00Z"));
}

TEST(MasterTime, TimeOfDayLabelsAtTheNominalBase) {
    const double tenAndAHalf = 10 * 3600 + 0.5;
    EXPECT_EQ(MasterTime::timeOfDay(tenAndAHalf, FrameRate::pal(), utc), (Timecode{10, 0, 0, 12}));
    // 59.94 uses base 30, never drop-frame, no slow-down.
    EXPECT_EQ(MasterTime::timeOfDay(tenAndAHalf, FrameRate{60, true}, utc),
              (Timecode{10, 0, 0, 15, false}));
    EXPECT_EQ(MasterTime::timeOfDay(tenAndAHalf, FrameRate{30, true}, utc),
              (Timecode{10, 0, 0, 15, false}));
    EXPECT_EQ(MasterTime::timeOfDay(86399.99, FrameRate{24, false}, utc),
              (Timecode{23, 59, 59, 23}));
    EXPECT_EQ(MasterTime::timeOfDay(9 * 3600, FrameRate::pal(), plusOne), (Timecode{10, 0, 0, 0}));
}

TEST(MasterTime, InstantNearestATimeOfDay) {
    const double lateEvening = 23.5 * 3600;
    EXPECT_EQ(MasterTime::instant(3600, lateEvening, utc), lateEvening + 1.5 * 3600);
    const double earlyMorning = 86400 + 0.5 * 3600;
    EXPECT_EQ(MasterTime::instant(23 * 3600, earlyMorning, utc), earlyMorning - 1.5 * 3600);
    // Exactly twelve hours either way stays on the reference's day.
    EXPECT_EQ(MasterTime::instant(0, 12 * 3600, utc), 0);
    EXPECT_EQ(MasterTime::instant(86400 - 1, 12 * 3600 - 1, utc), 86400 - 1);
    EXPECT_EQ(MasterTime::instant(10 * 3600, 0, plusOne), 9 * 3600);
}

TEST(MasterTime, RunningClockText) {
    EXPECT_EQ(MasterTime::clock(59.9), "00:59");
    EXPECT_EQ(MasterTime::clock(3599), "59:59");
    EXPECT_EQ(MasterTime::clock(3600), "1:00:00");
    EXPECT_EQ(MasterTime::clock(90000), "25:00:00");
    EXPECT_EQ(MasterTime::clock(-5), "00:00");
    EXPECT_EQ(MasterTime::clock(std::nan("")), "00:00");
}
