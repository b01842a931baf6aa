#pragma once

#include <QHostAddress>
#include <QObject>
#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

class QSslServer;

namespace korvalume {

// Only declared here: moc reads this header and stumbles over the standard library's
// C++20 headers.
struct SessionDoc;
struct Uuid;
class DnsSdDiscovery;
class PeerConnection;

// The encrypted link between the desk and the phones of one live session: peers of the
// same session find each other, the one whose name sorts first connects, and whole
// session logs travel both ways over TLS-PSK keyed by the session's id. docs/peer-link.md
// describes the protocol. Everything runs on the thread that owns the object.
class PeerLink : public QObject {
    Q_OBJECT
    Q_PROPERTY(QStringList connected READ connected NOTIFY connectedChanged)

public:
    enum class Discovery {
        dnsSd,  // advertise and browse "_korvalume._tcp" on the local network
        manual, // no discovery: peers are announced through connectTo (tests, loopback)
    };

    struct Options {
        QString displayName; // the device's display name, as people see it
        QString deviceID;    // the device identifier; its first 4 characters tag the name
        Discovery discovery = Discovery::dnsSd;
        // Where the link accepts peers; DNS-SD advertises its port on every interface.
        QHostAddress listenAddress = QHostAddress::Any;
        // Bounds the TCP connect plus the TLS handshake of one invitation.
        std::chrono::milliseconds invitationTimeout{20'000};
    };

    explicit PeerLink(Options options, QObject* parent = nullptr);
    ~PeerLink() override;

    // Joins the link for a session; the same session again keeps every connection.
    // Another session stops the link first.
    void start(const Uuid& sessionID);
    // Leaves the link: discovery ends, every connection closes, `connected` empties.
    void stop();
    bool isRunning() const { return !sessionID_.isEmpty(); }

    // Sends the log to every connected peer; nothing at all when none is connected.
    // Returns the number of peers it was sent to.
    int broadcast(const SessionDoc& doc);

    // Called with every log received and the sender's name as `connected` lists it
    // (undecodable data never reaches it).
    void setOnReceive(std::function<void(const SessionDoc&, const QString& from)> onReceive);
    // Asked for the log to send to a newly connected peer; nothing sent when it is empty.
    void setCurrent(std::function<std::optional<SessionDoc>()> current);

    // Some data handed to `broadcast` has not left this machine yet.
    bool isSending() const;

    // Connected peers' display names up to the first "#", sorted.
    QStringList connected() const;
    // This device's peer display name ("Studio Mac#1A2B"); the PSK identity it presents.
    QString peerName() const { return peerName_; }
    // The TCP port accepting peers while running; 0 when stopped.
    quint16 listeningPort() const;

    // A peer of this session was found at an address (discovery calls this; without
    // discovery the caller does). Only the side whose peer name sorts first connects
    // (peerprotocol::peerInvites); an already connected or pending peer is left alone, and a
    // stopped link ignores it.
    void connectTo(const QHostAddress& address, quint16 port, const QString& peerDisplayName);

signals:
    void connectedChanged();
    // A peer could not be linked or its link broke: `peer` names it (display name and/or
    // address; empty for the link's own trouble, such as DNS-SD being unavailable) and
    // `what` says what went wrong. Nothing here is for the user; it is for logs and tests.
    void peerProblem(const QString& peer, const QString& what);

private:
    void acceptPending();
    void inviteAgainLater(const QString& peerDisplayName);
    void admit(PeerConnection* connection);
    void drop(PeerConnection* connection, const QString& why);
    void deliver(std::string_view log, const QString& peerName);
    void sendCurrent(PeerConnection* connection);
    void updateConnected();

    Options options_;
    QString peerName_;
    QString sessionID_; // upper-case UUID text; empty when stopped
    QByteArray key_;
    std::function<void(const SessionDoc&, const QString&)> onReceive_;
    std::function<std::optional<SessionDoc>()> current_;
    std::unique_ptr<QSslServer> server_;
    std::unique_ptr<DnsSdDiscovery> discovery_;
    // Every connection, pending or linked, by the peer's display name once it is known.
    std::vector<std::unique_ptr<PeerConnection>> connections_;
    QStringList connected_;
};

} // namespace korvalume
