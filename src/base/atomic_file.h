#pragma once

#include "base/result.h"

#include <string>
#include <string_view>

namespace korvalume {

// Writes `bytes` to `path` through a temporary file moved into place, so a
// reader never sees half a file and a failure leaves the old file as it was.
// The error names the file and the cause.
Status writeFileAtomically(const std::string& path, std::string_view bytes);

} // namespace korvalume
