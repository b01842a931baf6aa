#include "app/view_rules.h"

#include "desk/desk_words.h"
#include "time/master_time.h"

#include <QDateTime>
#include <QLocale>

#include <algorithm>
#include <cmath>

namespace korvalume::viewrules {

Panel panel(bool hasDoc, bool isLive) {
    if (!hasDoc)
        return Panel::welcome;
    return isLive ? Panel::live : Panel::session;
}

std::vector<Step> steps(bool hasDoc, bool isLive) {
    if (isLive)
        return {};
    if (!hasDoc)
        return {
            {"01 / SET UP",
             "Start a session here, or on a phone. Whoever starts it is the session owner."},
            {"02 / SHOOT", "The crew joins with a code and adds their cameras. Everything they "
                           "record is logged against one clock."},
            {"03 / SYNC", "Point each camera at its card folder and export. Premiere opens with "
                          "every clip in place."},
        };
    return {
        {"01 / SESSION LOG",
         "Open the log sent from the phones. Several logs from one shoot combine into one."},
        {"02 / CAMERA FOLDERS", "Point each camera at the folder its card was copied to."},
        {"03 / PREMIERE", "Export, then use File > Import in Premiere Pro. Every clip lands in "
                          "place, one track per camera."},
    };
}

LiveSidebar liveSidebar(bool isOwner) {
    LiveSidebar sidebar;
    sidebar.endButton = isOwner ? "END SESSION FOR EVERYONE" : "STOP WATCHING";
    return sidebar;
}

Confirmation endConfirmation(bool isOwner) {
    if (isOwner)
        return {"End the session for everyone?",
                "You started this session. Every connected phone stops logging and sends its "
                "log here. The log is kept, ready for the card dumps.",
                "End for everyone"};
    return {"Stop watching this session?",
            "Only this laptop stops. The session carries on for everyone else.", "Stop watching"};
}

std::string combiningReport(const std::vector<std::string>& lines) {
    std::string text;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (i > 0)
            text += "\n\n";
        text += lines[i];
    }
    return text + "\n\nNothing was replaced.";
}

std::string counted(long long count, std::string_view noun) {
    std::string text = std::to_string(count) + " " + std::string(noun);
    if (count != 1)
        text += "S";
    return text;
}

std::string sessionFacts(const SessionDoc& doc, int logCount) {
    return doc.fps.label() + " FPS / " +
           counted(static_cast<long long>(doc.activeCameras().size()), "DEVICE") + " / " +
           counted(logCount, "LOG") + " / " +
           counted(static_cast<long long>(doc.markers().size()), "MARKER");
}

std::string sessionStart(const SessionDoc& doc) {
    const auto ms = static_cast<qint64>(std::llround(doc.startedAt.seconds * 1000.0));
    const QDateTime start = QDateTime::fromMSecsSinceEpoch(ms, doc.timeZone());
    // Month names in English whatever the machine's language, like every other text here.
    return QLocale::c().toString(start, QStringLiteral("d MMM yyyy / HH:mm")).toStdString();
}

std::string kindAndLink(const Camera& camera) {
    const std::string kind = camera.kind == Camera::Kind::camera ? "CAMERA" : "RECORDER";
    std::string link;
    switch (camera.link) {
    case Camera::Link::bluetooth:
        link = "BLUETOOTH";
        break;
    case Camera::Link::wifi:
        link = "WI-FI";
        break;
    case Camera::Link::scan:
        link = "SCAN";
        break;
    }
    return kind + " / " + link;
}

Card card(const Camera& camera, const std::optional<std::string>& folder, bool reading,
          const PlanLines* plan) {
    Card result;
    result.name = camera.name;
    result.kindLink = kindAndLink(camera);
    result.folder = folder.value_or("");
    result.folderButton = folder ? "CHANGE FOLDER" : "CHOOSE FOLDER";
    result.reading = reading;
    if (reading)
        result.status = readingClips;
    else if (folder && plan && plan->clips.empty())
        result.status = emptyFolder;
    // While a new folder is read the previous plan stays listed: it is still the one in use.
    if (plan) {
        for (const ClipLine& clip : plan->clips)
            result.clips.push_back({clip.name, clip.method, clip.start.has_value(), clip.note});
        result.warnings = plan->warnings;
    }
    return result;
}

