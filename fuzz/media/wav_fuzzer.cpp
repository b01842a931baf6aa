#include "media/bwf_meta.h"

#include <cstddef>
#include <cstdint>
#include <span>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    korvalume::MemorySource source(std::span(reinterpret_cast<const std::byte*>(data), size));
    korvalume::CountingSource counted(source);
    const auto clip = korvalume::bwfmeta::read(counted, "/card/fuzz.wav", std::nullopt);
    // Whatever the bytes, the walk reads headers and small chunks only, one
    // header per 8 bytes of file at most.
    if (counted.count().reads > 2 * (size / 8 + 2))
        __builtin_trap();
    if (clip && (!clip->audioOnly || clip->audioChannels < 1 || clip->frames != 0))
        __builtin_trap();
    return 0;
}
