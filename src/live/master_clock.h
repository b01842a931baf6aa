#pragma once

#include "live/sntp.h"
#include "time/master_instant.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariant>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class QSettings;
class QTimer;

namespace korvalume {

struct Uuid;

// The desk's master clock: this machine's wall clock plus an offset, measured against a
// time server or corrected by the session's master, and kept across restarts of the same
// session. Everything runs on the thread that owns it.
class MasterClock : public QObject {
    Q_OBJECT
    Q_PROPERTY(double offset READ offset NOTIFY offsetChanged)
    Q_PROPERTY(Source source READ source NOTIFY sourceChanged)
    Q_PROPERTY(QVariant setAt READ setAtValue NOTIFY setAtChanged)
    Q_PROPERTY(bool synced READ synced NOTIFY sourceChanged)

public:
    // Stored as the enumerator's name.
    enum class Source { device, server, master };
    Q_ENUM(Source)

    // One sample from the time server: an offset and a delay, or nothing.
    using Sample = sntp::Sample;
    using SampleDone = std::function<void(std::optional<Sample>)>;
    // Takes one sample and calls back exactly once, on this thread.
    using Sampler = std::function<void(QObject* context, SampleDone done)>;

    struct Options {
        // Seconds since the Unix epoch; the system clock when empty.
        std::function<double()> wallClock;
        // Seconds of a clock that never jumps; std::chrono::steady_clock when empty.
        std::function<double()> monotonic;
        // The SNTP exchange with the configured server when empty.
        Sampler sampler;
        // The application's default settings when null; otherwise kept by the caller.
        QSettings* settings = nullptr;
        std::chrono::milliseconds sampleTimeout{2000};
        std::chrono::milliseconds retryAfter{12'000};
        std::chrono::milliseconds refreshEvery{300'000};
    };

    explicit MasterClock(QObject* parent = nullptr);
    explicit MasterClock(Options options, QObject* parent = nullptr);
    ~MasterClock() override;

    // The application's one clock, made on first use with the default options; it lives
    // as long as the application object.
    static MasterClock& shared();

    double offset() const { return offset_; }
    Source source() const { return source_; }
    std::optional<MasterInstant> setAt() const { return setAt_; }
    QVariant setAtValue() const { return setAt_ ? QVariant(setAt_->seconds) : QVariant(); }
    bool synced() const { return source_ == Source::server; }
    QString session() const { return session_; }

    MasterInstant now() const;
    // Master time of a reading of the monotonic clock.
    MasterInstant time(double atHostTime) const;

    // A live session starts or resumes: restores that session's stored state, or starts
    // afresh and asks the server.
    void begin(const Uuid& session);
    // A correction from the session's master; the server never overrides it after this.
    void setFromMaster(double correction);
    // One measurement of four samples against the server.
    void checkServer(bool firstTry);

signals:
    void offsetChanged();
    void sourceChanged();
    void setAtChanged();

private:
    struct Check;
    void apply(const Check& check);
    void save();
    void setOffset(double offset);
    void setSource(Source source);
    void setSetAt(std::optional<MasterInstant> setAt);
    QSettings& settings();

    Options options_;
    std::unique_ptr<QSettings> ownSettings_;
    double offset_ = 0;
    Source source_ = Source::device;
    std::optional<MasterInstant> setAt_;
    QString session_;
    QTimer* refresh_ = nullptr;
};

} // namespace korvalume
