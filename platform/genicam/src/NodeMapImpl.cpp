// The node map: loading a description, the dependency graph, polling and callback dispatch.

#include "NodeMapImpl.h"

#include <pugixml.hpp>

#include <algorithm>
#include <cstring>

namespace GenApi
{
    namespace
    {
        struct KindName
        {
            const char* Element;
            detail::ENodeKind Kind;
        };

        // Element names of node types. Legacy 1394 forms map to the node they behave like.
        const KindName kNodeElements[] = {
            {"Node", detail::ENodeKind::Node},
            {"Category", detail::ENodeKind::Category},
            {"Integer", detail::ENodeKind::Integer},
            {"IntReg", detail::ENodeKind::IntReg},
            {"MaskedIntReg", detail::ENodeKind::MaskedIntReg},
            {"IntConverter", detail::ENodeKind::IntConverter},
            {"IntSwissKnife", detail::ENodeKind::IntSwissKnife},
            {"Float", detail::ENodeKind::Float},
            {"FloatReg", detail::ENodeKind::FloatReg},
            {"Converter", detail::ENodeKind::Converter},
            {"SwissKnife", detail::ENodeKind::SwissKnife},
            {"Enumeration", detail::ENodeKind::Enumeration},
            {"Boolean", detail::ENodeKind::Boolean},
            {"Command", detail::ENodeKind::Command},
            {"String", detail::ENodeKind::String},
            {"StringReg", detail::ENodeKind::StringReg},
            {"Register", detail::ENodeKind::Register},
            {"Port", detail::ENodeKind::Port},
            {"ConfRom", detail::ENodeKind::Register},
            {"SmartFeature", detail::ENodeKind::Register},
            {"TextDesc", detail::ENodeKind::StringReg},
            {"IntKey", detail::ENodeKind::IntReg},
            {"AdvFeatureLock", detail::ENodeKind::IntReg},
        };

        bool NodeKindOf(const char* Element, detail::ENodeKind& Kind)
        {
            for (const KindName& k : kNodeElements)
            {
                if (std::strcmp(k.Element, Element) == 0)
                {
                    Kind = k.Kind;
                    return true;
                }
            }
            return false;
        }

        // How a reference takes part in the dependency graph
        enum class ELinkClass
        {
            Value,        // writing, reading and invalidating
            Reading,      // reading and invalidating
            Invalidating, // invalidating only
            None
        };

        ELinkClass LinkClassOf(const char* Name)
        {
            static const char* const value[] = {"pValue", "pValueCopy", "pValueIndexed", "pValueDefault"};
            static const char* const reading[] = {"pIsAvailable", "pIsImplemented", "pIsLocked", "pError", "pMin",
                                                  "pMax", "pInc", "pCommandValue", "pVariable", "pLength",
                                                  "pAddress", "pIndex", "pPort", "pChunkID", "pBlockPolling",
                                                  "pOffset", "pFeature"};
            for (const char* n : value)
                if (std::strcmp(n, Name) == 0)
                    return ELinkClass::Value;
            for (const char* n : reading)
                if (std::strcmp(n, Name) == 0)
                    return ELinkClass::Reading;
            if (std::strcmp(Name, "pInvalidator") == 0)
                return ELinkClass::Invalidating;
            return ELinkClass::None;
        }

        // References whose targets carry the node's value (for the caching mode)
        bool IsValueCarrying(const char* Name)
        {
            static const char* const names[] = {"pValue", "pValueCopy", "pValueIndexed", "pValueDefault",
                                                "pVariable", "pIndex", "pAddress", "pLength", "pOffset"};
            for (const char* n : names)
                if (std::strcmp(n, Name) == 0)
                    return true;
            return false;
        }

        // References that decide the access mode
        bool IsAccessDeciding(const char* Name)
        {
            static const char* const names[] = {"pIsAvailable", "pIsImplemented", "pIsLocked", "pValue", "pPort"};
            for (const char* n : names)
                if (std::strcmp(n, Name) == 0)
                    return true;
            return false;
        }
    }

