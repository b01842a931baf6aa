#include "session/log_opening.h"
#include "session/combining.h"
#include "session/session_file.h"

#include <QFile>
#include <QFileInfo>

namespace korvalume {

namespace {

// Far above any real shoot (100,000 events take about 15 MB); keeps a stray
// huge file from being read whole.
constexpr qint64 largestLog = qint64(256) << 20;

std::string lastPathComponent(const std::string& path) {
    return QFileInfo(QString::fromStdString(path)).fileName().toStdString();
}

bool hasLogExtension(const std::string& path) {
    return QFileInfo(QString::fromStdString(path)).suffix().toLower().toStdString() ==
           SessionDoc::fileExtension;
}

} // namespace

Result<SessionDoc> readLog(const std::string& path) {
    QFile file(QString::fromStdString(path));
    if (QFileInfo(file).isDir())
        return Result<SessionDoc>::failure(ErrorKind::unreadable, "it is a folder");
    if (!file.open(QIODevice::ReadOnly))
        return Result<SessionDoc>::failure(ErrorKind::io, file.errorString().toStdString());
    if (file.size() > largestLog)
        return Result<SessionDoc>::failure(ErrorKind::unreadable, "it is larger than 256 MB");
    const QByteArray bytes = file.read(largestLog + 1);
    if (file.error() != QFileDevice::NoError)
        return Result<SessionDoc>::failure(ErrorKind::io, file.errorString().toStdString());
    if (bytes.size() > largestLog)
        return Result<SessionDoc>::failure(ErrorKind::unreadable, "it is larger than 256 MB");
    return sessionfile::decode(std::string_view(bytes.constData(), std::size_t(bytes.size())));
}

LogStep openLog(OpenedLogs& state, const std::string& path, Combining combining) {
    if (!hasLogExtension(path))
        return LogStep::skipped;
    const std::string fileName = lastPathComponent(path);
    auto read = readLog(path);
    if (!read) {
        state.problems.push_back({LogProblem::Kind::unreadable, fileName, read.message(), {}, {}});
        return LogStep::unreadable;
    }
    SessionDoc& incoming = *read;
    if (!state.doc) {
        state.doc = std::move(incoming);
        state.logCount = 1;
        return LogStep::opened;
    }
    if (state.doc->id == incoming.id) {
        auto reports = state.report.value_or(std::vector<CombiningReport>{});
        reports.push_back(report(*state.doc, incoming));
        state.report = std::move(reports);
        state.changes = combining == Combining::mergeLive ? mergeLive(*state.doc, incoming)
                                                          : merge(*state.doc, incoming);
        ++state.logCount;
        return LogStep::combined;
    }
    state.problems.push_back(
        {LogProblem::Kind::otherSession, fileName, {}, incoming.name, state.doc->name});
    return LogStep::leftOut;
}

void openLogs(OpenedLogs& state, std::span<const std::string> paths) {
    for (const auto& path : paths)
        openLog(state, path, Combining::merge);
}

OpenedLogs openLogs(std::span<const std::string> paths) {
    OpenedLogs state;
    openLogs(state, paths);
    return state;
}

} // namespace korvalume
