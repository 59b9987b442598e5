#pragma once

#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include <GenApi/Types.h>

#include <QWidget>

class SpinBoxEventCatcher;
class VorloQtDoubleSpinBox;

// A double spin box in a wrapping widget, with an increment of its own: the spin box never
// steps by itself, the owner does (see VorloQtDoubleSpinBox::stepTriggered). Focus on the
// spin box closes the update guard (m_spinBoxHasFocus, m_enableUpdate) that the derived
// editors test before they overwrite what a person is typing.
class VORLOQTWIDGETS_EXPORT DoubleSpinBox : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(double minimum READ minimum WRITE setMinimum)
    Q_PROPERTY(double maximum READ maximum WRITE setMaximum)
    Q_PROPERTY(int decimals READ decimals WRITE setDecimals)
    Q_PROPERTY(double increment READ increment WRITE setIncrement)
    Q_PROPERTY(int editBoxWidth READ editBoxWidth WRITE setEditBoxWidth)

public:
    DoubleSpinBox(QWidget* parent, GenApi::_ERepresentation representation);
    ~DoubleSpinBox() override;

    double minimum() const;
    double maximum() const;
    int decimals() const;
    double increment() const;
    int editBoxWidth() const;

public slots:
    virtual void setValue(double value);
    virtual void setMinimum(double minimum);
    virtual void setMaximum(double maximum);
    virtual void setDecimals(int decimals);
    virtual void setIncrement(double increment);
    virtual void setRange(double minimum, double maximum);
    virtual void setPageStep();
    virtual void setRangeStepAndIncrement(double minRangeLimit, double maxRangeLimit, double increment);
    virtual void initControls(double minRangeLimit, double maxRangeLimit, double value, double increment);

public:
    virtual void updateToolTip();

public slots:
    void onSpinBoxFocusEventTriggered(bool focus);
    void enableUpdate(bool enable);

public:
    void setEditBoxWidth(int width);
    // True when the given limits differ from the ones in use, so that an unchanged refresh
    // costs no call into the widgets.
    bool checkIfLimitsChanged(double minRangeLimit, double maxRangeLimit, double increment);

protected:
    VorloQtDoubleSpinBox* m_spinBox;     // owned
    SpinBoxEventCatcher* m_eventCatcher; // owned
    double m_increment;
    double m_minRangeLimit;
    double m_maxRangeLimit;
    int m_editBoxWidth;
    bool m_enableUpdate;
    bool m_spinBoxHasFocus;
};
