// Shoots whose true starts are known, with cards of real media made by ffmpeg, taken
// through the whole path: the log, the card reading, the plan and the Premiere XML.
// Cameras count frames at their real rate, so a clip's true start follows from the
// frames between its first frame and a scan: no engine arithmetic is reused here.
#include "export/premiere_xml.h"
#include "support/shoot_builder.h"
#include "support/xmeml_reader.h"
#include "sync/shoot.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <set>

namespace korvalume {
namespace {

using fixtures::Container;
using fixtures::MovieSpec;
using Rows = std::vector<std::string>;

constexpr double day0 = 1'714'521'600; // 2024-05-01 00:00 UTC
constexpr double midnight = day0 + 86'400;

// Frames of a drop-frame label at 29.97: two labels dropped each minute but every tenth.
std::int64_t dropFrames(std::int64_t h, std::int64_t m, std::int64_t s, std::int64_t f) {
    const std::int64_t minutes = 60 * h + m;
    return (3600 * h + 60 * m + s) * 30 + f - 2 * (minutes - minutes / 10);
}

struct TestShoot : testing::ShootLog {
    fixtures::TempDir dir;
    shoot::Planned planned;
    std::map<std::string, PlacedClip> clips; // by file name

    explicit TestShoot(FrameRate fps) : ShootLog("NIGHT", fps, midnight - 3 * 3600) {}
    std::string card(const std::string& name) const { return dir.path() + "/" + name; }
    // `relative` is "card/file name", taken as the file system's bytes: a name need not
    // be UTF-8.
    void movie(const std::string& relative, const MovieSpec& spec) const {
        const std::filesystem::path path = card(relative);
        std::filesystem::create_directories(path.parent_path());
        std::filesystem::copy_file(fixtures::cachedMovie(spec), path);
    }

    // Plans every camera given a card, as the command line and the desk do.
    void plan(const std::vector<shoot::FolderChoice>& cards) {
        auto result = shoot::run({write(dir.file("night.korvalume"))}, cards);
        if (auto* problem = std::get_if<shoot::Problem>(&result))
            FAIL() << problem->text;
        planned = std::get<shoot::Planned>(std::move(result));
        for (const auto& plan : planned.plans)
            for (const auto& clip : plan.clips)
                clips.emplace(clip.file.name(), clip);
    }

