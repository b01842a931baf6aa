#include "base/atomic_file.h"

#include <QFileInfo>
#include <QSaveFile>

namespace korvalume {

Status writeFileAtomically(const std::string& path, std::string_view bytes) {
    const QString name = QString::fromStdString(path);
    const auto fail = [&](const QString& cause) {
        return Status::failure(ErrorKind::io, path + ": " + cause.toStdString());
    };
    if (QFileInfo(name).isDir())
        return fail("is a folder");
    QSaveFile file(name);
    if (!file.open(QIODevice::WriteOnly))
        return fail(file.errorString());
    const auto size = qint64(bytes.size());
    if (file.write(bytes.data(), size) != size)
        return fail(file.errorString());
    if (!file.commit())
        return fail(file.errorString());
    return {};
}

} // namespace korvalume
