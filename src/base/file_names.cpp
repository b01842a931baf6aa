#include "base/file_names.h"

#include <QString>

#include <algorithm>
#include <array>

namespace korvalume {

namespace {

// The most that the three systems' file systems take in one name, in bytes.
constexpr std::size_t longestName = 255;

bool refused(unsigned char c) {
    constexpr std::string_view forbidden = "/\\:*?\"<>|";
    return c < 0x20 || c == 0x7F || forbidden.find(char(c)) != std::string_view::npos;
}

bool isReservedOnWindows(std::string_view base) {
    // The device names are reserved with any extension after them too.
    const std::string_view stem = base.substr(0, base.find('.'));
    const QString upper = QString::fromUtf8(stem.data(), qsizetype(stem.size())).toUpper();
    constexpr std::array names{"CON", "PRN", "AUX", "NUL"};
    if (std::any_of(names.begin(), names.end(), [&](const char* name) { return upper == name; }))
        return true;
    return upper.size() == 4 && (upper.startsWith("COM") || upper.startsWith("LPT")) &&
           upper[3] >= QChar('1') && upper[3] <= QChar('9');
}

// The length of `text` cut to at most `limit` bytes without splitting a UTF-8 sequence.
std::size_t cutAtCharacter(std::string_view text, std::size_t limit) {
    if (text.size() <= limit)
        return text.size();
    std::size_t end = limit;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80)
        --end;
    return end;
}

} // namespace

std::string safeFileName(std::string_view base, std::string_view suffix) {
    std::string name;
    name.reserve(base.size());
    for (const char c : base)
        name += refused(static_cast<unsigned char>(c)) ? '-' : c;
    while (!name.empty() && (name.back() == '.' || name.back() == ' '))
        name.pop_back();
    if (name.empty())
        name = "Untitled";
    if (isReservedOnWindows(name))
        name += '-';
    const std::size_t room = suffix.size() < longestName ? longestName - suffix.size() : 0;
    name.resize(cutAtCharacter(name, room));
    return name + std::string(suffix);
}

} // namespace korvalume
