// Runs inside tests/support/netns-run: one `korvalume host` and several `korvalume join`s,
// each a separate device with its own settings, its own camera and its own events, plus a
// join of another session's link. Exits 0 when every join of the session ended with the
// host's cameras and events, the stranger changed nothing, DNS-SD showed the session's
// tag and never its id, and every join wrote its log and exited once the host ended the
// session; prints what went wrong and exits 1 otherwise. With --joins N and --events M it
// also reports how long convergence took.
#include "live/peer_protocol.h"
#include "session/session_doc.h"
#include "session/session_file.h"
#include "session/session_link.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>
#include <memory>
#include <set>
#include <unistd.h>

using namespace korvalume;

namespace {

int failures = 0;

void check(bool ok, const QString& what) {
    if (!ok) {
        ++failures;
        std::fprintf(stderr, "FAILED: %s\n", qPrintable(what));
    }
}

std::unique_ptr<QProcess> startKorvalume(const QString& program, const QString& home,
                                         const QStringList& args) {
    auto process = std::make_unique<QProcess>();
    auto env = QProcessEnvironment::systemEnvironment();
    QDir().mkpath(home);
    env.insert("XDG_CONFIG_HOME", home + "/config");
    env.insert("HOME", home);
    // A dead port on loopback: the clock's server check goes nowhere else.
    env.insert("KORVALUME_TIME_SERVER", "127.0.0.1:9");
    process->setProcessEnvironment(env);
    process->start(program, args);
    return process;
}

std::optional<SessionDoc> readLog(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    auto doc = sessionfile::decode(file.readAll().toStdString());
    return doc ? std::optional(*doc) : std::nullopt;
}

// What every device must agree on: cameras and events. Each device's own end of logging
// is its own.
std::pair<std::set<Uuid>, std::set<Uuid>> content(const SessionDoc& doc) {
    std::set<Uuid> cameras, events;
    for (const auto& camera : doc.cameras)
        cameras.insert(camera.id);
    for (const auto& event : doc.events)
        events.insert(event.id);
    return {cameras, events};
}

SessionDoc joinLog(const SessionLink& link, int index, int events) {
    SessionDoc doc = link.doc();
    Camera camera;
    camera.id = Uuid::random();
    camera.name = "CAM " + std::string(1, char('B' + index % 24));
    camera.ownerID = "JOIN" + std::to_string(index);
    doc.cameras.push_back(camera);
    for (int i = 0; i < events; ++i) {
        SyncEvent event;
        event.id = Uuid::random();
        event.cameraID = camera.id;
        event.kind = i % 2 == 0 ? SyncEvent::Kind::recStart : SyncEvent::Kind::recStop;
        event.at = link.startedAt + 1 + i;
        doc.events.push_back(event);
    }
    return doc;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() < 2) {
        std::fprintf(stderr, "usage: desk_live_probe KORVALUME [--joins N] [--events M]\n");
        return 2;
    }
    const QString program = args[1];
    const auto option = [&](const QString& name, int fallback) {
        const auto at = args.indexOf(name);
        return at > 0 && at + 1 < args.size() ? args[at + 1].toInt() : fallback;
    };
    const int joins = option("--joins", 3);
    const int events = option("--events", 4);

