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
#include <QDesktopServices>
#include <QProcess>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QUrl>

#include <gtest/gtest.h>

// Failure messages show texts as text.
inline void PrintTo(const QString& text, std::ostream* out) {
    *out << text.toStdString();
}

namespace korvalume {
namespace {

QTemporaryDir& settingsHome() {
    static QTemporaryDir dir;
    return dir;
}

// Qt's messages of the running test, so "silently" can be checked.
QStringList& messages() {
    static QStringList all;
    return all;
}

void application() {
    static int argc = 1;
    static char name[] = "platform_tests";
    static char* argv[] = {name, nullptr};
    [[maybe_unused]] static QCoreApplication* app = [] {
        // This test's own settings folder: the identity it makes is not the user's.
        qputenv("XDG_CONFIG_HOME", settingsHome().path().toUtf8());
        auto* made = new QCoreApplication(argc, argv);
        QCoreApplication::setOrganizationName("Korvalume");
        QCoreApplication::setApplicationName("Platform Test");
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& text) {
            messages().append(text);
        });
        return made;
    }();
}

class PlatformTest : public ::testing::Test {
protected:
    void SetUp() override {
        application();
        messages().clear();
    }
};

TEST_F(PlatformTest, TheDeviceKeepsOneIdentityAndTheOperatorNameGivesTheDisplayName) {
    const QString id = Platform::deviceID();
    EXPECT_TRUE(Uuid::parse(id.toStdString())) << id.toStdString();
    EXPECT_EQ(id, id.toUpper());
    EXPECT_EQ(Platform::deviceID(), id);
    // On disk at once, so the next start of the program finds the same identity.
    const QSettings onDisk(settingsHome().filePath("Korvalume/Platform Test.conf"),
                           QSettings::IniFormat);
    EXPECT_EQ(onDisk.value("deviceID").toString(), id);

    EXPECT_EQ(Platform::operatorName(), "");
    EXPECT_EQ(Platform::displayName(), "LAPTOP");
    Platform::setOperatorName("   ");
    EXPECT_EQ(Platform::displayName(), "LAPTOP");
    Platform::setOperatorName(" ana\t");
    EXPECT_EQ(Platform::operatorName(), " ana\t");
    EXPECT_EQ(Platform::displayName(), "ANA");
    EXPECT_EQ(Platform::displayNameFor("Jürgen Ölz"), "JÜRGEN ÖLZ");
}

TEST_F(PlatformTest, TheJoinCodeReadsBackAsTheLinkWithItsQuietZone) {
    const QString zbarimg = QStandardPaths::findExecutable("zbarimg");
    if (zbarimg.isEmpty())
        GTEST_SKIP() << "zbarimg is not installed (scripts/setup installs zbar-tools)";
    const SessionDoc doc =
        SessionDoc::newSession("NIGHT EXTERIOR / DAY 2", FrameRate{24, true}, 1'718'442'000.5,
                               "DE5C0000-0000-4000-8000-000000000001");
    const QString link = QString::fromStdString(SessionLink::from(doc).url());
    const QImage image = Platform::qrCode(link);
    ASSERT_FALSE(image.isNull());

    // Whole pixels per module, inside a quiet zone of 4 white modules.
    const auto modules = QrModules::encode(link);
    ASSERT_TRUE(modules);
    const int side = (modules->size + 2 * qrQuietZone) * Platform::qrModulePixels;
    ASSERT_EQ(image.size(), QSize(side, side));
    EXPECT_EQ(image.pixel(qrQuietZone * Platform::qrModulePixels - 1, side / 2),
              qRgb(255, 255, 255));

    fixtures::TempDir dir;
    const QString png = QString::fromStdString(dir.file("join.png"));
    ASSERT_TRUE(image.save(png));
    QProcess zbar;
    zbar.start(zbarimg, {"--raw", "-q", png});
    ASSERT_TRUE(zbar.waitForFinished(30'000));
    EXPECT_EQ(zbar.exitCode(), 0) << zbar.readAllStandardError().toStdString();
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
        stopRecorder();
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
    PrivateBus bus;
    ASSERT_TRUE(bus.ready());
    const auto session = QDBusConnection::connectToBus(bus.address(), "platform-test");
    ASSERT_TRUE(session.isConnected());
    FreedesktopServices services(session, std::nullopt);
    Opener opener;
    QDesktopServices::setUrlHandler("file", &opener, "open");

    services.notify("Session ended", "DAY 2 was ended for everyone.");
    EXPECT_EQ(bus.nextCall(), "Notify Korvalume|Session ended|DAY 2 was ended for everyone.");

    auto hold = services.keepAwake("Live Korvalume session");
    EXPECT_EQ(bus.nextCall(), "Inhibit Korvalume|Live Korvalume session");
    hold.reset();
    EXPECT_EQ(bus.nextCall(), "UnInhibit 42");

    const QString map = "/tmp/Card dumps/DAY 2 SYNC MAP.xml";
    services.showInFileBrowser(map);
    EXPECT_EQ(bus.nextCall(), "ShowItems file:///tmp/Card%20dumps/DAY%202%20SYNC%20MAP.xml");
    EXPECT_TRUE(opener.opened.isEmpty());

    // Without the services every call fails quietly; the file browser falls back to
    // opening the folder.
    bus.stopRecorder();
    services.notify("a", "b");
    auto none = services.keepAwake("Live Korvalume session");
    EXPECT_TRUE(none);
    none.reset();
    services.showInFileBrowser(map);
    EXPECT_EQ(opener.opened, QList<QUrl>{QUrl::fromLocalFile("/tmp/Card dumps")});
    EXPECT_EQ(messages(), QStringList{});
    QDesktopServices::unsetUrlHandler("file");
}

} // namespace
} // namespace korvalume

#include "platform_test.moc"
