#include "cli/cli_run.h"
#include "cli/command.h"
#include "session/session_doc.h"
#include "support/media_fixtures.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace korvalume {
namespace {

using fixtures::MovieSpec;
using fixtures::TempDir;

testing_cli::CommandRun plan(std::vector<std::string> args) {
    args.insert(args.begin(), "plan");
    return testing_cli::runKorvalume(args);
}

constexpr double day0 = 1'714'521'600; // 2024-05-01 00:00 UTC

// A shoot in UTC at 25 fps: CAM A was scanned at ten; CAM B only logged its
// recordings (the third of which has no file); SOUND A's card is not given.
struct PlanShoot : ::testing::Test {
    TempDir dir;
    SessionDoc doc;
    std::string log;

    Camera addCamera(std::string name, Camera::Kind kind = Camera::Kind::camera) {
        Camera camera;
        camera.id = Uuid::random();
        camera.name = std::move(name);
        camera.kind = kind;
        doc.cameras.push_back(camera);
        return camera;
    }
    void event(const Camera& camera, SyncEvent::Kind kind, double at,
               std::optional<std::string> timecode = {}) {
        doc.events.push_back({Uuid::random(), camera.id, kind, at, std::move(timecode), {}});
    }
    void movie(const std::string& relative, std::optional<std::string> timecode, double seconds,
               std::string created) {
        MovieSpec spec;
        spec.timecode = std::move(timecode);
        spec.seconds = seconds;
        spec.creationTime = std::move(created);
        fixtures::makeMovie(dir.file(relative), spec);
    }