    QTemporaryDir work;
    QElapsedTimer clock;
    clock.start();
    auto host = startKorvalume(program, work.filePath("host"),
                               {"host", "--name", "PROBE", "--operator", "HOST", "--sessions-dir",
                                work.filePath("host/sessions")});
    check(host->waitForStarted(10'000), "the host did not start");
    QString hostOut;
    const QRegularExpression linkLine("Join link: (\\S+)");
    std::optional<SessionLink> link;
    (void)QTest::qWaitFor(
        [&] {
            hostOut += QString::fromUtf8(host->readAllStandardOutput());
            if (const auto match = linkLine.match(hostOut); match.hasMatch())
                link = SessionLink::parse(match.captured(1).toStdString());
            return link.has_value() || host->state() == QProcess::NotRunning;
        },
        20'000);
    if (!link) {
        std::fprintf(stderr, "FAILED: the host printed no join link:\n%s\n%s\n",
                     qPrintable(hostOut), host->readAllStandardError().constData());
        return 1;
    }

    std::vector<std::unique_ptr<QProcess>> members;
    std::vector<SessionDoc> sent;
    for (int i = 0; i < joins; ++i) {
        const QString home = work.filePath(QString("join%1").arg(i));
        QDir().mkpath(home);
        const SessionDoc log = joinLog(*link, i, events);
        sent.push_back(log);
        QFile file(home + "/own.korvalume");
        file.open(QIODevice::WriteOnly);
        file.write(QByteArray::fromStdString(*sessionfile::encoded(log)));
        file.close();
        members.push_back(
            startKorvalume(program, home,
                           {"join", QString::fromStdString(link->url()), home + "/own.korvalume",
                            "-o", home + "/out.korvalume", "--operator", QString("JOIN %1").arg(i),
                            "--sessions-dir", home + "/sessions"}));
    }
    // A desk of another session: it must never be admitted.
    SessionLink otherLink = *link;
    otherLink.id = Uuid::random();
    const QString strangerHome = work.filePath("stranger");
    auto stranger =
        startKorvalume(program, strangerHome,
                       {"join", QString::fromStdString(otherLink.url()), "--operator", "STRANGER",
                        "--sessions-dir", strangerHome + "/sessions", "--for", "600"});

    // Converged when the host's saved log holds every join's camera and events.
    const QString hostSessions = work.filePath("host/sessions");
    std::set<Uuid> wantedCameras, wantedEvents;
    for (const auto& log : sent) {
        const auto [cameras, logged] = content(log);
        wantedCameras.insert(cameras.begin(), cameras.end());
        wantedEvents.insert(logged.begin(), logged.end());
    }
    const auto hostLog = [&]() -> std::optional<SessionDoc> {
        const auto files = QDir(hostSessions).entryList({"*.korvalume"}, QDir::Files);
        return files.isEmpty() ? std::nullopt : readLog(hostSessions + "/" + files.front());
    };
    // Read again only when the host saved again: decoding a large log on every poll would
    // take the CPU that is being measured.
    QDateTime lastSaved;
    const bool converged = QTest::qWaitFor(
        [&] {
            const auto files = QDir(hostSessions).entryInfoList({"*.korvalume"}, QDir::Files);
            if (files.isEmpty() || files.front().lastModified() == lastSaved)
                return false;
            lastSaved = files.front().lastModified();
            const auto log = hostLog();
            if (!log)
                return false;
            const auto [cameras, logged] = content(*log);
            return std::includes(cameras.begin(), cameras.end(), wantedCameras.begin(),
                                 wantedCameras.end()) &&
                   std::includes(logged.begin(), logged.end(), wantedEvents.begin(),
                                 wantedEvents.end());
        },
        60'000);
    check(converged, "the host did not take in every join's log");
    std::printf("converged: %d joins x %d events in %.2f s\n", joins, events,
                double(clock.elapsed()) / 1000.0);

    // The session is announced by its tag; its id, the link's secret, never leaves the desk.
    QProcess browse;
    browse.start("avahi-browse", {"-rpt", "_korvalume._tcp"});
    browse.waitForFinished(20'000);
    const QString listing = QString::fromUtf8(browse.readAllStandardOutput());
    const QString tagRecord = QStringLiteral("\"s=%1\"").arg(PeerProtocol::sessionTag(link->id));
    check(listing.split('\n').filter(QRegularExpression("^=")).filter(tagRecord).size() > 0,
          "no desk is resolved with TXT " + tagRecord + ":\n" + listing);
    const QString idText = QString::fromStdString(link->id.string());
    check(!listing.contains(idText, Qt::CaseInsensitive) &&
              !listing.contains(QString(idText).remove('-'), Qt::CaseInsensitive),
          "the session id is visible on the network");

    // What hosting cost so far: CPU time and peak memory, from the kernel's accounting.
    const QString proc = QString("/proc/%1/").arg(host->processId());
    QFile status(proc + "status");
    QFile stat(proc + "stat");
    if (status.open(QIODevice::ReadOnly) && stat.open(QIODevice::ReadOnly)) {
        const QString peak = QRegularExpression("VmHWM:\\s*(\\d+) kB")
                                 .match(QString::fromLatin1(status.readAll()))
                                 .captured(1);
        // Fields 14 and 15 (user and system time, in clock ticks) follow the ") " that
        // closes the command name.
        const QString fields = QString::fromLatin1(stat.readAll()).section(") ", 1);
        const QStringList parts = fields.split(' ');
        const double ticks = double(sysconf(_SC_CLK_TCK));
        if (parts.size() > 12)
            std::printf("host: cpu %.2f s, peak memory %.1f MB\n",
                        (parts[11].toDouble() + parts[12].toDouble()) / ticks,
                        peak.toDouble() / 1024.0);
    }

    // Ending on the host ends it for everyone: every join writes its log and exits.
    host->terminate();
    check(host->waitForFinished(20'000) && host->exitCode() == 0,
          "the host did not end cleanly: " + QString::fromUtf8(host->readAllStandardError()));
    const auto final = hostLog();
    check(final.has_value() && final->endedForAll.has_value(),
          "the host's log is not ended for everyone");
    for (int i = 0; i < joins; ++i) {
        auto& member = *members[std::size_t(i)];
        const bool exited = member.waitForFinished(20'000);
        check(exited && member.exitCode() == 0,
              QString("join %1 did not write its log and exit: %2")
                  .arg(i)
                  .arg(QString::fromUtf8(member.readAllStandardError())));
        const auto out = readLog(work.filePath(QString("join%1/out.korvalume").arg(i)));
        check(out.has_value(), QString("join %1 wrote no readable log").arg(i));
        if (out && final) {
            check(content(*out) == content(*final),
                  QString("join %1 ended with other cameras or events than the host").arg(i));
            check(out->endedForAll.has_value(), QString("join %1 did not see the end").arg(i));
        }
    }
    // The stranger is still following its own empty session, having changed nothing.
    check(stranger->state() == QProcess::Running, "the stranger's join stopped");
    if (final)
        check(final->cameras.size() == std::size_t(joins),
              "the host's log has other cameras than the joins'");
    stranger->terminate();
    stranger->waitForFinished(10'000);
    const auto strangerFiles =
        QDir(strangerHome + "/sessions").entryList({"*.korvalume"}, QDir::Files);
    if (!strangerFiles.isEmpty()) {
        const auto strangerLog = readLog(strangerHome + "/sessions/" + strangerFiles.front());
        check(strangerLog && strangerLog->cameras.empty(), "the stranger received a log");
    }
    std::printf("all ended: %.2f s\n", double(clock.elapsed()) / 1000.0);
    return failures == 0 ? 0 : 1;
}
