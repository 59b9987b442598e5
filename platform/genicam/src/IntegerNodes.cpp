// Integer nodes: Integer, IntReg, MaskedIntReg, IntSwissKnife, IntConverter; and registers' addressing.

#include "NodeImpl.h"
#include "NodeMapImpl.h"
#include "ValueText.h"

#include <cmath>
#include <cstring>

namespace GenApi
{
    namespace
    {
        ERepresentation ParseRepresentation(const std::string& s)
        {
            if (s == "Linear") return Linear;
            if (s == "Logarithmic") return Logarithmic;
            if (s == "Boolean") return Boolean;
            if (s == "PureNumber") return PureNumber;
            if (s == "HexNumber") return HexNumber;
            if (s == "IPV4Address") return IPV4Address;
            if (s == "MACAddress") return MACAddress;
            return _UndefinedRepresentation;
        }

        std::vector<std::string> SplitList(std::string_view s)
        {
            std::vector<std::string> parts;
            std::string cur;
            for (char c : s)
            {
                if (c == ';' || c == ',')
                {
                    if (!cur.empty())
                        parts.push_back(cur);
                    cur.clear();
                }
                else if (c != ' ' && c != '\t' && c != '\r' && c != '\n')
                    cur += c;
            }
            if (!cur.empty())
                parts.push_back(cur);
            return parts;
        }

        int64_t SaturatingRound(double v)
        {
            if (std::isnan(v))
                return 0;
            if (v >= 9.2233720368547758e18)
                return INT64_MAX;
            if (v <= -9.2233720368547758e18)
                return INT64_MIN;
            return static_cast<int64_t>(std::llround(v));
        }
    }

    ERepresentation ParseRepresentationText(const std::string& s) { return ParseRepresentation(s); }
    int64_t RoundToInt64(double v) { return SaturatingRound(v); }

    // ================================================================ CIntegerBase

    void CIntegerBase::Setup()
    {
        CNodeImpl::Setup();
        SetupRangeAndUnit();
        if (Range().HasInc && Range().Inc <= 0)
            throw RUNTIME_EXCEPTION("Node '%s': Inc must be positive, not %lld", m_Name,
                                    static_cast<long long>(Range().Inc));
        if (const std::optional<detail::Property> p = FindProperty("ValidValueSet"))
        {
            std::vector<int64_t> values;
            for (const std::string& part : SplitList(p->Value()))
                values.push_back(detail::IntegerFromString(part, PureNumber));
            if (!values.empty())
                WritableRange().WritableLimits().ValidValueSet = std::move(values);
        }
        m_Representation = ParseRepresentation(PropertyText("Representation"));
    }

    int64_t CIntegerBase::NaturalMin() { return INT64_MIN; }
    int64_t CIntegerBase::NaturalMax() { return INT64_MAX; }
    int64_t CIntegerBase::NaturalInc() { return 1; }
    ERepresentation CIntegerBase::NaturalRepresentation() { return PureNumber; }

    bool CIntegerBase::IsValueCacheValid() const { return m_ValueCacheValid; }

    void CIntegerBase::CheckRange(int64_t Value)
    {
        const int64_t min = GetMin();
        const int64_t max = GetMax();
        if (Value < min)
            throw OUT_OF_RANGE_EXCEPTION("Node '%s': value %lld must be equal or greater than Min = %lld",
                                         m_Name, static_cast<long long>(Value), static_cast<long long>(min));
        if (Value > max)
            throw OUT_OF_RANGE_EXCEPTION("Node '%s': value %lld must be equal or smaller than Max = %lld",
                                         m_Name, static_cast<long long>(Value), static_cast<long long>(max));
        if (!Range().Limits().ValidValueSet.empty())
        {
            for (int64_t v : Range().Limits().ValidValueSet)
                if (v == Value)
                    return;
            throw OUT_OF_RANGE_EXCEPTION("Node '%s': value %lld is not in the set of valid values", m_Name,
                                         static_cast<long long>(Value));
        }
        const int64_t inc = GetInc();
        if (inc > 1)
        {
            // Computed in unsigned arithmetic: Value - min may exceed the int64 range
            const uint64_t distance = static_cast<uint64_t>(Value) - static_cast<uint64_t>(min);
            if (distance % static_cast<uint64_t>(inc) != 0)
                throw OUT_OF_RANGE_EXCEPTION("Node '%s': value %lld is not on the increment grid (Min = %lld, Inc = %lld)",
                                             m_Name, static_cast<long long>(Value),
                                             static_cast<long long>(min), static_cast<long long>(inc));
        }
    }

