#include "cli/live_desk.h"

#include "desk/live_services.h"
#include "live/master_clock.h"
#include "live/peer_link.h"
#include "platform/platform.h"
#include "platform/qr_modules.h"
#include "platform/system_services.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QSocketNotifier>
#include <QTimer>

#include <cmath>
#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace korvalume::cli {

namespace {

// Signals reach the event loop through a socket pair: a handler may only write a byte.
int signalPipe[2] = {-1, -1};

void onSignal(int) {
    const char byte = 1;
    [[maybe_unused]] const auto written = ::write(signalPipe[1], &byte, 1);
}

} // namespace

LiveDesk::LiveDesk(const LiveDeskOptions& options) : loop_(std::make_unique<QEventLoop>()) {
    // The settings keep the operator only when asked to; otherwise the name is this run's.
    if (options.operatorName && options.saveOperator)
        platform::setOperatorName(*options.operatorName);
    PeerLink::Options linkOptions;
    linkOptions.displayName =
        platform::displayNameFor(options.operatorName.value_or(platform::operatorName()));
    linkOptions.deviceID = platform::deviceID();
    link_ = std::make_unique<PeerLink>(linkOptions);
    system_ = makeSystemServices();
    clock_ = std::make_unique<MasterClockService>(MasterClock::shared());
    peers_ = std::make_unique<PeerLinkService>(*link_);
    DeskServices services;
    services.clock = clock_.get();
    services.link = peers_.get();
    services.system = system_.get();
    services.deviceID = platform::deviceID();
    services.sessionsFolder = options.sessionsFolder.isEmpty() ? DeskModel::defaultSessionsFolder()
                                                               : options.sessionsFolder;
    model_ = std::make_unique<DeskModel>(services);
}

LiveDesk::~LiveDesk() {
    // The model lets go of the link before the link goes.
    model_.reset();
    peers_.reset();
}

void LiveDesk::run(std::optional<std::chrono::milliseconds> limit) {
    if (signalPipe[0] < 0 && ::socketpair(AF_UNIX, SOCK_STREAM, 0, signalPipe) != 0)
        signalPipe[0] = signalPipe[1] = -1;
    std::unique_ptr<QSocketNotifier> notifier;
    if (signalPipe[0] >= 0) {
        notifier = std::make_unique<QSocketNotifier>(signalPipe[0], QSocketNotifier::Read);
        QObject::connect(notifier.get(), &QSocketNotifier::activated, loop_.get(), [this] {
            char byte = 0;
            [[maybe_unused]] const auto got = ::read(signalPipe[0], &byte, 1);
            stop();
        });
        std::signal(SIGINT, onSignal);
        std::signal(SIGTERM, onSignal);
    }
    QTimer deadline;
    if (limit) {
        deadline.setSingleShot(true);
        QObject::connect(&deadline, &QTimer::timeout, loop_.get(), [this] { stop(); });
        deadline.start(*limit);
    }
    loop_->exec();
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
}

void LiveDesk::stop() {
    loop_->quit();
}

void LiveDesk::flush(std::chrono::milliseconds limit) {
    QDeadlineTimer deadline(limit);
    while (link_->isSending() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
}

namespace {

// A positive number of seconds.
std::optional<std::chrono::milliseconds> parseSeconds(const std::string& text) {
    bool ok = false;
    const double seconds = QString::fromStdString(text).toDouble(&ok);
    // A day is far beyond any use and keeps the milliseconds well inside an int.
    if (!ok || !std::isfinite(seconds) || seconds <= 0 || seconds > 86'400)
        return std::nullopt;
    return std::chrono::milliseconds(std::llround(seconds * 1000));
}

} // namespace

bool readLiveOptions(const ParsedArgs& parsed, std::string_view command, LiveDeskOptions& options,
                     Io& io) {
    if (const auto folder = parsed.value("sessions-dir"))
        options.sessionsFolder = QString::fromStdString(*folder);
    if (const auto name = parsed.value("operator"))
        options.operatorName = QString::fromStdString(*name);
    options.saveOperator = parsed.isSet("save-operator");
    if (options.saveOperator && !options.operatorName) {
        io.err << "korvalume " << command << ": --save-operator needs --operator NAME\n";
        return false;
    }
    if (const auto seconds = parsed.value("for")) {
        options.limit = parseSeconds(*seconds);
        if (!options.limit) {
            io.err << "korvalume " << command << ": --for takes a number of seconds, not '"
                   << *seconds << "'\n";
            return false;
        }
    }
    return true;
}

std::string terminalQr(const QString& text) {
    const auto qr = QrModules::encode(text);
    if (!qr)
        return {};
    const int from = -qrQuietZone;
    const int to = qr->size + qrQuietZone;
    std::string out;
    // Light modules are drawn, so the code reads as dark on light in any terminal theme.
    for (int y = from; y < to; y += 2) {
        for (int x = from; x < to; ++x) {
            const bool top = !qr->isDark(x, y);
            const bool bottom = y + 1 < to && !qr->isDark(x, y + 1);
            out += top && bottom ? "\u2588" : top ? "\u2580" : bottom ? "\u2584" : " ";
        }
        out += '\n';
    }
    return out;
}

} // namespace korvalume::cli
