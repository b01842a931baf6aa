#include "cli/cli_run.h"
#include "cli/command.h"
#include "session/session_doc.h"
#include "support/media_fixtures.h"

#include <QDir>
#include <QFile>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

namespace korvalume {
namespace {

using fixtures::MovieSpec;
using fixtures::TempDir;

testing_cli::CommandRun exportTimeline(std::vector<std::string> args) {
    args.insert(args.begin(), "export");
    return testing_cli::runKorvalume(args);
}

std::string readText(const std::string& path) {
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll().toStdString();
}

// Counts clip items, failing the test when the text is not well-formed XML.
int clipItems(const std::string& xml) {
    QXmlStreamReader reader(QByteArray::fromStdString(xml));
    int items = 0;
    while (!reader.atEnd()) {
        if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == u"clipitem")
            ++items;
    }
    EXPECT_FALSE(reader.hasError()) << reader.errorString().toStdString();
    return items;
}

constexpr double day0 = 1'714'521'600; // 2024-05-01 00:00 UTC

// CAM A was scanned at ten: its movie with timecode and its WAV are placed, its
// movie without timecode is not. CAM B has neither scans nor recordings.
class ExportShoot : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        dir = new TempDir;
        SessionDoc doc;
        doc.id = Uuid::random();
        doc.name = "Quay Shoot";
        doc.fps = FrameRate::pal();
        doc.startedAt = day0 + 35'000;
        doc.endedAt = day0 + 40'000;
        doc.zone = 0;
        for (const char* name : {"CAM A", "CAM B"}) {
            Camera camera;
            camera.id = Uuid::random();
            camera.name = name;
            doc.cameras.push_back(camera);
        }
        doc.events.push_back({Uuid::random(),
                              doc.cameras[0].id,
                              SyncEvent::Kind::tcScan,
                              day0 + 36'000,
                              "10:00:00:00",
                              {}});
        fixtures::writeFile(dir->file("shoot.korvalume"), *doc.encoded());

        MovieSpec timed;
        timed.timecode = "10:00:05:00";
        fixtures::makeMovie(dir->file("Cards/CAM A/A001.mov"), timed);
        MovieSpec untimed;
        untimed.timecode = std::nullopt;
        fixtures::makeMovie(dir->file("Cards/CAM A/A002.mov"), untimed);
        fixtures::makeWave(dir->file("Cards/CAM A/A003.wav"), {.seconds = 0.5,
                                                               .sampleRate = 48000,
                                                               .channels = 2,
                                                               .timeReference = 36'020ull * 48'000,
                                                               .rf64 = false});
        fixtures::makeMovie(dir->file("Cards/Kamera B – Ärmel/B001.mov"), MovieSpec{});
    }
    static void TearDownTestSuite() {
        delete dir;
        dir = nullptr;
    }

    void SetUp() override {
        work = std::make_unique<TempDir>();
        previous = QDir::currentPath();
        ASSERT_TRUE(QDir::setCurrent(QString::fromStdString(work->path())));
    }
    void TearDown() override { QDir::setCurrent(previous); }

    static std::string log() { return dir->file("shoot.korvalume"); }
    static std::string cardA() { return "CAM A=" + dir->file("Cards/CAM A"); }
    static std::string cardB() { return "cam b=" + dir->file("Cards/Kamera B – Ärmel"); }

    static TempDir* dir;
    std::unique_ptr<TempDir> work;
    QString previous;
};

TempDir* ExportShoot::dir = nullptr;

TEST_F(ExportShoot, WritesTheSessionNamedFileInTheCurrentFolder) {
    const auto run = exportTimeline({log(), "--folder", cardA(), "--folder", cardB()});
    ASSERT_EQ(run.code, 0) << run.err;
    const std::string written = QDir::currentPath().toStdString() + "/Quay Shoot SYNC MAP.xml";
    EXPECT_EQ(run.out, "Wrote " + written +
                           "\n"
                           "  CAM A  2 placed, 1 not placed\n"
                           "  CAM B  0 placed, 1 not placed\n");
    const auto xml = readText(written);
    // A001: a video item and two audio items (movies count as stereo); A003: two audio items.
    EXPECT_EQ(clipItems(xml), 3 + 2);
    EXPECT_NE(xml.find("<name>Quay Shoot SYNC MAP</name>"), std::string::npos);
    EXPECT_NE(xml.find("/Cards/CAM%20A/A001.mov</pathurl>"), std::string::npos);
    EXPECT_EQ(xml.find("A002.mov"), std::string::npos);
    EXPECT_EQ(xml.find("B001.mov"), std::string::npos);
}

TEST_F(ExportShoot, WritesWhereToldAndSaysWhenNothingWasPlaced) {
    const std::string target = work->file("out/Timeline ä.xml");
    QDir().mkpath(QString::fromStdString(work->path() + "/out"));
    const auto run = exportTimeline({log(), "--folder=" + cardB(), "-o", target});
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_NE(run.out.find("Wrote " + target + "\n"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("  CAM B  0 placed, 1 not placed\n"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("the timeline is empty"), std::string::npos) << run.out;
    const auto xml = readText(target);
    EXPECT_EQ(clipItems(xml), 0);
    EXPECT_NE(xml.find("<duration>1</duration>"), std::string::npos);
    EXPECT_FALSE(QFile::exists(QString::fromStdString(work->path() + "/Quay Shoot SYNC MAP.xml")));
}

TEST_F(ExportShoot, RefusesWhatItCannotWrite) {
    const std::string missing = work->path() + "/no such folder/timeline.xml";
    const auto unwritable = exportTimeline({log(), "--folder", cardA(), "-o", missing});
    EXPECT_EQ(unwritable.code, 1);
    EXPECT_NE(unwritable.err.find("Could not save the sync map: " + missing), std::string::npos)
        << unwritable.err;
    const auto onFolder = exportTimeline({log(), "--folder", cardA(), "--output", work->path()});
    EXPECT_EQ(onFolder.code, 1);
    EXPECT_NE(onFolder.err.find(work->path() + ": is a folder"), std::string::npos);

    EXPECT_EQ(exportTimeline({log(), "--folder", cardA(), "-o"}).code, 2);
    EXPECT_EQ(exportTimeline({log()}).code, 2);
    EXPECT_EQ(exportTimeline({log(), "--folder", "CAM Z=" + work->path()}).code, 2);
    EXPECT_EQ(exportTimeline({log(), "--folder", "CAM A=" + work->path() + "/gone"}).code, 1);
    EXPECT_TRUE(QDir(QString::fromStdString(work->path())).isEmpty());
}

} // namespace
} // namespace korvalume
