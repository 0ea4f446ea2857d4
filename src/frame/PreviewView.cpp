#include "frame/PreviewView.h"

#include "annotation/canvas/AnnotationCanvasView.h"
#include "frame/ScopeBorderView.h"
#include "render/GlCaptureView.h"
#include "render/RasterCaptureWindow.h"

#include <QPainter>
#include <QTextOption>

namespace lookpane {

PreviewView::PreviewView(bool showsAuthoringChrome, QWidget *parent,
                         CaptureViewFactory makeCaptureView)
    : QWidget(parent)
{
    // The share view draws into a native window of its own (OpenGL, or the raster backing
    // store where OpenGL is a software rasteriser), where the viewers-only blur runs, sparing
    // its window the composition of every frame; what lies above its picture is laid over it
    // in the same pass (see below). The box's own view is never blurred, so it paints the
    // picture with the raster painter: the window's shared-memory backing store then puts it
    // on the screen with one copy, where a GL window costs a full-size fill by a software
    // rasteriser and a copy of its own.
    if (!showsAuthoringChrome) {
        std::unique_ptr<GlCaptureView> captureView =
            makeCaptureView ? makeCaptureView(this)
                            : GlCaptureView::make(this, GlCaptureView::preferredWindowSurface());
        if (captureView) {
            captureView->setParent(this);
            connect(captureView.get(), &GlCaptureView::unavailable, this,
                    &PreviewView::captureViewBecameUnavailable);
            m_captureView = captureView.release(); // owned by this view from here on
        } else {
            m_message = unavailableMessage();
        }
    } else if (makeCaptureView ? makeCaptureView(nullptr) != nullptr : GlCaptureView::canRender()) {
        m_paintsPicture = true;
    } else {
        // Both views tell the user alike that this computer cannot show the preview.
        m_message = unavailableMessage();
    }
    if (showsAuthoringChrome) {
        m_scopeBorderView = new ScopeBorderView(this);
    }
    m_annotationCanvas = new AnnotationCanvasView(this);
    if (showsAuthoringChrome) {
        connect(m_annotationCanvas, &AnnotationCanvasView::draftChanged, this,
                &PreviewView::annotationDraftChanged);
        connect(m_annotationCanvas, &AnnotationCanvasView::committed, this,
                &PreviewView::annotationCommitted);
    }
    // The share view's native capture window covers the canvas, so it paints the marks itself;
    // the canvas still shows them while the picture is hidden (black, a message).
    if (GlCaptureView *view = m_captureView) {
        view->setOverlayPainter([this](QPainter &painter, QSizeF size) {
            AnnotationCanvasView::paintAnnotations(painter, m_annotationCanvas->annotations(),
                                                   size);
        });
    }
    connect(m_annotationCanvas, &AnnotationCanvasView::annotationsChanged, this, [this] {
        if (GlCaptureView *view = m_captureView) {
            view->updateOverlay();
        }
    });
    applyStyle();
}

PreviewView::~PreviewView() = default;

QString PreviewView::unavailableMessage()
{
    return QStringLiteral(
        "This computer can't render the Lookpane preview (OpenGL is unavailable)");
}

QFont PreviewView::messageFont()
{
    QFont font;
    font.setPixelSize(16);
    font.setWeight(QFont::Medium);
    return font;
}

void PreviewView::setCaptureViewVisible(bool visible)
{
    // Until this view is first shown the capture view stays "not hidden", so the window is
    // created for OpenGL composition from the start; showEvent applies the real state. (A
    // window created without a visible OpenGL child never shows one added later.)
    if (!m_wasShown) {
        return;
    }
    GlCaptureView *view = m_captureView;
    if (view == nullptr || view->isVisible() == visible) {
        return;
    }
    view->setVisible(visible);
    if (visible) {
        // Qt 6.4 composes an OpenGL child that was shown again only once a plain widget of
        // the window repaints as well; without this the window keeps its last composition
        // (black) until something else changes.
        m_annotationCanvas->update();
    }
}

void PreviewView::setPreviewStyle(Style style)
{
    if (m_style == style) {
        return;
    }
    m_style = style;
    applyStyle();
}

void PreviewView::applyStyle()
{
    if (m_style == Style::mirror) {
        setAttribute(Qt::WA_TranslucentBackground, false);
        // Every pixel is painted here, so nothing beneath is painted (or cleared) first.
        setAttribute(Qt::WA_OpaquePaintEvent, m_paintsPicture);
        setCaptureViewVisible(!m_message.has_value() && m_hasCapturedFrame);
    } else {
        setAttribute(Qt::WA_OpaquePaintEvent, false);
        setAttribute(Qt::WA_TranslucentBackground, true);
        setCaptureViewVisible(false);
    }
    if (m_scopeBorderView != nullptr) {
        m_scopeBorderView->setPreviewStyle(m_style);
    }
    update();
}

void PreviewView::setCapturedFrame(const CapturedFrame &frame)
{
    if (m_paintsPicture) {
        m_frame = frame;
        m_hasCapturedFrame = !frame.isNull();
        m_message.reset();
        if (m_style == Style::mirror) {
            update();
        }
        return;
    }
    if (!m_captureView) {
        return;
    }
    GlCaptureView *view = m_captureView;
    // What this view paints itself (black, the message) only changes with the first picture
    // or when a message goes; repainting it for every picture would re-compose the whole
    // window on the CPU each frame.
    if (!m_hasCapturedFrame || m_message) {
        m_hasCapturedFrame = true;
        m_message.reset();
        update();
    }
    view->setFrame(frame);
    setCaptureViewVisible(m_style == Style::mirror);
}

void PreviewView::setCaptureMessage(const std::optional<QString> &message)
{
    if (!m_captureView && !m_paintsPicture) {
        return;
    }
    m_message = message;
    update();
    setCaptureViewVisible(!m_message.has_value() && m_style == Style::mirror);
}

void PreviewView::setBlurStrength(BlurStrength strength)
{
    if (GlCaptureView *view = m_captureView) {
        view->setBlurStrength(strength);
    }
}

void PreviewView::captureViewBecameUnavailable()
{
    if (!m_captureView) {
        return;
    }
    GlCaptureView *view = m_captureView;
    m_captureView = nullptr;
    view->hide();
    view->deleteLater();
    m_message = unavailableMessage();
    update();
}

void PreviewView::showEvent(QShowEvent *)
{
    if (!m_wasShown) {
        m_wasShown = true;
        applyStyle();
    }
}

void PreviewView::resizeEvent(QResizeEvent *)
{
    const QRect bounds = rect();
    if (GlCaptureView *view = m_captureView) {
        view->setGeometry(bounds);
    }
    if (m_scopeBorderView != nullptr) {
        m_scopeBorderView->setGeometry(bounds);
    }
    m_annotationCanvas->setGeometry(bounds);
}

void PreviewView::paintEvent(QPaintEvent *)
{
    if (m_style == Style::selection) {
        return;
    }
    QPainter painter(this);
    if (m_paintsPicture && !m_message && !m_frame.isNull()) {
        RasterCaptureWindow::paintPicture(painter, QRectF(rect()), m_frame.image(),
                                          size() * devicePixelRatio());
        return;
    }
    painter.fillRect(rect(), Qt::black);
    if (!m_message) {
        return;
    }
    painter.setFont(messageFont());
    painter.setPen(Qt::white);
    // Centred on one line where it fits; a message wider than the view (a failure's reason in
    // a small box) wraps within it, between words where it can, instead of losing its ends.
    QTextOption layout(Qt::AlignCenter);
    layout.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    painter.drawText(QRectF(rect()).adjusted(messageMargin, 0, -messageMargin, 0), *m_message,
                     layout);
}

} // namespace lookpane
