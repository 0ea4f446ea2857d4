#include "LoggedMessages.h"

#include "model/Preferences.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPoint>
#include <QSettings>
#include <QTemporaryDir>

#include <random>

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

// --- settings files that are not settings ----------------------------------------------------

namespace {

QByteArray randomBytes(std::size_t count, unsigned seed)
{
    std::mt19937 random(seed);
    QByteArray bytes;
    bytes.reserve(static_cast<qsizetype>(count));
    for (std::size_t i = 0; i < count; ++i) {
        bytes.append(static_cast<char>(random() & 0xFF));
    }
    return bytes;
}

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
           file.write(bytes) == bytes.size();
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The warnings of "lookpane.model".
std::vector<QString> modelWarnings(const lookpane::testing::LoggedMessages &logged)
{
    std::vector<QString> texts;
    for (const lookpane::testing::LoggedMessages::Message &message : logged.ofType(QtWarningMsg)) {
        if (message.category == QLatin1String("lookpane.model")) {
            texts.push_back(message.text);
        }
    }
    return texts;
}

class CorruptSettingsFile : public ::testing::Test
{
protected:
    QString filePath() const { return QDir(directory.path()).filePath("Lookpane.conf"); }
    QString asidePath() const { return filePath() + ".corrupt"; }

    QTemporaryDir directory;
};

} // namespace

TEST_F(CorruptSettingsFile, AMegabyteOfRandomBytesIsSetAsideAndLookpaneStartsFromDefaults)
{
    const QByteArray garbage = randomBytes(1 << 20, 14);
    ASSERT_TRUE(writeFile(filePath(), garbage));
    lookpane::testing::LoggedMessages logged;
    Preferences preferences(filePath());
    preferences.registerDefaults();

    // The garbage is kept as it was, under the other name, and nothing is left in its place.
    EXPECT_EQ(readFile(asidePath()), garbage);
    EXPECT_FALSE(QFile::exists(filePath()));
    EXPECT_TRUE(preferences.boolValue("ClickThroughEnabled"));
    EXPECT_EQ(preferences.stringValue("ShareMode"), QStringLiteral("overlay"));

    // Saying where the file went.
    const std::vector<QString> warnings = modelWarnings(logged);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_TRUE(warnings.front().contains(filePath())) << warnings.front().toStdString();
    EXPECT_TRUE(warnings.front().contains(asidePath())) << warnings.front().toStdString();

    // The next change writes a settings file that holds that change alone.
    preferences.setValue("ShareMode", QStringLiteral("detached"));
    EXPECT_LT(QFileInfo(filePath()).size(), 100);
    const QSettings written(filePath(), QSettings::NativeFormat);
    EXPECT_EQ(written.allKeys(), QStringList{"ShareMode"});
    EXPECT_EQ(Preferences(filePath()).stringValue("ShareMode"), QStringLiteral("detached"));
}

TEST_F(CorruptSettingsFile, AShortBinaryFileThatQtReadsWithoutComplaintIsSetAsideToo)
{
    // A hundred random bytes, which Qt's reader takes for a key or two without an error.
    const QByteArray garbage = randomBytes(100, 3);
    ASSERT_TRUE(writeFile(filePath(), garbage));
    ASSERT_EQ(QSettings(filePath(), QSettings::NativeFormat).status(), QSettings::NoError);
    const Preferences preferences(filePath());
    EXPECT_EQ(readFile(asidePath()), garbage);
    EXPECT_FALSE(QFile::exists(filePath()));
}

TEST_F(CorruptSettingsFile, AControlCharacterInOtherwiseGoodSettingsSetsTheFileAside)
{
    const QByteArray damaged = QByteArrayLiteral("[General]\nShareMode=detached\n\x01\x02\n");
    ASSERT_TRUE(writeFile(filePath(), damaged));
    Preferences preferences(filePath());
    preferences.registerDefaults();
    EXPECT_EQ(readFile(asidePath()), damaged);
    EXPECT_EQ(preferences.stringValue("ShareMode"), QStringLiteral("overlay"));
}

TEST_F(CorruptSettingsFile, AnOlderSetAsideFileIsReplaced)
{
    ASSERT_TRUE(writeFile(asidePath(), QByteArrayLiteral("the garbage of last week")));
    const QByteArray garbage = randomBytes(4096, 7);
    ASSERT_TRUE(writeFile(filePath(), garbage));
    const Preferences preferences(filePath());
    EXPECT_EQ(readFile(asidePath()), garbage);
    EXPECT_FALSE(QFile::exists(filePath()));
}

TEST_F(CorruptSettingsFile, ReadableSettingsStayWhereTheyAreEvenWithABrokenLine)
{
    // UTF-8 beyond ASCII, a tab, Windows line ends and a line that a hand edit broke: text
    // that Qt reads for what it can.
    const QByteArray text = QByteArrayLiteral(
        "[General]\r\nShareMode=detached\r\nNote=Gr\xC3\xB6\xC3\x9F"
        "e\tund Breite\r\nthis line lost its equals sign\r\nFrameRatio=square\r\n");
    ASSERT_TRUE(writeFile(filePath(), text));
    lookpane::testing::LoggedMessages logged;
    Preferences preferences(filePath());
    EXPECT_FALSE(QFile::exists(asidePath()));
    EXPECT_EQ(readFile(filePath()), text);
    EXPECT_EQ(preferences.stringValue("ShareMode"), QStringLiteral("detached"));
    EXPECT_EQ(preferences.stringValue("FrameRatio"), QStringLiteral("square"));
    EXPECT_EQ(preferences.stringValue("Note"), QStringLiteral("Größe\tund Breite"));
    EXPECT_TRUE(modelWarnings(logged).empty());
}

TEST_F(CorruptSettingsFile, AnEmptyFileIsNoDamage)
{
    ASSERT_TRUE(writeFile(filePath(), QByteArray()));
    const Preferences preferences(filePath());
    EXPECT_TRUE(QFile::exists(filePath()));
    EXPECT_FALSE(QFile::exists(asidePath()));
}

TEST(CorruptSettingsLocation, TheUsersOwnFileIsSetAsideToo)
{
    const QString configHome = qEnvironmentVariable("XDG_CONFIG_HOME");
    ASSERT_FALSE(configHome.isEmpty());
    ASSERT_TRUE(QDir(configHome).mkpath("Lookpane"));
    const QString path = QDir(configHome).filePath("Lookpane/Lookpane.conf");
    const QByteArray garbage = randomBytes(2048, 11);
    ASSERT_TRUE(writeFile(path, garbage));
    {
        Preferences preferences;
        EXPECT_EQ(preferences.fileName(), path);
        EXPECT_EQ(readFile(Preferences::setAsidePath(path)), garbage);
        EXPECT_FALSE(QFile::exists(path));
    }
    QFile::remove(Preferences::setAsidePath(path));
}
