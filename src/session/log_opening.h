#pragma once

#include "base/result.h"
#include "session/combining.h"
#include "session/session_doc.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace korvalume {

// Why one file did not join the open log. The desk words it for the user.
struct LogProblem {
    enum class Kind {
        unreadable,   // not a session log, or it could not be read
        otherSession, // a log of another session while one is open
    };
    Kind kind = Kind::unreadable;
    std::string fileName;    // the file's last path component
    std::string detail;      // what exactly was wrong (unreadable); may be empty
    std::string itsSession;  // the file's session name (otherSession)
    std::string openSession; // the open log's session name (otherSession)

    friend bool operator==(const LogProblem&, const LogProblem&) = default;
};

// The result of opening logs after a shoot.
struct OpenedLogs {
    std::optional<SessionDoc> doc;                      // the combined log
    int logCount = 0;                                   // logs combined into `doc`
    std::optional<std::vector<CombiningReport>> report; // one per log combined into `doc`
    std::vector<LogProblem> problems;                   // in order; the desk shows the last
    LogChanges changes; // what the last log combined changed in `doc`
};

// How a log of the open session is combined into it.
enum class Combining {
    merge,     // after the shoot
    mergeLive, // during a live session: the open log's own end stays as it is
};

// What opening one file did to the state.
enum class LogStep {
    skipped,    // not a ".korvalume" file; nothing said
    unreadable, // a problem says so
    opened,     // it became the open log
    combined,   // it was combined into the open log, and its report added
    leftOut,    // it belongs to another session; a problem says so
};

// Opens one file into `state` as the desk does.
LogStep openLog(OpenedLogs& state, const std::string& path, Combining combining);

// Opens the files in order as the desk does after a shoot, never going live:
// files whose extension is not "korvalume" are skipped silently, unreadable ones
// are a problem, logs of the open session are reported and combined with `merge`,
// logs of another session are left out as a problem. Continues from `state`.
void openLogs(OpenedLogs& state, std::span<const std::string> paths);
OpenedLogs openLogs(std::span<const std::string> paths);

// The reading step alone: the whole file decoded, or why not (size-bounded).
Result<SessionDoc> readLog(const std::string& path);

} // namespace korvalume
