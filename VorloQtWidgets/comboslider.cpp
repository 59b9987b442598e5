#include "comboslider.h"

#include "editorsupport_p.h"
#include "spinboxlayout_p.h"
#include "vorloqtspinbox.h"


#include <QHBoxLayout>
#include <QSlider>

// Holds m_enableUpdate off while a program changes the controls, so that a value clamped
// by a new range is not reported as if a person had chosen it. It restores true only if it
// found true: an update switched off from outside stays off.
class ComboSlider::UpdateSuppressor
{
public:
    explicit UpdateSuppressor(ComboSlider* owner)
        : m_owner(owner)
        , m_wasEnabled(owner->m_enableUpdate)
    {
        m_owner->m_enableUpdate = false;
    }
    ~UpdateSuppressor()
    {
        if (m_wasEnabled)
            m_owner->m_enableUpdate = true;
    }
    UpdateSuppressor(const UpdateSuppressor&) = delete;
    UpdateSuppressor& operator=(const UpdateSuppressor&) = delete;

private:
    ComboSlider* m_owner;
    bool m_wasEnabled;
};

ComboSlider::ComboSlider(QWidget* parent)
    : QWidget(parent)
    , m_slider(new QSlider(Qt::Horizontal, this))
    , m_spinBox(new VorloQtSpinBox(this))
    , m_editBoxWidth(0)
    , m_enableUpdate(true)
{
    VorloQtInternal::layOutSpinBoxAndSlider(this, m_spinBox, m_slider);
    setEditBoxWidth(VorloQtInternal::twelveDigitSpinBoxWidth(m_spinBox));

    connect(m_slider, SIGNAL(valueChanged(int)), this, SLOT(onSliderValueChanged(int)));
    connect(m_spinBox, SIGNAL(editingFinished()), this, SLOT(onComboBoxEditingFinished()));
    updateToolTip();
}

ComboSlider::~ComboSlider() = default;

int ComboSlider::value() const
{
    return m_slider->value();
}

int ComboSlider::minimum() const
{
    return m_slider->minimum();
}

int ComboSlider::maximum() const
{
    return m_slider->maximum();
}

int ComboSlider::singleStep() const
{
    return m_slider->singleStep();
}

int ComboSlider::pageStep() const
{
    return m_slider->pageStep();
}

int ComboSlider::editBoxWidth() const
{
    return m_editBoxWidth;
}

int ComboSlider::trimValue(int value) const
{
    value = qBound(m_slider->minimum(), value, m_slider->maximum());
    const int step = m_spinBox->singleStep();
    if (step != 0) {
        // 64 bits: the distance from the minimum may exceed the int range.
        const qint64 offset = (qint64(value) - qint64(m_spinBox->minimum())) % qint64(step);
        value = int(qint64(value) - offset);
    }
    return value;
}

void ComboSlider::setValue(int value)
{
    UpdateSuppressor suppress(this);
    m_slider->setValue(trimValue(value));
}

void ComboSlider::setMinimum(int minimum)
{
    UpdateSuppressor suppress(this);
    m_slider->setMinimum(minimum);
    m_spinBox->setMinimum(minimum);
    emit rangeChanged(minimum, m_spinBox->maximum());
    updateToolTip();
}

void ComboSlider::setMaximum(int maximum)
{
    UpdateSuppressor suppress(this);
    m_slider->setMaximum(maximum);
    m_spinBox->setMaximum(maximum);
    emit rangeChanged(m_spinBox->minimum(), maximum);
    updateToolTip();
}

void ComboSlider::setRange(int minimum, int maximum)
{
    UpdateSuppressor suppress(this);
    m_slider->setMinimum(minimum);
    m_spinBox->setMinimum(minimum);
    m_slider->setMaximum(maximum);
    m_spinBox->setMaximum(maximum);
    emit rangeChanged(minimum, maximum);
    updateToolTip();
}

void ComboSlider::setRangeAndStep(int minimum, int maximum, int step)
{
    UpdateSuppressor suppress(this);
    m_spinBox->setSingleStep(step);
    m_spinBox->setMinimum(minimum);
    m_spinBox->setMaximum(maximum);
    m_slider->setSingleStep(step);
    m_slider->setMinimum(minimum);
    m_slider->setMaximum(maximum);
    emit rangeChanged(minimum, maximum);
    updateToolTip();
}

void ComboSlider::setSingleStep(int step)
{
    m_slider->setSingleStep(step);
    m_spinBox->setSingleStep(step);
    updateToolTip();
}

void ComboSlider::setPageStep(int step)
{
    m_slider->setPageStep(step);
    m_spinBox->setPageStep(step);
    updateToolTip();
}

void ComboSlider::updateToolTip()
{
    VorloQtInternal::buildToolTip([&] {
        QString text;
        if (m_spinBox->singleStep() == 1) {
            text = QStringLiteral("Range: %1..%2").arg(m_spinBox->minimum()).arg(m_spinBox->maximum());
        } else {
            text = QStringLiteral("Range: %1..%2 (Increment: %3)")
                       .arg(m_spinBox->minimum())
                       .arg(m_spinBox->maximum())
                       .arg(m_spinBox->singleStep());
        }
        setToolTip(text);
    });
}

void ComboSlider::setEditBoxWidth(int width)
{
    m_editBoxWidth = width;
    m_spinBox->setMinimumWidth(width);
}

void ComboSlider::enableUpdate(bool enable)
{
    m_enableUpdate = enable;
}

void ComboSlider::onComboBoxEditingFinished()
{
    const int typed = m_spinBox->value();
    const int trimmed = trimValue(typed);
    if (typed != trimmed)
        m_spinBox->setValue(trimmed);
    m_slider->setValue(trimmed);
}

void ComboSlider::onSliderValueChanged(int val)
{
    const int trimmed = trimValue(val);
    if (trimmed != m_spinBox->value())
        m_spinBox->setValue(trimmed);
    if (val != trimmed) {
        // The nested call for the trimmed position finishes the job.
        m_slider->setValue(trimmed);
        return;
    }
    if (m_enableUpdate)
        emit valueChanged(val);
}
