#include "platform/system_services.h"

#include <QDir>
#include <QProcess>

#if defined(Q_OS_MACOS)
#include <IOKit/pwr_mgt/IOPMLib.h>
#elif defined(Q_OS_WIN)
#include <windows.h>
#else
#include "platform/freedesktop_services.h"
#endif

namespace korvalume {

#if defined(Q_OS_MACOS)

namespace {
class MacAwakeHold final : public AwakeHold {
public:
    explicit MacAwakeHold(const QString& reason) {
        const CFStringRef text = reason.toCFString();
        IOPMAssertionCreateWithName(kIOPMAssertionTypePreventUserIdleDisplaySleep,
                                    kIOPMAssertionLevelOn, text, &assertion_);
        CFRelease(text);
    }
    ~MacAwakeHold() override { IOPMAssertionRelease(assertion_); }

private:
    IOPMAssertionID assertion_ = 0;
};

class MacServices final : public SystemServices {
public:
    void notify(const QString&, const QString&) override {}
    void allowNotifications() override {}
    void buzz(Feedback) override {}
    std::unique_ptr<AwakeHold> keepAwake(const QString& reason) override {
        return std::make_unique<MacAwakeHold>(reason);
    }
    void showInFileBrowser(const QString& filePath) override {
        QProcess::startDetached(QStringLiteral("open"), {QStringLiteral("-R"), filePath});
    }
};
} // namespace

std::unique_ptr<SystemServices> makeSystemServices() {
    return std::make_unique<MacServices>();
}

#elif defined(Q_OS_WIN)

namespace {
class WindowsAwakeHold final : public AwakeHold {
public:
    WindowsAwakeHold() {
        SetThreadExecutionState(ES_CONTINUOUS | ES_SYSTEM_REQUIRED | ES_DISPLAY_REQUIRED);
    }
    ~WindowsAwakeHold() override { SetThreadExecutionState(ES_CONTINUOUS); }
};

class WindowsServices final : public SystemServices {
public:
    void notify(const QString&, const QString&) override {}
    void allowNotifications() override {}
    void buzz(Feedback feedback) override {
        MessageBeep(feedback == Feedback::success ? MB_OK : MB_ICONHAND);
    }
    std::unique_ptr<AwakeHold> keepAwake(const QString&) override {
        return std::make_unique<WindowsAwakeHold>();
    }
    void showInFileBrowser(const QString& filePath) override {
        QProcess::startDetached(QStringLiteral("explorer.exe"),
                                {QStringLiteral("/select,") + QDir::toNativeSeparators(filePath)});
    }
};
} // namespace

std::unique_ptr<SystemServices> makeSystemServices() {
    return std::make_unique<WindowsServices>();
}

#else

std::unique_ptr<SystemServices> makeSystemServices() {
    std::optional<QDBusConnection> system;
    if (QDBusConnection bus = QDBusConnection::systemBus(); bus.isConnected())
        system = bus;
    return std::make_unique<FreedesktopServices>(QDBusConnection::sessionBus(), std::move(system));
}

#endif

} // namespace korvalume
