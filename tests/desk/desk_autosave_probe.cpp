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

using namespace korvalume::testing;

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    if (argc != 3)
        return 2;
    const double startedAt = std::atof(argv[2]);
    qputenv("KORVALUME_TEST_TMP", argv[1]); // the desk's own files go with the test's
    Desk desk(QString::fromUtf8(argv[1]), startedAt + 10);
    desk->live().join(korvalume::SessionLink::from(autosaveState(startedAt, 0)));
    int markers = 0;
    QTimer stream;
    QObject::connect(&stream, &QTimer::timeout,
                     [&] { desk->live().receive(autosaveState(startedAt, ++markers), {}); });
    stream.start(0);
    std::printf("ready\n");
    std::fflush(stdout);
    return QCoreApplication::exec();
}
