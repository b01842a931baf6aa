// The master clock's rules where timing matters: results that arrive after the session or
// the source changed, the refresh timer, the stored state, and the real UDP sampler.
#include "live/master_clock.h"
#include "live/sntp.h"
#include "peer_test_support.h"
#include "scripted_time_server.h"
#include "session/uuid.h"
#include "support/media_fixtures.h"

#include <QSettings>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <deque>
#include <memory>

namespace korvalume {
namespace {

using namespace std::chrono_literals;
using Source = MasterClock::Source;
using Sample = Sntp::Sample;

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

// A clock on its own settings file with a fixed wall clock and short timers.
struct Fixture {
    explicit Fixture(MasterClock::Sampler sampler, std::chrono::milliseconds retryAfter = 10s,
                     std::chrono::milliseconds refreshEvery = 60s)
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

QString text(const Uuid& id) {
    return QString::fromStdString(id.string());
}

TEST(MasterClock, ResultsArrivingAfterTheSessionOrSourceChangedAreDropped) {
    HeldSamples held;
    Fixture test(held.sampler());

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

TEST(MasterClock, TheTimerMeasuresAgainOnlyWhileTheServerIsTheSource) {
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

TEST(MasterClock, StoredStateOfTheSameSession) {
    HeldSamples held;
    Fixture test(held.sampler());
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
    EXPECT_FALSE(test.settings.contains("clock.setAt"));
    EXPECT_EQ(held.asked, 0);

    // A stored server offset is restored and measured again; a failed check keeps it.
    test.settings.setValue("clock.offset", 0.5);
    test.settings.setValue("clock.source", "server");
    test.clock->begin(session);
    EXPECT_EQ(test.clock->offset(), 0.5);
    EXPECT_EQ(held.asked, 1);
    while (!held.waiting.empty())
        held.answer(0, std::nullopt);
    EXPECT_EQ(held.asked, 4);
    EXPECT_EQ(test.clock->offset(), 0.5);
    EXPECT_TRUE(test.clock->synced());

    // The clock's own session is not new even when the stored one is another's: it is
    // reset, but not measured.
    test.settings.setValue("clock.session", text(Uuid::random()));
    test.clock->begin(session);
    EXPECT_EQ(test.clock->source(), Source::device);
    EXPECT_EQ(test.clock->offset(), 0.0);
    EXPECT_EQ(held.asked, 4);
    EXPECT_EQ(test.settings.value("clock.session").toString(), text(session));
}

TEST(MasterClock, MasterTimeOfAMonotonicReading) {
    HeldSamples held;
    Fixture test(held.sampler());
    test.clock->setFromMaster(2.0);
    EXPECT_EQ(test.clock->now(), test.wall + 2.0);
    // A frame stamped a quarter second ago on the monotonic clock.
    EXPECT_DOUBLE_EQ(test.clock->time(test.monotonic - 0.25), test.wall + 2.0 - 0.25);

    // By default the monotonic clock is steady_clock in seconds.
    MasterClock::Options options;
    options.settings = &test.settings;
    options.sampler = held.sampler();
    MasterClock real(options);
    const double host =
        std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
    EXPECT_NEAR(real.time(host), real.now(), 0.05);
}

// Sets an environment variable for one scope.
struct ScopedEnv {
    ScopedEnv(const char* variable, const char* value) : name(variable) {
        if (const char* old = std::getenv(name))
            previous = old;
        qputenv(name, value);
    }
    ~ScopedEnv() {
        if (previous)
            qputenv(name, previous->c_str());
        else
            qunsetenv(name);
    }
    const char* name;
    std::optional<std::string> previous;
};

TEST(MasterClock, TheServerComesFromTheSettingsThenTheEnvironment) {
    fixtures::TempDir dir;
    QSettings settings(QString::fromStdString(dir.file("settings.ini")), QSettings::IniFormat);
    {
        ScopedEnv env("KORVALUME_TIME_SERVER", "127.0.0.2:1230");
        EXPECT_EQ(Sntp::configuredServer(settings), (Sntp::Server{"127.0.0.2", 1230}));
        settings.setValue("clock.server", "127.0.0.3");
        EXPECT_EQ(Sntp::configuredServer(settings), (Sntp::Server{"127.0.0.3", 123}));
        // A setting that does not parse is passed over.
        settings.setValue("clock.server", "127.0.0.3:http");
        EXPECT_EQ(Sntp::configuredServer(settings), (Sntp::Server{"127.0.0.2", 1230}));
    }
    ScopedEnv env("KORVALUME_TIME_SERVER", "");
    settings.remove("clock.server");
    EXPECT_FALSE(Sntp::configuredServer(settings).host.isEmpty());
    EXPECT_EQ(Sntp::configuredServer(settings).port, 123);
}

// The default sampler: real exchanges with the server named in the settings.
TEST(MasterClock, TheConfiguredServerIsAskedOverUdp) {
    peer_test::application();
    testing::ScriptedTimeServer server;
    server.shift = 3.25;
    fixtures::TempDir dir;
    QSettings settings(QString::fromStdString(dir.file("settings.ini")), QSettings::IniFormat);
    settings.setValue("clock.server", server.address());
    MasterClock::Options options;
    options.settings = &settings;
    options.sampleTimeout = 100ms;
    options.retryAfter = 200ms;
    options.refreshEvery = 60s;
    {
        MasterClock clock(options);
        clock.begin(Uuid::random());
        // Blocking in the event loop, not polling with sleeps: the server runs on this
        // thread, and a late read would skew the offset.
        QSignalSpy synced(&clock, &MasterClock::sourceChanged);
        ASSERT_TRUE(synced.wait(5'000));
        ASSERT_TRUE(clock.synced());
        EXPECT_NEAR(clock.offset(), 3.25, 0.005);
        EXPECT_EQ(server.requests, 4);
    }

    // A silent server: four samples, one retry of four, then nothing more, and the
    // clock keeps its own time.
    server.mode = testing::ScriptedTimeServer::Answer::silent;
    server.requests = 0;
    options.refreshEvery = 150ms;
    MasterClock clock(options);
    clock.begin(Uuid::random());
    ASSERT_TRUE(QTest::qWaitFor([&] { return server.requests == 8; }, 5'000));
    QTest::qWait(800);
    EXPECT_EQ(server.requests, 8);
    EXPECT_EQ(clock.source(), Source::device);
    EXPECT_EQ(clock.offset(), 0.0);
}

} // namespace
} // namespace korvalume
