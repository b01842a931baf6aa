#pragma once

// What the command-line tests share: the in-process runner, exit-code tables and a small shoot.

#include "cli/command.h"
#include "session/session_doc.h"
#include "session/session_file.h"
#include "support/media_fixtures.h"

#include <QFile>
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

namespace korvalume::testing_cli {

struct CommandRun {
    int code;
    std::string out;
    std::string err;
};

// Runs `korvalume ARGS...` in process, as the tool's main does.
inline CommandRun runKorvalume(const std::vector<std::string>& args, bool errIsTerminal = false) {
    std::ostringstream out, err;
    cli::Io io{out, err, errIsTerminal};
    const int code = cli::runCommandLine(args, io);
    return {code, out.str(), err.str()};
}

// A command line, the exit code it must end with and what its stderr must hold.
struct ExpectedExit {
    std::vector<std::string> args;
    int code;
    std::string err;
};
inline void expectExits(const std::vector<ExpectedExit>& cases) {
    for (const auto& [args, code, err] : cases) {
        const auto result = runKorvalume(args);
        EXPECT_EQ(result.code, code) << err;
        EXPECT_NE(result.err.find(err), std::string::npos) << result.err;
    }
}

// The file's bytes; empty when it cannot be read.
inline std::string readText(const std::string& path) {
    QFile file(QString::fromStdString(path));
    return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : std::string();
}

// A session in UTC at 25 fps: CAM A's timecode was scanned at 10:00:00:00, CAM B
// logged one recording that reached no card, SOUND A has no card.
struct SmallShoot {
    static constexpr double day0 = 1'714'521'600; // 2024-05-01 00:00 UTC
    fixtures::TempDir dir;
    SessionDoc doc;
    std::string log = dir.file("shoot.korvalume");
    std::string cardA = dir.file("A"), cardB = dir.file("B");

    SmallShoot() {
        doc.id = Uuid::random();
        doc.name = "Quay Shoot";
        doc.fps = FrameRate::pal();
        doc.startedAt = day0 + 35'000;
        doc.zone = 0;
        for (const char* name : {"CAM A", "CAM B", "SOUND A"}) {
            doc.cameras.emplace_back();
            doc.cameras.back().id = Uuid::random();
            doc.cameras.back().name = name;
        }
        using enum SyncEvent::Kind;
        const Uuid a = doc.cameras[0].id, b = doc.cameras[1].id;
        doc.events = {{Uuid::random(), a, tcScan, day0 + 36'000, "10:00:00:00", {}},
                      {Uuid::random(), b, recStart, day0 + 37'000, {}, {}},
                      {Uuid::random(), b, recStop, day0 + 37'002, {}, {}}};
        fixtures::writeFile(log, *sessionfile::encoded(doc));
    }

    // CAM A's card: A001.mov (timecode 10:00:05:00) and A002.mov (none); CAM B's is empty.
    void makeCards() const {
        fixtures::MovieSpec movie;
        movie.timecode = "10:00:05:00";
        std::filesystem::copy_file(fixtures::cachedMovie(movie), dir.file("A/A001.mov"));
        movie.timecode = std::nullopt;
        std::filesystem::copy_file(fixtures::cachedMovie(movie), dir.file("A/A002.mov"));
        std::filesystem::create_directories(cardB);
    }
};

} // namespace korvalume::testing_cli
