// The real QML window, offscreen, over a real desk model, driven through its items.
#include "desk/desk_test_support.h"
#include "session/session_link.h"
#include "support/shoot_builder.h"

#include "app/desk_types.h"
#include "app/desk_view.h"
#include "app/view_rules.h"
#include "session/session_file.h"

#include <QFileInfo>
#include <QGuiApplication>
#include <QProcess>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QtQml/qqmlextensionplugin.h>

#include <gtest/gtest.h>

Q_IMPORT_QML_PLUGIN(Korvalume_DeskPlugin)

namespace korvalume {
namespace {

using namespace testing;

constexpr int waitMs = 20'000;

QGuiApplication& guiApplication() {
    static int argc = 1;
    static char name[] = "window_tests";
    static char* argv[] = {name, nullptr};
    static QTemporaryDir settings;
    static QGuiApplication* app = [] {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        // The last frame rate chosen is remembered in the user's settings: these are the
        // test's own.
        qputenv("XDG_CONFIG_HOME", settings.path().toUtf8());
        auto* made = new QGuiApplication(argc, argv);
        QQuickStyle::setStyle(QStringLiteral("Basic"));
        return made;
    }();
    return *app;
}

// The window on a desk, and ways to find and press what a user sees.
class WindowTest : public ::testing::Test {
protected:
    void SetUp() override { guiApplication(); }

    void show(DeskModel& model) {
        engine_ = std::make_unique<QQmlApplicationEngine>();
        engine_->setInitialProperties({{"model", QVariant::fromValue(&model)}});
        engine_->load(QUrl(QStringLiteral("qrc:/qt/qml/Korvalume/Desk/qml/Main.qml")));
        ASSERT_FALSE(engine_->rootObjects().isEmpty());
        window_ = qobject_cast<QQuickWindow*>(engine_->rootObjects().constFirst());
        ASSERT_NE(window_, nullptr);
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window_));
    }

    // An item by name, searched in the visual tree too: a Repeater's items have no
    // object parent. `within` narrows the search to one part of the window.
    QQuickItem* item(const QString& objectName, QObject* within = nullptr) {
        QObject* scope = within ? within : static_cast<QObject*>(window_);
        if (auto* found = scope->findChild<QQuickItem*>(objectName))
            return found;
        return inTree(window_->contentItem(), objectName);
    }
    static QQuickItem* inTree(QQuickItem* from, const QString& objectName) {
        if (from->objectName() == objectName)
            return from;
        for (QQuickItem* child : from->childItems())
            if (auto* found = inTree(child, objectName))
                return found;
        return nullptr;
    }
    QString text(const QString& objectName) {
        auto* found = item(objectName);
        return found ? found->property("text").toString() : QStringLiteral("<missing>");
    }
    bool shown(const QString& objectName) {
        auto* found = window_->findChild<QObject*>(objectName);
        return found && found->property("visible").toBool();
    }
    void click(const QString& objectName, QObject* within = nullptr) {
        auto* target = item(objectName, within);
        ASSERT_NE(target, nullptr) << objectName.toStdString();
        ASSERT_TRUE(target->isVisible() && target->isEnabled()) << objectName.toStdString();
        const QPointF centre =
            target->mapToScene(QPointF(target->width() / 2, target->height() / 2));
        QTest::mouseClick(window_, Qt::LeftButton, {}, centre.toPoint());
    }

    std::unique_ptr<QQmlApplicationEngine> engine_;
    QQuickWindow* window_ = nullptr;
};

