#include "live/sony_ble.h"

namespace korvalume::sonyble {

bool isCamera(std::span<const unsigned char> data) {
    return data.size() >= 4 && data[0] == 0x2D && data[1] == 0x01 && data[2] == 0x03 &&
           data[3] == 0x00;
}

std::optional<bool> recordState(std::span<const unsigned char> data) {
    if (data.size() < 3 || data[0] != 0x02 || data[1] != 0xD5)
        return std::nullopt;
    switch (data[2]) {
    case 0x20:
        return true;
    case 0x00:
        return false;
    default:
        return std::nullopt;
    }
}

} // namespace korvalume::sonyble
