// Behaviour common to every node: access modes, properties, links, callbacks, invalidation.

#include "NodeImpl.h"
#include "NodeMapImpl.h"
#include "ValueText.h"

#include <algorithm>
#include <cstring>

namespace GenApi
{
    namespace
    {
        const char* AccessModeName(EAccessMode Mode)
        {
            switch (Mode)
            {
            case NI: return "NI";
            case NA: return "NA";
            case WO: return "WO";
            case RO: return "RO";
            case RW: return "RW";
            default: return "undefined";
            }
        }

        void AssignLinks(NodeList_t& Nodes, detail::NodeSpan Links)
        {
            Nodes.assign(Links.begin(), Links.end());
        }

        void PushUnique(std::vector<CNodeImpl*>& List, CNodeImpl* p)
        {
            if (std::find(List.begin(), List.end(), p) == List.end())
                List.push_back(p);
        }

        std::string_view Trim(std::string_view s)
        {
            const char* ws = " \t\r\n";
            const size_t b = s.find_first_not_of(ws);
            if (b == std::string_view::npos)
                return std::string_view();
            const size_t e = s.find_last_not_of(ws);
            return s.substr(b, e - b + 1);
        }
    }

    // ---------------------------------------------------------------- evaluation guard

    CNodeImpl::CEvalGuard::CEvalGuard(const CNodeImpl* pNode, uint8_t Facet) : m_pNode(pNode), m_Facet(Facet)
    {
        if (pNode->m_Evaluating & Facet)
            throw RUNTIME_EXCEPTION("Node '%s': evaluation cycle, the node depends on itself", pNode->m_Name);
        CNodeMapImpl* pMap = pNode->m_pMap;
        if (pMap->m_EvalDepth >= CNodeMapImpl::MaxEvalDepth)
            throw RUNTIME_EXCEPTION("Node '%s': evaluation nested more than %d levels deep", pNode->m_Name,
                                    CNodeMapImpl::MaxEvalDepth);
        ++pMap->m_EvalDepth;
        pNode->m_Evaluating |= Facet;
    }

    CNodeImpl::CEvalGuard::~CEvalGuard()
    {
        m_pNode->m_Evaluating &= static_cast<uint8_t>(~m_Facet);
        --m_pNode->m_pMap->m_EvalDepth;
    }

    // ---------------------------------------------------------------- construction

    CNodeImpl::CNodeImpl(CNodeMapImpl* pMap, detail::ENodeKind Kind)
        : m_NameSpace(Custom), m_Visibility(Beginner), m_ImposedVisibility(_UndefinedVisibility),
          m_DescribedImposedAccessMode(RW), m_ImposedAccessMode(RW), m_CachingMode(WriteThrough),
          m_AccessModeCacheable(Yes), m_IsFeature(false), m_IsDeprecated(false), m_Streamable(false),
          m_LongLinks(false), m_CachingState(0), m_Kind(Kind), m_AccessModeCache(NI), m_pMap(pMap)
    {
    }

    void* CNodeImpl::operator new(size_t Size, CNodeMapImpl* pMap) { return pMap->AllocateNode(Size); }

    CNodeImpl::~CNodeImpl()
    {
        DestroyCallbacks();
    }

    void CNodeImpl::DestroyCallbacks()
    {
        if (!m_pExtras)
            return;
        std::unique_ptr<detail::CallbackList> callbacks = std::move(m_pExtras->pCallbacks);
        if (!callbacks)
            return;
        for (CNodeCallback* p : callbacks->List)
            if (p)
                p->Destroy();
    }

    // ---------------------------------------------------------------- properties

    void CNodeImpl::AddProperty(const char* Name, std::string_view Value, std::string_view Attribute)
    {
        m_pMap->AddLoadProperty(this, detail::Property{Name, m_pMap->StoreProperty(Trim(Value), Attribute)});
    }

    detail::PackedProperty CNodeImpl::PropertyAt(uint32_t i) const { return m_pMap->PackedPropertyAt(m_PropertyBegin + i); }

    detail::NodeExtras& CNodeImpl::Extras()
    {
        if (!m_pExtras)
            m_pExtras.reset(new detail::NodeExtras);
        return *m_pExtras;
    }

