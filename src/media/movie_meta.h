#pragma once

#include "media/byte_source.h"
#include "media/clip_file.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Movie files (QuickTime, MP4, MXF) read from their container headers through
// libavformat: no stream-info analysis, no decoding, one timecode sample read.
namespace korvalume::moviemeta {

// Reads one movie; nullopt when it cannot be opened, has no positive duration
// or has no video stream.
std::optional<ClipFile> read(const std::string& path);
// The same through any source; `path` only names the record.
std::optional<ClipFile> read(ByteSource& source, const std::string& path);

// The member of FrameRate::all() whose fps is nearest; ties keep the earlier.
FrameRate nearestRate(double nominalFps);

// The start of a timecode track from its first sample's frame number, its frame
// quanta and drop-frame flag. A track that counts more than 30 labels a second
// is given at half its quanta, the base cameras display (59.94 as 29.97 DF).
std::optional<Timecode> timecodeFromFrameNumber(std::uint32_t frameNumber, std::uint32_t quanta,
                                                bool dropFrame);

// The same start from the text libavformat gives where it exposes no frame
// number (MXF): labels counted above 30 a second are halved likewise.
std::optional<Timecode> timecodeFromText(std::string_view text, const FrameRate& rate);

} // namespace korvalume::moviemeta
