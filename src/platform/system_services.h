#pragma once

#include <QString>

#include <memory>

namespace korvalume {

// Keeps the machine from idle sleep while it exists; dropping it lets the machine sleep.
class AwakeHold {
public:
    virtual ~AwakeHold() = default;
};

enum class Feedback { success, failure };

// The operating system services the desk uses beyond its settings: notifications, a
// feedback signal, keeping the machine awake, showing a file. Every call fails silently
// where the system offers no such service. Tests replace the real one.
class SystemServices {
public:
    virtual ~SystemServices() = default;

    // A local notification, delivered at once with the default sound.
    virtual void notify(const QString& title, const QString& body) = 0;
    // Asks once for permission to notify, where the system wants that.
    virtual void allowNotifications() = 0;
    // A short signal to the operator.
    virtual void buzz(Feedback feedback) = 0;
    // Keeps the display and the system from idle sleep until the hold is dropped.
    virtual std::unique_ptr<AwakeHold> keepAwake(const QString& reason) = 0;
    // Shows the file selected in the system's file browser, or at least its folder.
    virtual void showInFileBrowser(const QString& filePath) = 0;
};

// The services of the system the program runs on.
std::unique_ptr<SystemServices> makeSystemServices();

} // namespace korvalume
