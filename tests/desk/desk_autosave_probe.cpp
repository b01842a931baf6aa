// A live desk taking in a stream of logs, each of which it saves automatically, until it
// is killed: what the autosave crash test kills at random moments.
//
//   desk_autosave_probe SESSIONS_DIR STARTED_AT
#include "autosave_states.h"
#include "desk_test_support.h"
#include "session/session_link.h"

#include <QTimer>

#include <cstdio>
#include <cstdlib>

using namespace korvalume;
using namespace korvalume::testing;

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    if (argc != 3)
        return 2;
    const double startedAt = std::atof(argv[2]);
    QSettings settings(QString::fromUtf8(argv[1]) + "/settings.ini", QSettings::IniFormat);
    MasterClock::Options clockOptions;
    clockOptions.wallClock = [startedAt] { return startedAt + 10; };
    clockOptions.settings = &settings;
    clockOptions.sampler = [](QObject*, MasterClock::SampleDone done) { done(std::nullopt); };
    MasterClock clock(clockOptions);
    PeerLink link(PeerLink::Options{"DESK", "DE5C0000", PeerLink::Discovery::manual,
                                    QHostAddress(QHostAddress::LocalHost)});
    RecordingServices services;
    DeskModel model(DeskModel::Services{&clock, &link, &services, "DE5C0000", argv[1]});
    model.join(SessionLink::from(autosaveState(startedAt, 0)));

    int markers = 0;
    QTimer stream;
    QObject::connect(&stream, &QTimer::timeout,
                     [&] { model.receive(autosaveState(startedAt, ++markers)); });
    stream.start(0);
    std::printf("ready\n");
    std::fflush(stdout);
    return QCoreApplication::exec();
}
