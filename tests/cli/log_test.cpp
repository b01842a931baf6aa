#include "cli/cli_run.h"
#include "cli/command.h"
#include "session/session_doc.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace korvalume;

namespace {

testing_cli::CommandRun runLog(std::vector<std::string> args) {
    args.insert(args.begin(), "log");
    return testing_cli::runKorvalume(args);
}

Uuid id(const char* text) {
    return *Uuid::parse(text);
}

SessionDoc phoneLog(const char* cameraID, const char* cameraName, const char* eventID, double at) {
    SessionDoc doc;
    doc.id = id("3F2A9C1D-0000-4000-8000-00000000BEEF");
    doc.name = "SHOOT 15 NOV";
    doc.fps = FrameRate{24, true};
    doc.startedAt = 1700000000;
    doc.zone = 3600;
    Camera camera;
    camera.id = id(cameraID);
    camera.name = cameraName;
    camera.link = Camera::Link::wifi;
    doc.cameras = {camera};
    doc.events = {SyncEvent{id(eventID), camera.id, SyncEvent::Kind::tcScan, at, "10:00:00:00", {}},
                  SyncEvent{id("AB000000-0000-0000-0000-0000000000FF"),
                            std::nullopt,
                            SyncEvent::Kind::marker,
                            1700000100,
                            {},
                            "MARK 1"}};
    return doc;
}

class LogCommand : public ::testing::Test {
protected:
    QTemporaryDir dir;
    std::string phoneA, phoneB, stranger, broken;

    void SetUp() override {
        ASSERT_TRUE(dir.isValid());
        phoneA =
            write("phone-a.korvalume", *phoneLog("AB000000-0000-0000-0000-000000000001", "CAM A",
                                                 "AB000000-0000-0000-0000-000000000011", 1700000050)
                                            .encoded());
        phoneB =
            write("phone-b.korvalume", *phoneLog("AB000000-0000-0000-0000-000000000002", "SOUND A",
                                                 "AB000000-0000-0000-0000-000000000012", 1700000040)
                                            .encoded());
        SessionDoc other = phoneLog("AB000000-0000-0000-0000-000000000003", "CAM Z",
                                    "AB000000-0000-0000-0000-000000000013", 1);
        other.id = id("00000000-0000-4000-8000-000000000001");
        other.name = "OTHER DAY";
        stranger = write("other.korvalume", *other.encoded());
        broken = write("broken.korvalume", "{\"cameras\": [");
    }

    std::string path(const char* name) const { return dir.filePath(name).toStdString(); }
    std::string write(const char* name, const std::string& bytes) const {
        QFile file(dir.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes.data(), qint64(bytes.size()));
        return path(name);
    }
    static std::string read(const std::string& path) {
        QFile file(QString::fromStdString(path));
        return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : std::string{};
    }
};

} // namespace

TEST_F(LogCommand, PrintsTheCombinedSessionAndItsReport) {
    const auto result = runLog({phoneA, stranger, broken, phoneB, path("notes.txt")});
    EXPECT_EQ(result.code, 0) << result.err;
    for (const char* expected : {"Session: SHOOT 15 NOV", "23.976", "2023-11-14 23:13:20 +01:00",
                                 "Logs:    2", "CAM A  camera, wifi, 0 recordings, 1 timecode scan",
                                 "SOUND A  camera, wifi, 0 recordings, 1 timecode scan",
                                 "2023-11-14 23:15:00 +01:00  MARK 1",
                                 "SOUND A is new to this session, with 1 timecode scan."})
        EXPECT_NE(result.out.find(expected), std::string::npos) << expected << "\n" << result.out;
    EXPECT_EQ(result.err,
              "other.korvalume is from session \u201cOTHER DAY\u201d. You have \u201cSHOOT 15 "
              "NOV\u201d open, so it was left out.\n"
              "broken.korvalume is not a Korvalume session log. (malformed JSON at byte 13: "
              "unexpected end)\n");
}

TEST_F(LogCommand, JsonHoldsTheLogExactlyAsItsFileAndWritesItAtomically) {
    const std::string out = path("combined.korvalume");
    const auto result = runLog({phoneA, phoneB, broken, "--json", "-o", out});
    ASSERT_EQ(result.code, 0) << result.err;
    const auto printed = nlohmann::json::parse(result.out);
    EXPECT_EQ(printed["logCount"], 2);
    EXPECT_EQ(printed["messages"],
              nlohmann::json::array({"broken.korvalume is not a Korvalume session log."}));
    EXPECT_EQ(printed["report"],
              nlohmann::json::array({"SOUND A is new to this session, with 1 timecode scan."}));

    // The saved file is the combined log's file form, and the printed "doc" is that file.
    const std::string saved = read(out);
    const auto reread = SessionDoc::decode(saved);
    ASSERT_TRUE(reread) << reread.error();
    EXPECT_EQ(reread->cameras.size(), 2u);
    EXPECT_EQ(reread->events.size(), 3u);
    EXPECT_EQ(result.out, "{\"doc\":" + saved + result.out.substr(7 + saved.size()));
}

TEST_F(LogCommand, ExitCodesForNothingOpenedAndUsageErrors) {
    auto result = runLog({broken, path("notes.txt")});
    EXPECT_EQ(result.code, 1);
    EXPECT_NE(result.err.find("no session log could be opened"), std::string::npos);

    result = runLog({broken, "--json"});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(nlohmann::json::parse(result.out)["doc"], nullptr);

    result = runLog({phoneA, "-o", path("no-such-folder/x.korvalume")});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.err.rfind("Could not save the log: " + path("no-such-folder/x.korvalume"), 0),
              0u)
        << result.err;

    EXPECT_EQ(runLog({}).code, 2);
    EXPECT_EQ(runLog({phoneA, "-o"}).code, 2);
    result = runLog({phoneA, "--pretty"});
    EXPECT_EQ(result.code, 2);
    EXPECT_NE(result.err.find("unknown option '--pretty'"), std::string::npos);
}