    void SetUp() override {
        doc.id = Uuid::random();
        doc.name = "Harbour";
        doc.fps = FrameRate::pal();
        doc.startedAt = day0 + 35'000;
        doc.endedAt = day0 + 40'000;
        doc.zone = 0;
        const Camera a = addCamera("CAM A");
        const Camera b = addCamera("CAM B");
        addCamera("SOUND A", Camera::Kind::recorder);
        event(a, SyncEvent::Kind::tcScan, day0 + 36'000, "10:00:00:00");
        for (auto [start, length] : {std::pair{37'000.0, 1.0}, {38'000.0, 2.0}, {39'000.0, 10.0}}) {
            event(b, SyncEvent::Kind::recStart, day0 + start);
            event(b, SyncEvent::Kind::recStop, day0 + start + length);
        }
        log = dir.file("shoot.korvalume");
        fixtures::writeFile(log, *doc.encoded());
    }

    void makeCards() {

        movie("A/A001.mov", "10:00:05:00", 1, "2024-05-01T10:00:05Z");
        movie("A/A002.mov", std::nullopt, 1, "2024-05-01T10:05:00Z");
        fixtures::makeWave(dir.file("A/A003.wav"), {.seconds = 0.5,
                                                    .sampleRate = 48000,
                                                    .channels = 1,
                                                    .timeReference = 36'020ull * 48'000,
                                                    .rf64 = false});
        movie("B/B001.mov", "01:00:00:00", 1, "2024-05-01T10:16:40Z");
        movie("B/B002.mov", "01:16:40:00", 2, "2024-05-01T10:33:20Z");
        movie("B/B003.mov", "01:30:00:00", 3, "2024-05-01T10:46:40Z");
    }
};

const nlohmann::json* clipNamed(const nlohmann::json& camera, const std::string& name) {
    for (const auto& clip : camera["clips"]) {
        if (clip["name"] == name)
            return &clip;
    }
    return nullptr;
}

TEST_F(PlanShoot, PlacesEachCardsClipsAndReportsInSessionOrder) {
    makeCards();
    const testing_cli::CommandRun run = plan({log, "--folder", "cam b=" + dir.file("B"), "--folder",
                                              "CAM A=" + dir.file("A"), "--json"});
    ASSERT_EQ(run.code, 0) << run.err;
    const auto result = nlohmann::json::parse(run.out);
    const auto& cameras = result["cameras"];
    ASSERT_EQ(cameras.size(), 2u);

    const auto& a = cameras[0];
    EXPECT_EQ(a["name"], "CAM A");
    EXPECT_EQ(a["id"], doc.cameras[0].id.string());
    EXPECT_EQ(a["folder"], dir.file("A"));
    EXPECT_TRUE(a["warnings"].empty());
    ASSERT_EQ(a["clips"].size(), 3u);
    const auto* a001 = clipNamed(a, "A001.mov");
    ASSERT_TRUE(a001);
    EXPECT_EQ((*a001)["method"], "TIMECODE");
    EXPECT_DOUBLE_EQ((*a001)["start"].get<double>(), day0 + 36'005);
    EXPECT_FALSE(a001->contains("note"));
    EXPECT_EQ((*a001)["path"], dir.file("A/A001.mov"));
    const auto* a002 = clipNamed(a, "A002.mov");
    ASSERT_TRUE(a002);
    EXPECT_EQ((*a002)["method"], "NOT PLACED");
    EXPECT_FALSE(a002->contains("start"));
    EXPECT_EQ((*a002)["note"], "No timecode found in this file.");
    const auto* a003 = clipNamed(a, "A003.wav");
    ASSERT_TRUE(a003);
    EXPECT_EQ((*a003)["method"], "TIMECODE");
    EXPECT_DOUBLE_EQ((*a003)["start"].get<double>(), day0 + 36'020);

    const auto& b = cameras[1];
    EXPECT_EQ(b["name"], "CAM B");
    EXPECT_EQ(b["warnings"],
              nlohmann::json::array({"1 logged recording(s) have no matching file."}));
    ASSERT_EQ(b["clips"].size(), 3u);
    const std::vector<std::pair<std::string, double>> expected{
        {"LOGGED", day0 + 37'000}, {"LOGGED", day0 + 38'000}, {"TIMECODE + LOG", day0 + 38'800}};
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const auto& clip = b["clips"][i];
        EXPECT_EQ(clip["name"], "B00" + std::to_string(i + 1) + ".mov");
        EXPECT_EQ(clip["method"], expected[i].first) << clip;
        EXPECT_NEAR(clip.value("start", 0.0), expected[i].second, 1e-6) << clip;
    }

    const testing_cli::CommandRun text =
        plan({log, "--folder", "CAM A=" + dir.file("A"), "--folder", "CAM B=" + dir.file("B")});
    ASSERT_EQ(text.code, 0) << text.err;
    EXPECT_NE(text.out.find("A001.mov  TIMECODE        10:00:05.000  10:00:05:00\n"),
              std::string::npos)
        << text.out;
    EXPECT_NE(text.out.find("A002.mov  NOT PLACED      No timecode found in this file.\n"),
              std::string::npos);
    EXPECT_NE(text.out.find("B003.mov  TIMECODE + LOG  10:46:40.000  10:46:40:00\n"),
              std::string::npos);
    EXPECT_NE(text.out.find("  warning: 1 logged recording(s) have no matching file.\n"),
              std::string::npos);
    EXPECT_EQ(text.out.find("SOUND A"), std::string::npos);
}

TEST_F(PlanShoot, RefusesWhatItCannotPlan) {
    const testing_cli::CommandRun unknown = plan({log, "--folder", "CAM Q=" + dir.file("A")});
    EXPECT_EQ(unknown.code, 2);
    EXPECT_NE(unknown.err.find("'CAM Q'; its cameras: CAM A, CAM B, SOUND A"), std::string::npos)
        << unknown.err;

    const std::string missing = dir.file("nowhere");
    const testing_cli::CommandRun noFolder =
        plan({log, "--folder", doc.cameras[1].id.string() + "=" + missing});
    EXPECT_EQ(noFolder.code, 1);
    EXPECT_NE(noFolder.err.find(missing), std::string::npos) << noFolder.err;

    EXPECT_EQ(plan({log}).code, 2);
    EXPECT_EQ(plan({"--folder", "CAM A=" + dir.file("A")}).code, 2);
    EXPECT_EQ(plan({log, "--folder", "CAM A"}).code, 2);
    EXPECT_EQ(
        plan({log, "--folder", "CAM A=" + dir.file("A"), "--folder", "cam a=" + dir.path()}).code,
        2);

    const std::string notALog = dir.file("broken.korvalume");
    fixtures::writeFile(notALog, "{\"id\":");
    const testing_cli::CommandRun broken = plan({notALog, "--folder", "CAM A=" + dir.file("A")});
    EXPECT_EQ(broken.code, 1);
    EXPECT_NE(broken.err.find("broken.korvalume"), std::string::npos) << broken.err;
}

} // namespace
} // namespace korvalume