TEST_F(WindowTest, StartingASessionShowsTheLiveViewWaitingForCameras) {
    Desk desk;
    show(*desk);
    EXPECT_EQ(window_->title(), "Korvalume Desk");
    ASSERT_NE(item("welcomePanel"), nullptr);
    // The rate chosen is the one the next start offers first; 25 before any start.
    auto* view = window_->findChild<QObject*>("deskView");
    const QStringList rates = view->property("rateLabels").toStringList();
    EXPECT_EQ(rates.at(view->property("rateIndex").toInt()), "25");
    view->setProperty("rateIndex", rates.indexOf("29.97"));

    // Typed into the name field; Return starts the session.
    click("nameField");
    QTest::keyClick(window_, Qt::Key_A, Qt::ControlModifier);
    for (const char key : std::string_view("night exterior"))
        QTest::keyClick(window_, key);
    QTest::keyClick(window_, Qt::Key_Return);

    ASSERT_TRUE(QTest::qWaitFor([&] { return item("liveView") != nullptr; }, waitMs));
    EXPECT_TRUE(desk->live().isLive());
    EXPECT_EQ(desk.doc().name, "NIGHT EXTERIOR");
    EXPECT_EQ(desk.doc().fps, (FrameRate{30, true}));
    DeskView nextStart;
    EXPECT_EQ(nextStart.rateLabels().at(nextStart.rateIndex()), "29.97");
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return text("waitingTitle") == "WAITING FOR CAMERAS"; }, waitMs))
        << text("waitingTitle").toStdString();
    EXPECT_EQ(text("endButton"), "END SESSION FOR EVERYONE");

    // The join code on screen reads back as the session's link with an independent decoder.
    const QString shot = QString::fromStdString(desk.dir.file("live.png"));
    ASSERT_TRUE(window_->grabWindow().save(shot));
    QProcess zbar;
    zbar.start(QStringLiteral("zbarimg"), {"--raw", "-q", shot});
    ASSERT_TRUE(zbar.waitForFinished(30'000));
    EXPECT_EQ(QString::fromUtf8(zbar.readAllStandardOutput()).trimmed(),
              qs(SessionLink::from(desk.doc()).url()));

    // Marking from the sidebar drops a marker in the log.
    click("markButton");
    EXPECT_EQ(desk.doc().markers().size(), 1u);
}

TEST_F(WindowTest, OpenedLogsShowTheSessionAndExportWaitsForAPlacedClip) {
    Desk desk;
    show(*desk);
    const double start = desk.wallClock - 50'000;
    ShootLog shoot("HARBOUR", FrameRate::pal(), start - 60);
    shoot.recording(shoot.camera("CAM A"), start, start + 2);
    shoot.camera("CAM B");
    shoot.doc.endedAt = MasterInstant(start + 600);
    const auto first = shoot.write(desk.dir.file("a.korvalume"));
    shoot.add(SyncEvent::Kind::marker, std::nullopt, start + 30);
    const auto other = shoot.write(desk.dir.file("b.korvalume"));
    desk->open({first, other});
    ASSERT_TRUE(QTest::qWaitFor([&] { return item("sessionPanel") != nullptr; }, waitMs));
    EXPECT_EQ(text("sessionHeading"), "SESSION / HARBOUR");
    ASSERT_TRUE(QTest::qWaitFor([&] { return item("cameraCard:CAM A") != nullptr; }, waitMs));
    EXPECT_NE(item("cameraCard:CAM B"), nullptr);
    EXPECT_TRUE(shown("reportDialog")) << "two logs were combined";
    EXPECT_FALSE(item("exportButton")->isEnabled());

    // A card folder handed to the camera's card is read, and a placed clip allows export.
    fixtures::MovieSpec spec;
    spec.seconds = 2;
    const auto movie = fixtures::makeMovie(desk.dir.file("card/C0001.MOV"), spec);
    QMetaObject::invokeMethod(
        item("cameraCard:CAM A"), "dropped",
        Q_ARG(QVariant,
              QVariant::fromValue(QList<QUrl>{QUrl::fromLocalFile(QFileInfo(qs(movie)).path())})));
    EXPECT_FALSE(desk->planner().folders().empty());
    ASSERT_TRUE(QTest::qWaitFor([&] { return item("exportButton")->isEnabled(); }, waitMs));
    EXPECT_TRUE(desk->planner().canExport());
}

TEST_F(WindowTest, ADeskThatDidNotStartTheSessionOffersToStopWatching) {
    Desk desk;
    show(*desk);
    SessionDoc started = session("DAY 2");
    started.startedAt = MasterInstant(desk.wallClock - 100);
    started.ownerID = "0WNE0000-0000-4000-8000-000000000009";
    desk->live().join(SessionLink::from(started));
    ASSERT_TRUE(QTest::qWaitFor([&] { return item("liveView") != nullptr; }, waitMs));
    EXPECT_EQ(text("endButton"), "STOP WATCHING");

    click("endButton");
    ASSERT_TRUE(QTest::qWaitFor([&] { return shown("endDialog"); }, waitMs));
    EXPECT_EQ(window_->findChild<QObject*>("endDialog")->property("title").toString(),
              "Stop watching this session?");
    click("dialogAccept", window_->findChild<QObject*>("endDialog"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !desk->live().isLive(); }, waitMs));
    EXPECT_FALSE(desk.doc().endedForAll) << "only this desk stops";
}

