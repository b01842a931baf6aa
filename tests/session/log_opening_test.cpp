#include "session/atomic_file.h"
#include "session/log_opening.h"
#include "session_builders.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace korvalume;
using namespace korvalume::testing;
using Kind = SyncEvent::Kind;

namespace {

class LogOpening : public ::testing::Test {
protected:
    QTemporaryDir dir;

    std::string path(const std::string& name) const {
        return dir.filePath(QString::fromStdString(name)).toStdString();
    }
    std::string write(const std::string& name, const std::string& bytes) const {
        QFile file(QString::fromStdString(path(name)));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes.data(), qint64(bytes.size()));
        return path(name);
    }
    std::string write(const std::string& name, const SessionDoc& doc) const {
        return write(name, *doc.encoded());
    }
    static std::string read(const std::string& path) {
        QFile file(QString::fromStdString(path));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll().toStdString();
    }
};

SessionDoc phoneLog(unsigned cameraNumber, std::string cameraName) {
    SessionDoc doc = session();
    doc.cameras = {camera(cameraNumber, std::move(cameraName))};
    doc.events = {event(cameraNumber * 10, Kind::recStart, 10, cameraNumber),
                  event(cameraNumber * 10 + 1, Kind::recStop, 20, cameraNumber)};
    return doc;
}

} // namespace

TEST_F(LogOpening, CombinesLogsOfTheSessionAndLeavesOthersOut) {
    ASSERT_TRUE(dir.isValid());
    SessionDoc stranger = session("OTHER SHOOT");
    stranger.id = uuidNumber(42);
    const std::vector<std::string> paths = {
        write("notes.txt", "not a log at all"),
        write("a.korvalume", phoneLog(1, "CAM A")),
        write("broken.korvalume", R"({"cameras":[],"events":[]})"),
        write("other.korvalume", stranger),
        write("b.KORVALUME", phoneLog(2, "CAM B")),
        write("a-again.korvalume", phoneLog(1, "CAM A")),
        path("missing.korvalume"),
    };
    QDir(dir.path()).mkdir("folder.korvalume");

    auto opened = openLogs(paths);
    openLogs(opened, std::vector{path("folder.korvalume")});

    ASSERT_TRUE(opened.doc);
    EXPECT_EQ(opened.logCount, 3);
    SessionDoc expected = phoneLog(1, "CAM A");
    expected.merge(phoneLog(2, "CAM B"));
    EXPECT_EQ(*opened.doc, expected);
    EXPECT_EQ(opened.report, (std::vector<std::string>{
                                 "CAM B is new to this session, with 1 recording.",
                                 "CAM A is already in this session. This log had nothing new "
                                 "for it."}));
    ASSERT_EQ(opened.messages.size(), 4u);
    EXPECT_EQ(opened.messages[0].text, "broken.korvalume is not a Korvalume session log.");
    EXPECT_EQ(opened.messages[0].detail, "\"fps\" is missing");
    EXPECT_EQ(opened.messages[1].text,
              "other.korvalume is from session \u201cOTHER SHOOT\u201d. You have "
              "\u201cSHOOT 15 NOV\u201d open, so it was left out.");
    EXPECT_EQ(opened.messages[2].text, "missing.korvalume is not a Korvalume session log.");
    EXPECT_FALSE(opened.messages[2].detail.empty());
    EXPECT_EQ(opened.messages[3].text, "folder.korvalume is not a Korvalume session log.");
}

TEST_F(LogOpening, NothingOpenedLeavesNoDocumentAndNoReport) {
    const auto opened = openLogs(std::vector{write("x.korvalume", "{")});
    EXPECT_FALSE(opened.doc);
    EXPECT_EQ(opened.logCount, 0);
    EXPECT_FALSE(opened.report);
    EXPECT_EQ(opened.messages.size(), 1u);
}

TEST_F(LogOpening, WritesAtomicallyAndNamesTheFileOnFailure) {
    const std::string target = path("saved.korvalume");
    ASSERT_TRUE(writeFileAtomically(target, "first"));
    ASSERT_TRUE(writeFileAtomically(target, "second, longer"));
    EXPECT_EQ(read(target), "second, longer");
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList{"saved.korvalume"});

    const std::string nowhere = path("no-such-folder/saved.korvalume");
    const auto failed = writeFileAtomically(nowhere, "x");
    ASSERT_FALSE(failed);
    EXPECT_EQ(failed.error().rfind(nowhere + ": ", 0), 0u) << failed.error();

    QDir(dir.path()).mkdir("taken.korvalume");
    EXPECT_FALSE(writeFileAtomically(path("taken.korvalume"), "x"));
}
