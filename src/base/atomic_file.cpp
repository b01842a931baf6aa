#include "base/atomic_file.h"

#include <QFileInfo>
#include <QSaveFile>

namespace korvalume {

Result<WriteDone> writeFileAtomically(const std::string& path, std::string_view bytes) {
    const QString name = QString::fromStdString(path);
    const auto fail = [&](const QString& cause) {
        return Result<WriteDone>::failure(path + ": " + cause.toStdString());
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
    return WriteDone{};
}

} // namespace korvalume
