#include "floatslidereditor.h"

#include "controlhelper.h"
#include "editorsupport_p.h"
#include "vorloqtspinbox.h"

#include <VorloQtBase/formatting.h>

#include <QMetaObject>
#include <QSlider>

#include <memory>

using VorloQtInternal::guardedNamed;
using VorloQtInternal::low32;

FloatSliderEditor::FloatSliderEditor(QWidget* parent)
    : DoubleComboSlider(parent)
    , m_initialized(false)
    , m_pAliasCallbackHandle(0)
{
    connect(m_spinBox, SIGNAL(editingFinished()), this, SLOT(onSpinBoxEditingFinished()));
    connect(m_slider, SIGNAL(valueChanged(int)), this, SLOT(onSliderValueChanged(int)));
}

FloatSliderEditor::~FloatSliderEditor()
{
    if (m_pAliasCallbackHandle != 0) {
        VorloQtBase::guarded("~FloatSliderEditor", QStringLiteral("Failed to deregister the callback:"),
                             [&] { GenApi::DeregisterSafe(m_pAlias, m_pAliasCallbackHandle); });
        m_pAliasCallbackHandle = 0;
    }
    m_pNode.remove(true);
    m_pFloat.remove(true);
    m_pAlias.remove(true);
    m_pAliasInteger.remove(true);
}

void FloatSliderEditor::setEditorData(GenApi::INode* pNode)
{
    guardedNamed(
        "setEditorData", "%s: Failed to update the float value editor comboBox!",
        [&] { return VorloQtInternal::nodeName(pNode); },
        [&] {
            GenApi::IFloat* pFloat = dynamic_cast<GenApi::IFloat*>(pNode);
            if (!pNode || !pFloat) {
                qWarning("%s is called with non-float node????", "setEditorData");
                return;
            }
            if (!VorloQtInternal::isReadable(pNode)) {
                qWarning("Non-readable comboBox: %s??????", qPrintable(VorloQtInternal::nodeName(pNode)));
                return;
            }

            if (m_spinBoxHasFocus) {
                if (!m_enableUpdate)
                    return;
                m_enableUpdate = false;
            }

            if (!m_initialized) {
                m_initialized = initMemberVariables(pNode);
                initControls(m_minRangeLimit, m_maxRangeLimit, low32(m_pAliasInteger->GetValue(false, false)),
                             low32(m_pAliasInteger->GetMin()), low32(m_pAliasInteger->GetMax()), m_intIncrement);
                updateToolTip();
            }

            const bool writable = VorloQtInternal::isWritable(pNode);
            const double min = pFloat->GetMin();
            const double max = pFloat->GetMax();
            if (max < min)
                throw INVALID_ARGUMENT_EXCEPTION("The minimum value is larger than the maximum value!");

            const double floatValue = pFloat->GetValue(false, false);
            if (floatValue < min || floatValue > max)
                throw INVALID_ARGUMENT_EXCEPTION(
                    "The minimum allowed value is larger than the to be set node value or the maximum allowed value "
                    "is smaller than the to be set node value!");

            const int increment = low32(m_pAliasInteger->GetInc());
            if (increment == 0)
                throw INVALID_ARGUMENT_EXCEPTION("The alias increment cannot be '0'!");

            const int precision = VorloQt::trimToInt32(pFloat->GetDisplayPrecision());

            VorloQtInternal::setEnabledIfChanged(this, writable);

            if (precision != m_spinBox->decimals())
                setDecimals(precision);

            const bool changed = checkIfLimitsChanged(min, max, increment);
            if (changed) {
                setRangeStepAndIncrement(min, max, increment);
                updateToolTip();
            }
            if (!changed && floatValue == value())
                return;
            // Only the spin box: the slider follows the alias's own callback.
            setValue(floatValue);
        });
}

QVariant FloatSliderEditor::editorData()
{
    return QVariant(value());
}

bool FloatSliderEditor::initMemberVariables(GenApi::INode* pNode)
{
    VORLO_REQUIRE(!m_pAlias.IsValid(), "!m_pAlias.IsValid()");

    m_pNode = pNode;
    m_pFloat = pNode;
    if (!m_pFloat.IsValid())
        throw INVALID_ARGUMENT_EXCEPTION("Dynamic cast on pNode has gone wrong!");

    GenApi::INode* alias = pNode->GetAlias();
    m_pAlias = alias;
    if (!alias)
        throw INVALID_ARGUMENT_EXCEPTION("Could not retrieve an alias node on pNode");

    m_pAliasInteger = alias;
    if (!m_pAliasInteger.IsValid())
        throw INVALID_ARGUMENT_EXCEPTION("Dynamic cast on the alias node has gone wrong!");

    VORLO_REQUIRE(m_pAliasCallbackHandle == 0, "m_pAliasCallbackHandle == 0");
    using Callback = GenApi::Member_NodeCallback<FloatSliderEditor, void (FloatSliderEditor::*)(GenApi::INode*)>;
    std::unique_ptr<Callback> callback(
        new Callback(alias, *this, &FloatSliderEditor::onAliasNodeUpdate, GenApi::cbPostInsideLock));
    m_pAliasCallbackHandle = m_pAlias->RegisterCallback(callback.get());
    callback.release(); // the alias owns it now
    if (m_pAliasCallbackHandle == 0)
        throw INVALID_ARGUMENT_EXCEPTION("Could not register a callback handle on the alias node of the given pNode");

    m_minRangeLimit = m_pFloat->GetMin();
    m_maxRangeLimit = m_pFloat->GetMax();
    m_intIncrement = low32(m_pAliasInteger->GetInc());

    if (!(m_minRangeLimit > m_maxRangeLimit))
        return true;
    throw INVALID_ARGUMENT_EXCEPTION("The given range or increment information of the given pNode is not valid");
}

