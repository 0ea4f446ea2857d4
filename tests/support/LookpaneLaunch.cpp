#include "LookpaneLaunch.h"

#include <QDir>
#include <QSettings>

namespace lookpane::testing {

ChildProcess::Options lookpaneEnvironment(const std::string &display, const QString &configHome)
{
    ChildProcess::Options options;
    options.environment["DISPLAY"] = display;
    options.environment["QT_QPA_PLATFORM"] = "xcb";
    options.environment["XDG_CONFIG_HOME"] = configHome.toStdString();
    options.environment["LIBGL_ALWAYS_SOFTWARE"] = "1";
    options.unset = {"WAYLAND_DISPLAY", "XAUTHORITY", "SESSION_MANAGER"};
    return options;
}

QString lookpaneSettingsFile(const QString &configHome)
{
    return QDir(configHome).filePath(QStringLiteral("Lookpane/Lookpane.conf"));
}

void keepGuideClosedAtLaunch(const QString &configHome)
{
    QDir(configHome).mkpath(QStringLiteral("Lookpane"));
    QSettings settings(lookpaneSettingsFile(configHome), QSettings::NativeFormat);
    settings.setValue(QStringLiteral("ShowGuideOnLaunch"), false);
}

} // namespace lookpane::testing
