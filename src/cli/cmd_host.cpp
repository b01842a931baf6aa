// korvalume host: the desk without a window, as the owner of a live session.
#include "base/qt_text.h"
#include "cli/command.h"
#include "cli/live_desk.h"
#include "cli/options.h"
#include "session/log_opening.h"
#include "session/session_doc.h"
#include "session/session_link.h"
#include "time/frame_rate.h"

#include <QFileInfo>

#include <ostream>

namespace korvalume::cli {
namespace {

// "23.976, 24, 25, ...": every rate a session can take, as the parser takes them.
std::string rateLabels() {
    std::string labels;
    for (const auto& rate : FrameRate::all())
        labels += (labels.empty() ? "" : ", ") + rate.label();
    return labels;
}

std::string hostHelp() {
    return R"(Usage: korvalume host [--name NAME] [--fps RATE] [--resume LOG]
                      [--sessions-dir DIR] [--operator NAME [--save-operator]]
                      [--for SECONDS]

Hosts a live session from this machine, without the window: starts the session
(or takes up an unfinished log that this desk started, with --resume), prints its
join link and QR code, and takes in the logs of the phones and desks that join.
Every change is saved to the sessions folder. Ctrl-C, SIGTERM or the end of --for
ends the session for everyone, saves it, sends it to every peer and prints where
it is. To follow a session another device started, use 'korvalume join'.

Options:
  --name NAME          the session's name (default: SHOOT and today's date)
  --fps RATE           the session's frame rate: )" +
           rateLabels() + R"( (default 25)
  --resume LOG         take up this unfinished session log instead
  --sessions-dir DIR   where the log is saved (default: Documents/Korvalume Sessions)
  --operator NAME      the operator's name the phones see, for this run
  --save-operator      keep that name for later runs and the window too
  --for SECONDS        end the session after this long

Examples:
  korvalume host --name "DAY 2" --fps 23.976
  korvalume host --resume "Korvalume Sessions/DAY 2 3F2A.korvalume"
)";
}

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

struct HostOptions {
    LiveDeskOptions live;
    std::string name;
    FrameRate fps = FrameRate::pal();
    std::optional<std::string> resume;
};

std::optional<HostOptions> parseOptions(std::span<const std::string> args, Io& io) {
    const auto parsed = parseArgs(args,
                                  {{{"name"}, "a value"},
                                   {{"fps"}, "a value"},
                                   {{"resume"}, "a value"},
                                   liveOptions[0],
                                   liveOptions[1],
                                   liveOptions[2],
                                   liveOptions[3]},
                                  "host", io.err);
    HostOptions options;
    if (!parsed || !readLiveOptions(*parsed, "host", options.live, io))
        return std::nullopt;
    if (!parsed->positional().empty()) {
        io.err << "korvalume host: unknown argument '" << parsed->positional().front() << "'\n";
        return std::nullopt;
    }
    if (const auto label = parsed->value("fps")) {
        const auto rate = rateFromLabel(*label);
        if (!rate) {
            io.err << "korvalume host: --fps takes one of " << rateLabels() << ", not '" << *label
                   << "'\n";
            return std::nullopt;
        }
        options.fps = *rate;
    }
    options.name = parsed->value("name").value_or(std::string());
    options.resume = parsed->value("resume");
    return options;
}

// Takes up the log to resume; false after saying why it cannot be.
bool resume(DeskModel& model, const std::string& log, Io& io) {
    // Only the desk that started a session may end it for everyone: another's is not
    // taken up at all.
    const auto read = readLog(log);
    if (read && read->ownerID != utf8(model.services().deviceID)) {
        io.err << "korvalume host: " << log
               << ": this session was started on another device, so this desk cannot host it. "
                  "Follow it with 'korvalume join "
               << log << "'.\n";
        return false;
    }
    model.open(std::vector<std::string>{log});
    const QString message = model.document().message();
    if (!model.live().isLive()) {
        io.err << "korvalume host: " << log << ": "
               << (message.isEmpty() ? "not an unfinished session log less than 18 hours old"
                                     : utf8(message))
               << '\n';
        return false;
    }
    return true;
}

int runHost(std::span<const std::string> args, Io& io) {
    const auto options = parseOptions(args, io);
    if (!options)
        return Usage;
    LiveDesk desk(options->live);
    DeskModel& model = desk.model();
    if (options->resume) {
        if (!resume(model, *options->resume, io))
            return InputProblem;
    } else {
        model.live().start(options->name, options->fps);
    }

    const SessionDoc& doc = *model.document().doc();
    const QString joinLink = qs(SessionLink::from(doc).url());
    io.out << "Session " << doc.name << " (" << doc.fps.label() << " fps)\n"
           << "Join link: " << utf8(joinLink) << "\n\n"
           << terminalQr(joinLink) << std::endl;
    printReceived(model, io.out);
    desk.run(options->live.limit);

    model.live().end();
    desk.flush(std::chrono::seconds(2));
    const QUrl savedTo = model.document().savedTo();
    if (savedTo.isEmpty()) {
        io.err << "korvalume host: the log could not be saved in "
               << utf8(options->live.sessionsFolder) << '\n';
        return InputProblem;
    }
    io.out << "Ended. The log is at " << utf8(savedTo.toLocalFile()) << '\n';
    return Done;
}

} // namespace

Command hostCommand() {
    static const std::string help = hostHelp();
    return {
        .name = "host",
        .summary = "host a live session without the window",
        .help = help,
        .run = runHost,
    };
}

} // namespace korvalume::cli
