#include "shell/PermissionAlert.h"

#include "platform/x11/X11WindowTraits.h"

#include <QMessageBox>
#include <QPushButton>

namespace lookpane {

PermissionAlert::PermissionAlert(QObject *parent) : QObject(parent) {}

PermissionAlert::~PermissionAlert()
{
    // Deletes itself once closed.
    if (m_box) {
        m_box->close();
    }
}

QString PermissionAlert::title()
{
    return QStringLiteral("Lookpane permission");
}

void PermissionAlert::show()
{
    if (m_box) {
        return;
    }
    // Not titled "Lookpane", and a dialog rather than a normal window: the share window alone
    // goes by that name and is offered by the window pickers of meeting applications.
    auto *box = new QMessageBox(QMessageBox::Warning, title(),
                                QStringLiteral("Screen Recording permission required"));
    box->setAttribute(Qt::WA_DeleteOnClose);
    // Above Lookpane's own windows, which stay on top: below them it would open out of sight.
    box->setWindowFlag(Qt::WindowStaysOnTopHint, true);
    X11WindowTraits::setWindowType(box, X11WindowTraits::WindowType::dialog);
    box->setInformativeText(QStringLiteral(
        "Lookpane needs permission to record the screen to mirror the apps beneath the Lookpane "
        "window.\n\nAllow screen sharing for Lookpane when your desktop asks, then choose Start "
        "capture in the Lookpane tray menu."));
    QPushButton *tryAgain = box->addButton(QStringLiteral("Try Again"), QMessageBox::AcceptRole);
    QPushButton *quit =
        box->addButton(QStringLiteral("Quit Lookpane"), QMessageBox::DestructiveRole);
    QPushButton *later = box->addButton(QStringLiteral("Later"), QMessageBox::RejectRole);
    box->setDefaultButton(tryAgain);
    box->setEscapeButton(later);
    connect(box, &QMessageBox::buttonClicked, this,
            [this, tryAgain, quit](QAbstractButton *button) {
                if (button == tryAgain) {
                    Q_EMIT this->tryAgain();
                } else if (button == quit) {
                    Q_EMIT this->quit();
                }
            });
    // Closed is closed, whenever Qt gets round to deleting it.
    connect(box, &QDialog::finished, this, [this] { m_box.clear(); });
    m_box = box;
    box->open();
    box->raise();
    box->activateWindow();
}

} // namespace lookpane
