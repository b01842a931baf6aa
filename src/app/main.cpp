#include "app/desk_types.h"
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

// Files and links from the command line, the system or a later launch, all go here.
void take(korvalume::DeskModel& model, const QStringList& items) {
    using korvalume::utf8;
    std::vector<std::string> files;
    for (const QString& item : items) {
        if (isLink(item)) {
            if (const auto joined = model.join(utf8(item)); !joined)
                model.document().setMessage(korvalume::qs(joined.message()));
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
    explicit FileOpenFilter(korvalume::DeskModel& model) : model_(model) {}

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::FileOpen) {
            const auto* open = static_cast<QFileOpenEvent*>(event);
            if (open->url().isLocalFile())
                model_.open({korvalume::utf8(open->url().toLocalFile())});
            else
                take(model_, {open->url().toString()});
            return true;
        }
        return QObject::eventFilter(watched, event);
    }

private:
    korvalume::DeskModel& model_;
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
QString takeHandedOver(korvalume::DeskModel& model, QQuickWindow* window,
                       const QStringList& handed) {
    take(model, handed);
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
    FileOpenFilter fileOpen(model);
    app.installEventFilter(&fileOpen);

    QQmlApplicationEngine engine;
    engine.setInitialProperties({{QStringLiteral("model"), QVariant::fromValue(&model)}});
    engine.load(QUrl(QStringLiteral("qrc:/qt/qml/Korvalume/Desk/qml/Main.qml")));
    if (engine.rootObjects().isEmpty())
        return 1;
    auto* window = qobject_cast<QQuickWindow*>(engine.rootObjects().constFirst());
    instance.listen([&model, window](const QStringList& handed) {
        return takeHandedOver(model, window, handed);
    });
    take(model, items);
    return QGuiApplication::exec();
}
