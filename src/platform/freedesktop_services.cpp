#include "platform/freedesktop_services.h"

#include "platform/app_brand.h"

#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCall>
#include <QDBusUnixFileDescriptor>
#include <QDesktopServices>
#include <QFileInfo>
#include <QUrl>
#include <QVariantMap>

namespace korvalume {

namespace {

// Answers come from services on the same machine; a service that is there answers at once,
// one that is missing fails at once. The limit only bounds a service that hangs.
constexpr int replyTimeoutMs = 2000;

QString appName() {
    return QString::fromUtf8(appbrand::name.data(), appbrand::name.size());
}

QDBusMessage call(const QString& service, const QString& path, const QString& interface,
                  const QString& method, const QVariantList& arguments) {
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    return message;
}

class FreedesktopAwakeHold final : public AwakeHold {
public:
    FreedesktopAwakeHold(QDBusConnection session, std::optional<uint> cookie,
                         QDBusUnixFileDescriptor sleepInhibitor)
        : session_(std::move(session)), cookie_(cookie),
          sleepInhibitor_(std::move(sleepInhibitor)) {}

    ~FreedesktopAwakeHold() override {
        if (cookie_) {
            session_.call(call("org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver",
                               "org.freedesktop.ScreenSaver", "UnInhibit", {*cookie_}),
                          QDBus::Block, replyTimeoutMs);
        }
        // logind releases its inhibitor when the last copy of the descriptor closes,
        // which sleepInhibitor_ does as it goes.
    }

private:
    QDBusConnection session_;
    std::optional<uint> cookie_;
    QDBusUnixFileDescriptor sleepInhibitor_;
};

} // namespace

FreedesktopServices::FreedesktopServices(QDBusConnection session,
                                         std::optional<QDBusConnection> system)
    : session_(std::move(session)), system_(std::move(system)) {}

void FreedesktopServices::notify(const QString& title, const QString& body) {
    const QVariantMap hints{{QStringLiteral("sound-name"), QStringLiteral("message-new-instant")}};
    session_.asyncCall(
        call("org.freedesktop.Notifications", "/org/freedesktop/Notifications",
             "org.freedesktop.Notifications", "Notify",
             {appName(), uint{0}, QString(), title, body, QStringList(), hints, int{-1}}));
}

void FreedesktopServices::buzz(Feedback) {
    // A desktop has no shared way to give a short signal without a sound theme; the
    // notification's own sound is the feedback there.
}

std::unique_ptr<AwakeHold> FreedesktopServices::keepAwake(const QString& reason) {
    std::optional<uint> cookie;
    const QDBusMessage screenSaver =
        session_.call(call("org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver",
                           "org.freedesktop.ScreenSaver", "Inhibit", {appName(), reason}),
                      QDBus::Block, replyTimeoutMs);
    if (screenSaver.type() == QDBusMessage::ReplyMessage && !screenSaver.arguments().isEmpty())
        cookie = screenSaver.arguments().constFirst().toUInt();

    QDBusUnixFileDescriptor sleepInhibitor;
    if (system_ && system_->isConnected()) {
        const QDBusMessage logind = system_->call(
            call("org.freedesktop.login1", "/org/freedesktop/login1",
                 "org.freedesktop.login1.Manager", "Inhibit",
                 {QStringLiteral("idle:sleep"), appName(), reason, QStringLiteral("block")}),
            QDBus::Block, replyTimeoutMs);
        if (logind.type() == QDBusMessage::ReplyMessage && !logind.arguments().isEmpty())
            sleepInhibitor = qdbus_cast<QDBusUnixFileDescriptor>(logind.arguments().constFirst());
    }
    return std::make_unique<FreedesktopAwakeHold>(session_, cookie, std::move(sleepInhibitor));
}

void FreedesktopServices::showInFileBrowser(const QString& filePath) {
    const QFileInfo file(filePath);
    const QDBusMessage shown = session_.call(
        call(
            "org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
            "org.freedesktop.FileManager1", "ShowItems",
            {QStringList{QUrl::fromLocalFile(file.absoluteFilePath()).toString(QUrl::FullyEncoded)},
             QString()}),
        QDBus::Block, replyTimeoutMs);
    if (shown.type() != QDBusMessage::ReplyMessage)
        QDesktopServices::openUrl(QUrl::fromLocalFile(file.absolutePath()));
}

} // namespace korvalume
