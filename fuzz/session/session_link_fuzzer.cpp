// Reads arbitrary text as a join link, raw and as the payload of both link
// forms. A link that reads must build a link that reads back the same session.
#include "session/session_link.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "session_link_fuzzer: %s\n", what);
        std::abort();
    }
}

void check(const std::string& url) {
    const auto link = korvalume::SessionLink::parse(url);
    if (!link)
        return;
    const std::string built = link->url();
    if (!std::isfinite(std::round(link->startedAt.seconds * 1000)))
        return; // such a start can't travel; the payload is empty
    const auto reread = korvalume::SessionLink::parse(built);
    require(reread.has_value(), "a built link does not read");
    require(reread->id == link->id && reread->name == link->name && reread->fps == link->fps &&
                reread->zone == link->zone && reread->ownerID == link->ownerID,
            "a built link reads back another session");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    check(text);
    check("https://korvalume.app/korvalume/app/#j=" + text);
    check("korvalume://join/" + text);
    return 0;
}
