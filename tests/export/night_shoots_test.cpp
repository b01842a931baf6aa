// Shoots whose true starts are known, with cards of real media made by ffmpeg, taken
// through the whole path: the log, the card reading, the plan and the Premiere XML.
// Cameras count frames at their real rate, so a clip's true start follows from the
// frames between its first frame and a scan: no engine arithmetic is reused here.
#include "export/premiere_xml.h"
#include "session/session_file.h"
#include "support/media_fixtures.h"
#include "support/xmeml_reader.h"
#include "sync/shoot.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>

namespace korvalume {
namespace {

using fixtures::Container;
using fixtures::MovieSpec;

constexpr double day0 = 1'714'521'600; // 2024-05-01 00:00 UTC
constexpr double midnight = day0 + 86'400;

// Frames of a drop-frame label at 29.97: two labels dropped each minute but every tenth.
std::int64_t dropFrames(std::int64_t h, std::int64_t m, std::int64_t s, std::int64_t f) {
    const std::int64_t minutes = 60 * h + m;
    return (3600 * h + 60 * m + s) * 30 + f - 2 * (minutes - minutes / 10);
}

struct TestShoot {
    fixtures::TempDir dir;
    SessionDoc doc;

    explicit TestShoot(FrameRate fps) {
        doc.id = Uuid::random();
        doc.name = "NIGHT";
        doc.fps = fps;
        doc.startedAt = midnight - 3 * 3600;
        doc.zone = 0;
    }
    Uuid camera(const char* name, Camera::Kind kind = Camera::Kind::camera) {
        Camera camera;
        camera.id = Uuid::random();
        camera.name = name;
        camera.kind = kind;
        camera.link = Camera::Link::scan;
        doc.cameras.push_back(camera);
        return camera.id;
    }
    void scan(const Uuid& camera, double at, std::string timecode) {
        doc.events.push_back(
            {Uuid::random(), camera, SyncEvent::Kind::tcScan, at, std::move(timecode), {}});
    }
    std::string card(const std::string& name) const { return dir.path() + "/" + name; }
    std::string movie(const std::string& card, const std::string& name, MovieSpec spec) const {
        const std::string path = card + "/" + name;
        std::filesystem::create_directories(card);
        std::filesystem::copy_file(fixtures::cachedMovie(spec), path);
        return path;
    }

