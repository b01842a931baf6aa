#pragma once

#include <QFile>

#include <filesystem>
#include <string>
#include <string_view>

// Card files are named by cameras and copy tools, not always in UTF-8. Their paths
// travel as std::string holding the file system's own bytes (UTF-8 on Windows, where
// names are UTF-16), so every file can be opened again; a QString would lose the bytes
// of a name that is not valid UTF-8.
namespace korvalume::filepath {

std::filesystem::path toNative(std::string_view path);
std::string fromNative(const std::filesystem::path& path);

// Opens `file` read-only at `path` (with `mode` added), whatever bytes name it.
bool openForReading(QFile& file, const std::string& path,
                    QIODevice::OpenMode mode = QIODevice::NotOpen);

} // namespace korvalume::filepath
