// The real lookpane executable on private X servers that change under it or were never fit
// for it: a compositing manager that leaves and comes back, missing extensions, a platform
// other than X11, a settings file of random bytes, an X server that dies, a SIGKILL, and
// launches that race each other.
#include "ChildProcess.h"
#include "Eventually.h"
#include "LookpaneLaunch.h"
#include "PatternWindow.h"
#include "XReadback.h"
#include "XvfbServer.h"

#include "model/RectText.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QTemporaryDir>

#include <xcb/shape.h>
#include <xcb/xcb.h>

#include <signal.h>
#include <sys/wait.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <random>

using namespace lookpane;
using namespace lookpane::testing;

namespace {

// Lookpane on the test's display with the test's settings folder. The settings file is left
// as each test makes it (some make it unreadable on purpose), so the guide may open.
ChildProcess::Options lookpaneEnvironment(const XvfbServer &server, const QTemporaryDir &config)
{
    return lookpane::testing::lookpaneEnvironment(server.displayName(), config.path());
}

QString settingsFile(const QTemporaryDir &config)
{
    return lookpaneSettingsFile(config.path());
}

// Settings written before a launch; the guide stays closed, so that nothing but Lookpane's
// box, toolbar and share window appear.
void writeSettings(const QTemporaryDir &config, const std::map<QString, QString> &values)
{
    QDir(config.path()).mkpath(QStringLiteral("Lookpane"));
    QSettings settings(settingsFile(config), QSettings::NativeFormat);
    settings.setValue(QStringLiteral("ShowGuideOnLaunch"), QStringLiteral("false"));
    for (const auto &[key, value] : values) {
        settings.setValue(key, value);
    }
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString readText(const QString &path)
{
    return QString::fromUtf8(readFile(path));
}

// The frame rectangle text for a box whose content area is `qtRect` (Qt coordinates) on a
// screen `screenHeight` tall.
QString frameText(const QRect &qtRect, int screenHeight)
{
    return rectToText(ScreenRect(qtRect.x(), screenHeight - (qtRect.y() + qtRect.height()),
                                 qtRect.width(), qtRect.height()));
}

int viewableFrames(const XvfbServer &server)
{
    int viewable = 0;
    for (const WindowInfo &info :
         findWindowsByRole(server.displayName(), QStringLiteral("frame"))) {
        viewable += info.viewable ? 1 : 0;
    }
    return viewable;
}

// Whether Lookpane's box has a bounding shape of its own (cut to its outline); none when
// there is no viewable box or on any X failure.
std::optional<bool> isBoxCut(const XvfbServer &server)
{
    std::optional<std::uint32_t> box;
    for (const WindowInfo &info :
         findWindowsByRole(server.displayName(), QStringLiteral("frame"))) {
        if (info.viewable) {
            box = info.id;
        }
    }
    if (!box) {
        return std::nullopt;
    }
    xcb_connection_t *c = xcb_connect(server.displayName().c_str(), nullptr);
    std::optional<bool> shaped;
    if (xcb_connection_has_error(c) == 0) {
        xcb_shape_query_extents_reply_t *extents =
            xcb_shape_query_extents_reply(c, xcb_shape_query_extents(c, *box), nullptr);
        if (extents != nullptr) {
            shaped = extents->bounding_shaped != 0;
            std::free(extents);
        }
    }
    xcb_disconnect(c);
    return shaped;
}

int distance(const QColor &a, const QColor &b)
{
    return std::abs(a.red() - b.red()) + std::abs(a.green() - b.green()) +
           std::abs(a.blue() - b.blue());
}

// Bounding box of the pixels brighter than `level` in every channel: white text.
QRect brightBox(const QImage &image, int level)
{
    QRect box;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor c = image.pixelColor(x, y);
            if (c.red() > level && c.green() > level && c.blue() > level) {
                box = box.united(QRect(x, y, 1, 1));
            }
        }
    }
    return box;
}

QByteArray randomBytes(int count, unsigned seed)
{
    std::mt19937 random(seed);
    QByteArray bytes;
    bytes.reserve(count);
    for (int i = 0; i < count; ++i) {
        bytes.append(static_cast<char>(random() & 0xFF));
    }
    return bytes;
}