TEST_F(WindowTest, TheMasterClockOnScreenIsTheClockOfTheFrameShown) {
    Desk desk;
    show(*desk);
    desk->live().start("NIGHT", FrameRate{25, false});
    ASSERT_TRUE(QTest::qWaitFor([&] { return item("runningClock") != nullptr; }, waitMs));
    // Time runs a screen refresh per frame. What a frame shows is settled when the scene is
    // synchronised for drawing: it must be the clock of that very frame.
    int frames = 0, late = 0;
    QObject::connect(
        window_, &QQuickWindow::beforeSynchronizing, window_,
        [&] {
            ++frames;
            const std::string expected = viewrules::timeOfDay(desk.doc(), desk.clock.now());
            if (text("runningClock").toStdString() != expected ||
                text("timeOfDay").toStdString() != expected)
                ++late;
        },
        Qt::DirectConnection);
    QObject::connect(
        window_, &QQuickWindow::frameSwapped, window_, [&] { desk.wallClock += 1.0 / 60; },
        Qt::DirectConnection);
    ASSERT_TRUE(QTest::qWaitFor([&] { return frames >= 60; }, waitMs)) << frames << " frames";
    EXPECT_EQ(late, 0) << "of " << frames << " frames";
}

TEST_F(WindowTest, AFileDroppedOnACameraCardIsOpenedAsALogNotTakenAsTheFolder) {
    Desk desk;
    show(*desk);
    ShootLog shoot("HARBOUR", FrameRate::pal(), desk.wallClock - 50'000);
    shoot.camera("CAM A");
    shoot.doc.endedAt = MasterInstant(desk.wallClock - 40'000);
    desk->open({shoot.write(desk.dir.file("a.korvalume"))});
    ASSERT_TRUE(QTest::qWaitFor([&] { return item("cameraCard:CAM A") != nullptr; }, waitMs));
    shoot.camera("CAM B");
    const auto second = shoot.write(desk.dir.file("b.korvalume"));
    QMetaObject::invokeMethod(
        item("cameraCard:CAM A"), "dropped",
        Q_ARG(QVariant, QVariant::fromValue(QList<QUrl>{QUrl::fromLocalFile(qs(second))})));
    EXPECT_TRUE(desk->planner().folders().empty()) << "a file is no card";
    EXPECT_EQ(desk->document().logCount(), 2) << "it is opened like any dropped file";
}

TEST_F(WindowTest, AJoinLinkAsksBeforeClosingALogWithUnsavedChanges) {
    Desk desk;
    show(*desk);
    ShootLog shoot("HARBOUR", FrameRate::pal(), desk.wallClock - 50'000);
    shoot.camera("CAM A");
    shoot.doc.endedAt = MasterInstant(desk.wallClock - 40'000);
    const auto first = shoot.write(desk.dir.file("a.korvalume"));
    shoot.camera("CAM B");
    desk->open({first, shoot.write(desk.dir.file("b.korvalume"))});
    ASSERT_TRUE(desk->document().isModified()) << "two logs combined, not saved";
    SessionDoc other = session("DAY 2");
    other.startedAt = MasterInstant(desk.wallClock - 100);
    auto* view = window_->findChild<DeskView*>("deskView");
    view->openJoinLink(qs(SessionLink::from(other).url()));
    ASSERT_TRUE(QTest::qWaitFor([&] { return shown("joinConfirmDialog"); }, waitMs));
    EXPECT_EQ(desk.doc().name, "HARBOUR") << "nothing closes before the answer";
    click("dialogAccept", window_->findChild<QObject*>("joinConfirmDialog"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return desk->live().isLive(); }, waitMs));
    EXPECT_EQ(desk.doc().name, "DAY 2");
}

} // namespace
} // namespace korvalume
