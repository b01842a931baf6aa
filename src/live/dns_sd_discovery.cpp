#include "live/dns_sd_discovery.h"

#include "live/dns_sd_operation.h"
#include "live/peer_protocol.h"

#include <QtEndian>

#include <algorithm>
#include <cstring>

namespace korvalume {
namespace {

constexpr quint16 recordTypeA = 1;     // kDNSServiceType_A
constexpr quint16 recordTypeAAAA = 28; // kDNSServiceType_AAAA
constexpr quint16 recordClassIN = 1;   // kDNSServiceClass_IN

const QByteArray& serviceType() {
    static const QByteArray type(peerprotocol::serviceType.data(),
                                 static_cast<qsizetype>(peerprotocol::serviceType.size()));
    return type;
}

void DNSSD_API registered(DNSServiceRef, DNSServiceFlags, DNSServiceErrorType error,
                          const char* name, const char*, const char*, void* context) {
    if (error != kDNSServiceErr_NoError) {
        emit static_cast<DnsSdDiscovery*>(context)->problem(
            QStringLiteral("DNS-SD could not advertise %1 (error %2)")
                .arg(QString::fromUtf8(name ? name : ""))
                .arg(error));
    }
}

void DNSSD_API browsed(DNSServiceRef, DNSServiceFlags flags, uint32_t interfaceIndex,
                       DNSServiceErrorType error, const char* name, const char* type,
                       const char* domain, void* context) {
    static_cast<DnsSdDiscovery*>(context)->onBrowse(flags, interfaceIndex, name, type, domain,
                                                    error);
}

void DNSSD_API resolved(DNSServiceRef, DNSServiceFlags, uint32_t interfaceIndex,
                        DNSServiceErrorType error, const char*, const char* host, uint16_t port,
                        uint16_t txtLength, const unsigned char* txt, void* context) {
    auto* operation = static_cast<DnsServiceOperation*>(context);
    operation->discovery->onResolve(operation, interfaceIndex, host, qFromBigEndian(port), txt,
                                    txtLength, error);
}

void DNSSD_API answered(DNSServiceRef, DNSServiceFlags flags, uint32_t interfaceIndex,
                        DNSServiceErrorType error, const char*, uint16_t rrtype, uint16_t,
                        uint16_t length, const void* data, uint32_t, void* context) {
    if (error == kDNSServiceErr_NoError && !(flags & kDNSServiceFlagsAdd)) {
        return; // a record going away
    }
    auto* operation = static_cast<DnsServiceOperation*>(context);
    operation->discovery->onAddress(operation, interfaceIndex, rrtype, data, length, error);
}

} // namespace

DnsSdDiscovery::DnsSdDiscovery(QString instanceName, QString sessionTag, quint16 port,
                               QObject* parent)
    : QObject(parent), instanceName_(std::move(instanceName)), tag_(sessionTag.toUtf8()),
      port_(port) {}

DnsSdDiscovery::~DnsSdDiscovery() = default;

void DnsSdDiscovery::start() {
    // Avahi's compatibility library warns on stderr at every call unless told not to; the
    // warning is meant for programs ported by accident, not for us.
    if (!qEnvironmentVariableIsSet("AVAHI_COMPAT_NOWARN")) {
        qputenv("AVAHI_COMPAT_NOWARN", "1");
    }
    // TXT: one length-prefixed entry "s=<tag>".
    const QByteArray entry = QByteArray(peerprotocol::tagKey.data(),
                                        static_cast<qsizetype>(peerprotocol::tagKey.size())) +
                             '=' + tag_;
    QByteArray txt;
    txt.append(static_cast<char>(entry.size()));
    txt.append(entry);

    registration_ = std::make_unique<DnsServiceOperation>();
    const QByteArray name = instanceName_.toUtf8();
    auto error =
        DNSServiceRegister(registration_->slot(), 0, kDNSServiceInterfaceIndexAny, name.constData(),
                           serviceType().constData(), nullptr, nullptr, qToBigEndian(port_),
                           static_cast<uint16_t>(txt.size()), txt.constData(), registered, this);
    if (error != kDNSServiceErr_NoError) {
        registration_.reset();
        emit problem(QStringLiteral("DNS-SD cannot advertise %1 (error %2); is the mDNS "
                                    "daemon running?")
                         .arg(instanceName_)
                         .arg(error));
        return;
    }
    registration_->watch();

    browser_ = std::make_unique<DnsServiceOperation>();
    error = DNSServiceBrowse(browser_->slot(), 0, kDNSServiceInterfaceIndexAny,
                             serviceType().constData(), nullptr, browsed, this);
    if (error != kDNSServiceErr_NoError) {
        browser_.reset();
        emit problem(QStringLiteral("DNS-SD cannot browse for peers (error %1)").arg(error));
        return;
    }
    browser_->watch();
}

void DnsSdDiscovery::onBrowse(unsigned flags, unsigned interfaceIndex, const char* name,
                              const char* type, const char* domain, int error) {
    if (error != kDNSServiceErr_NoError) {
        emit problem(QStringLiteral("DNS-SD browsing failed (error %1)").arg(error));
        return;
    }
    const QString peerName = QString::fromUtf8(name);
    if (!(flags & kDNSServiceFlagsAdd)) {
        // Gone: its lookups still under way end; finding it again starts afresh.
        browsed_.erase(peerName);
        for (auto& lookup : lookups_) {
            if (lookup->peerName() == peerName) {
                finish(lookup.get());
            }
        }
        return;
    }
    if (peerName == instanceName_) {
        return;
    }
    browsed_[peerName] = Browsed{interfaceIndex, QByteArray(type), QByteArray(domain)};
    resolve(peerName);
}

void DnsSdDiscovery::lookUpAgain(const QString& peerName) {
    const bool underWay = std::any_of(lookups_.begin(), lookups_.end(), [&](const auto& lookup) {
        return lookup->peerName() == peerName && !isFinished(lookup.get());
    });
    if (!underWay) {
        resolve(peerName);
    }
}

void DnsSdDiscovery::resolve(const QString& peerName) {
    const auto found = browsed_.find(peerName);
    if (found == browsed_.end()) {
        return;
    }
    const Browsed& where = found->second;
    auto operation = std::make_unique<DnsServiceOperation>(peerName);
    operation->discovery = this;
    const auto result = DNSServiceResolve(operation->slot(), 0, where.interfaceIndex,
                                          peerName.toUtf8().constData(), where.type.constData(),
                                          where.domain.constData(), resolved, operation.get());
    if (result != kDNSServiceErr_NoError) {
        emit problem(
            QStringLiteral("DNS-SD cannot resolve %1 (error %2)").arg(peerName).arg(result));
        return;
    }
    add(std::move(operation));
}

void DnsSdDiscovery::onResolve(DnsServiceOperation* operation, unsigned interfaceIndex,
                               const char* host, quint16 port, const unsigned char* txt,
                               quint16 txtLength, int error) {
    if (isFinished(operation)) {
        return;
    }
    finish(operation); // one answer is enough
    if (error != kDNSServiceErr_NoError) {
        emit problem(QStringLiteral("DNS-SD could not resolve %1 (error %2)")
                         .arg(operation->peerName())
                         .arg(error));
        return;
    }
    quint8 tagLength = 0;
    const void* tag = TXTRecordGetValuePtr(txtLength, txt, peerprotocol::tagKey.data(), &tagLength);
    // Only peers of this session: another tag, or none, is not ours to invite.
    if (!tag || QByteArray(static_cast<const char*>(tag), tagLength) != tag_) {
        return;
    }
    for (const quint16 rrtype : {recordTypeA, recordTypeAAAA}) {
        auto query = std::make_unique<DnsServiceOperation>(operation->peerName());
        query->discovery = this;
        query->port = port;
        const auto result = DNSServiceQueryRecord(query->slot(), 0, interfaceIndex, host, rrtype,
                                                  recordClassIN, answered, query.get());
        if (result == kDNSServiceErr_NoError) {
            add(std::move(query));
        }
    }
}

void DnsSdDiscovery::onAddress(DnsServiceOperation* operation, unsigned interfaceIndex,
                               quint16 rrtype, const void* data, quint16 length, int error) {
    if (isFinished(operation)) {
        return;
    }
    if (error != kDNSServiceErr_NoError) {
        finish(operation);
        return;
    }
    QHostAddress address;
    if (rrtype == recordTypeA && length == 4) {
        quint32 ipv4 = 0;
        std::memcpy(&ipv4, data, 4);
        address.setAddress(qFromBigEndian(ipv4));
    } else if (rrtype == recordTypeAAAA && length == 16) {
        Q_IPV6ADDR ipv6;
        std::memcpy(ipv6.c, data, 16);
        address.setAddress(ipv6);
        if (address.isLinkLocal()) {
            address.setScopeId(QString::number(interfaceIndex));
        }
    } else {
        return;
    }
    // The peer's other address query, if still running, is not needed any more.
    for (auto& lookup : lookups_) {
        if (lookup->peerName() == operation->peerName()) {
            finish(lookup.get());
        }
    }
    emit peerFound(address, operation->port, operation->peerName());
}

DnsServiceOperation* DnsSdDiscovery::add(std::unique_ptr<DnsServiceOperation> operation) {
    operation->watch();
    lookups_.push_back(std::move(operation));
    return lookups_.back().get();
}

void DnsSdDiscovery::finish(DnsServiceOperation* operation) {
    // Deallocated later, back in the event loop: a reply must not free its own reference.
    if (isFinished(operation)) {
        return;
    }
    if (finished_.empty()) {
        QMetaObject::invokeMethod(this, &DnsSdDiscovery::sweep, Qt::QueuedConnection);
    }
    finished_.push_back(operation);
}

bool DnsSdDiscovery::isFinished(const DnsServiceOperation* operation) const {
    return std::find(finished_.begin(), finished_.end(), operation) != finished_.end();
}

void DnsSdDiscovery::sweep() {
    if (finished_.empty()) {
        return;
    }
    std::erase_if(lookups_, [this](const auto& lookup) {
        return std::find(finished_.begin(), finished_.end(), lookup.get()) != finished_.end();
    });
    finished_.clear();
}

} // namespace korvalume
