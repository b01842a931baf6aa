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
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTimer>

#include <gtest/gtest.h>

#include <chrono>
#include <deque>
#include <memory>

namespace korvalume {
namespace {

using namespace std::chrono_literals;
using testing::ScriptedTimeServer;
using Answer = ScriptedTimeServer::Answer;
using Source = MasterClock::Source;
using Sample = Sntp::Sample;

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
    EXPECT_EQ(Sntp::Server::parse(" 127.0.0.1:1123 "), (Sntp::Server{"127.0.0.1", 1123}));
    EXPECT_EQ(Sntp::Server::parse("::1"), (Sntp::Server{"::1", 123}));
    EXPECT_EQ(Sntp::Server::parse("[fe80::1]"), (Sntp::Server{"fe80::1", 123}));
    for (const char* refused :
         {"host:0", "host:70000", "", "[::1]1123", "[::1]:", "[]:123", ":123"})
        EXPECT_FALSE(Sntp::Server::parse(refused)) << refused;
    // What is shown parses back to the same server.
    for (const auto& server : {Sntp::Server{"::1", 1123}, Sntp::Server{"time.example.org", 123}})
        EXPECT_EQ(Sntp::Server::parse(server.text()), server);
}

// Samples that stay unanswered until the test answers them, in any order.
struct HeldSamples {
    std::deque<MasterClock::SampleDone> waiting;
    int asked = 0;

    MasterClock::Sampler sampler() {
        return [this](QObject*, MasterClock::SampleDone done) {
            ++asked;
            waiting.push_back(std::move(done));
        };
    }
    // Answers the sample waiting at `index`; its check may ask for the next one at once.
    void answer(std::size_t index, std::optional<Sample> sample) {
        auto done = std::move(waiting.at(index));
        waiting.erase(waiting.begin() + std::ptrdiff_t(index));
        done(sample);
    }
};

// Answers each sample from `script` in turn, then with no answer.
MasterClock::Sampler scripted(std::vector<std::optional<Sample>> script, int& asked) {
    return [script = std::move(script), &asked](QObject*, MasterClock::SampleDone done) {
        const auto next =
            std::size_t(asked) < script.size() ? script[std::size_t(asked)] : std::nullopt;
        ++asked;
        done(next);
    };
}

// A clock on its own settings file with a fixed wall clock and short timers.
struct Fixture {
    explicit Fixture(MasterClock::Sampler sampler, std::chrono::milliseconds retryAfter = 100ms,
                     std::chrono::milliseconds refreshEvery = 150ms)
        : settings(QString::fromStdString(dir.file("settings.ini")), QSettings::IniFormat) {
        peer_test::application();
        MasterClock::Options options;
        options.wallClock = [this] { return wall; };
        options.monotonic = [this] { return monotonic; };
        options.settings = &settings;
        options.sampler = std::move(sampler);
        options.retryAfter = retryAfter;
        options.refreshEvery = refreshEvery;
        clock = std::make_unique<MasterClock>(options);
    }

