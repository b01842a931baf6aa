#pragma once

// A time server on loopback that answers as a test tells it: shifted, short, with
// stratum 0, late, or not at all.
#include <QHostAddress>
#include <QNetworkDatagram>
#include <QTimer>
#include <QUdpSocket>

#include <chrono>
#include <cmath>
#include <cstdint>

namespace korvalume::testing {

class ScriptedTimeServer {
public:
    enum class Answer { shifted, shortReply, stratumZero, silent };

    // Needs the application, whose event loop delivers the requests.
    ScriptedTimeServer() {
        socket_.bind(QHostAddress(QHostAddress::LocalHost), 0);
        QObject::connect(&socket_, &QUdpSocket::readyRead, &socket_, [this] {
            while (socket_.hasPendingDatagrams())
                answer(socket_.receiveDatagram());
        });
    }

    QString address() const { return QStringLiteral("127.0.0.1:%1").arg(socket_.localPort()); }

    Answer mode = Answer::shifted;
    double shift = 0;                    // seconds the server's clock is ahead of ours
    std::chrono::milliseconds lateBy{0}; // how long the server takes to answer
    int requests = 0;

private:
    void answer(const QNetworkDatagram& request) {
        ++requests;
        if (mode == Answer::silent)
            return;
        QByteArray reply(48, '\0');
        reply[0] = char(0x24); // version 4, server
        reply[1] = char(mode == Answer::stratumZero ? 0 : 2);
        // Receive and transmit times: NTP seconds since 1900 and a binary fraction, big-endian.
        const double ntp =
            std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch())
                .count() +
            shift + 2208988800.0;
        const auto seconds = std::uint32_t(std::floor(ntp));
        const auto fraction = std::uint32_t((ntp - std::floor(ntp)) * 4294967296.0);
        for (int at : {32, 40})
            for (int i = 0; i < 4; ++i) {
                reply[at + i] = char(seconds >> (24 - 8 * i));
                reply[at + 4 + i] = char(fraction >> (24 - 8 * i));
            }
        if (mode == Answer::shortReply)
            reply.chop(1);
        QTimer::singleShot(lateBy, &socket_, [this, reply, request] {
            socket_.writeDatagram(reply, request.senderAddress(), quint16(request.senderPort()));
        });
    }

    QUdpSocket socket_;
};

} // namespace korvalume::testing
