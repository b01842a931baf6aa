#include "desk/preview_services.h"

#include <QDateTime>

namespace korvalume {

PreviewClock::PreviewClock(bool synced, std::optional<MasterInstant> fixed, QObject* parent)
    : ClockService(parent), synced_(synced), fixed_(fixed) {}

MasterInstant PreviewClock::now() const {
    if (fixed_)
        return *fixed_;
    return MasterInstant(double(QDateTime::currentMSecsSinceEpoch()) / 1000.0);
}

PreviewLink::PreviewLink(QStringList peers, QObject* parent)
    : LinkService(parent), peers_(std::move(peers)) {}

std::unique_ptr<AwakeHold> QuietSystem::keepAwake(const QString&) {
    return std::make_unique<AwakeHold>();
}

} // namespace korvalume
