// The example shoot (examples/) run through the built korvalume tool as a user
// runs it: plan and export as separate processes on cards made by
// examples/make-cards. Where every clip must land is known from how the shoot
// was made, so each placement is checked to the frame.

#include "cli/cli_run.h"
#include "support/xmeml_reader.h"

#include <QProcess>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <map>
#include <set>

namespace {

using nlohmann::json;

// The shoot as it happened (examples/README.md).

// Wall-clock time on 2024-06-15 in the session's zone (UTC+01:00), as a master-clock instant.
constexpr double wallClock(int hours, int minutes, double seconds) {
    return 1'718'406'000 + hours * 3600 + minutes * 60 + seconds;
}

struct Clip {
    std::string_view camera, name;
    std::optional<double> start; // when it really started; absent when it cannot be placed
    std::string_view method, note = {};
};

// Per camera in the order the plan lists them: by recording date, then name.
const Clip shoot[] = {
    // Logged over Bluetooth until 10:03:00; the last take is placed by the
    // timecode learned from the two logged ones.
    {"CAM A", "C0001.MP4", wallClock(10, 0, 30.00), "LOGGED"},
    {"CAM A", "C0002.MP4", wallClock(10, 2, 0.00), "LOGGED"},
    {"CAM A", "C0003.MP4", std::nullopt, "NOT PLACED", "Slow & quick motion clip: place by hand."},
    {"CAM A", "C0004.MP4", wallClock(10, 4, 10.20), "TIMECODE + LOG"},
    // Every take logged; the one at 10:01:40 never reached the card.
    {"CAM B", "CLIP0001.MOV", wallClock(10, 0, 45.00), "LOGGED"},
    {"CAM B", "CLIP0002.MOV", wallClock(10, 2, 30.00), "LOGGED"},
    // Free-run timecode unrelated to the time of day, tied to it by two scans.
    {"CAM C", "CAMC_001.MXF", wallClock(10, 1, 5.00), "TIMECODE"},
    {"CAM C", "CAMC_002.MXF", wallClock(10, 2, 45.48), "TIMECODE"},
    {"CAM C", "CAMC_003.MXF", wallClock(10, 4, 30.00), "TIMECODE"},
    // Broadcast WAV time references, 1.2 s behind the clock, tied to it by one scan.
    {"SOUND A", "240615_001.WAV", wallClock(10, 0, 28.00), "TIMECODE"},
    {"SOUND A", "240615_002.WAV", wallClock(10, 4, 5.00), "TIMECODE"},
};

const std::map<std::string, std::vector<std::string>> warnings = {
    {"CAM A", {}},
    {"CAM B", {"1 logged recording(s) have no matching file."}},
    {"CAM C", {}},
    {"SOUND A", {}},
};

// The timeline at 25 fps starts at the session start (10:00:00), before every clip.
std::int64_t timelineFrame(double instant) {
    return std::llround((instant - wallClock(10, 0, 0)) * 25);
}

struct Outcome {
    int code = -1;
    std::string out, err;
};

Outcome run(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(180'000)) {
        process.kill();
        process.waitForFinished();
        return {-1, "", program.toStdString() + " did not start or did not finish"};
    }
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            process.readAllStandardOutput().toStdString(),
            process.readAllStandardError().toStdString()};
}

QString source(const char* relative) {
    return QStringLiteral(KORVALUME_SOURCE_DIR "/") + relative;
}

const QStringList logs = {source("examples/logs/harbour-walk-mia.korvalume"),
                          source("examples/logs/harbour-walk-jonas.korvalume")};

// `korvalume COMMAND` on both phones' logs and every card of `cards`, then `extra`.
Outcome korvalume(const QString& cards, const QString& command, const QStringList& extra) {
    QStringList arguments = QStringList{command} + logs;
    for (const auto& [camera, _] : warnings)
        arguments << "--folder"
                  << QString::fromStdString(camera) + "=" + cards + "/" +
                         QString::fromStdString(camera).replace(' ', '_');
    return run(QStringLiteral(KORVALUME_BINARY), arguments + extra);
}

TEST(ExampleShoot, EveryClipIsPlannedAndExportedWhereItWasShot) {
    const korvalume::fixtures::TempDir dir;
    const QString cards = QString::fromStdString(dir.file("cards"));
    const Outcome made = run(KORVALUME_PYTHON3, {source("examples/make-cards"), cards});
    ASSERT_EQ(made.code, 0) << "examples/make-cards failed: " << made.err;

    const Outcome plan = korvalume(cards, "plan", {"--json"});
    ASSERT_EQ(plan.code, 0) << plan.err;
    json cameras = json::parse(plan.out)["cameras"];
    std::size_t next = 0; // in the shoot
    for (json& camera : cameras) {
        const std::string name = camera.value("name", "");
        EXPECT_EQ(camera["warnings"], json(warnings.at(name))) << name;
        for (const json& got : camera["clips"]) {
            ASSERT_LT(next, std::size(shoot)) << "more clips than were shot: " << got;
            const Clip& want = shoot[next++];
            SCOPED_TRACE(want.name);
            EXPECT_EQ(name, want.camera);
            EXPECT_EQ(got.value("name", ""), want.name);
            EXPECT_EQ(got.value("method", ""), want.method);
            const double start = got.value("start", 0.0);
            if (want.start)
                EXPECT_EQ(timelineFrame(start), timelineFrame(*want.start))
                    << "placed " << start - *want.start << " s from where it was shot";
            else
                EXPECT_EQ(got.value("note", ""), want.note);
        }
    }
    EXPECT_EQ(next, std::size(shoot)) << "clips missing from the plan: " << plan.out;

    const auto file = QString::fromStdString(dir.file("Harbour Walk SYNC MAP.xml"));
    const Outcome exported = korvalume(cards, "export", {"-o", file});
    ASSERT_EQ(exported.code, 0) << exported.err;
    const auto timeline =
        korvalume::testing::readXmeml(korvalume::testing_cli::readText(file.toStdString()));
    ASSERT_TRUE(timeline);
    EXPECT_EQ(timeline->sequence.at("name"), "Harbour Walk SYNC MAP");
    std::set<std::string> files;
    for (const auto& [id, fields] : timeline->files)
        files.insert(QString::fromStdString(fields.at("pathurl")).section('/', -1).toStdString());
    for (const Clip& clip : shoot) {
        SCOPED_TRACE(clip.name);
        std::size_t video = 0, audio = 0;
        const auto count = [&](const auto& tracks, std::size_t& items) {
            for (const auto& track : tracks)
                for (const auto& item : track)
                    if (item.fields.at("name") == clip.name) {
                        ++items;
                        EXPECT_EQ(std::stoll(item.fields.at("start")),
                                  clip.start ? timelineFrame(*clip.start) : -1);
                    }
        };
        count(timeline->videoTracks, video);
        count(timeline->audioTracks, audio);
        // A movie is one video item with its sound; a WAV is only its two channels;
        // an unplaced clip is nowhere.
        const bool sound = clip.camera == "SOUND A";
        EXPECT_EQ(video, clip.start && !sound ? 1u : 0u);
        EXPECT_TRUE(clip.start ? audio > 0 && (!sound || audio == 2) : audio == 0) << audio;
        EXPECT_EQ(files.contains(std::string(clip.name)), clip.start.has_value());
    }
}

} // namespace
