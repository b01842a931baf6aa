#include "desk/live_services.h"

#include "live/master_clock.h"
#include "live/peer_link.h"

namespace korvalume {

MasterClockService::MasterClockService(MasterClock& clock, QObject* parent)
    : ClockService(parent), clock_(clock) {
    connect(&clock_, &MasterClock::offsetChanged, this, &ClockService::changed);
    connect(&clock_, &MasterClock::sourceChanged, this, &ClockService::changed);
}

MasterInstant MasterClockService::now() const {
    return clock_.now();
}

bool MasterClockService::synced() const {
    return clock_.synced();
}

void MasterClockService::begin(const Uuid& session) {
    clock_.begin(session);
}

PeerLinkService::PeerLinkService(PeerLink& link, QObject* parent)
    : LinkService(parent), link_(link) {
    connect(&link_, &PeerLink::connectedChanged, this, &LinkService::connectedChanged);
}

PeerLinkService::~PeerLinkService() {
    // The link outlives this service; it must not call back into a desk that is gone.
    attach({}, {});
}

void PeerLinkService::start(const Uuid& session) {
    link_.start(session);
}

void PeerLinkService::stop() {
    link_.stop();
}

void PeerLinkService::broadcast(const SessionDoc& doc) {
    link_.broadcast(doc);
}

QStringList PeerLinkService::connected() const {
    return link_.connected();
}

bool PeerLinkService::isSending() const {
    return link_.isSending();
}

void PeerLinkService::attach(Receive receive, Current current) {
    link_.setOnReceive(std::move(receive));
    if (!current) {
        link_.setCurrent({});
        return;
    }
    link_.setCurrent([current = std::move(current)]() -> std::optional<SessionDoc> {
        const SessionDoc* doc = current();
        return doc ? std::optional(*doc) : std::nullopt;
    });
}

} // namespace korvalume
