#include "base/programming_error.h"

#include <cstdio>
#include <cstdlib>

namespace korvalume {

void programmingError(std::string_view what, std::source_location where) {
    std::fprintf(stderr, "korvalume: programming error at %s:%u: %.*s\n", where.file_name(),
                 unsigned(where.line()), int(what.size()), what.data());
    std::abort();
}

} // namespace korvalume
