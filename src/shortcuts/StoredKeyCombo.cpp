#include "shortcuts/StoredKeyCombo.h"

#include "model/Preferences.h"

#include <QRegularExpression>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <utility>

namespace lookpane {

namespace {

// What a stored setting holds when read as a whole number.
struct IntegerReading
{
    enum class Kind
    {
        // Not a number at all (text, a list, a Boolean): the registered default applies.
        notANumber,
        // A whole number that fits in 64 bits, as sign and magnitude.
        integer,
        // A number, but not one a 64-bit word can hold (a fraction, or too large).
        otherNumber,
    };
    Kind kind = Kind::notANumber;
    bool isNegative = false;
    std::uint64_t magnitude = 0;
    QString text;
};

IntegerReading integerFromDouble(double value, QString text)
{
    if (!std::isfinite(value)) {
        return {IntegerReading::Kind::notANumber, false, 0, std::move(text)};
    }
    // 2^64: beyond that no word holds the number.
    constexpr double wordLimit = 18446744073709551616.0;
    if (value != std::trunc(value) || std::abs(value) >= wordLimit) {
        return {IntegerReading::Kind::otherNumber, value < 0, 0, std::move(text)};
    }
    return {IntegerReading::Kind::integer, value < 0, static_cast<std::uint64_t>(std::abs(value)),
            std::move(text)};
}

IntegerReading integerFromText(const QString &raw)
{
    const QString text = raw.trimmed();
    static const QRegularExpression wholeNumber(QStringLiteral(R"(^([-+]?)(\d+)$)"));
    if (const QRegularExpressionMatch match = wholeNumber.match(text); match.hasMatch()) {
        bool ok = false;
        const std::uint64_t magnitude = match.capturedView(2).toULongLong(&ok);
        const bool isNegative = match.capturedView(1) == QLatin1String("-") && magnitude != 0;
        if (!ok) {
            return {IntegerReading::Kind::otherNumber, isNegative, 0, text};
        }
        return {IntegerReading::Kind::integer, isNegative, magnitude, text};
    }
    bool ok = false;
    const double value = text.toDouble(&ok);
    if (!ok) {
        return {IntegerReading::Kind::notANumber, false, 0, text};
    }
    return integerFromDouble(value, text);
}

IntegerReading readInteger(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::Long:
    case QMetaType::LongLong:
    case QMetaType::Short:
    case QMetaType::SChar: {
        const qlonglong number = value.toLongLong();
        const std::uint64_t magnitude = number < 0 ? 0 - static_cast<std::uint64_t>(number)
                                                   : static_cast<std::uint64_t>(number);
        return {IntegerReading::Kind::integer, number < 0, magnitude, value.toString()};
    }
    case QMetaType::UInt:
    case QMetaType::ULong:
    case QMetaType::ULongLong:
    case QMetaType::UShort:
    case QMetaType::UChar:
        return {IntegerReading::Kind::integer, false, value.toULongLong(), value.toString()};
    case QMetaType::Double:
    case QMetaType::Float:
        return integerFromDouble(value.toDouble(), value.toString());
    case QMetaType::QString:
        return integerFromText(value.toString());
    case QMetaType::QByteArray:
        return integerFromText(QString::fromUtf8(value.toByteArray()));
    default:
        return {};
    }
}

[[noreturn]] void stopForCorruptSetting(const Preferences &preferences, const QString &key,
                                        const QString &text, const char *expectation)
{
    const QByteArray message =
        QStringLiteral("Lookpane: the setting \"%1\" in %2 holds %3, "
                       "which is not %4.\n")
            .arg(key, preferences.fileName(), text, QString::fromUtf8(expectation))
            .toUtf8();
    std::fputs(message.constData(), stderr);
    std::fflush(stderr);
    // Nothing is left unsaved (every write is flushed at once), and unwinding through the
    // caller or running exit handlers from here would only risk a crash on top.
    std::_Exit(EXIT_FAILURE);
}

} // namespace

StoredKeyCombo::StoredKeyCombo(Preferences &preferences, QString prefix)
    : m_preferences(preferences), m_prefix(std::move(prefix))
{}

QString StoredKeyCombo::key(const char *suffix) const
{
    return m_prefix + QString::fromLatin1(suffix);
}

std::map<QString, QVariant> StoredKeyCombo::defaults(const KeyCombo &combo) const
{
    return {
        {key(".enabled"), true},
        {key(".keyCode"), static_cast<int>(combo.keyCode)},
        {key(".modifiers"), static_cast<qulonglong>(combo.modifiers)},
    };
}

bool StoredKeyCombo::isEnabled() const
{
    return m_preferences.boolValue(key(".enabled"));
}

std::uint64_t StoredKeyCombo::storedWord(const char *suffix, std::uint64_t largest,
                                         const char *expectation) const
{
    const QString name = key(suffix);
    // The stored value first; one that is not a number at all falls back to the default.
    for (const QVariant &value :
         {m_preferences.contains(name) ? m_preferences.value(name) : QVariant(),
          m_preferences.registeredDefault(name)}) {
        const IntegerReading reading = readInteger(value);
        if (reading.kind == IntegerReading::Kind::notANumber) {
            continue;
        }
        if (reading.kind == IntegerReading::Kind::otherNumber || reading.isNegative ||
            reading.magnitude > largest) {
            stopForCorruptSetting(m_preferences, name, reading.text, expectation);
        }
        return reading.magnitude;
    }
    return 0;
}

std::uint16_t StoredKeyCombo::keyCode() const
{
    constexpr std::uint16_t largest = std::numeric_limits<std::uint16_t>::max();
    return static_cast<std::uint16_t>(storedWord(".keyCode", largest, "a key code (0...65535)"));
}

std::uint64_t StoredKeyCombo::modifiers() const
{
    return storedWord(".modifiers", std::numeric_limits<std::uint64_t>::max(),
                      "a modifier word (a whole number from 0 to 2^64 - 1)");
}

std::optional<KeyCombo> StoredKeyCombo::combo() const
{
    if (!isEnabled()) {
        return std::nullopt;
    }
    return KeyCombo{keyCode(), modifiers()};
}

void StoredKeyCombo::setCombo(std::optional<KeyCombo> combo)
{
    if (!combo) {
        setEnabled(false);
        return;
    }
    m_preferences.setValue(key(".enabled"), true);
    m_preferences.setValue(key(".keyCode"), static_cast<int>(combo->keyCode));
    m_preferences.setValue(key(".modifiers"), static_cast<qulonglong>(combo->modifiers));
}

void StoredKeyCombo::setEnabled(bool enabled)
{
    m_preferences.setValue(key(".enabled"), enabled);
}

} // namespace lookpane
