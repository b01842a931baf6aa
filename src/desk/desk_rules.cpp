#include "desk/desk_rules.h"

#include "base/file_names.h"
#include "session/file_name.h"

#include <QLocale>
#include <QString>

namespace korvalume::deskrules {

std::string defaultName(QDate today) {
    // Month names in English whatever the user's language, as the phones write them.
    const QString date = QLocale::c().toString(today, QStringLiteral("d MMM"));
    return ("SHOOT " + date.toUpper()).toStdString();
}

std::string sessionName(std::string_view typed, QDate today) {
    const QString trimmed = QString::fromUtf8(typed.data(), qsizetype(typed.size())).trimmed();
    return trimmed.isEmpty() ? defaultName(today) : trimmed.toUpper().toStdString();
}

bool takesUpLive(const SessionDoc& doc, MasterInstant now) {
    return !doc.endedAt && now - doc.startedAt < takeUpLiveWithin;
}

std::string nextMarkerLabel(const SessionDoc& doc) {
    return "MARK " + std::to_string(doc.markers().size() + 1);
}

std::string autosaveFileName(const SessionDoc& doc) {
    // By code point, so that a character outside the basic plane is one "-", not two.
    QList<uint> points = QString::fromStdString(doc.name).toUcs4();
    for (uint& point : points) {
        if (!QChar::isLetterOrNumber(char32_t(point)) && point != ' ' && point != '-')
            point = '-';
    }
    const std::string name =
        QString::fromUcs4(reinterpret_cast<const char32_t*>(points.constData()), points.size())
            .toStdString();
    return safeFileName(name + " " + doc.id.string().substr(0, 4),
                        "." + std::string(SessionDoc::fileExtension));
}

std::string proposedLogName(const SessionDoc& doc) {
    return proposedFileName(doc, "." + std::string(SessionDoc::fileExtension));
}

std::string proposedExportName(const SessionDoc& doc) {
    return proposedFileName(doc, " SYNC MAP.xml");
}

} // namespace korvalume::deskrules
