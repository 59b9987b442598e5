#pragma once

#include <GenApi/IBase.h>

namespace GenApi
{
    class INodeMap;
    class CNodeCallback;

    //! A node of a node map
    class GENAPI_EXPORT INode : virtual public IBase
    {
    public:
        ~INode() override;

        //! The node's name; FullQualified prefixes the name space ("Std::Width")
        virtual gcstring GetName(bool FullQualified = false) const = 0;
        virtual ENameSpace GetNameSpace() const = 0;
        //! Visibility, combined with an imposed one
        virtual EVisibility GetVisibility() const = 0;
        //! Drops the cached value and fires the callbacks of this node and its dependents
        virtual void InvalidateNode() = 0;
        virtual bool IsCachable() const = 0;
        virtual EYesNo IsAccessModeCacheable() const = 0;
        virtual ECachingMode GetCachingMode() const = 0;
        //! Polling time in ms, or -1 when the node is not polled
        virtual int64_t GetPollingTime() const = 0;
        virtual gcstring GetToolTip() const = 0;
        virtual gcstring GetDescription() const = 0;
        virtual gcstring GetDisplayName() const = 0;
        virtual gcstring GetDeviceName() const = 0;
        virtual void GetChildren(NodeList_t& Children, ELinkType LinkType = ctReadingChildren) const = 0;
        virtual void GetParents(NodeList_t& Parents, ELinkType LinkType = ctReadingChildren) const = 0;
        //! Registers a callback; the node takes ownership and calls its Destroy() when done
        virtual CallbackHandleType RegisterCallback(CNodeCallback* pCallback) = 0;
        //! Removes a callback and calls its Destroy(); false if the handle is unknown here
        virtual bool DeregisterCallback(CallbackHandleType hCallback) = 0;
        virtual INodeMap* GetNodeMap() const = 0;
        virtual gcstring GetEventID() const = 0;
        virtual bool IsStreamable() const = 0;
        //! Names of the properties the description gives this node
        virtual void GetPropertyNames(gcstring_vector& PropertyNames) const = 0;
        //! A property's value and attribute text; false when the node has no such property
        virtual bool GetProperty(const gcstring& PropertyName, gcstring& ValueStr, gcstring& AttributeStr) const = 0;
        //! Narrows the access mode from now on
        virtual void ImposeAccessMode(EAccessMode ImposedAccessMode) = 0;
        //! Raises the visibility from now on
        virtual void ImposeVisibility(EVisibility ImposedVisibility) = 0;
        //! Node that holds the same feature in another form, or null
        virtual INode* GetAlias() const = 0;
        //! Node of another interface type that holds the same feature, or null
        virtual INode* GetCastAlias() const = 0;
        virtual gcstring GetDocuURL() const = 0;
        virtual bool IsDeprecated() const = 0;
        virtual EInterfaceType GetPrincipalInterfaceType() const = 0;
        //! True when the node is reachable through categories from Root
        virtual bool IsFeature() const = 0;
    };
}
