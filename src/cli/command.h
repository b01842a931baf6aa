#pragma once

#include <functional>
#include <iosfwd>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace korvalume::cli {

// Exit codes shared by every subcommand.
enum ExitCode : int { Done = 0, InputProblem = 1, Usage = 2 };

// Where a command writes; tests hand in string streams.
struct Io {
    std::ostream& out;
    std::ostream& err;
    bool errIsTerminal = false;
    bool quiet = false; // --quiet: no progress lines
};

struct Command {
    std::string_view name;
    std::string_view summary;
    std::string_view help; // full text for `korvalume NAME --help`, examples included
    std::function<int(std::span<const std::string> args, Io& io)> run;
};

// Each subcommand, from its own source file.
Command clockCommand();
Command logCommand();
Command scanCommand();
Command planCommand();
Command exportCommand();
Command hostCommand();
Command joinCommand();

// Every subcommand, in the order `korvalume --help` lists them.
const std::vector<Command>& commands();

// Runs `korvalume ARGS...` (ARGS without the program name).
int runCommandLine(std::span<const std::string> args, Io& io);

} // namespace korvalume::cli
