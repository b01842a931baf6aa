#pragma once

// What the commands share: option parsing, opening logs, reading cards and
// planning the cameras of a shoot.
#include "cli/command.h"
#include "media/clip_file.h"
#include "session/log_opening.h"
#include "sync/placed_clip.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace korvalume::cli {

// True for "NAME" and "NAME=VALUE".
bool isOption(const std::string& arg, std::string_view name);
// The value of "NAME VALUE" (advancing i) or "NAME=VALUE"; says what is missing otherwise.
std::optional<std::string> optionValue(std::span<const std::string> args, std::size_t& i,
                                       std::string_view name, std::string_view command,
                                       std::ostream& err);

struct FolderArgument {
    std::string camera; // a camera's name (any case) or id
    std::string folder;
};
std::optional<FolderArgument> parseFolder(const std::string& text, std::string_view command,
                                          std::ostream& err);

// Every message of opening the logs, one line each, with its technical detail.
void printLogMessages(const OpenedLogs& opened, std::ostream& err);

// Reads one card folder, with a progress line on a terminal unless quiet.
std::vector<ClipFile> readCard(const std::string& folder, Io& io);

struct Shoot {
    SessionDoc doc;
    std::vector<CameraPlan> plans;    // in the session's camera order
    std::vector<std::string> folders; // the folder of each plan
};

// Opens the logs, matches each folder to its camera, reads the cards and plans
// every camera given a folder. On a problem, says so and gives the exit code.
std::variant<Shoot, ExitCode> planShoot(const std::vector<std::string>& logs,
                                        const std::vector<FolderArgument>& folders,
                                        std::string_view command, Io& io);

} // namespace korvalume::cli