bool exitedWith(const std::optional<int> &status, int code)
{
    return status && WIFEXITED(*status) && WEXITSTATUS(*status) == code;
}

} // namespace

// --- a compositing manager that leaves and comes back --------------------------------------

TEST(HostileDesktop, TheDetachedOutlineFollowsTheCompositingManagerLeavingAndComingBack)
{
    XvfbServer server({1280, 720});
    ASSERT_TRUE(server.isRunning());
    ASSERT_TRUE(server.startWindowManager());
    ASSERT_TRUE(server.startCompositor());
    PatternWindow::Options options =
        PatternWindow::at(QRect(200, 200, 640, 360), Pattern::solid, "Beneath");
    options.color = 0x2080C0;
    options.undecorated = true;
    PatternWindow pattern(server.displayName(), options);
    ASSERT_TRUE(pattern.isShown());
    const QRect beneath =
        windowInfo(server.displayName(), pattern.window()).value_or(WindowInfo{}).geometry;
    ASSERT_FALSE(beneath.isEmpty());

    // Detached from the start, the box over the window, the share window well away from it.
    QTemporaryDir config;
    writeSettings(config, {{QStringLiteral("ShareMode"), QStringLiteral("detached")},
                           {QStringLiteral("FrameWindowFrame"), frameText(beneath, 720)},
                           {QStringLiteral("DetachedShareWindowFrame"),
                            frameText(QRect(900, 40, 320, 180), 720)}});
    ChildProcess lookpane({lookpaneExecutable()}, lookpaneEnvironment(server, config));
    const std::optional<WindowInfo> box =
        waitForViewableRole(server.displayName(), QStringLiteral("frame"), 20000);
    ASSERT_TRUE(box.has_value());
    const QColor below(0x20, 0x80, 0xC0);
    const QPoint middle = beneath.center() - beneath.topLeft();
    const auto middleSeen = [&] {
        return grabScreenRect(server.displayName(), beneath).pixelColor(middle);
    };
    // Composited: the box keeps its whole shape and its middle shows the window beneath.
    ASSERT_TRUE(eventually([&] { return distance(middleSeen(), below) <= 6; }, 20000));
    EXPECT_EQ(isBoxCut(server), false);

    // xcompmgr killed: without the cut the middle turns black for as long as Lookpane runs.
    server.stopCompositor();
    EXPECT_TRUE(eventually([&] { return isBoxCut(server) == true; }, 20000))
        << "the box was not cut to its outline";
    EXPECT_TRUE(eventually([&] { return distance(middleSeen(), below) <= 6; }, 20000))
        << "the middle shows " << middleSeen().name().toStdString();

    // A compositing manager again: the box gets its whole shape back.
    ASSERT_TRUE(server.startCompositor());
    EXPECT_TRUE(eventually([&] { return isBoxCut(server) == false; }, 20000));
    EXPECT_TRUE(eventually([&] { return distance(middleSeen(), below) <= 6; }, 20000));

    lookpane.signal(SIGTERM);
    EXPECT_TRUE(exitedWith(lookpane.waitForExit(std::chrono::seconds(15)), 0));
}

// --- start-up on a platform or display it cannot use ---------------------------------------

TEST(HostileDesktop, TheOffscreenPlatformIsRefusedInOneLineWithStatusOne)
{
    XvfbServer server({1280, 720});
    ASSERT_TRUE(server.isRunning());
    QTemporaryDir config;
    ChildProcess::Options options = lookpaneEnvironment(server, config);
    options.environment["QT_QPA_PLATFORM"] = "offscreen";
    options.stderrFile = QDir(config.path()).filePath("stderr").toStdString();
    ChildProcess lookpane({lookpaneExecutable()}, options);
    const std::optional<int> status = lookpane.waitForExit(std::chrono::seconds(20));
    ASSERT_TRUE(status.has_value()) << "lookpane kept running";
    ASSERT_TRUE(WIFEXITED(*status)) << "lookpane died of signal " << WTERMSIG(*status);
    EXPECT_EQ(WEXITSTATUS(*status), 1);
    const QString said = readText(QString::fromStdString(options.stderrFile));
    EXPECT_EQ(said.count(QLatin1Char('\n')), 1) << said.toStdString();
    EXPECT_TRUE(said.endsWith(QLatin1Char('\n')));
    EXPECT_TRUE(said.contains(QStringLiteral("\"offscreen\""))) << said.toStdString();
    EXPECT_TRUE(said.contains(QStringLiteral("xcb"))) << said.toStdString();
    EXPECT_TRUE(findWindowsByRole(server.displayName(), QStringLiteral("frame")).empty());
}

