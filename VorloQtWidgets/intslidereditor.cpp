#include "intslidereditor.h"

#include "editorsupport_p.h"
#include "vorloqtspinbox.h"

#include <VorloQtBase/exceptionhandling.h>

#include <QSlider>

#include <cstdlib>

namespace
{
// max(2 * increment, |max - min| / 20), in 32-bit arithmetic that wraps rather than overflows.
int integerPageStep(int min, int max, int increment)
{
    const int twice = int(quint32(increment) * 2u);
    const int span = int(quint32(max) - quint32(min));
    const int twentieth = int(qAbs(qint64(span)) / 20);
    return qMax(twice, twentieth);
}
} // namespace

IntSliderEditor::IntSliderEditor(QWidget* parent)
    : ComboSlider(parent)
{
}

void IntSliderEditor::setEditorData(GenApi::INode* pNode)
{
    VorloQtBase::guarded("setEditorData", QStringLiteral("Failed to update the integer value editor"), [&] {
        // A warning that names the node reports a failed name fetch on its own and stops.
        auto nameForWarning = [&](QString& name) {
            return VorloQtBase::guarded("setEditorData", QStringLiteral("Failed to retrieve a node's name"),
                                        [&] { name = VorloQtInternal::nodeName(pNode); });
        };

        GenApi::IInteger* pInteger = dynamic_cast<GenApi::IInteger*>(pNode);
        if (!pNode || !pInteger) {
            qWarning("%s is called with non-integer node????", "setEditorData");
            return;
        }
        if (!VorloQtInternal::isReadable(pNode)) {
            QString name;
            if (nameForWarning(name))
                qWarning("Non-readable slider: %s??????", qPrintable(name));
            return;
        }

        const bool writable = VorloQtInternal::isWritable(pNode);
        const int min = VorloQt::trimToInt32(pInteger->GetMin());
        const int max = VorloQt::trimToInt32(pInteger->GetMax());
        const int value = VorloQt::trimToInt32(pInteger->GetValue(false, false));
        const int increment = VorloQt::trimToInt32(pInteger->GetInc());

        // Neither case aborts: trimValue() clamps the value in the end.
        if (max < min) {
            QString name;
            if (!nameForWarning(name))
                return;
            qWarning("%s: Feature %s: min value % d > max value %d???", "setEditorData", qPrintable(name), min, max);
        }
        if (value < min || value > max) {
            QString name;
            if (!nameForWarning(name))
                return;
            qWarning("%s: Feature %s: value %d out of range??? min = %d, max = %d", "setEditorData",
                     qPrintable(name), value, min, max);
        }

        VorloQtInternal::setEnabledIfChanged(this, writable);

        bool rangeChanged = false;
        if (m_slider->minimum() != min || m_slider->maximum() != max || m_slider->singleStep() != increment) {
            setRangeAndStep(min, max, increment);
            rangeChanged = true;
        }
        // setValue() emits nothing, so that a refresh never leads to a commit.
        if (value != m_slider->value() || rangeChanged)
            setValue(value);

        setPageStep(integerPageStep(min, max, increment));
    });
}

QVariant IntSliderEditor::editorData()
{
    return QVariant(value());
}

namespace VorloQt
{
IntSliderControl::IntSliderControl(GenApi::IInteger* pInteger, QWidget* parent)
    : ComboSlider(parent)
    , m_pInteger(pInteger)
    , m_controlHelper(dynamic_cast<GenApi::INode*>(pInteger), nullptr)
    , m_lastValue(0)
{
    // Any start that differs from the node's value lets the first update take it.
    VorloQtBase::guarded("IntSliderControl", QStringLiteral("Failed to read the integer value"), [&] {
        if (m_pInteger.IsValid() && VorloQtInternal::isReadable(m_pInteger.get()))
            m_lastValue = trimToInt32(m_pInteger->GetValue(false, false)) ^ 1;
    });

    updateWidget();

    // Connected only now, so that the first fill writes nothing back.
    connect(this, SIGNAL(valueChanged(int)), this, SLOT(setNodeValue(int)));
    connect(&m_controlHelper, SIGNAL(nodeUpdated()), this, SLOT(updateWidget()));
}

IntSliderControl::~IntSliderControl() = default;

void IntSliderControl::updateWidget()
{
    VorloQtBase::guarded("updateWidget", QStringLiteral("Failed to update the integer value editor"), [&] {
        const bool writable = VorloQtInternal::isWritable(m_pInteger.get());
        const int min = trimToInt32(m_pInteger->GetMin());
        const int max = trimToInt32(m_pInteger->GetMax());
        const int value = trimToInt32(m_pInteger->GetValue(false, false));
        const int increment = trimToInt32(m_pInteger->GetInc());

        VorloQtInternal::setEnabledIfChanged(this, writable);

        if (m_slider->minimum() != min || m_slider->maximum() != max)
            setRange(min, max);
        if (value != m_lastValue) {
            const int fresh = trimToInt32(m_pInteger->GetValue(false, false));
            m_lastValue = fresh;
            setValue(fresh);
        }
        if (m_slider->singleStep() != increment)
            setSingleStep(increment);
    });
}

void IntSliderControl::setNodeValue(int newVal)
{
    if (newVal == m_lastValue)
        return;
    m_lastValue = newVal;
    if (!isEnabled())
        return;
    VorloQtBase::guardedShown("setNodeValue", QStringLiteral("Failed to set integer value"),
                              QStringLiteral("Failed to set integer value"), nullptr,
                              [&] { m_pInteger->SetValue(newVal, true); });
}
} // namespace VorloQt
