#include "desk_test_support.h"

namespace korvalume::testing {

Desk::Desk(QString deviceID, QString displayName) {
    application();
    settings = std::make_unique<QSettings>(QString::fromStdString(dir.file("settings.ini")),
                                           QSettings::IniFormat);
    MasterClock::Options clockOptions;
    clockOptions.wallClock = [this] { return wallClock; };
    clockOptions.settings = settings.get();
    // No time server: every sample comes back empty at once.
    clockOptions.sampler = [](QObject*, MasterClock::SampleDone done) { done(std::nullopt); };
    clock = std::make_unique<MasterClock>(clockOptions);
    link = std::make_unique<PeerLink>(PeerLink::Options{
        displayName, deviceID, PeerLink::Discovery::manual, QHostAddress(QHostAddress::LocalHost)});
    sessionsFolder = QString::fromStdString(dir.file("Korvalume Sessions"));
    model = std::make_unique<DeskModel>(
        DeskModel::Services{clock.get(), link.get(), &services, deviceID, sessionsFolder});
}

} // namespace korvalume::testing
