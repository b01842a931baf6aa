#pragma once

#include <string_view>

// Standing advice shown before a shoot: placement by timecode only works when
// the cameras' clocks keep running between takes.
namespace korvalume::advice {

inline constexpr std::string_view freeRunTitle = "FREE RUN TIMECODE";
inline constexpr std::string_view freeRun =
    "Set every camera and sound recorder to FREE RUN (or time-of-day) timecode before you "
    "start. It must keep counting when not recording.";

} // namespace korvalume::advice
