#pragma once

#include "session/camera_activity.h"
#include "session/combining.h"
#include "session/log_opening.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

// The user's words for the desk and for what the session layer reports as values: the
// same sentences in the window and on the terminal.
namespace korvalume::words {

// "1 recording", "2 timecode scans".
std::string counted(std::size_t count, std::string_view noun);

// "X.korvalume is not a Korvalume session log.", or the other-session refusal.
std::string text(const LogProblem& problem);

// The lines of a combining report: one per camera the log brings, one for its markers, or
// one saying it held nothing.
std::vector<std::string> lines(const CombiningReport& report);
// The lines of several reports, in order.
std::vector<std::string> lines(std::span<const CombiningReport> reports);

// "ROLLING 01:05", "TC LOCKED 00:30 AGO", "SCAN NEEDED", "LINK LOST / USING TIMECODE",
// "STANDBY".
std::string text(const CameraStatus& status);

// Standing advice before a shoot: placement by timecode needs clocks that keep running.
inline constexpr std::string_view freeRunTitle = "FREE RUN TIMECODE";
inline constexpr std::string_view freeRun =
    "Set every camera and sound recorder to FREE RUN (or time-of-day) timecode before you "
    "start. It must keep counting when not recording.";

// The panels' prompts.
inline constexpr std::string_view openPanelText =
    "Choose the session logs sent from the phones. Pick several to combine them.";
inline constexpr std::string_view savePanelText = "This one file holds the whole session.";
inline constexpr std::string_view exportPanelText =
    "In Premiere Pro: File > Import, then choose this file.";
std::string folderPanelText(std::string_view cameraName);

// The reason given to the system while a live session keeps the machine awake.
inline constexpr std::string_view awakeReason = "Live Korvalume session";

// Asked before a join link closes a log that holds unsaved changes.
inline constexpr std::string_view joinConfirmTitle = "Join the other session?";
std::string joinConfirmMessage(std::string_view openSession);
inline constexpr std::string_view joinConfirmButton = "Join without saving";

// "Could not save the log: " and "Could not save the sync map: " with the reason.
std::string saveFailed(std::string_view reason);
std::string exportFailed(std::string_view reason);

} // namespace korvalume::words