    // ================================================================ construction

    CNodeMapImpl::CNodeMapImpl(const std::string& DeviceName) : m_DeviceName(DeviceName) {}

    CNodeMapImpl::~CNodeMapImpl()
    {
        AutoLock lock(m_Lock);
        // Every callback still registered learns that its node goes away, exactly once
        for (auto& p : m_Nodes)
            p->DestroyCallbacks();
        m_Nodes.clear();
    }

    const char* CNodeMapImpl::Intern(std::string_view Name)
    {
        // The text pool stores equal texts once, so it interns names too
        if (Name.empty())
            return "";
        return StoreText(Name).data();
    }

    std::string_view CNodeMapImpl::StoreText(std::string_view Text)
    {
        if (Text.empty())
            return std::string_view();
        // Descriptions repeat the same short values thousands of times (RW, Device, ...)
        auto known = m_StoredTexts.find(Text);
        if (known != m_StoredTexts.end())
            return *known;
        const size_t needed = Text.size() + 1;
        if (m_TextBlocks.empty() || m_TextBlockUsed + needed > m_TextBlockSize)
        {
            const size_t blockSize = std::max<size_t>(needed, 64 * 1024);
            m_TextBlocks.emplace_back(new char[blockSize]);
            m_TextBlockSize = blockSize;
            m_TextBlockUsed = 0;
        }
        char* p = m_TextBlocks.back().get() + m_TextBlockUsed;
        std::memcpy(p, Text.data(), Text.size());
        p[Text.size()] = '\0';
        m_TextBlockUsed += needed;
        const std::string_view stored(p, Text.size());
        m_StoredTexts.insert(stored);
        return stored;
    }

    CNodeImpl* CNodeMapImpl::FindNode(std::string_view Name) const
    {
        auto it = m_ByName.find(Name);
        return it == m_ByName.end() ? nullptr : it->second;
    }

    CNodeImpl* CNodeMapImpl::Resolve(const CNodeImpl* pFrom, const char* Property, std::string_view Target) const
    {
        CNodeImpl* p = FindNode(Target);
        if (!p)
            throw RUNTIME_EXCEPTION("Node '%s' refers through %s to node '%s', which does not exist",
                                    pFrom->Name().c_str(), Property, std::string(Target).c_str());
        return p;
    }

    CNodeImpl* CNodeMapImpl::CreateNode(const char* ElementName)
    {
        detail::ENodeKind kind;
        if (!NodeKindOf(ElementName, kind))
            return nullptr;
        switch (kind)
        {
        case detail::ENodeKind::Category: return new CCategoryNode(this);
        case detail::ENodeKind::Integer: return new CIntegerNode(this);
        case detail::ENodeKind::IntReg: return new CIntRegNode(this);
        case detail::ENodeKind::MaskedIntReg: return new CMaskedIntRegNode(this);
        case detail::ENodeKind::IntConverter: return new CIntConverterNode(this);
        case detail::ENodeKind::IntSwissKnife: return new CIntSwissKnifeNode(this);
        case detail::ENodeKind::Float: return new CFloatNode(this);
        case detail::ENodeKind::FloatReg: return new CFloatRegNode(this);
        case detail::ENodeKind::Converter: return new CConverterNode(this);
        case detail::ENodeKind::SwissKnife: return new CSwissKnifeNode(this);
        case detail::ENodeKind::Enumeration: return new CEnumerationNode(this);
        case detail::ENodeKind::EnumEntry: return new CEnumEntryNode(this);
        case detail::ENodeKind::Boolean: return new CBooleanNode(this);
        case detail::ENodeKind::Command: return new CCommandNode(this);
        case detail::ENodeKind::String: return new CStringNode(this, detail::ENodeKind::String);
        case detail::ENodeKind::StringReg: return new CStringNode(this, detail::ENodeKind::StringReg);
        case detail::ENodeKind::Register: return new CRegisterNode(this);
        case detail::ENodeKind::Port: return new CPortNode(this);
        case detail::ENodeKind::Node: return new CPlainNode(this);
        }
        return nullptr;
    }

