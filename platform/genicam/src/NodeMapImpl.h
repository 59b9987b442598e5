#pragma once
// The node map: owns the nodes, the lock, the dependency graph and the callback dispatch.

#include "NodeImpl.h"

#include <array>
#include <condition_variable>
#include <memory>
#include <string>
#include <thread>
#include <unordered_set>
#include <vector>

namespace GenApi
{
    class CNodeMapImpl : public INodeMap, public IDeviceInfo
    {
    public:
        explicit CNodeMapImpl(const std::string& DeviceName);
        ~CNodeMapImpl() override;

        //! Builds the nodes from a description's text (size bytes at pData)
        void Load(const char* pData, size_t Size);

        // INodeMap
        void GetNodes(NodeList_t& Nodes) const override;
        INode* GetNode(const gcstring& Name) const override;
        void InvalidateNodes() const override;
        bool Connect(IPort* pPort, const gcstring& PortName) const override;
        bool Connect(IPort* pPort) const override;
        gcstring GetDeviceName() override;
        void Poll(int64_t ElapsedTime) override;
        CLock& GetLock() const override;
        uint64_t GetNumNodes() const override;

        // IDeviceInfo
        gcstring GetModelName() override;
        gcstring GetVendorName() override;
        gcstring GetToolTip() override;
        gcstring GetStandardNameSpace() override;
        void GetGenApiVersion(Version_t& Version, uint16_t& Build) override;
        void GetSchemaVersion(Version_t& Version) override;
        void GetDeviceVersion(Version_t& Version) override;
        gcstring GetProductGuid() override;
        gcstring GetVersionGuid() override;

        // ---- engine side ----

        //! Room for a node in the node arena (CNodeImpl's operator new); the nodes need no more
        //! than 8-byte alignment (an over-aligned node class would not find an operator new)
        void* AllocateNode(size_t Size);

        //! Finds a node by name (no lock; the caller holds it or the map is loading)
        CNodeImpl* FindNode(std::string_view Name) const;
        //! Resolves a reference of pFrom, raising RuntimeException naming both nodes if missing
        CNodeImpl* Resolve(const CNodeImpl* pFrom, const char* Property, std::string_view Target) const;
        //! Keeps a property's value and attribute as one text, value NUL attribute NUL, equal ones
        //! once; while loading the texts share a few blocks, which are then packed into one piece
        const char* StoreProperty(std::string_view Value, std::string_view Attribute);
        //! Interns a name (of a property or a node) so that every node shares one copy; the result
        //! is NUL-terminated
        const char* Intern(std::string_view Name);

        //! While loading: a node's properties and link lists, kept per node until the node map
        //! packs them into one array each (properties before Setup, links once the graph stands)
        void AddLoadProperty(const CNodeImpl* pNode, const detail::Property& Property);
        std::vector<CNodeImpl*>& LoadLinks(const CNodeImpl* pNode, detail::ELinkList List)
        {
            return m_LoadLinks[pNode->Index()][List];
        }
        //! Property i of the property array
        detail::PackedProperty PackedPropertyAt(uint32_t i) const
        {
            if (!m_NarrowProperties)
                return m_Properties[i];
            const uint32_t packed = m_NarrowPropertyArena[i];
            return detail::PackedProperty{m_PropertyNames[packed >> 24], packed & 0xFFFFFFu};
        }
        //! The packed text pool (after the properties are packed): offset 0 is an empty text
        const char* PackedText() const { return m_PackedText.get(); }
        detail::Property Unpack(const detail::PackedProperty& Packed) const
        {
            return detail::Property{m_PackedText.get() + Packed.Name, m_PackedText.get() + Packed.Text};
        }
        const uint32_t* LinkArena() const { return m_LinkArena.data(); }
        detail::NodeSpan::NodeTable NodeTable() const { return m_Nodes.data(); }

        //! Invalidates a node and everything that depends on it, collecting their callbacks.
        //! Downward also drops the cached values the node is computed from (an explicit
        //! invalidation or a poll means: read the device again).
        void NotifyChanged(CNodeImpl* pNode, bool Downward = false);
        //! Clears the caches of a node and its dependents without callbacks
        void ClearCachesFrom(CNodeImpl* pNode);

        //! Entry and exit of every public operation: lock, and callbacks at the outermost exit
        void BeginOperation() { m_Lock.Lock(); ++m_OpDepth; }
        void EndOperation()
        {
            if (m_OpDepth > 1 || m_Pending.empty())
            {
                --m_OpDepth;
                m_Lock.Unlock();
                return;
            }
            FinishOperation(std::uncaught_exceptions() > 0);
        }
        //! The outermost operation ends with callbacks pending: fires them in their two phases
        void FinishOperation(bool Unwinding);

        //! Evaluation depth bookkeeping (bounded so a malformed description cannot overflow the stack)
        int m_EvalDepth = 0;
        static constexpr int MaxEvalDepth = 200;

        //! Dispatches under way; while one runs, callback lists keep their holes
        int m_OutsideFiring = 0;
        int m_InsideFiring = 0;

        //! Whether an operation is under way; asked with the lock held, that is this thread's own
        bool InOperation() const { return m_OpDepth > 0; }

