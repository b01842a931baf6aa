#pragma once

#include "media/clip_file.h"
#include "session/session_doc.h"
#include "sync/placed_clip.h"
#include "time/frame_rate.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// The Premiere Pro timeline (xmeml version 4): one sequence named after the
// session, each camera on its own video track(s) with its sound on linked
// audio tracks, the session's markers on the sequence. The text is built by
// appending fixed fragments in a fixed order, so it is byte-for-byte stable.
namespace korvalume::premierexml {

// A placed clip whose start or length does not fit in frames (an absurd value
// from a damaged log or file); it is left out like an unplaced one.
struct LeftOutClip {
    std::size_t plan = 0; // index into the plans given
    std::string path;
    friend bool operator==(const LeftOutClip&, const LeftOutClip&) = default;
};

struct Document {
    std::string xml;
    std::vector<LeftOutClip> leftOut;
};

// The whole document for the placed clips of `plans`, in plan order. The session's zone
// gives the sequence's time-of-day timecode.
Document build(const SessionDoc& doc, std::span<const CameraPlan> plans);

// The text alone, as the desk writes it.
std::string exportDocument(const SessionDoc& doc, std::span<const CameraPlan> plans);

// "file://localhost/..." for an absolute UTF-8 path (a relative one is taken
// from the current folder). Bytes outside the URL path set are percent-encoded
// as UTF-8 (a space as %20); "&" is encoded too, so the URL stays valid XML text.
std::string pathURL(std::string_view path);

// "&", "<", ">" and the double quote as entities; apostrophes stay. Bytes that
// XML text cannot hold (control characters, broken UTF-8) become U+FFFD.
std::string escapeText(std::string_view text);

// The name proposed for the written document: the session name + " SYNC MAP.xml",
// with any "/" of the name written as "-" so that it stays one file name.
std::string fileName(const SessionDoc& doc);

// Writes the document as UTF-8, atomically. On failure: "Could not save the
// sync map: " followed by the reason, which names the file.
std::optional<std::string> save(const std::string& path, std::string_view xml);

} // namespace korvalume::premierexml
