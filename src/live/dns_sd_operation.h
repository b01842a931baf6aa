#pragma once

#include <dns_sd.h>

#include <QSocketNotifier>
#include <QString>

#include <memory>

namespace korvalume {

class DnsSdDiscovery;

// One DNS-SD operation (a registration, browse, resolve or record query): owns its
// DNSServiceRef and watches the reference's socket on the Qt event loop, handing each
// readable event to DNSServiceProcessResult.
class DnsServiceOperation {
public:
    explicit DnsServiceOperation(QString peerName = {});
    ~DnsServiceOperation();
    DnsServiceOperation(const DnsServiceOperation&) = delete;
    DnsServiceOperation& operator=(const DnsServiceOperation&) = delete;

    // Where the DNSService* call stores the new reference, which this object then owns.
    DNSServiceRef* slot() { return &ref_; }
    // Starts watching the reference's socket: each readable event is one result.
    void watch();

    // The instance this operation looks up; empty for registration and browsing.
    const QString& peerName() const { return peerName_; }
    quint16 port = 0; // from the resolve, kept for the address query that follows
    DnsSdDiscovery* discovery = nullptr; // whom the replies go to (the C context)

private:
    DNSServiceRef ref_ = nullptr;
    QString peerName_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace korvalume