    fixtures::TempDir dir;
    QSettings settings;
    double wall = 1'700'000'000;
    double monotonic = 500;
    std::unique_ptr<MasterClock> clock;
};

TEST_F(ClockTest, TheSampleWithTheSmallestDelayIsTaken) {
    int asked = 0;
    Fixture test(scripted(
        {Sample{1.0, 0.040}, Sample{2.0, 0.012}, std::nullopt, Sample{3.0, 0.012}}, asked));
    test.clock->begin(Uuid::random());
    EXPECT_EQ(asked, 4);
    EXPECT_EQ(test.clock->offset(), 2.0);
    EXPECT_EQ(test.clock->source(), Source::server);
    EXPECT_TRUE(test.clock->synced());
    EXPECT_EQ(test.clock->now(), test.wall + 2.0);
}

TEST_F(ClockTest, ADeadServerLeavesTheClockAsItWasWithOneRetryOnly) {
    int asked = 0;
    Fixture test(scripted({}, asked));
    test.clock->begin(Uuid::random());
    EXPECT_EQ(asked, 4);
    // One retry after the delay on a first try, and nothing more: the timer leaves a
    // clock on its own time alone.
    ASSERT_TRUE(QTest::qWaitFor([&] { return asked == 8; }, 5'000));
    QTest::qWait(500);
    EXPECT_EQ(asked, 8);
    EXPECT_EQ(test.clock->source(), Source::device);
    EXPECT_EQ(test.clock->offset(), 0.0);
}

QString text(const Uuid& id) {
    return QString::fromStdString(id.string());
}

TEST_F(ClockTest, ResultsArrivingAfterTheSessionOrSourceChangedAreDropped) {
    HeldSamples held;
    Fixture test(held.sampler(), 10s, 60s);

    // The check begun for session A ends after B has begun; only B's check counts.
    test.clock->begin(Uuid::random());
    test.clock->begin(Uuid::random());
    ASSERT_EQ(held.waiting.size(), 2u); // A's first sample, then B's
    held.answer(0, Sample{7.0, 0.001});
    for (int i = 0; i < 3; ++i)
        held.answer(1, Sample{7.0, 0.001}); // A's next ones queue behind B's first
    EXPECT_EQ(test.clock->source(), Source::device);
    EXPECT_EQ(test.clock->offset(), 0.0);
    for (int i = 0; i < 4; ++i)
        held.answer(0, Sample{2.0, 0.01});
    EXPECT_EQ(test.clock->source(), Source::server);
    EXPECT_EQ(test.clock->offset(), 2.0);
    EXPECT_EQ(test.settings.value("clock.offset").toDouble(), 2.0);

    // A master correction made while a check is still under way wins over its result.
    test.clock->checkServer(false);
    held.answer(0, Sample{5.0, 0.001});
    test.clock->setFromMaster(0.25);
    while (!held.waiting.empty())
        held.answer(0, Sample{5.0, 0.001});
    EXPECT_EQ(test.clock->offset(), 2.25);
    EXPECT_EQ(test.clock->source(), Source::master);
    EXPECT_EQ(test.settings.value("clock.source").toString(), "master");
    EXPECT_EQ(test.settings.value("clock.setAt").toDouble(), test.wall + 2.25);
}

TEST_F(ClockTest, TheTimerMeasuresAgainOnlyWhileTheServerIsTheSource) {
    int asked = 0;
    double serverOffset = 1.0;
    Fixture test(
        [&](QObject*, MasterClock::SampleDone done) {
            ++asked;
            done(Sample{serverOffset, 0.01});
        },
        10s, 50ms);
    test.clock->begin(Uuid::random());
    ASSERT_EQ(test.clock->offset(), 1.0);

    serverOffset = 1.5;
    EXPECT_TRUE(QTest::qWaitFor([&] { return test.clock->offset() == 1.5; }, 5'000));
    EXPECT_EQ(asked % 4, 0); // whole checks only

    test.clock->setFromMaster(0.0);
    const int askedAtCorrection = asked;
    QTest::qWait(300); // several ticks
    EXPECT_EQ(asked, askedAtCorrection);
    EXPECT_EQ(test.clock->source(), Source::master);
}

TEST_F(ClockTest, StoredStateOfTheSameSession) {
    HeldSamples held;
    Fixture test(held.sampler(), 10s, 60s);
    const Uuid session = Uuid::random();

    // Values of the wrong kind fall back to a fresh clock, and a session that is not new
    // on its own device clock is not measured.
    test.settings.setValue("clock.session", text(session));
    test.settings.setValue("clock.offset", "ahead");
    test.settings.setValue("clock.source", "satellite");
    test.settings.setValue("clock.setAt", "yesterday");
    test.clock->begin(session);
    EXPECT_EQ(test.clock->offset(), 0.0);
    EXPECT_EQ(test.clock->source(), Source::device);
    EXPECT_FALSE(test.clock->setAt());
    EXPECT_EQ(held.asked, 0);

    // A stored server offset is restored and measured again; a failed check keeps it.
    test.settings.setValue("clock.offset", 0.5);
    test.settings.setValue("clock.source", "server");
    test.clock->begin(session);
    EXPECT_EQ(test.clock->offset(), 0.5);
    while (!held.waiting.empty())
        held.answer(0, std::nullopt);
    EXPECT_EQ(held.asked, 4);
    EXPECT_EQ(test.clock->offset(), 0.5);

    // A restarted desk keeps a master's correction and does not measure it again.
    test.clock->setFromMaster(0.25);
    MasterClock::Options options;
    options.settings = &test.settings;
    int asked = 0;
    options.sampler = scripted(std::vector<std::optional<Sample>>(8, Sample{9.0, 0.001}), asked);
    MasterClock restarted(options);
    restarted.begin(session);
    EXPECT_EQ(restarted.offset(), 0.75);
    EXPECT_EQ(restarted.source(), Source::master);
    EXPECT_EQ(asked, 0);

    // Another session resets and asks the server.
    restarted.begin(Uuid::random());
    EXPECT_EQ(asked, 4);
    EXPECT_EQ(restarted.offset(), 9.0);
    EXPECT_FALSE(test.settings.contains("clock.setAt"));
}

TEST_F(ClockTest, MasterTimeOfAMonotonicReading) {
    HeldSamples held;
    Fixture test(held.sampler());
    test.clock->setFromMaster(2.0);
    EXPECT_EQ(test.clock->now(), test.wall + 2.0);
    // A frame stamped a quarter second ago on the monotonic clock.
    EXPECT_DOUBLE_EQ(test.clock->time(test.monotonic - 0.25), test.wall + 2.0 - 0.25);
}

TEST_F(ClockTest, TheServerInTheSettingsIsTakenWhenItParses) {
    fixtures::TempDir dir;
    QSettings settings(QString::fromStdString(dir.file("settings.ini")), QSettings::IniFormat);
    settings.setValue("clock.server", "127.0.0.3");
    EXPECT_EQ(Sntp::configuredServer(settings), (Sntp::Server{"127.0.0.3", 123}));
    settings.setValue("clock.server", "127.0.0.3:http");
    EXPECT_NE(Sntp::configuredServer(settings).host, "127.0.0.3");
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

    // The default sampler asks the server named in the settings.
    QSettings settings(QString::fromStdString(dir.file("settings.ini")), QSettings::IniFormat);
    settings.setValue("clock.server", server);
    MasterClock::Options options;
    options.settings = &settings;
    MasterClock clock(options);
    QSignalSpy synced(&clock, &MasterClock::sourceChanged);
    clock.begin(Uuid::random());
    ASSERT_TRUE(synced.wait(15'000));
    ASSERT_TRUE(clock.synced());
    EXPECT_LT(std::abs(clock.offset()), 0.005);
    chrony.terminate();
    chrony.waitForFinished(5'000);
}

} // namespace
} // namespace korvalume