    int64_t CIntegerBase::GetMin() { return RangeBound(false); }

    int64_t CIntegerBase::GetMax() { return RangeBound(true); }

    EIncMode CIntegerBase::GetIncMode()
    {
        return Range().Limits().ValidValueSet.empty() ? fixedIncrement : listIncrement;
    }

    int64_t CIntegerBase::GetInc()
    {
        COperation op(m_pMap);
        if (!IsAvailable(GetAccessMode()))
            throw ACCESS_EXCEPTION("Node '%s' is not available, so it has no increment", m_Name);
        CEvalGuard guard(this, aspInc);
        int64_t inc;
        if (Range().pInc)
            inc = Range().pInc->InternalGetInt(false, false);
        else if (Range().HasInc)
            inc = Range().Inc;
        else
            inc = NaturalInc();
        return inc > 0 ? inc : 1;
    }

    int64_autovector_t CIntegerBase::GetListOfValidValues(bool bounded)
    {
        COperation op(m_pMap);
        int64_autovector_t list;
        if (Range().Limits().ValidValueSet.empty())
            return list;
        int64_t min = INT64_MIN, max = INT64_MAX;
        if (bounded)
        {
            min = GetMin();
            max = GetMax();
        }
        for (int64_t v : Range().Limits().ValidValueSet)
            if (v >= min && v <= max)
                list.push_back(v);
        return list;
    }

    ERepresentation CIntegerBase::GetRepresentation()
    {
        COperation op(m_pMap);
        return m_Representation != _UndefinedRepresentation ? m_Representation : NaturalRepresentation();
    }

    gcstring CIntegerBase::GetUnit()
    {
        COperation op(m_pMap);
        return InternalGetUnit();
    }

    std::string CIntegerBase::InternalGetUnit() const { return std::string(m_Unit); }

    void CIntegerBase::ImposeMin(int64_t Value)
    {
        COperation op(m_pMap);
        WritableRange().WritableLimits().ImposedMin = Value;
        m_pMap->NotifyChanged(this);
    }

    void CIntegerBase::ImposeMax(int64_t Value)
    {
        COperation op(m_pMap);
        WritableRange().WritableLimits().ImposedMax = Value;
        m_pMap->NotifyChanged(this);
    }

    gcstring CIntegerBase::ToString(bool Verify, bool IgnoreCache)
    {
        COperation op(m_pMap);
        const int64_t value = GetValue(Verify, IgnoreCache);
        return detail::IntegerToString(value, GetRepresentation());
    }

    void CIntegerBase::FromString(const gcstring& ValueStr, bool Verify)
    {
        COperation op(m_pMap);
        const int64_t value = detail::IntegerFromString(ValueStr, GetRepresentation());
        SetValue(value, Verify);
    }

    int64_t CIntegerBase::InternalGetInt(bool Verify, bool IgnoreCache) { return GetValue(Verify, IgnoreCache); }
    double CIntegerBase::InternalGetFloat(bool Verify, bool IgnoreCache)
    {
        return static_cast<double>(GetValue(Verify, IgnoreCache));
    }
    void CIntegerBase::InternalSetInt(int64_t Value, bool Verify) { SetValue(Value, Verify); }
    void CIntegerBase::InternalSetFloat(double Value, bool Verify) { SetValue(SaturatingRound(Value), Verify); }
    int64_t CIntegerBase::InternalGetIntMin() { return GetMin(); }
    int64_t CIntegerBase::InternalGetIntMax() { return GetMax(); }
    int64_t CIntegerBase::InternalGetIntInc() { return GetInc(); }
    ERepresentation CIntegerBase::InternalGetRepresentation() { return GetRepresentation(); }

    // ================================================================ CIntegerNode

    int64_t CIntegerNode::NaturalMin()
    {
        CNodeImpl* p = m_pValue;
        return p ? p->InternalGetIntMin() : INT64_MIN;
    }

