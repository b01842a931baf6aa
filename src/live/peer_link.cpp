#include "live/peer_link.h"

#include "live/dns_sd_discovery.h"
#include "live/peer_frame_reader.h"
#include "live/peer_protocol.h"
#include "session/session_doc.h"
#include "session/session_file.h"
#include "session/uuid.h"

#include <QSslCipher>
#include <QSslConfiguration>
#include <QSslPreSharedKeyAuthenticator>
#include <QSslServer>
#include <QSslSocket>
#include <QTimer>

#include <algorithm>

namespace korvalume {

// One TCP+TLS connection to a peer, from the invitation until it closes. It is a QObject
// so that it can serve as the context of its socket's signal connections and be deleted
// later, outside the signal handlers that end it.
class PeerConnection : public QObject {
public:
    PeerConnection(QSslSocket* tlsSocket, QString name, QObject* parent)
        : QObject(parent), socket(tlsSocket), peerName(std::move(name)) {
        socket->setParent(this);
    }

    QSslSocket* socket;
    QString peerName; // the peer's display name; known once the handshake begins
    bool linked = false;
    FrameReader reader{peerprotocol::maxFrameLength};
    QTimer* invitationTimer = nullptr;
    QString target; // "address:port" invited, for messages before the socket knows it

    QString describe() const {
        const QString address = socket->peerAddress().isNull()
                                    ? target
                                    : socket->peerAddress().toString() + QLatin1Char(':') +
                                          QString::number(socket->peerPort());
        return peerName.isEmpty() ? address : QStringLiteral("%1 (%2)").arg(peerName, address);
    }
};

namespace {

constexpr const char* identityProperty = "korvalume.peerIdentity";
constexpr std::chrono::seconds reinviteDelay{2};
constexpr std::chrono::seconds closeDeadline{5};

QString cipherName() {
    return QString::fromLatin1(peerprotocol::cipher.data(),
                               static_cast<qsizetype>(peerprotocol::cipher.size()));
}

QSslConfiguration tlsConfiguration() {
    auto configuration = QSslConfiguration::defaultConfiguration();
    configuration.setProtocol(QSsl::TlsV1_2);
    configuration.setCiphers({QSslCipher(cipherName())});
    // Peers prove themselves by the key alone; there are no certificates to verify.
    configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
    configuration.setSslOption(QSsl::SslOptionDisableSessionTickets, true);
    return configuration;
}

// Deletes an object once control is back in the event loop: links end from inside their
// own sockets' signals.
template <class T> void discard(std::unique_ptr<T>& object, bool now) {
    if (!object) {
        return;
    }
    T* raw = object.release();
    if (now) {
        delete raw;
    } else {
        raw->deleteLater();
    }
}

// Closes a socket after what was written to it has gone out (a log broadcast just before
// stopping still arrives), then deletes it; a peer that does not take the bytes within
// a few seconds is cut off.
void closeGracefully(QSslSocket* socket) {
    socket->disconnect();
    socket->setParent(nullptr);
    QObject::connect(socket, &QAbstractSocket::disconnected, socket, &QObject::deleteLater);
    auto* deadline = new QTimer(socket);
    deadline->setSingleShot(true);
    QObject::connect(deadline, &QTimer::timeout, socket, [socket] {
        socket->abort();
        socket->deleteLater();
    });
    deadline->start(closeDeadline);
    socket->disconnectFromHost();
    if (socket->state() == QAbstractSocket::UnconnectedState) {
        socket->deleteLater();
    }
}

} // namespace

PeerLink::PeerLink(Options options, QObject* parent)
    : QObject(parent), options_(std::move(options)),
      peerName_(peerprotocol::peerDisplayName(options_.displayName, options_.deviceID)) {}

PeerLink::~PeerLink() {
    for (auto& connection : connections_) {
        connection->socket->disconnect(connection.get());
        discard(connection, true);
    }
    discard(discovery_, true);
    discard(server_, true);
}

void PeerLink::start(const Uuid& sessionID) {
    const QString text = QString::fromStdString(sessionID.string());
    if (sessionID_ == text) {
        return;
    }
    stop();
    sessionID_ = text;
    key_ = peerprotocol::preSharedKey(sessionID);

    // Qt loads its TLS backend at run time; without OpenSSL there is no link at all.
    if (!QSslSocket::supportsSsl() || QSslCipher(cipherName()).isNull()) {
        emit peerProblem({}, QStringLiteral("TLS with %1 is not available (TLS backend \"%2\")")
                                 .arg(cipherName(), QSslSocket::activeBackend()));
        return;
    }

    server_ = std::make_unique<QSslServer>();
    server_->setSslConfiguration(tlsConfiguration());
    server_->setHandshakeTimeout(static_cast<int>(options_.invitationTimeout.count()));
    connect(server_.get(), &QSslServer::preSharedKeyAuthenticationRequired, this,
            [this](QSslSocket* socket, QSslPreSharedKeyAuthenticator* authenticator) {
                // Whoever knows the session's key may link; the identity only names it.
                socket->setProperty(identityProperty, QString::fromUtf8(authenticator->identity()));
                authenticator->setPreSharedKey(key_);
            });
    connect(server_.get(), &QSslServer::errorOccurred, this,
            [this](QSslSocket* socket, QAbstractSocket::SocketError) {
                const QString who = socket->property(identityProperty).toString();
                emit peerProblem(who.isEmpty() ? socket->peerAddress().toString() : who,
                                 QStringLiteral("was not admitted: ") + socket->errorString());
            });
    connect(server_.get(), &QSslServer::pendingConnectionAvailable, this, &PeerLink::acceptPending);
    if (!server_->listen(options_.listenAddress, 0)) {
        emit peerProblem({}, QStringLiteral("cannot accept peers on %1: %2")
                                 .arg(options_.listenAddress.toString(), server_->errorString()));
        return;
    }

    if (options_.discovery == Discovery::dnsSd) {
        discovery_ = std::make_unique<DnsSdDiscovery>(
            peerName_, peerprotocol::sessionTag(sessionID), server_->serverPort());
        connect(discovery_.get(), &DnsSdDiscovery::peerFound, this, &PeerLink::connectTo);
        connect(discovery_.get(), &DnsSdDiscovery::problem, this,
                [this](const QString& what) { emit peerProblem({}, what); });
        discovery_->start();
    }
}

void PeerLink::stop() {
    if (sessionID_.isEmpty()) {
        return;
    }
    sessionID_.clear();
    key_.clear();
    discard(discovery_, false);
    if (server_) {
        server_->close();
        server_->disconnect(this);
        discard(server_, false);
    }
    for (auto& connection : connections_) {
        closeGracefully(connection->socket);
        discard(connection, false);
    }
    connections_.clear();
    updateConnected();
}

int PeerLink::broadcast(const SessionDoc& doc) {
    std::vector<PeerConnection*> peers;
    for (const auto& connection : connections_) {
        if (connection->linked) {
            peers.push_back(connection.get());
        }
    }
    if (peers.empty()) {
        return 0;
    }
    const auto encoded = sessionfile::encoded(doc);
    if (!encoded || encoded->size() > peerprotocol::maxFrameLength) {
        return 0;
    }
    const QByteArray frame = peerprotocol::encodeFrame(*encoded);
    for (auto* peer : peers) {
        peer->socket->write(frame);
    }
    return static_cast<int>(peers.size());
}

void PeerLink::setOnReceive(std::function<void(const SessionDoc&, const QString& from)> onReceive) {
    onReceive_ = std::move(onReceive);
}

void PeerLink::setCurrent(std::function<std::optional<SessionDoc>()> current) {
    current_ = std::move(current);
}

QStringList PeerLink::connected() const {
    return connected_;
}

quint16 PeerLink::listeningPort() const {
    return server_ && server_->isListening() ? server_->serverPort() : 0;
}

void PeerLink::connectTo(const QHostAddress& address, quint16 port,
                         const QString& peerDisplayName) {
    if (sessionID_.isEmpty() || !server_ ||
        !peerprotocol::peerInvites(peerName_, peerDisplayName)) {
        return;
    }
    const bool known = std::any_of(connections_.begin(), connections_.end(),
                                   [&](const auto& c) { return c->peerName == peerDisplayName; });
    if (known) {
        return;
    }

    auto* socket = new QSslSocket;
    socket->setSslConfiguration(tlsConfiguration());
    auto owned = std::make_unique<PeerConnection>(socket, peerDisplayName, nullptr);
    auto* connection = owned.get();
    connection->target = address.toString() + QLatin1Char(':') + QString::number(port);
    connections_.push_back(std::move(owned));

    connect(socket, &QSslSocket::preSharedKeyAuthenticationRequired, connection,
            [this](QSslPreSharedKeyAuthenticator* authenticator) {
                authenticator->setIdentity(peerName_.toUtf8());
                authenticator->setPreSharedKey(key_);
            });
    connect(socket, &QSslSocket::encrypted, connection, [this, connection] {
        connection->invitationTimer->stop();
        admit(connection);
    });
    connect(socket, &QSslSocket::errorOccurred, connection, [this, connection] {
        inviteAgainLater(connection->peerName);
        drop(connection, (connection->linked ? QStringLiteral("link broke: ")
                                             : QStringLiteral("could not be linked: ")) +
                             connection->socket->errorString());
    });
    connection->invitationTimer = new QTimer(connection);
    connection->invitationTimer->setSingleShot(true);
    connect(connection->invitationTimer, &QTimer::timeout, connection, [this, connection] {
        inviteAgainLater(connection->peerName);
        drop(connection,
             QStringLiteral("did not link within %1 ms").arg(options_.invitationTimeout.count()));
    });
    connection->invitationTimer->start(options_.invitationTimeout);
    socket->connectToHostEncrypted(address.toString(), port);
}

void PeerLink::inviteAgainLater(const QString& peerDisplayName) {
    // A peer that is still advertised is looked up and invited again; one that went away
    // is invited when discovery finds it again.
    if (discovery_) {
        QTimer::singleShot(reinviteDelay, discovery_.get(),
                           [discovery = discovery_.get(), peerDisplayName] {
                               discovery->lookUpAgain(peerDisplayName);
                           });
    }
}

void PeerLink::acceptPending() {
    while (server_ && server_->hasPendingConnections()) {
        auto* socket = qobject_cast<QSslSocket*>(server_->nextPendingConnection());
        if (!socket) {
            continue;
        }
        const QString identity = socket->property(identityProperty).toString();
        auto owned = std::make_unique<PeerConnection>(socket, identity, nullptr);
        auto* connection = owned.get();
        connections_.push_back(std::move(owned));
        connect(socket, &QSslSocket::errorOccurred, connection, [this, connection] {
            drop(connection, QStringLiteral("link broke: ") + connection->socket->errorString());
        });
        admit(connection);
    }
}

void PeerLink::admit(PeerConnection* connection) {
    // A peer that links again (it restarted, or its old link is stale) replaces its old link.
    for (auto& other : connections_) {
        if (other.get() != connection && other->peerName == connection->peerName) {
            drop(other.get(), {});
            break;
        }
    }
    connection->linked = true;
    connect(connection->socket, &QSslSocket::readyRead, connection, [this, connection] {
        connection->reader.append(connection->socket->readAll());
        while (auto payload = connection->reader.next()) {
            deliver(*payload, connection->peerName);
            // The receiver may have stopped the link or dropped this peer.
            const bool alive = std::any_of(connections_.begin(), connections_.end(),
                                           [&](const auto& c) { return c.get() == connection; });
            if (!alive) {
                return;
            }
        }
        if (connection->reader.oversized()) {
            drop(connection, QStringLiteral("sent a frame of %1 bytes, above the limit of %2")
                                 .arg(*connection->reader.oversizedLength())
                                 .arg(peerprotocol::maxFrameLength));
        }
    });
    connect(connection->socket, &QSslSocket::disconnected, connection, [this, connection] {
        inviteAgainLater(connection->peerName);
        drop(connection, QStringLiteral("disconnected"));
    });
    sendCurrent(connection);
    updateConnected();
    // Bytes that came with the end of the handshake are waiting already.
    if (connection->socket->bytesAvailable() > 0) {
        QMetaObject::invokeMethod(connection->socket, "readyRead", Qt::QueuedConnection);
    }
}

void PeerLink::drop(PeerConnection* connection, const QString& why) {
    const auto found = std::find_if(connections_.begin(), connections_.end(),
                                    [&](const auto& c) { return c.get() == connection; });
    if (found == connections_.end()) {
        return;
    }
    const QString who = connection->describe();
    const bool wasLinked = connection->linked;
    connection->socket->disconnect(connection);
    connection->socket->abort();
    discard(*found, false);
    connections_.erase(found);
    if (!why.isEmpty()) {
        emit peerProblem(who, why);
    }
    if (wasLinked) {
        updateConnected();
    }
}

void PeerLink::deliver(std::string_view log, const QString& peerName) {
    auto doc = sessionfile::decode(log);
    // Anything that is not a session log is dropped without a word; the link stays.
    if (!doc || !onReceive_) {
        return;
    }
    onReceive_(*doc, peerprotocol::connectedName(peerName));
}

bool PeerLink::isSending() const {
    return std::any_of(connections_.begin(), connections_.end(), [](const auto& connection) {
        return connection->linked && (connection->socket->bytesToWrite() > 0 ||
                                      connection->socket->encryptedBytesToWrite() > 0);
    });
}

void PeerLink::sendCurrent(PeerConnection* connection) {
    if (!current_) {
        return;
    }
    const auto doc = current_();
    if (!doc) {
        return;
    }
    const auto encoded = sessionfile::encoded(*doc);
    if (encoded && encoded->size() <= peerprotocol::maxFrameLength) {
        connection->socket->write(peerprotocol::encodeFrame(*encoded));
    }
}

void PeerLink::updateConnected() {
    QStringList names;
    for (const auto& connection : connections_) {
        if (connection->linked) {
            names.append(peerprotocol::connectedName(connection->peerName));
        }
    }
    names.sort();
    if (names != connected_) {
        connected_ = names;
        emit connectedChanged();
    }
}

} // namespace korvalume
