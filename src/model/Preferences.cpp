#include "model/Preferences.h"

#include "model/ModelLog.h"

#include <QFile>
#include <QStringDecoder>

namespace lookpane {

namespace {

// Why the settings file at `path` cannot be Lookpane's, in a few words; none when it can, or
// when there is none. Settings files are UTF-8 text without control characters other than
// line ends and tabs; Qt's reader makes keys of whatever else it is given, and escapes them
// when it writes them back. (Text that Qt cannot parse in places is still read for what it
// can: a line that a hand edit broke costs that line, not the whole file.)
std::optional<QString> unreadableReason(const QString &path)
{
    QFile file(path);
    if (!file.exists() || !file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    QStringDecoder utf8(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
    const QString text = utf8(file.readAll());
    if (utf8.hasError()) {
        return QStringLiteral("it is not UTF-8 text");
    }
    for (const QChar c : text) {
        if (c.category() == QChar::Other_Control && c != QLatin1Char('\n') &&
            c != QLatin1Char('\r') && c != QLatin1Char('\t')) {
            return QStringLiteral("it holds control characters");
        }
    }
    return std::nullopt;
}

} // namespace

Preferences::Preferences()
    : Preferences([] {
          return std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope,
                                             QStringLiteral("Lookpane"),
                                             QStringLiteral("Lookpane"));
      })
{}

Preferences::Preferences(const QString &filePath)
    : Preferences(
          [filePath] { return std::make_unique<QSettings>(filePath, QSettings::NativeFormat); })
{}

Preferences::Preferences(const std::function<std::unique_ptr<QSettings>()> &openSettings)
    : m_settings(openSettings())
{
    const QString path = m_settings->fileName();
    const std::optional<QString> reason = unreadableReason(path);
    if (!reason) {
        return;
    }
    const QString aside = setAsidePath(path);
    // Nothing was changed, so letting go of the settings writes nothing.
    m_settings.reset();
    QFile::remove(aside);
    if (QFile::rename(path, aside)) {
        qCWarning(lcModel,
                  "Lookpane: the settings file %s is unreadable (%s); it was moved to %s and "
                  "Lookpane starts from its defaults",
                  qPrintable(path), qPrintable(*reason), qPrintable(aside));
    } else {
        qCWarning(lcModel,
                  "Lookpane: the settings file %s is unreadable (%s) and could not be moved to "
                  "%s; Lookpane reads its defaults, and changes may rewrite the file",
                  qPrintable(path), qPrintable(*reason), qPrintable(aside));
    }
    m_settings = openSettings();
}

Preferences::~Preferences() = default;

QString Preferences::setAsidePath(const QString &filePath)
{
    return filePath + QStringLiteral(".corrupt");
}

void Preferences::registerDefaults()
{
    registerDefaults({
        {QStringLiteral("ShowGuideOnLaunch"), true},
        {QStringLiteral("ClickThroughEnabled"), true},
        {QStringLiteral("AlwaysOnTopEnabled"), true},
        {QStringLiteral("ShareMode"), QStringLiteral("overlay")},
        {QStringLiteral("FrameRatio"), QStringLiteral("free")},
        {QStringLiteral("BlurStrength"), QStringLiteral("light")},
    });
}

void Preferences::registerDefaults(const std::map<QString, QVariant> &defaults)
{
    for (const auto &[key, value] : defaults) {
        m_defaults[key] = value;
    }
}

bool Preferences::contains(const QString &key) const
{
    return m_settings->contains(key);
}

QVariant Preferences::registeredDefault(const QString &key) const
{
    const auto found = m_defaults.find(key);
    return found == m_defaults.end() ? QVariant() : found->second;
}

QVariant Preferences::value(const QString &key) const
{
    if (m_settings->contains(key)) {
        return m_settings->value(key);
    }
    return registeredDefault(key);
}

std::optional<bool> readBool(const QVariant &value)
{
    if (value.typeId() == QMetaType::Bool) {
        return value.toBool();
    }
    if (value.typeId() != QMetaType::QString && value.typeId() != QMetaType::QByteArray) {
        if (value.canConvert<qlonglong>() && value.isValid()) {
            bool ok = false;
            const qlonglong number = value.toLongLong(&ok);
            if (ok && (number == 0 || number == 1)) {
                return number == 1;
            }
        }
        return std::nullopt;
    }
    const QString text = value.toString().trimmed().toLower();
    if (text == QLatin1String("true") || text == QLatin1String("1") ||
        text == QLatin1String("yes")) {
        return true;
    }
    if (text == QLatin1String("false") || text == QLatin1String("0") ||
        text == QLatin1String("no")) {
        return false;
    }
    return std::nullopt;
}

bool Preferences::boolValue(const QString &key) const
{
    if (m_settings->contains(key)) {
        if (const std::optional<bool> stored = readBool(m_settings->value(key))) {
            return *stored;
        }
    }
    return readBool(registeredDefault(key)).value_or(false);
}

std::optional<QString> Preferences::stringValue(const QString &key) const
{
    const QVariant stored = value(key);
    if (stored.typeId() == QMetaType::QString) {
        return stored.toString();
    }
    if (stored.typeId() == QMetaType::QByteArray) {
        return QString::fromUtf8(stored.toByteArray());
    }
    return std::nullopt;
}

void Preferences::setValue(const QString &key, const QVariant &value)
{
    m_settings->setValue(key, value);
    m_settings->sync();
}

QString Preferences::fileName() const
{
    return m_settings->fileName();
}

} // namespace lookpane
