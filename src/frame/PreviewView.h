#pragma once

#include "annotation/Annotation.h"
#include "frame/PreviewStyle.h"
#include "model/BlurStrength.h"
#include "picture/CapturedFrame.h"
#include "render/GlCaptureView.h"

#include <QPointer>
#include <QWidget>

#include <functional>
#include <memory>
#include <optional>

namespace lookpane {

class AnnotationCanvasView;
class ScopeBorderView;

// Content of the frame window and of the share window: the captured picture at the back, the
// region's outline (authoring instance only) above it and the annotation canvas on top, all
// filling the view; a message replaces the picture while there is none to show. The
// share view draws its picture with OpenGL (it may be blurred for viewers); the authoring view,
// never blurred, paints it with the raster painter and has no capture view.
class PreviewView : public QWidget
{
    Q_OBJECT

public:
    using Style = PreviewStyle;
    using CaptureViewFactory = std::function<std::unique_ptr<GlCaptureView>(QWidget *parent)>;

    // `makeCaptureView` defaults to GlCaptureView::make; when it gives none, the preview shows
    // the OpenGL-unavailable message for its whole life. (The authoring view only asks it
    // whether a view can be made, and drops the one it gets.)
    explicit PreviewView(bool showsAuthoringChrome, QWidget *parent = nullptr,
                         CaptureViewFactory makeCaptureView = {});
    ~PreviewView() override;

    // Sets the style and, when it changed, applies it.
    void setPreviewStyle(Style style);
    Style previewStyle() const { return m_style; }
    // Shows or hides the picture for the current style, message and picture.
    void applyStyle();

    // A new picture from the capture engine; clears any message.
    void setCapturedFrame(const CapturedFrame &frame);
    // A text shown instead of the picture, or none; the picture shows again with the next one.
    void setCaptureMessage(const std::optional<QString> &message);
    const std::optional<QString> &message() const { return m_message; }
    void setBlurStrength(BlurStrength strength);

    bool hasCapturedFrame() const { return m_hasCapturedFrame; }
    GlCaptureView *captureView() const { return m_captureView; }
    ScopeBorderView *scopeBorderView() const { return m_scopeBorderView; }
    AnnotationCanvasView *annotationCanvas() const { return m_annotationCanvas; }

    static QString unavailableMessage();
    static QFont messageFont();
    // The space kept free between a wrapped message and the view's left and right edges.
    static constexpr int messageMargin = 12;

Q_SIGNALS:
    // The canvas's draft and commit (authoring instance only).
    void annotationDraftChanged(const lookpane::Annotation &draft);
    void annotationCommitted();

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void captureViewBecameUnavailable();
    void setCaptureViewVisible(bool visible);

    Style m_style = Style::mirror;
    std::optional<QString> m_message;
    QPointer<GlCaptureView> m_captureView;
    ScopeBorderView *m_scopeBorderView = nullptr;
    AnnotationCanvasView *m_annotationCanvas = nullptr;
    bool m_hasCapturedFrame = false;
    bool m_wasShown = false;
    // The authoring view paints the picture itself (see the constructor); it keeps the newest.
    bool m_paintsPicture = false;
    CapturedFrame m_frame;
};

} // namespace lookpane
