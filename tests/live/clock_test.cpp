// The master clock and its SNTP check, against a real chrony on loopback and a scripted
// server for what chrony cannot be made to do.
#include "live/master_clock.h"
#include "live/sntp.h"
#include "peer_test_support.h"
#include "scripted_time_server.h"
#include "session/uuid.h"
#include "support/media_fixtures.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QSettings>
#include <QStandardPaths>
#include <QTimer>

#include <gtest/gtest.h>

#include <memory>

namespace korvalume {
namespace {

using testing::ScriptedTimeServer;
using Answer = ScriptedTimeServer::Answer;

// The outcome of one exchange with `server`, and how long it took.
struct Taken {
    Sntp::Outcome outcome = Sntp::Failure::timeout;
    int completions = 0;
    double seconds = 0;
};

class ClockTest : public ::testing::Test {
protected:
    void SetUp() override { peer_test::application(); }
};

Taken exchangeWith(const QString& server, std::chrono::milliseconds timeout,
                   std::chrono::milliseconds settle = std::chrono::milliseconds(0)) {
    peer_test::application();
    Taken taken;
    QObject context;
    QElapsedTimer clock;
    clock.start();
    Sntp::exchange(*Sntp::Server::parse(server), {timeout, {}}, &context,
                   [&](const Sntp::Outcome& outcome) {
                       taken.outcome = outcome;
                       taken.seconds = double(clock.elapsed()) / 1000.0;
                       ++taken.completions;
                   });
    // Blocking on the event loop, not polling: a reply must be read the moment it comes.
    QEventLoop loop;
    QTimer::singleShot(10'000, &loop, &QEventLoop::quit);
    QTimer check;
    QObject::connect(&check, &QTimer::timeout, &loop, [&] {
        if (taken.completions > 0)
            loop.quit();
    });
    check.start(1);
    loop.exec();
    EXPECT_GT(taken.completions, 0);
    QTest::qWait(int(settle.count()));
    return taken;
}

TEST_F(ClockTest, AShiftedReplyGivesItsOffsetAndBadRepliesGiveNone) {
    ScriptedTimeServer server;
    server.shift = 3.25;
    const auto shifted = exchangeWith(server.address(), std::chrono::seconds(2));
    ASSERT_TRUE(std::holds_alternative<Sntp::Sample>(shifted.outcome));
    EXPECT_NEAR(std::get<Sntp::Sample>(shifted.outcome).offset, 3.25, 0.005);
    EXPECT_LT(std::abs(std::get<Sntp::Sample>(shifted.outcome).delay), 0.05);

    server.mode = Answer::shortReply;
    EXPECT_EQ(exchangeWith(server.address(), std::chrono::seconds(2)).outcome,
              Sntp::Outcome(Sntp::Failure::shortReply));
    server.mode = Answer::stratumZero;
    EXPECT_EQ(exchangeWith(server.address(), std::chrono::seconds(2)).outcome,
              Sntp::Outcome(Sntp::Failure::stratumZero));

    // Silence ends the sample at the two-second limit, not later.
    server.mode = Answer::silent;
    const auto silent = exchangeWith(server.address(), std::chrono::seconds(2));
    EXPECT_EQ(silent.outcome, Sntp::Outcome(Sntp::Failure::timeout));
    EXPECT_GE(silent.seconds, 1.95);
    EXPECT_LE(silent.seconds, 2.5);
}

TEST_F(ClockTest, AReplyAfterTheTimeoutDoesNotCompleteTheSampleAgain) {
    ScriptedTimeServer server;
    server.lateBy = std::chrono::milliseconds(400);
    const auto late = exchangeWith(server.address(), std::chrono::milliseconds(150),
                                   std::chrono::milliseconds(600));
    EXPECT_EQ(server.requests, 1);
    EXPECT_EQ(late.completions, 1);
    EXPECT_EQ(late.outcome, Sntp::Outcome(Sntp::Failure::timeout));
}

TEST_F(ClockTest, AClosedPortIsReportedUnreachableNotTimedOut) {
    quint16 closed = 0;
    {
        QUdpSocket probe;
        probe.bind(QHostAddress(QHostAddress::LocalHost), 0);
        closed = probe.localPort();
    }
    // A limit far beyond loopback's answer: a timeout here means the refusal was lost.
    const auto refused =
        exchangeWith(QStringLiteral("127.0.0.1:%1").arg(closed), std::chrono::seconds(8));
    EXPECT_EQ(refused.outcome, Sntp::Outcome(Sntp::Failure::unreachable));
    EXPECT_EQ(refused.completions, 1);
}

TEST_F(ClockTest, RequestAndServerAddresses) {
    const auto request = Sntp::request();
    EXPECT_EQ(request[0], 0x23);
    EXPECT_TRUE(std::all_of(request.begin() + 1, request.end(), [](auto b) { return b == 0; }));
    EXPECT_EQ(Sntp::Server::parse("time.example.org"), (Sntp::Server{"time.example.org", 123}));
    EXPECT_EQ(Sntp::Server::parse(" 127.0.0.1:1123 "), (Sntp::Server{"127.0.0.1", 1123}));
    EXPECT_EQ(Sntp::Server::parse("::1"), (Sntp::Server{"::1", 123}));
    EXPECT_FALSE(Sntp::Server::parse("host:0"));
    EXPECT_FALSE(Sntp::Server::parse("host:70000"));
    EXPECT_FALSE(Sntp::Server::parse(""));
    EXPECT_EQ(Sntp::Server::parse("[::1]:1123"), (Sntp::Server{"::1", 1123}));
    EXPECT_EQ(Sntp::Server::parse("[fe80::1]"), (Sntp::Server{"fe80::1", 123}));
    EXPECT_FALSE(Sntp::Server::parse("[::1]1123"));
    EXPECT_FALSE(Sntp::Server::parse("[::1]:"));
    EXPECT_FALSE(Sntp::Server::parse("[]:123"));
    EXPECT_FALSE(Sntp::Server::parse(":123"));
    // What is shown parses back to the same server.
    for (const auto& server : {Sntp::Server{"::1", 1123}, Sntp::Server{"time.example.org", 123}})
        EXPECT_EQ(Sntp::Server::parse(server.text()), server);
}

// A clock on its own settings file and a controllable wall clock; its samples come from
// `script` when one is given, from the real exchange otherwise.
struct TestClock {
    explicit TestClock(std::vector<std::optional<Sntp::Sample>> script = {}, bool scripted = true)
        : settings(QString::fromStdString(dir.file("settings.ini")), QSettings::IniFormat),
          samples(std::move(script)) {
        peer_test::application();
        MasterClock::Options options;
        options.wallClock = [this] { return wall; };
        options.settings = &settings;
        options.retryAfter = std::chrono::milliseconds(100);
        options.refreshEvery = std::chrono::milliseconds(150);
        if (scripted) {
            options.sampler = [this](QObject*, MasterClock::SampleDone done) {
                const auto next = taken < samples.size() ? samples[taken] : std::nullopt;
                ++taken;
                done(next);
            };
        }
        clock = std::make_unique<MasterClock>(options);
    }

    fixtures::TempDir dir;
    QSettings settings;
    double wall = 1'700'000'000;
    std::vector<std::optional<Sntp::Sample>> samples;
    std::size_t taken = 0;
    std::unique_ptr<MasterClock> clock;
};

TEST_F(ClockTest, TheSampleWithTheSmallestDelayIsTaken) {
    TestClock test({Sntp::Sample{1.0, 0.040}, Sntp::Sample{2.0, 0.012}, std::nullopt,
                    Sntp::Sample{3.0, 0.012}});
    test.clock->begin(Uuid::random());
    EXPECT_EQ(test.taken, 4u);
    EXPECT_EQ(test.clock->offset(), 2.0);
    EXPECT_EQ(test.clock->source(), MasterClock::Source::server);
    EXPECT_TRUE(test.clock->synced());
    EXPECT_EQ(test.clock->now(), test.wall + 2.0);
}

TEST_F(ClockTest, ADeadServerLeavesTheClockAsItWasWithOneRetryOnly) {
    TestClock test;
    test.clock->begin(Uuid::random());
    EXPECT_EQ(test.taken, 4u);
    // One retry after the delay on a first try, and nothing more: the timer leaves a
    // clock on its own time alone.
    ASSERT_TRUE(QTest::qWaitFor([&] { return test.taken == 8; }, 5'000));
    QTest::qWait(500);
    EXPECT_EQ(test.taken, 8u);
    EXPECT_EQ(test.clock->source(), MasterClock::Source::device);
    EXPECT_EQ(test.clock->offset(), 0.0);
}

TEST_F(ClockTest, TheSameSessionRestoresItsStateAndAnotherStartsAfresh) {
    const Uuid session = Uuid::random();
    TestClock test({Sntp::Sample{0.5, 0.01}});
    test.clock->begin(session);
    ASSERT_EQ(test.clock->offset(), 0.5);
    EXPECT_EQ(test.settings.value("clock.session").toString(),
              QString::fromStdString(session.string()));
    EXPECT_EQ(test.settings.value("clock.source").toString(), "server");
    test.clock->setFromMaster(0.25);

    // A restarted desk on the same settings takes the stored state, and a master's
    // correction is not measured again.
    MasterClock::Options options;
    options.settings = &test.settings;
    int asked = 0;
    options.sampler = [&](QObject*, MasterClock::SampleDone done) {
        ++asked;
        done(Sntp::Sample{9.0, 0.001});
    };
    MasterClock restarted(options);
    restarted.begin(session);
    EXPECT_EQ(restarted.offset(), 0.75);
    EXPECT_EQ(restarted.source(), MasterClock::Source::master);
    ASSERT_TRUE(restarted.setAt());
    EXPECT_EQ(*restarted.setAt(), test.wall + 0.75);
    EXPECT_EQ(asked, 0);

    // Another session resets and asks the server.
    restarted.begin(Uuid::random());
    EXPECT_EQ(asked, 4);
    EXPECT_EQ(restarted.offset(), 9.0);
    EXPECT_EQ(restarted.source(), MasterClock::Source::server);
    EXPECT_FALSE(test.settings.contains("clock.setAt"));
}

TEST_F(ClockTest, AMasterCorrectionWinsOverLaterChecksAndTicks) {
    TestClock test({Sntp::Sample{1.0, 0.01}});
    test.clock->begin(Uuid::random());
    ASSERT_EQ(test.clock->offset(), 1.0);
    test.samples.assign(20, Sntp::Sample{5.0, 0.001});
    test.clock->setFromMaster(0.25);
    EXPECT_EQ(test.clock->offset(), 1.25);
    EXPECT_EQ(test.clock->source(), MasterClock::Source::master);
    EXPECT_EQ(*test.clock->setAt(), test.wall + 1.25);

    test.clock->checkServer(false);
    QTest::qWait(500); // several refresh ticks
    EXPECT_EQ(test.clock->offset(), 1.25);
    EXPECT_EQ(test.clock->source(), MasterClock::Source::master);
}

TEST_F(ClockTest, AgreesWithARealChronyOnLoopback) {
    const QString chronyd = QStandardPaths::findExecutable("chronyd", {"/usr/sbin", "/sbin"});
    if (chronyd.isEmpty())
        GTEST_SKIP() << "chronyd is not installed (scripts/setup installs chrony)";
    peer_test::application();
    fixtures::TempDir dir;
    // A free port on loopback for chrony to answer on.
    quint16 port = 0;
    {
        QUdpSocket probe;
        probe.bind(QHostAddress(QHostAddress::LocalHost), 0);
        port = probe.localPort();
    }
    const QString config = QString::fromStdString(dir.file("chrony.conf"));
    QFile file(config);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QStringLiteral("port %1\nbindaddress 127.0.0.1\nlocal stratum 8\n"
                              "allow 127.0.0.1\ncmdport 0\npidfile %2\ndriftfile %3\n")
                   .arg(port)
                   .arg(QString::fromStdString(dir.file("chronyd.pid")),
                        QString::fromStdString(dir.file("drift")))
                   .toUtf8());
    file.close();
    QProcess chrony;
    // -d: in the foreground; -x: never touch the system clock.
    chrony.start(chronyd, {"-d", "-x", "-f", config});
    ASSERT_TRUE(chrony.waitForStarted(10'000));
    const QString server = QStringLiteral("127.0.0.1:%1").arg(port);
    bool answered = false;
    for (int attempt = 0; attempt < 50 && !answered; ++attempt) {
        answered = std::holds_alternative<Sntp::Sample>(
            exchangeWith(server, std::chrono::milliseconds(200)).outcome);
    }
    ASSERT_TRUE(answered) << chrony.readAllStandardError().toStdString();

    const auto sample = exchangeWith(server, std::chrono::seconds(2));
    ASSERT_TRUE(std::holds_alternative<Sntp::Sample>(sample.outcome));
    const auto measured = std::get<Sntp::Sample>(sample.outcome);
    ::testing::Test::RecordProperty("offset_us", int(measured.offset * 1e6));
    ::testing::Test::RecordProperty("delay_us", int(measured.delay * 1e6));
    std::printf("chrony on loopback: offset %+.6f s, delay %.6f s\n", measured.offset,
                measured.delay);

    TestClock test({}, false);
    test.settings.setValue("clock.server", server);
    test.clock.reset();
    MasterClock::Options options;
    options.settings = &test.settings;
    MasterClock clock(options);
    QEventLoop synced;
    QObject::connect(&clock, &MasterClock::sourceChanged, &synced, &QEventLoop::quit);
    QTimer::singleShot(15'000, &synced, &QEventLoop::quit);
    clock.begin(Uuid::random());
    synced.exec();
    ASSERT_TRUE(clock.synced());
    EXPECT_LT(std::abs(clock.offset()), 0.005);
    chrony.terminate();
    chrony.waitForFinished(5'000);
}

} // namespace
} // namespace korvalume
