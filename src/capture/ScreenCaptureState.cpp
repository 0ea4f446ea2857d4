#include "capture/ScreenCaptureState.h"

namespace lookpane {

QString ScreenCaptureState::description() const
{
    switch (m_kind) {
    case Kind::idle:
        return QStringLiteral("idle");
    case Kind::starting:
        return QStringLiteral("starting");
    case Kind::running:
        return QStringLiteral("running");
    case Kind::permissionRequired:
        return QStringLiteral("permissionRequired");
    case Kind::failed:
        return QStringLiteral("failed(%1)").arg(m_message);
    }
    return {};
}

void PrintTo(const ScreenCaptureState &state, std::ostream *out)
{
    *out << state.description().toStdString();
}

} // namespace lookpane
