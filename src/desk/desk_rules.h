#pragma once

#include "session/session_doc.h"

#include <QDate>

#include <string>
#include <string_view>

// The desk's small rules, free of any state, so that each can be checked alone.
namespace korvalume::deskrules {

// An unfinished log this young is a live session to take up again; an older one is
// opened as finished.
inline constexpr double takeUpLiveWithin = 18 * 3600.0;

// "SHOOT 15 NOV" for 15 November.
std::string defaultName(QDate today);
// The name a new session gets from what the user typed: trimmed and upper-cased, or
// the default name when nothing is left.
std::string sessionName(std::string_view typed, QDate today);

// An opened log that is still running and started less than 18 hours before `now`.
bool takesUpLive(const SessionDoc& doc, MasterInstant now);

// "MARK n": one more than the markers already in the log.
std::string nextMarkerLabel(const SessionDoc& doc);

// The log's file name in the sessions folder: the name with every character that is
// neither a letter, a number nor a space written as "-", a space, the first 4 characters
// of the id, ".korvalume". "SHOOT 15/NOV" with id 3F2A... gives "SHOOT 15-NOV 3F2A.korvalume".
std::string autosaveFileName(const SessionDoc& doc);

// The names a save panel proposes.
std::string proposedLogName(const SessionDoc& doc);
std::string proposedExportName(const SessionDoc& doc);

} // namespace korvalume::deskrules
