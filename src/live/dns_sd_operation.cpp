#include "live/dns_sd_operation.h"

namespace korvalume {

DnsServiceOperation::DnsServiceOperation(QString peerName) : peerName_(std::move(peerName)) {}

DnsServiceOperation::~DnsServiceOperation() {
    // The notifier goes first: it watches a socket that deallocating the reference closes.
    notifier_.reset();
    if (ref_) {
        DNSServiceRefDeallocate(ref_);
    }
}

void DnsServiceOperation::watch() {
    notifier_ = std::make_unique<QSocketNotifier>(DNSServiceRefSockFD(ref_), QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                     [this] { DNSServiceProcessResult(ref_); });
}

} // namespace korvalume
