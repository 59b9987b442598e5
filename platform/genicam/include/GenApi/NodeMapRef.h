#pragma once
// The owner of a node map: loads a description, connects ports, destroys the map.

#include <memory>

#include <GenApi/INodeMap.h>
#include <GenApi/IDeviceInfo.h>

namespace GenApi
{
    class CNodeMapImpl;

    //! Holds a node map. Copies share the map; the last one destroys it with its nodes.
    class GENAPI_EXPORT CNodeMapRef
    {
    public:
        explicit CNodeMapRef(const gcstring& DeviceName = "Device");
        CNodeMapRef(const CNodeMapRef& other);
        CNodeMapRef& operator=(const CNodeMapRef& other);
        virtual ~CNodeMapRef();

        //! Loads a description from a file; a second load raises RuntimeException
        void _LoadXMLFromFile(const gcstring& FileName);
        //! Loads a description from text
        void _LoadXMLFromString(const gcstring& XMLData);
        //! Loads a zipped description (the first .xml member of the archive)
        void _LoadXMLFromZIPFile(const gcstring& ZipFileName);
        void _LoadXMLFromZIPData(const void* zipData, size_t zipSize);

        //! Connects a port to the Port node of that name
        bool _Connect(IPort* pPort, const gcstring& PortName) const;
        //! Connects a port to the Port node "Device"
        bool _Connect(IPort* pPort) const;

        INode* _GetNode(const gcstring& Name) const;
        void _Poll(int64_t ElapsedTime);
        void _InvalidateNodes() const;
        gcstring _GetDeviceName() const;
        //! The node map, null before a load
        INodeMap* _GetNodeMap() const;
        //! Releases the node map (destroys it when no copy shares it)
        void _Destroy();

        //! The node map, null before a load
        INodeMap* _Ptr;

    private:
        gcstring m_DeviceName;
        std::shared_ptr<CNodeMapImpl> m_pMap;
    };
}
