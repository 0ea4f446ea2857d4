#include "model/RectText.h"

#include <QRegularExpression>

#include <array>
#include <charconv>
#include <cmath>

namespace lookpane {

QString shortestNumberText(double value)
{
    if (value == 0.0) {
        value = 0.0; // no "-0"
    }
    std::array<char, 512> buffer{}; // a double in fixed notation fits
    const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                            std::chars_format::fixed);
    if (error != std::errc()) {
        return QStringLiteral("0");
    }
    return QString::fromLatin1(buffer.data(), end - buffer.data());
}

QString rectToText(const ScreenRect &rect)
{
    return QStringLiteral("{{%1, %2}, {%3, %4}}")
        .arg(shortestNumberText(rect.minX()), shortestNumberText(rect.minY()),
             shortestNumberText(rect.width()), shortestNumberText(rect.height()));
}

ScreenRect rectFromText(const QString &text)
{
    static const QRegularExpression number(
        QStringLiteral(R"([-+]?(?:\d+\.?\d*|\.\d+)(?:[eE][-+]?\d+)?)"));
    std::array<double, 4> values{};
    std::size_t count = 0;
    auto matches = number.globalMatch(text);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        if (count == values.size()) {
            return ScreenRect();
        }
        bool ok = false;
        const double value = match.capturedView().toDouble(&ok);
        if (!ok || !std::isfinite(value)) {
            return ScreenRect();
        }
        values[count++] = value;
    }
    if (count != values.size()) {
        return ScreenRect();
    }
    return ScreenRect(values[0], values[1], values[2], values[3]);
}

} // namespace lookpane
