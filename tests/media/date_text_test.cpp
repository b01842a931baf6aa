#include "media/date_text.h"

#include <gtest/gtest.h>

using namespace korvalume;

constexpr double base = 1683728591; // 2023-05-10 14:23:11 UTC

TEST(DateText, ContainerDatesReadTheFormLibavformatWrites) {
    EXPECT_EQ(datetext::containerDate("2023-05-10T14:23:11.000000Z"), base);
    EXPECT_EQ(datetext::containerDate("2023-05-10 14:23:11"), base); // no zone is UTC
    EXPECT_EQ(datetext::containerDate("2023-05-10T23:23:11+0900"), base);
    EXPECT_EQ(datetext::containerDate("2023-05-10T13:53:11-00:30"), base);
    // The fraction is kept beyond milliseconds.
    EXPECT_DOUBLE_EQ(*datetext::containerDate("2023-05-10T14:23:11.123456789Z"),
                     base + 0.123456789);
    for (const char* refused :
         {"2023-05-10T24:00:00Z", "2023-05-10T14:23Z", "2023-05-10T14:23:11+09",
          "2023-05-10T14:23:11,5Z", "2023-02-30T14:23:11Z", "2023-05-10T14:23:60Z",
          "2023-05-10T14:23:11+24:00", "2023-05-10T14:23:11+05:60", "0000-01-01T00:00:00Z",
          "2023-05-10T14:23:11.1234567891Z", " 2023-05-10T14:23:11Z", ""})
        EXPECT_FALSE(datetext::containerDate(refused)) << refused;
}

TEST(DateText, SidecarDatesNeedTheStrictInternetForm) {
    EXPECT_EQ(datetext::internetDateTime("2023-05-10T23:23:11+09:00"), base);
    EXPECT_EQ(datetext::internetDateTime("2023-05-10T14:23:11Z"), base);
    for (const char* refused : {"2023-05-10 14:23:11Z", "2023-05-10T14:23:11.5Z",
                                "2023-05-10T14:23:11", "2023-05-10T23:23:11+0900"})
        EXPECT_FALSE(datetext::internetDateTime(refused)) << refused;
}
