#include "live/sony_ble.h"

#include <gtest/gtest.h>

#include <vector>

namespace korvalume {
namespace {

using Bytes = std::vector<unsigned char>;

TEST(SonyBLE, RecognisesOnlySonyCameraAdvertisements) {
    EXPECT_TRUE(sonyble::isCamera(Bytes{0x2D, 0x01, 0x03, 0x00}));
    EXPECT_TRUE(sonyble::isCamera(Bytes{0x2D, 0x01, 0x03, 0x00, 0xFF}));
    EXPECT_FALSE(sonyble::isCamera(Bytes{0x2D, 0x01, 0x03, 0x01}));
    EXPECT_FALSE(sonyble::isCamera(Bytes{0x2D, 0x01, 0x03}));
    EXPECT_FALSE(sonyble::isCamera(Bytes{0x01, 0x2D, 0x03, 0x00})); // byte order matters
    EXPECT_FALSE(sonyble::isCamera(Bytes{}));
}

TEST(SonyBLE, ReadsRecordingStateReports) {
    EXPECT_EQ(sonyble::recordState(Bytes{0x02, 0xD5, 0x20}), true);
    EXPECT_EQ(sonyble::recordState(Bytes{0x02, 0xD5, 0x00, 0x7F}), false);
    EXPECT_EQ(sonyble::recordState(Bytes{0x02, 0xD5, 0x01}), std::nullopt);
    EXPECT_EQ(sonyble::recordState(Bytes{0x02, 0xD4, 0x20}), std::nullopt);
    EXPECT_EQ(sonyble::recordState(Bytes{0x02, 0xD5}), std::nullopt);
}

} // namespace
} // namespace korvalume
