#pragma once

#include <QAbstractNativeEventFilter>
#include <QList>
#include <QObject>
#include <QPointer>

class QWidget;

namespace lookpane::x11 {

// Reports when a window manager takes one of the watched top-levels into a frame of its own,
// or lets it go (the window is reparented): when a window manager starts or leaves. A window
// manager copies a client's input shape onto its frame only when that shape changes, so
// whoever shapes the window must set the shape again then, or the new frame swallows the
// clicks that the window lets through.
class X11FrameWatcher : public QObject, public QAbstractNativeEventFilter
{
    Q_OBJECT
public:
    explicit X11FrameWatcher(QObject *parent = nullptr);
    ~X11FrameWatcher() override;

    X11FrameWatcher(const X11FrameWatcher &) = delete;
    X11FrameWatcher &operator=(const X11FrameWatcher &) = delete;

    void watch(QWidget *window);

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

Q_SIGNALS:
    void reframed(QWidget *window);

private:
    QList<QPointer<QWidget>> m_windows;
};

} // namespace lookpane::x11
