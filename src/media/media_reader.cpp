#include "media/media_reader.h"

#include "media/bwf_meta.h"
#include "media/movie_meta.h"
#include "media/sony_clip_meta.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>

namespace korvalume::MediaReader {

namespace {

// Real sidecars are a few kilobytes; anything far larger is not one.
constexpr qint64 maxSidecarBytes = 4 * 1024 * 1024;

std::string lowerExtension(const QString& path) {
    return QFileInfo(path).suffix().toLower().toStdString();
}

std::optional<std::string> loadSidecar(const std::string& path) {
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::ReadOnly) || file.size() > maxSidecarBytes)
        return std::nullopt;
    const QByteArray bytes = file.read(maxSidecarBytes + 1);
    if (bytes.size() > maxSidecarBytes)
        return std::nullopt;
    return bytes.toStdString();
}

std::optional<ClipFile> readVideo(const std::string& path) {
    // A sidecar that works replaces the movie reading; the two are never merged.
    if (const auto sidecarPath = SonyClipMeta::sidecar(path)) {
        if (const auto xml = loadSidecar(*sidecarPath)) {
            if (auto clip = SonyClipMeta::read(path, *xml))
                return clip;
        }
    }
    return read(path);
}

std::vector<std::string> mediaPaths(const std::string& folder) {
    std::vector<std::string> paths;
    const QString root = QDir(QString::fromStdString(folder)).absolutePath();
    // Hidden items are skipped and hidden folders not entered; folders count as
    // items too, so a folder named like a clip is kept and fails in its reader.
    QDirIterator items(root, QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot,
                       QDirIterator::Subdirectories);
    while (items.hasNext()) {
        const QString path = items.next();
        const std::string extension = lowerExtension(path);
        if (isVideoExtension(extension) || isAudioExtension(extension))
            paths.push_back(path.toStdString());
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
        const bool audio = isAudioExtension(lowerExtension(QString::fromStdString(path)));
        if (auto clip = audio ? BWFMeta::read(path) : readVideo(path))
            found.push_back(std::move(*clip));
        ++progress.filesDone;
        if (options.progress)
            options.progress(progress);
    }
    return found;
}

QFuture<std::vector<ClipFile>> clipsAsync(const std::string& folder, ScanOptions options) {
    return QtConcurrent::run(
        [folder, options = std::move(options)] { return clips(folder, options); });
}

std::optional<ClipFile> read(const std::string& path) {
    return MovieMeta::read(path);
}

QFuture<std::optional<ClipFile>> readAsync(const std::string& path) {
    return QtConcurrent::run([path] { return read(path); });
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

} // namespace korvalume::MediaReader