    // The plan of every camera given a card, as the command line and the desk make it.
    Shoot::Planned plan(const std::vector<Shoot::FolderChoice>& cards) {
        std::sort(doc.events.begin(), doc.events.end(),
                  [](const SyncEvent& a, const SyncEvent& b) { return a.at < b.at; });
        const std::string log = dir.file("night.korvalume");
        fixtures::writeFile(log, *sessionfile::encoded(doc));
        auto result = Shoot::run({log}, cards);
        if (!std::holds_alternative<Shoot::Planned>(result)) {
            ADD_FAILURE() << std::get<Shoot::Problem>(result).text;
            return {};
        }
        return std::get<Shoot::Planned>(std::move(result));
    }
};

// Each clip of the plan by file name.
std::map<std::string, PlacedClip> byName(const Shoot::Planned& planned) {
    std::map<std::string, PlacedClip> clips;
    for (const auto& plan : planned.plans)
        for (const auto& clip : plan.clips)
            clips.emplace(clip.file.name(), clip);
    return clips;
}

void expectWithinAFrame(const std::map<std::string, PlacedClip>& clips, const std::string& name,
                        double trueStart, double fps) {
    SCOPED_TRACE(name);
    ASSERT_TRUE(clips.contains(name));
    const auto& clip = clips.at(name);
    ASSERT_TRUE(clip.start) << clip.note.value_or("");
    EXPECT_EQ(clip.method, PlacedClip::Method::timecode);
    EXPECT_LT(std::abs(*clip.start - trueStart), 1 / fps)
        << "placed " << *clip.start - trueStart << " s from its true start";
}

TEST(NightShoots, DropFrameCameraAndSoundScannedBeforeMidnightPlaceClipsAfterIt) {
    TestShoot shoot(FrameRate{30, true});
    const double fps = 30000.0 / 1001;
    // The camera showed 23:54:58;12 at 23:55:00 on the master clock.
    const Uuid camera = shoot.camera("CAM A");
    const double cameraScan = midnight - 300;
    shoot.scan(camera, cameraScan, "23:54:58;12");
    const auto cameraStart = [&](std::int64_t frames) {
        const std::int64_t wholeDay = dropFrames(24, 0, 0, 0);
        const std::int64_t elapsed = (frames - dropFrames(23, 54, 58, 12) + wholeDay) % wholeDay;
        return cameraScan + double(elapsed) / fps;
    };
    const std::string cardA = shoot.card("A");
    MovieSpec spec{.rate = {30, true}, .timecode = "23:56:00;00", .seconds = 0.5};
    shoot.movie(cardA, "A001.MOV", spec);
    spec.timecode = "00:04:00;00";
    shoot.movie(cardA, "A002.MOV", spec);

    // The recorder's display showed 23:56:00;00 at 23:56:00; its files start at seconds
    // since midnight on the same clock.
    const Uuid recorder = shoot.camera("SOUND A", Camera::Kind::recorder);
    const double soundScan = midnight - 240;
    shoot.scan(recorder, soundScan, "23:56:00;00");
    const double shownSeconds = double(dropFrames(23, 56, 0, 0)) / fps;
    fixtures::makeWave(shoot.dir.file("S/S001.WAV"), {.timeReference = 120 * 48'000});

    const auto planned = shoot.plan({{"CAM A", cardA}, {"SOUND A", shoot.card("S")}});
    const auto clips = byName(planned);
    expectWithinAFrame(clips, "A001.MOV", cameraStart(dropFrames(23, 56, 0, 0)), fps);
    expectWithinAFrame(clips, "A002.MOV", cameraStart(dropFrames(0, 4, 0, 0)), fps);
    expectWithinAFrame(clips, "S001.WAV", soundScan + (120 + 86'400 - shownSeconds), fps);
}

TEST(NightShoots, ScansOnBothSidesOfMidnightAreOneClock) {
    TestShoot shoot(FrameRate{24, true});
    const double fps = 24000.0 / 1001;
    // 23.976 non-drop: 28,776 frames after the first scan the camera shows 00:09:59:00.
    const Uuid camera = shoot.camera("CAM A");
    const double firstScan = midnight - 600;
    const double secondScan = firstScan + 28'776 / fps;
    shoot.scan(camera, firstScan, "23:50:00:00");
    shoot.scan(camera, secondScan, "00:09:59:00");
    const std::int64_t firstFrames = (23 * 3600 + 50 * 60) * 24;
    const auto trueStart = [&](std::int64_t frames) {
        const std::int64_t wholeDay = 86'400 * 24;
        return firstScan + double((frames - firstFrames + wholeDay) % wholeDay) / fps;
    };
    const std::string card = shoot.card("A");
    MovieSpec spec{.rate = {24, true}, .timecode = "23:52:00:00", .seconds = 0.5};
    shoot.movie(card, "A001.MOV", spec);
    spec.timecode = "00:05:00:00";
    shoot.movie(card, "A002.MOV", spec);

    const auto planned = shoot.plan({{"CAM A", card}});
    ASSERT_EQ(planned.plans.size(), 1u);
    EXPECT_EQ(planned.plans[0].warnings, std::vector<std::string>{}) << "no timecode change";
    const auto clips = byName(planned);
    expectWithinAFrame(clips, "A001.MOV", trueStart((23 * 3600 + 52 * 60) * 24), fps);
    expectWithinAFrame(clips, "A002.MOV", trueStart(5 * 60 * 24), fps);
}

TEST(NightShoots, FiftyFramesAndATimecodeResetPlaceEachClipByItsOwnClock) {
    TestShoot shoot(FrameRate{25, false});
    // An MXF camera on time of day, scanned at 21:00; at 21:30 its timecode is reset to
    // 01:00:00:00 and scanned a minute later. A clip shot 20 s before the reset lies
    // nearer in time to the later scan, but only the earlier one places it.
    const Uuid mxfCamera = shoot.camera("CAM A");
    const double ninePm = midnight - 3 * 3600;
    const double reset = ninePm + 1800;
    shoot.scan(mxfCamera, ninePm, "21:00:00:00");
    shoot.scan(mxfCamera, reset + 60, "01:01:00:00");
    const std::string mxfCard = shoot.card("A");
    shoot.movie(mxfCard, "BEFORE.MXF",
                {.container = Container::Mxf,
                 .rate = {50, false},
                 .timecode = "21:29:40:00",
                 .seconds = 0.4,
                 .creationTime = "2024-05-01T21:29:40Z"});
    shoot.movie(mxfCard, "AFTER.MXF",
                {.container = Container::Mxf,
                 .rate = {50, false},
                 .timecode = "01:00:30:37",
                 .seconds = 0.4,
                 .creationTime = "2024-05-01T21:30:30Z"});

    // A 50p movie whose first frame is frame 45 of its second: 0.9 s into it.
    const Uuid movCamera = shoot.camera("CAM B");
    shoot.scan(movCamera, ninePm, "21:00:00:00");
    const std::string movCard = shoot.card("B");
    shoot.movie(movCard, "B001.MOV",
                {.rate = {50, false}, .timecode = "21:00:10:45", .seconds = 0.4});

    const auto planned = shoot.plan({{"CAM A", mxfCard}, {"CAM B", movCard}});
    const auto clips = byName(planned);
    expectWithinAFrame(clips, "BEFORE.MXF", reset - 20, 50);
    expectWithinAFrame(clips, "AFTER.MXF", reset + 30 + 37 / 50.0, 50);
    expectWithinAFrame(clips, "B001.MOV", ninePm + 10.9, 50);
    EXPECT_EQ(clips.at("B001.MOV").file.startTC, (Timecode{21, 0, 10, 22, false}))
        << "shown at the base cameras show";
}

TEST(NightShoots, TheTimelineHasTheSoundPicturesAndFilesAsTheCardHasThem) {
    TestShoot shoot(FrameRate{25, false});
    const Uuid camera = shoot.camera("CAM A");
    shoot.scan(camera, day0 + 36'000, "10:00:00:00");
    const std::string card = shoot.card("Card;1");
    MovieSpec spec{.timecode = "10:00:01:00", .seconds = 0.4};
    shoot.movie(card, "SILENT.MOV", spec);
    spec.timecode = "10:00:02:00";
    spec.withAudio = true;
    spec.audioChannels = 4;
    shoot.movie(card, "FOUR.MOV", spec);
    spec.timecode = "10:00:03:00";
    const std::string oddName = "T\xE9L\xC9.MOV"; // Latin-1, as an old copy tool wrote it
    const std::string odd = shoot.movie(card, "odd.MOV", spec);
    std::filesystem::rename(odd, card + "/" + oddName);
    shoot.movie(card, "XDCAM.MXF",
                {.container = Container::Mxf,
                 .timecode = "10:00:04:00",
                 .seconds = 0.2,
                 .width = 1920,
                 .height = 1080});

    const auto planned = shoot.plan({{"CAM A", card}});
    ASSERT_EQ(planned.plans.size(), 1u);
    const auto clips = byName(planned);
    for (const char* name : {"SILENT.MOV", "FOUR.MOV", oddName.c_str(), "XDCAM.MXF"})
        ASSERT_TRUE(clips.contains(name) && clips.at(name).start) << name;
    EXPECT_EQ(clips.at("XDCAM.MXF").file.height, 1080);

    const auto xml = testing::readXmeml(PremiereXML::exportDocument(planned.doc, planned.plans));
    ASSERT_TRUE(xml);
    std::map<std::string, int> audioItems;
    for (const auto& track : xml->audioTracks)
        for (const auto& item : track)
            ++audioItems[item.fields.at("name")];
    EXPECT_FALSE(audioItems.contains("SILENT.MOV"));
    EXPECT_EQ(audioItems["FOUR.MOV"], 4);
    EXPECT_EQ(xml->videoTracks.size(), 1u) << "one camera, no overlaps";
    std::map<std::string, testing::XmlFields> files;
    for (const auto& [id, fields] : xml->files)
        files[fields.at("pathurl").substr(fields.at("pathurl").rfind('/') + 1)] = fields;
    EXPECT_TRUE(files.contains("T%E9L%C9.MOV"));
    EXPECT_NE(files.begin()->second.at("pathurl").find("/Card%3B1/"), std::string::npos);
    EXPECT_EQ(files.at("XDCAM.MXF").at("media/video/samplecharacteristics/height"), "1080");
    // QTemporaryDir cannot remove a name that is not UTF-8.
    std::filesystem::remove(card + "/" + oddName);
}

} // namespace
} // namespace korvalume