    template <class Visit>
    void CNodeImpl::VisitProperties(const char* Name, Visit visit) const
    {
        // Names are short: the first character rules out most candidates before strcmp
        const char first = Name[0];
        const char* text = m_pMap->PackedText();
        for (uint32_t i = 0; i < m_PropertyCount; ++i)
        {
            const detail::PackedProperty p = PropertyAt(i);
            const char* name = text + p.Name;
            if (name[0] == first && std::strcmp(name, Name) == 0 && !visit(detail::Property{name, text + p.Text}))
                return;
        }
    }

    std::optional<detail::Property> CNodeImpl::FindProperty(const char* Name) const
    {
        std::optional<detail::Property> found;
        VisitProperties(Name, [&](const detail::Property& p) {
            found = p;
            return false;
        });
        return found;
    }

    std::vector<detail::Property> CNodeImpl::FindProperties(const char* Name) const
    {
        std::vector<detail::Property> result;
        VisitProperties(Name, [&](const detail::Property& p) {
            result.push_back(p);
            return true;
        });
        return result;
    }

    std::string CNodeImpl::PropertyText(const char* Name, const std::string& Default) const
    {
        const std::optional<detail::Property> p = FindProperty(Name);
        return p ? std::string(p->Value()) : Default;
    }

    CNodeImpl* CNodeImpl::Link(const char* Name) const
    {
        const std::optional<detail::Property> p = FindProperty(Name);
        if (!p)
            return nullptr;
        return m_pMap->Resolve(this, Name, p->Value());
    }

    std::vector<CNodeImpl*> CNodeImpl::Links(const char* Name) const
    {
        std::vector<CNodeImpl*> result;
        for (const detail::Property& p : FindProperties(Name))
            result.push_back(m_pMap->Resolve(this, Name, p.Value()));
        return result;
    }

    int64_t CNodeImpl::PropertyInt(const char* Name, int64_t Default) const
    {
        const std::optional<detail::Property> p = FindProperty(Name);
        if (!p)
            return Default;
        try
        {
            return detail::IntegerFromString(p->Value(), PureNumber);
        }
        catch (const GenICam::GenericException&)
        {
        }
        try
        {
            const double d = detail::FloatFromString(p->Value());
            if (d >= -9.2233720368547758e18 && d < 9.2233720368547758e18)
                return static_cast<int64_t>(d);
        }
        catch (const GenICam::GenericException&)
        {
        }
        throw RUNTIME_EXCEPTION("Node '%s': property %s has the value '%s', which is not a number", m_Name,
                                Name, p->Text);
    }

    double CNodeImpl::PropertyFloat(const char* Name, double Default) const
    {
        const std::optional<detail::Property> p = FindProperty(Name);
        if (!p)
            return Default;
        try
        {
            return detail::FloatFromString(p->Value());
        }
        catch (const GenICam::GenericException&)
        {
            throw RUNTIME_EXCEPTION("Node '%s': property %s has the value '%s', which is not a number",
                                    m_Name, Name, p->Text);
        }
    }

    // Edges are appended while loading; the node map drops repeats once the graph stands
    void CNodeImpl::AddReadingChild(CNodeImpl* p)
    {
        m_pMap->LoadLinks(this, detail::lkReadingChildren).push_back(p);
        m_pMap->LoadLinks(p, detail::lkReadingParents).push_back(this);
    }

    void CNodeImpl::AddWritingChild(CNodeImpl* p)
    {
        m_pMap->LoadLinks(this, detail::lkWritingChildren).push_back(p);
        m_pMap->LoadLinks(p, detail::lkWritingParents).push_back(this);
    }

    void CNodeImpl::AddInvalidator(CNodeImpl* p)
    {
        m_pMap->LoadLinks(this, detail::lkInvalidators).push_back(p);
    }

    void CNodeImpl::AddDependent(CNodeImpl* p)
    {
        if (p != this)
            m_pMap->LoadLinks(this, detail::lkDependents).push_back(p);
    }

    // ---------------------------------------------------------------- setup

