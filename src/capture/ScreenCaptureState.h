#pragma once

#include <QString>

#include <ostream>

namespace lookpane {

// Where the capture engine stands. Only `failed` carries a payload: the message shown to the
// user.
class ScreenCaptureState
{
public:
    enum class Kind
    {
        idle,
        starting,
        running,
        permissionRequired,
        failed
    };

    ScreenCaptureState() = default;

    static ScreenCaptureState idle() { return ScreenCaptureState(Kind::idle, {}); }
    static ScreenCaptureState starting() { return ScreenCaptureState(Kind::starting, {}); }
    static ScreenCaptureState running() { return ScreenCaptureState(Kind::running, {}); }
    static ScreenCaptureState permissionRequired()
    {
        return ScreenCaptureState(Kind::permissionRequired, {});
    }
    static ScreenCaptureState failed(QString message)
    {
        return ScreenCaptureState(Kind::failed, std::move(message));
    }

    Kind kind() const { return m_kind; }
    // The failure's text; empty for every other state.
    const QString &message() const { return m_message; }

    bool isIdle() const { return m_kind == Kind::idle; }
    bool isStarting() const { return m_kind == Kind::starting; }
    bool isRunning() const { return m_kind == Kind::running; }
    bool isPermissionRequired() const { return m_kind == Kind::permissionRequired; }
    bool isFailed() const { return m_kind == Kind::failed; }

    // "idle", "starting", "running", "permissionRequired" or "failed(<message>)".
    QString description() const;

    friend bool operator==(const ScreenCaptureState &, const ScreenCaptureState &) = default;

private:
    ScreenCaptureState(Kind kind, QString message) : m_kind(kind), m_message(std::move(message)) {}

    Kind m_kind = Kind::idle;
    QString m_message;
};

// Readable failures in test output.
void PrintTo(const ScreenCaptureState &state, std::ostream *out);

} // namespace lookpane