    // ================================================================ loading

    void CNodeMapImpl::Load(const char* pData, size_t Size)
    {
        AutoLock lock(m_Lock);
        if (m_Loaded)
            throw RUNTIME_EXCEPTION("A description is already loaded into this node map");
        if (!pData)
            throw INVALID_ARGUMENT_EXCEPTION("No description data");

        // A dump header or a byte-order mark may precede the first '<'
        size_t start = 0;
        while (start < Size && pData[start] != '<')
            ++start;
        if (start == Size)
            throw RUNTIME_EXCEPTION("The description contains no XML (no '<' in %zu bytes)", Size);

        pugi::xml_document doc;
        const pugi::xml_parse_result result =
            doc.load_buffer(pData + start, Size - start, pugi::parse_default, pugi::encoding_utf8);
        if (!result)
        {
            const size_t offset = start + static_cast<size_t>(result.offset);
            size_t line = 1, column = 1;
            for (size_t i = 0; i < offset && i < Size; ++i)
            {
                if (pData[i] == '\n')
                {
                    ++line;
                    column = 1;
                }
                else
                    ++column;
            }
            throw RUNTIME_EXCEPTION("Malformed description: %s at line %zu, column %zu (offset %zu)",
                                    result.description(), line, column, offset);
        }
        pugi::xml_node root = doc.document_element();
        if (std::strcmp(root.name(), "RegisterDescription") != 0)
            throw RUNTIME_EXCEPTION("The description's root element is <%s>, not <RegisterDescription>", root.name());

        m_ModelName = root.attribute("ModelName").value();
        m_VendorName = root.attribute("VendorName").value();
        m_ToolTip = root.attribute("ToolTip").value();
        m_StandardNameSpace = root.attribute("StandardNameSpace").value();
        m_ProductGuid = root.attribute("ProductGuid").value();
        m_VersionGuid = root.attribute("VersionGuid").value();
        m_SchemaVersion.Major = static_cast<uint16_t>(root.attribute("SchemaMajorVersion").as_uint());
        m_SchemaVersion.Minor = static_cast<uint16_t>(root.attribute("SchemaMinorVersion").as_uint());
        m_SchemaVersion.SubMinor = static_cast<uint16_t>(root.attribute("SchemaSubMinorVersion").as_uint());
        m_DeviceVersion.Major = static_cast<uint16_t>(root.attribute("MajorVersion").as_uint());
        m_DeviceVersion.Minor = static_cast<uint16_t>(root.attribute("MinorVersion").as_uint());
        m_DeviceVersion.SubMinor = static_cast<uint16_t>(root.attribute("SubMinorVersion").as_uint());

        try
        {
            BuildNodes(&root);
            // Every text the nodes need is in the text pool now: the document goes before the
            // graph is built, which lowers the peak memory of a load
            root = pugi::xml_node();
            doc.reset();
            for (auto& p : m_Nodes)
                p->Setup();
            FinishLoad();
        }
        catch (...)
        {
            for (auto& p : m_Nodes)
                p->DestroyCallbacks();
            m_Nodes.clear();
            m_ByName.clear();
            m_PolledNodes.clear();
            m_StructGroups.clear();
            throw;
        }
        m_Loaded = true;
        std::unordered_set<std::string_view>().swap(m_StoredTexts);
    }

