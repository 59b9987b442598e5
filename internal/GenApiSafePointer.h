#pragma once
// Non-owning node pointers that the node itself clears when it goes away.
//
// Rows, editors and limit editors hold GenApi nodes that can die under them when a
// camera's node map is destroyed. A CSafePointer registers itself as a callback on the
// node it points to; the node calls Destroy() on its callbacks when it dies, and that
// empties the pointer. Using an empty pointer raises GenICam::LogicalErrorException
// ("NULL pointer dereferenced") instead of touching freed memory.
//
//   GenApi::CSafeNodePtr node;
//   node = nodeMap->GetNode("Gain");
//   if (node.IsValid()) node->GetName();
//
// A pointer to a node map listens on the map's node "Root", so it empties when the
// map's nodes go away.

#include <cstdio>
#include <cstdlib>
#include <type_traits>

#include <GenApi/GenApi.h>

// Stops the process with the failed condition's text; active in every build type,
// since what it guards would otherwise corrupt a node's callback list.
#define VORLO_SAFEPOINTER_CHECK_TEXT(condition, text)                                         \
    do                                                                                        \
    {                                                                                         \
        if (!(condition))                                                                     \
        {                                                                                     \
            std::fprintf(stderr, "%s:%d: Assertion failed: %s\n", __FILE__, __LINE__, text); \
            std::abort();                                                                     \
        }                                                                                     \
    } while (false)
#define VORLO_SAFEPOINTER_CHECK(condition) VORLO_SAFEPOINTER_CHECK_TEXT(condition, #condition)

namespace GenApi
{
    //! Pointer to interface T of a node (or node map), cleared by the node when it dies
    template <class T, class B = IBase>
    class CSafePointer : public CNodeCallback
    {
    public:
        CSafePointer()
            : CNodeCallback(nullptr, cbPostOutsideLock)
            , m_pT(nullptr)
            , m_hCallback(0)
        {
        }

        CSafePointer(B* pBase)
            : CSafePointer()
        {
            attach(pBase);
        }

        //! A copy has a registration of its own
        CSafePointer(const CSafePointer& other)
            : CSafePointer()
        {
            attach(other.m_pT);
        }

        CSafePointer& operator=(const CSafePointer& other)
        {
            if (this != &other)
                attach(other.m_pT);
            return *this;
        }

        CSafePointer& operator=(B* pBase)
        {
            attach(pBase);
            return *this;
        }

        ~CSafePointer() override
        {
            try
            {
                remove(true);
            }
            catch (...)
            {
                VORLO_SAFEPOINTER_CHECK(false && "Deregister callback failed.");
            }
        }

        //! Points to pBase (as T) and registers on its node; any earlier target is released first
        void attach(B* pBase)
        {
            remove(true);
            if (!pBase)
                return;

            T* pT = nullptr;
            INode* pNode = nullptr;
            if constexpr (std::is_same<T, INode>::value)
            {
                pNode = dynamic_cast<INode*>(pBase);
                pT = pNode;
            }
            else
            {
                pT = dynamic_cast<T*>(pBase);
                pNode = dynamic_cast<INode*>(pBase);
            }
            if (!pT)
                return;

            m_pT = pT;
            if (pNode)
            {
                m_hCallback = pNode->RegisterCallback(this);
            }
            else if (INodeMap* pNodeMap = dynamic_cast<INodeMap*>(pBase))
            {
                if (INode* pRoot = pNodeMap->GetNode("Root"))
                    m_hCallback = pRoot->RegisterCallback(this);
            }
        }

        //! Empties the pointer; with deregister, the node forgets this pointer first
        void remove(bool deregister)
        {
            if (deregister && m_pT && m_hCallback)
            {
                if (INode* pNode = registeredNode())
                    pNode->DeregisterCallback(m_hCallback);
            }
            m_pT = nullptr;
            m_hCallback = 0;
        }

        //! Called by the node when it goes away: empties the pointer without calling back into the node
        void Destroy() override
        {
            m_pT = nullptr;
            m_hCallback = 0;
        }

        //! A safe pointer only listens for the node's end
        void operator()(ECallbackType) const override {}

        bool IsValid() const { return m_pT != nullptr; }
        explicit operator bool() const { return IsValid(); }

        //! The raw pointer, null when empty
        T* get() const { return m_pT; }

        //! The registration on the node (or on the node map's "Root"); 0 when there is none
        CallbackHandleType GetCallbackHandle() const { return m_hCallback; }

        T* operator->() const
        {
            if (!m_pT)
                throw LOGICAL_ERROR_EXCEPTION("NULL pointer dereferenced");
            return m_pT;
        }

        T& operator*() const
        {
            if (!m_pT)
                throw LOGICAL_ERROR_EXCEPTION("NULL pointer dereferenced");
            return *m_pT;
        }

    private:
        // The node this pointer registered on, found by the rule of attach().
        INode* registeredNode() const
        {
            if constexpr (std::is_same<T, INode>::value)
            {
                return m_pT;
            }
            else
            {
                if (INode* pNode = dynamic_cast<INode*>(m_pT))
                    return pNode;
                if (INodeMap* pNodeMap = dynamic_cast<INodeMap*>(m_pT))
                    return pNodeMap->GetNode("Root");
                return nullptr;
            }
        }

        T* m_pT;                       // not owned
        CallbackHandleType m_hCallback;
    };

    typedef CSafePointer<INode, IBase> CSafeNodePtr;

    //! Safe pointer to a float node
    class CSafeFloatPtr : public CSafePointer<IFloat, IBase>
    {
    public:
        using CSafePointer<IFloat, IBase>::CSafePointer;
        using CSafePointer<IFloat, IBase>::operator=;
    };

    //! Removes the callback behind hCallback only while the node that ptr guards still lives.
    //! The callback must have been registered on that very node.
    inline void DeregisterSafe(CSafeNodePtr& ptr, CallbackHandleType pCallbackInfo)
    {
        if (!ptr.IsValid())
            return; // the node went away, and the callback with it
        VORLO_SAFEPOINTER_CHECK(reinterpret_cast<CNodeCallback*>(pCallbackInfo)->GetNode() == ptr.get());
        Deregister(pCallbackInfo);
    }

    template <class T, class B>
    void DeregisterSafe(CSafePointer<T, B>& ptr, CallbackHandleType pCallbackInfo)
    {
        if (!ptr.IsValid())
            return;
        VORLO_SAFEPOINTER_CHECK_TEXT(
            reinterpret_cast<CNodeCallback*>(pCallbackInfo)->GetNode() == dynamic_cast<INode*>(ptr.get()),
            "reinterpret_cast<CNodeCallback*>(pCallbackInfo)->GetNode() == ptr.get()");
        Deregister(pCallbackInfo);
    }
}
