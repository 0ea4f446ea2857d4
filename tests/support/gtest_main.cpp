#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <cstdlib>

int main(int argc, char **argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    // Settings never reach the caller's own configuration.
    QTemporaryDir configHome;
    setenv("XDG_CONFIG_HOME", configHome.path().toLocal8Bit().constData(), 1);
    return RUN_ALL_TESTS();
}