    int64_t CIntegerNode::NaturalMax()
    {
        CNodeImpl* p = m_pValue;
        return p ? p->InternalGetIntMax() : INT64_MAX;
    }

    int64_t CIntegerNode::NaturalInc()
    {
        CNodeImpl* p = m_pValue;
        return p ? p->InternalGetIntInc() : 1;
    }

    ERepresentation CIntegerNode::NaturalRepresentation()
    {
        CNodeImpl* p = m_pValue;
        return p ? p->InternalGetRepresentation() : PureNumber;
    }

    // ================================================================ registers

    namespace
    {
        //! A port's failure raised again as the same kind of GenICam exception, naming the node
        [[noreturn]] void RethrowNamingNode(CNodeImpl* pNode, const char* Doing)
        {
            const char* name = pNode->Name();
            try
            {
                throw;
            }
            catch (const GenICam::OutOfRangeException& e)
            {
                throw OUT_OF_RANGE_EXCEPTION("Node '%s': %s the register failed: %s", name, Doing, e.GetDescription());
            }
            catch (const GenICam::AccessException& e)
            {
                throw ACCESS_EXCEPTION("Node '%s': %s the register failed: %s", name, Doing, e.GetDescription());
            }
            catch (const GenICam::TimeoutException& e)
            {
                throw TIMEOUT_EXCEPTION("Node '%s': %s the register failed: %s", name, Doing, e.GetDescription());
            }
            catch (const GenICam::GenericException& e)
            {
                throw RUNTIME_EXCEPTION("Node '%s': %s the register failed: %s", name, Doing, e.GetDescription());
            }
            catch (const std::exception& e)
            {
                throw RUNTIME_EXCEPTION("Node '%s': %s the register failed: %s", name, Doing, e.what());
            }
            catch (...)
            {
                throw RUNTIME_EXCEPTION("Node '%s': %s the register failed", name, Doing);
            }
        }
    }

    void CRegisterInfo::Setup(CNodeImpl* pNode)
    {
        for (const detail::Property& p : pNode->FindProperties("Address"))
            m_Address += static_cast<uint64_t>(detail::IntegerFromString(p.Value(), PureNumber));
        std::unique_ptr<detail::RegisterExtras> extras(new detail::RegisterExtras);
        extras->pAddresses = pNode->Links("pAddress");
        extras->pIndex = pNode->Link("pIndex");
        extras->HasOffset = pNode->HasProperty("Offset");
        extras->Offset = pNode->PropertyInt("Offset", 0);
        extras->pOffset = pNode->Link("pOffset");
        extras->pLength = pNode->Link("pLength");
        if (!extras->pAddresses.empty() || extras->pIndex || extras->HasOffset || extras->pOffset || extras->pLength)
            m_pExtras = std::move(extras);
        m_Length = pNode->PropertyInt("Length", 0);
        m_pPort = pNode->Link("pPort");
        if (m_pPort && m_pPort->Kind() != detail::ENodeKind::Port)
            throw RUNTIME_EXCEPTION("Node '%s': pPort refers to '%s', which is not a Port", pNode->Name(),
                                    m_pPort->Name());
        const std::string access = pNode->PropertyText("AccessMode", "RO");
        m_AccessMode = access == "RW" ? RW : access == "WO" ? WO : RO;
        m_Endianess = pNode->PropertyText("Endianess", "LittleEndian") == "BigEndian" ? BigEndian : LittleEndian;
        m_Sign = pNode->PropertyText("Sign", "Unsigned") == "Signed" ? Signed : Unsigned;
    }

    int64_t CRegisterInfo::GetLength() const
    {
        if (m_pExtras && m_pExtras->pLength)
            return m_pExtras->pLength->InternalGetInt(false, false);
        return m_Length;
    }

    int64_t CRegisterInfo::GetAddress(CNodeImpl*) const
    {
        uint64_t address = m_Address;
        if (!m_pExtras)
            return static_cast<int64_t>(address);
        const detail::RegisterExtras& extras = *m_pExtras;
        for (CNodeImpl* p : extras.pAddresses)
            address += static_cast<uint64_t>(p->InternalGetInt(false, false));
        if (extras.pIndex)
        {
            const int64_t index = extras.pIndex->InternalGetInt(false, false);
            int64_t offset;
            if (extras.pOffset)
                offset = extras.pOffset->InternalGetInt(false, false);
            else if (extras.HasOffset)
                offset = extras.Offset;
            else
                offset = GetLength();
            address += static_cast<uint64_t>(index) * static_cast<uint64_t>(offset);
        }
        return static_cast<int64_t>(address);
    }