    void CNodeImpl::Setup()
    {
        const std::string ns = PropertyText("NameSpace");
        m_NameSpace = ns == "Standard" ? Standard : Custom;

        const std::string vis = PropertyText("Visibility", "Beginner");
        if (vis == "Expert")
            m_Visibility = Expert;
        else if (vis == "Guru")
            m_Visibility = Guru;
        else if (vis == "Invisible")
            m_Visibility = Invisible;
        else
            m_Visibility = Beginner;

        const std::string imposed = PropertyText("ImposedAccessMode", "RW");
        if (imposed == "RO")
            m_DescribedImposedAccessMode = RO;
        else if (imposed == "WO")
            m_DescribedImposedAccessMode = WO;
        else if (imposed == "NA")
            m_DescribedImposedAccessMode = NA;
        else if (imposed == "NI")
            m_DescribedImposedAccessMode = NI;
        else
            m_DescribedImposedAccessMode = RW;

        if (CNodeImpl* p = Link("pIsImplemented"))
            m_pMap->LoadLinks(this, detail::lkIsImplemented).push_back(p);
        if (CNodeImpl* p = Link("pIsAvailable"))
            m_pMap->LoadLinks(this, detail::lkIsAvailable).push_back(p);
        if (CNodeImpl* p = Link("pIsLocked"))
            m_pMap->LoadLinks(this, detail::lkIsLocked).push_back(p);
        CNodeImpl* pError = Link("pError");
        CNodeImpl* pBlockPolling = Link("pBlockPolling");
        CNodeImpl* pAlias = Link("pAlias");
        CNodeImpl* pCastAlias = Link("pCastAlias");
        const int64_t pollingTime = PropertyInt("PollingTime", -1);
        if (pError || pBlockPolling || pAlias || pCastAlias || pollingTime != -1)
        {
            detail::NodeExtras& extras = Extras();
            extras.pError = pError;
            extras.pBlockPolling = pBlockPolling;
            extras.pAlias = pAlias;
            extras.pCastAlias = pCastAlias;
            extras.PollingTime = pollingTime;
        }
        m_IsDeprecated = PropertyText("IsDeprecated") == "Yes";
        m_Streamable = PropertyText("Streamable") == "Yes";
        for (CNodeImpl* p : Links("pSelected"))
        {
            PushUnique(m_pMap->LoadLinks(this, detail::lkSelected), p);
            PushUnique(m_pMap->LoadLinks(p, detail::lkSelecting), this);
        }
    }

    void CNodeImpl::Finish() {}

    ECachingMode CNodeImpl::OwnCachingMode() const
    {
        const std::optional<detail::Property> p = FindProperty("Cachable");
        if (!p)
            return WriteThrough;
        if (p->Value() == "WriteThrough")
            return WriteThrough;
        if (p->Value() == "WriteAround")
            return WriteAround;
        return NoCache;
    }

    // ---------------------------------------------------------------- numeric access defaults

    int64_t CNodeImpl::InternalGetInt(bool, bool)
    {
        throw LOGICAL_ERROR_EXCEPTION("Node '%s' has no numeric value", m_Name);
    }
    double CNodeImpl::InternalGetFloat(bool, bool)
    {
        throw LOGICAL_ERROR_EXCEPTION("Node '%s' has no numeric value", m_Name);
    }
    void CNodeImpl::InternalSetInt(int64_t, bool)
    {
        throw LOGICAL_ERROR_EXCEPTION("Node '%s' cannot take a numeric value", m_Name);
    }
    void CNodeImpl::InternalSetFloat(double, bool)
    {
        throw LOGICAL_ERROR_EXCEPTION("Node '%s' cannot take a numeric value", m_Name);
    }
    int64_t CNodeImpl::InternalGetIntMin() { return INT64_MIN; }
    int64_t CNodeImpl::InternalGetIntMax() { return INT64_MAX; }
    int64_t CNodeImpl::InternalGetIntInc() { return 1; }
    double CNodeImpl::InternalGetFloatMin() { return -1.7976931348623157e308; }
    double CNodeImpl::InternalGetFloatMax() { return 1.7976931348623157e308; }
    double CNodeImpl::InternalGetFloatInc() { return 0; }
    ERepresentation CNodeImpl::InternalGetRepresentation() { return PureNumber; }
    std::string CNodeImpl::InternalGetUnit() const { return std::string(); }
    EAccessMode CNodeImpl::NaturalAccessMode() const { return RO; }
    bool CNodeImpl::IsPollingActive() { return true; }

    bool CNodeImpl::ReadBool(CNodeImpl* pNode)
    {
        if (!IsReadable(pNode->GetAccessMode()))
            return false;
        switch (pNode->Kind())
        {
        case detail::ENodeKind::Float:
        case detail::ENodeKind::FloatReg:
        case detail::ENodeKind::Converter:
        case detail::ENodeKind::SwissKnife:
            return pNode->InternalGetFloat(false, false) != 0.0;
        default:
            return pNode->InternalGetInt(false, false) != 0;
        }
    }

