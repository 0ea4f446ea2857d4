// main() of test executables that show windows: a private Xvfb first, then QApplication on it.
#include "TestDisplay.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace lookpane::testing {

namespace {
XvfbServer *server = nullptr;
std::string configHome;
} // namespace

XvfbServer &testDisplay()
{
    return *server;
}

std::string testConfigHome()
{
    return configHome;
}

} // namespace lookpane::testing

int main(int argc, char **argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    // Listing tests needs no server.
    if (::testing::GTEST_FLAG(list_tests)) {
        return RUN_ALL_TESTS();
    }

    lookpane::testing::XvfbServer::Options options;
    if (const char *size = std::getenv("LOOKPANE_TEST_SCREEN")) {
        std::sscanf(size, "%dx%d", &options.width, &options.height);
    }
    auto server = std::make_unique<lookpane::testing::XvfbServer>(options);
    if (!server->isRunning()) {
        std::fprintf(stderr, "Could not start Xvfb (is the xvfb package installed?)\n");
        return 1;
    }
    lookpane::testing::server = server.get();

    QTemporaryDir configHome;
    lookpane::testing::configHome = configHome.path().toStdString();
    setenv("DISPLAY", server->displayName().c_str(), 1);
    setenv("QT_QPA_PLATFORM", "xcb", 1);
    setenv("XDG_CONFIG_HOME", lookpane::testing::configHome.c_str(), 1);
    setenv("LIBGL_ALWAYS_SOFTWARE", "1", 1);
    unsetenv("WAYLAND_DISPLAY");
    unsetenv("XAUTHORITY");
    unsetenv("SESSION_MANAGER");

    int result = 0;
    {
        QApplication app(argc, argv);
        result = RUN_ALL_TESTS();
    }
    lookpane::testing::server = nullptr;
    return result;
}
