#pragma once

#include "session/session_doc.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace korvalume {

// A message for the user about one file, in the desk's own words, plus the
// technical reason where there is one (for logs and the command line).
struct LogMessage {
    std::string text;   // "X.korvalume is not a Korvalume session log."
    std::string detail; // what exactly was wrong; may be empty
    friend bool operator==(const LogMessage&, const LogMessage&) = default;
};

// The result of opening logs after a shoot.
struct OpenedLogs {
    std::optional<SessionDoc> doc;                  // the combined log
    int logCount = 0;                               // logs combined into `doc`
    std::optional<std::vector<std::string>> report; // combining report, over every log
    std::vector<LogMessage> messages;               // in order; the desk shows only the last
};

// Opens the files in order as the desk does after a shoot, never going live:
// files whose extension is not "korvalume" are skipped silently, unreadable ones
// get a message, logs of the open session are reported and combined with `merge`,
// logs of another session are left out with a message. Continues from `state`.
void openLogs(OpenedLogs& state, std::span<const std::string> paths);
OpenedLogs openLogs(std::span<const std::string> paths);

// The reading step alone: the whole file decoded, or why not (size-bounded).
Result<SessionDoc> readLog(const std::string& path);

} // namespace korvalume
