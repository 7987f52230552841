#include "MaskingView.h"

#include "OrbSwitch.h"
#include "platform/Logging.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAbstractSlider>
#include <QAbstractSpinBox>
#include <QComboBox>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPlainTextEdit>
#include <QTabBar>
#include <QTextEdit>

MaskingView::MaskingView(QWidget* parent)
    : QWidget(parent)
{
    // No hover or tracking of its own: the mask only ever hears presses.
    setMouseTracking(false);
    setAttribute(Qt::WA_Hover, false);
}

bool MaskingView::maskEnabled() const
{
    return m_maskEnabled;
}

void MaskingView::setMaskEnabled(bool enabled)
{
    m_maskEnabled = enabled;
    // Qt's hit testing skips a transparent widget together with all its children, so a click
    // goes to whatever lies behind the mask.
    setAttribute(Qt::WA_TransparentForMouseEvents, enabled);
}

void MaskingView::disableSubViews()
{
    setSubViewsEnabled(false);
}

void MaskingView::enableSubViews()
{
    setSubViewsEnabled(true);
}

void MaskingView::setSubViewsEnabled(bool enabled)
{
    for (QObject* child : children()) {
        auto* widget = qobject_cast<QWidget*>(child);
        if (widget && !widget->isWindow() && isControl(widget))
            widget->setEnabled(enabled);
    }
}

bool MaskingView::isControl(const QWidget* widget)
{
    return qobject_cast<const QAbstractButton*>(widget)
        || qobject_cast<const QAbstractSlider*>(widget)
        || qobject_cast<const QAbstractSpinBox*>(widget) || qobject_cast<const QComboBox*>(widget)
        || qobject_cast<const QLineEdit*>(widget) || qobject_cast<const QTextEdit*>(widget)
        || qobject_cast<const QPlainTextEdit*>(widget)
        || qobject_cast<const QAbstractItemView*>(widget) || qobject_cast<const QTabBar*>(widget)
        || qobject_cast<const OrbSwitch*>(widget);
}

void MaskingView::paintEvent(QPaintEvent*)
{
    // Nothing of its own to paint; every paint switches the child controls off again.
    disableSubViews();
}

void MaskingView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return QWidget::mousePressEvent(event);
    qCInfo(lcControls, "Mouse down");
    event->accept(); // ends here; nothing behind the mask hears it
}
