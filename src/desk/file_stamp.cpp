#include "desk/file_stamp.h"

#include "base/file_path.h"

#include <chrono>
#include <filesystem>

namespace korvalume {

std::optional<FileStamp> FileStamp::of(const std::string& path) {
    std::error_code error;
    const auto native = filepath::toNative(path);
    const auto size = std::filesystem::file_size(native, error);
    if (error)
        return std::nullopt;
    const auto written = std::filesystem::last_write_time(native, error);
    if (error)
        return std::nullopt;
    const auto since = written.time_since_epoch();
    return FileStamp{path, static_cast<std::int64_t>(size),
                     std::chrono::duration_cast<std::chrono::milliseconds>(since).count()};
}

} // namespace korvalume
