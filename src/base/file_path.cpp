#include "base/file_path.h"

#ifndef Q_OS_WIN
#include <fcntl.h>
#include <unistd.h>
#endif

namespace korvalume::filepath {

std::filesystem::path toNative(std::string_view path) {
#ifdef Q_OS_WIN
    return std::filesystem::path(
        std::u8string(reinterpret_cast<const char8_t*>(path.data()), path.size()));
#else
    return std::filesystem::path(std::string(path));
#endif
}

std::string fromNative(const std::filesystem::path& path) {
#ifdef Q_OS_WIN
    const std::u8string text = path.u8string();
    return std::string(reinterpret_cast<const char*>(text.data()), text.size());
#else
    return path.native();
#endif
}

bool openForReading(QFile& file, const std::string& path, QIODevice::OpenMode mode) {
#ifdef Q_OS_WIN
    file.setFileName(QString::fromStdString(path));
    return file.open(QIODevice::ReadOnly | mode);
#else
    // Opened by its bytes, then handed to Qt, which owns and closes the descriptor.
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    if (file.open(descriptor, QIODevice::ReadOnly | mode, QFileDevice::AutoCloseHandle))
        return true;
    ::close(descriptor);
    return false;
#endif
}

} // namespace korvalume::filepath
