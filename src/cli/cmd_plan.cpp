// `korvalume plan`: place every clip of the given card folders on the session's clock.
#include "cli/command.h"
#include "cli/options.h"
#include "cli/shoot_input.h"
#include "time/master_time.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace korvalume::cli {
namespace {

constexpr std::string_view planHelp =
    R"(Usage: korvalume plan LOG... --folder CAMERA=DIR [--folder CAMERA=DIR ...] [--json]

Opens the session logs as 'korvalume log' does, reads each card folder as
'korvalume scan' does, and places every clip of each camera given a folder on
the session's master clock: by its timecode through the camera's timecode
scans (TIMECODE), by the logged recording it matches (LOGGED), by timecode
learned from the matched clips (TIMECODE + LOG), or not at all (NOT PLACED,
with the reason).

CAMERA is a camera's name, without regard to case, or its id.

For each camera: its warnings, then each clip with its method, its start as
time of day in the session's time zone and as timecode at the session's rate,
or why it was not placed.

Options:
  --folder CAMERA=DIR  the folder that CAMERA's card was copied to (repeatable)
  --json               print {"cameras":[{"id","name","folder","warnings",
                       "clips":[{"path","name","start","method","note"}]}]};
                       "start" is master-clock seconds since 1970 (absent when
                       not placed), "note" is absent when placed

Examples:
  korvalume plan shoot.korvalume --folder "CAM A=/Volumes/A001" --folder "cam b=Cards/B"
  korvalume plan phone-a.korvalume phone-b.korvalume --folder "SOUND A=Cards/Zoom" --json

Exit codes: 0 planned, 1 no log could be opened or a folder cannot be read,
2 usage error (including a camera the session does not have).
)";

struct Options {
    std::vector<std::string> logs;
    std::vector<FolderArgument> folders;
    bool json = false;
};

std::optional<Options> parseOptions(std::span<const std::string> args, std::ostream& err) {
    const auto parsed = parseArgs(args, {{{"json"}}, {{"folder"}, "a value"}}, "plan", err);
    if (!parsed)
        return std::nullopt;
    Options options{parsed->positional(), {}, parsed->isSet("json")};
    for (const auto& text : parsed->values("folder")) {
        auto folder = parseFolder(text, "plan", err);
        if (!folder)
            return std::nullopt;
        options.folders.push_back(std::move(*folder));
    }
    if (options.logs.empty()) {
        err << "korvalume plan: no session log given (see 'korvalume plan --help')\n";
        return std::nullopt;
    }
    if (options.folders.empty()) {
        err << "korvalume plan: no card folder given; use --folder CAMERA=DIR\n";
        return std::nullopt;
    }
    return options;
}

// Instants this far from 1970 have no sensible time of day.
constexpr double wallClockLimit = 1e11;

std::string startText(MasterInstant start, const SessionDoc& doc, const QTimeZone& zone) {
    if (!start.isFinite() || std::abs(start.seconds) > wallClockLimit)
        return "at " + std::to_string(start.seconds) + " s";
    // A start computed from timecode can sit a hair before its frame; show the nearest
    // millisecond and the nearest frame of the time-of-day label, as the timeline places it.
    const double seconds = mastertime::secondsOfDay(start, zone);
    const auto millis = std::llround(seconds * 1000) % 86'400'000;
    char clock[32];
    std::snprintf(clock, sizeof clock, "%02lld:%02lld:%02lld.%03lld", millis / 3'600'000,
                  millis / 60'000 % 60, millis / 1000 % 60, millis % 1000);
    const std::int64_t base = doc.fps.tcBase();
    const auto frame = base > 0 ? std::llround(seconds * double(base)) : 0;
    const Timecode label = base > 0 ? Timecode::fromFrameCount(frame, base, false) : Timecode{};
    return std::string(clock) + "  " + label.string();
}

void printText(const SessionDoc& doc, const std::vector<CameraPlan>& plans,
               const std::vector<std::string>& folders, std::ostream& out) {
    const QTimeZone zone = doc.timeZone();
    for (std::size_t p = 0; p < plans.size(); ++p) {
        const CameraPlan& plan = plans[p];
        if (p > 0)
            out << '\n';
        out << plan.camera.name << "  " << folders[p] << "  (" << plan.placed().size() << " of "
            << plan.clips.size() << " clips placed)\n";
        for (const auto& warning : plan.warnings)
            out << "  warning: " << warning << '\n';
        std::size_t nameWidth = 0;
        for (const auto& clip : plan.clips)
            nameWidth = std::max(nameWidth, clip.file.name().size());
        for (const auto& clip : plan.clips) {
            std::string line = "  " + clip.file.name();
            line.resize(2 + nameWidth + 2, ' ');
            std::string method(label(clip.method));
            method.resize(16, ' ');
            line += method;
            if (clip.start)
                line += startText(*clip.start, doc, zone);
            if (clip.note)
                line += *clip.note;
            out << line << '\n';
        }
    }
}

void printJson(const std::vector<CameraPlan>& plans, const std::vector<std::string>& folders,
               std::ostream& out) {
    auto cameras = nlohmann::ordered_json::array();
    for (std::size_t p = 0; p < plans.size(); ++p) {
        const CameraPlan& plan = plans[p];
        auto clips = nlohmann::ordered_json::array();
        for (const auto& clip : plan.clips) {
            nlohmann::ordered_json entry{{"path", clip.file.path}, {"name", clip.file.name()}};
            if (clip.start)
                entry["start"] = clip.start->seconds;
            entry["method"] = label(clip.method);
            if (clip.note)
                entry["note"] = *clip.note;
            clips.push_back(std::move(entry));
        }
        cameras.push_back({{"id", plan.camera.id.string()},
                           {"name", plan.camera.name},
                           {"folder", folders[p]},
                           {"warnings", plan.warnings},
                           {"clips", std::move(clips)}});
    }
    const nlohmann::ordered_json document{{"cameras", std::move(cameras)}};
    // File names need not be UTF-8; such bytes are replaced rather than refused.
    out << document.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
}

int runPlan(std::span<const std::string> args, Io& io) {
    const auto options = parseOptions(args, io.err);
    if (!options)
        return Usage;

    auto planned = planShoot(options->logs, options->folders, "plan", io);
    if (const auto* failure = std::get_if<ExitCode>(&planned))
        return *failure;
    const auto& [doc, plans, folders] = std::get<shoot::Planned>(planned);
    if (options->json)
        printJson(plans, folders, io.out);
    else
        printText(doc, plans, folders, io.out);
    return Done;
}

} // namespace

Command planCommand() {
    return {
        .name = "plan",
        .summary = "place each camera's clips on the session's clock",
        .help = planHelp,
        .run = runPlan,
    };
}

} // namespace korvalume::cli
