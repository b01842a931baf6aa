#include "cli/cli_run.h"

#include <QDir>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

namespace korvalume {
namespace {

using testing_cli::readText;
using testing_cli::runKorvalume;

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

// Runs in a folder of its own: the default file name lands in the current folder.
struct ExportCommand : ::testing::Test {
    testing_cli::SmallShoot shoot;
    fixtures::TempDir work;
    QString previous = QDir::currentPath();

    void SetUp() override {
        shoot.makeCards();
        ASSERT_TRUE(QDir::setCurrent(QString::fromStdString(work.path())));
    }
    void TearDown() override { QDir::setCurrent(previous); }
};

TEST_F(ExportCommand, WritesTheSessionNamedFileInTheCurrentFolder) {
    const auto run = runKorvalume({"export", shoot.log, "--folder", "CAM A=" + shoot.cardA,
                                   "--folder", "cam b=" + shoot.cardB});
    ASSERT_EQ(run.code, 0) << run.err;
    const std::string written = QDir::currentPath().toStdString() + "/Quay Shoot SYNC MAP.xml";
    EXPECT_EQ(run.out, "Wrote " + written +
                           "\n"
                           "  CAM A  1 placed, 1 not placed\n"
                           "  CAM B  0 placed, 0 not placed\n");
    // A001's video item and no audio item, for it is silent; A002 has no place.
    EXPECT_EQ(clipItems(readText(written)), 1);
}

TEST_F(ExportCommand, WritesWhereToldAndSaysWhenNothingWasPlaced) {
    const std::string target = work.file("out/Timeline ä.xml");
    const auto run =
        runKorvalume({"export", shoot.log, "--folder=CAM B=" + shoot.cardB, "-o", target});
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(run.out, "Wrote " + target +
                           "\n"
                           "  CAM B  0 placed, 0 not placed\n"
                           "No clip could be placed: the timeline is empty. 'korvalume plan' says "
                           "why.\n");
    EXPECT_EQ(clipItems(readText(target)), 0);
    EXPECT_FALSE(QFile::exists(QString::fromStdString(work.path() + "/Quay Shoot SYNC MAP.xml")));
}

TEST_F(ExportCommand, RefusalsWriteNothing) {
    const std::string cardA = "CAM A=" + shoot.cardA,
                      missing = work.path() + "/no such folder/t.xml";
    testing_cli::expectExits({
        {{"export", shoot.log, "--folder", cardA, "-o", missing},
         1,
         "korvalume export: Could not save the sync map: " + missing},
        {{"export", shoot.log, "--folder", cardA, "--output", work.path()},
         1,
         work.path() + ": is a folder"},
        {{"export", shoot.log, "--folder", cardA, "-o"}, 2, "korvalume export: -o needs a value"},
        {{"export", shoot.log}, 2, "korvalume export: no card folder given"},
    });
    EXPECT_TRUE(QDir(QString::fromStdString(work.path())).isEmpty());
}

} // namespace
} // namespace korvalume
