// Renders each state of the window to a PNG, offscreen, from preview models at a fixed
// time: what scripts/screenshots runs so that people can look at the window without
// running a shoot.
//
//   korvalume-desk-screenshots OUTDIR EXAMPLE_LOG... --cards CARDS_DIR
#include "app/desk_types.h"
#include "desk/preview_services.h"
#include "session/session_doc.h"

#include <QDir>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

#include <cstdio>
#include <functional>
#include <memory>

Q_IMPORT_QML_PLUGIN(Korvalume_DeskPlugin)

using namespace korvalume;

namespace {

constexpr int waitMs = 20'000;
const QString thisDesk = QStringLiteral("DE5C0000-0000-4000-8000-000000000001");

// Fixed identities, so that the join code and so every picture are the same on every run.
Uuid fixedID(int n) {
    return *Uuid::parse(
        QStringLiteral("5C4EE000-0000-4000-8000-%1").arg(n, 12, 10, QChar('0')).toStdString());
}
int nextID = 0;

struct Inputs {
    QString out;
    std::vector<std::string> logs;
    QString cards;
};

// `prepare` runs once the window is laid out; the picture is taken `settleMs` later.
bool render(const Inputs& inputs, const QString& name, DeskModel& model, double fixedNow,
            const std::function<void(QObject& window)>& prepare = {}, int settleMs = 400) {
    QQmlApplicationEngine engine;
    engine.setInitialProperties(
        {{"model", QVariant::fromValue(&model)}, {"fixedNow", fixedNow}, {"hasFixedNow", true}});
    engine.load(QUrl(QStringLiteral("qrc:/qt/qml/Korvalume/Desk/qml/Main.qml")));
    if (engine.rootObjects().isEmpty())
        return false;
    auto* window = qobject_cast<QQuickWindow*>(engine.rootObjects().constFirst());
    window->resize(1440, 900);
    QTest::qWait(400);
    if (prepare)
        prepare(*window);
    QTest::qWait(settleMs);
    const QString path = QDir(inputs.out).filePath(name + ".png");
    const bool saved = window->grabWindow().save(path);
    std::printf("%s %s\n", saved ? "wrote" : "could not write", qPrintable(path));
    return saved;
}

// The example shoot opened, every camera's card read and the log saved.
void openExample(DeskModel& model, const Inputs& inputs, const QString& savedLog) {
    model.open(inputs.logs);
    for (const auto& camera : model.document().doc()->activeCameras()) {
        const QString folder =
            QDir(inputs.cards).filePath(QString::fromStdString(camera.name).replace(u' ', u'_'));
        if (QDir(folder).exists())
            (void)model.planner().setFolder(camera.id, folder.toStdString());
    }
    (void)QTest::qWaitFor([&] { return model.planner().readingIDs().isEmpty(); }, waitMs);
    (void)model.saveLogTo(savedLog.toStdString());
}

// A desk on preview services: nothing leaves this machine and nothing is saved on its own.
struct Preview {
    PreviewServices services;
    DeskModel model;

