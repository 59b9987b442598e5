#pragma once
// The limit editor for cameras with a writable "DeviceLinkThroughputLimit": whole megabytes per
// second on a combo slider, kept in step with the node.

#include <VorloQtWidgets/comboslider.h>
#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include <internal/GenApiSafePointer.h>

class VORLOQTWIDGETS_EXPORT DeviceLinkThroughputLimitEditor : public ComboSlider
{
    Q_OBJECT

public:
    DeviceLinkThroughputLimitEditor(GenApi::INodeMap* pNodeMap, QWidget* parent);
    ~DeviceLinkThroughputLimitEditor() override;

    // A map with "DeviceLinkThroughputLimit" writable (RW or WO).
    static bool isSupported(GenApi::INodeMap* pNodeMap);

    // The slider's position in bytes per second.
    int value() const;

    // Deregisters the node callback and gives the limit mode its write access back.
    // Harmless when called twice.
    void onEditorClosed();
    // Follows the limit node: range, step and value.
    void onNodeCallback(GenApi::INode* pNode);

public slots:
    void setValue(int val) override;
    void setRangeAndStep(int minVal, int maxVal, int incVal) override;
    void onValueChanged(int);

private:
    GenApi::CSafePointer<GenApi::INodeMap, GenApi::INodeMap> m_nodeMap;
    GenApi::CSafePointer<GenApi::IInteger, GenApi::IBase> m_deviceLinkSelector;
    GenApi::CSafePointer<GenApi::IEnumeration, GenApi::IBase> m_throughputLimitMode;
    GenApi::CSafePointer<GenApi::IInteger, GenApi::IBase> m_throughputLimit;
    GenApi::CallbackHandleType m_callbackHandle;
    int m_divisor;
    int m_savedAccessMode; // GenApi::EAccessMode; 5 when nothing is saved
};
