#pragma once

#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include <QDoubleSpinBox>
#include <QObject>
#include <QSpinBox>

class QKeyEvent;

// Integer spin box with the keyboard behaviour of the feature tree: Escape undoes the
// typing instead of closing the editor, Return and Enter stay inside, PageUp and PageDown
// step by a page of its own, and every step commits at once through editingFinished().
class VORLOQTWIDGETS_EXPORT VorloQtSpinBox : public QSpinBox
{
    Q_OBJECT
public:
    explicit VorloQtSpinBox(QWidget* parent = nullptr);

    int pageStep() const { return m_pageStep; }
    void setPageStep(int pageStep) { m_pageStep = pageStep; }

    void stepBy(int steps) override;

protected:
    void keyPressEvent(QKeyEvent* e) override;

private:
    int m_pageStep;
    bool m_pageStepPending;
};

// Double spin box that never steps by itself: a step is reported through stepTriggered()
// and the owner decides what the new value is.
class VORLOQTWIDGETS_EXPORT VorloQtDoubleSpinBox : public QDoubleSpinBox
{
    Q_OBJECT
public:
    explicit VorloQtDoubleSpinBox(QWidget* parent = nullptr);

    double pageStep() const { return m_pageStep; }
    void setPageStep(double pageStep) { m_pageStep = pageStep; }

    void stepBy(int steps) override;
    QString textFromValue(double value) const override;

signals:
    void stepTriggered(int steps);

protected:
    void keyPressEvent(QKeyEvent* e) override;

private:
    double m_pageStep = 0.0; // written by the owner before it is used
};

// Event filter that reports focus changes of the widget it watches.
class VORLOQTWIDGETS_EXPORT SpinBoxEventCatcher : public QObject
{
    Q_OBJECT
public:
    explicit SpinBoxEventCatcher(QObject* parent = nullptr);

    bool eventFilter(QObject* watched, QEvent* event) override;

signals:
    void focusEvent(bool focus);
};