TEST(HostileDesktop, AListOfPlatformsThatNamesXcbRunsOnX11)
{
    XvfbServer server({1280, 720});
    ASSERT_TRUE(server.isRunning());
    QTemporaryDir config;
    writeSettings(config, {});
    ChildProcess::Options options = lookpaneEnvironment(server, config);
    options.environment["QT_QPA_PLATFORM"] = "offscreen;xcb";
    ChildProcess lookpane({lookpaneExecutable()}, options);
    EXPECT_TRUE(waitForViewableRole(server.displayName(), QStringLiteral("frame"), 20000));
    lookpane.signal(SIGTERM);
    EXPECT_TRUE(exitedWith(lookpane.waitForExit(std::chrono::seconds(15)), 0));
}

namespace {

struct MissingExtension
{
    std::string serverName; // as Xvfb's -extension takes it
    QString shownName;      // as Lookpane names it
};

// Test names and messages name the extension.
void PrintTo(const MissingExtension &extension, std::ostream *out)
{
    *out << extension.serverName;
}

class MissingCaptureExtension : public ::testing::TestWithParam<MissingExtension>
{};

} // namespace

TEST_P(MissingCaptureExtension, TheReasonGoesToStandardErrorAndWrapsInsideTheBox)
{
    XvfbServer server({1280, 720}, {GetParam().serverName});
    ASSERT_TRUE(server.isRunning());
    ASSERT_TRUE(server.startWindowManager());
    QTemporaryDir config;
    // A box narrower than the reason is long.
    const QRect boxRect(300, 200, 400, 240);
    writeSettings(config, {{QStringLiteral("FrameWindowFrame"), frameText(boxRect, 720)}});
    ChildProcess::Options options = lookpaneEnvironment(server, config);
    options.stderrFile = QDir(config.path()).filePath("stderr").toStdString();
    ChildProcess lookpane({lookpaneExecutable()}, options);

    const QString reason = QStringLiteral("Unable to start capture: the X server lacks the %1 "
                                          "extension that screen capture needs")
                               .arg(GetParam().shownName);
    const QString stderrPath = QString::fromStdString(options.stderrFile);
    EXPECT_TRUE(eventually([&] { return readText(stderrPath).contains(reason); }, 20000))
        << "standard error says: " << readText(stderrPath).toStdString();

    const std::optional<WindowInfo> box =
        waitForViewableRole(server.displayName(), QStringLiteral("frame"), 20000);
    ASSERT_TRUE(box.has_value());
    ASSERT_EQ(box->geometry, boxRect);
    // The reason in white on black, on several lines, none of them cut off at the box's
    // sides.
    const auto text = [&] { return brightBox(grabScreenRect(server.displayName(), boxRect), 200); };
    ASSERT_TRUE(eventually([&] { return text().height() > 24; }, 20000))
        << "the text covers " << text().height() << " rows";
    const QRect seen = text();
    EXPECT_GE(seen.left(), 8);
    EXPECT_LE(seen.right(), boxRect.width() - 9);

    lookpane.signal(SIGTERM);
    EXPECT_TRUE(exitedWith(lookpane.waitForExit(std::chrono::seconds(15)), 0));
}

INSTANTIATE_TEST_SUITE_P(HostileDesktop, MissingCaptureExtension,
                         ::testing::Values(MissingExtension{"Composite", "Composite 0.2"},
                                           MissingExtension{"DAMAGE", "DAMAGE"}),
                         [](const ::testing::TestParamInfo<MissingExtension> &param) {
                             return param.param.serverName;
                         });

// --- hostile settings ------------------------------------------------------------------------