        //! A callback about to run outside the lock on this thread; the caller holds the lock
        void BeginCallOutsideLock(CNodeCallback* pCallback);
        //! That call has returned
        void EndCallOutsideLock(CNodeCallback* pCallback);
        //! Waits until no other thread is running this callback outside the lock, so that it can
        //! be destroyed. The caller must not hold the lock: the running callback may need it.
        void WaitForCallOutsideLock(CNodeCallback* pCallback);

    private:
        void BuildNode(void* pElement, CNodeImpl* pParentEnum, void* pInherited);
        void BuildNodes(void* pParent);
        CNodeImpl* CreateNode(const char* ElementName);
        void AddProperties(CNodeImpl* pNode, void* pElement, bool SkipNodeChildren);
        void FinishLoad();
        void ComputeCaching(CNodeImpl* pNode);
        bool ReachesNoCache(CNodeImpl* pNode, std::vector<uint8_t>& State);
        void PackProperties();
        void DedupLinks();
        void PackLinks();
        void AddName(CNodeImpl* pNode);
        void RehashNames(size_t Capacity);
        void DropLoadState();

        std::string m_DeviceName;
        mutable CLock m_Lock;

        //! Callbacks running outside the lock, and on which thread. Kept under a mutex of its
        //! own, so that a thread waiting for one to return holds nothing the callback may need.
        struct CallOutsideLock
        {
            CNodeCallback* pCallback;
            std::thread::id Thread;
        };
        std::mutex m_CallsMutex;
        std::condition_variable m_CallReturned;
        std::vector<CallOutsideLock> m_CallsOutsideLock;
        bool m_Loaded = false;
        int m_OpDepth = 0;
        uint32_t m_VisitEpoch = 0;
        uint32_t m_CollectEpoch = 1;
        std::vector<CNodeImpl*> m_Pending;
        std::vector<CNodeImpl*> m_Fired;

        // The node arena: declared before the nodes, so that it outlives them
        std::vector<std::unique_ptr<std::max_align_t[]>> m_NodeBlocks;
        char* m_NodeFree = nullptr;
        size_t m_NodeLeft = 0;
        size_t m_NodeArenaSize = 0;

        std::vector<std::unique_ptr<CNodeImpl>> m_Nodes;
        // Nodes by name: open addressing over node index + 1 (0 is a free slot), at most half full
        std::vector<uint32_t> m_NameTable;

        // Texts: in blocks while loading, then in one piece
        struct TextBlock
        {
            std::unique_ptr<char[]> Data;
            size_t Size;
            size_t Used;
        };
        std::vector<TextBlock> m_TextBlocks;
        std::unordered_set<std::string_view> m_StoredTexts; // what the blocks hold, so equal texts are stored once
        std::string m_TextKey;                              // scratch for StoreProperty
        size_t m_TextBlockMinimum = 64 * 1024;              // smaller for a small description
        std::unique_ptr<char[]> m_PackedText;

        // Properties and links: per node while loading, then one array each
        std::vector<std::vector<detail::Property>> m_LoadProperties;                   // by node index
        std::vector<std::array<std::vector<CNodeImpl*>, detail::lkCount>> m_LoadLinks; // by node index
        std::vector<detail::PackedProperty> m_Properties;                              // in node order
        // The same in four bytes each (name number << 24 | text offset) when they fit
        bool m_NarrowProperties = false;
        std::vector<uint32_t> m_NarrowPropertyArena;
        std::vector<uint32_t> m_PropertyNames; // text offsets of the property names, by number
        std::vector<uint32_t> m_LinkArena;                                             // node indices
        std::vector<CNodeImpl*> m_PolledNodes;
        std::vector<std::pair<CNodeImpl*, std::vector<CNodeImpl*>>> m_StructGroups;
        int m_AnonymousCount = 0;
        int m_GroupDepth = 0;

        std::string m_ModelName;
        std::string m_VendorName;
        std::string m_ToolTip;
        std::string m_StandardNameSpace;
        std::string m_ProductGuid;
        std::string m_VersionGuid;
        Version_t m_SchemaVersion{0, 0, 0};
        Version_t m_DeviceVersion{0, 0, 0};
    };

    inline detail::NodeSpan CNodeImpl::LinkList(detail::ELinkList List) const
    {
        const uint32_t* base = m_pMap->LinkArena();
        const detail::NodeSpan::NodeTable nodes = m_pMap->NodeTable();
        if (m_LongLinks)
        {
            const uint32_t* bounds = m_pExtras->pLinkBounds.get();
            return detail::NodeSpan(base + bounds[List], base + bounds[List + 1], nodes);
        }
        const uint32_t* begin = base + m_LinkBegin;
        return detail::NodeSpan(begin + (List == 0 ? 0 : m_LinkEnd[List - 1]), begin + m_LinkEnd[List], nodes);
    }

    //! Holds the node map's lock for one public operation and fires callbacks at its end
    class COperation
    {
    public:
        explicit COperation(CNodeMapImpl* pMap) : m_pMap(pMap) { m_pMap->BeginOperation(); }
        // Whether the operation ends by an exception matters only when callbacks are pending,
        // so the (thread-local) exception count is asked only then
        ~COperation() noexcept(false) { m_pMap->EndOperation(); }
        COperation(const COperation&) = delete;
        COperation& operator=(const COperation&) = delete;

    private:
        CNodeMapImpl* m_pMap;
    };
}
