// What the desk takes from the machine: its identity and operator name in the settings,
// the join code's image, and the desktop's services over a private D-Bus session bus.
#include "platform/freedesktop_services.h"
#include "platform/platform.h"
#include "platform/qr_modules.h"
#include "session/session_link.h"
#include "support/qt_support.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QProcess>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QUrl>

#include <gtest/gtest.h>

namespace korvalume {
namespace {

// This test's own settings folder: the identity it makes is not the user's.
QTemporaryDir settingsHome;
// Qt's messages of the running test, so "silently" can be checked.
QStringList messages;

class PlatformTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        static int argc = 1;
        static char name[] = "platform_tests";
        static char* argv[] = {name, nullptr};
        qputenv("XDG_CONFIG_HOME", settingsHome.path().toUtf8());
        [[maybe_unused]] static auto* app = new QCoreApplication(argc, argv);
        QCoreApplication::setOrganizationName("Korvalume");
        QCoreApplication::setApplicationName("Platform Test");
        qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext&, const QString& text) { messages << text; });
    }
    void SetUp() override { messages.clear(); }
};

TEST_F(PlatformTest, TheDeviceKeepsOneIdentityAndTheOperatorNameGivesTheDisplayName) {
    const QString id = platform::deviceID();
    EXPECT_TRUE(Uuid::parse(id.toStdString())) << id.toStdString();
    EXPECT_EQ(id, id.toUpper());
    EXPECT_EQ(platform::deviceID(), id);
    // On disk at once, so the next start of the program finds the same identity.
    const QSettings onDisk(settingsHome.filePath("Korvalume/Platform Test.conf"),
                           QSettings::IniFormat);
    EXPECT_EQ(onDisk.value("deviceID").toString(), id);

    // Never a constant: the machine's own name, and the operator's before it once set.
    const QString machine = platform::deviceName().toUpper();
    EXPECT_EQ(platform::operatorName(), "");
    EXPECT_EQ(platform::displayName(), machine);
    platform::setOperatorName("   ");
    EXPECT_EQ(platform::displayName(), machine);
    platform::setOperatorName(" ana\t");
    EXPECT_EQ(platform::displayName(), "ANA / " + machine);
    EXPECT_EQ(platform::displayNameFor("Jürgen Ölz", "studio"), "JÜRGEN ÖLZ / STUDIO");
}

// What a phone's camera needs: whole pixels per module inside a quiet zone of four white
// modules. The window test reads the code back from the screen with zbarimg.
TEST_F(PlatformTest, TheJoinCodeHasWholeModulesAndItsQuietZone) {
    const SessionDoc doc = SessionDoc::newSession("NIGHT EXTERIOR / DAY 2", FrameRate{24, true},
                                                  MasterInstant(1'718'442'000.5),
                                                  "DE5C0000-0000-4000-8000-000000000001");
    const QString link = QString::fromStdString(SessionLink::from(doc).url());
    const QImage image = platform::qrCode(link).convertToFormat(QImage::Format_RGB32);
    const auto modules = QrModules::encode(link);
    ASSERT_TRUE(modules);
    const int pixels = platform::qrModulePixels;
    const int side = (modules->size + 2 * qrQuietZone) * pixels;
    ASSERT_EQ(image.size(), QSize(side, side));
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x)
            ASSERT_EQ(image.pixel(x, y),
                      modules->isDark(x / pixels - qrQuietZone, y / pixels - qrQuietZone)
                          ? qRgb(0, 0, 0)
                          : qRgb(255, 255, 255))
                << x << "," << y;
    EXPECT_TRUE(platform::qrCode(QString(8000, u'x')).isNull()) << "too long for a QR symbol";
}

// Stands in for the desktop's default opener of file: URLs.
class Opener : public QObject {
    Q_OBJECT
public:
    QList<QUrl> opened;
public slots:
    void open(const QUrl& url) { opened.append(url); }
};

TEST_F(PlatformTest, DesktopServicesAreAskedOverTheSessionBus) {
    if (QStandardPaths::findExecutable("dbus-daemon").isEmpty())
        GTEST_SKIP() << "dbus-daemon is not installed (scripts/setup installs dbus)";
    // A private session bus with the recorder on it; both end with the test.
    QProcess daemon, recorder;
    daemon.start("dbus-daemon", {"--session", "--nofork", "--print-address=1"});
    ASSERT_TRUE(daemon.waitForReadyRead(10'000));
    const QString address = QString::fromUtf8(daemon.readLine()).trimmed();
    auto env = QProcessEnvironment::systemEnvironment();
    env.insert("DBUS_SESSION_BUS_ADDRESS", address);
    recorder.setProcessEnvironment(env);
    recorder.start(KORVALUME_DBUS_RECORDER, QStringList{});
    ASSERT_TRUE(recorder.waitForReadyRead(10'000) && recorder.readLine().trimmed() == "ready");
    const auto nextCall = [&recorder] {
        if (!recorder.canReadLine())
            recorder.waitForReadyRead(5'000);
        return QString::fromUtf8(recorder.readLine()).trimmed();
    };
    const auto session = QDBusConnection::connectToBus(address, "platform-test");
    ASSERT_TRUE(session.isConnected());
    FreedesktopServices services(session, std::nullopt);
    Opener opener;
    QDesktopServices::setUrlHandler("file", &opener, "open");

    services.notify("Session ended", "DAY 2 was ended for everyone.");
    EXPECT_EQ(nextCall(), "Notify Korvalume|Session ended|DAY 2 was ended for everyone.");

    auto hold = services.keepAwake("Live Korvalume session");
    EXPECT_EQ(nextCall(), "Inhibit Korvalume|Live Korvalume session");
    hold.reset();
    EXPECT_EQ(nextCall(), "UnInhibit 42");

    const QString map = "/tmp/Card dumps/DAY 2 SYNC MAP.xml";
    services.showInFileBrowser(map);
    EXPECT_EQ(nextCall(), "ShowItems file:///tmp/Card%20dumps/DAY%202%20SYNC%20MAP.xml");
    EXPECT_TRUE(opener.opened.isEmpty());

    // Without the services every call fails quietly; the file browser falls back to
    // opening the folder.
    recorder.kill();
    recorder.waitForFinished();
    services.notify("a", "b");
    EXPECT_TRUE(services.keepAwake("Live Korvalume session"));
    services.showInFileBrowser(map);
    EXPECT_EQ(opener.opened, QList<QUrl>{QUrl::fromLocalFile("/tmp/Card dumps")});
    EXPECT_EQ(messages, QStringList{});
    QDesktopServices::unsetUrlHandler("file");
}

} // namespace
} // namespace korvalume

#include "platform_test.moc"
