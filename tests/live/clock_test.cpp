// The master clock and its SNTP check, against a real chrony on loopback and a scripted
// server for what chrony cannot be made to do.
#include "live/master_clock.h"
#include "peer_test_support.h"
#include "scripted_time_server.h"
#include "support/media_fixtures.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QProcess>
#include <QSettings>
#include <QSignalSpy>
#include <QStandardPaths>

#include <gtest/gtest.h>

#include <deque>

namespace korvalume {
namespace {

using namespace std::chrono_literals;
using Answer = testing::ScriptedTimeServer::Answer;
using Failure = sntp::Failure;
using Outcome = sntp::Outcome;
using Sample = sntp::Sample;
using Source = MasterClock::Source;

// A port on loopback that nothing listens on once this returns.
quint16 freeUdpPort() {
    QUdpSocket probe;
    probe.bind(QHostAddress(QHostAddress::LocalHost), 0);
    return probe.localPort();
}

// One exchange with `server`: its outcome, how often it completed and how long it took.
struct Taken {
    Outcome outcome = Failure::timeout;
    int completions = 0;
    double seconds = 0;
};

Taken exchangeWith(const QString& server, std::chrono::milliseconds timeout,
                   std::chrono::milliseconds settle = 0ms) {
    peer_test::application();
    Taken taken;
    QObject context;
    QElapsedTimer clock;
    clock.start();
    sntp::exchange(*sntp::Server::parse(server), {timeout, {}}, &context, [&](const auto& outcome) {
        taken = {outcome, taken.completions + 1, double(clock.elapsed()) / 1000.0};
    });
    // Blocking on the event loop, not sleeping between polls: a reply must be read the
    // moment it comes, or its delay is measured long.
    QEventLoop loop;
    QTimer check;
    QObject::connect(&check, &QTimer::timeout, &loop, [&] {
        if (taken.completions > 0 || clock.elapsed() > 10'000)
            loop.quit();
    });
    check.start(1);
    loop.exec();
    EXPECT_GT(taken.completions, 0);
    QTest::qWait(int(settle.count()));
    return taken;
}

TEST(Clock, AShiftedReplyGivesItsOffsetAndBadRepliesGiveNone) {
    peer_test::application();
    testing::ScriptedTimeServer server;
    server.shift = 3.25;
    const auto shifted = exchangeWith(server.address(), 2s);
    ASSERT_TRUE(std::holds_alternative<Sample>(shifted.outcome));
    EXPECT_NEAR(std::get<Sample>(shifted.outcome).offset, 3.25, 0.005);
    EXPECT_LT(std::abs(std::get<Sample>(shifted.outcome).delay), 0.05);

    server.mode = Answer::shortReply;
    EXPECT_EQ(exchangeWith(server.address(), 2s).outcome, Outcome(Failure::shortReply));
    server.mode = Answer::stratumZero;
    EXPECT_EQ(exchangeWith(server.address(), 2s).outcome, Outcome(Failure::stratumZero));

    // Silence ends the sample at the two-second limit, not later.
    server.mode = Answer::silent;
    const auto silent = exchangeWith(server.address(), 2s);
    EXPECT_EQ(silent.outcome, Outcome(Failure::timeout));
    EXPECT_GE(silent.seconds, 1.95);
    EXPECT_LE(silent.seconds, 2.5);

    // A reply after the limit does not complete the sample a second time.
    server.mode = Answer::shifted;
    server.lateBy = 400ms;
    const auto late = exchangeWith(server.address(), 150ms, 600ms);
    EXPECT_EQ(late.completions, 1);
    EXPECT_EQ(late.outcome, Outcome(Failure::timeout));
}

TEST(Clock, AClosedPortIsReportedUnreachableNotTimedOut) {
    // A limit far beyond loopback's answer: a timeout here means the refusal was lost.
    const auto refused = exchangeWith(QStringLiteral("127.0.0.1:%1").arg(freeUdpPort()), 8s);
    EXPECT_EQ(refused.outcome, Outcome(Failure::unreachable));
    EXPECT_EQ(refused.completions, 1);
}

TEST(Clock, ServerAddresses) {
    EXPECT_EQ(sntp::Server::parse(" 127.0.0.1:1123 "), (sntp::Server{"127.0.0.1", 1123}));
    EXPECT_EQ(sntp::Server::parse("::1"), (sntp::Server{"::1", 123}));
    EXPECT_EQ(sntp::Server::parse("[fe80::1]"), (sntp::Server{"fe80::1", 123}));
    for (const char* refused :
         {"host:0", "host:70000", "", "[::1]1123", "[::1]:", "[]:123", ":123"})
        EXPECT_FALSE(sntp::Server::parse(refused)) << refused;
    // What is shown parses back to the same server.
    for (const auto& server : {sntp::Server{"::1", 1123}, sntp::Server{"time.example.org", 123}})
        EXPECT_EQ(sntp::Server::parse(server.text()), server);
}

// What the clock says: its offset and where it came from.
std::pair<double, Source> state(const MasterClock& clock) {
    return {clock.offset(), clock.source()};
}

// A clock on its own settings file with a fixed wall clock and short timers. Its samples
// are answered from `script`, then left waiting until the test answers them, in any order.
struct Fixture {
    explicit Fixture(std::vector<std::optional<Sample>> given,
                     std::chrono::milliseconds retryAfter = 100ms,
                     std::chrono::milliseconds refreshEvery = 150ms)
        : script(std::move(given)) {
        peer_test::application();
        clock = std::make_unique<MasterClock>(
            MasterClock::Options{.wallClock = [this] { return wall; },
                                 .monotonic = [this] { return monotonic; },
                                 .sampler = sampler,
                                 .settings = &settings,
                                 .retryAfter = retryAfter,
                                 .refreshEvery = refreshEvery});
    }
    // Answers the sample waiting at `index`; its check may ask for the next one at once.
    void answer(std::size_t index, std::optional<Sample> sample) {
        auto done = std::move(waiting.at(index));
        waiting.erase(waiting.begin() + std::ptrdiff_t(index));
        done(sample);
    }
    void answerAll(std::optional<Sample> sample) {
        while (!waiting.empty())
            answer(0, sample);
    }

    std::vector<std::optional<Sample>> script;
    std::deque<MasterClock::SampleDone> waiting;
    int asked = 0;
    MasterClock::Sampler sampler = [this](QObject*, MasterClock::SampleDone done) {
        if (const auto next = std::size_t(asked++); next < script.size())
            done(script[next]);
        else
            waiting.push_back(std::move(done));
    };
    fixtures::TempDir dir;
    QSettings settings{QString::fromStdString(dir.file("settings.ini")), QSettings::IniFormat};
    double wall = 1'700'000'000;
    double monotonic = 500;
    std::unique_ptr<MasterClock> clock;
};

TEST(Clock, TheSampleWithTheSmallestDelayIsTaken) {
    Fixture test({Sample{1.0, 0.040}, Sample{2.0, 0.012}, std::nullopt, Sample{3.0, 0.012}});
    test.clock->begin(Uuid::random());
    EXPECT_EQ(test.asked, 4);
    EXPECT_EQ(state(*test.clock), std::pair(2.0, Source::server));
    EXPECT_EQ(test.clock->now(), MasterInstant(test.wall + 2.0));
    // A frame stamped a quarter second ago on the monotonic clock.
    EXPECT_DOUBLE_EQ(test.clock->time(test.monotonic - 0.25).seconds, test.wall + 2.0 - 0.25);
}

TEST(Clock, ADeadServerLeavesTheClockAsItWasWithOneRetryOnly) {
    Fixture test(std::vector<std::optional<Sample>>(8)); // no answers; a ninth ask would wait
    test.clock->begin(Uuid::random());
    EXPECT_EQ(test.asked, 4);
    // One retry after the delay on a first try, and nothing more: the timer leaves a
    // clock on its own time alone.
    ASSERT_TRUE(QTest::qWaitFor([&] { return test.asked == 8; }, 5'000));
    QTest::qWait(500);
    EXPECT_EQ(test.asked, 8);
    EXPECT_EQ(state(*test.clock), std::pair(0.0, Source::device));
}

TEST(Clock, ResultsArrivingAfterTheSessionOrSourceChangedAreDropped) {
    Fixture test({}, 10s, 60s);

    // The check begun for session A ends after B has begun; only B's check counts.
    test.clock->begin(Uuid::random());
    test.clock->begin(Uuid::random());
    ASSERT_EQ(test.waiting.size(), 2u); // A's first sample, then B's
    test.answer(0, Sample{7.0, 0.001});
    for (int i = 0; i < 3; ++i)
        test.answer(1, Sample{7.0, 0.001}); // A's next ones queue behind B's first
    EXPECT_EQ(state(*test.clock), std::pair(0.0, Source::device));
    test.answerAll(Sample{2.0, 0.01});
    EXPECT_EQ(state(*test.clock), std::pair(2.0, Source::server));
    EXPECT_EQ(test.settings.value("clock.offset").toDouble(), 2.0);

    // A master correction made while a check is still under way wins over its result.
    test.clock->checkServer(false);
    test.answer(0, Sample{5.0, 0.001});
    test.clock->setFromMaster(0.25);
    test.answerAll(Sample{5.0, 0.001});
    EXPECT_EQ(state(*test.clock), std::pair(2.25, Source::master));
}

TEST(Clock, StoredStateOfTheSameSession) {
    Fixture test({}, 10s, 60s);
    const Uuid session = Uuid::random();

    // Values of the wrong kind fall back to a fresh clock, and a session that is not new
    // on its own device clock is not measured.
    test.settings.setValue("clock.session", QString::fromStdString(session.string()));
    test.settings.setValue("clock.offset", "ahead");
    test.settings.setValue("clock.source", "satellite");
    test.settings.setValue("clock.setAt", "yesterday");
    test.clock->begin(session);
    EXPECT_EQ(state(*test.clock), std::pair(0.0, Source::device));
    EXPECT_FALSE(test.clock->setAt());
    EXPECT_EQ(test.asked, 0);

    // A stored server offset is restored and measured again; a failed check keeps it.
    test.settings.setValue("clock.offset", 0.5);
    test.settings.setValue("clock.source", "server");
    test.clock->begin(session);
    EXPECT_EQ(test.clock->offset(), 0.5);
    test.answerAll(std::nullopt);
    EXPECT_EQ(test.asked, 4);
    EXPECT_EQ(test.clock->offset(), 0.5);

    // A restarted desk keeps a master's correction and does not measure it again.
    test.clock->setFromMaster(0.25);
    MasterClock restarted({.sampler = test.sampler, .settings = &test.settings});
    restarted.begin(session);
    EXPECT_EQ(state(restarted), std::pair(0.75, Source::master));
    EXPECT_EQ(restarted.setAt(), MasterInstant(test.wall + 0.75));
    EXPECT_TRUE(test.waiting.empty());

    // Another session resets and asks the server.
    restarted.begin(Uuid::random());
    test.answerAll(Sample{9.0, 0.001});
    EXPECT_EQ(test.asked, 8);
    EXPECT_EQ(restarted.offset(), 9.0);
    EXPECT_FALSE(test.settings.contains("clock.setAt"));
}

TEST(Clock, AgreesWithARealChronyOnLoopback) {
    const QString chronyd = QStandardPaths::findExecutable("chronyd", {"/usr/sbin", "/sbin"});
    if (chronyd.isEmpty())
        GTEST_SKIP() << "chronyd is not installed (scripts/setup installs chrony)";
    peer_test::application();
    fixtures::TempDir dir;
    const std::string port = std::to_string(freeUdpPort()); // for chrony to answer on
    fixtures::writeFile(dir.file("chrony.conf"),
                        "port " + port + "\nbindaddress 127.0.0.1\nlocal stratum 8\n" +
                            "allow 127.0.0.1\ncmdport 0\npidfile " + dir.file("chronyd.pid") +
                            "\ndriftfile " + dir.file("drift") + "\n");
    QProcess chrony;
    // -d: in the foreground; -x: never touch the system clock.
    chrony.start(chronyd, {"-d", "-x", "-f", QString::fromStdString(dir.file("chrony.conf"))});
    ASSERT_TRUE(chrony.waitForStarted(10'000));
    const QString server = QString::fromStdString("127.0.0.1:" + port);
    // chronyd takes a moment to listen; until then the port refuses at once.
    Taken sample;
    for (int attempt = 0; attempt < 50 && !std::holds_alternative<Sample>(sample.outcome);
         ++attempt) {
        QTest::qWait(attempt == 0 ? 0 : 200);
        sample = exchangeWith(server, 200ms);
    }
    ASSERT_TRUE(std::holds_alternative<Sample>(sample.outcome))
        << chrony.readAllStandardError().toStdString();
    std::printf("chrony on loopback: offset %+.6f s, delay %.6f s\n",
                std::get<Sample>(sample.outcome).offset, std::get<Sample>(sample.outcome).delay);

    // The default sampler asks the server named in the settings; chrony serves this
    // machine's own clock.
    QSettings settings(QString::fromStdString(dir.file("settings.ini")), QSettings::IniFormat);
    settings.setValue("clock.server", server);
    MasterClock clock({.settings = &settings});
    // A signal spy's wait runs the event loop: replies are read the moment they come.
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
