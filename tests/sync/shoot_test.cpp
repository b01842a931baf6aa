// The shoot path's own decisions: which card goes to which camera, and what stops it
// before any card is read.
#include "sync/shoot.h"

#include "support/shoot_builder.h"

#include <gtest/gtest.h>

namespace korvalume {
namespace {

TEST(Shoot, CardsGoToTheCamerasNamedAndMistakesStopBeforeAnyRead) {
    fixtures::TempDir dir;
    fixtures::writeFile(dir.file("A/notes.txt"), "not a clip");
    const std::string card = dir.path() + "/A";
    testing::ShootLog shoot("QUAY");
    for (const char* name : {"CAM A", "CAM B", "CAM C"})
        shoot.camera(name);
    shoot.doc.cameras[2].removed = true;
    const SessionDoc& doc = shoot.doc;

    // By name in any case, or by id.
    const auto resolved =
        shoot::resolveCards(doc, {{"cam a", card}, {doc.cameras[1].id.string(), card}});
    ASSERT_TRUE(std::holds_alternative<std::vector<syncmap::CameraCard>>(resolved));
    const auto& cards = std::get<std::vector<syncmap::CameraCard>>(resolved);
    ASSERT_EQ(cards.size(), 2u);
    EXPECT_TRUE(cards[0].cameraID == doc.cameras[0].id && cards[1].cameraID == doc.cameras[1].id);

    const auto problem = [&](std::vector<shoot::FolderChoice> choices) {
        const auto result = shoot::resolveCards(doc, choices);
        const auto* found = std::get_if<shoot::Problem>(&result);
        return found ? *found : shoot::Problem{shoot::Problem::Kind::noLog, "accepted"};
    };
    EXPECT_EQ(problem({{"CAM Q", card}}).kind, shoot::Problem::Kind::unknownCamera);
    EXPECT_EQ(problem({{"CAM A", card}, {"cam a", card}}).text,
              "camera 'CAM A' was given two folders");
    EXPECT_EQ(problem({{"CAM C", card}}).text,
              "camera 'CAM C' was removed from session 'QUAY'; its cameras: CAM A, CAM B, CAM C");
    EXPECT_EQ(problem({{"CAM A", dir.file("missing")}}).kind,
              shoot::Problem::Kind::unreadableFolder);

    // A camera removed after its card was chosen (a live session goes on) is not planned.
    const std::vector<syncmap::CameraCard> chosen{{doc.cameras[0].id, card, {}},
                                                  {doc.cameras[2].id, card, {}}};
    EXPECT_EQ(shoot::plan(doc, chosen).folders, std::vector<std::string>{card});
}

} // namespace
} // namespace korvalume
