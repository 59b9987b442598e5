#pragma once
// The limit editor for GigE Vision cameras: a share of the link in percent, turned into the
// inter-packet delay "GevSCPD"; beside it the bandwidth that the camera reports in MB/s.

#include <VorloQtWidgets/comboslider.h>
#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include <internal/GenApiSafePointer.h>

class VORLOQTWIDGETS_EXPORT BandwidthLimiterInterPacketDelay : public ComboSlider
{
    Q_OBJECT

public:
    BandwidthLimiterInterPacketDelay(GenApi::INodeMap* pNodeMap, QWidget* parent);
    ~BandwidthLimiterInterPacketDelay() override;

    // A map with "GevSCPD" writable (RW or WO).
    static bool isSupported(GenApi::INodeMap* pNodeMap);

    // The slider's position, in percent of the link.
    int value() const;

    void onEditorClosed();
    // Registered only to tie the node to this editor's life; does nothing.
    void onNodeCallback(GenApi::INode* pNode);

    void updateToolTip() override;

public slots:
    void setValue(int val) override;
    // The scale is percent: always 1 to 100 in steps of 1, whatever is asked.
    void setRangeAndStep(int minVal, int maxVal, int incVal) override;
    void onValueChanged(int);
    // Shows "GevSCBWA" in whole MB/s in the read-only spin box.
    void SetSpinboxValue();

private:
    GenApi::CSafePointer<GenApi::INodeMap, GenApi::INodeMap> m_nodeMap;
    GenApi::CSafePointer<GenApi::IInteger, GenApi::IBase> m_unused; // stays empty
    GenApi::CSafePointer<GenApi::IInteger, GenApi::IBase> m_interPacketDelay;
    GenApi::CSafePointer<GenApi::IInteger, GenApi::IBase> m_bandwidthAssigned;
    GenApi::CallbackHandleType m_callbackHandle;
    int64_t m_packetSize;
    int64_t m_timestampTickFrequency;
    int64_t m_linkSpeed;
};
