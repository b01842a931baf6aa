#include "platform/platform.h"

#include "platform/qr_modules.h"

#include <QCoreApplication>
#include <QSettings>
#include <QSysInfo>
#include <QUuid>

namespace korvalume::platform {

namespace {
constexpr auto deviceIDKey = "deviceID";
constexpr auto operatorNameKey = "operatorName";
} // namespace

void useSharedSettings() {
    QCoreApplication::setOrganizationName(QStringLiteral("Korvalume"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("korvalume.app"));
    QCoreApplication::setApplicationName(QStringLiteral("Korvalume Desk"));
}

QString deviceID() {
    QSettings settings;
    const QString stored = settings.value(deviceIDKey).toString();
    if (!stored.isEmpty())
        return stored;
    const QString fresh = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    settings.setValue(deviceIDKey, fresh);
    settings.sync();
    return fresh;
}

QString operatorName() {
    return QSettings{}.value(operatorNameKey).toString();
}

void setOperatorName(const QString& name) {
    QSettings settings;
    settings.setValue(operatorNameKey, name);
    settings.sync();
}

QString deviceName() {
    const QString host = QSysInfo::machineHostName().section(u'.', 0, 0).trimmed();
    return host.isEmpty() ? QStringLiteral("desk") : host;
}

QString displayNameFor(const QString& name, const QString& device) {
    const QString person = name.trimmed().toUpper();
    const QString machine = device.trimmed().toUpper();
    return person.isEmpty() ? machine : person + QStringLiteral(" / ") + machine;
}

QString displayName() {
    return displayNameFor(operatorName());
}

QImage qrCode(const QString& text) {
    const auto modules = QrModules::encode(text);
    if (!modules)
        return {};
    const int side = (modules->size + 2 * qrQuietZone) * qrModulePixels;
    QImage image(side, side, QImage::Format_Grayscale8);
    image.fill(255);
    for (int y = 0; y < modules->size; ++y) {
        for (int x = 0; x < modules->size; ++x) {
            if (!modules->isDark(x, y))
                continue;
            const int left = (x + qrQuietZone) * qrModulePixels;
            const int top = (y + qrQuietZone) * qrModulePixels;
            for (int row = top; row < top + qrModulePixels; ++row)
                std::fill_n(image.scanLine(row) + left, qrModulePixels, uchar{0});
        }
    }
    return image;
}

} // namespace korvalume::platform
