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
    EXPECT_EQ(opened.messages[3],
              (LogMessage{"folder.korvalume is not a Korvalume session log.", "it is a folder"}));

    const auto nothing = openLogs(std::vector{write("x.korvalume", "{")});
    EXPECT_FALSE(nothing.doc || nothing.report || nothing.logCount);
}
