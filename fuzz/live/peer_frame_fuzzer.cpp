// Feeds arbitrary bytes to the peer link's frame reader in arbitrary chunks, as a peer's
// TLS stream would arrive, and decodes every frame as the link does. The first byte picks
// the chunk size. Frames must come out the same whatever the chunking, never above the
// limit, and nothing may be left unaccounted for.
#include "live/peer_frame_reader.h"
#include "live/peer_protocol.h"
#include "session/session_doc.h"
#include "session/session_file.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "peer_frame_fuzzer: %s\n", what);
        std::abort();
    }
}

// A small limit, so the oversized path is reached as often as the ordinary one.
constexpr std::uint32_t limit = 4096;

struct Outcome {
    std::vector<std::string> frames;
    bool oversized = false;
    std::size_t left = 0;
};

Outcome read(const char* data, std::size_t size, std::size_t chunk) {
    korvalume::FrameReader reader(limit);
    Outcome outcome;
    for (std::size_t at = 0; at < size; at += chunk) {
        reader.append(data + at, std::min(chunk, size - at));
        while (auto frame = reader.next()) {
            require(frame->size() <= limit, "frame above the limit");
            outcome.frames.push_back(std::move(*frame));
        }
    }
    outcome.oversized = reader.oversized();
    outcome.left = reader.buffered();
    return outcome;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const auto chunk = static_cast<std::size_t>(data[0] % 64) + 1;
    const char* stream = reinterpret_cast<const char*>(data + 1);
    const std::size_t length = size - 1;

    const Outcome whole = read(stream, length, length == 0 ? 1 : length);
    const Outcome pieces = read(stream, length, chunk);
    require(whole.frames == pieces.frames, "frames depend on the chunking");
    require(whole.oversized == pieces.oversized, "the limit depends on the chunking");

    std::size_t accounted = whole.left;
    for (const auto& frame : whole.frames) {
        accounted += korvalume::peerprotocol::frameHeaderLength + frame.size();
        // What the link does with each frame; a refusal needs a reason.
        auto doc = korvalume::sessionfile::decode(frame);
        require(doc.ok() || !doc.message().empty(), "refusal without a reason");
        require(korvalume::peerprotocol::encodeFrame(frame).size() ==
                    static_cast<qsizetype>(frame.size() + 4),
                "frame header is not 4 bytes");
    }
    require(whole.oversized || accounted == length, "bytes went missing");
    return 0;
}
