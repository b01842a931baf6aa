#include <QCoreApplication>
#include <QProcess>

#include <gtest/gtest.h>

namespace {

// Real DNS-SD: the probe runs three discovering links inside a private network namespace
// with its own D-Bus and Avahi daemons (tests/support/netns-run), so nothing leaves it.
TEST(PeerDnsSd, LinksOfOneSessionFindEachOtherInAPrivateNetwork) {
    QProcess run;
    run.start(QStringLiteral(KORVALUME_NETNS_RUN), {QStringLiteral(KORVALUME_NETNS_PROBE)});
    ASSERT_TRUE(run.waitForFinished(120'000)) << "the namespace probe did not finish";
    const std::string out = run.readAllStandardOutput().toStdString();
    const std::string err = run.readAllStandardError().toStdString();
    if (run.exitCode() == 77) {
        GTEST_SKIP() << err;
    }
    EXPECT_EQ(run.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(run.exitCode(), 0) << err << out;
}

} // namespace
