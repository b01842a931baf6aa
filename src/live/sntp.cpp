#include "live/sntp.h"

#include <QPointer>
#include <QSettings>
#include <QTimer>
#include <QUdpSocket>

#include <chrono>
#include <memory>

namespace korvalume::sntp {

namespace {

// Seconds from 1900-01-01 (the NTP era) to 1970-01-01.
constexpr double ntpToUnix = 2208988800.0;

std::uint32_t bigEndian32(std::span<const std::uint8_t> bytes, std::size_t at) {
    return std::uint32_t(bytes[at]) << 24 | std::uint32_t(bytes[at + 1]) << 16 |
           std::uint32_t(bytes[at + 2]) << 8 | std::uint32_t(bytes[at + 3]);
}

double timestamp(std::span<const std::uint8_t> bytes, std::size_t at) {
    return double(bigEndian32(bytes, at)) - ntpToUnix +
           double(bigEndian32(bytes, at + 4)) * 2.3283064365386963e-10;
}

// Microseconds matter: on a local network the round trip is well under a millisecond.
double systemWallClock() {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

} // namespace

std::string_view describe(Failure failure) {
    switch (failure) {
    case Failure::timeout:
        return "timeout";
    case Failure::shortReply:
        return "short reply";
    case Failure::stratumZero:
        return "stratum 0";
    case Failure::unreachable:
        return "unreachable";
    }
    return "unreachable";
}

std::array<std::uint8_t, packetSize> request() {
    std::array<std::uint8_t, packetSize> packet{};
    packet[0] = 0x23;
    return packet;
}

Outcome readReply(std::span<const std::uint8_t> reply, double t1, double t4) {
    if (reply.size() < packetSize)
        return Failure::shortReply;
    if (reply[1] == 0)
        return Failure::stratumZero;
    const double t2 = timestamp(reply, 32);
    const double t3 = timestamp(reply, 40);
    return Sample{((t2 - t1) + (t3 - t4)) / 2, (t4 - t1) - (t3 - t2)};
}

std::optional<Sample> best(std::span<const std::optional<Sample>> samples) {
    std::optional<Sample> chosen;
    for (const auto& sample : samples) {
        if (sample && (!chosen || sample->delay < chosen->delay))
            chosen = sample;
    }
    return chosen;
}

std::optional<Server> Server::parse(const QString& text) {
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return std::nullopt;
    QString host = trimmed;
    QString port;
    if (trimmed.startsWith(u'[')) {
        // "[v6 address]" or "[v6 address]:port".
        const auto close = trimmed.indexOf(u']');
        if (close < 2)
            return std::nullopt;
        host = trimmed.mid(1, close - 1);
        const QString rest = trimmed.mid(close + 1);
        if (!rest.isEmpty() && !rest.startsWith(u':'))
            return std::nullopt;
        port = rest.mid(1);
        if (!rest.isEmpty() && port.isEmpty())
            return std::nullopt;
    } else if (const auto colon = trimmed.lastIndexOf(u':');
               colon >= 0 && trimmed.indexOf(u':') == colon) {
        // One colon separates the port; more than one is a bare v6 address.
        host = trimmed.left(colon);
        port = trimmed.mid(colon + 1);
        if (host.isEmpty())
            return std::nullopt;
    }
    if (port.isEmpty())
        return Server{host, defaultPort};
    bool ok = false;
    const uint number = port.toUInt(&ok);
    if (!ok || number == 0 || number > 65535)
        return std::nullopt;
    return Server{host, std::uint16_t(number)};
}

QString Server::text() const {
    const QString shown = host.contains(u':') ? u'[' + host + u']' : host;
    return shown + u':' + QString::number(port);
}

Server configuredServer(const QSettings& settings) {
    if (const auto set = Server::parse(settings.value("clock.server").toString()))
        return *set;
    if (const auto env = Server::parse(qEnvironmentVariable("KORVALUME_TIME_SERVER")))
        return *env;
    return Server{QString::fromLatin1(defaultHost.data(), qsizetype(defaultHost.size()))};
}

void exchange(const Server& server, const ExchangeOptions& options, QObject* context,
              std::function<void(const Outcome&)> done) {
    // The socket and the timer belong to one exchange object that goes once it has
    // answered; `finished` is the guard that lets only the first of the three outcomes through.
    struct Exchange : QObject {
        QUdpSocket socket;
        QTimer timer;
        bool finished = false;
        double t1 = 0;
    };
    // Owned by the context too, so that an exchange still under way goes with it.
    auto* run = new Exchange;
    run->setParent(context);
    QPointer<QObject> owner(context);
    const auto wallClock = options.wallClock ? options.wallClock : systemWallClock;
    const auto finish = [run, owner, done = std::move(done)](const Outcome& outcome) {
        if (run->finished)
            return;
        run->finished = true;
        run->timer.stop();
        run->socket.abort();
        run->deleteLater();
        if (owner)
            done(outcome);
    };
    run->timer.setSingleShot(true);
    run->timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&run->timer, &QTimer::timeout, run, [finish] { finish(Failure::timeout); });
    QObject::connect(&run->socket, &QUdpSocket::errorOccurred, run,
                     [finish](QAbstractSocket::SocketError error) {
                         // "Try again" is no answer yet; the time limit still stands.
                         if (error != QAbstractSocket::TemporaryError)
                             finish(Failure::unreachable);
                     });
    QObject::connect(&run->socket, &QUdpSocket::connected, run, [run, wallClock] {
        const auto packet = request();
        run->t1 = wallClock();
        run->socket.write(reinterpret_cast<const char*>(packet.data()), qint64(packet.size()));
    });
    QObject::connect(&run->socket, &QUdpSocket::readyRead, run, [run, finish, wallClock] {
        // Read at once, without asking for the size first: that peek swallows the "port
        // unreachable" a closed port sends back, which a read reports as an error. Longer
        // replies (extension fields) are cut; only the first 48 bytes are read.
        std::array<char, 512> datagram{};
        const qint64 got = run->socket.readDatagram(datagram.data(), qint64(datagram.size()));
        if (got < 0)
            return; // reported through errorOccurred
        const double t4 = wallClock();
        finish(readReply({reinterpret_cast<const std::uint8_t*>(datagram.data()), std::size_t(got)},
                         run->t1, t4));
    });
    run->timer.start(options.timeout);
    run->socket.connectToHost(server.host, server.port);
}

} // namespace korvalume::sntp
