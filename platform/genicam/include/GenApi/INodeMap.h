#pragma once

#include <GenApi/INode.h>
#include <GenApi/IPort.h>

namespace GenApi
{
    //! A node map: all nodes of one device description
    class GENAPI_EXPORT INodeMap
    {
    public:
        virtual ~INodeMap();

        //! All nodes, in document order
        virtual void GetNodes(NodeList_t& Nodes) const = 0;
        //! The node of that name (entries also by "EnumEntry_<Enum>_<Entry>"), or null
        virtual INode* GetNode(const gcstring& Name) const = 0;
        //! Invalidates every node and fires their callbacks
        virtual void InvalidateNodes() const = 0;
        //! Connects a port to the Port node of that name
        virtual bool Connect(IPort* pPort, const gcstring& PortName) const = 0;
        //! Connects a port to the Port node named "Device"
        virtual bool Connect(IPort* pPort) const = 0;
        virtual gcstring GetDeviceName() = 0;
        //! Advances every polled node's clock by ElapsedTime ms and invalidates those that are due
        virtual void Poll(int64_t ElapsedTime) = 0;
        //! The recursive lock every node operation takes
        virtual CLock& GetLock() const = 0;
        virtual uint64_t GetNumNodes() const = 0;
    };
}
