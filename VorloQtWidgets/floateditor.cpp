#include "floateditor.h"

#include "controlhelper.h"
#include "editorsupport_p.h"
#include "vorloqtspinbox.h"

#include <VorloQtBase/formatting.h>

#include <QtMath>

using VorloQtInternal::guardedNamed;

FloatEditor::FloatEditor(QWidget* parent, GenApi::_ERepresentation representation)
    : DoubleSpinBox(parent, representation)
    , m_initialized(false)
{
    connect(m_spinBox, SIGNAL(editingFinished()), this, SLOT(onSpinBoxEditingFinished()));
    connect(m_spinBox, SIGNAL(stepTriggered(int)), this, SLOT(onSpinBoxStepTriggered(int)));
}

FloatEditor::~FloatEditor()
{
    m_pFloat.remove(true);
    m_pNode.remove(true);
}

void FloatEditor::setEditorData(GenApi::INode* pNode)
{
    guardedNamed(
        "setEditorData", "%s: Failed to update the float value editor comboBox!",
        [&] { return VorloQtInternal::nodeName(pNode); },
        [&] {
            // Attached anew on every call, also for the same node.
            m_pFloat = pNode;
            if (!m_pFloat.IsValid()) {
                qWarning("%s is called with non-float node", "setEditorData");
                return;
            }
            if (!VorloQtInternal::isReadable(pNode)) {
                qWarning("Non-readable comboBox: %s", qPrintable(VorloQtInternal::nodeName(pNode)));
                return;
            }

            // A person typing is never overwritten: with focus, only the editor's own commit
            // or step lets one refresh through.
            if (m_spinBoxHasFocus) {
                if (!m_enableUpdate)
                    return;
                m_enableUpdate = false;
            }

            if (!m_initialized) {
                m_initialized = initMemberVariables(pNode);
                const double increment = m_pFloat->HasInc() ? m_pFloat->GetInc() : 0.0;
                initControls(m_pFloat->GetMin(), m_pFloat->GetMax(), m_pFloat->GetValue(false, false), increment);
                updateToolTip();
            }

            const bool writable = VorloQtInternal::isWritable(pNode);
            const double min = m_pFloat->GetMin();
            const double max = m_pFloat->GetMax();
            if (max < min)
                throw INVALID_ARGUMENT_EXCEPTION("The minimum value is larger than the maximum value!");

            const double nodeValue = m_pFloat->GetValue(false, false);
            if (nodeValue < min || nodeValue > max)
                throw INVALID_ARGUMENT_EXCEPTION(
                    "The minimum value is larger than the to be set node value or the maximum value is smaller than "
                    "the to be set node value!");

            const double increment = m_pFloat->HasInc() ? m_pFloat->GetInc() : 0.0;
            const int precision = VorloQt::trimToInt32(m_pFloat->GetDisplayPrecision());

            VorloQtInternal::setEnabledIfChanged(this, writable);

            // The decimals go in before the range: the spin box rounds its range to them.
            if (precision != m_spinBox->decimals())
                setDecimals(precision);

            const bool changed = checkIfLimitsChanged(min, max, increment);
            if (changed) {
                setRangeStepAndIncrement(min, max, increment);
                updateToolTip();
            }
            if (!changed && nodeValue == value())
                return;
            setValue(nodeValue);
        });
}

QVariant FloatEditor::editorData()
{
    return QVariant(value());
}

bool FloatEditor::initMemberVariables(GenApi::INode* pNode)
{
    m_pNode = pNode;
    m_pFloat = pNode;
    if (!m_pFloat.IsValid())
        throw INVALID_ARGUMENT_EXCEPTION("Dynamic cast on pNode has gone wrong!");
    return true;
}

double FloatEditor::adjustRangeLimits(double v)
{
    double result = v;
    guardedNamed(
        "adjustRangeLimits", "%s: Failed to assert the range limits!",
        [&] { return VorloQtInternal::nodeName(m_pNode.get()); },
        [&] {
            const double min = m_pFloat->GetMin();
            const double max = m_pFloat->GetMax();
            if (v < min)
                result = min;
            else if (v > max)
                result = max;
        });
    return result;
}

double FloatEditor::value()
{
    return adjustRangeLimits(m_spinBox->value());
}

void FloatEditor::onSpinBoxEditingFinished()
{
    m_enableUpdate = true;
    emit boxValueChanged();
}

void FloatEditor::onSpinBoxStepTriggered(int steps)
{
    if (m_increment == 0.0)
        return; // a node without an increment does not step

    guardedNamed(
        "onSpinBoxStepTriggered",
        "%s: Failed to set the value for the float node on a spin box step triggered event!",
        [&] { return VorloQtInternal::nodeName(m_pNode.get()); },
        [&] {
            const double pageStep = m_spinBox->pageStep();
            // The value comes from the node: what was typed but not committed is dropped.
            const double current = m_pFloat->GetValue(false, false);
            m_enableUpdate = true;
            double target;
            if (steps == 10)
                target = adjustRangeLimits(current + pageStep);
            else if (steps == -10)
                target = adjustRangeLimits(current - pageStep);
            else
                target = adjustRangeLimits(steps * m_increment + current);
            // Straight to the node; the spin box shows the result when the change comes
            // back through setEditorData().
            m_pFloat->SetValue(target, true);
        });
}

void FloatEditor::updateToolTip()
{
    VorloQtInternal::buildToolTip([&] {
        const double largest = qMax(qAbs(m_spinBox->maximum()), qAbs(m_spinBox->minimum()));
        const FormatValueFlags flags = largest > 1000000000.0 ? FormatValueScientificIfLarge : FormatValueParsable;
        const int precision = VorloQt::trimToInt32(m_pFloat->GetDisplayPrecision());
        const QString minText = formatDoubleValue(m_spinBox->minimum(), precision, flags, locale());
        const QString maxText = formatDoubleValue(m_spinBox->maximum(), precision, flags, locale());
        const QString incText = formatDoubleValue(m_increment, precision, flags, locale());
        QString text;
        if (incText.toDouble() == 0.0)
            text = QStringLiteral("Range: %1..%2").arg(minText, maxText);
        else
            text = QStringLiteral("Range: %1..%2 (Increment: %3)").arg(minText, maxText, incText);
        m_spinBox->setToolTip(text);
        setToolTip(text);
    });
}