    EAccessMode CRegisterInfo::AccessMode() const
    {
        if (!m_pPort)
            return NA;
        return Combine(m_AccessMode, m_pPort->GetAccessMode());
    }

    void CRegisterInfo::Read(CNodeImpl* pNode, uint8_t* pBuffer, int64_t Length) const
    {
        if (!m_pPort)
            throw ACCESS_EXCEPTION("Node '%s' has no port", pNode->Name());
        const int64_t address = GetAddress(pNode);
        // Nothing to move: a port is never handed an empty transfer, whose buffer may be null
        if (Length <= 0)
            return;
        try
        {
            static_cast<CPortNode*>(m_pPort)->PortRead(pBuffer, address, Length);
        }
        catch (...)
        {
            RethrowNamingNode(pNode, "reading");
        }
    }

    void CRegisterInfo::Write(CNodeImpl* pNode, const uint8_t* pBuffer, int64_t Length) const
    {
        if (!m_pPort)
            throw ACCESS_EXCEPTION("Node '%s' has no port", pNode->Name());
        const int64_t address = GetAddress(pNode);
        if (Length <= 0)
            return;
        try
        {
            static_cast<CPortNode*>(m_pPort)->PortWrite(pBuffer, address, Length);
        }
        catch (...)
        {
            RethrowNamingNode(pNode, "writing");
        }
        // The port node's own dependents (registers invalidated by any write) learn of it too
        pNode->Map()->NotifyChanged(pNode);
    }

    // ================================================================ CIntRegNode

    void CIntRegNode::Setup()
    {
        CIntegerBase::Setup();
        m_Reg.Setup(this);
        const std::optional<detail::Property> p = FindProperty("Cachable");
        m_Reg.m_OwnCaching = p ? CNodeImpl::OwnCachingMode() : WriteThrough;
    }

    EAccessMode CIntRegNode::NaturalAccessMode() const { return m_Reg.AccessMode(); }

    uint64_t CIntRegNode::ReadRaw(int64_t& Length)
    {
        Length = m_Reg.GetLength();
        if (Length < 1 || Length > 8)
            throw RUNTIME_EXCEPTION("Node '%s': an integer register must be 1 to 8 bytes long, not %lld",
                                    m_Name, static_cast<long long>(Length));
        uint8_t bytes[8] = {};
        m_Reg.Read(this, bytes, Length);
        uint64_t raw = 0;
        if (m_Reg.m_Endianess == LittleEndian)
        {
            for (int64_t i = Length - 1; i >= 0; --i)
                raw = (raw << 8) | bytes[i];
        }
        else
        {
            for (int64_t i = 0; i < Length; ++i)
                raw = (raw << 8) | bytes[i];
        }
        return raw;
    }

    void CIntRegNode::WriteRaw(uint64_t Raw, int64_t Length)
    {
        uint8_t bytes[8] = {};
        if (m_Reg.m_Endianess == LittleEndian)
        {
            for (int64_t i = 0; i < Length; ++i)
                bytes[i] = static_cast<uint8_t>(Raw >> (8 * i));
        }
        else
        {
            for (int64_t i = 0; i < Length; ++i)
                bytes[Length - 1 - i] = static_cast<uint8_t>(Raw >> (8 * i));
        }
        m_Reg.Write(this, bytes, Length);
    }

    int64_t CIntRegNode::ReadValue(bool, bool)
    {
        int64_t length = 0;
        const uint64_t raw = ReadRaw(length);
        if (m_Reg.m_Sign == Signed && length < 8)
        {
            const unsigned shift = static_cast<unsigned>(64 - 8 * length);
            return static_cast<int64_t>(raw << shift) >> shift;
        }
        return static_cast<int64_t>(raw);
    }

    void CIntRegNode::WriteValue(int64_t Value, bool)
    {
        const int64_t length = m_Reg.GetLength();
        if (length < 1 || length > 8)
            throw RUNTIME_EXCEPTION("Node '%s': an integer register must be 1 to 8 bytes long, not %lld",
                                    m_Name, static_cast<long long>(length));
        WriteRaw(static_cast<uint64_t>(Value), length);
    }

