#pragma once

#include <QImage>
#include <QString>

// What the desk takes from the machine it runs on that is kept in the user's settings:
// its identity and the operator's name, plus the join code's image. Settings are the
// application's default QSettings, so separate settings folders are separate devices.
namespace korvalume::platform {

// The window and the command line are one device to the phones: both keep their settings
// (identity, operator, clock) in the one store this names. Call once, after the
// application object is made.
void useSharedSettings();

// This machine's stable identity: stored under "deviceID"; a fresh upper-case UUID
// is stored on first use.
QString deviceID();

// The operator's name under "operatorName"; empty when never set.
QString operatorName();
void setOperatorName(const QString& name);

// This machine's name on the network ("studio-mac").
QString deviceName();

// The name under which the phones see this desk: the operator's name trimmed and
// upper-cased, then the machine's name ("ANA / STUDIO-MAC"); the machine's name alone
// when no operator is set.
QString displayName();
QString displayNameFor(const QString& operatorName, const QString& device = deviceName());

// The QR image of a text: level M, each module 12 x 12 pixels, black on white, with a
// quiet zone of 4 modules. A null image when the text does not fit a QR symbol.
inline constexpr int qrModulePixels = 12;
QImage qrCode(const QString& text);

} // namespace korvalume::platform
