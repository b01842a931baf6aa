#include "sync/sync_map.h"

#include "session/logged_recordings.h"
#include "sync/anchor_line.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <unordered_map>

namespace korvalume::syncmap {

namespace {

// A file whose timecode-placed start lies this close to an open-ended recording's
// start is taken as that recording.
constexpr double openEndedStartTolerance = 3.0;
// Without usable anchors, a file may be this much shorter than an open-ended
// recording's known part and still be taken as it (the real end lies later).
constexpr double openEndedDurationSlack = 10.0;

constexpr std::string_view unmatchedRecordingsWarning =
    " logged recording(s) have no matching file.";
constexpr std::string_view singleLearnedAnchorWarning =
    "Only one logged recording to learn this camera's timecode from. Check the clips marked "
    "TIMECODE + LOG.";
constexpr std::string_view notFreeRunWarning =
    "This camera's timecode does not follow the clock (not FREE RUN), so clips shot while "
    "Bluetooth was down cannot be placed.";
constexpr std::string_view timecodeChangedWarning =
    "Timecode was changed during the session. Clips use the scan nearest their recording time.";

constexpr std::string_view slowMotionNote = "Slow & quick motion clip: place by hand.";
constexpr std::string_view noTimecodeNote = "No timecode found in this file.";
constexpr std::string_view noScanOrLogNote = "No scan or log for this device.";
constexpr std::string_view noMatchingRecordingNote = "No matching logged recording.";

// What the engine needs of one file, worked out once.
struct FileFacts {
    const ClipFile* file = nullptr;
    std::string name;
    // The file's own recording date, read as a master-clock instant: a camera's clock is
    // near enough to tell which of two timecode clocks a clip was shot under. A date that
    // is not a number counts as none.
    std::optional<MasterInstant> created;
    FrameRate rate; // the file's own, else the session's
    // Seconds since 00:00:00:00; absent when the file has no timecode, or one
    // that cannot be counted at its rate.
    std::optional<double> startSeconds;
    double day = 86400; // the wrap of its starts: timecodeDay
};

std::optional<double> startSeconds(const ClipFile& file, const FrameRate& rate) {
    std::optional<double> seconds;
    if (file.startTCSeconds)
        seconds = file.startTCSeconds;
    else if (file.startExact && file.rate == rate)
        seconds = file.startExact;
    else if (file.startTC)
        seconds = file.startTC->checkedSecondsAt(rate);
    if (seconds && !std::isfinite(*seconds))
        return std::nullopt;
    return seconds;
}

// Files ordered by (created, name): no date first, equal dates by name.
std::vector<FileFacts> orderedFiles(std::span<const ClipFile> files, const FrameRate& sessionRate) {
    std::vector<FileFacts> facts;
    facts.reserve(files.size());
    for (const auto& file : files) {
        FileFacts fact;
        fact.file = &file;
        fact.name = file.name();
        if (file.created && !std::isnan(*file.created))
            fact.created = MasterInstant(*file.created);
        fact.rate = file.rate.value_or(sessionRate);
        fact.startSeconds = startSeconds(file, fact.rate);
        fact.day = timecodeDay(file, fact.rate);
        facts.push_back(std::move(fact));
    }
    std::stable_sort(facts.begin(), facts.end(), [](const FileFacts& a, const FileFacts& b) {
        if (a.created != b.created)
            return a.created < b.created; // an absent date is less than any date
        return a.name < b.name;
    });
    return facts;
}

// The camera's logged recordings, each still running one closed and marked open-ended.
std::vector<LoggedClip> closedRecordings(const SessionDoc& doc, const Uuid& cameraID) {
    auto recordings = clips(doc, cameraID);
    for (auto& recording : recordings) {
        if (recording.end)
            continue;
        recording.end =
            doc.endedAt && *doc.endedAt > recording.start ? *doc.endedAt : recording.start;
        recording.openEnded = true;
    }
    return recordings;
}

double durationOf(const LoggedClip& recording) {
    return recording.end.value_or(recording.start) - recording.start;
}

std::vector<Anchor> scanAnchors(const SessionDoc& doc, const Uuid& cameraID,
                                std::span<const FrameRate> rates) {
    std::vector<Anchor> anchors;
    for (const auto& scan : scans(doc, cameraID)) {
        if (!scan.timecode)
            continue;
        auto timecode = Timecode::parse(*scan.timecode);
        if (!timecode)
            continue;
        const bool countable = std::all_of(rates.begin(), rates.end(), [&](const FrameRate& r) {
            auto seconds = timecode->checkedSecondsAt(r);
            return seconds && std::isfinite(*seconds);
        });
        if (countable)
            anchors.push_back({scan.at, timecode, std::nullopt, scan.at});
    }
    return anchors;
}

std::optional<Anchor> clipAnchor(const FileFacts& file, const LoggedClip& recording) {
    if (file.file->slowMotion || !file.startSeconds)
        return std::nullopt;
    return Anchor{recording.start, std::nullopt, file.startSeconds, recording.start, file.day};
}

struct Pairing {
    std::vector<Match> pairs; // (file in plan order, logged recording)
    std::vector<Anchor> clipAnchors;
};

void addPair(Pairing& pairing, std::vector<bool>& used, const FileFacts& file,
             std::size_t fileIndex, const LoggedClip& recording, std::size_t recordingIndex) {
    pairing.pairs.push_back({fileIndex, recordingIndex});
    used[fileIndex] = true;
    if (auto anchor = clipAnchor(file, recording))
        pairing.clipAnchors.push_back(*anchor);
}

// The file an open-ended recording most likely is, if any: by timecode when the
// files matched so far agree on the clock, else the first long-enough unused file
// between the files of its neighbouring recordings.
std::optional<std::size_t> fileForOpenEnded(std::size_t recordingIndex,
                                            const std::vector<LoggedClip>& recordings,
                                            const std::vector<FileFacts>& files,
                                            const std::vector<bool>& used, const Pairing& pairing,
                                            const AnchorLine& matched) {
    const LoggedClip& recording = recordings[recordingIndex];
    if (!matched.empty() && matched.consistent()) {
        for (std::size_t f = 0; f < files.size(); ++f) {
            if (used[f] || files[f].file->slowMotion || !files[f].startSeconds)
                continue;
            const MasterInstant start =
                matched.place(*files[f].startSeconds, true, std::nullopt, files[f].day);
            if (std::abs(start - recording.start) < openEndedStartTolerance)
                return f;
        }
        return std::nullopt;
    }
    std::int64_t lo = -1;
    auto hi = static_cast<std::int64_t>(files.size());
    for (const auto& pair : pairing.pairs) {
        const auto file = static_cast<std::int64_t>(pair.file);
        if (pair.logged < recordingIndex)
            lo = std::max(lo, file);
        else if (pair.logged > recordingIndex)
            hi = std::min(hi, file);
    }
    const double needed = durationOf(recording) - openEndedDurationSlack;
    for (std::int64_t f = lo + 1; f < hi; ++f) {
        const auto index = static_cast<std::size_t>(f);
        if (!used[index] && files[index].file->duration >= needed)
            return index;
    }
    return std::nullopt;
}

Pairing pairFiles(const std::vector<FileFacts>& files, const std::vector<LoggedClip>& recordings,
                  const FrameRate& cameraRate) {
    std::vector<std::size_t> closed;
    std::vector<double> closedDurations;
    for (std::size_t i = 0; i < recordings.size(); ++i) {
        if (!recordings[i].openEnded) {
            closed.push_back(i);
            closedDurations.push_back(durationOf(recordings[i]));
        }
    }
    std::vector<double> fileDurations;
    fileDurations.reserve(files.size());
    for (const auto& file : files)
        fileDurations.push_back(file.file->duration);

    Pairing pairing;
    std::vector<bool> used(files.size(), false);
    for (const auto& match : align(fileDurations, closedDurations)) {
        const std::size_t recording = closed[match.logged];
        addPair(pairing, used, files[match.file], match.file, recordings[recording], recording);
    }

    AnchorLine matched(pairing.clipAnchors, cameraRate);
    for (std::size_t i = 0; i < recordings.size(); ++i) {
        if (!recordings[i].openEnded)
            continue;
        auto file = fileForOpenEnded(i, recordings, files, used, pairing, matched);
        if (!file)
            continue;
        const std::size_t anchorsBefore = pairing.clipAnchors.size();
        addPair(pairing, used, files[*file], *file, recordings[i], i);
        if (pairing.clipAnchors.size() > anchorsBefore)
            matched.add(pairing.clipAnchors.back());
    }
    return pairing;
}

// The anchor lines at each rate that files use; most cameras have one.
class AnchorLines {
public:
    explicit AnchorLines(std::span<const Anchor> anchors) : anchors_(anchors) {}

