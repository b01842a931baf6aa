// Runs inside tests/support/netns-run: one `korvalume host`, several `korvalume join`s (each
// a device with its own settings, camera and events) and a join of another session's link.
// Exits 0 when the joins and the host converge, the stranger changes nothing, DNS-SD shows
// the session's tag but never its id, and ending on the host ends every join with its log
// written; else prints what went wrong and exits 1. Reports how long convergence took, and
// what hosting cost, for --joins N and --events M.
#include "live/peer_protocol.h"
#include "session/session_doc.h"
#include "session/session_file.h"
#include "session/session_link.h"
#include "support/media_fixtures.h"

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

// The one log a desk saved to its sessions folder, if any.
std::optional<SessionDoc> savedLog(const QString& folder) {
    const auto files = QDir(folder).entryList({"*.korvalume"}, QDir::Files);
    return files.isEmpty() ? std::nullopt : readLog(folder + "/" + files.front());
}

// What every device must agree on: cameras and events. Each device's own end of logging
// is its own.
using Content = std::pair<std::set<Uuid>, std::set<Uuid>>;
Content content(const SessionDoc& doc) {
    Content ids;
    for (const auto& camera : doc.cameras)
        ids.first.insert(camera.id);
    for (const auto& event : doc.events)
        ids.second.insert(event.id);
    return ids;
}

