#include "base/atomic_file.h"
#include "session/combining.h"
#include "session/log_opening.h"
#include "session/session_file.h"
#include "session_builders.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace korvalume;
using namespace korvalume::testing;
using enum SyncEvent::Kind;

namespace {

class LogOpening : public ::testing::Test {
protected:
    QTemporaryDir dir;

    std::string path(const std::string& name) const {
        return dir.filePath(QString::fromStdString(name)).toStdString();
    }
    std::string write(const std::string& name, const std::string& bytes) const {
        EXPECT_TRUE(writeFileAtomically(path(name), bytes));
        return path(name);
    }
};

std::string phoneLog(unsigned cameraNumber, std::string cameraName) {
    SessionDoc doc = session();
    doc.cameras = {camera(cameraNumber, std::move(cameraName))};
    doc.events = {event(cameraNumber * 10, recStart, 10, cameraNumber),
                  event(cameraNumber * 10 + 1, recStop, 20, cameraNumber)};
    return *sessionfile::encoded(doc);
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
        write("other.korvalume", *sessionfile::encoded(stranger)),
        write("b.KORVALUME", phoneLog(2, "CAM B")),
        write("a-again.korvalume", phoneLog(1, "CAM A")),
        path("missing.korvalume"),
    };
    QDir(dir.path()).mkdir("folder.korvalume");

    auto opened = openLogs(paths);
    openLogs(opened, std::vector{path("folder.korvalume")});
    EXPECT_EQ(opened.logCount, 3);
    auto expected = sessionfile::decode(phoneLog(1, "CAM A"));
    merge(*expected, *sessionfile::decode(phoneLog(2, "CAM B")));
    EXPECT_EQ(opened.doc, *expected);
    EXPECT_EQ(opened.report, (std::vector<std::string>{
                                 "CAM B is new to this session, with 1 recording.",
                                 "CAM A is already in this session. This log had nothing new "
                                 "for it."}));
    // notes.txt is skipped without a word.
    ASSERT_EQ(opened.messages.size(), 4u);
    EXPECT_EQ(opened.messages[0], (LogMessage{"broken.korvalume is not a Korvalume session log.",
                                              "\"fps\" is missing"}));
    EXPECT_EQ(opened.messages[1].text,
              "other.korvalume is from session \u201cOTHER SHOOT\u201d. You have "
              "\u201cSHOOT 15 NOV\u201d open, so it was left out.");
    EXPECT_EQ(opened.messages[2].text, "missing.korvalume is not a Korvalume session log.");
    EXPECT_FALSE(opened.messages[2].detail.empty());
    EXPECT_EQ(opened.messages[3].text, "folder.korvalume is not a Korvalume session log.");

    const auto nothing = openLogs(std::vector{write("x.korvalume", "{")});
    EXPECT_FALSE(nothing.doc || nothing.report || nothing.logCount);
}
