#include "live/peer_protocol.h"

#include <QCryptographicHash>
#include <QMessageAuthenticationCode>
#include <QTextBoundaryFinder>

#include <vector>

namespace korvalume::peerprotocol {
namespace {

// Positions after each whole character (grapheme cluster), so that a cut never splits
// an accented letter or an emoji.
std::vector<qsizetype> characterEnds(const QString& text) {
    std::vector<qsizetype> ends;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    while (finder.toNextBoundary() > 0) {
        ends.push_back(finder.position());
    }
    return ends;
}

QString firstCharacters(const QString& text, int count) {
    const auto ends = characterEnds(text);
    if (ends.size() <= static_cast<std::size_t>(count)) {
        return text;
    }
    return text.left(ends[static_cast<std::size_t>(count) - 1]);
}

} // namespace

QString peerDisplayName(const QString& displayName, const QString& deviceID) {
    const QString suffix = QLatin1Char('#') + firstCharacters(deviceID, deviceTagLength);
    const auto ends = characterEnds(displayName);
    auto kept = std::min(ends.size(), static_cast<std::size_t>(displayNameLength));
    // A DNS-SD instance name is one label of at most 63 bytes of UTF-8.
    while (kept > 0) {
        const QString name = displayName.left(ends[kept - 1]) + suffix;
        if (name.toUtf8().size() <= maxInstanceNameBytes) {
            return name;
        }
        --kept;
    }
    return suffix;
}

QString connectedName(const QString& peerDisplayName) {
    const auto hash = peerDisplayName.indexOf(QLatin1Char('#'));
    return hash < 0 ? peerDisplayName : peerDisplayName.left(hash);
}

bool peerInvites(const QString& ownPeerName, const QString& otherPeerName) {
    return ownPeerName.toUtf8() < otherPeerName.toUtf8();
}

QString sessionTag(const Uuid& sessionID) {
    const QByteArray text =
        "korvalume/session-tag/v1/" + QByteArray::fromStdString(sessionID.string());
    const QByteArray digest = QCryptographicHash::hash(text, QCryptographicHash::Sha256);
    return QString::fromLatin1(digest.toHex().left(16));
}

QByteArray preSharedKey(const Uuid& sessionID) {
    return QMessageAuthenticationCode::hash("korvalume/peer-link/v1",
                                            QByteArray::fromStdString(sessionID.string()),
                                            QCryptographicHash::Sha256);
}

QByteArray encodeFrame(std::string_view payload) {
    const auto length = static_cast<std::uint32_t>(payload.size());
    QByteArray frame;
    frame.reserve(static_cast<qsizetype>(payload.size()) + frameHeaderLength);
    for (int shift = 24; shift >= 0; shift -= 8) {
        frame.append(static_cast<char>((length >> shift) & 0xFFu));
    }
    frame.append(payload.data(), static_cast<qsizetype>(payload.size()));
    return frame;
}

} // namespace korvalume::peerprotocol
