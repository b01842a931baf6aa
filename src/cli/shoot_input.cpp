#include "cli/shoot_input.h"

#include "desk/desk_words.h"

#include "media/media_reader.h"

#include <algorithm>
#include <ostream>

namespace korvalume::cli {

std::optional<FolderArgument> parseFolder(const std::string& text, std::string_view command,
                                          std::ostream& err) {
    const auto equals = text.find('=');
    if (equals == std::string::npos || equals == 0 || equals + 1 == text.size()) {
        err << "korvalume " << command << ": --folder takes CAMERA=DIR, not '" << text << "'\n";
        return std::nullopt;
    }
    return FolderArgument{text.substr(0, equals), text.substr(equals + 1)};
}

void printLogMessages(const OpenedLogs& opened, std::ostream& err) {
    for (const auto& problem : opened.problems) {
        err << words::text(problem);
        if (!problem.detail.empty())
            err << " (" << problem.detail << ")";
        err << '\n';
    }
}

namespace {

shoot::Options progressOn(Io& io) {
    shoot::Options options;
    if (io.errIsTerminal && !io.quiet) {
        options.progress = [&io](const std::string& folder,
                                 const mediareader::ScanProgress& progress) {
            io.err << "\rreading " << folder << ": " << progress.filesDone << "/"
                   << progress.filesTotal << " files\x1b[K" << std::flush;
        };
    }
    return options;
}

void endProgress(const shoot::Options& options, Io& io) {
    if (options.progress)
        io.err << "\r\x1b[K" << std::flush;
}

} // namespace

std::vector<ClipFile> readCard(const std::string& folder, Io& io) {
    const auto options = progressOn(io);
    auto clips = shoot::readCard(folder, options);
    endProgress(options, io);
    return clips;
}

std::variant<shoot::Planned, ExitCode> planShoot(const std::vector<std::string>& logs,
                                                 const std::vector<FolderArgument>& folders,
                                                 std::string_view command, Io& io) {
    auto options = progressOn(io);
    options.logsOpened = [&io](const OpenedLogs& opened) { printLogMessages(opened, io.err); };
    auto outcome = shoot::run(logs, folders, options);
    if (auto* planned = std::get_if<shoot::Planned>(&outcome)) {
        endProgress(options, io);
        return std::move(*planned);
    }
    const auto& problem = std::get<shoot::Problem>(outcome);
    io.err << "korvalume " << command << ": " << problem.text << '\n';
    using Kind = shoot::Problem::Kind;
    const bool usage = problem.kind == Kind::unknownCamera || problem.kind == Kind::removedCamera ||
                       problem.kind == Kind::cameraTwice;
    return usage ? Usage : InputProblem;
}

} // namespace korvalume::cli