TEST(HostileDesktop, ASettingsFileOfRandomBytesIsSetAsideAndLookpaneStartsFromDefaults)
{
    XvfbServer server({1920, 1080});
    ASSERT_TRUE(server.isRunning());
    ASSERT_TRUE(server.startWindowManager());
    QTemporaryDir config;
    QDir(config.path()).mkpath(QStringLiteral("Lookpane"));
    const QByteArray garbage = randomBytes(1 << 20, 2026);
    {
        QFile file(settingsFile(config));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(garbage), garbage.size());
    }
    ChildProcess::Options options = lookpaneEnvironment(server, config);
    options.stderrFile = QDir(config.path()).filePath("stderr").toStdString();
    ChildProcess lookpane({lookpaneExecutable()}, options);
    const std::optional<WindowInfo> box =
        waitForViewableRole(server.displayName(), QStringLiteral("frame"), 20000);
    ASSERT_TRUE(box.has_value());
    // The default box: 800 × 450 in the middle of the screen.
    EXPECT_EQ(box->geometry, QRect(560, 315, 800, 450));
    lookpane.signal(SIGTERM);
    ASSERT_TRUE(exitedWith(lookpane.waitForExit(std::chrono::seconds(15)), 0));

    const QString aside = settingsFile(config) + QStringLiteral(".corrupt");
    EXPECT_EQ(readFile(aside), garbage);
    const QString said = readText(QString::fromStdString(options.stderrFile));
    EXPECT_TRUE(said.contains(aside)) << said.toStdString();
    // What Lookpane wrote since is a small settings file of its own keys alone.
    EXPECT_LT(QFileInfo(settingsFile(config)).size(), 4096);
    const QSettings written(settingsFile(config), QSettings::NativeFormat);
    EXPECT_EQ(written.status(), QSettings::NoError);
    EXPECT_EQ(rectFromText(written.value(QStringLiteral("FrameWindowFrame")).toString()),
              ScreenRect(560, 315, 800, 450));
    for (const QString &key : written.allKeys()) {
        EXPECT_FALSE(key.isEmpty() || key.contains(QLatin1Char('%'))) << key.toStdString();
    }
}

// --- an X server that dies, a SIGKILL, launches that race -----------------------------------

TEST(HostileDesktop, WhenTheXServerDiesLookpaneExitsWithOneSayingSoAndKeepsItsSettings)
{
    auto server = std::make_unique<XvfbServer>(XvfbServer::Options{1280, 720});
    ASSERT_TRUE(server->isRunning());
    ASSERT_TRUE(server->startWindowManager());
    QTemporaryDir config;
    const std::map<QString, QString> stored{
        {QStringLiteral("FrameWindowFrame"), QStringLiteral("{{100, 80}, {640, 300}}")},
        {QStringLiteral("BlurStrength"), QStringLiteral("strong")},
        {QStringLiteral("FrameRatio"), QStringLiteral("classic")},
        {QStringLiteral("AlwaysOnTopEnabled"), QStringLiteral("false")}};
    writeSettings(config, stored);
    ChildProcess::Options options = lookpaneEnvironment(*server, config);
    options.stderrFile = QDir(config.path()).filePath("stderr").toStdString();
    ChildProcess lookpane({lookpaneExecutable()}, options);
    ASSERT_TRUE(waitForViewableRole(server->displayName(), QStringLiteral("frame"), 20000));

    ASSERT_TRUE(server->kill());
    const std::optional<int> status = lookpane.waitForExit(std::chrono::seconds(20));
    ASSERT_TRUE(status.has_value()) << "lookpane outlived its X server";
    ASSERT_TRUE(WIFEXITED(*status)) << "lookpane died of signal " << WTERMSIG(*status);
    EXPECT_EQ(WEXITSTATUS(*status), 1);
    const QString said = readText(QString::fromStdString(options.stderrFile));
    EXPECT_TRUE(said.contains(QStringLiteral("X11 connection broke"))) << said.toStdString();

    const QSettings settings(settingsFile(config), QSettings::NativeFormat);
    EXPECT_EQ(settings.status(), QSettings::NoError);
    for (const auto &[key, value] : stored) {
        EXPECT_EQ(settings.value(key).toString(), value) << key.toStdString();
    }
    EXPECT_FALSE(QFile::exists(settingsFile(config) + QStringLiteral(".corrupt")));
}

