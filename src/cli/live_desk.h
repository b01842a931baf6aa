#pragma once

// What `host` and `join` share: a desk model without a window, on this machine's clock,
// link and services, that runs until it is told to stop.
#include "cli/command.h"
#include "cli/options.h"
#include "desk/desk_model.h"

#include <QEventLoop>
#include <QString>

#include <chrono>
#include <memory>
#include <optional>

namespace korvalume {
class PeerLink;
class SystemServices;
} // namespace korvalume

namespace korvalume::cli {

struct LiveDeskOptions {
    std::optional<QString> operatorName;            // --operator: the operator's name for this run
    bool saveOperator = false;                      // --save-operator: and for the runs after it
    QString sessionsFolder;                         // where the log is saved automatically
    std::optional<std::chrono::milliseconds> limit; // --for: how long to run
};

// The options every live command takes: --sessions-dir, --operator, --save-operator, --for.
inline const OptionSpec liveOptions[] = {{{"sessions-dir"}, "a folder"},
                                         {{"operator"}, "a name"},
                                         {{"save-operator"}},
                                         {{"for"}, "a number of seconds"}};
// Takes them from what was parsed; false after saying what is wrong.
bool readLiveOptions(const ParsedArgs& parsed, std::string_view command, LiveDeskOptions& options,
                     Io& io);

class LiveDesk {
public:
    explicit LiveDesk(const LiveDeskOptions& options);
    ~LiveDesk();

    DeskModel& model() { return *model_; }
    PeerLink& link() { return *link_; }

    // Runs the event loop until Ctrl-C, SIGTERM, `limit` or stop().
    void run(std::optional<std::chrono::milliseconds> limit);
    void stop();
    // Gives sends in flight up to `limit` to leave.
    void flush(std::chrono::milliseconds limit);

private:
    std::unique_ptr<PeerLink> link_;
    std::unique_ptr<SystemServices> system_;
    std::unique_ptr<ClockService> clock_;
    std::unique_ptr<LinkService> peers_;
    std::unique_ptr<DeskModel> model_;
    std::unique_ptr<QEventLoop> loop_;
};

// The QR code of `text` drawn with UTF-8 half blocks, two modules rows per line, dark on
// the terminal's light or dark background alike (the light modules are drawn).
std::string terminalQr(const QString& text);

} // namespace korvalume::cli