    void expectWithinAFrame(const std::string& name, double trueStart, double fps) const {
        SCOPED_TRACE(name);
        ASSERT_TRUE(clips.contains(name));
        const auto& clip = clips.at(name);
        ASSERT_TRUE(clip.start) << clip.note.value_or("");
        EXPECT_EQ(clip.method, PlacedClip::Method::timecode);
        const double error = *clip.start - MasterInstant(trueStart);
        EXPECT_LT(std::abs(error), 1 / fps) << "placed " << error << " s from its true start";
    }
};

TEST(NightShoots, DropFrameCameraAndSoundScannedBeforeMidnightPlaceClipsAfterIt) {
    TestShoot shoot(FrameRate{30, true});
    const double fps = 30000.0 / 1001;
    // The camera showed 23:54:58;12 at 23:55:00 on the master clock.
    const double cameraScan = midnight - 300;
    shoot.scan(shoot.camera("CAM A"), cameraScan, "23:54:58;12");
    const auto cameraStart = [&](std::int64_t frames) {
        const std::int64_t wholeDay = dropFrames(24, 0, 0, 0);
        const std::int64_t elapsed = (frames - dropFrames(23, 54, 58, 12) + wholeDay) % wholeDay;
        return cameraScan + double(elapsed) / fps;
    };
    MovieSpec spec{.rate = {30, true}, .timecode = "23:56:00;00", .seconds = 0.5};
    shoot.movie("A/A001.MOV", spec);
    spec.timecode = "00:04:00;00";
    shoot.movie("A/A002.MOV", spec);

    // The recorder's display showed 23:56:00;00 at 23:56:00; its files start at seconds
    // since midnight on the same clock.
    const double soundScan = midnight - 240;
    shoot.scan(shoot.camera("SOUND A", Camera::Kind::recorder), soundScan, "23:56:00;00");
    const double shownSeconds = double(dropFrames(23, 56, 0, 0)) / fps;
    fixtures::makeWave(shoot.dir.file("S/S001.WAV"), {.timeReference = 120 * 48'000});

    // Given in another order than the session's, planned in the session's.
    shoot.plan({{"SOUND A", shoot.card("S")}, {"CAM A", shoot.card("A")}});
    EXPECT_EQ(shoot.planned.folders, (Rows{shoot.card("A"), shoot.card("S")}));
    shoot.expectWithinAFrame("A001.MOV", cameraStart(dropFrames(23, 56, 0, 0)), fps);
    shoot.expectWithinAFrame("A002.MOV", cameraStart(dropFrames(0, 4, 0, 0)), fps);
    shoot.expectWithinAFrame("S001.WAV", soundScan + (120 + 86'400 - shownSeconds), fps);
}

TEST(NightShoots, ScansOnBothSidesOfMidnightAreOneClock) {
    TestShoot shoot(FrameRate{24, true});
    const double fps = 24000.0 / 1001;
    // 23.976 non-drop: 28,776 frames after the first scan the camera shows 00:09:59:00.
    const Uuid camera = shoot.camera("CAM A");
    const double firstScan = midnight - 600;
    shoot.scan(camera, firstScan, "23:50:00:00");
    shoot.scan(camera, firstScan + 28'776 / fps, "00:09:59:00");
    const auto trueStart = [&](std::int64_t frames) {
        const std::int64_t wholeDay = 86'400 * 24;
        const std::int64_t firstFrames = (23 * 3600 + 50 * 60) * 24;
        return firstScan + double((frames - firstFrames + wholeDay) % wholeDay) / fps;
    };
    MovieSpec spec{.rate = {24, true}, .timecode = "23:52:00:00", .seconds = 0.5};
    shoot.movie("A/A001.MOV", spec);
    spec.timecode = "00:05:00:00";
    shoot.movie("A/A002.MOV", spec);

    shoot.plan({{"CAM A", shoot.card("A")}});
    EXPECT_EQ(shoot.planned.plans.at(0).warnings, Rows{}) << "no timecode change";
    shoot.expectWithinAFrame("A001.MOV", trueStart((23 * 3600 + 52 * 60) * 24), fps);
    shoot.expectWithinAFrame("A002.MOV", trueStart(5 * 60 * 24), fps);
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
    MovieSpec mxf{.container = Container::Mxf, .rate = {50, false}, .seconds = 0.4};
    mxf.timecode = "21:29:40:00";
    mxf.creationTime = "2024-05-01T21:29:40Z";
    shoot.movie("A/BEFORE.MXF", mxf);
    mxf.timecode = "01:00:30:37";
    mxf.creationTime = "2024-05-01T21:30:30Z";
    shoot.movie("A/AFTER.MXF", mxf);

    // A 50p movie whose first frame is frame 45 of its second: 0.9 s into it.
    shoot.scan(shoot.camera("CAM B"), ninePm, "21:00:00:00");
    shoot.movie("B/B001.MOV", {.rate = {50, false}, .timecode = "21:00:10:45", .seconds = 0.4});

    shoot.plan({{"CAM A", shoot.card("A")}, {"CAM B", shoot.card("B")}});
    shoot.expectWithinAFrame("BEFORE.MXF", reset - 20, 50);
    shoot.expectWithinAFrame("AFTER.MXF", reset + 30 + 37 / 50.0, 50);
    shoot.expectWithinAFrame("B001.MOV", ninePm + 10.9, 50);
    EXPECT_EQ(shoot.planned.plans.at(0).warnings,
              Rows{"Timecode was changed during the session. Clips use the scan nearest their "
                   "recording time."});
}

TEST(NightShoots, TheTimelineHasTheSoundPicturesAndFilesAsTheCardHasThem) {
    TestShoot shoot(FrameRate{25, false});
    const double tenAM = day0 + 36'000;
    shoot.scan(shoot.camera("CAM A"), tenAM, "10:00:00:00");
    const std::string oddName = "T\xE9L\xC9.MOV"; // Latin-1, as an old copy tool wrote it
    MovieSpec spec{.timecode = "10:00:01:00", .seconds = 0.4};
    shoot.movie("Card;1/SILENT.MOV", spec);
    spec.timecode = "10:00:03:00";
    shoot.movie("Card;1/" + oddName, spec);
    spec.timecode = "10:00:02:00";
    spec.withAudio = true;
    spec.audioChannels = 4;
    shoot.movie("Card;1/FOUR.MOV", spec);
    shoot.movie("Card;1/XDCAM.MXF",
                {.container = Container::Mxf, .seconds = 0.2, .width = 1920, .height = 1080});

    shoot.plan({{"CAM A", shoot.card("Card;1")}});
    for (const auto& [name, second] : std::map<std::string, int>{
             {"SILENT.MOV", 1}, {"FOUR.MOV", 2}, {oddName, 3}, {"XDCAM.MXF", 0}})
        shoot.expectWithinAFrame(name, tenAM + second, 25);
    EXPECT_EQ(shoot.clips.at("XDCAM.MXF").file.height, 1080);

    const auto xml =
        testing::readXmeml(premierexml::exportDocument(shoot.planned.doc, shoot.planned.plans));
    ASSERT_TRUE(xml);
    std::map<std::string, int> audioItems;
    for (const auto& track : xml->audioTracks)
        for (const auto& item : track)
            ++audioItems[item.fields.at("name")];
    EXPECT_EQ(audioItems, (std::map<std::string, int>{{"FOUR.MOV", 4}})) << "none for the silent";
    std::set<std::string> urls; // from the card's folder on
    for (const auto& [id, fields] : xml->files)
        urls.insert(fields.at("pathurl").substr(fields.at("pathurl").rfind("/Card")));
    EXPECT_EQ(urls, (std::set<std::string>{"/Card%3B1/FOUR.MOV", "/Card%3B1/SILENT.MOV",
                                           "/Card%3B1/T%E9L%C9.MOV", "/Card%3B1/XDCAM.MXF"}));
    // QTemporaryDir cannot remove a name that is not UTF-8.
    std::filesystem::remove(shoot.card("Card;1/" + oddName));
}

} // namespace
} // namespace korvalume
