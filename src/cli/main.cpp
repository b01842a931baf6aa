#include "cli/command.h"
#include "platform/platform.h"

#include <QCoreApplication>

#include <iostream>
#include <unistd.h>

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    korvalume::platform::useSharedSettings();
    std::vector<std::string> args(argv + 1, argv + argc);
    korvalume::cli::Io io{std::cout, std::cerr, isatty(STDERR_FILENO) == 1};
    return korvalume::cli::runCommandLine(args, io);
}
