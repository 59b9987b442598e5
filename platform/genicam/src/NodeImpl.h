#pragma once
// The engine's node classes. Not part of the public interface: applications see the nodes
// only through the GenApi interfaces they implement.

#include <GenApi/GenApi.h>

#include "Formula.h"
#include "ValueText.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace GenApi
{
    class CNodeMapImpl;
    class CNodeImpl;

    namespace detail
    {
        //! One property of a node as the description gives it. The text pool keeps a property's
        //! value, a NUL, its attribute and another NUL in one piece.
        struct Property
        {
            const char* Name; // interned in the node map
            const char* Text; // value NUL attribute NUL, in the node map's text pool

            std::string_view Value() const { return std::string_view(Text); }
            std::string_view Attribute() const { return std::string_view(Text + std::strlen(Text) + 1); }
        };

        //! A property as the node map keeps it once loaded: offsets of its name and its text in the
        //! packed text pool. Every node's properties are one array.
        struct PackedProperty
        {
            uint32_t Name;
            uint32_t Text;
        };

        //! The link lists of a node, in the order the node map's link arena keeps them
        enum ELinkList : uint8_t
        {
            lkReadingChildren,
            lkWritingChildren,
            lkInvalidators,
            lkDependents,
            lkReadingParents,
            lkWritingParents,
            lkSelected,
            lkSelecting,
            lkValueChildren, // where the value comes from (for invalidation downwards)
            lkIsImplemented, // pIsImplemented, pIsAvailable, pIsLocked: none or one each; few nodes
            lkIsAvailable,   // have them, so they take no room in the others
            lkIsLocked,
            lkCount
        };

        //! A link list: a run of node indices in the node map's link arena (four bytes a link
        //! instead of eight), seen as nodes
        class NodeSpan
        {
        public:
            using NodeTable = const std::unique_ptr<CNodeImpl>*;

            class iterator
            {
            public:
                using iterator_category = std::forward_iterator_tag;
                using value_type = CNodeImpl*;
                using difference_type = std::ptrdiff_t;
                using pointer = CNodeImpl* const*;
                using reference = CNodeImpl*;

                iterator(const uint32_t* pAt, NodeTable pNodes) : m_pAt(pAt), m_pNodes(pNodes) {}
                CNodeImpl* operator*() const { return m_pNodes[*m_pAt].get(); }
                iterator& operator++()
                {
                    ++m_pAt;
                    return *this;
                }
                iterator operator++(int)
                {
                    iterator before = *this;
                    ++m_pAt;
                    return before;
                }
                bool operator==(const iterator& other) const { return m_pAt == other.m_pAt; }
                bool operator!=(const iterator& other) const { return m_pAt != other.m_pAt; }

            private:
                const uint32_t* m_pAt;
                NodeTable m_pNodes;
            };

            NodeSpan(const uint32_t* pBegin, const uint32_t* pEnd, NodeTable pNodes)
                : m_pBegin(pBegin), m_pEnd(pEnd), m_pNodes(pNodes)
            {
            }
            iterator begin() const { return iterator(m_pBegin, m_pNodes); }
            iterator end() const { return iterator(m_pEnd, m_pNodes); }
            size_t size() const { return static_cast<size_t>(m_pEnd - m_pBegin); }
            bool empty() const { return m_pBegin == m_pEnd; }
            CNodeImpl* operator[](size_t i) const { return m_pNodes[m_pBegin[i]].get(); }

        private:
            const uint32_t* m_pBegin;
            const uint32_t* m_pEnd;
            NodeTable m_pNodes;
        };

        //! Registered callbacks of a node; a deregistered one leaves a hole (null) while a
        //! dispatch may be walking the list
        struct CallbackList
        {
            std::vector<CNodeCallback*> List;
            uint32_t Holes = 0;
        };

        //! Fields few nodes use, kept out of line so that the others do not pay for them
        struct NodeExtras
        {
            CNodeImpl* pError = nullptr;
            CNodeImpl* pBlockPolling = nullptr;
            CNodeImpl* pAlias = nullptr;
            CNodeImpl* pCastAlias = nullptr;
            int64_t PollingTime = -1;
            int64_t PollElapsed = 0;
            std::unique_ptr<CallbackList> pCallbacks; // created by the first registration
            //! Bounds of the link lists of a node with more links than the packed counts hold
            std::unique_ptr<uint32_t[]> pLinkBounds;
        };

        //! What the application imposed on the range of an Integer or Float node, and the set of
        //! valid values of the description: hardly any node has them
        template <class T>
        struct ValueLimits
        {
            T ImposedMin = std::numeric_limits<T>::lowest();
            T ImposedMax = std::numeric_limits<T>::max();
            std::vector<T> ValidValueSet;

            static const ValueLimits& Default()
            {
                static const ValueLimits limits;
                return limits;
            }
        };

        //! Range of an Integer or Float node as the description gives it. Most registers have
        //! none, so the nodes keep it out of line, in the node map's node arena.
        template <class T>
        struct ValueRange
        {
            CNodeImpl* pMin = nullptr;
            CNodeImpl* pMax = nullptr;
            CNodeImpl* pInc = nullptr;
            T Min = std::numeric_limits<T>::lowest();
            T Max = std::numeric_limits<T>::max();
            T Inc = std::is_integral<T>::value ? 1 : 0;
            bool HasMin = false;
            bool HasMax = false;
            bool HasInc = false;
            std::unique_ptr<ValueLimits<T>> pLimits; // null: nothing imposed, no valid value set

            bool IsDefault() const { return !pMin && !pMax && !pInc && !HasMin && !HasMax && !HasInc && !pLimits; }
            const ValueLimits<T>& Limits() const { return pLimits ? *pLimits : ValueLimits<T>::Default(); }
            ValueLimits<T>& WritableLimits()
            {
                if (!pLimits)
                    pLimits.reset(new ValueLimits<T>);
                return *pLimits;
            }
            //! The range of nodes without one
            static const ValueRange& Default()
            {
                static const ValueRange range;
                return range;
            }
        };

        //! Destroys an object that lives in the node map's node arena (which keeps its memory)
        struct ArenaDelete
        {
            template <class T>
            void operator()(T* p) const
            {
                p->~T();
            }
        };

        //! The indexed table and the copies of an Integer or Float value, which few nodes have
        template <class T>
        struct ValueTable
        {
            std::vector<CNodeImpl*> Copies; // pValueCopy
            CNodeImpl* pIndex = nullptr;
            std::vector<std::pair<int64_t, T>> Indexed;
            std::vector<std::pair<int64_t, CNodeImpl*>> pIndexed;
            T Default = 0;
            CNodeImpl* pDefault = nullptr;

            bool IsEmpty() const
            {
                return Copies.empty() && !pIndex && Indexed.empty() && pIndexed.empty() && Default == 0 && !pDefault;
            }
        };

        //! Parts of a register's address and length that few registers use
        struct RegisterExtras
        {
            std::vector<CNodeImpl*> pAddresses;
            CNodeImpl* pIndex = nullptr;
            int64_t Offset = 0;
            CNodeImpl* pOffset = nullptr;
            bool HasOffset = false;
            CNodeImpl* pLength = nullptr;
        };

        //! Kinds of nodes the loader creates
        enum class ENodeKind : uint8_t
        {
            Node,
            Category,
            Integer,
            IntReg,
            MaskedIntReg,
            IntConverter,
            IntSwissKnife,
            Float,
            FloatReg,
            Converter,
            SwissKnife,
            Enumeration,
            EnumEntry,
            Boolean,
            Command,
            String,
            StringReg,
            Register,
            Port
        };

        //! How a formula slot is filled
        struct FormulaSlot
        {
            enum EKind : uint8_t
            {
                Value,      //!< value of a variable node
                Min,
                Max,
                Inc,
                Constant,   //!< a Constant element or an enumeration entry's value
                Expression, //!< an Expression element
                Direction   //!< TO or FROM of a converter
            };
            FormulaSlot(EKind kind, CNodeImpl* node, double floatConstant, int64_t intConstant, int expressionIndex)
                : Kind(kind), ExpressionIndex(expressionIndex), pNode(node), FloatConstant(floatConstant),
                  IntConstant(intConstant)
            {
            }

            // The small fields first: 32 bytes in all
            EKind Kind;
            int ExpressionIndex;
            CNodeImpl* pNode;
            double FloatConstant;
            int64_t IntConstant;
        };

        //! The formulas of a converter or swissknife and what their symbols refer to
        struct FormulaSet
        {
            std::vector<FormulaSlot> Slots;
            std::vector<CFormula> Expressions;

            //! What the symbols name while the formulas compile; released once the node is set up
            struct Names
            {
                std::vector<std::string_view> ExpressionNames; // in the node map's text pool
                std::vector<std::string_view> VariableNames;   // likewise
                std::vector<CNodeImpl*> Variables;
            };
            std::unique_ptr<Names> pNames;
        };
    }

    //! Base of every node: common properties, access mode, callbacks, invalidation
    class CNodeImpl : public virtual INode, public virtual ISelector
    {
    public:
        CNodeImpl(CNodeMapImpl* pMap, detail::ENodeKind Kind);
        ~CNodeImpl() override;

        //! Nodes live in their node map's node arena (new (pMap) CIntegerNode(pMap)): no heap
        //! block and no allocator overhead per node. Deleting a node runs its destructor only;
        //! the node map releases the arena after its nodes are gone.
        static void* operator new(size_t Size, CNodeMapImpl* pMap);
        static void operator delete(void*, CNodeMapImpl*) noexcept {}
        static void operator delete(void*) noexcept {}

        // IBase
        EAccessMode GetAccessMode() const override;

        // INode
        gcstring GetName(bool FullQualified = false) const override;
        ENameSpace GetNameSpace() const override;
        EVisibility GetVisibility() const override;
        void InvalidateNode() override;
        bool IsCachable() const override;
        EYesNo IsAccessModeCacheable() const override;
        ECachingMode GetCachingMode() const override;
        int64_t GetPollingTime() const override;
        gcstring GetToolTip() const override;
        gcstring GetDescription() const override;
        gcstring GetDisplayName() const override;
        gcstring GetDeviceName() const override;
        void GetChildren(NodeList_t& Children, ELinkType LinkType = ctReadingChildren) const override;
        void GetParents(NodeList_t& Parents, ELinkType LinkType = ctReadingChildren) const override;
        CallbackHandleType RegisterCallback(CNodeCallback* pCallback) override;
        bool DeregisterCallback(CallbackHandleType hCallback) override;
        INodeMap* GetNodeMap() const override;
        gcstring GetEventID() const override;
        bool IsStreamable() const override;
        void GetPropertyNames(gcstring_vector& PropertyNames) const override;
        bool GetProperty(const gcstring& PropertyName, gcstring& ValueStr, gcstring& AttributeStr) const override;
        void ImposeAccessMode(EAccessMode ImposedAccessMode) override;
        void ImposeVisibility(EVisibility ImposedVisibility) override;
        INode* GetAlias() const override;
        INode* GetCastAlias() const override;
        gcstring GetDocuURL() const override;
        bool IsDeprecated() const override;
        EInterfaceType GetPrincipalInterfaceType() const override;
        bool IsFeature() const override;

        // ISelector
        bool IsSelector() const override;
        void GetSelectedFeatures(FeatureList_t& Features) const override;
        void GetSelectingFeatures(FeatureList_t& Features) const override;

        // ---- engine side (the caller holds the node map's lock) ----

        detail::ENodeKind Kind() const { return m_Kind; }
        //! The node's name, NUL-terminated in the node map's text pool
        const char* Name() const { return m_Name; }
        //! Position in the node map's list of nodes
        uint32_t Index() const { return m_Index; }
        CNodeMapImpl* Map() const { return m_pMap; }

        //! Reads the typed fields from the properties, resolving references
        virtual void Setup();
        //! Second pass after every node's Setup (caching modes, defaults taken from targets)
        virtual void Finish();

        //! The node's value as a number, for references (pValue, pMin, pIsAvailable, ...)
        virtual int64_t InternalGetInt(bool Verify, bool IgnoreCache);
        virtual double InternalGetFloat(bool Verify, bool IgnoreCache);
        virtual void InternalSetInt(int64_t Value, bool Verify);
        virtual void InternalSetFloat(double Value, bool Verify);
        virtual int64_t InternalGetIntMin();
        virtual int64_t InternalGetIntMax();
        virtual int64_t InternalGetIntInc();
        virtual double InternalGetFloatMin();
        virtual double InternalGetFloatMax();
        virtual double InternalGetFloatInc();
        virtual ERepresentation InternalGetRepresentation();
        virtual std::string InternalGetUnit() const;

        //! Access mode before pIsImplemented, pIsAvailable, pIsLocked and imposed modes
        virtual EAccessMode NaturalAccessMode() const;
        //! Caching mode before combining with children
        virtual ECachingMode OwnCachingMode() const;
        //! Whether polling currently applies to this node
        virtual bool IsPollingActive();

        //! Reads a referenced node as a truth value (non-zero is true)
        static bool ReadBool(CNodeImpl* pNode);

        //! Drops cached value and access mode
        void ClearCaches() const
        {
            m_ValueCacheValid = false;
            m_AccessModeCacheValid = false;
        }

        //! Calls the callbacks of one phase; exceptions pass unless Swallow is set
        void FireCallbacks(ECallbackType Type, bool Swallow);
        //! Calls the outside-lock callbacks, taking the lock briefly for each one
        void FireCallbacksOutsideLock(bool Swallow);
        //! Destroys every registered callback (node map teardown)
        void DestroyCallbacks();
        bool HasCallbacks() const
        {
            const detail::CallbackList* pList = Callbacks();
            return pList && pList->List.size() > pList->Holes;
        }
        detail::CallbackList* Callbacks() const { return m_pExtras ? m_pExtras->pCallbacks.get() : nullptr; }

        //! The access mode; the caller holds the node map's lock
        EAccessMode InternalAccessMode() const;
        //! Throws AccessException unless readable
        void CheckReadable() const;
        //! Throws AccessException unless writable
        void CheckWritable() const;
        //! Raises the error described by pError, if any
        void CheckError();

        //! Records a property while loading (the node map keeps it until it packs all of them)
        void AddProperty(const char* Name, std::string_view Value, std::string_view Attribute);
        //! Property i (below m_PropertyCount) of the node, from the node map's property array
        //! (after loading)
        detail::PackedProperty PropertyAt(uint32_t i) const;
        std::optional<detail::Property> FindProperty(const char* Name) const;
        //! All values of a property (several elements of the same name)
        std::vector<detail::Property> FindProperties(const char* Name) const;
        //! Calls Visit with each property of that name in order, until it returns false
        template <class Visit>
        void VisitProperties(const char* Name, Visit visit) const;
        //! Text of a property, or Default
        std::string PropertyText(const char* Name, const std::string& Default = std::string()) const;
        bool HasProperty(const char* Name) const { return FindProperty(Name).has_value(); }
        //! Resolves a pointer property; null when absent; missing node: RuntimeException
        CNodeImpl* Link(const char* Name) const;
        std::vector<CNodeImpl*> Links(const char* Name) const;
        int64_t PropertyInt(const char* Name, int64_t Default) const;
        double PropertyFloat(const char* Name, double Default) const;

        //! Where the loader records links for the dependency graph (until the node map packs them)
        void AddReadingChild(CNodeImpl* p);
        void AddWritingChild(CNodeImpl* p);
        void AddInvalidator(CNodeImpl* p);
        void AddDependent(CNodeImpl* p);

        //! One of the node's link lists, a piece of the node map's link arena (after loading)
        inline detail::NodeSpan LinkList(detail::ELinkList List) const;
        detail::NodeSpan Dependents() const { return LinkList(detail::lkDependents); }
        detail::NodeSpan ReadingChildren() const { return LinkList(detail::lkReadingChildren); }
        detail::NodeSpan WritingChildren() const { return LinkList(detail::lkWritingChildren); }
        //! The node of a list that holds none or one
        CNodeImpl* SingleLink(detail::ELinkList List) const
        {
            const detail::NodeSpan span = LinkList(List);
            return span.empty() ? nullptr : span[0];
        }

        //! Rarely used fields; Extras() creates them. The first callback registered on a node
        //! creates them too, so they are read and created under the node map's lock.
        detail::NodeExtras& Extras();
        int64_t PollingTime() const { return m_pExtras ? m_pExtras->PollingTime : -1; }

        //! Guards an evaluation against re-entry (cycles) and unbounded depth
        class CEvalGuard
        {
        public:
            CEvalGuard(const CNodeImpl* pNode, uint8_t Facet);
            ~CEvalGuard();
            CEvalGuard(const CEvalGuard&) = delete;
            CEvalGuard& operator=(const CEvalGuard&) = delete;

        private:
            const CNodeImpl* m_pNode;
            uint8_t m_Facet;
        };
        enum : uint8_t
        {
            aspValue = 1,
            aspAccessMode = 2,
            aspMin = 4,
            aspMax = 8,
            aspInc = 16,
            aspOther = 32
        };

        // Fields set by the loader. Small fields are packed: a description has thousands of nodes.
        const char* m_Name = "";
        std::unique_ptr<detail::NodeExtras> m_pExtras;
        uint32_t m_Index = 0;
        uint32_t m_PropertyBegin = 0;
        uint32_t m_PropertyCount = 0;
        uint32_t m_VisitMark = 0;
        uint32_t m_CollectMark = 0;
        // Link list k is [m_LinkBegin + m_LinkEnd[k - 1], m_LinkBegin + m_LinkEnd[k]) of the link
        // arena (m_LinkEnd[-1] being 0), unless m_LongLinks sends to the extras' bounds (a node
        // with more than 255 links)
        uint32_t m_LinkBegin = 0;
        uint8_t m_LinkEnd[detail::lkCount] = {};
        // The enumerations in as many bits as their values need (visibility: up to 99), all of
        // them in four bytes
        ENameSpace m_NameSpace : 2;
        EVisibility m_Visibility : 7;
        EVisibility m_ImposedVisibility : 7;
        EAccessMode m_DescribedImposedAccessMode : 3;
        EAccessMode m_ImposedAccessMode : 3;
        ECachingMode m_CachingMode : 2;
        EYesNo m_AccessModeCacheable : 2;
        bool m_IsFeature : 1;
        bool m_IsDeprecated : 1;
        bool m_Streamable : 1;
        bool m_LongLinks : 1;
        uint8_t m_CachingState : 2; // 0 unknown, 1 computing, 2 done (load time)

    protected:
        detail::ENodeKind m_Kind;
        mutable uint8_t m_Evaluating = 0;
        mutable bool m_ValueCacheValid = false;
        mutable bool m_AccessModeCacheValid = false;
        mutable EAccessMode m_AccessModeCache : 8;
        CNodeMapImpl* m_pMap;
    };

    //! What differs between an integer and a float value node: how their numbers are read from
    //! the description and how they reach another node.
    template <class T>
    struct ValueNodeTraits;
    template <>
    struct ValueNodeTraits<int64_t>
    {
        static constexpr const char* Kind = "an Integer";
        static int64_t Parse(std::string_view Text) { return detail::IntegerFromString(Text, PureNumber); }
        static int64_t Property(const CNodeImpl* pNode, const char* Name) { return pNode->PropertyInt(Name, 0); }
        static int64_t Get(CNodeImpl* pNode, bool Verify, bool IgnoreCache) { return pNode->InternalGetInt(Verify, IgnoreCache); }
        static void Set(CNodeImpl* pNode, int64_t Value, bool Verify) { pNode->InternalSetInt(Value, Verify); }
    };
    template <>
    struct ValueNodeTraits<double>
    {
        static constexpr const char* Kind = "a Float";
        static double Parse(std::string_view Text) { return detail::FloatFromString(Text); }
        static double Property(const CNodeImpl* pNode, const char* Name) { return pNode->PropertyFloat(Name, 0); }
        static double Get(CNodeImpl* pNode, bool Verify, bool IgnoreCache) { return pNode->InternalGetFloat(Verify, IgnoreCache); }
        static void Set(CNodeImpl* pNode, double Value, bool Verify) { pNode->InternalSetFloat(Value, Verify); }
    };

    //! What Integer and Float nodes share: the range as the description gives it and as the
    //! application imposes it, the unit, and reading and writing the value through the cache
    template <class T>
    class CValueBase : public CNodeImpl
    {
    public:
        CValueBase(CNodeMapImpl* pMap, detail::ENodeKind Kind) : CNodeImpl(pMap, Kind), m_Representation(_UndefinedRepresentation) {}

    protected:
        //! Reads the value from where it lives
        virtual T ReadValue(bool Verify, bool IgnoreCache) = 0;
        //! Writes the value to where it lives
        virtual void WriteValue(T Value, bool Verify) = 0;
        //! Whether a written value may be cached as it is
        virtual bool CacheWrittenValue() const { return true; }
        //! Throws OutOfRangeException unless Value may be written
        virtual void CheckRange(T Value) = 0;
        //! Range when the description gives none
        virtual T NaturalMin() = 0;
        virtual T NaturalMax() = 0;

        //! GetMin (Upper false) or GetMax: pMin or Min (pMax or Max), else the natural bound,
        //! kept within the imposed one
        T RangeBound(bool Upper);

        //! GetValue: from the cache while it is valid; a read fills the cache unless the node is
        //! not cached
        T CachedGetValue(bool Verify, bool IgnoreCache);
        //! SetValue: writes, notifies the dependents, and keeps the value when writing through
        void CachedSetValue(T Value, bool Verify);
        //! Reads pMin, Min, pMax, Max, pInc, Inc and Unit
        void SetupRangeAndUnit();

        const detail::ValueRange<T>& Range() const
        {
            return m_pRange ? *m_pRange : detail::ValueRange<T>::Default();
        }
        detail::ValueRange<T>& WritableRange()
        {
            if (!m_pRange)
                m_pRange.reset(new (CNodeImpl::operator new(sizeof(detail::ValueRange<T>), m_pMap)) detail::ValueRange<T>);
            return *m_pRange;
        }

        std::unique_ptr<detail::ValueRange<T>, detail::ArenaDelete> m_pRange; // null: the default range
        const char* m_Unit = ""; // in the text pool
        T m_Cache = 0;
        ERepresentation m_Representation : 8;
        bool m_HasUnit = false;
    };

    //! Shared range, increment and text logic of the integer nodes
    class CIntegerBase : public CValueBase<int64_t>, public virtual IInteger
    {
    public:
        CIntegerBase(CNodeMapImpl* pMap, detail::ENodeKind Kind) : CValueBase(pMap, Kind) {}

        // IValue
        INode* GetNode() override { return this; }
        gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
        void FromString(const gcstring& ValueStr, bool Verify = true) override;
        bool IsValueCacheValid() const override;

        // IInteger
        void SetValue(int64_t Value, bool Verify = true) override { CachedSetValue(Value, Verify); }
        int64_t GetValue(bool Verify = false, bool IgnoreCache = false) override
        {
            return CachedGetValue(Verify, IgnoreCache);
        }
        int64_t GetMin() override;
        int64_t GetMax() override;
        EIncMode GetIncMode() override;
        int64_t GetInc() override;
        int64_autovector_t GetListOfValidValues(bool bounded = true) override;
        ERepresentation GetRepresentation() override;
        gcstring GetUnit() override;
        void ImposeMin(int64_t Value) override;
        void ImposeMax(int64_t Value) override;

        EInterfaceType GetPrincipalInterfaceType() const override { return intfIInteger; }

        int64_t InternalGetInt(bool Verify, bool IgnoreCache) override;
        double InternalGetFloat(bool Verify, bool IgnoreCache) override;
        void InternalSetInt(int64_t Value, bool Verify) override;
        void InternalSetFloat(double Value, bool Verify) override;
        int64_t InternalGetIntMin() override;
        int64_t InternalGetIntMax() override;
        int64_t InternalGetIntInc() override;
        double InternalGetFloatMin() override { return static_cast<double>(InternalGetIntMin()); }
        double InternalGetFloatMax() override { return static_cast<double>(InternalGetIntMax()); }
        double InternalGetFloatInc() override { return static_cast<double>(InternalGetIntInc()); }
        ERepresentation InternalGetRepresentation() override;
        std::string InternalGetUnit() const override;

        void Setup() override;

    protected:
        //! Range when the description gives none
        int64_t NaturalMin() override;
        int64_t NaturalMax() override;
        virtual int64_t NaturalInc();
        virtual ERepresentation NaturalRepresentation();
        void CheckRange(int64_t Value) override;
    };

    //! The value of an Integer or Float node: a floating Value, a pValue, or a table indexed by
    //! pIndex (ValueIndexed, pValueIndexed, with ValueDefault or pValueDefault), copied to every
    //! pValueCopy on write.
    template <class Base, class T>
    class CValueNode : public Base
    {
        using Traits = ValueNodeTraits<T>;

    public:
        CValueNode(CNodeMapImpl* pMap, detail::ENodeKind Kind) : Base(pMap, Kind) {}

        void Setup() override
        {
            Base::Setup();
            m_pValue = this->Link("pValue");
            std::unique_ptr<detail::ValueTable<T>> table(new detail::ValueTable<T>);
            table->Copies = this->Links("pValueCopy");
            m_Value = Traits::Property(this, "Value");
            table->pIndex = this->Link("pIndex");
            for (const detail::Property& p : this->FindProperties("ValueIndexed"))
                table->Indexed.emplace_back(detail::IntegerFromString(p.Attribute(), PureNumber), Traits::Parse(p.Value()));
            for (const detail::Property& p : this->FindProperties("pValueIndexed"))
                table->pIndexed.emplace_back(detail::IntegerFromString(p.Attribute(), PureNumber),
                                             this->Map()->Resolve(this, "pValueIndexed", p.Value()));
            table->Default = Traits::Property(this, "ValueDefault");
            table->pDefault = this->Link("pValueDefault");
            if (!m_pValue && !table->pIndex && !this->HasProperty("Value"))
                throw RUNTIME_EXCEPTION("Node '%s': %s needs Value, pValue or pIndex", this->Name(), Traits::Kind);
            if (!table->IsEmpty())
                m_pTable = std::move(table);
        }

        EAccessMode NaturalAccessMode() const override
        {
            if (m_pValue)
                return m_pValue->GetAccessMode();
            if (m_pTable && m_pTable->pIndex && !IsReadable(m_pTable->pIndex->GetAccessMode()))
                return NA;
            return RW;
        }

    protected:
        T ReadValue(bool Verify, bool IgnoreCache) override
        {
            if (m_pValue)
                return Traits::Get(m_pValue, Verify, IgnoreCache);
            if (!m_pTable || !m_pTable->pIndex)
                return m_Value;
            const detail::ValueTable<T>& table = *m_pTable;
            const int64_t index = table.pIndex->InternalGetInt(false, IgnoreCache);
            for (const auto& entry : table.pIndexed)
                if (entry.first == index)
                    return Traits::Get(entry.second, Verify, IgnoreCache);
            for (const auto& entry : table.Indexed)
                if (entry.first == index)
                    return entry.second;
            return table.pDefault ? Traits::Get(table.pDefault, Verify, IgnoreCache) : table.Default;
        }

        void WriteValue(T Value, bool Verify) override
        {
            if (m_pValue)
                Traits::Set(m_pValue, Value, Verify);
            else if (m_pTable && m_pTable->pIndex)
                WriteIndexed(Value, Verify);
            else
                m_Value = Value;
            if (m_pTable)
                for (CNodeImpl* p : m_pTable->Copies)
                    Traits::Set(p, Value, Verify);
        }

        CNodeImpl* m_pValue = nullptr;
        T m_Value = 0;
        std::unique_ptr<detail::ValueTable<T>> m_pTable; // null: no table, no copies

    private:
        void WriteIndexed(T Value, bool Verify)
        {
            detail::ValueTable<T>& table = *m_pTable;
            const int64_t index = table.pIndex->InternalGetInt(false, false);
            for (auto& entry : table.pIndexed)
                if (entry.first == index)
                    return Traits::Set(entry.second, Value, Verify);
            for (auto& entry : table.Indexed)
                if (entry.first == index)
                {
                    entry.second = Value;
                    return;
                }
            if (table.pDefault)
                Traits::Set(table.pDefault, Value, Verify);
            else
                table.Default = Value;
        }
    };

    //! Integer: a floating value, a pValue, or an indexed table
    class CIntegerNode : public CValueNode<CIntegerBase, int64_t>
    {
    public:
        explicit CIntegerNode(CNodeMapImpl* pMap) : CValueNode(pMap, detail::ENodeKind::Integer) {}

    protected:
        int64_t NaturalMin() override;
        int64_t NaturalMax() override;
        int64_t NaturalInc() override;
        ERepresentation NaturalRepresentation() override;
    };

    //! Address, length, port and access of a register
    class CRegisterInfo
    {
    public:
        explicit CRegisterInfo(ECachingMode OwnCaching = WriteThrough)
            : m_AccessMode(RO), m_Endianess(LittleEndian), m_Sign(Unsigned), m_OwnCaching(OwnCaching)
        {
        }
        void Setup(CNodeImpl* pNode);
        int64_t GetAddress(CNodeImpl* pNode) const;
        int64_t GetLength() const;
        void Read(CNodeImpl* pNode, uint8_t* pBuffer, int64_t Length) const;
        void Write(CNodeImpl* pNode, const uint8_t* pBuffer, int64_t Length) const;
        EAccessMode AccessMode() const;

        uint64_t m_Address = 0; // sum of the Address elements
        int64_t m_Length = 0;
        std::unique_ptr<detail::RegisterExtras> m_pExtras; // null: none of them
        CNodeImpl* m_pPort = nullptr;
        EAccessMode m_AccessMode : 8;
        EEndianess m_Endianess : 8;
        ESign m_Sign : 8;
        ECachingMode m_OwnCaching : 8; // the register node's own caching mode, in the spare room here
    };

    //! IntReg: an integer of 1 to 8 bytes in a register
    class CIntRegNode : public CIntegerBase
    {
    public:
        CIntRegNode(CNodeMapImpl* pMap, detail::ENodeKind Kind = detail::ENodeKind::IntReg) : CIntegerBase(pMap, Kind) {}
        void Setup() override;
        EAccessMode NaturalAccessMode() const override;
        ECachingMode OwnCachingMode() const override { return m_Reg.m_OwnCaching; }

    protected:
        int64_t ReadValue(bool Verify, bool IgnoreCache) override;
        void WriteValue(int64_t Value, bool Verify) override;
        int64_t NaturalMin() override;
        int64_t NaturalMax() override;
        uint64_t ReadRaw(int64_t& Length);
        void WriteRaw(uint64_t Raw, int64_t Length);

        CRegisterInfo m_Reg;
    };

    //! MaskedIntReg: a bit field of a register
    class CMaskedIntRegNode : public CIntRegNode
    {
    public:
        explicit CMaskedIntRegNode(CNodeMapImpl* pMap) : CIntRegNode(pMap, detail::ENodeKind::MaskedIntReg) {}
        void Setup() override;

    protected:
        int64_t ReadValue(bool Verify, bool IgnoreCache) override;
        void WriteValue(int64_t Value, bool Verify) override;
        int64_t NaturalMin() override;
        int64_t NaturalMax() override;
        //! Little-endian bit positions of the field
        void FieldBits(int64_t Length, unsigned& Low, unsigned& Width) const;

        uint8_t m_Lsb = 0;
        uint8_t m_Msb = 0;
    };

    //! Evaluates a formula set against the nodes its symbols name
    class CFormulaSource : public detail::IFormulaValueSource
    {
    public:
        CFormulaSource(const detail::FormulaSet& Set, bool IgnoreCache, double Direction, int64_t IntDirection)
            : m_Set(Set), m_IgnoreCache(IgnoreCache), m_Direction(Direction), m_IntDirection(IntDirection)
        {
        }
        double GetFloat(int slot) override;
        int64_t GetInt(int slot) override;

    private:
        const detail::FormulaSet& m_Set;
        bool m_IgnoreCache;
        double m_Direction;
        int64_t m_IntDirection;
    };

    //! Compiles formulas of a node with its pVariable, Constant and Expression elements
    void SetupFormulaSet(CNodeImpl* pNode, detail::FormulaSet& Set, bool WithDirection, const char* DirectionName);
    //! Text is NUL-terminated in the node map's text pool
    void CompileFormula(CNodeImpl* pNode, detail::FormulaSet& Set, detail::CFormula& Formula, const char* Text,
                        detail::EFormulaMode Mode, const char* DirectionName);
    //! Drops what only compiling needed and spare capacity
    void FinishFormulaSet(detail::FormulaSet& Set);

    //! Reads what a Converter or IntConverter needs: pValue, its formula set, FormulaTo (over FROM),
    //! FormulaFrom (over TO) and Slope. Kind names the node type in load errors.
    void SetupConverter(CNodeImpl* pNode, const char* Kind, detail::EFormulaMode Mode, CNodeImpl*& pValue,
                        detail::FormulaSet& Set, detail::CFormula& FormulaTo, detail::CFormula& FormulaFrom,
                        ESlope& Slope);

    //! A bound of a converter's user-domain range, from its target's bounds taken through
    //! FormulaFrom (FromMin, FromMax): as they are when Increasing, swapped when Decreasing, the
    //! smaller and larger of the two when Automatic. Varying is the caller's: the whole range.
    template <class T>
    T ConvertedBound(ESlope Slope, bool Upper, T FromMin, T FromMax)
    {
        if (Slope == Increasing)
            return Upper ? FromMax : FromMin;
        if (Slope == Decreasing)
            return Upper ? FromMin : FromMax;
        return Upper ? std::max(FromMin, FromMax) : std::min(FromMin, FromMax);
    }

    //! Reads what an IntSwissKnife or SwissKnife needs: its formula set and Formula. Kind names
    //! the node type in load errors.
    void SetupSwissKnife(CNodeImpl* pNode, const char* Kind, detail::EFormulaMode Mode, detail::FormulaSet& Set,
                         detail::CFormula& Formula);

    //! What IntSwissKnife and SwissKnife share: a read-only formula over other nodes
    template <class Base>
    class CSwissKnifeBase : public Base
    {
    public:
        CSwissKnifeBase(CNodeMapImpl* pMap, detail::ENodeKind Kind) : Base(pMap, Kind) {}
        EAccessMode NaturalAccessMode() const override { return RO; }

    protected:
        bool CacheWrittenValue() const override { return false; }

        detail::FormulaSet m_Set;
        detail::CFormula m_Formula;
    };

    //! What IntConverter and Converter share: a value shown through two formulas over another node
    template <class Base>
    class CConverterBase : public Base
    {
    public:
        CConverterBase(CNodeMapImpl* pMap, detail::ENodeKind Kind) : Base(pMap, Kind) {}
        EAccessMode NaturalAccessMode() const override { return m_pValue->GetAccessMode(); }

    protected:
        bool CacheWrittenValue() const override { return false; }

        CNodeImpl* m_pValue = nullptr;
        detail::FormulaSet m_Set;
        detail::CFormula m_FormulaTo;
        detail::CFormula m_FormulaFrom;
        ESlope m_Slope = Automatic;
    };

    //! IntSwissKnife: a read-only integer formula
    class CIntSwissKnifeNode : public CSwissKnifeBase<CIntegerBase>
    {
    public:
        explicit CIntSwissKnifeNode(CNodeMapImpl* pMap) : CSwissKnifeBase(pMap, detail::ENodeKind::IntSwissKnife) {}
        void Setup() override;
        //! Evaluates the formula without access checks (embedded address formulas)
        int64_t Evaluate(bool IgnoreCache);

    protected:
        int64_t ReadValue(bool Verify, bool IgnoreCache) override;
        void WriteValue(int64_t Value, bool Verify) override;
    };

    //! IntConverter: an integer shown through two formulas over another node
    class CIntConverterNode : public CConverterBase<CIntegerBase>
    {
    public:
        explicit CIntConverterNode(CNodeMapImpl* pMap) : CConverterBase(pMap, detail::ENodeKind::IntConverter) {}
        void Setup() override;

    protected:
        int64_t ReadValue(bool Verify, bool IgnoreCache) override;
        void WriteValue(int64_t Value, bool Verify) override;
        int64_t NaturalMin() override;
        int64_t NaturalMax() override;
        ERepresentation NaturalRepresentation() override;
        int64_t From(int64_t To, bool IgnoreCache);
        int64_t NaturalBound(bool Upper);
    };

    //! Shared range and text logic of the float nodes
    class CFloatBase : public CValueBase<double>, public virtual IFloat
    {
    public:
        CFloatBase(CNodeMapImpl* pMap, detail::ENodeKind Kind) : CValueBase(pMap, Kind) {}

        // IValue
        INode* GetNode() override { return this; }
        gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
        void FromString(const gcstring& ValueStr, bool Verify = true) override;
        bool IsValueCacheValid() const override;

        // IFloat
        void SetValue(double Value, bool Verify = true) override { CachedSetValue(Value, Verify); }
        double GetValue(bool Verify = false, bool IgnoreCache = false) override
        {
            return CachedGetValue(Verify, IgnoreCache);
        }
        double GetMin() override;
        double GetMax() override;
        bool HasInc() override;
        EIncMode GetIncMode() override;
        double GetInc() override;
        double_autovector_t GetListOfValidValues(bool bounded = true) override;
        ERepresentation GetRepresentation() override;
        gcstring GetUnit() const override;
        EDisplayNotation GetDisplayNotation() const override;
        int64_t GetDisplayPrecision() const override;
        void ImposeMin(double Value) override;
        void ImposeMax(double Value) override;

        EInterfaceType GetPrincipalInterfaceType() const override { return intfIFloat; }

        int64_t InternalGetInt(bool Verify, bool IgnoreCache) override;
        double InternalGetFloat(bool Verify, bool IgnoreCache) override;
        void InternalSetInt(int64_t Value, bool Verify) override;
        void InternalSetFloat(double Value, bool Verify) override;
        int64_t InternalGetIntMin() override;
        int64_t InternalGetIntMax() override;
        int64_t InternalGetIntInc() override;
        double InternalGetFloatMin() override;
        double InternalGetFloatMax() override;
        double InternalGetFloatInc() override;
        ERepresentation InternalGetRepresentation() override;
        std::string InternalGetUnit() const override;

        void Setup() override;

    protected:
        double NaturalMin() override;
        double NaturalMax() override;
        virtual bool NaturalHasInc();
        virtual double NaturalInc();
        virtual ERepresentation NaturalRepresentation();
        virtual std::string NaturalUnit() const;
        virtual EDisplayNotation NaturalDisplayNotation() const;
        virtual int64_t NaturalDisplayPrecision() const;
        void CheckRange(double Value) override;

        EDisplayNotation m_DisplayNotation = _UndefinedEDisplayNotation;
        int64_t m_DisplayPrecision = -1;
    };

    //! Float: a floating value, a pValue, or an indexed table
    class CFloatNode : public CValueNode<CFloatBase, double>
    {
    public:
        explicit CFloatNode(CNodeMapImpl* pMap) : CValueNode(pMap, detail::ENodeKind::Float) {}

    protected:
        double NaturalMin() override;
        double NaturalMax() override;
        bool NaturalHasInc() override;
        double NaturalInc() override;
        ERepresentation NaturalRepresentation() override;
        std::string NaturalUnit() const override;
    };

    //! FloatReg: an IEEE 754 float of 4 or 8 bytes in a register
    class CFloatRegNode : public CFloatBase
    {
    public:
        explicit CFloatRegNode(CNodeMapImpl* pMap) : CFloatBase(pMap, detail::ENodeKind::FloatReg) {}
        void Setup() override;
        EAccessMode NaturalAccessMode() const override;
        ECachingMode OwnCachingMode() const override { return m_Reg.m_OwnCaching; }

    protected:
        double ReadValue(bool Verify, bool IgnoreCache) override;
        void WriteValue(double Value, bool Verify) override;

        CRegisterInfo m_Reg{WriteAround};
    };

    //! SwissKnife: a read-only float formula
    class CSwissKnifeNode : public CSwissKnifeBase<CFloatBase>
    {
    public:
        explicit CSwissKnifeNode(CNodeMapImpl* pMap) : CSwissKnifeBase(pMap, detail::ENodeKind::SwissKnife) {}
        void Setup() override;

    protected:
        double ReadValue(bool Verify, bool IgnoreCache) override;
        void WriteValue(double Value, bool Verify) override;
    };

    //! Converter: a float shown through two formulas over another node
    class CConverterNode : public CConverterBase<CFloatBase>
    {
    public:
        explicit CConverterNode(CNodeMapImpl* pMap) : CConverterBase(pMap, detail::ENodeKind::Converter) {}
        void Setup() override;

    protected:
        double ReadValue(bool Verify, bool IgnoreCache) override;
        void WriteValue(double Value, bool Verify) override;
        double NaturalMin() override;
        double NaturalMax() override;
        ERepresentation NaturalRepresentation() override;
        std::string NaturalUnit() const override;
        EDisplayNotation NaturalDisplayNotation() const override;
        int64_t NaturalDisplayPrecision() const override;
        double From(double To, bool IgnoreCache);
        double NaturalBound(bool Upper);
    };

    class CEnumEntryNode;

    //! Enumeration: a value chosen from named entries
    class CEnumerationNode : public CNodeImpl, public virtual IEnumeration
    {
    public:
        explicit CEnumerationNode(CNodeMapImpl* pMap) : CNodeImpl(pMap, detail::ENodeKind::Enumeration) {}

        INode* GetNode() override { return this; }
        gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
        void FromString(const gcstring& ValueStr, bool Verify = true) override;
        bool IsValueCacheValid() const override;

        void GetSymbolics(StringList_t& Symbolics) override;
        void GetEntries(NodeList_t& Entries) override;
        void SetIntValue(int64_t Value, bool Verify = true) override;
        int64_t GetIntValue(bool Verify = false, bool IgnoreCache = false) override;
        IEnumEntry* GetEntryByName(const gcstring& Symbolic) override;
        IEnumEntry* GetEntry(const int64_t IntValue) override;
        IEnumEntry* GetCurrentEntry(bool Verify = false, bool IgnoreCache = false) override;

        EInterfaceType GetPrincipalInterfaceType() const override { return intfIEnumeration; }
        EAccessMode NaturalAccessMode() const override;
        bool IsPollingActive() override;

        int64_t InternalGetInt(bool Verify, bool IgnoreCache) override;
        double InternalGetFloat(bool Verify, bool IgnoreCache) override;
        void InternalSetInt(int64_t Value, bool Verify) override;
        void InternalSetFloat(double Value, bool Verify) override;

        void Setup() override;

        std::vector<CEnumEntryNode*> m_Entries;

    private:
        int64_t ReadInt(bool Verify, bool IgnoreCache);
        void WriteInt(int64_t Value, bool Verify);
        CEnumEntryNode* FindEntry(int64_t Value) const;

        CNodeImpl* m_pValue = nullptr;
        int64_t m_Value = 0;
        int64_t m_Cache = 0;
    };

    //! One entry of an enumeration
    class CEnumEntryNode : public CNodeImpl, public virtual IEnumEntry
    {
    public:
        explicit CEnumEntryNode(CNodeMapImpl* pMap) : CNodeImpl(pMap, detail::ENodeKind::EnumEntry) {}

        INode* GetNode() override { return this; }
        gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
        void FromString(const gcstring& ValueStr, bool Verify = true) override;
        bool IsValueCacheValid() const override { return true; }

        int64_t GetValue() override;
        gcstring GetSymbolic() const override;
        double GetNumericValue() override;
        bool IsSelfClearing() override;

        EInterfaceType GetPrincipalInterfaceType() const override { return intfIEnumEntry; }
        EAccessMode NaturalAccessMode() const override { return RO; }
        int64_t InternalGetInt(bool Verify, bool IgnoreCache) override;
        double InternalGetFloat(bool Verify, bool IgnoreCache) override;
        void Setup() override;

        //! The symbolic name: the end of the node's name ("EnumEntry_<enumeration>_<symbolic>")
        const char* Symbolic() const { return m_Name + m_SymbolicOffset; }

        int64_t m_Value = 0;
        double m_NumericValue = 0;
        uint32_t m_SymbolicOffset = 0;
        bool m_IsSelfClearing = false;
    };

    //! Boolean: OnValue/OffValue over a value
    class CBooleanNode : public CNodeImpl, public virtual IBoolean
    {
    public:
        explicit CBooleanNode(CNodeMapImpl* pMap) : CNodeImpl(pMap, detail::ENodeKind::Boolean) {}

        INode* GetNode() override { return this; }
        gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
        void FromString(const gcstring& ValueStr, bool Verify = true) override;
        bool IsValueCacheValid() const override;

        void SetValue(bool Value, bool Verify = true) override;
        bool GetValue(bool Verify = false, bool IgnoreCache = false) const override;

        EInterfaceType GetPrincipalInterfaceType() const override { return intfIBoolean; }
        EAccessMode NaturalAccessMode() const override;
        int64_t InternalGetInt(bool Verify, bool IgnoreCache) override;
        double InternalGetFloat(bool Verify, bool IgnoreCache) override;
        void InternalSetInt(int64_t Value, bool Verify) override;
        void InternalSetFloat(double Value, bool Verify) override;
        void Setup() override;

    private:
        bool ReadBoolValue(bool Verify, bool IgnoreCache) const;
        void WriteBoolValue(bool Value, bool Verify);

        CNodeImpl* m_pValue = nullptr;
        int64_t m_Value = 0;
        int64_t m_OnValue = 1;
        int64_t m_OffValue = 0;
        mutable bool m_Cache = false;
    };

    //! Command: writes CommandValue, done when the device clears it
    class CCommandNode : public CNodeImpl, public virtual ICommand
    {
    public:
        explicit CCommandNode(CNodeMapImpl* pMap) : CNodeImpl(pMap, detail::ENodeKind::Command) {}

        INode* GetNode() override { return this; }
        gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
        void FromString(const gcstring& ValueStr, bool Verify = true) override;
        bool IsValueCacheValid() const override { return false; }

        void Execute(bool Verify = true) override;
        bool IsDone(bool Verify = true) override;

        EInterfaceType GetPrincipalInterfaceType() const override { return intfICommand; }
        EAccessMode NaturalAccessMode() const override;
        ECachingMode OwnCachingMode() const override { return NoCache; }
        bool IsPollingActive() override { return m_Executing; }
        void Setup() override;

    private:
        bool InternalIsDone(bool Verify);

        CNodeImpl* m_pValue = nullptr;
        int64_t m_Value = 0;
        int64_t m_CommandValue = 1;
        CNodeImpl* m_pCommandValue = nullptr;
        bool m_Executing = false;
    };

    //! String: a floating string, or a StringReg in a register
    class CStringNode : public CNodeImpl, public virtual IString
    {
    public:
        CStringNode(CNodeMapImpl* pMap, detail::ENodeKind Kind) : CNodeImpl(pMap, Kind) {}

        INode* GetNode() override { return this; }
        gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
        void FromString(const gcstring& ValueStr, bool Verify = true) override;
        bool IsValueCacheValid() const override;

        void SetValue(const gcstring& Value, bool Verify = true) override;
        gcstring GetValue(bool Verify = false, bool IgnoreCache = false) override;
        int64_t GetMaxLength() override;

        EInterfaceType GetPrincipalInterfaceType() const override { return intfIString; }
        EAccessMode NaturalAccessMode() const override;
        ECachingMode OwnCachingMode() const override;
        void Setup() override;

    private:
        std::string ReadString(bool Verify, bool IgnoreCache);
        void WriteString(const std::string& Value, bool Verify);

        bool m_IsRegister = false;
        CRegisterInfo m_Reg;
        CNodeImpl* m_pValue = nullptr;
        std::string m_Value;
        std::string m_Cache;
    };

    //! Register: raw bytes
    class CRegisterNode : public CNodeImpl, public virtual IRegister
    {
    public:
        explicit CRegisterNode(CNodeMapImpl* pMap) : CNodeImpl(pMap, detail::ENodeKind::Register) {}

        INode* GetNode() override { return this; }
        gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
        void FromString(const gcstring& ValueStr, bool Verify = true) override;
        bool IsValueCacheValid() const override;

        void Set(const uint8_t* pBuffer, int64_t Length, bool Verify = true) override;
        void Get(uint8_t* pBuffer, int64_t Length, bool Verify = false, bool IgnoreCache = false) override;
        int64_t GetLength() override;
        int64_t GetAddress() override;

        EInterfaceType GetPrincipalInterfaceType() const override { return intfIRegister; }
        EAccessMode NaturalAccessMode() const override;
        ECachingMode OwnCachingMode() const override { return m_Reg.m_OwnCaching; }
        int64_t InternalGetInt(bool Verify, bool IgnoreCache) override;
        double InternalGetFloat(bool Verify, bool IgnoreCache) override;
        void Setup() override;

    private:
        void ReadBytes(uint8_t* pBuffer, int64_t Length, bool IgnoreCache);

        CRegisterInfo m_Reg;
        std::vector<uint8_t> m_Cache;
    };

    //! Category: a list of features
    class CCategoryNode : public CNodeImpl, public virtual ICategory
    {
    public:
        explicit CCategoryNode(CNodeMapImpl* pMap) : CNodeImpl(pMap, detail::ENodeKind::Category) {}

        INode* GetNode() override { return this; }
        gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
        void FromString(const gcstring& ValueStr, bool Verify = true) override;
        bool IsValueCacheValid() const override { return true; }

        void GetFeatures(FeatureList_t& Features) const override;

        EInterfaceType GetPrincipalInterfaceType() const override { return intfICategory; }
        EAccessMode NaturalAccessMode() const override { return RO; }
        ECachingMode OwnCachingMode() const override { return WriteThrough; }
        void Setup() override;

        std::vector<CNodeImpl*> m_Features;
    };

    //! Port: register access through a connected IPort
    class CPortNode : public CNodeImpl, public virtual IPort
    {
    public:
        explicit CPortNode(CNodeMapImpl* pMap) : CNodeImpl(pMap, detail::ENodeKind::Port) {}

        void Read(void* pBuffer, int64_t Address, int64_t Length) override;
        void Write(const void* pBuffer, int64_t Address, int64_t Length) override;

        EInterfaceType GetPrincipalInterfaceType() const override { return intfIPort; }
        EAccessMode NaturalAccessMode() const override;
        ECachingMode OwnCachingMode() const override { return WriteThrough; }

        void Connect(IPort* pPort);
        //! Read/Write without the lock and access checks (the register node holds the lock)
        void PortRead(void* pBuffer, int64_t Address, int64_t Length);
        void PortWrite(const void* pBuffer, int64_t Address, int64_t Length);

    private:
        IPort* m_pPort = nullptr;
    };

    //! Bare Node: only the common properties
    class CPlainNode : public CNodeImpl
    {
    public:
        explicit CPlainNode(CNodeMapImpl* pMap) : CNodeImpl(pMap, detail::ENodeKind::Node) {}
        EInterfaceType GetPrincipalInterfaceType() const override { return intfIBase; }
        EAccessMode NaturalAccessMode() const override { return RO; }
    };
}