FrameRate initialRate(std::optional<std::string_view> storedLabel) {
    if (storedLabel)
        for (const FrameRate& rate : FrameRate::all())
            if (rate.label() == *storedLabel)
                return rate;
    return FrameRate::pal();
}

std::vector<FrameRate> rateChoices(const FrameRate& selected) {
    std::vector<FrameRate> offered = FrameRate::sessionChoices();
    if (std::find(offered.begin(), offered.end(), selected) != offered.end())
        return offered;
    // Keep the order of the full list so 30 sits between 29.97 and 50.
    std::vector<FrameRate> choices;
    for (const FrameRate& rate : FrameRate::all())
        if (rate == selected || std::find(offered.begin(), offered.end(), rate) != offered.end())
            choices.push_back(rate);
    return choices;
}

ChartSpan chartSpan(const SessionDoc& doc, const std::vector<PlanLines>& plans) {
    MasterInstant t0 = doc.startedAt;
    for (const PlanLines& plan : plans)
        for (const ClipLine& clip : plan.clips)
            if (clip.start)
                t0 = std::min(t0, *clip.start);

    MasterInstant end = t0;
    for (const PlanLines& plan : plans)
        for (const ClipLine& clip : plan.clips)
            if (clip.start)
                end = std::max(end, *clip.start + clip.duration);
    end = std::max(end, doc.endedAt.value_or(t0));
    return {t0, std::max(t0 + 60.0, end)};
}

ChartLayout chartLayout(const SessionDoc& doc, const std::vector<PlanLines>& plans) {
    ChartLayout layout;
    layout.span = chartSpan(doc, plans);
    const MasterInstant t0 = layout.span.t0;
    const double length = layout.span.t1 - t0;
    for (const PlanLines& plan : plans) {
        ChartLane lane{plan.cameraName, {}};
        for (const ClipLine& clip : plan.clips)
            if (clip.start)
                lane.bars.push_back({(*clip.start - t0) / length, clip.duration / length});
        layout.lanes.push_back(std::move(lane));
    }
    for (const SyncEvent& event : doc.events)
        if (event.kind == SyncEvent::Kind::marker)
            layout.markers.push_back((event.at - t0) / length);
    return layout;
}

double barWidth(const ChartBar& bar, double laneWidth) {
    const double width = bar.width * laneWidth;
    return width <= minBarWidth ? minBarWidth : width;
}

std::string timeOfDay(const SessionDoc& doc, MasterInstant now) {
    if (!now.isFinite())
        return "--:--:--:--";
    return mastertime::timeOfDay(now, doc.fps, doc.timeZone()).string();
}

LiveHeader liveHeader(const SessionDoc& doc, std::size_t cameras, std::size_t phones,
                      bool clockSynced, MasterInstant now) {
    LiveHeader header;
    header.facts = doc.fps.label() + " FPS / " +
                   counted(static_cast<long long>(cameras), "DEVICE") + " / " +
                   counted(static_cast<long long>(phones), "PHONE");
    header.clockState = std::string(clockSynced ? "NTP" : "NOT") + " LINKED / CLOCK";
    header.timeOfDay = timeOfDay(doc, now);
    const double elapsed = now - doc.startedAt;
    header.running =
        "RUNNING " + mastertime::clock(std::isfinite(elapsed) ? std::max(0.0, elapsed) : 0.0);
    return header;
}

LiveRow liveRow(const Camera& camera, const CameraActivity& activity, std::size_t markers,
                MasterInstant now) {
    const CameraStatus state = status(camera, activity, now);
    LiveRow row{
        camera.name, kindAndLink(camera), words::text(state), state.rolling(), state.warning(), {},
        {}};
    row.clips = counted(static_cast<long long>(activity.recordings), "CLIP");
    row.detail = counted(static_cast<long long>(activity.scans), "SCAN");
    if (activity.scans > 0 && activity.lastScanTimecode)
        row.detail += " / LAST " + *activity.lastScanTimecode;
    if (markers > 0)
        row.detail += " / " + counted(static_cast<long long>(markers), "MARKER");
    return row;
}

} // namespace korvalume::viewrules