    void CNodeMapImpl::BuildNodes(void* pParent)
    {
        pugi::xml_node& parent = *static_cast<pugi::xml_node*>(pParent);
        struct DepthGuard
        {
            int& depth;
            explicit DepthGuard(int& d) : depth(d) { ++depth; }
            ~DepthGuard() { --depth; }
        } guard(m_GroupDepth);
        if (m_GroupDepth > 64)
            throw RUNTIME_EXCEPTION("Groups are nested more than 64 levels deep (offset %td)", parent.offset_debug());
        for (pugi::xml_node child = parent.first_child(); child; child = child.next_sibling())
        {
            if (child.type() != pugi::node_element)
                continue;
            const char* name = child.name();
            if (std::strcmp(name, "Group") == 0)
            {
                // Groups only organise the file; their children are ordinary nodes
                BuildNodes(&child);
            }
            else if (std::strcmp(name, "StructReg") == 0)
            {
                std::vector<CNodeImpl*> group;
                for (pugi::xml_node entry = child.child("StructEntry"); entry;
                     entry = entry.next_sibling("StructEntry"))
                {
                    BuildNode(&entry, nullptr, &child);
                    group.push_back(m_Nodes.back().get());
                }
                if (group.size() > 1)
                    m_StructGroups.emplace_back(nullptr, std::move(group));
            }
            else
            {
                detail::ENodeKind kind;
                if (NodeKindOf(name, kind))
                    BuildNode(&child, nullptr, nullptr);
                // Anything else at this level (Extension, comments of tools) is ignored
            }
        }
    }

    void CNodeMapImpl::AddProperties(CNodeImpl* pNode, void* pElement, bool SkipNodeChildren)
    {
        pugi::xml_node& element = *static_cast<pugi::xml_node*>(pElement);
        for (pugi::xml_node child = element.first_child(); child; child = child.next_sibling())
        {
            if (child.type() != pugi::node_element)
                continue;
            const char* name = child.name();
            if (std::strcmp(name, "Extension") == 0)
                continue;
            if (SkipNodeChildren
                && (std::strcmp(name, "EnumEntry") == 0 || std::strcmp(name, "StructEntry") == 0
                    || std::strcmp(name, "IntSwissKnife") == 0))
                continue;
            pNode->AddProperty(Intern(name), child.child_value(), child.first_attribute().value());
        }
    }

    void CNodeMapImpl::BuildNode(void* pElementVoid, CNodeImpl* pParentEnum, void* pInheritedVoid)
    {
        pugi::xml_node& element = *static_cast<pugi::xml_node*>(pElementVoid);
        const char* elementName = element.name();
        std::unique_ptr<CNodeImpl> node;
        if (pParentEnum)
            node.reset(new CEnumEntryNode(this));
        else if (pInheritedVoid)
            node.reset(new CMaskedIntRegNode(this));
        else
            node.reset(CreateNode(elementName));
        if (!node)
            return;

        std::string name = element.attribute("Name").value();
        if (name.empty())
        {
            if (pParentEnum)
                throw RUNTIME_EXCEPTION("An entry of enumeration '%s' has no Name", pParentEnum->Name().c_str());
            throw RUNTIME_EXCEPTION("A <%s> element (offset %td) has no Name", elementName, element.offset_debug());
        }
        if (pParentEnum)
        {
            static_cast<CEnumEntryNode*>(node.get())->m_Symbolic = name;
            name = "EnumEntry_" + pParentEnum->Name() + "_" + name;
        }
        node->m_Name = name;
        for (pugi::xml_attribute a = element.first_attribute(); a; a = a.next_attribute())
            node->AddProperty(Intern(a.name()), a.value(), std::string_view());

        AddProperties(node.get(), &element, true);
        if (pInheritedVoid)
        {
            // A StructEntry takes every element of its StructReg that it does not give itself
            pugi::xml_node& structReg = *static_cast<pugi::xml_node*>(pInheritedVoid);
            for (pugi::xml_node child = structReg.first_child(); child; child = child.next_sibling())
            {
                if (child.type() != pugi::node_element || std::strcmp(child.name(), "StructEntry") == 0
                    || std::strcmp(child.name(), "Extension") == 0)
                    continue;
                if (element.child(child.name()))
                    continue;
                node->AddProperty(Intern(child.name()), child.child_value(), child.first_attribute().value());
            }
        }

        CNodeImpl* pNode = node.get();
        if (!m_ByName.emplace(std::string_view(pNode->m_Name), pNode).second)
            throw RUNTIME_EXCEPTION("Node '%s' is defined more than once", name.c_str());
        m_Nodes.push_back(std::move(node));

        // Nodes inside this one: enumeration entries, address formulas of registers
        for (pugi::xml_node child = element.first_child(); child; child = child.next_sibling())
        {
            if (child.type() != pugi::node_element)
                continue;
            if (std::strcmp(child.name(), "EnumEntry") == 0 && pNode->Kind() == detail::ENodeKind::Enumeration)
            {
                BuildNode(&child, pNode, nullptr);
                CEnumEntryNode* pEntry = static_cast<CEnumEntryNode*>(m_Nodes.back().get());
                static_cast<CEnumerationNode*>(pNode)->m_Entries.push_back(pEntry);
                pNode->AddProperty(Intern("pEnumEntry"), pEntry->Name(), std::string_view());
            }
            else if (std::strcmp(child.name(), "IntSwissKnife") == 0)
            {
                if (!child.attribute("Name"))
                    child.append_attribute("Name") =
                        (name + "_Address" + std::to_string(++m_AnonymousCount)).c_str();
                BuildNode(&child, nullptr, nullptr);
                pNode->AddProperty(Intern("pAddress"), m_Nodes.back()->Name(), std::string_view());
            }
        }
    }

