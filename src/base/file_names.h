#pragma once

#include <string>
#include <string_view>

namespace korvalume {

// `base` + `suffix` as one file name that macOS, Windows and Linux all accept: characters
// that any of them refuses in a name (/ \ : * ? " < > | and control characters) become
// "-", trailing dots and spaces of `base` go, a reserved Windows device name (CON, COM1,
// ...) gets a "-" appended, an empty base becomes "Untitled", and a name longer than 255
// bytes is cut in `base` at a character boundary. `suffix` is taken as safe.
std::string safeFileName(std::string_view base, std::string_view suffix = {});

} // namespace korvalume