    int64_t CIntRegNode::NaturalMin()
    {
        const int64_t length = m_Reg.GetLength();
        if (m_Reg.m_Sign == Unsigned)
            return 0;
        if (length >= 8 || length < 1)
            return INT64_MIN;
        return -(int64_t(1) << (8 * length - 1));
    }

    int64_t CIntRegNode::NaturalMax()
    {
        const int64_t length = m_Reg.GetLength();
        if (length >= 8 || length < 1)
            return INT64_MAX;
        if (m_Reg.m_Sign == Signed)
            return (int64_t(1) << (8 * length - 1)) - 1;
        return (int64_t(1) << (8 * length)) - 1;
    }

    // ================================================================ CMaskedIntRegNode

    void CMaskedIntRegNode::Setup()
    {
        CIntRegNode::Setup();
        int64_t lsb, msb;
        if (HasProperty("Bit"))
        {
            lsb = msb = PropertyInt("Bit", 0);
        }
        else
        {
            lsb = PropertyInt("LSB", 0);
            msb = PropertyInt("MSB", lsb);
        }
        if (lsb < 0 || msb < 0 || lsb > 63 || msb > 63)
            throw RUNTIME_EXCEPTION("Node '%s': bit positions LSB = %lld, MSB = %lld are outside 0..63",
                                    m_Name, static_cast<long long>(lsb), static_cast<long long>(msb));
        m_Lsb = static_cast<uint8_t>(lsb);
        m_Msb = static_cast<uint8_t>(msb);
    }

    void CMaskedIntRegNode::FieldBits(int64_t Length, unsigned& Low, unsigned& Width) const
    {
        const int64_t total = 8 * Length;
        int64_t lsb = m_Lsb, msb = m_Msb;
        if (m_Reg.m_Endianess == BigEndian)
        {
            // Big endian numbers bits from the most significant bit of the whole register
            lsb = total - 1 - lsb;
            msb = total - 1 - msb;
        }
        const int64_t low = std::min(lsb, msb);
        const int64_t high = std::max(lsb, msb);
        if (low < 0 || high >= total)
            throw RUNTIME_EXCEPTION("Node '%s': bit field %lld..%lld does not fit a register of %lld bytes",
                                    m_Name, static_cast<long long>(m_Lsb), static_cast<long long>(m_Msb),
                                    static_cast<long long>(Length));
        Low = static_cast<unsigned>(low);
        Width = static_cast<unsigned>(high - low + 1);
    }

    int64_t CMaskedIntRegNode::ReadValue(bool, bool)
    {
        int64_t length = 0;
        const uint64_t raw = ReadRaw(length);
        unsigned low = 0, width = 0;
        FieldBits(length, low, width);
        const uint64_t mask = width >= 64 ? ~uint64_t(0) : ((uint64_t(1) << width) - 1);
        const uint64_t field = (raw >> low) & mask;
        if (m_Reg.m_Sign == Signed && width < 64)
        {
            const unsigned shift = 64 - width;
            return static_cast<int64_t>(field << shift) >> shift;
        }
        return static_cast<int64_t>(field);
    }

    void CMaskedIntRegNode::WriteValue(int64_t Value, bool)
    {
        const int64_t length = m_Reg.GetLength();
        if (length < 1 || length > 8)
            throw RUNTIME_EXCEPTION("Node '%s': an integer register must be 1 to 8 bytes long, not %lld",
                                    m_Name, static_cast<long long>(length));
        unsigned low = 0, width = 0;
        FieldBits(length, low, width);
        const uint64_t mask = width >= 64 ? ~uint64_t(0) : ((uint64_t(1) << width) - 1);
        uint64_t raw = 0;
        // Read-modify-write keeps the other bits; a write-only register cannot be read first
        if (IsReadable(m_Reg.AccessMode()))
        {
            int64_t readLength = 0;
            raw = ReadRaw(readLength);
        }
        raw = (raw & ~(mask << low)) | ((static_cast<uint64_t>(Value) & mask) << low);
        WriteRaw(raw, length);
    }

