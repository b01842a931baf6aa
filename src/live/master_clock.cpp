#include "live/master_clock.h"

#include "live/sntp.h"
#include "session/uuid.h"

#include <QCoreApplication>
#include <QMetaEnum>
#include <QSettings>
#include <QTimer>

#include <QPointer>

#include <cmath>

namespace korvalume {

namespace {

const char* sourceName(MasterClock::Source source) {
    return QMetaEnum::fromType<MasterClock::Source>().valueToKey(int(source));
}

std::optional<MasterClock::Source> parseSource(const QString& text) {
    bool ok = false;
    const int value =
        QMetaEnum::fromType<MasterClock::Source>().keyToValue(text.toLatin1().constData(), &ok);
    return ok ? std::optional(MasterClock::Source(value)) : std::nullopt;
}

std::optional<double> storedDouble(const QVariant& value) {
    if (!value.isValid())
        return std::nullopt;
    bool ok = false;
    const double number = value.toDouble(&ok);
    return ok && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

} // namespace

// One finished server check: the session it was started for and its samples.
struct MasterClock::Check {
    QString session;
    bool firstTry = false;
    std::vector<std::optional<Sample>> samples;
};

MasterClock::MasterClock(Options options, QObject* parent)
    : QObject(parent), options_(std::move(options)) {
    if (!options_.wallClock)
        options_.wallClock = [] {
            return std::chrono::duration<double>(
                       std::chrono::system_clock::now().time_since_epoch())
                .count();
        };
    if (!options_.monotonic) {
        options_.monotonic = [] {
            return std::chrono::duration<double>(
                       std::chrono::steady_clock::now().time_since_epoch())
                .count();
        };
    }
    if (!options_.settings)
        ownSettings_ = std::make_unique<QSettings>();
    if (!options_.sampler) {
        const auto timeout = options_.sampleTimeout;
        const auto wallClock = options_.wallClock;
        options_.sampler = [this, timeout, wallClock](QObject* context, SampleDone done) {
            sntp::exchange(sntp::configuredServer(settings()), {timeout, wallClock}, context,
                           [done = std::move(done)](const sntp::Outcome& outcome) {
                               const auto* sample = std::get_if<sntp::Sample>(&outcome);
                               done(sample ? std::optional(*sample) : std::nullopt);
                           });
        };
    }
}

MasterClock::MasterClock(QObject* parent) : MasterClock(Options{}, parent) {}

MasterClock::~MasterClock() = default;

MasterClock& MasterClock::shared() {
    // Owned by the application object, so that it goes with it.
    static MasterClock* clock = new MasterClock(QCoreApplication::instance());
    return *clock;
}

QSettings& MasterClock::settings() {
    return options_.settings ? *options_.settings : *ownSettings_;
}

MasterInstant MasterClock::now() const {
    return MasterInstant(options_.wallClock() + offset_);
}

MasterInstant MasterClock::time(double atHostTime) const {
    return MasterInstant(options_.wallClock() + offset_ - (options_.monotonic() - atHostTime));
}

void MasterClock::begin(const Uuid& session) {
    const QString id = QString::fromStdString(session.string());
    QSettings& stored = settings();
    const QString storedSession = stored.value("clock.session").toString();
    if (storedSession == id) {
        setOffset(storedDouble(stored.value("clock.offset")).value_or(0));
        setSource(parseSource(stored.value("clock.source").toString()).value_or(Source::device));
        const auto setAt = storedDouble(stored.value("clock.setAt"));
        setSetAt(setAt ? std::optional(MasterInstant(*setAt)) : std::nullopt);
    } else {
        setOffset(0);
        setSource(Source::device);
        setSetAt(std::nullopt);
    }
    const bool isNew = id != session_ && id != storedSession;
    session_ = id;
    save();
    if (isNew || source_ == Source::server)
        checkServer(isNew);
    if (!refresh_) {
        refresh_ = new QTimer(this);
        connect(refresh_, &QTimer::timeout, this, [this] {
            if (source_ == Source::server)
                checkServer(false);
        });
        refresh_->start(options_.refreshEvery);
    }
}

void MasterClock::setFromMaster(double correction) {
    setOffset(offset_ + correction);
    setSource(Source::master);
    setSetAt(now());
    save();
}

void MasterClock::checkServer(bool firstTry) {
    const QString session = session_;
    const QPointer<MasterClock> self(this);
    sntp::takeInTurn<std::optional<Sample>>(
        sntp::samplesPerCheck,
        [self](std::function<void(std::optional<Sample>)> next) {
            if (self)
                self->options_.sampler(self, std::move(next));
        },
        [self, session, firstTry](std::vector<std::optional<Sample>> samples) {
            if (self)
                self->apply(Check{session, firstTry, std::move(samples)});
        });
}

void MasterClock::apply(const Check& check) {
    if (check.session != session_ || source_ == Source::master)
        return;
    if (const auto best = sntp::best(check.samples)) {
        setOffset(best->offset);
        setSource(Source::server);
        save();
        return;
    }
    if (check.firstTry) {
        QTimer::singleShot(options_.retryAfter, this, [this] {
            if (source_ == Source::device)
                checkServer(false);
        });
    }
}

void MasterClock::save() {
    QSettings& stored = settings();
    stored.setValue("clock.session", session_);
    stored.setValue("clock.offset", offset_);
    stored.setValue("clock.source", QString::fromLatin1(sourceName(source_)));
    if (setAt_)
        stored.setValue("clock.setAt", setAt_->seconds);
    else
        stored.remove("clock.setAt");
}

void MasterClock::setOffset(double offset) {
    if (offset == offset_)
        return;
    offset_ = offset;
    emit offsetChanged();
}

void MasterClock::setSource(Source source) {
    if (source == source_)
        return;
    source_ = source;
    emit sourceChanged();
}

void MasterClock::setSetAt(std::optional<MasterInstant> setAt) {
    if (setAt == setAt_)
        return;
    setAt_ = setAt;
    emit setAtChanged();
}

} // namespace korvalume
