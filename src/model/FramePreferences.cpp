#include "model/FramePreferences.h"

#include "model/Preferences.h"
#include "model/RectText.h"

#include <utility>

namespace lookpane {

namespace {
const QString frameKey = QStringLiteral("FrameWindowFrame");
const QString detachedFrameKey = QStringLiteral("DetachedShareWindowFrame");
const QString ratioKey = QStringLiteral("FrameRatio");
const QString blurStrengthKey = QStringLiteral("BlurStrength");
const QString modeKey = QStringLiteral("ShareMode");
} // namespace

FramePreferences::FramePreferences(Preferences &preferences, ScreenLayoutProvider screens)
    : m_preferences(preferences), m_screens(std::move(screens))
{}

void FramePreferences::saveFrame(const ScreenRect &rect)
{
    m_preferences.setValue(frameKey, rectToText(rect));
}

void FramePreferences::saveDetachedFrame(const ScreenRect &rect)
{
    m_preferences.setValue(detachedFrameKey, rectToText(rect));
}

std::optional<ScreenRect> FramePreferences::storedUsableFrame(const QString &key) const
{
    const std::optional<QString> text = m_preferences.stringValue(key);
    if (!text) {
        return std::nullopt;
    }
    const ScreenRect rect = rectFromText(*text);
    if (rect.width() < 2 || rect.height() < 2) {
        return std::nullopt;
    }
    if (!isReachable(rect)) {
        return std::nullopt;
    }
    return rect;
}

ScreenRect FramePreferences::restoredFrame() const
{
    return storedUsableFrame(frameKey).value_or(centredDefaultFrame());
}

std::optional<ScreenRect> FramePreferences::restoredDetachedFrame() const
{
    return storedUsableFrame(detachedFrameKey);
}

FrameRatio FramePreferences::ratio() const
{
    const std::optional<QString> text = m_preferences.stringValue(ratioKey);
    return text ? fromRawValue<FrameRatio>(*text).value_or(FrameRatio::free) : FrameRatio::free;
}

void FramePreferences::setRatio(FrameRatio ratio)
{
    m_preferences.setValue(ratioKey, rawValue(ratio));
}

BlurStrength FramePreferences::blurStrength() const
{
    const std::optional<QString> text = m_preferences.stringValue(blurStrengthKey);
    return text && *text == QLatin1String("strong") ? BlurStrength::strong : BlurStrength::light;
}

void FramePreferences::setBlurStrength(BlurStrength strength)
{
    m_preferences.setValue(blurStrengthKey, rawValue(strength));
}

ShareMode FramePreferences::mode() const
{
    const std::optional<QString> text = m_preferences.stringValue(modeKey);
    return text && *text == QLatin1String("detached") ? ShareMode::detached : ShareMode::overlay;
}

bool FramePreferences::isReachable(const ScreenRect &rect) const
{
    const ScreenLayout layout = m_screens ? m_screens() : ScreenLayout{};
    for (const ScreenLayout::Screen &screen : layout.screens) {
        const ScreenRect overlap = screen.visibleFrame.intersected(rect);
        if (!overlap.isEmpty() && overlap.width() * overlap.height() >= 10000.0) {
            return true;
        }
    }
    return false;
}

ScreenRect FramePreferences::centredDefaultFrame() const
{
    const ScreenLayout layout = m_screens ? m_screens() : ScreenLayout{};
    ScreenRect visible(0, 0, 800, 450);
    if (layout.mainIndex && *layout.mainIndex < layout.screens.size()) {
        visible = layout.screens[*layout.mainIndex].visibleFrame;
    } else if (!layout.screens.empty()) {
        visible = layout.screens.front().visibleFrame;
    }
    const ScreenPoint centre = visible.center();
    return ScreenRect(centre.x() - 400, centre.y() - 225, 800, 450);
}

} // namespace lookpane