    int64_t CMaskedIntRegNode::NaturalMin()
    {
        unsigned low = 0, width = 0;
        FieldBits(m_Reg.GetLength(), low, width);
        if (m_Reg.m_Sign == Unsigned)
            return 0;
        if (width >= 64)
            return INT64_MIN;
        return -(int64_t(1) << (width - 1));
    }

    int64_t CMaskedIntRegNode::NaturalMax()
    {
        unsigned low = 0, width = 0;
        FieldBits(m_Reg.GetLength(), low, width);
        if (width >= 64)
            return INT64_MAX;
        if (m_Reg.m_Sign == Signed)
            return (int64_t(1) << (width - 1)) - 1;
        if (width >= 63)
            return INT64_MAX;
        return (int64_t(1) << width) - 1;
    }

    // ================================================================ formulas

    double CFormulaSource::GetFloat(int slot)
    {
        const detail::FormulaSlot& s = m_Set.Slots[static_cast<size_t>(slot)];
        switch (s.Kind)
        {
        case detail::FormulaSlot::Value: return s.pNode->InternalGetFloat(false, m_IgnoreCache);
        case detail::FormulaSlot::Min: return s.pNode->InternalGetFloatMin();
        case detail::FormulaSlot::Max: return s.pNode->InternalGetFloatMax();
        case detail::FormulaSlot::Inc: return s.pNode->InternalGetFloatInc();
        case detail::FormulaSlot::Constant: return s.FloatConstant;
        case detail::FormulaSlot::Expression:
            return m_Set.Expressions[static_cast<size_t>(s.ExpressionIndex)].EvaluateFloat(*this);
        case detail::FormulaSlot::Direction: return m_Direction;
        }
        return 0;
    }

    int64_t CFormulaSource::GetInt(int slot)
    {
        const detail::FormulaSlot& s = m_Set.Slots[static_cast<size_t>(slot)];
        switch (s.Kind)
        {
        case detail::FormulaSlot::Value: return s.pNode->InternalGetInt(false, m_IgnoreCache);
        case detail::FormulaSlot::Min: return s.pNode->InternalGetIntMin();
        case detail::FormulaSlot::Max: return s.pNode->InternalGetIntMax();
        case detail::FormulaSlot::Inc: return s.pNode->InternalGetIntInc();
        case detail::FormulaSlot::Constant: return s.IntConstant;
        case detail::FormulaSlot::Expression:
            return m_Set.Expressions[static_cast<size_t>(s.ExpressionIndex)].EvaluateInt(*this);
        case detail::FormulaSlot::Direction: return m_IntDirection;
        }
        return 0;
    }

    namespace
    {
        int AddSlot(detail::FormulaSet& Set, detail::FormulaSlot Slot)
        {
            for (size_t i = 0; i < Set.Slots.size(); ++i)
            {
                const detail::FormulaSlot& s = Set.Slots[i];
                if (s.Kind == Slot.Kind && s.pNode == Slot.pNode && s.ExpressionIndex == Slot.ExpressionIndex
                    && (s.Kind != detail::FormulaSlot::Constant
                        || (s.IntConstant == Slot.IntConstant && s.FloatConstant == Slot.FloatConstant)))
                    return static_cast<int>(i);
            }
            Set.Slots.push_back(Slot);
            return static_cast<int>(Set.Slots.size() - 1);
        }

