// Stands in for a desktop's notification, screen saver and file manager services on a
// private session bus, printing every call it gets, one line each, for the platform test.
#include <QCoreApplication>
#include <QDBusConnection>
#include <QStringList>
#include <QVariantMap>

#include <cstdio>

namespace {

void say(const QString& line) {
    std::printf("%s\n", qPrintable(line));
    std::fflush(stdout);
}

class Notifications : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public slots:
    uint Notify(const QString& app, uint, const QString&, const QString& summary,
                const QString& body, const QStringList&, const QVariantMap&, int) {
        say("Notify " + app + "|" + summary + "|" + body);
        return 7;
    }
};

class ScreenSaver : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.ScreenSaver")
public slots:
    uint Inhibit(const QString& app, const QString& reason) {
        say("Inhibit " + app + "|" + reason);
        return 42;
    }
    void UnInhibit(uint cookie) { say("UnInhibit " + QString::number(cookie)); }
};

class FileManager : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")
public slots:
    void ShowItems(const QStringList& uris, const QString&) { say("ShowItems " + uris.join(' ')); }
};

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QDBusConnection bus = QDBusConnection::sessionBus();
    Notifications notifications;
    ScreenSaver screenSaver;
    FileManager fileManager;
    const auto exportAll = QDBusConnection::ExportAllSlots;
    const bool ok =
        bus.registerObject("/org/freedesktop/Notifications", &notifications, exportAll) &&
        bus.registerObject("/org/freedesktop/ScreenSaver", &screenSaver, exportAll) &&
        bus.registerObject("/org/freedesktop/FileManager1", &fileManager, exportAll) &&
        bus.registerService("org.freedesktop.Notifications") &&
        bus.registerService("org.freedesktop.ScreenSaver") &&
        bus.registerService("org.freedesktop.FileManager1");
    if (!ok)
        return 1; // the test sees no "ready"
    say("ready");
    return QCoreApplication::exec();
}

#include "dbus_recorder.moc"
