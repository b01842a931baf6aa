#pragma once

#include "session/session_doc.h"

#include <string>
#include <string_view>

namespace korvalume {

// The name proposed for any file made from a session: the session's name made safe for
// every system's file names, then `suffix` (".korvalume", " SYNC MAP.xml"). Every save
// panel, export and the command line take their default names from here.
std::string proposedFileName(const SessionDoc& doc, std::string_view suffix);

} // namespace korvalume