        int ResolveSymbol(CNodeImpl* pNode, detail::FormulaSet& Set, const std::string& Symbol,
                          const char* DirectionName, bool AllowExpressions)
        {
            if (DirectionName && Symbol == DirectionName)
                return AddSlot(Set, {detail::FormulaSlot::Direction, nullptr, 0, 0, -1});
            const detail::FormulaSet::Names& names = *Set.pNames;
            for (size_t i = 0; i < names.VariableNames.size(); ++i)
            {
                const std::string_view name = names.VariableNames[i];
                CNodeImpl* pVar = names.Variables[i];
                if (Symbol == name)
                    return AddSlot(Set, {detail::FormulaSlot::Value, pVar, 0, 0, -1});
                if (Symbol.size() > name.size() + 1 && Symbol.compare(0, name.size(), name) == 0
                    && Symbol[name.size()] == '.')
                {
                    const std::string suffix = Symbol.substr(name.size() + 1);
                    if (suffix == "Value")
                        return AddSlot(Set, {detail::FormulaSlot::Value, pVar, 0, 0, -1});
                    if (suffix == "Min")
                        return AddSlot(Set, {detail::FormulaSlot::Min, pVar, 0, 0, -1});
                    if (suffix == "Max")
                        return AddSlot(Set, {detail::FormulaSlot::Max, pVar, 0, 0, -1});
                    if (suffix == "Inc")
                        return AddSlot(Set, {detail::FormulaSlot::Inc, pVar, 0, 0, -1});
                    if (suffix.compare(0, 6, "Entry.") == 0)
                    {
                        const std::string symbolic = suffix.substr(6);
                        if (CEnumerationNode* pEnum = dynamic_cast<CEnumerationNode*>(pVar))
                        {
                            for (CEnumEntryNode* pEntry : pEnum->m_Entries)
                            {
                                if (symbolic == pEntry->Symbolic())
                                    return AddSlot(Set, {detail::FormulaSlot::Constant, nullptr,
                                                         static_cast<double>(pEntry->m_Value), pEntry->m_Value, -1});
                            }
                        }
                        throw RUNTIME_EXCEPTION("Node '%s': formula symbol '%s' names no entry of '%s'",
                                                pNode->Name(), Symbol.c_str(), pVar->Name());
                    }
                }
            }
            for (const detail::Property& constant : pNode->FindProperties("Constant"))
            {
                if (constant.Attribute() == Symbol)
                {
                    detail::FormulaSlot s{detail::FormulaSlot::Constant, nullptr, 0, 0, -1};
                    s.FloatConstant = detail::FloatFromString(constant.Value());
                    try
                    {
                        s.IntConstant = detail::IntegerFromString(constant.Value(), PureNumber);
                    }
                    catch (const GenICam::GenericException&)
                    {
                        s.IntConstant = RoundToInt64(s.FloatConstant);
                    }
                    return AddSlot(Set, s);
                }
            }
            if (AllowExpressions)
            {
                for (size_t i = 0; i < names.ExpressionNames.size(); ++i)
                    if (names.ExpressionNames[i] == Symbol)
                        return AddSlot(Set, {detail::FormulaSlot::Expression, nullptr, 0, 0, static_cast<int>(i)});
            }
            return -1;
        }
    }

    void SetupFormulaSet(CNodeImpl* pNode, detail::FormulaSet& Set, bool, const char*)
    {
        Set.pNames.reset(new detail::FormulaSet::Names);
        for (const detail::Property& variable : pNode->FindProperties("pVariable"))
        {
            Set.pNames->VariableNames.push_back(variable.Attribute());
            Set.pNames->Variables.push_back(pNode->Map()->Resolve(pNode, "pVariable", variable.Value()));
        }
    }

    void FinishFormulaSet(detail::FormulaSet& Set)
    {
        Set.pNames.reset();
        Set.Slots.shrink_to_fit();
        Set.Expressions.shrink_to_fit();
    }

    void CompileFormula(CNodeImpl* pNode, detail::FormulaSet& Set, detail::CFormula& Formula, const char* Text,
                        detail::EFormulaMode Mode, const char* DirectionName)
    {
        // Expressions first (they may use variables and constants, not each other)
        if (Set.Expressions.empty())
        {
            const std::vector<detail::Property> expressions = pNode->FindProperties("Expression");
            for (const detail::Property& expression : expressions)
            {
                Set.pNames->ExpressionNames.push_back(expression.Attribute());
                Set.Expressions.emplace_back();
            }
            for (size_t i = 0; i < Set.Expressions.size(); ++i)
            {
                const detail::Property* p = &expressions[i];
                Set.Expressions[i].CompileKept(
                    p->Text, Mode,
                    [&](const std::string& symbol) { return ResolveSymbol(pNode, Set, symbol, DirectionName, false); },
                    pNode->Name());
            }
        }
        Formula.CompileKept(
            Text, Mode,
            [&](const std::string& symbol) { return ResolveSymbol(pNode, Set, symbol, DirectionName, true); },
            pNode->Name());
    }

