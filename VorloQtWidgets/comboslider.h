#pragma once

#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include <QWidget>

class QSlider;
class VorloQtSpinBox;

// An integer spin box bound to a horizontal slider: both always show the same value, which
// is rounded down onto the step grid counted from the minimum. Values set by a program never
// emit valueChanged(); values set by a person do.
class VORLOQTWIDGETS_EXPORT ComboSlider : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(int value READ value WRITE setValue)
    Q_PROPERTY(int minimum READ minimum WRITE setMinimum)
    Q_PROPERTY(int maximum READ maximum WRITE setMaximum)
    Q_PROPERTY(int singleStep READ singleStep WRITE setSingleStep)
    Q_PROPERTY(int pageStep READ pageStep WRITE setPageStep)
    Q_PROPERTY(int editBoxWidth READ editBoxWidth WRITE setEditBoxWidth)

public:
    explicit ComboSlider(QWidget* parent = nullptr);
    ~ComboSlider() override;

    int value() const;
    int minimum() const;
    int maximum() const;
    int singleStep() const;
    int pageStep() const;
    int editBoxWidth() const;

    // The value that the two controls would show for value: clamped to the range and
    // rounded down onto the step grid.
    int trimValue(int value) const;

public slots:
    virtual void setValue(int value);
    virtual void setMinimum(int minimum);
    virtual void setMaximum(int maximum);
    virtual void setRange(int minimum, int maximum);
    virtual void setRangeAndStep(int minimum, int maximum, int step);
    virtual void setSingleStep(int step);
    virtual void setPageStep(int step);

public:
    virtual void updateToolTip();

public slots:
    void setEditBoxWidth(int width);
    void enableUpdate(bool enable);
    void onComboBoxEditingFinished();
    void onSliderValueChanged(int val);

signals:
    void valueChanged(int value);
    void rangeChanged(int min, int max);

protected:
    QSlider* m_slider;          // owned (child)
    VorloQtSpinBox* m_spinBox;  // owned (child)
    int m_editBoxWidth;
    bool m_enableUpdate;

private:
    class UpdateSuppressor;
};
