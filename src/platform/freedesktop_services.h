#pragma once

#include "platform/system_services.h"

#include <QDBusConnection>

#include <optional>

namespace korvalume {

// The services of a freedesktop.org desktop over D-Bus: org.freedesktop.Notifications,
// org.freedesktop.ScreenSaver and logind's inhibitors, org.freedesktop.FileManager1.
class FreedesktopServices final : public SystemServices {
public:
    // `system` is the system bus where there is one (logind's sleep inhibitor lives there).
    FreedesktopServices(QDBusConnection session, std::optional<QDBusConnection> system);

    void notify(const QString& title, const QString& body) override;
    void allowNotifications() override {} // desktop notifications need no permission
    void buzz(Feedback feedback) override;
    std::unique_ptr<AwakeHold> keepAwake(const QString& reason) override;
    void showInFileBrowser(const QString& filePath) override;

private:
    QDBusConnection session_;
    std::optional<QDBusConnection> system_;
};

} // namespace korvalume
