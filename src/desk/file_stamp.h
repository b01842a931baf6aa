#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace korvalume {

// A file as it is now: its path, size and last modification. A measurement made of the
// file stays good exactly as long as its stamp is unchanged.
struct FileStamp {
    std::string path;
    std::int64_t size = 0;
    std::int64_t modified = 0; // milliseconds on the file system's clock

    // The stamp of the file at `path` (the file system's own bytes); nullopt when it is
    // not a readable file.
    static std::optional<FileStamp> of(const std::string& path);

    friend bool operator==(const FileStamp&, const FileStamp&) = default;
};

} // namespace korvalume

template <> struct std::hash<korvalume::FileStamp> {
    std::size_t operator()(const korvalume::FileStamp& stamp) const noexcept {
        const std::size_t h = std::hash<std::string>{}(stamp.path);
        return h ^ (std::hash<std::int64_t>{}(stamp.size * 31 + stamp.modified) << 1);
    }
};
