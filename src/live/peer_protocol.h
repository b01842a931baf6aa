#pragma once

#include "session/uuid.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <string_view>

// The fixed parts of the peer-link protocol (docs/peer-link.md): names, the session tag
// that discovery publishes, the pre-shared key and the frame header.
namespace korvalume::peerprotocol {

inline constexpr std::string_view serviceType = "_korvalume._tcp";
inline constexpr std::string_view tagKey = "s"; // TXT key holding the session tag
inline constexpr std::string_view cipher = "ECDHE-PSK-CHACHA20-POLY1305";
inline constexpr int displayNameLength = 24;    // characters of the display name kept
inline constexpr int deviceTagLength = 4;       // characters of the device id kept
inline constexpr int maxInstanceNameBytes = 63; // DNS-SD's limit on one label
inline constexpr std::uint32_t maxFrameLength = 64u * 1024u * 1024u;
inline constexpr int frameHeaderLength = 4;

// The display name cut to 24 characters (whole characters, fewer when the result would
// not fit a DNS-SD label), "#", the first 4 characters of the device id.
QString peerDisplayName(const QString& displayName, const QString& deviceID);
// A peer's display name up to the first "#"; a name without "#" whole.
QString connectedName(const QString& peerDisplayName);
// True when this side invites (connects to) the other: its name sorts first, comparing
// the UTF-8 bytes. Equal names never link.
bool peerInvites(const QString& ownPeerName, const QString& otherPeerName);

// The first 16 lower-case hex digits of SHA-256("korvalume/session-tag/v1/" + UUID text).
QString sessionTag(const Uuid& sessionID);
// HMAC-SHA256 keyed with the upper-case UUID text over "korvalume/peer-link/v1".
QByteArray preSharedKey(const Uuid& sessionID);

// One frame: the 4-byte big-endian length of `payload`, then `payload`. Callers keep
// payloads within maxFrameLength.
QByteArray encodeFrame(std::string_view payload);

} // namespace korvalume::peerprotocol
