#pragma once

#include "media/clip_file.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace korvalume::mediareader {

struct ScanProgress {
    std::size_t filesDone = 0;
    std::size_t filesTotal = 0;
};

struct ScanOptions {
    // Called on the scanning thread after every file (and once before the first).
    std::function<void(const ScanProgress&)> progress;
    // Reads one file in place of readFile, on the scanning thread: lets a caller reuse
    // what it read before.
    std::function<std::optional<ClipFile>(const std::string& path)> readFile;
};

// One media file by its extension: a sound file through its WAV/BWF header, a movie
// through its Sony sidecar when that reads, else its container headers.
std::optional<ClipFile> readFile(const std::string& path);

// Every media file under `folder`, recursively, hidden files skipped, sorted by
// full path and read one at a time. A file that yields nothing is left out; an
// unreadable folder or one without media gives an empty list.
std::vector<ClipFile> clips(const std::string& folder, const ScanOptions& options = {});

// Reads one movie file through libavformat's container headers, never decoding.
std::optional<ClipFile> read(const std::string& path);

// Why a folder cannot be listed ("does not exist", "is not a folder", "cannot
// be read"), or nullopt when it can; `clips` does not tell these from an empty folder.
std::optional<std::string> folderProblem(const std::string& folder);

} // namespace korvalume::mediareader
