// `korvalume log`: open and combine session logs as the desk does after a shoot.
#include "base/atomic_file.h"
#include "base/qt_text.h"
#include "cli/command.h"
#include "cli/options.h"
#include "cli/shoot_input.h"
#include "desk/desk_words.h"
#include "session/instant_text.h"
#include "session/json_text.h"
#include "session/log_opening.h"
#include "session/logged_recordings.h"
#include "session/session_file.h"

#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace korvalume::cli {

namespace {

constexpr std::string_view helpText =
    "Usage: korvalume log FILE... [--json] [-o OUT.korvalume]\n"
    "\n"
    "Opens session logs in order, as the desk does after a shoot: the first\n"
    "becomes the session, later logs of the same session are combined into it,\n"
    "logs of another session are left out. Files without the .korvalume\n"
    "extension are skipped.\n"
    "\n"
    "Prints the combined session: name, frame rate, start in the session's time\n"
    "zone, each camera with its kind, link, recordings and timecode scans, the\n"
    "markers, and what each further log added.\n"
    "\n"
    "Options:\n"
    "  --json             print {\"doc\", \"logCount\", \"messages\", \"report\"} as JSON;\n"
    "                     \"doc\" is the combined log exactly as its file holds it\n"
    "  -o OUT.korvalume   write the combined log to OUT.korvalume\n"
    "\n"
    "Examples:\n"
    "  korvalume log phone-a.korvalume phone-b.korvalume\n"
    "  korvalume log logs/*.korvalume -o \"SHOOT 15 NOV.korvalume\"\n"
    "  korvalume log phone-a.korvalume --json\n"
    "\n"
    "Exit codes: 0 at least one log opened, 1 none opened or the output could not\n"
    "be written, 2 usage error.\n";

struct Options {
    std::vector<std::string> files;
    bool json = false;
    std::optional<std::string> output;
};

std::optional<Options> parseOptions(std::span<const std::string> args, std::ostream& err) {
    const auto parsed = parseArgs(args, {{{"json"}}, {{"o", "output"}, "a file name"}}, "log", err);
    if (!parsed)
        return std::nullopt;
    Options options{parsed->positional(), parsed->isSet("json"), parsed->value("o")};
    if (options.files.empty()) {
        err << "korvalume log: no session log given (see 'korvalume log --help')\n";
        return std::nullopt;
    }
    return options;
}

std::string plural(std::size_t count, std::string_view noun) {
    return std::to_string(count) + " " + std::string(noun) + (count == 1 ? "" : "s");
}

void printSummary(const OpenedLogs& opened, std::ostream& out) {
    const SessionDoc& doc = *opened.doc;
    const QTimeZone zone = doc.timeZone();
    out << "Session: " << doc.name << '\n'
        << "Id:      " << doc.id.string() << '\n'
        << "Rate:    " << doc.fps.label() << '\n'
        << "Started: " << formatInstant(doc.startedAt, zone) << '\n';
    if (doc.endedAt)
        out << "Ended:   " << formatInstant(*doc.endedAt, zone) << '\n';
    if (doc.endedForAll)
        out << "Ended for everyone: " << formatInstant(*doc.endedForAll, zone) << '\n';
    out << "Logs:    " << opened.logCount << '\n';

    out << "\nCameras (" << doc.cameras.size() << "):\n";
    for (const auto& camera : doc.cameras) {
        out << "  " << camera.name << "  " << caseName(camera.kind) << ", " << caseName(camera.link)
            << ", " << plural(clips(doc, camera.id).size(), "recording") << ", "
            << plural(scans(doc, camera.id).size(), "timecode scan");
        if (!camera.model.empty())
            out << ", " << camera.model;
        if (camera.removed)
            out << " (removed)";
        out << '\n';
    }

    const auto markers = doc.markers();
    out << "\nMarkers (" << markers.size() << "):\n";
    for (const auto& marker : markers)
        out << "  " << formatInstant(marker.at, zone) << "  " << marker.label.value_or("") << '\n';

    if (opened.report) {
        out << "\nCombining report:\n";
        for (const auto& line : words::lines(*opened.report))
            out << "  " << line << '\n';
    }
}

void printJson(const OpenedLogs& opened, const std::string& encodedDoc, std::ostream& out) {
    std::string text;
    jsontext::Writer json(text);
    json.beginObject();
    json.key("doc");
    if (opened.doc)
        json.json(encodedDoc);
    else
        json.null();
    json.key("logCount").integer(opened.logCount);
    json.key("messages").beginArray();
    for (const auto& problem : opened.problems)
        json.string(utf8(qs(words::text(problem))), "message"); // file names need not be UTF-8
    json.endArray();
    json.key("report").beginArray();
    if (opened.report)
        for (const auto& line : words::lines(*opened.report))
            json.string(utf8(qs(line)), "report");
    json.endArray();
    json.endObject();
    out << text << '\n';
}

int runLog(std::span<const std::string> args, Io& io) {
    const auto options = parseOptions(args, io.err);
    if (!options)
        return Usage;

    const OpenedLogs opened = openLogs(options->files);
    printLogMessages(opened, io.err);
    if (!opened.doc) {
        io.err << "korvalume log: no session log could be opened\n";
        if (options->json)
            printJson(opened, {}, io.out);
        return InputProblem;
    }

    // Logs read from files always encode; a failure here would be a bug worth naming.
    const auto encoded = sessionfile::encoded(*opened.doc);
    if (!encoded) {
        io.err << "Could not save the log: " << encoded.message() << '\n';
        return InputProblem;
    }
    if (options->json)
        printJson(opened, *encoded, io.out);
    else
        printSummary(opened, io.out);

    if (options->output) {
        const auto written = writeFileAtomically(*options->output, *encoded);
        if (!written) {
            io.err << "Could not save the log: " << written.message() << '\n';
            return InputProblem;
        }
    }
    return Done;
}

} // namespace

Command logCommand() {
    return {
        .name = "log",
        .summary = "open and combine session logs; print, check or save the result",
        .help = helpText,
        .run = runLog,
    };
}

} // namespace korvalume::cli