    // ---------------------------------------------------------------- access mode

    EAccessMode CNodeImpl::GetAccessMode() const
    {
        COperation op(m_pMap);
        return InternalAccessMode();
    }

    EAccessMode CNodeImpl::InternalAccessMode() const
    {
        if (m_AccessModeCacheValid)
            return m_AccessModeCache;
        CEvalGuard guard(this, aspAccessMode);
        EAccessMode mode;
        CNodeImpl* pIsImplemented = SingleLink(detail::lkIsImplemented);
        CNodeImpl* pIsAvailable = SingleLink(detail::lkIsAvailable);
        if (pIsImplemented && !ReadBool(pIsImplemented))
            mode = NI;
        else if (pIsAvailable && !ReadBool(pIsAvailable))
            mode = NA;
        else
        {
            mode = NaturalAccessMode();
            CNodeImpl* pIsLocked = SingleLink(detail::lkIsLocked);
            if (pIsLocked && (mode == RW || mode == WO) && ReadBool(pIsLocked))
                mode = mode == RW ? RO : NA;
        }
        mode = Combine(mode, m_DescribedImposedAccessMode);
        mode = Combine(mode, m_ImposedAccessMode);
        if (m_AccessModeCacheable == Yes)
        {
            m_AccessModeCache = mode;
            m_AccessModeCacheValid = true;
        }
        return mode;
    }

    void CNodeImpl::CheckReadable() const
    {
        const EAccessMode mode = InternalAccessMode();
        if (!IsReadable(mode))
            throw ACCESS_EXCEPTION("Node '%s' is not readable (access mode %s)", m_Name, AccessModeName(mode));
    }

    void CNodeImpl::CheckWritable() const
    {
        const EAccessMode mode = InternalAccessMode();
        if (!IsWritable(mode))
            throw ACCESS_EXCEPTION("Node '%s' is not writable (access mode %s)", m_Name, AccessModeName(mode));
    }

    void CNodeImpl::CheckError()
    {
        if (!m_pExtras || !m_pExtras->pError)
            return;
        CNodeImpl* pError = m_pExtras->pError;
        const int64_t code = pError->InternalGetInt(false, true);
        if (code == 0)
            return;
        std::string text = "error " + std::to_string(code);
        if (CEnumerationNode* pEnum = dynamic_cast<CEnumerationNode*>(pError))
        {
            for (CEnumEntryNode* pEntry : pEnum->m_Entries)
            {
                if (pEntry->m_Value == code)
                {
                    text = std::string(pEntry->GetDisplayName());
                    const std::string tip = pEntry->GetToolTip();
                    if (!tip.empty())
                        text += ": " + tip;
                    break;
                }
            }
        }
        throw RUNTIME_EXCEPTION("Node '%s' reports an error: %s", m_Name, text.c_str());
    }

    void CNodeImpl::ImposeAccessMode(EAccessMode ImposedAccessMode)
    {
        COperation op(m_pMap);
        m_ImposedAccessMode = ImposedAccessMode;
        m_pMap->ClearCachesFrom(this);
    }

    void CNodeImpl::ImposeVisibility(EVisibility ImposedVisibility)
    {
        COperation op(m_pMap);
        m_ImposedVisibility = ImposedVisibility;
    }

    EYesNo CNodeImpl::IsAccessModeCacheable() const { return m_AccessModeCacheable; }

    // ---------------------------------------------------------------- INode getters

    gcstring CNodeImpl::GetName(bool FullQualified) const
    {
        if (!FullQualified)
            return m_Name;
        return std::string(m_NameSpace == Standard ? "Std::" : "Cust::") + m_Name;
    }

    ENameSpace CNodeImpl::GetNameSpace() const { return m_NameSpace; }

    EVisibility CNodeImpl::GetVisibility() const
    {
        COperation op(m_pMap);
        return Combine(m_Visibility, m_ImposedVisibility);
    }

    void CNodeImpl::InvalidateNode()
    {
        COperation op(m_pMap);
        m_pMap->NotifyChanged(this, true);
    }

