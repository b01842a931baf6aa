#pragma once

#include <QHostAddress>
#include <QObject>
#include <QString>

#include <map>
#include <memory>
#include <vector>

namespace korvalume {

class DnsServiceOperation;

// Advertises this link as "_korvalume._tcp" with the session tag in TXT "s", browses for
// others, and reports each instance whose tag matches, resolved to an address and port.
// Runs on the Qt event loop: every DNS-SD reference's socket is watched by a notifier.
class DnsSdDiscovery : public QObject {
    Q_OBJECT

public:
    DnsSdDiscovery(QString instanceName, QString sessionTag, quint16 port,
                   QObject* parent = nullptr);
    ~DnsSdDiscovery() override;

    // Registers and browses. Failures are reported through problem().
    void start();
    // Resolves a browsed instance afresh (after a failed invitation); nothing when the
    // instance is no longer advertised.
    void lookUpAgain(const QString& peerName);

    // Callbacks from the C API (public so that the static trampolines reach them).
    void onBrowse(unsigned flags, unsigned interfaceIndex, const char* name, const char* type,
                  const char* domain, int error);
    void onResolve(DnsServiceOperation* operation, unsigned interfaceIndex, const char* host,
                   quint16 port, const unsigned char* txt, quint16 txtLength, int error);
    void onAddress(DnsServiceOperation* operation, unsigned interfaceIndex, quint16 rrtype,
                   const void* data, quint16 length, int error);

signals:
    void peerFound(const QHostAddress& address, quint16 port, const QString& peerDisplayName);
    void problem(const QString& what);

private:
    DnsServiceOperation* add(std::unique_ptr<DnsServiceOperation> operation);
    void finish(DnsServiceOperation* operation);
    bool isFinished(const DnsServiceOperation* operation) const;
    void sweep();

    void resolve(const QString& peerName);

    struct Browsed {
        unsigned interfaceIndex;
        QByteArray type;
        QByteArray domain;
    };

    QString instanceName_;
    std::map<QString, Browsed> browsed_; // instances currently advertised
    QByteArray tag_;
    quint16 port_;
    std::unique_ptr<DnsServiceOperation> registration_;
    std::unique_ptr<DnsServiceOperation> browser_;
    // Resolves and address queries under way, each for one found instance.
    std::vector<std::unique_ptr<DnsServiceOperation>> lookups_;
    std::vector<DnsServiceOperation*> finished_;
};

} // namespace korvalume
