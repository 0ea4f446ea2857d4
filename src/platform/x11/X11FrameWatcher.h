#pragma once

#include <QAbstractNativeEventFilter>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QTimer>

class QWidget;

namespace lookpane::x11 {

// Reports when a window manager takes one of the watched top-levels into a frame of its own,
// or lets it go: when a window manager starts, leaves or is replaced. A window manager copies
// a client's input shape onto its frame only when told the shape changed, so whoever shapes
// the window must set the shape again then, or the new frame swallows the clicks that the
// window lets through.
//
// Setting it again at once is not always enough: a window manager that has just taken over
// from another (openbox --replace) can miss a shape change made right after it framed the
// window. So after each reframing the watcher checks, a few times over the next seconds,
// whether every frame carries its window's input shape, and reports the window again while
// one does not.
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

    // Whether the window's frame, if a window manager gave it one, lets exactly the clicks
    // through that the window's own input shape does. True for an unframed window; false on
    // any X failure, so that the caller shapes the window again.
    static bool frameFollowsInputShape(QWidget *window);

Q_SIGNALS:
    void reframed(QWidget *window);

private:
    void reportLater(const QPointer<QWidget> &window);
    void checkFrames();

    QList<QPointer<QWidget>> m_windows;
    QTimer m_check;
    int m_checksLeft = 0;
    int m_restartsLeft = 0;
};

} // namespace lookpane::x11
