#pragma once

#include <QString>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <variant>
#include <vector>

class QObject;
class QSettings;

// One SNTP exchange with a time server: what is sent, how the answer is read, and the
// exchange itself over UDP.
namespace korvalume::sntp {

inline constexpr std::size_t packetSize = 48;
// A check of the server takes this many samples, one after another.
inline constexpr std::size_t samplesPerCheck = 4;
inline constexpr std::uint16_t defaultPort = 123;
// Used only when neither the settings nor the environment name a server.
inline constexpr std::string_view defaultHost = "pool.ntp.org";

struct Sample {
    double offset = 0; // seconds to add to this machine's clock
    double delay = 0;  // round trip minus the server's own time
    friend bool operator==(const Sample&, const Sample&) = default;
};

// Why an exchange gave no sample.
enum class Failure { timeout, shortReply, stratumZero, unreachable };
std::string_view describe(Failure failure); // "timeout", "short reply", "stratum 0", "unreachable"

using Outcome = std::variant<Sample, Failure>;

// A client request: leap indicator 0, version 4, mode 3; everything else zero.
std::array<std::uint8_t, packetSize> request();

// Reads a reply that left at `t1` and arrived at `t4` (seconds since the Unix epoch).
Outcome readReply(std::span<const std::uint8_t> reply, double t1, double t4);

// Of several samples the one with the smallest delay, the earlier on a tie; nothing when
// none gave a sample.
std::optional<Sample> best(std::span<const std::optional<Sample>> samples);

// "host[:port]", port 123 when left out; a v6 address as "[addr]:port", or bare without one.
struct Server {
    QString host;
    std::uint16_t port = defaultPort;

    static std::optional<Server> parse(const QString& text);
    QString text() const; // "host:port", "[v6 address]:port"
    friend bool operator==(const Server&, const Server&) = default;
};

// The server to ask: the setting "clock.server", else $KORVALUME_TIME_SERVER, else the
// public pool. A value that does not parse is passed over.
Server configuredServer(const QSettings& settings);

struct ExchangeOptions {
    std::chrono::milliseconds timeout{2000};
    std::function<double()> wallClock; // seconds since the Unix epoch; the system's by default
};

// One exchange on the calling thread's event loop. `done` is called exactly once, with
// the sample or why there is none, whichever of answer, failure or timeout comes first;
// never when `context` is destroyed first.
void exchange(const Server& server, const ExchangeOptions& options, QObject* context,
              std::function<void(const Outcome&)> done);

namespace detail {
template <class Result> struct Turns {
    std::size_t count = 0;
    std::function<void(std::function<void(Result)>)> take;
    std::function<void(std::vector<Result>)> done;
    std::vector<Result> results;
};

// Each sample's callback holds the turns; once the last is in, nothing does.
template <class Result> void takeNext(const std::shared_ptr<Turns<Result>>& turns) {
    turns->take([turns](Result result) {
        turns->results.push_back(std::move(result));
        if (turns->results.size() < turns->count)
            takeNext(turns);
        else
            turns->done(std::move(turns->results));
    });
}
} // namespace detail

// Takes `count` samples strictly one after another: `take(next)` starts one and calls
// `next` with its result; `done` gets every result, in order, after the last. A sample
// whose `next` is never called ends the series quietly.
template <class Result>
void takeInTurn(std::size_t count, std::function<void(std::function<void(Result)>)> take,
                std::function<void(std::vector<Result>)> done) {
    auto turns = std::make_shared<detail::Turns<Result>>();
    turns->count = count;
    turns->take = std::move(take);
    turns->done = std::move(done);
    detail::takeNext(turns);
}

} // namespace korvalume::sntp