    void CNodeMapImpl::ComputeCaching(CNodeImpl* pStart)
    {
        // Depth-first, children before parents, with an explicit stack: a description may
        // chain thousands of nodes, which must not become thousands of stack frames
        if (pStart->m_CachingState != 0)
            return;
        std::vector<std::pair<CNodeImpl*, size_t>> stack;
        stack.emplace_back(pStart, 0);
        pStart->m_CachingState = 1;
        while (!stack.empty())
        {
            CNodeImpl* pNode = stack.back().first;
            size_t& next = stack.back().second;
            if (next < pNode->m_ValueChildren.size())
            {
                CNodeImpl* pChild = pNode->m_ValueChildren[next++];
                if (pChild->m_CachingState == 0)
                {
                    pChild->m_CachingState = 1;
                    stack.emplace_back(pChild, 0);
                }
                // state 1 is a cycle: the mode found so far stands
                continue;
            }
            ECachingMode mode = pNode->OwnCachingMode();
            for (CNodeImpl* pChild : pNode->m_ValueChildren)
            {
                if (pChild->m_CachingState != 2)
                    continue;
                const ECachingMode child = pChild->m_CachingMode;
                if (child == NoCache || mode == NoCache)
                    mode = NoCache;
                else if (child == WriteAround || mode == WriteAround)
                    mode = WriteAround;
            }
            pNode->m_CachingMode = mode;
            pNode->m_CachingState = 2;
            stack.pop_back();
        }
    }

    bool CNodeMapImpl::ReachesNoCache(CNodeImpl* pStart, std::vector<uint8_t>& State)
    {
        // State per node index: 0 unknown, 1 in progress, 2 no, 3 yes. Iterative, as above.
        auto index = [](CNodeImpl* p) { return static_cast<size_t>(p->m_VisitMark); };
        if (State[index(pStart)] >= 2)
            return State[index(pStart)] == 3;
        if (State[index(pStart)] == 1)
            return false;
        std::vector<std::pair<CNodeImpl*, size_t>> stack;
        stack.emplace_back(pStart, 0);
        State[index(pStart)] = 1;
        while (!stack.empty())
        {
            CNodeImpl* pNode = stack.back().first;
            size_t& next = stack.back().second;
            if (pNode->m_CachingMode == NoCache)
            {
                State[index(pNode)] = 3;
                stack.pop_back();
                continue;
            }
            const std::vector<CNodeImpl*>& children = pNode->ReadingChildren();
            if (next < children.size())
            {
                CNodeImpl* pChild = children[next++];
                if (State[index(pChild)] == 0)
                {
                    State[index(pChild)] = 1;
                    stack.emplace_back(pChild, 0);
                }
                continue;
            }
            bool reaches = false;
            for (CNodeImpl* pChild : children)
                if (State[index(pChild)] == 3)
                    reaches = true;
            State[index(pNode)] = reaches ? 3 : 2;
            stack.pop_back();
        }
        return State[index(pStart)] == 3;
    }

