#pragma once

// What the command-line tests share: the in-process runner, exit-code tables and a small shoot.

#include "cli/command.h"
#include "support/shoot_builder.h"

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
struct SmallShoot : testing::ShootLog {
    static constexpr double day0 = 1'714'521'600; // 2024-05-01 00:00 UTC
    fixtures::TempDir dir;
    std::string cardA = dir.file("A"), cardB = dir.file("B");
    std::string log;

    SmallShoot() : ShootLog("Quay Shoot", FrameRate::pal(), day0 + 35'000) {
        const Uuid a = camera("CAM A"), b = camera("CAM B");
        camera("SOUND A", Camera::Kind::recorder);
        scan(a, day0 + 36'000, "10:00:00:00");
        recording(b, day0 + 37'000, day0 + 37'002);
        log = write(dir.file("shoot.korvalume"));
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
