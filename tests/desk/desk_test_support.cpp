#include "desk_test_support.h"

namespace korvalume::testing {

Desk::Desk(QString sessions, double wall) : wallClock(wall) {
    application();
    const QString deviceID = "DE5C0000-0000-4000-8000-000000000001";
    settings = std::make_unique<QSettings>(QString::fromStdString(dir.file("settings.ini")),
                                           QSettings::IniFormat);
    MasterClock::Options clockOptions;
    clockOptions.wallClock = [this] { return wallClock; };
    clockOptions.settings = settings.get();
    // No time server: every sample comes back empty at once.
    clockOptions.sampler = [](QObject*, MasterClock::SampleDone done) { done(std::nullopt); };
    clock = std::make_unique<MasterClock>(clockOptions);
    link = std::make_unique<PeerLink>(PeerLink::Options{"STUDIO MAC", deviceID,
                                                        PeerLink::Discovery::manual,
                                                        QHostAddress(QHostAddress::LocalHost)});
    sessionsFolder =
        sessions.isEmpty() ? QString::fromStdString(dir.file("Korvalume Sessions")) : sessions;
    model = std::make_unique<DeskModel>(
        DeskModel::Services{clock.get(), link.get(), &services, deviceID, sessionsFolder});
}

} // namespace korvalume::testing
