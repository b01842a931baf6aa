#include "media/sony_clip_meta.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view xml(reinterpret_cast<const char*>(data), size);
    const auto clip = korvalume::sonyclipmeta::read("/card/C0001.MP4", xml);
    if (clip && (clip->frames <= 0 || !clip->rate || clip->rate->timebase < 1))
        __builtin_trap();
    // The LTC decoder on the same bytes, eight at a time.
    for (std::size_t at = 0; at + 8 <= size && at < 256; at += 8)
        (void)korvalume::sonyclipmeta::timecode(xml.substr(at, 8));
    return 0;
}
