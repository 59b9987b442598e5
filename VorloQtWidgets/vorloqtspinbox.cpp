#include "vorloqtspinbox.h"

#include <VorloQtBase/formatting.h>

#include <QEvent>
#include <QKeyEvent>

namespace
{
// Escape in a spin box of the tree undoes the typing: the line edit gets an undo request
// after the key, and the key itself is consumed so that the editor stays open.
QKeyEvent makeUndoKey()
{
    return QKeyEvent(QEvent::KeyPress, Qt::Key_Z, Qt::ControlModifier, QString(), false, 1);
}

bool isReturnKey(const QKeyEvent* e)
{
    return e->key() == Qt::Key_Return || e->key() == Qt::Key_Enter;
}
} // namespace

VorloQtSpinBox::VorloQtSpinBox(QWidget* parent)
    : QSpinBox(parent)
    , m_pageStep(10)
    , m_pageStepPending(false)
{
}

void VorloQtSpinBox::keyPressEvent(QKeyEvent* e)
{
    if (e->key() == Qt::Key_PageUp || e->key() == Qt::Key_PageDown)
        m_pageStepPending = true;

    QAbstractSpinBox::keyPressEvent(e);

    if (e->key() == Qt::Key_Escape) {
        e->accept();
        QKeyEvent undo = makeUndoKey();
        QAbstractSpinBox::keyPressEvent(&undo);
    }
    if (isReturnKey(e))
        e->accept();
}

void VorloQtSpinBox::stepBy(int steps)
{
    if (m_pageStepPending) {
        steps = steps < 0 ? -m_pageStep : m_pageStep;
        m_pageStepPending = false;
    }
    QAbstractSpinBox::stepBy(steps);
    emit editingFinished();
}

VorloQtDoubleSpinBox::VorloQtDoubleSpinBox(QWidget* parent)
    : QDoubleSpinBox(parent)
{
}

void VorloQtDoubleSpinBox::keyPressEvent(QKeyEvent* e)
{
    QAbstractSpinBox::keyPressEvent(e);

    if (e->key() == Qt::Key_Escape) {
        e->accept();
        QKeyEvent undo = makeUndoKey();
        QAbstractSpinBox::keyPressEvent(&undo);
    }
    if (isReturnKey(e))
        e->accept();
}

void VorloQtDoubleSpinBox::stepBy(int steps)
{
    emit stepTriggered(steps);
}

QString VorloQtDoubleSpinBox::textFromValue(double value) const
{
    return formatDoubleValue(value, decimals(), FormatValueParsable, locale());
}

SpinBoxEventCatcher::SpinBoxEventCatcher(QObject* parent)
    : QObject(parent)
{
}

bool SpinBoxEventCatcher::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::FocusIn) {
        emit focusEvent(true);
        return false;
    }
    if (event->type() == QEvent::FocusOut) {
        emit focusEvent(false);
        return false;
    }
    return QObject::eventFilter(watched, event);
}
