#pragma once

// A time server on loopback that answers as a test tells it: shifted, short, with
// stratum 0, late, or not at all.
#include <QHostAddress>
#include <QTimer>
#include <QUdpSocket>

#include <chrono>
#include <cmath>
#include <cstdint>

namespace korvalume::testing {

class ScriptedTimeServer {
public:
    enum class Answer { shifted, shortReply, stratumZero, silent };

    ScriptedTimeServer() {
        socket_.bind(QHostAddress(QHostAddress::LocalHost), 0);
        QObject::connect(&socket_, &QUdpSocket::readyRead, &socket_, [this] { answer(); });
    }

    QString address() const { return QStringLiteral("127.0.0.1:%1").arg(socket_.localPort()); }

    Answer mode = Answer::shifted;
    double shift = 0;                    // seconds the server's clock is ahead of ours
    std::chrono::milliseconds lateBy{0}; // how long the server takes to answer
    int requests = 0;

private:
    static double now() {
        return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch())
            .count();
    }

    // An NTP timestamp: seconds since 1900 and a binary fraction, big-endian.
    static void putTimestamp(QByteArray& packet, int at, double unixSeconds) {
        const double ntp = unixSeconds + 2208988800.0;
        const auto seconds = std::uint32_t(std::floor(ntp));
        const auto fraction = std::uint32_t((ntp - std::floor(ntp)) * 4294967296.0);
        for (int i = 0; i < 4; ++i) {
            packet[at + i] = char(seconds >> (24 - 8 * i));
            packet[at + 4 + i] = char(fraction >> (24 - 8 * i));
        }
    }

    void answer() {
        while (socket_.hasPendingDatagrams()) {
            QHostAddress from;
            quint16 port = 0;
            QByteArray request(int(socket_.pendingDatagramSize()), '\0');
            socket_.readDatagram(request.data(), request.size(), &from, &port);
            ++requests;
            if (mode == Answer::silent)
                continue;
            QByteArray reply(48, '\0');
            reply[0] = char(0x24); // version 4, server
            reply[1] = char(mode == Answer::stratumZero ? 0 : 2);
            const double serverTime = now() + shift;
            putTimestamp(reply, 32, serverTime);
            putTimestamp(reply, 40, serverTime);
            if (mode == Answer::shortReply)
                reply.chop(1);
            QTimer::singleShot(lateBy, &socket_, [this, reply, from, port] {
                socket_.writeDatagram(reply, from, port);
            });
        }
    }

    QUdpSocket socket_;
};

} // namespace korvalume::testing
