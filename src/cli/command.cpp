#include "cli/command.h"

#include <algorithm>
#include <ostream>

#ifndef KORVALUME_VERSION
#define KORVALUME_VERSION "unknown"
#endif

namespace korvalume::cli {

const std::vector<Command>& commands() {
    static const std::vector<Command> table{clockCommand(), exportCommand(), hostCommand(),
                                            joinCommand(),  logCommand(),    planCommand(),
                                            scanCommand()};
    return table;
}

namespace {

void printUsage(std::ostream& out) {
    out << "Usage: korvalume COMMAND [ARGS...]\n\n"
           "Korvalume Desk: combine a shoot's session logs, read the camera cards and\n"
           "write a Premiere Pro XML timeline with every clip in place.\n\n"
           "Commands:\n";
    for (const auto& command : commands()) {
        out << "  " << command.name;
        for (auto i = command.name.size(); i < 10; ++i)
            out << ' ';
        out << command.summary << '\n';
    }
    out << "\nOptions for every command:\n"
           "  --help, -h   the command's options and examples\n"
           "  --quiet, -q  no progress lines while reading cards\n"
           "\nExamples:\n"
           "  korvalume log phone-a.korvalume phone-b.korvalume\n"
           "  korvalume scan /Volumes/A001\n"
           "  korvalume export shoot.korvalume --folder \"CAM A=/Volumes/A001\"\n"
           "\nExit codes: 0 done, 1 input problem, 2 usage error.\n";
}

} // namespace

int runCommandLine(std::span<const std::string> args, Io& io) {
    if (args.empty()) {
        printUsage(io.err);
        return Usage;
    }
    const std::string& first = args.front();
    if (first == "--help" || first == "-h" || first == "help") {
        printUsage(io.out);
        return Done;
    }
    if (first == "--version") {
        io.out << "korvalume " << KORVALUME_VERSION << '\n';
        return Done;
    }
    const auto& table = commands();
    auto found =
        std::find_if(table.begin(), table.end(), [&](const Command& c) { return c.name == first; });
    if (found == table.end()) {
        io.err << "korvalume: unknown command '" << first << "'\n";
        printUsage(io.err);
        return Usage;
    }
    std::vector<std::string> rest(args.begin() + 1, args.end());
    if (std::find(rest.begin(), rest.end(), "--help") != rest.end() ||
        std::find(rest.begin(), rest.end(), "-h") != rest.end()) {
        io.out << found->help;
        return Done;
    }
    // --quiet is understood by every command.
    const auto endOfOptions = std::find(rest.begin(), rest.end(), "--");
    const auto quiet = std::remove_if(rest.begin(), endOfOptions, [](const std::string& a) {
        return a == "--quiet" || a == "-q";
    });
    if (quiet != endOfOptions) {
        io.quiet = true;
        rest.erase(quiet, endOfOptions);
    }
    return found->run(rest, io);
}

} // namespace korvalume::cli
