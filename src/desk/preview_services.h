#pragma once

// moc cannot read the standard library's C++20 headers; it needs only the names.
#ifndef Q_MOC_RUN
#include "desk/desk_services.h"
#include "platform/system_services.h"
#include <optional>
#endif

namespace korvalume {

// A clock that never asks a time server: the machine's own, or one fixed instant.
class PreviewClock : public ClockService {
    Q_OBJECT

public:
    explicit PreviewClock(bool synced = false, std::optional<MasterInstant> fixed = std::nullopt,
                          QObject* parent = nullptr);

    MasterInstant now() const override;
    bool synced() const override { return synced_; }
    void begin(const Uuid&) override {}

private:
    bool synced_;
    std::optional<MasterInstant> fixed_;
};

// A link that sends nothing and shows the peers it is given as linked.
class PreviewLink : public LinkService {
    Q_OBJECT

public:
    explicit PreviewLink(QStringList peers = {}, QObject* parent = nullptr);

    void start(const Uuid&) override {}
    void stop() override {}
    void broadcast(const SessionDoc&) override {}
    QStringList connected() const override { return peers_; }
    bool isSending() const override { return false; }
    void attach(Receive, Current) override {}

private:
    QStringList peers_;
};

// System services that do nothing: a preview keeps nothing awake and shows no file.
class QuietSystem : public SystemServices {
public:
    void notify(const QString&, const QString&) override {}
    void allowNotifications() override {}
    void buzz(Feedback) override {}
    std::unique_ptr<AwakeHold> keepAwake(const QString&) override;
    void showInFileBrowser(const QString&) override {}
};

// Everything a preview desk needs, in one place. It saves nothing on its own.
struct PreviewServices {
    PreviewClock clock;
    PreviewLink link;
    QuietSystem system;
    QString deviceID;

    PreviewServices(QStringList peers, bool clockSynced, QString thisDevice)
        : clock(clockSynced), link(std::move(peers)), deviceID(std::move(thisDevice)) {}
    DeskServices services() { return {&clock, &link, &system, deviceID, {}}; }
};

} // namespace korvalume
