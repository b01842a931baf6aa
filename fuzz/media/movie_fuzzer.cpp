#include "media/movie_meta.h"

#include <cstddef>
#include <cstdint>
#include <span>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    korvalume::MemorySource source(std::span(reinterpret_cast<const std::byte*>(data), size));
    const auto clip = korvalume::moviemeta::read(source, "/card/fuzz.mov");
    if (clip && (!(clip->duration > 0) || !clip->rate || clip->frames < 0))
        __builtin_trap();
    return 0;
}
