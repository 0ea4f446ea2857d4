#include "model/Preferences.h"

namespace lookpane {

Preferences::Preferences()
    : m_settings(std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope,
                                             QStringLiteral("Lookpane"),
                                             QStringLiteral("Lookpane")))
{}

Preferences::Preferences(const QString &filePath)
    : m_settings(std::make_unique<QSettings>(filePath, QSettings::NativeFormat))
{}

Preferences::~Preferences() = default;

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