    bool CNodeImpl::IsCachable() const { return m_CachingMode != NoCache; }
    ECachingMode CNodeImpl::GetCachingMode() const { return m_CachingMode; }
    // The rarely used fields come into being with a node's first callback, so reading them takes
    // the lock like registering does
    int64_t CNodeImpl::GetPollingTime() const
    {
        AutoLock lock(m_pMap->GetLock());
        return PollingTime();
    }

    gcstring CNodeImpl::GetToolTip() const { return PropertyText("ToolTip"); }

    gcstring CNodeImpl::GetDescription() const { return PropertyText("Description"); }

    gcstring CNodeImpl::GetDisplayName() const
    {
        const std::optional<detail::Property> p = FindProperty("DisplayName");
        if (p)
            return gcstring(p->Text);
        if (m_Kind == detail::ENodeKind::EnumEntry)
            return static_cast<const CEnumEntryNode*>(this)->Symbolic();
        return m_Name;
    }

    gcstring CNodeImpl::GetDeviceName() const { return m_pMap->GetDeviceName(); }

    void CNodeImpl::GetChildren(NodeList_t& Children, ELinkType LinkType) const
    {
        COperation op(m_pMap);
        Children.clear();
        switch (LinkType)
        {
        case ctWritingChildren:
        case ctValueChildren:
            AssignLinks(Children, LinkList(detail::lkWritingChildren));
            break;
        case ctInvalidatingChildren:
            AssignLinks(Children, LinkList(detail::lkInvalidators));
            break;
        case ctDependingNodes:
            AssignLinks(Children, LinkList(detail::lkDependents));
            break;
        case ctParentNodes:
            AssignLinks(Children, LinkList(detail::lkReadingParents));
            break;
        case ctTerminalNodes:
        {
            // Follow the value links down to the nodes that hold values themselves
            std::vector<const CNodeImpl*> todo(1, this);
            std::vector<const CNodeImpl*> seen(1, this);
            while (!todo.empty())
            {
                const CNodeImpl* p = todo.back();
                todo.pop_back();
                const detail::NodeSpan writing = p->WritingChildren();
                if (writing.empty())
                {
                    if (p != this)
                        Children.push_back(const_cast<CNodeImpl*>(p));
                    continue;
                }
                for (CNodeImpl* c : writing)
                {
                    if (std::find(seen.begin(), seen.end(), c) == seen.end())
                    {
                        seen.push_back(c);
                        todo.push_back(c);
                    }
                }
            }
            break;
        }
        case ctReadingChildren:
        default:
            AssignLinks(Children, LinkList(detail::lkReadingChildren));
            break;
        }
    }

    void CNodeImpl::GetParents(NodeList_t& Parents, ELinkType LinkType) const
    {
        COperation op(m_pMap);
        Parents.clear();
        if (LinkType == ctWritingChildren || LinkType == ctValueChildren)
            AssignLinks(Parents, LinkList(detail::lkWritingParents));
        else
            AssignLinks(Parents, LinkList(detail::lkReadingParents));
    }

    INodeMap* CNodeImpl::GetNodeMap() const { return m_pMap; }
    gcstring CNodeImpl::GetEventID() const { return PropertyText("EventID"); }
    bool CNodeImpl::IsStreamable() const { return m_Streamable; }

    void CNodeImpl::GetPropertyNames(gcstring_vector& PropertyNames) const
    {
        PropertyNames.clear();
        for (uint32_t i = 0; i < m_PropertyCount; ++i)
        {
            const detail::Property p = m_pMap->Unpack(PropertyAt(i));
            bool seen = false;
            for (const gcstring& n : PropertyNames)
            {
                if (n == p.Name)
                {
                    seen = true;
                    break;
                }
            }
            if (!seen)
                PropertyNames.push_back(p.Name);
        }
    }

    bool CNodeImpl::GetProperty(const gcstring& PropertyName, gcstring& ValueStr, gcstring& AttributeStr) const
    {
        ValueStr.clear();
        AttributeStr.clear();
        bool found = false;
        for (uint32_t i = 0; i < m_PropertyCount; ++i)
        {
            const detail::Property p = m_pMap->Unpack(PropertyAt(i));
            if (PropertyName != p.Name)
                continue;
            if (found)
            {
                ValueStr += '\t';
                AttributeStr += '\t';
            }
            const std::string_view value = p.Value();
            const std::string_view attribute = p.Attribute();
            ValueStr.append(value.data(), value.size());
            AttributeStr.append(attribute.data(), attribute.size());
            found = true;
        }
        return found;
    }

