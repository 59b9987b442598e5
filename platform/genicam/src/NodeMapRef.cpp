#include <GenApi/NodeMapRef.h>

namespace GenApi
{
    // The engine behind the node map is being brought up; until it is in, a load reports that
    // this build cannot load descriptions yet.
    class CNodeMapImpl
    {
    };

    CNodeMapRef::CNodeMapRef(const gcstring& DeviceName) : _Ptr(nullptr), m_DeviceName(DeviceName) {}
    CNodeMapRef::CNodeMapRef(const CNodeMapRef& other) = default;
    CNodeMapRef& CNodeMapRef::operator=(const CNodeMapRef& other) = default;
    CNodeMapRef::~CNodeMapRef() = default;

    void CNodeMapRef::_LoadXMLFromFile(const gcstring&) { throw RUNTIME_EXCEPTION("Loading descriptions is not available in this build yet"); }
    void CNodeMapRef::_LoadXMLFromString(const gcstring&) { throw RUNTIME_EXCEPTION("Loading descriptions is not available in this build yet"); }
    void CNodeMapRef::_LoadXMLFromZIPFile(const gcstring&) { throw RUNTIME_EXCEPTION("Loading descriptions is not available in this build yet"); }
    void CNodeMapRef::_LoadXMLFromZIPData(const void*, size_t) { throw RUNTIME_EXCEPTION("Loading descriptions is not available in this build yet"); }
    bool CNodeMapRef::_Connect(IPort* pPort, const gcstring& PortName) const { return _Ptr && _Ptr->Connect(pPort, PortName); }
    bool CNodeMapRef::_Connect(IPort* pPort) const { return _Ptr && _Ptr->Connect(pPort); }
    INode* CNodeMapRef::_GetNode(const gcstring& Name) const { return _Ptr ? _Ptr->GetNode(Name) : nullptr; }
    void CNodeMapRef::_Poll(int64_t ElapsedTime) { if (_Ptr) _Ptr->Poll(ElapsedTime); }
    void CNodeMapRef::_InvalidateNodes() const { if (_Ptr) _Ptr->InvalidateNodes(); }
    gcstring CNodeMapRef::_GetDeviceName() const { return m_DeviceName; }
    INodeMap* CNodeMapRef::_GetNodeMap() const { return _Ptr; }
    void CNodeMapRef::_Destroy() { m_pMap.reset(); _Ptr = nullptr; }
}
