#include "media/media_reader.h"

#include "media/bwf_meta.h"
#include "media/movie_meta.h"
#include "media/sony_clip_meta.h"

#include "base/file_path.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <filesystem>

namespace korvalume::mediareader {

namespace {

// Real sidecars are a few kilobytes; anything far larger is not one.
constexpr qint64 maxSidecarBytes = 4 * 1024 * 1024;

// What follows the last dot of the name, in lower case; media extensions are ASCII.
std::string lowerExtension(const std::filesystem::path& path) {
    std::string extension = filepath::fromNative(path.extension());
    if (!extension.empty())
        extension.erase(0, 1);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; });
    return extension;
}

std::optional<std::string> loadSidecar(const std::string& path) {
    QFile file;
    if (!filepath::openForReading(file, path) || file.size() > maxSidecarBytes)
        return std::nullopt;
    const QByteArray bytes = file.read(maxSidecarBytes + 1);
    if (bytes.size() > maxSidecarBytes)
        return std::nullopt;
    return bytes.toStdString();
}

std::optional<ClipFile> readVideo(const std::string& path) {
    // A sidecar that works replaces the movie reading; the two are never merged.
    if (const auto sidecarPath = sonyclipmeta::sidecar(path)) {
        if (const auto xml = loadSidecar(*sidecarPath)) {
            if (auto clip = sonyclipmeta::read(path, *xml))
                return clip;
        }
    }
    return read(path);
}

std::vector<std::string> mediaPaths(const std::string& folder) {
    namespace fs = std::filesystem;
    std::vector<std::string> paths;
    std::error_code error;
    fs::path root = fs::absolute(filepath::toNative(folder), error).lexically_normal();
    if (error)
        return paths;
    if (!root.has_filename() && root.has_relative_path())
        root = root.parent_path(); // "/card/" lists as "/card"
    // Hidden items are skipped and hidden folders not entered; folders count as
    // items too, so a folder named like a clip is kept and fails in its reader. A
    // folder that cannot be read is passed over.
    fs::recursive_directory_iterator items(root, fs::directory_options::skip_permission_denied,
                                           error);
    for (; !error && items != fs::recursive_directory_iterator(); items.increment(error)) {
        const fs::path& path = items->path();
        if (filepath::fromNative(path.filename()).starts_with('.')) {
            items.disable_recursion_pending();
            continue;
        }
        const std::string extension = lowerExtension(path);
        if (isVideoExtension(extension) || isAudioExtension(extension))
            paths.push_back(filepath::fromNative(path));
    }
    std::stable_sort(paths.begin(), paths.end());
    return paths;
}

} // namespace

std::vector<ClipFile> clips(const std::string& folder, const ScanOptions& options) {
    const std::vector<std::string> paths = mediaPaths(folder);
    std::vector<ClipFile> found;
    ScanProgress progress{0, paths.size()};
    if (options.progress)
        options.progress(progress);
    for (const std::string& path : paths) {
        if (auto clip = options.readFile ? options.readFile(path) : readFile(path))
            found.push_back(std::move(*clip));
        ++progress.filesDone;
        if (options.progress)
            options.progress(progress);
    }
    return found;
}

std::optional<ClipFile> readFile(const std::string& path) {
    const bool audio = isAudioExtension(lowerExtension(filepath::toNative(path)));
    return audio ? bwfmeta::read(path) : readVideo(path);
}

std::optional<ClipFile> read(const std::string& path) {
    return moviemeta::read(path);
}

std::optional<std::string> folderProblem(const std::string& folder) {
    const QFileInfo info(QString::fromStdString(folder));
    if (!info.exists())
        return "does not exist";
    if (!info.isDir())
        return "is not a folder";
    if (!info.isReadable() || !info.isExecutable())
        return "cannot be read";
    return std::nullopt;
}

} // namespace korvalume::mediareader
