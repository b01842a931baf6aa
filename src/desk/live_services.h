#pragma once

// moc cannot read the standard library's C++20 headers; it needs only the names.
#ifndef Q_MOC_RUN
#include "desk/desk_services.h"
#endif

namespace korvalume {

class MasterClock;
class PeerLink;

// The real master clock behind the desk's clock service.
class MasterClockService : public ClockService {
    Q_OBJECT

public:
    explicit MasterClockService(MasterClock& clock, QObject* parent = nullptr);

    MasterInstant now() const override;
    bool synced() const override;
    void begin(const Uuid& session) override;

private:
    MasterClock& clock_;
};

// The real peer link behind the desk's link service.
class PeerLinkService : public LinkService {
    Q_OBJECT

public:
    explicit PeerLinkService(PeerLink& link, QObject* parent = nullptr);
    ~PeerLinkService() override;

    void start(const Uuid& session) override;
    void stop() override;
    void broadcast(const SessionDoc& doc) override;
    QStringList connected() const override;
    bool isSending() const override;
    void attach(Receive receive, Current current) override;

private:
    PeerLink& link_;
};

} // namespace korvalume
