#include "session/combining.h"
#include "session/log_opening.h"
#include "support/shoot_builder.h"

#include <QDir>
#include <gtest/gtest.h>

using namespace korvalume;
using namespace korvalume::testing;
using enum SyncEvent::Kind;

namespace {

SessionDoc phoneLog(unsigned cameraNumber, std::string cameraName) {
    SessionDoc doc = session();
    doc.cameras = {camera(cameraNumber, std::move(cameraName))};
    doc.events = {event(cameraNumber * 10, recStart, 10, cameraNumber),
                  event(cameraNumber * 10 + 1, recStop, 20, cameraNumber)};
    return doc;
}

} // namespace

TEST(LogOpening, CombinesLogsOfTheSessionAndLeavesOthersOut) {
    fixtures::TempDir dir;
    const auto write = [&](const char* name, std::string_view bytes) {
        fixtures::writeFile(dir.file(name), bytes);
        return dir.file(name);
    };
    const auto log = [&](const char* name, const SessionDoc& doc) {
        return write(name, *sessionfile::encoded(doc));
    };
    SessionDoc stranger = session("OTHER SHOOT");
    stranger.id = uuidNumber(42);
    auto opened = openLogs(std::vector{
        write("notes.txt", "not a log at all"), log("a.korvalume", phoneLog(1, "CAM A")),
        write("broken.korvalume", R"({"cameras":[],"events":[]})"),
        log("other.korvalume", stranger), log("b.KORVALUME", phoneLog(2, "CAM B")),
        log("a-again.korvalume", phoneLog(1, "CAM A")), dir.file("missing.korvalume")});
    QDir(QString::fromStdString(dir.path())).mkdir("folder.korvalume");
    openLogs(opened, std::vector{dir.file("folder.korvalume")});

    EXPECT_EQ(opened.logCount, 3);
    SessionDoc expected = phoneLog(1, "CAM A");
    merge(expected, phoneLog(2, "CAM B"));
    EXPECT_EQ(opened.doc, expected);
    ASSERT_TRUE(opened.report);
    ASSERT_EQ(opened.report->size(), 2u);
    EXPECT_EQ(opened.report->at(0).cameras,
              (std::vector{CameraGain{"CAM B", true, 1, 0, std::nullopt, false}}));
    EXPECT_EQ(opened.report->at(1).cameras,
              (std::vector{CameraGain{"CAM A", false, 0, 0, std::nullopt, false}}));
    // notes.txt is skipped without a word.
    using Kind = LogProblem::Kind;
    EXPECT_EQ(opened.problems,
              (std::vector<LogProblem>{
                  {Kind::unreadable, "broken.korvalume", "\"fps\" is missing", {}, {}},
                  {Kind::otherSession, "other.korvalume", {}, "OTHER SHOOT", "SHOOT 15 NOV"},
                  {Kind::unreadable, "missing.korvalume", opened.problems[2].detail, {}, {}},
                  {Kind::unreadable, "folder.korvalume", "it is a folder", {}, {}}}));

    const auto nothing = openLogs(std::vector{write("x.korvalume", "{")});
    EXPECT_FALSE(nothing.doc || nothing.report || nothing.logCount);
}
