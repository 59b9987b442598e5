#include "bandwidthlimiterinterpacketdelay.h"

#include "vorloqtspinbox.h"

#include <VorloQtBase/exceptionhandling.h>

#include <algorithm>

namespace {

GenApi::INode* nodeOf(GenApi::IBase* pBase)
{
    return dynamic_cast<GenApi::INode*>(pBase);
}

// The value of an integer node when it exists and is readable; else the fallback.
int64_t readableIntegerOr(GenApi::INodeMap* pNodeMap, const char* name, int64_t fallback)
{
    GenApi::CIntegerPtr node(pNodeMap->GetNode(name));
    if (node.IsValid() && GenApi::IsReadable(node->GetAccessMode()))
        return node->GetValue(false, false);
    return fallback;
}

} // namespace

BandwidthLimiterInterPacketDelay::BandwidthLimiterInterPacketDelay(GenApi::INodeMap* pNodeMap, QWidget* parent)
    : ComboSlider(parent)
    , m_callbackHandle(0)
    , m_packetSize(1500)
    , m_timestampTickFrequency(125000000)
    , m_linkSpeed(1000)
{
    m_nodeMap = pNodeMap;
    m_interPacketDelay = m_nodeMap->GetNode("GevSCPD");
    m_packetSize = readableIntegerOr(pNodeMap, "GevSCPSPacketSize", m_packetSize);
    m_timestampTickFrequency = readableIntegerOr(pNodeMap, "GevTimestampTickFrequency", m_timestampTickFrequency);
    m_linkSpeed = readableIntegerOr(pNodeMap, "GevLinkSpeed", m_linkSpeed);
    m_bandwidthAssigned = m_nodeMap->GetNode("GevSCBWA");

    // The slider's scale is percent of the link.
    ComboSlider::setRangeAndStep(1, 100, 1);

    try {
        if (m_interPacketDelay.IsValid())
            m_callbackHandle = GenApi::Register(nodeOf(m_interPacketDelay.get()), *this,
                                                &BandwidthLimiterInterPacketDelay::onNodeCallback,
                                                GenApi::cbPostOutsideLock);
        if (m_bandwidthAssigned.IsValid() && GenApi::IsReadable(m_bandwidthAssigned->GetAccessMode())) {
            // Whole megabytes, so the position can differ a little from the one that produced
            // the present delay; nothing is written for that.
            const int64_t megabytes = m_bandwidthAssigned->GetValue(false, false) / 1000000;
            ComboSlider::setValue(static_cast<int>(megabytes * 100 / (m_linkSpeed / 8)));
        }
        SetSpinboxValue();
    } catch (...) {
        VorloQtBase::guarded("BandwidthLimiterInterPacketDelay", QStringLiteral("Failed to close the editor"),
                             [this] { onEditorClosed(); });
        throw;
    }

    // After placing the slider, so that placing it does not write to the camera.
    connect(this, SIGNAL(valueChanged(int)), this, SLOT(onValueChanged(int)));
    // The spin box shows MB/s, not percent: it must not feed back into the slider.
    disconnect(m_spinBox, SIGNAL(editingFinished()), this, SLOT(onComboBoxEditingFinished()));
    setToolTip(QStringLiteral("MB/s"));
}

BandwidthLimiterInterPacketDelay::~BandwidthLimiterInterPacketDelay()
{
    VorloQtBase::guarded("~BandwidthLimiterInterPacketDelay", QStringLiteral("Failed to close the editor"),
                         [this] { onEditorClosed(); });
    m_bandwidthAssigned.remove(true);
    m_interPacketDelay.remove(true);
    m_unused.remove(true);
    m_nodeMap.remove(true);
}

bool BandwidthLimiterInterPacketDelay::isSupported(GenApi::INodeMap* pNodeMap)
{
    if (!pNodeMap)
        return false;
    GenApi::INode* pNode = pNodeMap->GetNode("GevSCPD");
    return pNode && GenApi::IsWritable(pNode->GetAccessMode());
}

int BandwidthLimiterInterPacketDelay::value() const
{
    return ComboSlider::value();
}

void BandwidthLimiterInterPacketDelay::setValue(int val)
{
    ComboSlider::setValue(val);
}

void BandwidthLimiterInterPacketDelay::setRangeAndStep(int, int, int)
{
    ComboSlider::setRangeAndStep(1, 100, 1);
}

void BandwidthLimiterInterPacketDelay::updateToolTip()
{
    setToolTip(QStringLiteral("MB/s"));
}

void BandwidthLimiterInterPacketDelay::onNodeCallback(GenApi::INode*)
{
}

void BandwidthLimiterInterPacketDelay::SetSpinboxValue()
{
    const int64_t megabytes = m_bandwidthAssigned->GetValue(false, false) / 1000000;
    m_spinBox->setRange(0, static_cast<int>(std::max<int64_t>(megabytes + 1, 250)));
    m_spinBox->setReadOnly(true);
    m_spinBox->setButtonSymbols(QAbstractSpinBox::NoButtons);
    m_spinBox->setValue(static_cast<int>(megabytes));
}

void BandwidthLimiterInterPacketDelay::onValueChanged(int)
{
    const double share = value() / 100.0;
    int64_t delay = 0;
    if (share < 0.98) {
        const double linkBytesPerSecond = m_linkSpeed * 1000.0 * 1000.0 * 0.125;
        const double packetsPerSecond = (1.0 / m_packetSize) * (share * linkBytesPerSecond);
        const double spacing = 1.0 / (packetsPerSecond + 1.0);
        // 18 bytes of overhead travel with every packet.
        const double wire = (m_packetSize + 18.0) / linkBytesPerSecond;
        delay = static_cast<int64_t>(static_cast<int32_t>((spacing - wire) / (1.0 / m_timestampTickFrequency)));
    }
    const int64_t minimum = m_interPacketDelay->GetMin();
    const int64_t maximum = m_interPacketDelay->GetMax();
    const int64_t increment = m_interPacketDelay->GetInc();
    if (delay < minimum)
        delay = minimum;
    else if (delay > maximum)
        delay = maximum;
    else if (increment != 1 && increment > 0)
        delay -= (delay - minimum) % increment;
    m_interPacketDelay->SetValue(delay, true);
    SetSpinboxValue();
}

void BandwidthLimiterInterPacketDelay::onEditorClosed()
{
    disconnect(this, SIGNAL(valueChanged(int)), this, SLOT(onValueChanged(int)));
    if (!m_callbackHandle)
        return;
    if (m_interPacketDelay.IsValid())
        GenApi::DeregisterSafe(m_interPacketDelay, m_callbackHandle);
    m_callbackHandle = 0;
}
