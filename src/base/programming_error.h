#pragma once

#include <source_location>
#include <string_view>

namespace korvalume {

// Stops the program: only for what the code itself got wrong, never for data from outside
// (a log, a file, a message), which is refused with a reason instead.
[[noreturn]] void programmingError(std::string_view what,
                                   std::source_location where = std::source_location::current());

} // namespace korvalume