    const AnchorLine& at(const FrameRate& rate) {
        for (const auto& line : lines_) {
            if (line.rate() == rate)
                return line;
        }
        return lines_.emplace_back(anchors_, rate);
    }

private:
    std::span<const Anchor> anchors_;
    std::vector<AnchorLine> lines_;
};

std::string unplacedNote(const FileFacts& file, bool cameraHasRecordings) {
    if (file.file->slowMotion)
        return std::string(slowMotionNote);
    if (!file.startSeconds)
        return std::string(noTimecodeNote);
    return std::string(cameraHasRecordings ? noMatchingRecordingNote : noScanOrLogNote);
}

} // namespace

double Anchor::dayAt(const FrameRate& rate) const {
    if (day)
        return *day;
    const Timecode wholeDay{24, 0, 0, 0, timecode && timecode->dropFrame};
    const auto frames = wholeDay.checkedFrameCount(rate.tcBase());
    const double fps = rate.tcFps();
    return frames && fps > 0 ? double(*frames) / fps : 86400;
}

double Anchor::position(const FrameRate& rate) const {
    if (exact)
        return *exact;
    if (timecode) {
        auto seconds = timecode->checkedSecondsAt(rate);
        if (seconds && std::isfinite(*seconds))
            return *seconds;
    }
    return 0;
}

bool isConsistent(std::span<const Anchor> anchors, const FrameRate& rate) {
    return AnchorLine(anchors, rate).consistent();
}

MasterInstant place(double t, std::span<const Anchor> anchors, const FrameRate& rate,
                    bool consistent, std::optional<MasterInstant> created,
                    std::optional<double> day) {
    return AnchorLine(anchors, rate).place(t, consistent, created, day);
}

double timecodeDay(const ClipFile& file, const FrameRate& rate) {
    if (file.startTCSeconds || !file.startTC)
        return 86400;
    return Anchor{MasterInstant(), file.startTC, std::nullopt, MasterInstant()}.dayAt(rate);
}

CameraPlan plan(const Camera& camera, std::span<const ClipFile> files, const SessionDoc& doc) {
    CameraPlan result{camera, {}, {}};
    const auto ordered = orderedFiles(files, doc.fps);
    const auto recordings = closedRecordings(doc, camera.id);
    const FrameRate cameraRate = ordered.empty() ? doc.fps : ordered.front().rate;

    std::vector<FrameRate> rates{doc.fps};
    for (const auto& file : ordered) {
        if (std::find(rates.begin(), rates.end(), file.rate) == rates.end())
            rates.push_back(file.rate);
    }
    const auto scans = scanAnchors(doc, camera.id, rates);

    std::vector<Anchor> learned;
    std::unordered_map<std::string, MasterInstant> loggedStarts;
    if (!recordings.empty()) {
        auto pairing = pairFiles(ordered, recordings, cameraRate);
        for (const auto& pair : pairing.pairs)
            loggedStarts[ordered[pair.file].file->path] = recordings[pair.logged].start;
        const bool someFileUnmatched = pairing.pairs.size() < ordered.size();
        if (pairing.pairs.size() < recordings.size()) {
            result.warnings.push_back(std::to_string(recordings.size() - pairing.pairs.size()) +
                                      std::string(unmatchedRecordingsWarning));
        }
        if (scans.empty()) {
            auto& clipAnchors = pairing.clipAnchors;
            if (clipAnchors.size() == 1 && someFileUnmatched) {
                result.warnings.emplace_back(singleLearnedAnchorWarning);
                learned = std::move(clipAnchors);
            } else if (clipAnchors.size() >= 2) {
                if (isConsistent(clipAnchors, cameraRate))
                    learned = std::move(clipAnchors);
                else if (someFileUnmatched)
                    result.warnings.emplace_back(notFreeRunWarning);
            }
        }
    }

    const bool byScans = !scans.empty();
    const std::vector<Anchor>& anchors = byScans ? scans : learned;
    AnchorLines lines(anchors);
    bool timecodeChanged = false;
    result.clips.reserve(ordered.size());
    for (const auto& file : ordered) {
        PlacedClip placed{*file.file, std::nullopt, PlacedClip::Method::unplaced, std::nullopt};
        auto logged = loggedStarts.find(file.file->path);
        if (!file.file->slowMotion && file.startSeconds && !anchors.empty()) {
            const AnchorLine& line = lines.at(file.rate);
            const bool consistent = line.consistent();
            timecodeChanged = timecodeChanged || !consistent;
            const MasterInstant start =
                line.place(*file.startSeconds, consistent, file.created, file.day);
            if (byScans) {
                placed.method = PlacedClip::Method::timecode;
                placed.start = start;
            } else if (logged != loggedStarts.end()) {
                placed.method = PlacedClip::Method::logged;
                placed.start = logged->second;
            } else {
                placed.method = PlacedClip::Method::learned;
                placed.start = start;
            }
        } else if (logged != loggedStarts.end()) {
            placed.method = PlacedClip::Method::logged;
            placed.start = logged->second;
        } else {
            placed.note = unplacedNote(file, !recordings.empty());
        }
        result.clips.push_back(std::move(placed));
    }
    if (timecodeChanged)
        result.warnings.emplace_back(timecodeChangedWarning);
    return result;
}

} // namespace korvalume::syncmap
