#include "doublecomboslider.h"

#include "editorsupport_p.h"
#include "spinboxlayout_p.h"
#include "vorloqtspinbox.h"

#include <VorloQtBase/formatting.h>

#include <QSlider>

#include <climits>

DoubleComboSlider::DoubleComboSlider(QWidget* parent)
    : QWidget(parent)
    , m_slider(new QSlider(Qt::Horizontal, this))
    , m_spinBox(new VorloQtDoubleSpinBox(this))
    , m_eventCatcher(new SpinBoxEventCatcher(this))
    , m_editBoxWidth(0)
    , m_intIncrement(0)
    , m_minRangeLimit(0.0)
    , m_maxRangeLimit(0.0)
    , m_spinBoxHasFocus(false)
    , m_enableUpdate(false)
{
    VorloQtInternal::layOutSpinBoxAndSlider(this, m_spinBox, m_slider);
    setEditBoxWidth(VorloQtInternal::twelveDigitSpinBoxWidth(m_spinBox));

    m_slider->setRange(INT_MIN, INT_MAX);
    m_spinBox->setAccelerated(true);
    m_spinBox->installEventFilter(m_eventCatcher);
    connect(m_spinBox, SIGNAL(stepTriggered(int)), this, SLOT(onSpinBoxStepTriggered(int)));
    connect(m_eventCatcher, SIGNAL(focusEvent(bool)), this, SLOT(onSpinBoxFocusEventTriggered(bool)));
}

DoubleComboSlider::~DoubleComboSlider()
{
    delete m_spinBox;
    m_spinBox = nullptr;
    delete m_slider;
    m_slider = nullptr;
    delete m_eventCatcher;
    m_eventCatcher = nullptr;
}

int DoubleComboSlider::intValue() const
{
    return m_slider->value();
}

int DoubleComboSlider::intMinimum() const
{
    return m_slider->minimum();
}

int DoubleComboSlider::intMaximum() const
{
    return m_slider->maximum();
}

double DoubleComboSlider::minimum() const
{
    return m_spinBox->minimum();
}

double DoubleComboSlider::maximum() const
{
    return m_spinBox->maximum();
}

int DoubleComboSlider::decimals() const
{
    return m_spinBox->decimals();
}

double DoubleComboSlider::value() const
{
    return m_spinBox->value();
}

int DoubleComboSlider::intIncrement() const
{
    return m_intIncrement;
}

int DoubleComboSlider::editBoxWidth() const
{
    return m_editBoxWidth;
}

void DoubleComboSlider::setValue(double value)
{
    m_spinBox->setValue(value);
}

void DoubleComboSlider::setIntValue(int value)
{
    m_slider->setValue(value);
}

void DoubleComboSlider::setMinimum(double minimum)
{
    // The tooltip is built before the spin box has its new minimum and shows the old one
    // until the next rebuild; setMaximum() builds it afterwards.
    m_minRangeLimit = minimum;
    updateToolTip();
    m_spinBox->setMinimum(minimum);
}

void DoubleComboSlider::setIntMinimum(int minimum)
{
    m_slider->setMinimum(minimum);
    updateToolTip();
    emit rangeChanged(minimum, m_slider->maximum());
}

void DoubleComboSlider::setMaximum(double maximum)
{
    m_maxRangeLimit = maximum;
    m_spinBox->setMaximum(maximum);
    updateToolTip();
}

void DoubleComboSlider::setIntMaximum(int maximum)
{
    m_slider->setMaximum(maximum);
    updateToolTip();
    emit rangeChanged(m_slider->minimum(), maximum);
}

void DoubleComboSlider::setDecimals(int decimals)
{
    m_spinBox->setDecimals(decimals);
    updateToolTip();
}

void DoubleComboSlider::setRange(double minimum, double maximum)
{
    m_minRangeLimit = minimum;
    m_maxRangeLimit = maximum;
    m_spinBox->setRange(minimum, maximum);
    updateToolTip();
}

void DoubleComboSlider::setIntRange(int minimum, int maximum)
{
    m_slider->setRange(minimum, maximum);
    updateToolTip();
    emit rangeChanged(minimum, maximum);
}

