#include "desk/desk_words.h"

#include "time/master_time.h"

#include <cmath>
#include <limits>

namespace korvalume::words {

namespace {

// Instants far apart in a damaged log differ by infinity, which the clock form refuses;
// any huge value reads the same.
std::string runningTime(double duration) {
    const bool endless = std::isinf(duration) && duration > 0;
    return mastertime::clock(endless ? std::numeric_limits<double>::max() : duration);
}

std::string gainLine(const CameraGain& gain) {
    std::string parts;
    if (gain.recordings > 0)
        parts = counted(gain.recordings, "recording");
    if (gain.scans > 0)
        parts += (parts.empty() ? "" : " and ") + counted(gain.scans, "timecode scan");
    if (gain.isNew)
        return gain.name + " is new to this session" +
               (parts.empty() ? "." : ", with " + parts + ".");

    std::string line = gain.name + " is already in this session. ";
    if (parts.empty())
        line += "This log had nothing new for it.";
    else
        line += "Added " + parts + " that " + (gain.recordings + gain.scans == 1 ? "was" : "were") +
                "n't here.";
    if (gain.otherName) {
        if (gain.renamed)
            line += " Renamed to " + *gain.otherName + ", the newer name.";
        else
            line +=
                " Kept the name " + gain.name + ", which is newer than " + *gain.otherName + ".";
    }
    return line;
}

} // namespace

std::string counted(std::size_t count, std::string_view noun) {
    return std::to_string(count) + " " + std::string(noun) + (count == 1 ? "" : "s");
}

std::string text(const LogProblem& problem) {
    switch (problem.kind) {
    case LogProblem::Kind::unreadable:
        return problem.fileName + " is not a Korvalume session log.";
    case LogProblem::Kind::otherSession:
        return problem.fileName + " is from session \u201c" + problem.itsSession +
               "\u201d. You have \u201c" + problem.openSession + "\u201d open, so it was left out.";
    }
    return problem.fileName;
}

std::vector<std::string> lines(const CombiningReport& report) {
    std::vector<std::string> result;
    for (const auto& gain : report.cameras)
        result.push_back(gainLine(gain));
    if (report.markers > 0)
        result.push_back("Added " + counted(report.markers, "marker") + ".");
    if (result.empty())
        result.emplace_back("This log had no cameras or markers in it.");
    return result;
}

std::vector<std::string> lines(std::span<const CombiningReport> reports) {
    std::vector<std::string> result;
    for (const auto& report : reports)
        for (auto& line : lines(report))
            result.push_back(std::move(line));
    return result;
}

std::string text(const CameraStatus& status) {
    switch (status.state) {
    case CameraStatus::State::rolling:
        return "ROLLING " + runningTime(status.elapsed);
    case CameraStatus::State::timecodeLocked:
        return "TC LOCKED " + runningTime(status.elapsed) + " AGO";
    case CameraStatus::State::scanNeeded:
        return "SCAN NEEDED";
    case CameraStatus::State::linkLost:
        return "LINK LOST / USING TIMECODE";
    case CameraStatus::State::standby:
        return "STANDBY";
    }
    return "STANDBY";
}

std::string folderPanelText(std::string_view cameraName) {
    return "Choose the folder holding " + std::string(cameraName) + "'s clips.";
}

std::string joinConfirmMessage(std::string_view openSession) {
    return "\u201c" + std::string(openSession) +
           "\u201d has changes that are not saved. Joining closes it; save the log first to "
           "keep them.";
}

std::string saveFailed(std::string_view reason) {
    return "Could not save the log: " + std::string(reason);
}

std::string exportFailed(std::string_view reason) {
    return "Could not save the sync map: " + std::string(reason);
}

} // namespace korvalume::words
