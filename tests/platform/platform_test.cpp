// What the desk takes from the machine: its identity and operator name in the settings,
// the join code's image (read back by zbarimg, an independent decoder), and the desktop's
// services over a private D-Bus session bus.
#include "platform/freedesktop_services.h"
#include "platform/platform.h"
#include "platform/qr_modules.h"
#include "session/session_doc.h"
#include "session/session_link.h"
#include "support/media_fixtures.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QElapsedTimer>
#include <QProcess>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

// Failure messages show texts as text.
inline void PrintTo(const QString& text, std::ostream* out) {
    *out << text.toStdString();
}

namespace korvalume {
namespace {

QCoreApplication& application() {
    static QTemporaryDir settings;
    static int argc = 1;
    static char name[] = "platform_tests";
    static char* argv[] = {name, nullptr};
    static QCoreApplication* app = [] {
        // This test's own settings folder: the identity it makes is not the user's.
        qputenv("XDG_CONFIG_HOME", settings.path().toUtf8());
        auto* made = new QCoreApplication(argc, argv);
        QCoreApplication::setOrganizationName("Korvalume");
        QCoreApplication::setApplicationName("Platform Test");
        return made;
    }();
    return *app;
}

class PlatformTest : public ::testing::Test {
protected:
    void SetUp() override { application(); }
};

TEST_F(PlatformTest, TheDeviceKeepsOneIdentityAndTheOperatorNameGivesTheDisplayName) {
    const QString id = Platform::deviceID();
    EXPECT_EQ(id.size(), 36);
    EXPECT_EQ(id, id.toUpper());
    EXPECT_TRUE(Uuid::parse(id.toStdString()));
    EXPECT_EQ(Platform::deviceID(), id);
    EXPECT_EQ(QSettings().value("deviceID").toString(), id);

    EXPECT_EQ(Platform::displayName(), "LAPTOP");
    Platform::setOperatorName("  ana  ");
    EXPECT_EQ(Platform::operatorName(), "  ana  ");
    EXPECT_EQ(Platform::displayName(), "ANA");
    EXPECT_EQ(Platform::displayNameFor(" \t"), "LAPTOP");
}

TEST_F(PlatformTest, TheJoinCodeReadsBackAsTheLinkWithItsQuietZone) {
    const QString zbarimg = QStandardPaths::findExecutable("zbarimg");
    if (zbarimg.isEmpty())
        GTEST_SKIP() << "zbarimg is not installed (scripts/setup installs zbar-tools)";
    SessionDoc doc =
        SessionDoc::newSession("NIGHT EXTERIOR / DAY 2", FrameRate{24, true}, 1'718'442'000.5,
                               "DE5C0000-0000-4000-8000-000000000001");
    const QString link = QString::fromStdString(SessionLink::from(doc).url());
    const QImage image = Platform::qrCode(link);
    ASSERT_FALSE(image.isNull());

    const auto modules = QrModules::encode(link);
    ASSERT_TRUE(modules);
    const int side = (modules->size + 2 * qrQuietZone) * Platform::qrModulePixels;
    EXPECT_EQ(image.size(), QSize(side, side));
    // Black on white only, and white all round for four modules.
    const int quiet = qrQuietZone * Platform::qrModulePixels;
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            const int gray = qGray(image.pixel(x, y));
            ASSERT_TRUE(gray == 0 || gray == 255) << x << "," << y;
            if (x < quiet || y < quiet || x >= side - quiet || y >= side - quiet) {
                ASSERT_EQ(gray, 255) << x << "," << y;
            }
        }
    }
    // Every module is a whole 12 x 12 square: the top-left finder's corner module.
    EXPECT_EQ(qGray(image.pixel(quiet, quiet)), 0);
    EXPECT_EQ(qGray(image.pixel(quiet + Platform::qrModulePixels - 1,
                                quiet + Platform::qrModulePixels - 1)),
              0);

    fixtures::TempDir dir;
    const QString png = QString::fromStdString(dir.file("join.png"));
    ASSERT_TRUE(image.save(png));
    QProcess zbar;
    zbar.start(zbarimg, {"--raw", "-q", png});
    ASSERT_TRUE(zbar.waitForFinished(30'000));
    EXPECT_EQ(QString::fromUtf8(zbar.readAllStandardOutput()).trimmed(), link);

    EXPECT_TRUE(Platform::qrCode(QString(8000, u'x')).isNull()) << "too long for a QR symbol";
}

// A private session bus with the recorder on it, for as long as the test runs.
class PrivateBus {
public:
    PrivateBus() {
        daemon_.start("dbus-daemon", {"--session", "--nofork", "--print-address=1"});
        if (!daemon_.waitForStarted(10'000) || !daemon_.waitForReadyRead(10'000))
            return;
        address_ = QString::fromUtf8(daemon_.readLine()).trimmed();
        auto env = QProcessEnvironment::systemEnvironment();
        env.insert("DBUS_SESSION_BUS_ADDRESS", address_);
        recorder_.setProcessEnvironment(env);
        recorder_.start(KORVALUME_DBUS_RECORDER, QStringList{});
        if (recorder_.waitForReadyRead(10'000))
            ready_ = recorder_.readLine().trimmed() == "ready";
    }
    ~PrivateBus() {
        recorder_.kill();
        recorder_.waitForFinished(5'000);
        daemon_.kill();
        daemon_.waitForFinished(5'000);
    }

    bool ready() const { return ready_; }
    QString address() const { return address_; }
    // The next call the recorder got.
    QString nextCall() {
        if (!recorder_.canReadLine())
            recorder_.waitForReadyRead(5'000);
        return QString::fromUtf8(recorder_.readLine()).trimmed();
    }
    void stopRecorder() {
        recorder_.kill();
        recorder_.waitForFinished(5'000);
    }

private:
    QProcess daemon_;
    QProcess recorder_;
    QString address_;
    bool ready_ = false;
};

TEST_F(PlatformTest, DesktopServicesAreAskedOverTheSessionBus) {
    if (QStandardPaths::findExecutable("dbus-daemon").isEmpty())
        GTEST_SKIP() << "dbus-daemon is not installed (scripts/setup installs dbus)";
    PrivateBus bus;
    ASSERT_TRUE(bus.ready());
    const auto session = QDBusConnection::connectToBus(bus.address(), "platform-test");
    ASSERT_TRUE(session.isConnected());
    FreedesktopServices services(session, std::nullopt);

    services.notify("Session ended", "DAY 2 was ended for everyone.");
    EXPECT_EQ(bus.nextCall(), "Notify Korvalume|Session ended|DAY 2 was ended for everyone.");

    auto hold = services.keepAwake("Live Korvalume session");
    EXPECT_EQ(bus.nextCall(), "Inhibit Korvalume|Live Korvalume session");
    hold.reset();
    EXPECT_EQ(bus.nextCall(), "UnInhibit 42");

    services.showInFileBrowser("/tmp/Card dumps/DAY 2 SYNC MAP.xml");
    EXPECT_EQ(bus.nextCall(), "ShowItems file:///tmp/Card%20dumps/DAY%202%20SYNC%20MAP.xml");

    // Without the services the calls fail at once and quietly.
    bus.stopRecorder();
    QElapsedTimer clock;
    clock.start();
    services.notify("a", "b");
    auto none = services.keepAwake("Live Korvalume session");
    none.reset();
    EXPECT_LT(clock.elapsed(), 1000);
}

} // namespace
} // namespace korvalume
