#include "doublespinbox.h"

#include "editorsupport_p.h"
#include "vorloqtspinbox.h"

#include <VorloQtBase/formatting.h>

#include <QHBoxLayout>

#include <limits>

DoubleSpinBox::DoubleSpinBox(QWidget* parent, GenApi::_ERepresentation representation)
    : QWidget(parent)
    , m_spinBox(new VorloQtDoubleSpinBox(this))
    , m_eventCatcher(new SpinBoxEventCatcher(this))
    , m_increment(0.0)
    , m_minRangeLimit(std::numeric_limits<double>::lowest())
    , m_maxRangeLimit(std::numeric_limits<double>::max())
    , m_editBoxWidth(0)
    , m_enableUpdate(false)
    , m_spinBoxHasFocus(false)
{
    auto* layout = new QHBoxLayout(this);
    layout->setMargin(0);
    setContentsMargins(1, 0, 1, 0);
    layout->addWidget(m_spinBox);

    m_spinBox->setRange(std::numeric_limits<double>::lowest(), std::numeric_limits<double>::max());
    m_spinBox->setAccelerated(true);
    if (representation == GenApi::PureNumber)
        m_spinBox->setButtonSymbols(QAbstractSpinBox::NoButtons);

    m_spinBox->installEventFilter(m_eventCatcher);
    connect(m_eventCatcher, SIGNAL(focusEvent(bool)), this, SLOT(onSpinBoxFocusEventTriggered(bool)));
}

DoubleSpinBox::~DoubleSpinBox()
{
    delete m_spinBox;
    m_spinBox = nullptr;
    delete m_eventCatcher;
    m_eventCatcher = nullptr;
}

double DoubleSpinBox::minimum() const
{
    return m_spinBox->minimum();
}

double DoubleSpinBox::maximum() const
{
    return m_spinBox->maximum();
}

int DoubleSpinBox::decimals() const
{
    return m_spinBox->decimals();
}

double DoubleSpinBox::increment() const
{
    return m_increment;
}

int DoubleSpinBox::editBoxWidth() const
{
    return m_editBoxWidth;
}

void DoubleSpinBox::setValue(double value)
{
    m_spinBox->setValue(value);
}

void DoubleSpinBox::setMinimum(double minimum)
{
    m_spinBox->setMinimum(minimum);
    updateToolTip();
}

void DoubleSpinBox::setMaximum(double maximum)
{
    m_spinBox->setMaximum(maximum);
    updateToolTip();
}

void DoubleSpinBox::setDecimals(int decimals)
{
    m_spinBox->setDecimals(decimals);
    updateToolTip();
}

void DoubleSpinBox::setIncrement(double increment)
{
    m_increment = increment;
}

void DoubleSpinBox::setRange(double minimum, double maximum)
{
    m_minRangeLimit = minimum;
    m_maxRangeLimit = maximum;
    m_spinBox->setRange(minimum, maximum);
    updateToolTip();
}

void DoubleSpinBox::setPageStep()
{
    m_spinBox->setPageStep(qMax(2.0 * m_increment, (m_maxRangeLimit - m_minRangeLimit) / 20.0));
}

void DoubleSpinBox::setRangeStepAndIncrement(double minRangeLimit, double maxRangeLimit, double increment)
{
    setRange(minRangeLimit, maxRangeLimit);
    setIncrement(increment);
    setPageStep();
    // A value without an increment cannot be stepped; the buttons do not come back when a
    // later increment is non-zero.
    if (increment == 0.0)
        m_spinBox->setButtonSymbols(QAbstractSpinBox::NoButtons);
}

void DoubleSpinBox::initControls(double minRangeLimit, double maxRangeLimit, double value, double increment)
{
    setValue(value);
    setRangeStepAndIncrement(minRangeLimit, maxRangeLimit, increment);
}

void DoubleSpinBox::updateToolTip()
{
    VorloQtInternal::buildToolTip([&] {
        const FormatValueFlags flags(FormatValueParsable);
        const int decimals = m_spinBox->decimals();
        const QString minText = formatDoubleValue(m_spinBox->minimum(), decimals, flags, locale());
        const QString maxText = formatDoubleValue(m_spinBox->maximum(), decimals, flags, locale());
        const QString incText = formatDoubleValue(m_increment, decimals, flags, locale());
        // The increment is read back without the locale on purpose: one that the decimals
        // round to zero, or one written with a decimal comma, counts as no increment.
        QString text;
        if (incText.toDouble() == 0.0)
            text = QStringLiteral("Range: %1..%2").arg(minText, maxText);
        else
            text = QStringLiteral("Range: %1..%2 (Increment: %3)").arg(minText, maxText, incText);
        m_spinBox->setToolTip(text);
        setToolTip(text);
    });
}

void DoubleSpinBox::onSpinBoxFocusEventTriggered(bool focus)
{
    m_spinBoxHasFocus = focus;
    m_enableUpdate = !focus;
}

void DoubleSpinBox::enableUpdate(bool enable)
{
    m_enableUpdate = enable;
}

void DoubleSpinBox::setEditBoxWidth(int width)
{
    m_editBoxWidth = width;
    m_spinBox->setMinimumWidth(width);
}

bool DoubleSpinBox::checkIfLimitsChanged(double minRangeLimit, double maxRangeLimit, double increment)
{
    return !(minRangeLimit == m_minRangeLimit && maxRangeLimit == m_maxRangeLimit && increment == m_increment);
}
