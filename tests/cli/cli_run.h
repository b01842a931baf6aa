#pragma once

#include "cli/command.h"

#include <sstream>
#include <string>
#include <vector>

namespace korvalume::testing_cli {

struct CommandRun {
    int code;
    std::string out;
    std::string err;
};

// Runs `korvalume ARGS...` in process, as the tool's main does.
inline CommandRun runKorvalume(const std::vector<std::string>& args, bool errIsTerminal = false) {
    std::ostringstream out, err;
    cli::Io io{out, err, errIsTerminal};
    const int code = cli::runCommandLine(args, io);
    return {code, out.str(), err.str()};
}

} // namespace korvalume::testing_cli
