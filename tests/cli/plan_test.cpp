#include "cli/cli_run.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace korvalume {
namespace {

using nlohmann::json;
using testing_cli::runKorvalume;
using testing_cli::SmallShoot;

TEST(PlanCommand, JsonAndTextListEachCameraGivenAFolderInSessionOrder) {
    const SmallShoot shoot;
    shoot.makeCards();
    const auto printed = runKorvalume({"plan", shoot.log, "--folder", "cam b=" + shoot.cardB,
                                       "--folder", "CAM A=" + shoot.cardA, "--json"});
    ASSERT_EQ(printed.code, 0) << printed.err;
    // A start only when placed, a note only when not.
    const json placed{{"path", shoot.cardA + "/A001.mov"},
                      {"name", "A001.mov"},
                      {"start", SmallShoot::day0 + 36'005},
                      {"method", "TIMECODE"}};
    const json unplaced{{"path", shoot.cardA + "/A002.mov"},
                        {"name", "A002.mov"},
                        {"method", "NOT PLACED"},
                        {"note", "No timecode found in this file."}};
    const json cameraA{{"id", shoot.doc.cameras[0].id.string()},
                       {"name", "CAM A"},
                       {"folder", shoot.cardA},
                       {"warnings", json::array()},
                       {"clips", {placed, unplaced}}};
    const json cameraB{{"id", shoot.doc.cameras[1].id.string()},
                       {"name", "CAM B"},
                       {"folder", shoot.cardB},
                       {"warnings", {"1 logged recording(s) have no matching file."}},
                       {"clips", json::array()}};
    EXPECT_EQ(json::parse(printed.out), (json{{"cameras", {cameraA, cameraB}}}));

    const auto text = runKorvalume({"plan", shoot.log, "--folder", "CAM A=" + shoot.cardA,
                                    "--folder", "CAM B=" + shoot.cardB});
    ASSERT_EQ(text.code, 0) << text.err;
    EXPECT_EQ(text.out, "CAM A  " + shoot.cardA +
                            "  (1 of 2 clips placed)\n"
                            "  A001.mov  TIMECODE        10:00:05.000  10:00:05:00\n"
                            "  A002.mov  NOT PLACED      No timecode found in this file.\n"
                            "\n"
                            "CAM B  " +
                            shoot.cardB +
                            "  (0 of 0 clips placed)\n"
                            "  warning: 1 logged recording(s) have no matching file.\n");
}

TEST(PlanCommand, RefusalsNameWhatIsWrong) {
    const SmallShoot shoot;
    const std::string missing = shoot.dir.file("nowhere"),
                      broken = shoot.dir.file("broken.korvalume");
    fixtures::writeFile(broken, "{\"id\":");
    const std::string camA = "CAM A=" + shoot.dir.path();
    testing_cli::expectExits({
        {{"plan", shoot.log, "--folder", "CAM Q=" + shoot.dir.path()}, 2, "korvalume plan: "},
        // A camera's id works as well as its name; every folder is checked before any is read.
        {{"plan", shoot.log, "--folder", camA, "--folder",
          shoot.doc.cameras[1].id.string() + "=" + missing},
         1,
         "korvalume plan: " + missing + ": does not exist\n"},
        {{"plan", broken, "--folder", camA}, 1, "broken.korvalume is not a Korvalume session log."},
        {{"plan", shoot.log}, 2, "korvalume plan: no card folder given"},
        {{"plan", "--folder", camA}, 2, "korvalume plan: no session log given"},
        {{"plan", shoot.log, "--folder", "CAM A"}, 2, "--folder takes CAMERA=DIR, not 'CAM A'"},
    });
}

} // namespace
} // namespace korvalume
