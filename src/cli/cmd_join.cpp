// korvalume join: a desk that follows someone else's live session.
#include "base/qt_text.h"
#include "cli/command.h"
#include "cli/live_desk.h"
#include "cli/options.h"
#include "session/session_doc.h"
#include "session/session_link.h"

#include <QObject>

#include <ostream>

namespace korvalume::cli {
namespace {

constexpr std::string_view joinHelp =
    R"(Usage: korvalume join LINK|LOG [LOG...] [-o FILE] [--sessions-dir DIR]
                      [--operator NAME [--save-operator]] [--for SECONDS]

Follows a live session from this machine: takes up the session of a join link
(https://korvalume.app/... or korvalume://join/...) or of an unfinished log,
sends its logs to the others and combines what it receives. When the session
is ended for everyone, or --for runs out, it writes the combined log.

Options:
  -o FILE              write the combined log here at the end (default: only the
                       automatic save in the sessions folder)
  --sessions-dir DIR   where the log is saved automatically
  --operator NAME      the operator's name the others see, for this run
  --save-operator      keep that name for later runs and the window too
  --for SECONDS        stop following after this long

Examples:
  korvalume join "https://korvalume.app/korvalume/app/#j=..." -o day2.korvalume
  korvalume join phone-b.korvalume --for 600
)";

int runJoin(std::span<const std::string> args, Io& io) {
    const auto parsed = parseArgs(args,
                                  {{{"o", "output"}, "a file name"},
                                   liveOptions[0],
                                   liveOptions[1],
                                   liveOptions[2],
                                   liveOptions[3]},
                                  "join", io.err);
    LiveDeskOptions options;
    if (!parsed || !readLiveOptions(*parsed, "join", options, io))
        return Usage;
    std::vector<std::string> inputs = parsed->positional();
    const std::optional<std::string> output = parsed->value("o");
    if (inputs.empty()) {
        io.err << "korvalume join: expected a join link or a session log\n";
        return Usage;
    }

    LiveDesk desk(options);
    DeskModel& model = desk.model();
    if (model.join(inputs.front()))
        inputs.erase(inputs.begin());
    model.open(inputs);
    if (!model.live().isLive()) {
        const QString message = model.document().message();
        io.err << "korvalume join: "
               << (message.isEmpty()
                       ? inputs.front() + ": not a join link nor an unfinished session log less "
                                          "than 18 hours old"
                       : utf8(message))
               << '\n';
        return InputProblem;
    }
    io.out << "Following " << model.document().doc()->name << std::endl;
    QObject::connect(&model.live(), &LiveSession::isLiveChanged, &model, [&] {
        if (!model.live().isLive())
            desk.stop();
    });
    desk.run(options.limit);
    desk.flush(std::chrono::seconds(2));

    const bool ended = !model.live().isLive();
    if (output) {
        if (const Status saved = model.saveLogTo(*output); !saved) {
            io.err << "korvalume join: " << utf8(model.document().message()) << '\n';
            return InputProblem;
        }
    }
    const QString where = model.document().savedTo().toLocalFile();
    io.out << (ended ? "The session was ended. " : "Stopped following. ") << "The log is at "
           << where.toStdString() << '\n';
    return Done;
}

} // namespace

Command joinCommand() {
    return {
        .name = "join",
        .summary = "follow a live session from its join link or an unfinished log",
        .help = joinHelp,
        .run = runJoin,
    };
}

} // namespace korvalume::cli
