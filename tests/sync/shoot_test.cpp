// The shoot path's own decisions: which card goes to which camera, and what stops it
// before any card is read.
#include "sync/shoot.h"

#include "support/media_fixtures.h"

#include <gtest/gtest.h>

namespace korvalume {
namespace {

SessionDoc sessionWithCameras() {
    SessionDoc doc;
    doc.id = Uuid::random();
    doc.name = "QUAY";
    doc.fps = FrameRate{25, false};
    for (const char* name : {"CAM A", "CAM B", "CAM C"}) {
        Camera camera;
        camera.id = Uuid::random();
        camera.name = name;
        doc.cameras.push_back(camera);
    }
    doc.cameras[2].removed = true;
    return doc;
}

TEST(Shoot, CardsGoToTheCamerasNamedAndMistakesStopBeforeAnyRead) {
    fixtures::TempDir dir;
    const std::string notes = dir.file("A/notes.txt");
    fixtures::writeFile(notes, "not a clip");
    const std::string card = dir.path() + "/A";
    const SessionDoc doc = sessionWithCameras();

    const auto resolved =
        Shoot::resolveCards(doc, {{"cam a", card}, {doc.cameras[1].id.string(), card}});
    ASSERT_TRUE(std::holds_alternative<std::vector<SyncMap::CameraCard>>(resolved));
    const auto& cards = std::get<std::vector<SyncMap::CameraCard>>(resolved);
    ASSERT_EQ(cards.size(), 2u);
    EXPECT_EQ(cards[0].cameraID, doc.cameras[0].id);
    EXPECT_EQ(cards[1].cameraID, doc.cameras[1].id);

    const auto problem = [&](std::vector<Shoot::FolderChoice> choices) {
        const auto result = Shoot::resolveCards(doc, choices);
        return std::holds_alternative<Shoot::Problem>(result)
                   ? std::get<Shoot::Problem>(result)
                   : Shoot::Problem{Shoot::Problem::Kind::noLog, "accepted"};
    };
    EXPECT_EQ(problem({{"CAM Q", card}}).kind, Shoot::Problem::Kind::unknownCamera);
    EXPECT_EQ(problem({{"CAM A", card}, {"cam a", card}}).text,
              "camera 'CAM A' was given two folders");
    EXPECT_EQ(problem({{"CAM C", card}}).text,
              "camera 'CAM C' was removed from session 'QUAY'; its cameras: CAM A, CAM B, CAM C");
    EXPECT_EQ(problem({{"CAM A", dir.file("missing")}}).kind,
              Shoot::Problem::Kind::unreadableFolder);
}

TEST(Shoot, ARemovedCameraIsNeverPlanned) {
    const SessionDoc doc = sessionWithCameras();
    const std::vector<SyncMap::CameraCard> cards{{doc.cameras[0].id, "A", {}},
                                                 {doc.cameras[2].id, "C", {}}};
    const auto planned = Shoot::plan(doc, cards);
    ASSERT_EQ(planned.plans.size(), 1u);
    EXPECT_EQ(planned.plans[0].camera.name, "CAM A");
    EXPECT_EQ(planned.folders, std::vector<std::string>{"A"});
}

} // namespace
} // namespace korvalume
