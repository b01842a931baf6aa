#include "app/single_instance.h"

#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QLocalSocket>

namespace korvalume {

namespace {
constexpr int connectTimeoutMs = 2000;
// A desk that is still starting up, or busy on a slow machine, answers late: once connected,
// the items are its, so the answer is worth waiting for.
constexpr int answerTimeoutMs = 30'000;
// Items travel as UTF-8 lines; a file name with a line break can't be handed over,
// which no file manager produces for a log it opens.
QByteArray encode(const QStringList& items) {
    return items.join('\n').toUtf8() + '\n';
}
} // namespace

SingleInstance::SingleInstance(QString serverName, QObject* parent)
    : QObject(parent), name_(std::move(serverName)) {}

QString SingleInstance::defaultServerName() {
    // The home folder tells users apart without asking the system for their name.
    const QByteArray home = QDir::homePath().toUtf8();
    return QStringLiteral("korvalume-desk-") +
           QString::fromLatin1(
               QCryptographicHash::hash(home, QCryptographicHash::Sha1).toHex().left(12));
}

std::optional<QString> SingleInstance::handOver(const QStringList& items) const {
    QLocalSocket socket;
    socket.connectToServer(name_);
    if (!socket.waitForConnected(connectTimeoutMs))
        return std::nullopt;
    socket.write(encode(items));
    if (!socket.waitForBytesWritten(connectTimeoutMs))
        return std::nullopt;
    // The running desk answers with one line once it has taken everything, then closes.
    QElapsedTimer waited;
    waited.start();
    while (!socket.canReadLine() && waited.elapsed() < answerTimeoutMs &&
           socket.waitForReadyRead(int(answerTimeoutMs - waited.elapsed()))) {
    }
    return QString::fromUtf8(socket.readLine()).trimmed();
}

bool SingleInstance::listen(std::function<QString(const QStringList&)> received) {
    received_ = std::move(received);
    server_.setSocketOptions(QLocalServer::UserAccessOption);
    if (!server_.listen(name_)) {
        // A desk that crashed leaves its socket file behind.
        QLocalServer::removeServer(name_);
        if (!server_.listen(name_))
            return false;
    }
    connect(&server_, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* socket = server_.nextPendingConnection()) {
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
                QStringList items;
                while (socket->canReadLine()) {
                    const QString line = QString::fromUtf8(socket->readLine()).trimmed();
                    if (!line.isEmpty())
                        items.append(line);
                }
                if (socket->bytesAvailable())
                    return; // the rest of a line is still on its way
                const QString answer = received_ ? received_(items) : QString();
                socket->write(answer.toUtf8() + '\n');
                socket->disconnectFromServer();
            });
        }
    });
    return true;
}

} // namespace korvalume