    void CNodeMapImpl::FinishLoad()
    {
        // Dependency graph, built once
        for (auto& up : m_Nodes)
        {
            CNodeImpl* pNode = up.get();
            for (const detail::Property& p : pNode->m_Properties)
            {
                if (p.Name[0] != 'p')
                    continue;
                const ELinkClass cls = LinkClassOf(p.Name);
                if (cls == ELinkClass::None)
                    continue;
                CNodeImpl* pTarget = Resolve(pNode, p.Name, p.Value);
                switch (cls)
                {
                case ELinkClass::Value:
                    pNode->m_ValueChildren.push_back(pTarget);
                    pNode->AddWritingChild(pTarget);
                    pNode->AddReadingChild(pTarget);
                    pTarget->AddDependent(pNode);
                    break;
                case ELinkClass::Reading:
                    if (IsValueCarrying(p.Name))
                        pNode->m_ValueChildren.push_back(pTarget);
                    pNode->AddReadingChild(pTarget);
                    pTarget->AddDependent(pNode);
                    break;
                case ELinkClass::Invalidating:
                    pNode->AddInvalidator(pTarget);
                    pTarget->AddDependent(pNode);
                    break;
                case ELinkClass::None:
                    break;
                }
            }
            // A selector's change invalidates what it selects
            for (CNodeImpl* pSelected : pNode->m_Selected)
                pNode->AddDependent(pSelected);
            // An entry's availability is part of its enumeration's state
            if (pNode->Kind() == detail::ENodeKind::Enumeration)
                for (CEnumEntryNode* pEntry : static_cast<CEnumerationNode*>(pNode)->m_Entries)
                    pEntry->AddDependent(pNode);
        }
        // Bit fields of one register change together
        for (auto& group : m_StructGroups)
            for (CNodeImpl* a : group.second)
                for (CNodeImpl* b : group.second)
                    a->AddDependent(b);
        m_StructGroups.clear();
        for (auto& up : m_Nodes)
            up->RemoveDuplicateLinks(m_VisitEpoch);

        for (auto& up : m_Nodes)
            ComputeCaching(up.get());

        // The access mode may be cached unless something deciding it is never cached
        for (size_t i = 0; i < m_Nodes.size(); ++i)
            m_Nodes[i]->m_VisitMark = static_cast<uint32_t>(i);
        std::vector<uint8_t> state(m_Nodes.size(), 0);
        for (auto& up : m_Nodes)
        {
            CNodeImpl* pNode = up.get();
            pNode->m_AccessModeCacheable = Yes;
            for (const detail::Property& p : pNode->m_Properties)
            {
                if (p.Name[0] != 'p' || !IsAccessDeciding(p.Name))
                    continue;
                CNodeImpl* pTarget = FindNode(p.Value);
                if (pTarget && ReachesNoCache(pTarget, state))
                {
                    pNode->m_AccessModeCacheable = No;
                    break;
                }
            }
        }
        for (auto& up : m_Nodes)
            up->m_VisitMark = 0;

        // Features: everything reachable through categories from Root
        if (CNodeImpl* pRoot = FindNode("Root"))
        {
            std::vector<CNodeImpl*> todo(1, pRoot);
            pRoot->m_IsFeature = true;
            while (!todo.empty())
            {
                CNodeImpl* p = todo.back();
                todo.pop_back();
                if (p->Kind() != detail::ENodeKind::Category)
                    continue;
                for (CNodeImpl* f : static_cast<CCategoryNode*>(p)->m_Features)
                {
                    if (!f->m_IsFeature)
                    {
                        f->m_IsFeature = true;
                        todo.push_back(f);
                    }
                }
            }
        }

        for (auto& up : m_Nodes)
        {
            up->Finish();
            up->Compact();
            if (up->m_PollingTime > 0)
                m_PolledNodes.push_back(up.get());
        }
    }

