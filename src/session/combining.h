#pragma once

#include "session/session_doc.h"

#include <string>
#include <string_view>
#include <vector>

// Combining logs of one session, finishing a log, and what a log would add.
namespace korvalume {

// Combines a log of the same session into `doc` (another session changes nothing):
// strictly newer cameras replace, new events are added, events sorted stably by `at`.
void merge(SessionDoc& doc, const SessionDoc& other);
// As merge, but `doc`'s own `endedAt` stays exactly as it was.
void mergeLive(SessionDoc& doc, const SessionDoc& other);
// What `adding` would bring to `doc`, as sentences for the user.
std::vector<std::string> report(const SessionDoc& doc, const SessionDoc& adding);
// `other` would add nothing to `doc` but its end time.
bool covers(const SessionDoc& doc, const SessionDoc& other);

// Whose logging `finish` ends.
enum class FinishScope {
    thisDevice, // only this device stops logging
    everyone,   // the owner ends the session for every device
};

// Ends this device's logging at `instant`: recordings of its cameras still rolling
// become open-ended. True when the document was not finished before.
bool finish(SessionDoc& doc, std::string_view deviceID, MasterInstant instant, FinishScope scope);

} // namespace korvalume
