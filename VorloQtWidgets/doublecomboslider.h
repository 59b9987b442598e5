#pragma once

#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include <QWidget>

class QSlider;
class SpinBoxEventCatcher;
class VorloQtDoubleSpinBox;

// A double spin box beside an integer slider. The two are not linked: the spin box carries
// a double, the slider a separate raw integer, and whoever derives from this widget keeps
// them in step. Steps of the spin box (arrow keys, buttons, page keys) move the slider.
class VORLOQTWIDGETS_EXPORT DoubleComboSlider : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(int intValue READ intValue WRITE setIntValue)
    Q_PROPERTY(int intMinimum READ intMinimum WRITE setIntMinimum)
    Q_PROPERTY(int intMaximum READ intMaximum WRITE setIntMaximum)
    Q_PROPERTY(double minimum READ minimum WRITE setMinimum)
    Q_PROPERTY(double maximum READ maximum WRITE setMaximum)
    Q_PROPERTY(int decimals READ decimals WRITE setDecimals)
    Q_PROPERTY(double value READ value WRITE setValue)
    Q_PROPERTY(int intIncrement READ intIncrement WRITE setIntIncrement)
    Q_PROPERTY(int editBoxWidth READ editBoxWidth WRITE setEditBoxWidth)

public:
    explicit DoubleComboSlider(QWidget* parent = nullptr);
    ~DoubleComboSlider() override;

    int intValue() const;
    int intMinimum() const;
    int intMaximum() const;
    double minimum() const;
    double maximum() const;
    int decimals() const;
    double value() const;
    int intIncrement() const;
    int editBoxWidth() const;

public slots:
    virtual void setValue(double value);
    virtual void setIntValue(int value);
    virtual void setMinimum(double minimum);
    virtual void setIntMinimum(int minimum);
    virtual void setMaximum(double maximum);
    virtual void setIntMaximum(int maximum);
    virtual void setDecimals(int decimals);
    virtual void setRange(double minimum, double maximum);
    virtual void setIntRange(int minimum, int maximum);
    virtual void setIntIncrement(int increment);
    virtual void setPageStep();
    virtual void setRangeStepAndIncrement(double minRangeLimit, double maxRangeLimit, int intIncrement);
    virtual void setRangeStepAndIncrement(int minIntRangeLimit, int maxIntRangeLimit, int intIncrement);
    virtual void initControls(double minRangeLimit, double maxRangeLimit, int value,
                              int minIntRangeLimit, int maxIntRangeLimit, int intIncrement);

public:
    virtual void updateToolTip();

public slots:
    void onSpinBoxStepTriggered(int steps);
    void onSpinBoxFocusEventTriggered(bool focus);
    void enableUpdate(bool enable);

signals:
    void rangeChanged(int min, int max);

public:
    void setEditBoxWidth(int width);
    // True when the given limits differ from the ones in use, so that an unchanged refresh
    // costs no call into the widgets (each range call rebuilds the tooltip).
    bool checkIfLimitsChanged(double minRangeLimit, double maxRangeLimit, int intIncrement);
    bool checkIfLimitsChanged(int minIntRangeLimit, int maxIntRangeLimit, int intIncrement);
    // Rounds a slider position down onto the increment grid counted from the slider's
    // minimum; no clamping.
    int trimSliderValue(int value);

protected:
    QSlider* m_slider;                   // owned
    VorloQtDoubleSpinBox* m_spinBox;     // owned
    SpinBoxEventCatcher* m_eventCatcher; // owned
    int m_editBoxWidth;
    int m_intIncrement;
    double m_minRangeLimit;
    double m_maxRangeLimit;
    bool m_spinBoxHasFocus;
    bool m_enableUpdate;
};