    INode* CNodeImpl::GetAlias() const
    {
        AutoLock lock(m_pMap->GetLock());
        return m_pExtras ? m_pExtras->pAlias : nullptr;
    }

    INode* CNodeImpl::GetCastAlias() const
    {
        AutoLock lock(m_pMap->GetLock());
        return m_pExtras ? m_pExtras->pCastAlias : nullptr;
    }
    gcstring CNodeImpl::GetDocuURL() const { return PropertyText("DocuURL"); }
    bool CNodeImpl::IsDeprecated() const { return m_IsDeprecated; }
    EInterfaceType CNodeImpl::GetPrincipalInterfaceType() const { return intfIBase; }
    bool CNodeImpl::IsFeature() const { return m_IsFeature; }

    // ---------------------------------------------------------------- values of Integer and Float nodes

    template <class T>
    T CValueBase<T>::CachedGetValue(bool Verify, bool IgnoreCache)
    {
        COperation op(m_pMap);
        CheckReadable();
        if (!Verify && !IgnoreCache && m_ValueCacheValid)
            return m_Cache;
        CEvalGuard guard(this, aspValue);
        const T value = ReadValue(Verify, IgnoreCache);
        if (Verify)
            CheckRange(value);
        if (m_CachingMode != NoCache)
        {
            m_Cache = value;
            m_ValueCacheValid = true;
        }
        return value;
    }

    template <class T>
    void CValueBase<T>::CachedSetValue(T Value, bool Verify)
    {
        COperation op(m_pMap);
        CEvalGuard guard(this, aspValue);
        if (Verify)
        {
            CheckWritable();
            CheckRange(Value);
        }
        m_ValueCacheValid = false;
        WriteValue(Value, Verify);
        m_pMap->NotifyChanged(this);
        if (m_CachingMode == WriteThrough && CacheWrittenValue())
        {
            m_Cache = Value;
            m_ValueCacheValid = true;
        }
        CheckError();
    }

    template <class T>
    void CValueBase<T>::SetupRangeAndUnit()
    {
        detail::ValueRange<T> range;
        range.pMin = Link("pMin");
        range.pMax = Link("pMax");
        range.pInc = Link("pInc");
        range.HasMin = HasProperty("Min");
        range.HasMax = HasProperty("Max");
        range.HasInc = HasProperty("Inc");
        if (range.HasMin)
            range.Min = ValueNodeTraits<T>::Property(this, "Min");
        if (range.HasMax)
            range.Max = ValueNodeTraits<T>::Property(this, "Max");
        if (range.HasInc)
            range.Inc = ValueNodeTraits<T>::Property(this, "Inc");
        // Most nodes have no range of their own: they share the default one
        if (!range.IsDefault())
            WritableRange() = std::move(range);
        m_HasUnit = HasProperty("Unit");
        if (const std::optional<detail::Property> p = FindProperty("Unit"))
            m_Unit = p->Text;
    }

    template <class T>
    T CValueBase<T>::RangeBound(bool Upper)
    {
        COperation op(m_pMap);
        if (!IsAvailable(GetAccessMode()))
            throw ACCESS_EXCEPTION("Node '%s' is not available, so it has no %s", m_Name, Upper ? "maximum" : "minimum");
        CEvalGuard guard(this, Upper ? aspMax : aspMin);
        const detail::ValueRange<T>& range = Range();
        T bound;
        if (CNodeImpl* pBound = Upper ? range.pMax : range.pMin)
        {
            if constexpr (std::is_integral<T>::value)
                bound = pBound->InternalGetInt(false, false);
            else
                bound = pBound->InternalGetFloat(false, false);
        }
        else if (Upper ? range.HasMax : range.HasMin)
            bound = Upper ? range.Max : range.Min;
        else
            bound = Upper ? NaturalMax() : NaturalMin();
        const detail::ValueLimits<T>& limits = range.Limits();
        return Upper ? std::min(bound, limits.ImposedMax) : std::max(bound, limits.ImposedMin);
    }

    template class CValueBase<int64_t>;
    template class CValueBase<double>;

    // ---------------------------------------------------------------- selectors

    bool CNodeImpl::IsSelector() const { return !LinkList(detail::lkSelected).empty(); }

