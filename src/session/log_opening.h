#pragma once

#include "base/result.h"
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

// How a log of the open session is combined into it.
enum class Combining {
    merge,     // after the shoot
    mergeLive, // during a live session: the open log's own end stays as it is
};

// What opening one file did to the state.
enum class LogStep {
    skipped,    // not a ".korvalume" file; nothing said
    unreadable, // a message says so
    opened,     // it became the open log
    combined,   // it was combined into the open log, and its report added
    leftOut,    // it belongs to another session; a message says so
};

// Opens one file into `state` as the desk does.
LogStep openLog(OpenedLogs& state, const std::string& path, Combining combining);

// Opens the files in order as the desk does after a shoot, never going live:
// files whose extension is not "korvalume" are skipped silently, unreadable ones
// get a message, logs of the open session are reported and combined with `merge`,
// logs of another session are left out with a message. Continues from `state`.
void openLogs(OpenedLogs& state, std::span<const std::string> paths);
OpenedLogs openLogs(std::span<const std::string> paths);

// The reading step alone: the whole file decoded, or why not (size-bounded).
Result<SessionDoc> readLog(const std::string& path);

} // namespace korvalume