TEST(HostileDesktop, AfterASigkillARelaunchShowsOneBoxWhereTheSettingsSay)
{
    XvfbServer server({1920, 1080});
    ASSERT_TRUE(server.isRunning());
    ASSERT_TRUE(server.startWindowManager());
    QTemporaryDir config;
    // Bottom-left origin: 1080 - (80 + 300) = 700 from the top.
    writeSettings(config,
                  {{QStringLiteral("FrameWindowFrame"), QStringLiteral("{{100, 80}, {640, 300}}")},
                   {QStringLiteral("BlurStrength"), QStringLiteral("strong")}});
    {
        ChildProcess first({lookpaneExecutable()}, lookpaneEnvironment(server, config));
        ASSERT_TRUE(waitForViewableRole(server.displayName(), QStringLiteral("frame"), 20000));
        first.signal(SIGKILL);
        const std::optional<int> status = first.waitForExit(std::chrono::seconds(10));
        ASSERT_TRUE(status && WIFSIGNALED(*status));
        // The server takes its windows away with it.
        ASSERT_TRUE(eventually([&] { return viewableFrames(server) == 0; }));
    }

    ChildProcess::Options options = lookpaneEnvironment(server, config);
    options.stderrFile = QDir(config.path()).filePath("stderr").toStdString();
    ChildProcess second({lookpaneExecutable()}, options);
    const std::optional<WindowInfo> box =
        waitForViewableRole(server.displayName(), QStringLiteral("frame"), 20000);
    ASSERT_TRUE(box.has_value())
        << "no box after the relaunch; it said "
        << readText(QString::fromStdString(options.stderrFile)).toStdString();
    EXPECT_EQ(box->geometry, QRect(100, 700, 640, 300));
    EXPECT_EQ(viewableFrames(server), 1);
    EXPECT_FALSE(second.waitForExit(std::chrono::milliseconds(0)).has_value());

    second.signal(SIGTERM);
    EXPECT_TRUE(exitedWith(second.waitForExit(std::chrono::seconds(15)), 0));
    const QSettings settings(settingsFile(config), QSettings::NativeFormat);
    EXPECT_EQ(settings.value(QStringLiteral("BlurStrength")).toString(), QStringLiteral("strong"));
}

TEST(HostileDesktop, LaunchesThatRaceEachOtherLeaveExactlyOneBox)
{
    XvfbServer server({1280, 720});
    ASSERT_TRUE(server.isRunning());
    ASSERT_TRUE(server.startWindowManager());
    QTemporaryDir config;
    writeSettings(config, {});
    constexpr int rounds = 8;
    constexpr int launches = 6;
    for (int round = 0; round < rounds; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        std::vector<std::unique_ptr<ChildProcess>> racers;
        for (int i = 0; i < launches; ++i) {
            racers.push_back(
                std::make_unique<ChildProcess>(std::vector<std::string>{lookpaneExecutable()},
                                               lookpaneEnvironment(server, config)));
        }
        // All but one hand over to the first and leave, successfully.
        std::vector<int> running;
        ASSERT_TRUE(eventually(
            [&] {
                running.clear();
                int handedOver = 0;
                for (int i = 0; i < launches; ++i) {
                    const std::optional<int> status =
                        racers[i]->waitForExit(std::chrono::milliseconds(0));
                    if (!status) {
                        running.push_back(i);
                    } else if (exitedWith(status, 0)) {
                        ++handedOver;
                    }
                }
                return handedOver == launches - 1 && running.size() == 1;
            },
            30000))
            << running.size() << " still running";
        ChildProcess &survivor = *racers[running.front()];
        ASSERT_TRUE(eventually([&] { return viewableFrames(server) == 1; }, 20000));
        EXPECT_EQ(findWindowsByRole(server.displayName(), QStringLiteral("frame")).size(), 1u);

        survivor.signal(SIGTERM);
        ASSERT_TRUE(exitedWith(survivor.waitForExit(std::chrono::seconds(15)), 0));
        ASSERT_TRUE(eventually([&] {
            return findWindowsByRole(server.displayName(), QStringLiteral("frame")).empty();
        }));
    }
}