    void CNodeImpl::GetSelectedFeatures(FeatureList_t& Features) const
    {
        COperation op(m_pMap);
        Features.clear();
        for (CNodeImpl* p : LinkList(detail::lkSelected))
            if (IValue* v = dynamic_cast<IValue*>(p))
                Features.push_back(v);
    }

    void CNodeImpl::GetSelectingFeatures(FeatureList_t& Features) const
    {
        COperation op(m_pMap);
        Features.clear();
        for (CNodeImpl* p : LinkList(detail::lkSelecting))
            if (IValue* v = dynamic_cast<IValue*>(p))
                Features.push_back(v);
    }

    // ---------------------------------------------------------------- callbacks

    CallbackHandleType CNodeImpl::RegisterCallback(CNodeCallback* pCallback)
    {
        CHECK_NULL_ARGUMENT(pCallback);
        AutoLock lock(m_pMap->GetLock());
        std::unique_ptr<detail::CallbackList>& pCallbacks = Extras().pCallbacks;
        if (!pCallbacks)
            pCallbacks.reset(new detail::CallbackList);
        std::vector<CNodeCallback*>& list = pCallbacks->List;
        if (pCallbacks->Holes && m_pMap->m_InsideFiring == 0 && m_pMap->m_OutsideFiring == 0)
        {
            list.erase(std::remove(list.begin(), list.end(), nullptr), list.end());
            pCallbacks->Holes = 0;
        }
        list.push_back(pCallback);
        return reinterpret_cast<CallbackHandleType>(pCallback);
    }

    bool CNodeImpl::DeregisterCallback(CallbackHandleType hCallback)
    {
        CNodeCallback* pCallback = reinterpret_cast<CNodeCallback*>(hCallback);
        if (!pCallback)
            return false;
        bool insideOperation = false;
        {
            AutoLock lock(m_pMap->GetLock());
            detail::CallbackList* pCallbacks = Callbacks();
            if (!pCallbacks)
                return false;
            std::vector<CNodeCallback*>& list = pCallbacks->List;
            auto it = std::find(list.begin(), list.end(), pCallback);
            if (it == list.end())
                return false;
            // Leave a hole rather than shifting: a dispatch may be walking the list by index
            *it = nullptr;
            ++pCallbacks->Holes;
            insideOperation = m_pMap->InOperation();
        }
        // Out of the list, no dispatch picks it up any more; one that already did, on another
        // thread outside the lock, must return before the callback goes. From inside an
        // operation this thread holds the lock, which that callback may be waiting for.
        if (!insideOperation)
            m_pMap->WaitForCallOutsideLock(pCallback);
        pCallback->Destroy();
        return true;
    }

    void CNodeImpl::FireCallbacks(ECallbackType Type, bool Swallow)
    {
        if (!Callbacks())
            return;
        ++m_pMap->m_InsideFiring;
        try
        {
            // By index: a callback may register another one on this node
            for (size_t i = 0; i < Callbacks()->List.size(); ++i)
            {
                CNodeCallback* p = Callbacks()->List[i];
                if (!p)
                    continue;
                if (Swallow)
                {
                    try
                    {
                        (*p)(Type);
                    }
                    catch (...)
                    {
                    }
                }
                else
                    (*p)(Type);
            }
        }
        catch (...)
        {
            --m_pMap->m_InsideFiring;
            throw;
        }
        --m_pMap->m_InsideFiring;
    }

    void CNodeImpl::FireCallbacksOutsideLock(bool Swallow)
    {
        for (size_t i = 0;; ++i)
        {
            CNodeCallback* p = nullptr;
            {
                AutoLock lock(m_pMap->GetLock());
                const detail::CallbackList* pCallbacks = Callbacks();
                if (!pCallbacks || i >= pCallbacks->List.size())
                    break;
                p = pCallbacks->List[i];
                if (p)
                    m_pMap->BeginCallOutsideLock(p);
            }
            if (!p)
                continue;
            // Marks the call as returned however it ends
            struct CallEnd
            {
                CNodeMapImpl* pMap;
                CNodeCallback* pCallback;
                ~CallEnd() { pMap->EndCallOutsideLock(pCallback); }
            } callEnd{m_pMap, p};
            if (Swallow)
            {
                try
                {
                    (*p)(cbPostOutsideLock);
                }
                catch (...)
                {
                }
            }
            else
                (*p)(cbPostOutsideLock);
        }
    }
}
