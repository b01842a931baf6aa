// Runs inside tests/support/netns-run (a private namespace with its own Avahi): three
// links advertise and browse for real, two of one session and one of another. Prints
// what went wrong and exits 1, or exits 0 when the two linked and exchanged their logs
// (again after one left and came back), the third was never invited, and avahi-browse
// shows session tags and no session id.
#include "peer_test_support.h"

#include <QProcess>

#include <cstdio>

using namespace korvalume;
using namespace korvalume::peer_test;

namespace {

int failures = 0;

void check(bool ok, const QString& what) {
    if (!ok) {
        ++failures;
        std::fprintf(stderr, "FAILED: %s\n", qPrintable(what));
    }
}

RecordingLink* discovering(const QString& name, const QString& device, const Uuid& session) {
    auto* link = new RecordingLink(PeerLink::Options{name, device, PeerLink::Discovery::dnsSd},
                                   sampleLog(session, name.toStdString()));
    link->link.start(session);
    return link;
}

QString problemsOf(const RecordingLink& link) {
    QStringList lines;
    for (const auto& problem : link.problems) {
        lines.append(problem);
    }
    return lines.join(QStringLiteral("; "));
}

} // namespace

int main() {
    application();
    const Uuid session = Uuid::random();
    const Uuid otherSession = Uuid::random();

    std::unique_ptr<RecordingLink> desk(discovering("Desk", "D0D0", session));
    std::unique_ptr<RecordingLink> phone(discovering("Phone", "F0F0", session));
    // Sorts first, so it would be the one inviting if the tags did not keep it apart.
    std::unique_ptr<RecordingLink> stranger(discovering("Aardvark", "A0A0", otherSession));

    const bool linked = QTest::qWaitFor(
        [&] { return desk->received.size() == 1 && phone->received.size() == 1; }, 30'000);
    check(linked, QStringLiteral("desk and phone did not link and exchange logs; desk: %1; "
                                 "phone: %2")
                      .arg(problemsOf(*desk), problemsOf(*phone)));
    if (linked) {
        check(desk->received[0] == *phone->currentLog, "the desk got another log than the phone's");
        check(phone->received[0] == *desk->currentLog, "the phone got another log than the desk's");
        check(desk->link.connected() == QStringList{"Phone"},
              "desk connected: " + desk->link.connected().join(','));
        check(phone->link.connected() == QStringList{"Desk"},
              "phone connected: " + phone->link.connected().join(','));
    }

    // Give the stranger every chance to be (wrongly) invited or to invite.
    QTest::qWait(3000);
    check(stranger->link.connected().isEmpty() && stranger->received.empty() &&
              stranger->problems.empty(),
          "the link of another session took part: " + problemsOf(*stranger));
    for (const auto* link : {desk.get(), phone.get()}) {
        for (const auto& problem : link->problems) {
            check(!problem.contains("Aardvark"), "invited across sessions: " + problem);
        }
    }
    check(desk->received.size() == 1 && phone->received.size() == 1,
          "logs were sent more than once");

    // The phone leaves and comes back: found again, it is invited again.
    phone->link.stop();
    check(QTest::qWaitFor([&] { return desk->link.connected().isEmpty(); }, 10'000),
          "the desk still lists the phone after it left");
    phone->link.start(session);
    check(QTest::qWaitFor([&] { return desk->received.size() == 2 && phone->received.size() == 2; },
                          30'000),
          QStringLiteral("the phone was not linked again; desk: %1; phone: %2")
              .arg(problemsOf(*desk), problemsOf(*phone)));
    check(desk->link.connected() == QStringList{"Phone"},
          "desk connected after the return: " + desk->link.connected().join(','));

    QProcess browse;
    browse.start("avahi-browse", {"-rpt", "_korvalume._tcp"});
    browse.waitForFinished(20'000);
    const QString listing = QString::fromUtf8(browse.readAllStandardOutput());
    std::fprintf(stdout, "%s", qPrintable(listing));
    for (const auto& [name, id] : {std::pair{QStringLiteral("Desk#D0D0"), session},
                                   std::pair{QStringLiteral("Aardvark#A0A0"), otherSession}}) {
        const QString tagRecord = QStringLiteral("\"s=%1\"").arg(PeerProtocol::sessionTag(id));
        // avahi-browse -p writes "#" as "\035".
        const QString escaped = QString(name).replace('#', QStringLiteral("\\035"));
        bool shown = false;
        for (const auto& line : listing.split('\n')) {
            shown = shown ||
                    (line.startsWith('=') && line.contains(escaped) && line.contains(tagRecord));
        }
        check(shown, name + " is not resolved with TXT " + tagRecord);
        const QString idText = QString::fromStdString(id.string());
        check(!listing.contains(idText, Qt::CaseInsensitive) &&
                  !listing.contains(QString(idText).remove('-'), Qt::CaseInsensitive),
              "the session id is visible on the network");
    }

    desk.reset();
    phone.reset();
    stranger.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    std::fprintf(stderr, "%s\n", failures ? "peer_netns_probe: FAILED" : "peer_netns_probe: ok");
    return failures == 0 ? 0 : 1;
}
