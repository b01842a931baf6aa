#pragma once

#include <QString>
#include <QStringList>

#include <string>
#include <string_view>
#include <vector>

// The one conversion between the library's UTF-8 std::string and Qt's text.
namespace korvalume {

inline QString qs(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

inline QStringList qs(const std::vector<std::string>& lines) {
    QStringList list;
    list.reserve(static_cast<qsizetype>(lines.size()));
    for (const auto& line : lines)
        list.append(qs(line));
    return list;
}

inline std::string utf8(const QString& text) {
    return text.toStdString();
}

} // namespace korvalume
