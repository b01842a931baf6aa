// korvalume clock: one check against the time server, as the master clock makes it.
#include "cli/command.h"
#include "cli/options.h"
#include "live/sntp.h"

#include <QEventLoop>
#include <QSettings>
#include <QString>

#include <nlohmann/json.hpp>

#include <cstdio>
#include <ostream>
#include <vector>

namespace korvalume::cli {
namespace {

constexpr std::string_view clockHelp =
    R"(Usage: korvalume clock [--server HOST[:PORT]] [--json]

Checks the time server the way the desk's master clock does when a live session
starts: four SNTP samples, one after another, each given 2 seconds. Prints each
sample's offset and round-trip delay, or why it gave nothing (timeout, short
reply, stratum 0, unreachable), then the offset the clock would take: that of
the sample with the smallest delay. Run it before the shoot to check that this
laptop reaches the time server.

The server is --server, else the setting "clock.server", else the environment
variable KORVALUME_TIME_SERVER, else pool.ntp.org; the port is 123 unless given.

Options:
  --server HOST[:PORT]  the time server to ask
  --json                print {"server": "HOST:PORT", "samples": [{"offset": s,
                        "delay": s} or {"error": "..."}], "offset": s or null}

Examples:
  korvalume clock
  korvalume clock --server time.example.org:123 --json

Exit codes: 0 at least one sample, 1 none, 2 usage error.
)";

std::string seconds(double value, bool sign) {
    char text[40];
    std::snprintf(text, sizeof text, sign ? "%+.6f" : "%.6f", value);
    return text;
}

// Four samples one after another, as the clock takes them.
std::vector<sntp::Outcome> checkServer(const sntp::Server& server) {
    std::vector<sntp::Outcome> outcomes;
    QEventLoop loop;
    QObject context;
    sntp::takeInTurn<sntp::Outcome>(
        sntp::samplesPerCheck,
        [&](std::function<void(sntp::Outcome)> next) {
            sntp::exchange(
                server, {}, &context,
                [next = std::move(next)](const sntp::Outcome& outcome) { next(outcome); });
        },
        [&](std::vector<sntp::Outcome> all) {
            outcomes = std::move(all);
            loop.quit();
        });
    loop.exec();
    return outcomes;
}

void printJson(const std::string& where, const std::vector<sntp::Outcome>& outcomes,
               const std::optional<sntp::Sample>& best, std::ostream& out) {
    auto list = nlohmann::ordered_json::array();
    for (const auto& outcome : outcomes) {
        if (const auto* sample = std::get_if<sntp::Sample>(&outcome))
            list.push_back({{"offset", sample->offset}, {"delay", sample->delay}});
        else
            list.push_back({{"error", sntp::describe(std::get<sntp::Failure>(outcome))}});
    }
    const nlohmann::ordered_json document{
        {"server", where},
        {"samples", std::move(list)},
        {"offset", best ? nlohmann::ordered_json(best->offset) : nlohmann::ordered_json()}};
    // The host is whatever was typed or configured; bytes that are not UTF-8 are replaced.
    out << document.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
}

void printText(const std::string& where, const std::vector<sntp::Outcome>& outcomes,
               const std::optional<sntp::Sample>& best, std::ostream& out) {
    out << "Time server: " << where << '\n';
    for (std::size_t i = 0; i < outcomes.size(); ++i) {
        out << "  sample " << i + 1 << ": ";
        if (const auto* sample = std::get_if<sntp::Sample>(&outcomes[i]))
            out << "offset " << seconds(sample->offset, true) << " s, delay "
                << seconds(sample->delay, false) << " s\n";
        else
            out << sntp::describe(std::get<sntp::Failure>(outcomes[i])) << '\n';
    }
    if (best)
        out << "The clock would take an offset of " << seconds(best->offset, true) << " s.\n";
    else
        out << "No sample: the clock would keep its own time.\n";
}

int runClock(std::span<const std::string> args, Io& io) {
    const auto parsed = parseArgs(args, {{{"server"}, "a host name"}, {{"json"}}}, "clock", io.err);
    if (!parsed)
        return Usage;
    if (!parsed->positional().empty()) {
        io.err << "korvalume clock: unknown argument '" << parsed->positional().front() << "'\n";
        return Usage;
    }
    std::optional<sntp::Server> server = sntp::configuredServer(QSettings());
    if (const auto text = parsed->value("server")) {
        server = sntp::Server::parse(QString::fromStdString(*text));
        if (!server) {
            io.err << "korvalume clock: --server takes HOST[:PORT], not '" << *text << "'\n";
            return Usage;
        }
    }
    const std::vector<sntp::Outcome> outcomes = checkServer(*server);
    std::vector<std::optional<sntp::Sample>> samples;
    for (const auto& outcome : outcomes) {
        const auto* sample = std::get_if<sntp::Sample>(&outcome);
        samples.push_back(sample ? std::optional(*sample) : std::nullopt);
    }
    const auto best = sntp::best(samples);
    if (parsed->isSet("json"))
        printJson(server->text().toStdString(), outcomes, best, io.out);
    else
        printText(server->text().toStdString(), outcomes, best, io.out);
    return best ? Done : InputProblem;
}

} // namespace

Command clockCommand() {
    return {
        .name = "clock",
        .summary = "check the time server as the master clock does",
        .help = clockHelp,
        .run = runClock,
    };
}

} // namespace korvalume::cli
