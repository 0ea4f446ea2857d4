#include "model/Preferences.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QPoint>
#include <QSettings>
#include <QTemporaryDir>

using namespace lookpane;

namespace {

class PreferencesTest : public ::testing::Test
{
protected:
    QString filePath() const { return QDir(directory.path()).filePath("Lookpane.conf"); }

    QTemporaryDir directory;
    Preferences preferences{filePath()};
};

} // namespace

TEST_F(PreferencesTest, RegisterDefaultsAnswersTheSixLaunchDefaults)
{
    preferences.registerDefaults();
    EXPECT_TRUE(preferences.boolValue("ShowGuideOnLaunch"));
    EXPECT_TRUE(preferences.boolValue("ClickThroughEnabled"));
    EXPECT_TRUE(preferences.boolValue("AlwaysOnTopEnabled"));
    EXPECT_EQ(preferences.stringValue("ShareMode"), QStringLiteral("overlay"));
    EXPECT_EQ(preferences.stringValue("FrameRatio"), QStringLiteral("free"));
    EXPECT_EQ(preferences.stringValue("BlurStrength"), QStringLiteral("light"));
    EXPECT_FALSE(preferences.value("FrameWindowFrame").isValid());
    EXPECT_FALSE(preferences.value("DetachedShareWindowFrame").isValid());
}

TEST_F(PreferencesTest, RegisteredDefaultsAreNeverWritten)
{
    preferences.registerDefaults();
    preferences.registerDefaults({{"Extra", 5}});
    EXPECT_FALSE(preferences.contains("ShowGuideOnLaunch"));
    EXPECT_FALSE(preferences.contains("Extra"));
    EXPECT_TRUE(QSettings(filePath(), QSettings::NativeFormat).allKeys().isEmpty());
    EXPECT_FALSE(QFile::exists(filePath()));
}

TEST_F(PreferencesTest, StoredValuesWinOverDefaultsAndPersistAtOnce)
{
    preferences.registerDefaults();
    preferences.setValue("ClickThroughEnabled", false);
    preferences.setValue("ShareMode", QStringLiteral("detached"));
    EXPECT_FALSE(preferences.boolValue("ClickThroughEnabled"));
    EXPECT_EQ(preferences.stringValue("ShareMode"), QStringLiteral("detached"));
    EXPECT_EQ(preferences.registeredDefault("ShareMode").toString(), QStringLiteral("overlay"));

    Preferences reopened(filePath());
    EXPECT_FALSE(reopened.boolValue("ClickThroughEnabled"));
    EXPECT_EQ(reopened.stringValue("ShareMode"), QStringLiteral("detached"));
}

TEST_F(PreferencesTest, LaterRegistrationReplacesADefault)
{
    preferences.registerDefaults({{"Key", 1}});
    preferences.registerDefaults({{"Key", 2}, {"Other", 3}});
    EXPECT_EQ(preferences.value("Key").toInt(), 2);
    EXPECT_EQ(preferences.value("Other").toInt(), 3);
}

TEST_F(PreferencesTest, BooleansReadLeniently)
{
    preferences.registerDefaults({{"Flag", true}});
    const std::vector<std::pair<QVariant, bool>> cases{
        {QStringLiteral("false"), false},
        {QStringLiteral(" FALSE "), false},
        {QStringLiteral("0"), false},
        {QStringLiteral("no"), false},
        {QStringLiteral("true"), true},
        {QStringLiteral("Yes"), true},
        {QStringLiteral("1"), true},
        {false, false},
        {0, false},
    };
    for (const auto &[stored, expected] : cases) {
        preferences.setValue("Flag", stored);
        EXPECT_EQ(preferences.boolValue("Flag"), expected) << stored.toString().toStdString();
    }
}

TEST_F(PreferencesTest, UnreadableBooleanGivesTheDefault)
{
    preferences.registerDefaults({{"On", true}, {"Off", false}});
    for (const QVariant &garbage :
         {QVariant(QStringLiteral("maybe")), QVariant(2), QVariant(QPoint(1, 1)),
          QVariant(QStringList{"true"}), QVariant(QStringLiteral("99999999999999999999"))}) {
        preferences.setValue("On", garbage);
        preferences.setValue("Off", garbage);
        EXPECT_TRUE(preferences.boolValue("On")) << garbage.toString().toStdString();
        EXPECT_FALSE(preferences.boolValue("Off")) << garbage.toString().toStdString();
    }
    // No default at all reads false.
    preferences.setValue("Unregistered", QStringLiteral("maybe"));
    EXPECT_FALSE(preferences.boolValue("Unregistered"));
}

TEST_F(PreferencesTest, StringValueIsNothingForNonTextValues)
{
    preferences.setValue("List", QStringList{"a", "b"});
    preferences.setValue("Point", QPoint(1, 2));
    EXPECT_EQ(preferences.stringValue("List"), std::nullopt);
    EXPECT_EQ(preferences.stringValue("Point"), std::nullopt);
    EXPECT_EQ(preferences.stringValue("Missing"), std::nullopt);
    preferences.setValue("Text", QStringLiteral("{{1, 2}, {3, 4}}"));
    EXPECT_EQ(preferences.stringValue("Text"), QStringLiteral("{{1, 2}, {3, 4}}"));
}

TEST(PreferencesLocation, TheUserFileIsLookpaneConfInTheConfigHome)
{
    // The test main points XDG_CONFIG_HOME at a temporary folder.
    const QString configHome = qEnvironmentVariable("XDG_CONFIG_HOME");
    ASSERT_FALSE(configHome.isEmpty());
    const Preferences preferences;
    EXPECT_EQ(preferences.fileName(), QDir(configHome).filePath("Lookpane/Lookpane.conf"));
}
