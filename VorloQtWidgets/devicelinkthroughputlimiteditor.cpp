#include "devicelinkthroughputlimiteditor.h"

#include <VorloQtBase/exceptionhandling.h>

#include <limits>

namespace {

const int NoSavedAccessMode = 5;

int toIntChecked(int64_t value)
{
    if (value < std::numeric_limits<int>::min() || value > std::numeric_limits<int>::max())
        throw RUNTIME_EXCEPTION("INTEGRAL_CAST failed");
    return static_cast<int>(value);
}

GenApi::INode* nodeOf(GenApi::IBase* pBase)
{
    return dynamic_cast<GenApi::INode*>(pBase);
}

} // namespace

DeviceLinkThroughputLimitEditor::DeviceLinkThroughputLimitEditor(GenApi::INodeMap* pNodeMap, QWidget* parent)
    : ComboSlider(parent)
    , m_callbackHandle(0)
    , m_divisor(1000000)
    , m_savedAccessMode(NoSavedAccessMode)
{
    m_nodeMap = pNodeMap;
    m_deviceLinkSelector = m_nodeMap->GetNode("DeviceLinkSelector");
    m_throughputLimitMode = m_nodeMap->GetNode("DeviceLinkThroughputLimitMode");
    m_throughputLimit = m_nodeMap->GetNode("DeviceLinkThroughputLimit");

    // The first link is the one that counts.
    m_deviceLinkSelector->SetValue(m_deviceLinkSelector->GetMin(), true);

    GenApi::IEnumEntry* pOn = m_throughputLimitMode->GetEntryByName("On");
    if (pOn && GenApi::IsAvailable(pOn->GetAccessMode())
        && GenApi::IsWritable(m_throughputLimitMode->GetAccessMode())) {
        m_throughputLimitMode->SetIntValue(pOn->GetValue(), true);
        m_savedAccessMode = m_throughputLimitMode->GetAccessMode();
        // Nobody else may switch the limit off while this editor is open.
        nodeOf(m_throughputLimitMode.get())->ImposeAccessMode(GenApi::RO);
    }

    try {
        m_callbackHandle = GenApi::Register(nodeOf(m_throughputLimit.get()), *this,
                                            &DeviceLinkThroughputLimitEditor::onNodeCallback,
                                            GenApi::cbPostOutsideLock);
        // The callback fills range and value; this is the only initial filling.
        nodeOf(m_throughputLimit.get())->InvalidateNode();
    } catch (...) {
        // No destructor runs for a constructor that fails: undo the registration and the lock.
        VorloQtBase::guarded("DeviceLinkThroughputLimitEditor", QStringLiteral("Failed to close the editor"),
                             [this] { onEditorClosed(); });
        throw;
    }

    // Connected last, so that the initial filling writes nothing to the camera.
    connect(this, SIGNAL(valueChanged(int)), this, SLOT(onValueChanged(int)));
}

DeviceLinkThroughputLimitEditor::~DeviceLinkThroughputLimitEditor()
{
    VorloQtBase::guarded("~DeviceLinkThroughputLimitEditor", QStringLiteral("Failed to close the editor"),
                         [this] { onEditorClosed(); });
    m_throughputLimit.remove(true);
    m_throughputLimitMode.remove(true);
    m_deviceLinkSelector.remove(true);
    m_nodeMap.remove(true);
}

bool DeviceLinkThroughputLimitEditor::isSupported(GenApi::INodeMap* pNodeMap)
{
    if (!pNodeMap)
        return false;
    GenApi::INode* pNode = pNodeMap->GetNode("DeviceLinkThroughputLimit");
    return pNode && GenApi::IsWritable(pNode->GetAccessMode());
}

int DeviceLinkThroughputLimitEditor::value() const
{
    return static_cast<int>(static_cast<int64_t>(ComboSlider::value()) * m_divisor);
}

void DeviceLinkThroughputLimitEditor::setValue(int val)
{
    const int64_t d = m_divisor;
    ComboSlider::setValue(static_cast<int>((static_cast<int64_t>(val) + d / 2) / d));
}

void DeviceLinkThroughputLimitEditor::setRangeAndStep(int minVal, int maxVal, int incVal)
{
    const int64_t d = m_divisor;
    // The slider cannot reach 0: a limit of nothing makes no sense.
    const int64_t minimum = std::max<int64_t>(1, (static_cast<int64_t>(minVal) + d / 2) / d);
    const int64_t maximum = maxVal / d;
    const int64_t step = std::max<int64_t>(1, incVal / d);
    ComboSlider::setRangeAndStep(static_cast<int>(minimum), static_cast<int>(maximum), static_cast<int>(step));
}

void DeviceLinkThroughputLimitEditor::onNodeCallback(GenApi::INode* pNode)
{
    GenApi::CIntegerPtr limit(pNode);
    if (!pNode || !limit.IsValid())
        return;
    const int minimum = toIntChecked(limit->GetMin());
    const int maximum = toIntChecked(limit->GetMax());
    const int increment = toIntChecked(limit->GetInc());
    setRangeAndStep(minimum, maximum, increment);
    setValue(toIntChecked(limit->GetValue(false, false)));
}

void DeviceLinkThroughputLimitEditor::onValueChanged(int)
{
    int64_t v = value();
    const int64_t minimum = m_throughputLimit->GetMin();
    const int64_t maximum = m_throughputLimit->GetMax();
    const int64_t increment = m_throughputLimit->GetInc();
    if (v < minimum)
        v = minimum;
    else if (v > maximum)
        v = maximum;
    else if (increment != 1 && increment > 0)
        v -= (v - minimum) % increment;
    // The write fires onNodeCallback, which puts the slider where the camera really is.
    m_throughputLimit->SetValue(v, true);
}

void DeviceLinkThroughputLimitEditor::onEditorClosed()
{
    disconnect(this, SIGNAL(valueChanged(int)), this, SLOT(onValueChanged(int)));
    if (m_callbackHandle) {
        if (m_throughputLimit.IsValid())
            GenApi::DeregisterSafe(m_throughputLimit, m_callbackHandle);
        m_callbackHandle = 0;
    }
    if (m_savedAccessMode != NoSavedAccessMode) {
        // The mode stays "On"; only the lock is lifted.
        nodeOf(&*m_throughputLimitMode)->ImposeAccessMode(static_cast<GenApi::EAccessMode>(m_savedAccessMode));
        m_savedAccessMode = NoSavedAccessMode;
    }
}
