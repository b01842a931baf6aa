#include "app/desk_types.h"
#include "app/desk_view.h"
#include "app/single_instance.h"
#include "app/view_rules.h"
#include "base/qt_text.h"
#include "desk/live_services.h"
#include "live/master_clock.h"
#include "live/peer_link.h"
#include "platform/app_brand.h"
#include "platform/platform.h"
#include "platform/system_services.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>
#include <QFileOpenEvent>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QUrl>

#include <QtQml/qqmlextensionplugin.h>
#include <cstdio>

Q_IMPORT_QML_PLUGIN(Korvalume_DeskPlugin)

namespace {

// A join link (web or custom-scheme form) rather than a file.
bool isLink(const QString& item) {
    return item.startsWith(QLatin1String("korvalume:"), Qt::CaseInsensitive) ||
           item.startsWith(QLatin1String("https:"), Qt::CaseInsensitive) ||
           item.startsWith(QLatin1String("http:"), Qt::CaseInsensitive);
}

// Files and links from the command line, the system or a later launch, all go here;
// links through the window, which asks before closing an unsaved log.
void take(korvalume::DeskModel& model, korvalume::DeskView& view, const QStringList& items) {
    using korvalume::utf8;
    std::vector<std::string> files;
    for (const QString& item : items) {
        if (isLink(item)) {
            view.openJoinLink(item);
            continue;
        }
        const QUrl url = item.startsWith(QLatin1String("file:"))
                             ? QUrl(item)
                             : QUrl::fromLocalFile(QFileInfo(item).absoluteFilePath());
        if (url.isLocalFile())
            files.push_back(utf8(url.toLocalFile()));
    }
    if (!files.empty())
        model.open(files);
}

// Files the system asks the desk to open (a double-click on macOS, a drop on its icon).
class FileOpenFilter : public QObject {
public:
    FileOpenFilter(korvalume::DeskModel& model, korvalume::DeskView& view)
        : model_(model), view_(view) {}

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::FileOpen) {
            const auto* open = static_cast<QFileOpenEvent*>(event);
            if (open->url().isLocalFile())
                model_.open({korvalume::utf8(open->url().toLocalFile())});
            else
                take(model_, view_, {open->url().toString()});
            return true;
        }
        return QObject::eventFilter(watched, event);
    }

private:
    korvalume::DeskModel& model_;
    korvalume::DeskView& view_;
};

// The logs and join links given on the command line, files made absolute.
QStringList commandLineItems(const QGuiApplication& app) {
    QCommandLineParser options;
    options.setApplicationDescription(
        QStringLiteral("Korvalume Desk: open session logs, read card folders, export the "
                       "sync map for Premiere Pro."));
    options.addHelpOption();
    options.addPositionalArgument(QStringLiteral("items"),
                                  QStringLiteral("Session logs (.korvalume) or a join link."),
                                  QStringLiteral("[logs or link...]"));
    options.process(app);
    QStringList items;
    for (const QString& item : options.positionalArguments())
        items.append(isLink(item) ? item : QFileInfo(item).absoluteFilePath());
    return items;
}

// A later launch's items: taken in, the window brought forward, and the open session said.
QString takeHandedOver(korvalume::DeskModel& model, korvalume::DeskView& view, QQuickWindow* window,
                       const QStringList& handed) {
    take(model, view, handed);
    if (window) {
        window->show();
        window->raise();
        window->requestActivate();
    }
    const korvalume::SessionDoc* doc = model.document().doc();
    return doc ? QStringLiteral("%1 / %2 LOGS")
                     .arg(korvalume::qs(doc->name))
                     .arg(model.document().logCount())
               : QStringLiteral("no session open");
}

} // namespace

int main(int argc, char* argv[]) {
    QGuiApplication app(argc, argv);
    korvalume::platform::useSharedSettings();
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Korvalume Desk"));
    QGuiApplication::setDesktopFileName(QStringLiteral("app.korvalume.Desk"));
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    const QStringList items = commandLineItems(app);

    korvalume::SingleInstance instance(korvalume::SingleInstance::defaultServerName());
    if (const auto answer = instance.handOver(items)) {
        if (answer->isEmpty())
            std::printf("Handed to the running Korvalume Desk, which has not answered yet.\n");
        else
            std::printf("Opened in the running Korvalume Desk: %s\n", qPrintable(*answer));
        return 0;
    }

    // The one model for the life of the process, on the shared clock and this machine's
    // identity; nothing live starts until a session does.
    using namespace korvalume;
    PeerLink link(PeerLink::Options{platform::displayName(), platform::deviceID()});
    const auto system = makeSystemServices();
    MasterClockService clock(MasterClock::shared());
    PeerLinkService peers(link);
    DeskModel model(DeskServices{&clock, &peers, system.get(), platform::deviceID(),
                                 DeskModel::defaultSessionsFolder()});
    QQmlApplicationEngine engine;
    engine.setInitialProperties({{QStringLiteral("model"), QVariant::fromValue(&model)}});
    engine.load(QUrl(QStringLiteral("qrc:/qt/qml/Korvalume/Desk/qml/Main.qml")));
    if (engine.rootObjects().isEmpty())
        return 1;
    auto* window = qobject_cast<QQuickWindow*>(engine.rootObjects().constFirst());
    auto* view = window ? window->findChild<DeskView*>(QStringLiteral("deskView")) : nullptr;
    if (!view)
        return 1;
    FileOpenFilter fileOpen(model, *view);
    app.installEventFilter(&fileOpen);
    instance.listen([&model, view, window](const QStringList& handed) {
        return takeHandedOver(model, *view, window, handed);
    });
    take(model, *view, items);
    return QGuiApplication::exec();
}