void FloatSliderEditor::onAliasNodeUpdate(GenApi::INode* pAlias)
{
    GenApi::INode* alias = &*m_pAlias; // a null alias throws before the check
    VORLO_REQUIRE(pAlias == alias, "pAlias == m_pAlias");
    qRegisterMetaType<GenApi::INode*>("GenApi::INode*");
    // Queued from any other thread; on the editor's own thread it runs at once.
    QMetaObject::invokeMethod(this, "onAliasNodeUpdateImpl", Qt::AutoConnection, Q_ARG(GenApi::INode*, pAlias));
}

void FloatSliderEditor::onAliasNodeUpdateImpl(GenApi::INode* pAlias)
{
    guardedNamed(
        "onAliasNodeUpdateImpl", "%s: Failed to update the float value editor slider!",
        [&] { return VorloQtInternal::nodeName(pAlias); },
        [&] {
            if (!pAlias || !VorloQtInternal::isReadable(pAlias)) {
                qWarning("Non-readable slider: %s??????", qPrintable(VorloQtInternal::nodeName(pAlias)));
                return;
            }
            if (!m_pAliasInteger.IsValid())
                throw INVALID_ARGUMENT_EXCEPTION("The internal alias node pointer is null.");

            const bool writable = VorloQtInternal::isWritable(pAlias);
            const int64_t min = m_pAliasInteger->GetMin();
            const int64_t max = m_pAliasInteger->GetMax();
            if (max < min)
                throw INVALID_ARGUMENT_EXCEPTION("The minimum value is larger than the maximum value!");

            const int64_t aliasValue = m_pAliasInteger->GetValue(false, false);
            if (aliasValue < min || aliasValue > max)
                throw INVALID_ARGUMENT_EXCEPTION(
                    "The minimum allowed value is larger than the to be set node value or the maximum allowed value "
                    "is smaller than the to be set node value!");

            const int64_t increment = m_pAliasInteger->GetInc();
            if (increment == 0)
                throw INVALID_ARGUMENT_EXCEPTION("The alias increment cannot be '0'!");

            VorloQtInternal::setEnabledIfChanged(this, writable);

            const bool changed = checkIfLimitsChanged(low32(min), low32(max), low32(increment));
            if (changed) {
                setRangeStepAndIncrement(low32(min), low32(max), low32(increment));
                updateToolTip();
            }
            if (!changed && low32(aliasValue) == m_slider->value())
                return;
            // No focus guard here: the slider follows the alias even while the spin box has
            // focus, and the spin box may take the float's next refresh.
            m_enableUpdate = true;
            setIntValue(low32(aliasValue));
        },
        "Failed to retrieve the alias node's name");
}

void FloatSliderEditor::onSliderValueChanged(int val)
{
    guardedNamed(
        "onSliderValueChanged", "%s: Failed to set the alias nodes value on slider value changed signal!",
        [&] { return VorloQtInternal::nodeName(m_pAlias.get()); },
        [&] {
            // A position that came from the alias writes nothing back.
            if (m_pAliasInteger->GetValue(false, false) == val)
                return;
            m_enableUpdate = true;
            // Rounded down onto the alias's increment; the alias then reports back and puts
            // the slider on the rounded position.
            m_pAliasInteger->SetValue(trimSliderValue(val), true);
        });
}

void FloatSliderEditor::onSpinBoxEditingFinished()
{
    m_spinBox->setValue(adjustRangeLimits(m_spinBox->value()));
    m_enableUpdate = true;
    emit boxValueChanged();
}

double FloatSliderEditor::adjustRangeLimits(double v)
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

double FloatSliderEditor::value()
{
    return adjustRangeLimits(m_spinBox->value());
}

void FloatSliderEditor::updateToolTip()
{
    VorloQtInternal::buildToolTip([&] {
        const int precision = VorloQt::trimToInt32(m_pFloat->GetDisplayPrecision());
        const double largest = qMax(qAbs(m_pFloat->GetMax()), qAbs(m_pFloat->GetMin()));
        const FormatValueFlags flags = largest > 1000000000.0 ? FormatValueScientificIfLarge : FormatValueParsable;
        const QString minText = formatDoubleValue(m_spinBox->minimum(), precision, flags, locale());
        const QString maxText = formatDoubleValue(m_spinBox->maximum(), precision, flags, locale());
        // The float's own increment is shown, not the alias's.
        QString incText;
        if (m_pFloat->HasInc())
            incText = formatDoubleValue(m_pFloat->GetInc(), precision, flags, locale());
        QString text;
        if (incText.toDouble() == 0.0)
            text = QStringLiteral("Range: %1..%2").arg(minText, maxText);
        else
            text = QStringLiteral("Range: %1..%2 (Increment: %3)").arg(minText, maxText, incText);
        m_spinBox->setToolTip(text);
        m_slider->setToolTip(text);
        setToolTip(text);
    });
}
