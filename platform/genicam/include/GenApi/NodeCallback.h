#pragma once
// Node callbacks. A node calls every registered callback twice after a change: once with
// cbPostInsideLock while the node map's lock is held, once with cbPostOutsideLock after the
// lock was released. Each callback acts only on the call of its own type.

#include <GenApi/INode.h>

namespace GenApi
{
    //! Base of all node callbacks; the node owns it and calls Destroy() when it is removed
    class CNodeCallback
    {
    public:
        CNodeCallback(INode* pNode, ECallbackType CallbackType)
            : m_pNode(pNode), m_CallbackType(CallbackType)
        {
        }
        virtual ~CNodeCallback() {}

        //! Fires the callback; it acts only when CallbackType is its own type
        virtual void operator()(ECallbackType CallbackType) const = 0;
        //! Frees the callback
        virtual void Destroy() = 0;

        //! The node the callback was made for
        INode* GetNode() { return m_pNode; }
        //! When the callback acts
        ECallbackType GetCallbackType() const { return m_CallbackType; }

    protected:
        INode* m_pNode;
        ECallbackType m_CallbackType;
    };

    namespace detail
    {
        //! A function pointer may be null; any other callable is always set
        template <class F>
        bool IsCallableSet(F* p)
        {
            return p != nullptr;
        }
        template <class F>
        bool IsCallableSet(const F&)
        {
            return true;
        }
    }

    //! Calls a free function or functor with the node
    template <class Function>
    class Function_NodeCallback : public CNodeCallback
    {
    public:
        Function_NodeCallback(INode* pNode, const Function& function, ECallbackType CallbackType)
            : CNodeCallback(pNode, CallbackType), m_pFunction(function)
        {
        }
        void operator()(ECallbackType CallbackType) const override
        {
            if (detail::IsCallableSet(m_pFunction) && CallbackType == m_CallbackType)
                m_pFunction(m_pNode);
        }
        void Destroy() override { delete this; }

    private:
        const Function m_pFunction;
    };

    //! Calls a member function of a client object with the node
    template <class Client, class Member>
    class Member_NodeCallback : public CNodeCallback
    {
    public:
        Member_NodeCallback(INode* pNode, Client& client, Member member, ECallbackType CallbackType)
            : CNodeCallback(pNode, CallbackType), m_Client(client), m_pMemberFunc(member)
        {
        }
        void operator()(ECallbackType CallbackType) const override
        {
            if (m_pMemberFunc && CallbackType == m_CallbackType)
                (m_Client.*m_pMemberFunc)(m_pNode);
        }
        void Destroy() override { delete this; }

    private:
        Client& m_Client;
        Member m_pMemberFunc;
    };

    //! Makes a callback that calls function(pNode)
    template <class Function>
    CNodeCallback* make_NodeCallback(INode* pNode, Function function, ECallbackType CallbackType)
    {
        return new Function_NodeCallback<Function>(pNode, function, CallbackType);
    }

    //! Makes a callback that calls (client.*member)(pNode)
    template <class Client, class Member>
    CNodeCallback* make_NodeCallback(INode* pNode, Client& client, Member member, ECallbackType CallbackType)
    {
        return new Member_NodeCallback<Client, Member>(pNode, client, member, CallbackType);
    }

    //! Registers function(pNode) on the node
    template <class Function>
    CallbackHandleType Register(INode* pNode, Function function, ECallbackType CallbackType = cbPostInsideLock)
    {
        if (!pNode)
            throw LOGICAL_ERROR_EXCEPTION("NULL pointer dereferenced");
        return pNode->RegisterCallback(make_NodeCallback(pNode, function, CallbackType));
    }

    //! Registers (client.*member)(pNode) on the node
    template <class Client, class Member>
    CallbackHandleType Register(INode* pNode, Client& client, Member member, ECallbackType CallbackType = cbPostInsideLock)
    {
        if (!pNode)
            throw LOGICAL_ERROR_EXCEPTION("NULL pointer dereferenced");
        return pNode->RegisterCallback(make_NodeCallback(pNode, client, member, CallbackType));
    }

    //! Removes a callback given only its handle; the callback must know its node
    inline bool Deregister(CallbackHandleType hCallback)
    {
        CNodeCallback* pCallback = reinterpret_cast<CNodeCallback*>(hCallback);
        if (!pCallback)
            return false;
        INode* pNode = pCallback->GetNode();
        if (!pNode)
            return false;
        return pNode->DeregisterCallback(hCallback);
    }
}