    void SetupConverter(CNodeImpl* pNode, const char* Kind, detail::EFormulaMode Mode, CNodeImpl*& pValue,
                        detail::FormulaSet& Set, detail::CFormula& FormulaTo, detail::CFormula& FormulaFrom,
                        ESlope& Slope)
    {
        pValue = pNode->Link("pValue");
        if (!pValue)
            throw RUNTIME_EXCEPTION("Node '%s': %s needs pValue", pNode->Name(), Kind);
        SetupFormulaSet(pNode, Set, true, nullptr);
        const std::optional<detail::Property> to = pNode->FindProperty("FormulaTo");
        const std::optional<detail::Property> from = pNode->FindProperty("FormulaFrom");
        if (!to || !from)
            throw RUNTIME_EXCEPTION("Node '%s': %s needs FormulaTo and FormulaFrom", pNode->Name(), Kind);
        CompileFormula(pNode, Set, FormulaTo, to->Text, Mode, "FROM");
        CompileFormula(pNode, Set, FormulaFrom, from->Text, Mode, "TO");
        FinishFormulaSet(Set);
        const std::string slope = pNode->PropertyText("Slope", "Automatic");
        Slope = slope == "Increasing" ? Increasing : slope == "Decreasing" ? Decreasing
              : slope == "Varying" ? Varying : Automatic;
    }

    // ================================================================ CIntSwissKnifeNode

    void SetupSwissKnife(CNodeImpl* pNode, const char* Kind, detail::EFormulaMode Mode, detail::FormulaSet& Set,
                         detail::CFormula& Formula)
    {
        SetupFormulaSet(pNode, Set, false, nullptr);
        const std::optional<detail::Property> p = pNode->FindProperty("Formula");
        if (!p)
            throw RUNTIME_EXCEPTION("Node '%s': %s needs a Formula", pNode->Name(), Kind);
        CompileFormula(pNode, Set, Formula, p->Text, Mode, nullptr);
        FinishFormulaSet(Set);
    }

    void CIntSwissKnifeNode::Setup()
    {
        CIntegerBase::Setup();
        SetupSwissKnife(this, "an IntSwissKnife", detail::EFormulaMode::Integer, m_Set, m_Formula);
    }

    int64_t CIntSwissKnifeNode::Evaluate(bool IgnoreCache)
    {
        CFormulaSource source(m_Set, IgnoreCache, 0, 0);
        return m_Formula.EvaluateInt(source);
    }

    int64_t CIntSwissKnifeNode::ReadValue(bool, bool IgnoreCache) { return Evaluate(IgnoreCache); }

    void CIntSwissKnifeNode::WriteValue(int64_t, bool)
    {
        throw ACCESS_EXCEPTION("Node '%s' is an IntSwissKnife and cannot be written", m_Name);
    }

    // ================================================================ CIntConverterNode

    void CIntConverterNode::Setup()
    {
        CIntegerBase::Setup();
        SetupConverter(this, "an IntConverter", detail::EFormulaMode::Integer, m_pValue, m_Set, m_FormulaTo,
                       m_FormulaFrom, m_Slope);
    }


    int64_t CIntConverterNode::From(int64_t To, bool IgnoreCache)
    {
        CFormulaSource source(m_Set, IgnoreCache, static_cast<double>(To), To);
        return m_FormulaFrom.EvaluateInt(source);
    }

    int64_t CIntConverterNode::ReadValue(bool Verify, bool IgnoreCache)
    {
        return From(m_pValue->InternalGetInt(Verify, IgnoreCache), IgnoreCache);
    }

    void CIntConverterNode::WriteValue(int64_t Value, bool Verify)
    {
        CFormulaSource source(m_Set, false, static_cast<double>(Value), Value);
        m_pValue->InternalSetInt(m_FormulaTo.EvaluateInt(source), Verify);
    }

    int64_t CIntConverterNode::NaturalMin() { return NaturalBound(false); }
    int64_t CIntConverterNode::NaturalMax() { return NaturalBound(true); }

    int64_t CIntConverterNode::NaturalBound(bool Upper)
    {
        if (m_Slope == Varying)
            return Upper ? INT64_MAX : INT64_MIN;
        return ConvertedBound<int64_t>(m_Slope, Upper, From(m_pValue->InternalGetIntMin(), false),
                                       From(m_pValue->InternalGetIntMax(), false));
    }

    ERepresentation CIntConverterNode::NaturalRepresentation() { return m_pValue->InternalGetRepresentation(); }
}
