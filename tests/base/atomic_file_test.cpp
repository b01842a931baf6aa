#include "base/atomic_file.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace korvalume {
namespace {

TEST(AtomicFile, ReplacesTheFileWholeAndNamesItOnFailure) {
    QTemporaryDir dir;
    const auto path = [&](const char* name) { return dir.filePath(name).toStdString(); };
    ASSERT_TRUE(writeFileAtomically(path("saved.korvalume"), "first"));
    ASSERT_TRUE(writeFileAtomically(path("saved.korvalume"), "second, longer"));
    QFile saved(dir.filePath("saved.korvalume"));
    ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
    EXPECT_EQ(saved.readAll().toStdString(), "second, longer");
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList{"saved.korvalume"});

    const std::string nowhere = path("no-such-folder/saved.korvalume");
    EXPECT_EQ(writeFileAtomically(nowhere, "x").message().rfind(nowhere + ": ", 0), 0u);
    QDir(dir.path()).mkdir("taken.korvalume");
    EXPECT_EQ(writeFileAtomically(path("taken.korvalume"), "x").message(),
              path("taken.korvalume") + ": is a folder");
}

} // namespace
} // namespace korvalume
