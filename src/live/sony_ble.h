#pragma once

#include <optional>
#include <span>
#include <string_view>

// What it takes to recognise a Sony camera over Bluetooth LE and read whether it is
// recording. No connection logic: scanning and subscribing belong to the phone side.
namespace korvalume::sonyble {

inline constexpr std::string_view remoteService = "8000FF00-FF00-FFFF-FFFF-FFFFFFFFFFFF";
inline constexpr std::string_view commandCharacteristic = "FF01";
inline constexpr std::string_view notifyCharacteristic = "FF02";

// Manufacturer-specific advertisement data that comes from a Sony camera
// (company identifier 0x012D, little-endian, then the camera type 03 00).
bool isCamera(std::span<const unsigned char> manufacturerData);

// The recording state reported by one notification of notifyCharacteristic;
// nothing when the notification is not a recording-state report.
std::optional<bool> recordState(std::span<const unsigned char> notification);

} // namespace korvalume::sonyble
