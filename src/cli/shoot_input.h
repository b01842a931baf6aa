#pragma once

// What the commands share: card folder arguments, and the shoot path with its messages.
#include "cli/command.h"
#include "media/clip_file.h"
#include "session/log_opening.h"
#include "sync/shoot.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace korvalume::cli {

using FolderArgument = shoot::FolderChoice;
std::optional<FolderArgument> parseFolder(const std::string& text, std::string_view command,
                                          std::ostream& err);

// Every message of opening the logs, one line each, with its technical detail.
void printLogMessages(const OpenedLogs& opened, std::ostream& err);

// Reads one card folder, with a progress line on a terminal unless quiet.
std::vector<ClipFile> readCard(const std::string& folder, Io& io);

// The shared shoot path with its messages and progress on the command's streams. On a
// problem, says so and gives the exit code.
std::variant<shoot::Planned, ExitCode> planShoot(const std::vector<std::string>& logs,
                                                 const std::vector<FolderArgument>& folders,
                                                 std::string_view command, Io& io);

} // namespace korvalume::cli
