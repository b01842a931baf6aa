#pragma once

#include "media/clip_file.h"
#include "session/session_doc.h"
#include "sync/align.h"
#include "sync/placed_clip.h"
#include "time/frame_rate.h"
#include "time/timecode.h"

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

// How a camera's timecode relates to the master clock, and where each of its
// files lands. Pure functions: nothing here fails or throws; every doubt ends
// up as a method, a note or a warning of the plan.
namespace korvalume::syncmap {

// One observed pairing of a master-clock instant with the camera's timecode.
struct Anchor {
    MasterInstant at;                 // when observed
    std::optional<Timecode> timecode; // timecode read at `at` (scan anchors)
    std::optional<double> exact; // timecode at `at` as seconds since 00:00:00:00 (clip anchors)
    MasterInstant created;       // when the observation was made
    // The real length of 24 hours of the timecode observed, when known (clip anchors);
    // otherwise that of the timecode's kind at the rate.
    std::optional<double> day = std::nullopt;

    // The camera's timecode at `at`, in seconds at `rate`: `exact`, else the timecode's
    // seconds, else 0. A timecode whose count overflows at `rate` counts as 0 too.
    double position(const FrameRate& rate) const;
    // Master-clock time minus timecode time; constant for a clock that runs in step.
    double offset(const FrameRate& rate) const { return at.seconds - position(rate); }
    // How far apart the same clock's offsets lie across midnight, in seconds.
    double dayAt(const FrameRate& rate) const;

    friend bool operator==(const Anchor&, const Anchor&) = default;
};

// The anchors agree on one relation between clock and timecode: their offsets at
// `rate` span less than 2 seconds, once offsets a whole timecode day apart (scans on both
// sides of midnight) are taken as the same clock. Empty and single lists agree.
bool isConsistent(std::span<const Anchor> anchors, const FrameRate& rate);

// The master-clock start of a clip whose start timecode is `t` seconds since
// 00:00:00:00. Agreeing anchors are interpolated between and extended beyond;
// disagreeing ones (a timecode reset) give the place nearest `created`, the file's own
// recording date (or that of the anchor latest in timecode without it). The result lies within half
// a timecode day of the anchor it came from. `anchors` must not be empty.
MasterInstant place(double t, std::span<const Anchor> anchors, const FrameRate& rate,
                    bool consistent, std::optional<MasterInstant> created,
                    std::optional<double> day = std::nullopt);

// The real length in seconds of 24 hours of a file's own timecode, the day that its
// starts wrap by: 24:00:00:00 counted at the rate's base (with drop-frame when the
// timecode is drop-frame) at the real timecode rate; 86,400 for a start known as
// seconds since midnight (sound files).
double timecodeDay(const ClipFile& file, const FrameRate& rate);

// Places every file of one camera's card folders.
CameraPlan plan(const Camera& camera, std::span<const ClipFile> files, const SessionDoc& doc);

} // namespace korvalume::syncmap