// A join's own log: the session as its link gives it, with the join's camera rolling.
SessionDoc joinLog(const SessionLink& link, int index, int events) {
    SessionDoc doc = link.doc();
    const Camera camera{.id = Uuid::random(),
                        .name = "CAM " + std::string(1, char('B' + index % 24)),
                        .ownerID = "JOIN" + std::to_string(index)};
    doc.cameras.push_back(camera);
    for (int i = 0; i < events; ++i)
        doc.events.push_back(
            {.id = Uuid::random(),
             .cameraID = camera.id,
             .kind = i % 2 == 0 ? SyncEvent::Kind::recStart : SyncEvent::Kind::recStop,
             .at = link.startedAt + 1 + i});
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
    const auto option = [&](const QString& name, int fallback) {
        const auto at = args.indexOf(name);
        return at > 0 && at + 1 < args.size() ? args[at + 1].toInt() : fallback;
    };
    const int joins = option("--joins", 3), events = option("--events", 4);

    QTemporaryDir work;
    QElapsedTimer clock;
    clock.start();
    const QString hostSessions = work.filePath("host/sessions");
    auto host = startKorvalume(
        args[1], work.filePath("host"),
        {"host", "--name", "PROBE", "--operator", "HOST", "--sessions-dir", hostSessions});
    QString hostOut;
    std::optional<SessionLink> link;
    (void)QTest::qWaitFor(
        [&] {
            hostOut += QString::fromUtf8(host->readAllStandardOutput());
            if (const auto match = QRegularExpression("Join link: (\\S+)").match(hostOut);
                match.hasMatch())
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
    Content wanted;
    for (int i = 0; i < joins; ++i) {
        const QString home = work.filePath(QString("join%1").arg(i));
        QDir().mkpath(home);
        const SessionDoc log = joinLog(*link, i, events);
        const auto [cameras, logged] = content(log);
        wanted.first.insert(cameras.begin(), cameras.end());
        wanted.second.insert(logged.begin(), logged.end());
        fixtures::writeFile((home + "/own.korvalume").toStdString(), *sessionfile::encoded(log));
        members.push_back(
            startKorvalume(args[1], home,
                           {"join", QString::fromStdString(link->url()), home + "/own.korvalume",
                            "-o", home + "/out.korvalume", "--operator", QString("JOIN %1").arg(i),
                            "--sessions-dir", home + "/sessions"}));
    }
    // A desk of another session: it must never be admitted.
    SessionLink otherLink = *link;
    otherLink.id = Uuid::random();
    const QString strangerSessions = work.filePath("stranger/sessions");
    auto stranger =
        startKorvalume(args[1], work.filePath("stranger"),
                       {"join", QString::fromStdString(otherLink.url()), "--operator", "STRANGER",
                        "--sessions-dir", strangerSessions, "--for", "600"});

    // Converged when the host's saved log holds every join's camera and events. It is read
    // again only after a save: decoding a large log on every poll would take the CPU that
    // is being measured.
    QDateTime lastSaved;
    const bool converged = QTest::qWaitFor(
        [&] {
            const auto files = QDir(hostSessions).entryInfoList({"*.korvalume"}, QDir::Files);
            if (files.isEmpty() || files.front().lastModified() == lastSaved)
                return false;
            lastSaved = files.front().lastModified();
            const auto log = savedLog(hostSessions);
            if (!log)
                return false;
            const auto [cameras, logged] = content(*log);
            return std::includes(cameras.begin(), cameras.end(), wanted.first.begin(),
                                 wanted.first.end()) &&
                   std::includes(logged.begin(), logged.end(), wanted.second.begin(),
                                 wanted.second.end());
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
    const QString tagRecord = QStringLiteral("\"s=%1\"").arg(peerprotocol::sessionTag(link->id));
    check(!listing.split('\n').filter(QRegularExpression("^=")).filter(tagRecord).isEmpty(),
          "no desk is resolved with TXT " + tagRecord + ":\n" + listing);
    const QString idText = QString::fromStdString(link->id.string());
    check(!listing.contains(idText, Qt::CaseInsensitive) &&
              !listing.contains(QString(idText).remove('-'), Qt::CaseInsensitive),
          "the session id is visible on the network");

    // What hosting cost so far, from the kernel's accounting: peak memory, and user plus
    // system time (fields 14 and 15 of stat, after the ") " that ends the command name).
    QFile status(QString("/proc/%1/status").arg(host->processId()));
    QFile stat(QString("/proc/%1/stat").arg(host->processId()));
    if (status.open(QIODevice::ReadOnly) && stat.open(QIODevice::ReadOnly)) {
        const auto peak =
            QRegularExpression("VmHWM:\\s*(\\d+) kB").match(QString::fromLatin1(status.readAll()));
        const QStringList fields = QString::fromLatin1(stat.readAll()).section(") ", 1).split(' ');
        if (fields.size() > 12)
            std::printf("host: cpu %.2f s, peak memory %.1f MB\n",
                        (fields[11].toDouble() + fields[12].toDouble()) /
                            double(sysconf(_SC_CLK_TCK)),
                        peak.captured(1).toDouble() / 1024.0);
    }

    // Ending on the host ends it for everyone: every join writes its log and exits.
    host->terminate();
    check(host->waitForFinished(20'000) && host->exitCode() == 0,
          "the host did not end cleanly: " + QString::fromUtf8(host->readAllStandardError()));
    const auto final = savedLog(hostSessions);
    check(final && final->endedForAll && final->cameras.size() == std::size_t(joins),
          "the host's log is not ended for everyone, or has other cameras than the joins'");
    for (int i = 0; i < joins; ++i) {
        auto& member = *members[std::size_t(i)];
        check(member.waitForFinished(20'000) && member.exitCode() == 0,
              QString("join %1 did not write its log and exit: %2")
                  .arg(i)
                  .arg(QString::fromUtf8(member.readAllStandardError())));
        const auto out = readLog(work.filePath(QString("join%1/out.korvalume").arg(i)));
        check(
            out && final && content(*out) == content(*final) && out->endedForAll,
            QString("join %1 wrote no log, another one than the host's, or one not ended").arg(i));
    }
    // The stranger is still following its own empty session, having changed nothing.
    check(stranger->state() == QProcess::Running, "the stranger's join stopped");
    stranger->terminate();
    stranger->waitForFinished(10'000);
    const auto strangerLog = savedLog(strangerSessions);
    check(!strangerLog || strangerLog->cameras.empty(), "the stranger received a log");
    std::printf("all ended: %.2f s\n", double(clock.elapsed()) / 1000.0);
    return failures == 0 ? 0 : 1;
}