void DoubleComboSlider::setIntIncrement(int increment)
{
    m_intIncrement = increment;
}

void DoubleComboSlider::setPageStep()
{
    // The span is taken in 32 bits as it wraps there; 64 bits only keep the absolute value
    // of the wrapped span defined.
    const int span = int(quint32(m_slider->maximum()) - quint32(m_slider->minimum()));
    int page = int(qAbs(qint64(span)) / 20);
    page = qMax(page, 2 * m_intIncrement);
    // The step size goes through the position rounding, counted from the minimum.
    page = trimSliderValue(page);
    m_slider->setPageStep(page);
    updateToolTip();
}

void DoubleComboSlider::setRangeStepAndIncrement(double minRangeLimit, double maxRangeLimit, int intIncrement)
{
    setRange(minRangeLimit, maxRangeLimit);
    setIntIncrement(intIncrement);
    setPageStep();
}

void DoubleComboSlider::setRangeStepAndIncrement(int minIntRangeLimit, int maxIntRangeLimit, int intIncrement)
{
    setIntRange(minIntRangeLimit, maxIntRangeLimit);
    setIntIncrement(intIncrement);
    setPageStep();
}

void DoubleComboSlider::initControls(double minRangeLimit, double maxRangeLimit, int value,
                                     int minIntRangeLimit, int maxIntRangeLimit, int intIncrement)
{
    setRange(minRangeLimit, maxRangeLimit);
    m_slider->setSingleStep(intIncrement);
    // The value goes in before the integer range, so that a value outside the slider's old
    // range is first clamped to it.
    setIntValue(value);
    setRangeStepAndIncrement(minIntRangeLimit, maxIntRangeLimit, intIncrement);
}

void DoubleComboSlider::updateToolTip()
{
    VorloQtInternal::buildToolTip([&] {
        const QString minText = formatDoubleValue(m_spinBox->minimum(), m_spinBox->decimals(),
                                                  FormatValueParsable, locale());
        const QString maxText = formatDoubleValue(m_spinBox->maximum(), m_spinBox->decimals(),
                                                  FormatValueParsable, locale());
        const QString text = QStringLiteral("Range: %1..%2").arg(minText, maxText);
        m_slider->setToolTip(text);
        m_spinBox->setToolTip(text);
        setToolTip(text);
    });
}

void DoubleComboSlider::onSpinBoxStepTriggered(int steps)
{
    m_enableUpdate = true;
    const int current = m_slider->value();
    if (steps == 10)
        m_slider->setValue(current + m_slider->pageStep());
    else if (steps == -10)
        m_slider->setValue(current - m_slider->pageStep());
    else
        m_slider->setValue(current + steps * m_intIncrement);
}

void DoubleComboSlider::onSpinBoxFocusEventTriggered(bool focus)
{
    m_spinBoxHasFocus = focus;
    m_enableUpdate = !focus;
}

void DoubleComboSlider::enableUpdate(bool enable)
{
    m_enableUpdate = enable;
}

void DoubleComboSlider::setEditBoxWidth(int width)
{
    m_editBoxWidth = width;
    m_spinBox->setMinimumWidth(width);
}

bool DoubleComboSlider::checkIfLimitsChanged(double minRangeLimit, double maxRangeLimit, int intIncrement)
{
    return !(minRangeLimit == m_minRangeLimit && maxRangeLimit == m_maxRangeLimit
             && intIncrement == m_intIncrement);
}

bool DoubleComboSlider::checkIfLimitsChanged(int minIntRangeLimit, int maxIntRangeLimit, int intIncrement)
{
    return !(minIntRangeLimit == m_slider->minimum() && maxIntRangeLimit == m_slider->maximum()
             && intIncrement == m_intIncrement);
}

int DoubleComboSlider::trimSliderValue(int value)
{
    if (m_slider->singleStep() != 0 && m_intIncrement != 0) {
        const qint64 offset = (qint64(value) - qint64(m_slider->minimum())) % qint64(m_intIncrement);
        return int(qint64(value) - offset);
    }
    return value;
}
