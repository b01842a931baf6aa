#pragma once

#include "desk/plan_lines.h"
#include "session/camera_activity.h"
#include "session/session_doc.h"
#include "time/frame_rate.h"
#include "time/master_instant.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What the desk window shows, decided from the model's state. QML only lays these
// texts and numbers out; every choice lives here so it can be tested without a window.
namespace korvalume::viewrules {

// ---- Main window ----

enum class Panel { welcome, session, live };
Panel panel(bool hasDoc, bool isLive);

struct Step {
    std::string title;
    std::string line;
    friend bool operator==(const Step&, const Step&) = default;
};

// The numbered steps of the sidebar; empty while live (the live sidebar has its own texts).
std::vector<Step> steps(bool hasDoc, bool isLive);

struct LiveSidebar {
    std::string title = "LIVE / SESSION RUNNING";
    std::string intro = "Phones that scan the code appear here with their cameras. Keep this "
                        "laptop open and awake.";
    std::string markButton = "MARK";
    std::string markLine = "Drops a marker on the timeline at this moment.";
    std::string after = "Then point each camera at its card folder and export for Premiere.";
    std::string endButton;
};
LiveSidebar liveSidebar(bool isOwner);

struct Confirmation {
    std::string title;
    std::string message;
    std::string button;
};
Confirmation endConfirmation(bool isOwner);

// "Log combined" alert body: the report's lines with an empty line between them.
std::string combiningReport(const std::vector<std::string>& lines);

// "25 FPS / 3 DEVICES / 2 LOGS / 1 MARKER".
std::string sessionFacts(const SessionDoc& doc, int logCount);
// The session's start in its own zone, "15 Nov 2026 / 09:30".
std::string sessionStart(const SessionDoc& doc);
// "CAMERA / BLUETOOTH".
std::string kindAndLink(const Camera& camera);

// A camera card of the session panel.
struct CardClip {
    std::string name;
    std::string method; // "TIMECODE", "LOGGED", "TIMECODE + LOG", "NOT PLACED"
    bool placed = false;
    std::string note;
};
struct Card {
    std::string name;
    std::string kindLink;
    std::string folder;       // the chosen folder's path, empty before one is chosen
    std::string folderButton; // "CHOOSE FOLDER", then "CHANGE FOLDER"
    bool reading = false;
    std::string status; // "READING CLIPS...", the empty-folder note, or nothing
    std::vector<CardClip> clips;
    std::vector<std::string> warnings;
};
inline constexpr std::string_view readingClips = "READING CLIPS...";
inline constexpr std::string_view emptyFolder = "No video or WAV files found in this folder.";
// `plan` is the camera's plan when its folder has been read.
Card card(const Camera& camera, const std::optional<std::string>& folder, bool reading,
          const PlanLines* plan);

// ---- Session set-up ----

// The rate stored under "lastFps", looked up over every known rate; PAL when unknown.
FrameRate initialRate(std::optional<std::string_view> storedLabel);
// The rates the set-up offers, plus `selected` in its place when it is not one of them
// (a stored 30 stays selectable).
std::vector<FrameRate> rateChoices(const FrameRate& selected);

// ---- Sync map chart ----

struct ChartSpan {
    MasterInstant t0;
    MasterInstant t1 = MasterInstant(60);
    friend bool operator==(const ChartSpan&, const ChartSpan&) = default;
};
ChartSpan chartSpan(const SessionDoc& doc, const std::vector<PlanLines>& plans);

// Positions as fractions of the lane width; the lane turns them into points.
struct ChartBar {
    double x = 0;
    double width = 0;
};
struct ChartLane {
    std::string name;
    std::vector<ChartBar> bars;
};
struct ChartLayout {
    ChartSpan span;
    std::vector<ChartLane> lanes;
    std::vector<double> markers; // x of each marker, not clamped to [0, 1]
};
ChartLayout chartLayout(const SessionDoc& doc, const std::vector<PlanLines>& plans);

inline constexpr double minBarWidth = 1.5; // points
inline constexpr double markerWidth = 1.0; // points
// A bar's width in points on a lane `laneWidth` points wide; a short clip keeps 1.5.
double barWidth(const ChartBar& bar, double laneWidth);

// ---- Live view ----

// The header's texts at `now`.
struct LiveHeader {
    std::string title = "SESSION / LIVE";
    std::string facts;      // "25 FPS / 3 DEVICES / 2 PHONES"
    std::string clockState; // "NTP LINKED / CLOCK" or "NOT LINKED / CLOCK"
    std::string timeOfDay;
    std::string running; // "RUNNING 12:05"
    friend bool operator==(const LiveHeader&, const LiveHeader&) = default;
};
LiveHeader liveHeader(const SessionDoc& doc, std::size_t cameras, std::size_t phones,
                      bool clockSynced, MasterInstant now);

// One camera's row at `now`, from what the log saw of it.
struct LiveRow {
    std::string name;
    std::string kindLink;
    std::string status;
    bool rolling = false;
    bool warning = false;
    std::string clips;  // "3 CLIPS"
    std::string detail; // scans and markers
    friend bool operator==(const LiveRow&, const LiveRow&) = default;
};
LiveRow liveRow(const Camera& camera, const CameraActivity& activity, std::size_t markers,
                MasterInstant now);

inline constexpr std::string_view waitingTitle = "WAITING FOR CAMERAS";
inline constexpr std::string_view waitingText =
    "The clock is already running. Each operator scans the code with Korvalume on their phone, "
    "then adds their camera there. It appears here on its own.";
inline constexpr std::string_view noPhones =
    "None yet. Phones link when they are nearby or on the same Wi-Fi.";
inline constexpr std::string_view freeRunText =
    "Every camera and recorder must be in FREE RUN or time-of-day timecode.";

// The running master clock as time-of-day timecode in the session's rate and zone.
std::string timeOfDay(const SessionDoc& doc, MasterInstant now);

// Counted noun: "1 CLIP", "2 CLIPS".
std::string counted(long long count, std::string_view noun);

} // namespace korvalume::viewrules