    // ================================================================ invalidation and callbacks

    void CNodeMapImpl::NotifyChanged(CNodeImpl* pNode, bool Downward)
    {
        if (++m_VisitEpoch == 0)
        {
            for (auto& up : m_Nodes)
                up->m_VisitMark = 0;
            m_VisitEpoch = 1;
        }
        std::vector<CNodeImpl*> queue;
        queue.reserve(16);
        queue.push_back(pNode);
        pNode->m_VisitMark = m_VisitEpoch;
        if (Downward)
        {
            // The nodes the value comes from lose their cached values too; everything that
            // depends on them is then reached by the walk upwards below
            for (size_t i = 0; i < queue.size(); ++i)
            {
                for (CNodeImpl* c : queue[i]->m_ValueChildren)
                {
                    if (c->m_VisitMark != m_VisitEpoch)
                    {
                        c->m_VisitMark = m_VisitEpoch;
                        queue.push_back(c);
                    }
                }
            }
        }
        for (size_t i = 0; i < queue.size(); ++i)
        {
            CNodeImpl* p = queue[i];
            p->ClearCaches();
            if (p->m_CollectMark != m_CollectEpoch && p->HasCallbacks())
            {
                p->m_CollectMark = m_CollectEpoch;
                m_Pending.push_back(p);
            }
            for (CNodeImpl* d : p->Dependents())
            {
                if (d->m_VisitMark != m_VisitEpoch)
                {
                    d->m_VisitMark = m_VisitEpoch;
                    queue.push_back(d);
                }
            }
        }
    }

    void CNodeMapImpl::ClearCachesFrom(CNodeImpl* pNode)
    {
        if (++m_VisitEpoch == 0)
        {
            for (auto& up : m_Nodes)
                up->m_VisitMark = 0;
            m_VisitEpoch = 1;
        }
        std::vector<CNodeImpl*> queue(1, pNode);
        pNode->m_VisitMark = m_VisitEpoch;
        for (size_t i = 0; i < queue.size(); ++i)
        {
            queue[i]->ClearCaches();
            for (CNodeImpl* d : queue[i]->Dependents())
            {
                if (d->m_VisitMark != m_VisitEpoch)
                {
                    d->m_VisitMark = m_VisitEpoch;
                    queue.push_back(d);
                }
            }
        }
    }

    void CNodeMapImpl::FinishOperation(bool Unwinding)
    {
        // The outermost operation ends: first the callbacks inside the lock (they may change
        // more nodes, whose callbacks join the queue), then, after the lock is released, the
        // callbacks outside it.
        std::vector<CNodeImpl*> fired;
        try
        {
            while (!m_Pending.empty())
            {
                std::vector<CNodeImpl*> batch;
                batch.swap(m_Pending);
                ++m_CollectEpoch;
                for (CNodeImpl* p : batch)
                    p->FireCallbacks(cbPostInsideLock, Unwinding);
                fired.insert(fired.end(), batch.begin(), batch.end());
            }
        }
        catch (...)
        {
            m_Pending.clear();
            --m_OpDepth;
            m_Lock.Unlock();
            throw;
        }
        --m_OpDepth;
        ++m_OutsideFiring;
        m_Lock.Unlock();
        try
        {
            for (CNodeImpl* p : fired)
                p->FireCallbacksOutsideLock(Unwinding);
        }
        catch (...)
        {
            AutoLock lock(m_Lock);
            --m_OutsideFiring;
            throw;
        }
        AutoLock lock(m_Lock);
        --m_OutsideFiring;
    }

