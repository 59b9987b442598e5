// The node map: loading a description, the dependency graph, polling and callback dispatch.

#include "NodeMapImpl.h"

#include <pugixml.hpp>

#include <algorithm>
#include <cstring>
#include <unordered_map>

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

    void* CNodeMapImpl::AllocateNode(size_t Size)
    {
        // Blocks grow with the description (a small one takes a few kB) up to a size whose unused
        // end costs little
        const size_t size = (Size + 7) & ~size_t(7);
        if (size > m_NodeLeft)
        {
            const size_t block = std::max(size, std::min<size_t>(std::max<size_t>(4096, m_NodeArenaSize), 32 * 1024));
            m_NodeBlocks.emplace_back(new std::max_align_t[(block + sizeof(std::max_align_t) - 1) / sizeof(std::max_align_t)]);
            m_NodeFree = reinterpret_cast<char*>(m_NodeBlocks.back().get());
            m_NodeLeft = block;
            m_NodeArenaSize += block;
        }
        void* p = m_NodeFree;
        m_NodeFree += size;
        m_NodeLeft -= size;
        return p;
    }

    const char* CNodeMapImpl::Intern(std::string_view Name)
    {
        // The text pool stores equal texts once, so it interns names too
        if (Name.empty())
            return "";
        return StoreProperty(Name, std::string_view());
    }

    const char* CNodeMapImpl::StoreProperty(std::string_view Value, std::string_view Attribute)
    {
        // Descriptions repeat the same short values thousands of times (RW, Device, ...)
        m_TextKey.assign(Value.data(), Value.size());
        m_TextKey.push_back('\0');
        m_TextKey.append(Attribute.data(), Attribute.size());
        const std::string_view key(m_TextKey);
        auto known = m_StoredTexts.find(key);
        if (known != m_StoredTexts.end())
            return known->data();
        const size_t needed = key.size() + 1;
        if (m_TextBlocks.empty() || m_TextBlocks.back().Used + needed > m_TextBlocks.back().Size)
        {
            const size_t blockSize = std::max(needed, m_TextBlockMinimum);
            m_TextBlocks.push_back(TextBlock{std::unique_ptr<char[]>(new char[blockSize]), blockSize, 0});
        }
        TextBlock& block = m_TextBlocks.back();
        char* p = block.Data.get() + block.Used;
        std::memcpy(p, key.data(), key.size());
        p[key.size()] = '\0';
        block.Used += needed;
        m_StoredTexts.insert(std::string_view(p, key.size()));
        return p;
    }

    void CNodeMapImpl::AddLoadProperty(const CNodeImpl* pNode, const detail::Property& Property)
    {
        if (m_LoadProperties.size() <= pNode->Index())
            m_LoadProperties.resize(pNode->Index() + 1);
        m_LoadProperties[pNode->Index()].push_back(Property);
    }

    namespace
    {
        size_t HashName(const char* p, size_t n)
        {
            // FNV-1a: names are short, and this runs for every lookup by name
            uint64_t h = 14695981039346656037ull;
            for (size_t i = 0; i < n; ++i)
                h = (h ^ static_cast<unsigned char>(p[i])) * 1099511628211ull;
            return static_cast<size_t>(h ^ (h >> 32));
        }
    }

    CNodeImpl* CNodeMapImpl::FindNode(std::string_view Name) const
    {
        if (m_NameTable.empty())
            return nullptr;
        const size_t mask = m_NameTable.size() - 1;
        for (size_t i = HashName(Name.data(), Name.size()) & mask;; i = (i + 1) & mask)
        {
            const uint32_t entry = m_NameTable[i];
            if (entry == 0)
                return nullptr;
            CNodeImpl* p = m_Nodes[entry - 1].get();
            const char* name = p->Name();
            if (name[0] == Name[0] && std::strncmp(name, Name.data(), Name.size()) == 0 && name[Name.size()] == '\0')
                return p;
        }
    }

    void CNodeMapImpl::RehashNames(size_t Capacity)
    {
        std::vector<uint32_t> table(Capacity, 0);
        const size_t mask = Capacity - 1;
        for (const auto& up : m_Nodes)
        {
            const char* name = up->Name();
            size_t i = HashName(name, std::strlen(name)) & mask;
            while (table[i] != 0)
                i = (i + 1) & mask;
            table[i] = up->Index() + 1;
        }
        m_NameTable.swap(table);
    }

    void CNodeMapImpl::AddName(CNodeImpl* pNode)
    {
        // pNode is the last of m_Nodes already
        if (m_Nodes.size() * 4 > m_NameTable.size() * 3)
        {
            RehashNames(std::max<size_t>(64, m_NameTable.size() * 2));
            return;
        }
        const size_t mask = m_NameTable.size() - 1;
        const char* name = pNode->Name();
        size_t i = HashName(name, std::strlen(name)) & mask;
        while (m_NameTable[i] != 0)
            i = (i + 1) & mask;
        m_NameTable[i] = pNode->Index() + 1;
    }

    CNodeImpl* CNodeMapImpl::Resolve(const CNodeImpl* pFrom, const char* Property, std::string_view Target) const
    {
        CNodeImpl* p = FindNode(Target);
        if (!p)
            throw RUNTIME_EXCEPTION("Node '%s' refers through %s to node '%s', which does not exist",
                                    pFrom->Name(), Property, std::string(Target).c_str());
        return p;
    }

    CNodeImpl* CNodeMapImpl::CreateNode(const char* ElementName)
    {
        detail::ENodeKind kind;
        if (!NodeKindOf(ElementName, kind))
            return nullptr;
        switch (kind)
        {
        case detail::ENodeKind::Category: return new (this) CCategoryNode(this);
        case detail::ENodeKind::Integer: return new (this) CIntegerNode(this);
        case detail::ENodeKind::IntReg: return new (this) CIntRegNode(this);
        case detail::ENodeKind::MaskedIntReg: return new (this) CMaskedIntRegNode(this);
        case detail::ENodeKind::IntConverter: return new (this) CIntConverterNode(this);
        case detail::ENodeKind::IntSwissKnife: return new (this) CIntSwissKnifeNode(this);
        case detail::ENodeKind::Float: return new (this) CFloatNode(this);
        case detail::ENodeKind::FloatReg: return new (this) CFloatRegNode(this);
        case detail::ENodeKind::Converter: return new (this) CConverterNode(this);
        case detail::ENodeKind::SwissKnife: return new (this) CSwissKnifeNode(this);
        case detail::ENodeKind::Enumeration: return new (this) CEnumerationNode(this);
        case detail::ENodeKind::EnumEntry: return new (this) CEnumEntryNode(this);
        case detail::ENodeKind::Boolean: return new (this) CBooleanNode(this);
        case detail::ENodeKind::Command: return new (this) CCommandNode(this);
        case detail::ENodeKind::String: return new (this) CStringNode(this, detail::ENodeKind::String);
        case detail::ENodeKind::StringReg: return new (this) CStringNode(this, detail::ENodeKind::StringReg);
        case detail::ENodeKind::Register: return new (this) CRegisterNode(this);
        case detail::ENodeKind::Port: return new (this) CPortNode(this);
        case detail::ENodeKind::Node: return new (this) CPlainNode(this);
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

        // Text blocks in proportion to the description, so a small one does not allocate a large one
        m_TextBlockMinimum = std::min<size_t>(64 * 1024, std::max<size_t>(1024, Size / 8));

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
            PackProperties();
            m_LoadLinks.resize(m_Nodes.size());
            for (auto& p : m_Nodes)
                p->Setup();
            FinishLoad();
        }
        catch (...)
        {
            for (auto& p : m_Nodes)
                p->DestroyCallbacks();
            m_Nodes.clear();
            m_NodeBlocks.clear();
            m_NodeFree = nullptr;
            m_NodeLeft = 0;
            m_NodeArenaSize = 0;
            m_NameTable.clear();
            m_PolledNodes.clear();
            m_StructGroups.clear();
            m_Properties.clear();
            m_NarrowPropertyArena.clear();
            m_PropertyNames.clear();
            m_LinkArena.clear();
            DropLoadState();
            throw;
        }
        m_Loaded = true;
        DropLoadState();
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
            node.reset(new (this) CEnumEntryNode(this));
        else if (pInheritedVoid)
            node.reset(new (this) CMaskedIntRegNode(this));
        else
            node.reset(CreateNode(elementName));
        if (!node)
            return;

        std::string name = element.attribute("Name").value();
        if (name.empty())
        {
            if (pParentEnum)
                throw RUNTIME_EXCEPTION("An entry of enumeration '%s' has no Name", pParentEnum->Name());
            throw RUNTIME_EXCEPTION("A <%s> element (offset %td) has no Name", elementName, element.offset_debug());
        }
        if (pParentEnum)
        {
            const size_t symbolicLength = name.size();
            name = "EnumEntry_" + std::string(pParentEnum->Name()) + "_" + name;
            static_cast<CEnumEntryNode*>(node.get())->m_SymbolicOffset = static_cast<uint32_t>(name.size() - symbolicLength);
        }
        if (FindNode(name))
            throw RUNTIME_EXCEPTION("Node '%s' is defined more than once", name.c_str());
        node->m_Name = Intern(name);
        node->m_Index = static_cast<uint32_t>(m_Nodes.size());
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
        m_Nodes.push_back(std::move(node));
        AddName(pNode);

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

    void CNodeMapImpl::PackProperties()
    {
        // Every text is stored by now: the blocks become one piece of exactly their size, and
        // the properties refer to it by offsets, which halves them
        struct Placed
        {
            const char* Begin;
            const char* End;
            size_t Offset;
        };
        std::vector<Placed> placed;
        size_t textSize = 2; // an empty value with an empty attribute at offset 0
        for (const TextBlock& block : m_TextBlocks)
        {
            placed.push_back(Placed{block.Data.get(), block.Data.get() + block.Used, textSize});
            textSize += block.Used;
        }
        if (textSize > UINT32_MAX)
            throw RUNTIME_EXCEPTION("The texts of the description take more than %u bytes", UINT32_MAX);
        std::unique_ptr<char[]> text(new char[textSize]);
        text[0] = text[1] = '\0';
        for (const Placed& p : placed)
            std::memcpy(text.get() + p.Offset, p.Begin, static_cast<size_t>(p.End - p.Begin));
        std::sort(placed.begin(), placed.end(), [](const Placed& a, const Placed& b) { return a.Begin < b.Begin; });
        auto offsetOf = [&placed](const char* p) -> uint32_t {
            auto it = std::upper_bound(placed.begin(), placed.end(), p,
                                       [](const char* q, const Placed& b) { return q < b.Begin; });
            if (it != placed.begin())
            {
                --it;
                if (p < it->End)
                    return static_cast<uint32_t>(it->Offset + static_cast<size_t>(p - it->Begin));
            }
            if (*p != '\0')
                throw LOGICAL_ERROR_EXCEPTION("A text of the node map is not in its text pool");
            return 0;
        };

        size_t total = 0;
        for (const auto& list : m_LoadProperties)
            total += list.size();
        if (total > UINT32_MAX)
            throw RUNTIME_EXCEPTION("The description has more than %u properties", UINT32_MAX);
        // A description names few distinct properties: when their numbers fit in a byte and the
        // texts in 24 bits of offset, a property takes four bytes (name number, text offset),
        // else eight. Names are interned, so equal names are one pointer: numbered by first use.
        std::vector<uint32_t> names;
        std::unordered_map<const char*, uint32_t> numbers;
        for (const auto& list : m_LoadProperties)
        {
            for (const detail::Property& p : list)
                if (numbers.emplace(p.Name, static_cast<uint32_t>(names.size())).second)
                    names.push_back(offsetOf(p.Name));
            if (names.size() > 256)
                break;
        }
        const bool narrow = names.size() <= 256 && textSize <= (size_t(1) << 24);
        std::vector<detail::PackedProperty> packed;
        std::vector<uint32_t> narrowPacked;
        if (narrow)
            narrowPacked.reserve(total);
        else
            packed.reserve(total);
        uint32_t count = 0;
        for (auto& up : m_Nodes)
        {
            up->m_PropertyBegin = count;
            up->m_PropertyCount = 0;
            if (up->Index() < m_LoadProperties.size())
            {
                for (const detail::Property& p : m_LoadProperties[up->Index()])
                {
                    if (narrow)
                        narrowPacked.push_back(numbers.find(p.Name)->second << 24 | offsetOf(p.Text));
                    else
                        packed.push_back(detail::PackedProperty{offsetOf(p.Name), offsetOf(p.Text)});
                }
                up->m_PropertyCount = static_cast<uint32_t>(m_LoadProperties[up->Index()].size());
                count += up->m_PropertyCount;
            }
            up->m_Name = text.get() + offsetOf(up->m_Name);
        }
        m_NarrowProperties = narrow;
        if (narrow)
            m_PropertyNames.swap(names);
        m_Properties.swap(packed);
        m_NarrowPropertyArena.swap(narrowPacked);
        m_PackedText = std::move(text);
        std::vector<std::vector<detail::Property>>().swap(m_LoadProperties);
        // Texts stored from now on (none are, normally) go to new blocks
        m_TextBlocks.clear();
        std::unordered_set<std::string_view>().swap(m_StoredTexts);
    }

    void CNodeMapImpl::DedupLinks()
    {
        // Keeps the first occurrence of each node, in order, using the visit marks. Selected and
        // selecting lists are unique already.
        static const detail::ELinkList lists[] = {detail::lkReadingChildren, detail::lkWritingChildren,
                                                  detail::lkInvalidators,    detail::lkDependents,
                                                  detail::lkReadingParents,  detail::lkWritingParents,
                                                  detail::lkValueChildren};
        for (auto& perNode : m_LoadLinks)
        {
            for (detail::ELinkList k : lists)
            {
                std::vector<CNodeImpl*>& list = perNode[k];
                if (list.size() < 2)
                    continue;
                ++m_VisitEpoch;
                size_t out = 0;
                for (CNodeImpl* p : list)
                {
                    if (p->m_VisitMark == m_VisitEpoch)
                        continue;
                    p->m_VisitMark = m_VisitEpoch;
                    list[out++] = p;
                }
                list.resize(out);
            }
        }
    }

    void CNodeMapImpl::PackLinks()
    {
        size_t total = 0;
        for (const auto& perNode : m_LoadLinks)
            for (const auto& list : perNode)
                total += list.size();
        if (total > UINT32_MAX)
            throw RUNTIME_EXCEPTION("The description has more than %u links between nodes", UINT32_MAX);
        std::vector<uint32_t> arena;
        arena.reserve(total);
        for (auto& up : m_Nodes)
        {
            const auto& perNode = m_LoadLinks[up->Index()];
            const size_t begin = arena.size();
            size_t count = 0;
            for (const auto& list : perNode)
                count += list.size();
            up->m_LinkBegin = static_cast<uint32_t>(begin);
            up->m_LongLinks = count > UINT8_MAX;
            if (up->m_LongLinks)
                up->Extras().pLinkBounds.reset(new uint32_t[detail::lkCount + 1]);
            for (int k = 0; k < detail::lkCount; ++k)
            {
                if (up->m_LongLinks)
                    up->m_pExtras->pLinkBounds[k] = static_cast<uint32_t>(arena.size());
                for (CNodeImpl* p : perNode[k])
                    arena.push_back(p->Index());
                up->m_LinkEnd[k] = static_cast<uint8_t>(arena.size() - begin);
            }
            if (up->m_LongLinks)
                up->m_pExtras->pLinkBounds[detail::lkCount] = static_cast<uint32_t>(arena.size());
        }
        m_LinkArena.swap(arena);
        decltype(m_LoadLinks)().swap(m_LoadLinks);
    }

    void CNodeMapImpl::DropLoadState()
    {
        decltype(m_LoadProperties)().swap(m_LoadProperties);
        decltype(m_LoadLinks)().swap(m_LoadLinks);
        std::unordered_set<std::string_view>().swap(m_StoredTexts);
        std::string().swap(m_TextKey);
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
            const detail::NodeSpan valueChildren = pNode->LinkList(detail::lkValueChildren);
            if (next < valueChildren.size())
            {
                CNodeImpl* pChild = valueChildren[next++];
                if (pChild->m_CachingState == 0)
                {
                    pChild->m_CachingState = 1;
                    stack.emplace_back(pChild, 0);
                }
                // state 1 is a cycle: the mode found so far stands
                continue;
            }
            ECachingMode mode = pNode->OwnCachingMode();
            for (CNodeImpl* pChild : valueChildren)
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
            const detail::NodeSpan children = pNode->ReadingChildren();
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
            for (uint32_t i = 0; i < pNode->m_PropertyCount; ++i)
            {
                const detail::Property p = Unpack(pNode->PropertyAt(i));
                if (p.Name[0] != 'p')
                    continue;
                const ELinkClass cls = LinkClassOf(p.Name);
                if (cls == ELinkClass::None)
                    continue;
                CNodeImpl* pTarget = Resolve(pNode, p.Name, p.Value());
                switch (cls)
                {
                case ELinkClass::Value:
                    LoadLinks(pNode, detail::lkValueChildren).push_back(pTarget);
                    pNode->AddWritingChild(pTarget);
                    pNode->AddReadingChild(pTarget);
                    pTarget->AddDependent(pNode);
                    break;
                case ELinkClass::Reading:
                    if (IsValueCarrying(p.Name))
                        LoadLinks(pNode, detail::lkValueChildren).push_back(pTarget);
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
            for (CNodeImpl* pSelected : LoadLinks(pNode, detail::lkSelected))
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
        DedupLinks();
        PackLinks();

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
            for (uint32_t i = 0; i < pNode->m_PropertyCount; ++i)
            {
                const detail::Property p = Unpack(pNode->PropertyAt(i));
                if (p.Name[0] != 'p' || !IsAccessDeciding(p.Name))
                    continue;
                CNodeImpl* pTarget = FindNode(p.Value());
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
            if (up->PollingTime() > 0)
                m_PolledNodes.push_back(up.get());
            if (up->Kind() == detail::ENodeKind::Enumeration)
                static_cast<CEnumerationNode*>(up.get())->m_Entries.shrink_to_fit();
            else if (up->Kind() == detail::ENodeKind::Category)
                static_cast<CCategoryNode*>(up.get())->m_Features.shrink_to_fit();
        }
        m_Nodes.shrink_to_fit();
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
                for (CNodeImpl* c : queue[i]->LinkList(detail::lkValueChildren))
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

    void CNodeMapImpl::BeginCallOutsideLock(CNodeCallback* pCallback)
    {
        std::lock_guard<std::mutex> guard(m_CallsMutex);
        m_CallsOutsideLock.push_back({pCallback, std::this_thread::get_id()});
    }

    void CNodeMapImpl::EndCallOutsideLock(CNodeCallback* pCallback)
    {
        {
            std::lock_guard<std::mutex> guard(m_CallsMutex);
            const std::thread::id self = std::this_thread::get_id();
            auto it = std::find_if(m_CallsOutsideLock.begin(), m_CallsOutsideLock.end(),
                                   [&](const CallOutsideLock& c) { return c.pCallback == pCallback && c.Thread == self; });
            if (it != m_CallsOutsideLock.end())
                m_CallsOutsideLock.erase(it);
        }
        m_CallReturned.notify_all();
    }

    void CNodeMapImpl::WaitForCallOutsideLock(CNodeCallback* pCallback)
    {
        // A callback that this very thread is running (it deregisters itself, or one further
        // up its stack) cannot be waited for; the caller knows what it is doing there.
        const std::thread::id self = std::this_thread::get_id();
        std::unique_lock<std::mutex> guard(m_CallsMutex);
        m_CallReturned.wait(guard, [&] {
            return std::none_of(m_CallsOutsideLock.begin(), m_CallsOutsideLock.end(),
                                [&](const CallOutsideLock& c) { return c.pCallback == pCallback && c.Thread != self; });
        });
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
                // Polled nodes have a polling time, so they have their extras
                detail::NodeExtras& extras = p->Extras();
                extras.PollElapsed += ElapsedTime;
                if (extras.PollElapsed < extras.PollingTime)
                    continue;
                extras.PollElapsed = 0;
                if (extras.pBlockPolling && CNodeImpl::ReadBool(extras.pBlockPolling))
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