    explicit Preview(QStringList peers = {}, bool clockSynced = false)
        : services(std::move(peers), clockSynced, thisDesk), model(services.services()) {}
};

SyncEvent event(SyncEvent::Kind kind, MasterInstant at, std::optional<Uuid> camera,
                std::optional<std::string> label = std::nullopt) {
    return {fixedID(++nextID), camera, kind, at, std::nullopt, std::move(label)};
}

// A live session an hour old: four cameras, one rolling, one that lost its link, two markers.
SessionDoc busyLiveSession(MasterInstant now, const QString& owner) {
    SessionDoc doc = SessionDoc::newSession("SHOOT 15 NOV", FrameRate{25, false}, now - 3599.5,
                                            owner.toStdString());
    doc.zone = 3600;
    doc.id = fixedID(++nextID);
    const char* names[] = {"CAM A", "CAM B", "CAM C", "SOUND A"};
    for (int i = 0; i < 4; ++i) {
        Camera camera;
        camera.id = fixedID(++nextID);
        camera.name = names[i];
        camera.kind = i == 3 ? Camera::Kind::recorder : Camera::Kind::camera;
        camera.link = i == 2 ? Camera::Link::scan : Camera::Link::bluetooth;
        camera.ownerName = i < 2 ? "MIA" : "JONAS";
        doc.cameras.push_back(camera);
    }
    const MasterInstant start = doc.startedAt;
    doc.events.push_back(event(SyncEvent::Kind::recStart, start + 60, doc.cameras[0].id));
    doc.events.push_back(event(SyncEvent::Kind::recStop, start + 300, doc.cameras[0].id));
    doc.events.push_back(event(SyncEvent::Kind::marker, start + 400, {}, "MARK 1"));
    SyncEvent scan = event(SyncEvent::Kind::tcScan, start + 500, doc.cameras[2].id);
    scan.timecode = "01:20:10:09";
    doc.events.push_back(scan);
    doc.events.push_back(event(SyncEvent::Kind::linkLost, start + 2000, doc.cameras[1].id));
    doc.events.push_back(event(SyncEvent::Kind::marker, start + 3000, {}, "MARK 2"));
    doc.events.push_back(event(SyncEvent::Kind::recStart, now - 65, doc.cameras[0].id));
    return doc;
}

// OUTDIR LOG... --cards DIR; nothing when they are not all there.
std::optional<Inputs> readInputs(const QStringList& args) {
    Inputs inputs;
    for (qsizetype i = 0; i < args.size(); ++i) {
        if (args[i] == "--cards" && i + 1 < args.size())
            inputs.cards = args[++i];
        else if (inputs.out.isEmpty())
            inputs.out = args[i];
        else
            inputs.logs.push_back(args[i].toStdString());
    }
    if (inputs.out.isEmpty() || inputs.logs.empty() || inputs.cards.isEmpty())
        return std::nullopt;
    return inputs;
}

// Nothing open, the example shoot's session with its cards, and the combining report.
bool renderAfterTheShoot(const Inputs& inputs, double now) {
    QTemporaryDir scratch;
    bool ok = true;
    {
        Preview preview;
        preview.model.open(
            std::vector<std::string>{scratch.filePath("notes.korvalume").toStdString()});
        ok &= render(inputs, "1-welcome-with-message", preview.model, now);
    }
    {
        Preview preview;
        DeskModel& model = preview.model;
        openExample(model, inputs, scratch.filePath("Harbour Walk.korvalume"));
        model.document().dismissImportReport();
        ok &= render(inputs, "2-session", model, now);
        // Taken before the read can end.
        ok &= render(
            inputs, "3-reading-a-folder", model, now,
            [&](QObject&) {
                const auto camera = model.document().doc()->activeCameras().front();
                (void)model.planner().setFolder(camera.id, *model.planner().folder(camera.id));
            },
            0);
        (void)QTest::qWaitFor([&] { return model.planner().readingIDs().isEmpty(); }, waitMs);
    }
    Preview preview;
    preview.model.open(inputs.logs);
    return render(inputs, "6-combining-report", preview.model, now) && ok;
}

void confirmEnd(QObject& window) {
    window.property("view").value<QObject*>()->setProperty("confirmEnd", true);
}

// A live session waiting for cameras, one with four, and both end confirmations.
bool renderLive(const Inputs& inputs, double now) {
    bool ok = true;
    {
        Preview preview;
        SessionDoc waiting = SessionDoc::newSession(
            "SHOOT 15 NOV", FrameRate{25, false}, MasterInstant(now - 754), thisDesk.toStdString());
        waiting.id = fixedID(++nextID);
        preview.model.show(waiting);
        ok &= render(inputs, "4-live-waiting", preview.model, now);
    }
    {
        Preview preview({"MIA", "JONAS"}, true);
        preview.model.show(busyLiveSession(MasterInstant(now), thisDesk));
        ok &= render(inputs, "5-live-four-cameras", preview.model, now);
        ok &= render(inputs, "7a-end-as-owner", preview.model, now, confirmEnd);
    }
    Preview preview({"MIA"}, true);
    preview.model.show(busyLiveSession(MasterInstant(now), "0WNE0000-0000-4000-8000-000000000009"));
    return render(inputs, "7b-end-as-watcher", preview.model, now, confirmEnd) && ok;
}

} // namespace

int main(int argc, char* argv[]) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QGuiApplication::setOrganizationName(QStringLiteral("Korvalume"));
    QGuiApplication::setApplicationName(QStringLiteral("Korvalume Desk screenshots"));
    QQuickStyle::setStyle(QStringLiteral("Basic"));

    const auto inputs = readInputs(app.arguments().mid(1));
    if (!inputs) {
        std::fprintf(stderr, "usage: korvalume-desk-screenshots OUTDIR LOG... --cards DIR\n");
        return 2;
    }
    QDir().mkpath(inputs->out);
    const double now = 1718442000 + 3600; // 2024-06-15 11:00 in the example's zone
    const bool afterTheShoot = renderAfterTheShoot(*inputs, now);
    const bool live = renderLive(*inputs, now);
    return afterTheShoot && live ? 0 : 1;
}