    // ================================================================ INodeMap

    void CNodeMapImpl::GetNodes(NodeList_t& Nodes) const
    {
        AutoLock lock(m_Lock);
        Nodes.clear();
        Nodes.reserve(m_Nodes.size());
        for (const auto& up : m_Nodes)
            Nodes.push_back(up.get());
    }

    INode* CNodeMapImpl::GetNode(const gcstring& Name) const
    {
        AutoLock lock(m_Lock);
        return FindNode(Name);
    }

    void CNodeMapImpl::InvalidateNodes() const
    {
        CNodeMapImpl* self = const_cast<CNodeMapImpl*>(this);
        COperation op(self);
        for (const auto& up : m_Nodes)
        {
            CNodeImpl* p = up.get();
            p->ClearCaches();
            if (p->m_CollectMark != m_CollectEpoch && p->HasCallbacks())
            {
                p->m_CollectMark = m_CollectEpoch;
                self->m_Pending.push_back(p);
            }
        }
    }

    bool CNodeMapImpl::Connect(IPort* pPort, const gcstring& PortName) const
    {
        COperation op(const_cast<CNodeMapImpl*>(this));
        CNodeImpl* p = FindNode(PortName);
        if (!p || p->Kind() != detail::ENodeKind::Port)
            return false;
        static_cast<CPortNode*>(p)->Connect(pPort);
        // Access modes and values of everything behind the port change with it
        for (const auto& up : m_Nodes)
            up->ClearCaches();
        return true;
    }

    bool CNodeMapImpl::Connect(IPort* pPort) const { return Connect(pPort, "Device"); }

    gcstring CNodeMapImpl::GetDeviceName() { return m_DeviceName; }

    void CNodeMapImpl::Poll(int64_t ElapsedTime)
    {
        COperation op(this);
        for (CNodeImpl* p : m_PolledNodes)
        {
            try
            {
                if (!p->IsPollingActive())
                    continue;
                p->m_PollElapsed += ElapsedTime;
                if (p->m_PollElapsed < p->m_PollingTime)
                    continue;
                p->m_PollElapsed = 0;
                if (p->m_pBlockPolling && CNodeImpl::ReadBool(p->m_pBlockPolling))
                    continue;
                NotifyChanged(p, true);
            }
            catch (const GenICam::GenericException&)
            {
                // A node that cannot be polled must not keep the others from it
            }
        }
    }

    CLock& CNodeMapImpl::GetLock() const { return m_Lock; }
    uint64_t CNodeMapImpl::GetNumNodes() const { return m_Nodes.size(); }

    // ================================================================ IDeviceInfo

    gcstring CNodeMapImpl::GetModelName() { return m_ModelName; }
    gcstring CNodeMapImpl::GetVendorName() { return m_VendorName; }
    gcstring CNodeMapImpl::GetToolTip() { return m_ToolTip; }
    gcstring CNodeMapImpl::GetStandardNameSpace() { return m_StandardNameSpace; }

    void CNodeMapImpl::GetGenApiVersion(Version_t& Version, uint16_t& Build)
    {
        Version.Major = 3;
        Version.Minor = 1;
        Version.SubMinor = 0;
        Build = 0;
    }

    void CNodeMapImpl::GetSchemaVersion(Version_t& Version) { Version = m_SchemaVersion; }
    void CNodeMapImpl::GetDeviceVersion(Version_t& Version) { Version = m_DeviceVersion; }
    gcstring CNodeMapImpl::GetProductGuid() { return m_ProductGuid; }
    gcstring CNodeMapImpl::GetVersionGuid() { return m_VersionGuid; }
}
