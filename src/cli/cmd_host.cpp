// korvalume host: the desk without a window, as the owner of a live session.
#include "base/qt_text.h"
#include "cli/command.h"
#include "cli/live_desk.h"
#include "cli/options.h"
#include "session/session_doc.h"
#include "session/session_link.h"
#include "time/frame_rate.h"

#include <QFileInfo>

#include <ostream>

namespace korvalume::cli {
namespace {

constexpr std::string_view hostHelp =
    R"(Usage: korvalume host [--name NAME] [--fps RATE] [--resume LOG]
                      [--sessions-dir DIR] [--operator NAME] [--for SECONDS]

Hosts a live session from this machine, without the window: starts the session
(or takes up an unfinished log with --resume), prints its join link and QR
code, and takes in the logs of the phones and desks that join. Every change is
saved to the sessions folder. Ctrl-C, SIGTERM or the end of --for ends the
session for everyone, saves it, sends it to every peer and prints where it is.

Options:
  --name NAME          the session's name (default: SHOOT and today's date)
  --fps RATE           the session's frame rate: 23.976, 24, 25, 29.97, 48*, 50,
                       59.94 (default 25)
  --resume LOG         take up this unfinished session log instead
  --sessions-dir DIR   where the log is saved (default: Documents/Korvalume Sessions)
  --operator NAME      the name the phones see for this run
  --for SECONDS        end the session after this long

Examples:
  korvalume host --name "DAY 2" --fps 23.976
  korvalume host --resume "Korvalume Sessions/DAY 2 3F2A.korvalume"
)";

std::optional<FrameRate> rateFromLabel(const std::string& label) {
    for (const auto& rate : FrameRate::all()) {
        if (rate.label() == label)
            return rate;
    }
    return std::nullopt;
}

void printReceived(DeskModel& model, std::ostream& out) {
    QObject::connect(&model.live(), &LiveSession::received, &model,
                     [&out](const QString& from, const QStringList& lines) {
                         const QString who = from.isEmpty() ? QStringLiteral("a peer") : from;
                         out << who.toStdString() << ": "
                             << (lines.isEmpty() ? QStringLiteral("nothing new")
                                                 : lines.join(QStringLiteral(" ")))
                                    .toStdString()
                             << std::endl;
                     });
}

int runHost(std::span<const std::string> args, Io& io) {
    const auto parsed = parseArgs(args,
                                  {{{"name"}, "a value"},
                                   {{"fps"}, "a value"},
                                   {{"resume"}, "a value"},
                                   liveOptions[0],
                                   liveOptions[1],
                                   liveOptions[2]},
                                  "host", io.err);
    LiveDeskOptions options;
    if (!parsed || !readLiveOptions(*parsed, "host", options, io))
        return Usage;
    if (!parsed->positional().empty()) {
        io.err << "korvalume host: unknown argument '" << parsed->positional().front() << "'\n";
        return Usage;
    }
    FrameRate fps = FrameRate::pal();
    if (const auto label = parsed->value("fps")) {
        const auto rate = rateFromLabel(*label);
        if (!rate) {
            io.err << "korvalume host: --fps takes one of 23.976, 24, 25, 29.97, 48*, 50, "
                      "59.94, not '"
                   << *label << "'\n";
            return Usage;
        }
        fps = *rate;
    }
    const std::string name = parsed->value("name").value_or(std::string());
    const std::optional<std::string> resume = parsed->value("resume");

    LiveDesk desk(options);
    DeskModel& model = desk.model();
    if (resume) {
        model.open(std::vector<std::string>{*resume});
        if (!model.live().isLive()) {
            const QString message = model.document().message();
            io.err << "korvalume host: " << *resume << ": "
                   << (message.isEmpty()
                           ? std::string("not an unfinished session log less than 18 hours "
                                         "old")
                           : utf8(message))
                   << '\n';
            return InputProblem;
        }
    } else {
        model.live().start(name, fps);
    }

    const SessionDoc& doc = *model.document().doc();
    const QString joinLink = qs(SessionLink::from(doc).url());
    io.out << "Session " << doc.name << " (" << doc.fps.label() << " fps)\n"
           << "Join link: " << utf8(joinLink) << "\n\n"
           << terminalQr(joinLink) << std::endl;
    printReceived(model, io.out);
    desk.run(options.limit);

    model.live().end();
    desk.flush(std::chrono::seconds(2));
    const QUrl savedTo = model.document().savedTo();
    if (savedTo.isEmpty()) {
        io.err << "korvalume host: the log could not be saved in "
               << options.sessionsFolder.toStdString() << '\n';
        return InputProblem;
    }
    io.out << "Ended. The log is at " << utf8(savedTo.toLocalFile()) << '\n';
    return Done;
}

} // namespace

Command hostCommand() {
    return {
        .name = "host",
        .summary = "host a live session without the window",
        .help = hostHelp,
        .run = runHost,
    };
}

} // namespace korvalume::cli
