// Enumeration, EnumEntry, Boolean, Command, String/StringReg, Register, Category and Port nodes.

#include "NodeImpl.h"
#include "NodeMapImpl.h"
#include "ValueText.h"

#include <algorithm>
#include <cstring>

namespace GenApi
{
    // ================================================================ CEnumerationNode

    void CEnumerationNode::Setup()
    {
        CNodeImpl::Setup();
        m_pValue = Link("pValue");
        m_Value = PropertyInt("Value", 0);
        if (!m_pValue && !HasProperty("Value"))
            throw RUNTIME_EXCEPTION("Node '%s': an Enumeration needs Value or pValue", m_Name);
    }

    EAccessMode CEnumerationNode::NaturalAccessMode() const { return m_pValue ? m_pValue->GetAccessMode() : RW; }

    bool CEnumerationNode::IsValueCacheValid() const { return m_ValueCacheValid; }

    CEnumEntryNode* CEnumerationNode::FindEntry(int64_t Value) const
    {
        for (CEnumEntryNode* p : m_Entries)
            if (p->m_Value == Value)
                return p;
        return nullptr;
    }

    int64_t CEnumerationNode::ReadInt(bool Verify, bool IgnoreCache)
    {
        return m_pValue ? m_pValue->InternalGetInt(Verify, IgnoreCache) : m_Value;
    }

    void CEnumerationNode::WriteInt(int64_t Value, bool Verify)
    {
        if (m_pValue)
            m_pValue->InternalSetInt(Value, Verify);
        else
            m_Value = Value;
    }

    int64_t CEnumerationNode::GetIntValue(bool Verify, bool IgnoreCache)
    {
        COperation op(m_pMap);
        CheckReadable();
        if (!Verify && !IgnoreCache && m_ValueCacheValid)
            return m_Cache;
        CEvalGuard guard(this, aspValue);
        const int64_t value = ReadInt(Verify, IgnoreCache);
        if (Verify)
        {
            CEnumEntryNode* pEntry = FindEntry(value);
            if (!pEntry || !IsAvailable(pEntry->GetAccessMode()))
                throw OUT_OF_RANGE_EXCEPTION("Node '%s': value %lld is not the value of an available entry",
                                             m_Name, static_cast<long long>(value));
        }
        if (m_CachingMode != NoCache)
        {
            m_Cache = value;
            m_ValueCacheValid = true;
        }
        return value;
    }

    void CEnumerationNode::SetIntValue(int64_t Value, bool Verify)
    {
        COperation op(m_pMap);
        CEvalGuard guard(this, aspValue);
        if (Verify)
        {
            CheckWritable();
            CEnumEntryNode* pEntry = FindEntry(Value);
            if (!pEntry)
                throw OUT_OF_RANGE_EXCEPTION("Node '%s': %lld is the value of no entry", m_Name,
                                             static_cast<long long>(Value));
            if (!IsAvailable(pEntry->GetAccessMode()))
                throw OUT_OF_RANGE_EXCEPTION("Node '%s': entry '%s' is not available", m_Name,
                                             pEntry->Symbolic());
        }
        m_ValueCacheValid = false;
        WriteInt(Value, Verify);
        m_pMap->NotifyChanged(this);
        if (m_CachingMode == WriteThrough)
        {
            m_Cache = Value;
            m_ValueCacheValid = true;
        }
        CheckError();
    }

    void CEnumerationNode::GetSymbolics(StringList_t& Symbolics)
    {
        COperation op(m_pMap);
        Symbolics.clear();
        for (CEnumEntryNode* p : m_Entries)
            if (IsAvailable(p->GetAccessMode()))
                Symbolics.push_back(p->Symbolic());
    }

    void CEnumerationNode::GetEntries(NodeList_t& Entries)
    {
        COperation op(m_pMap);
        Entries.assign(m_Entries.begin(), m_Entries.end());
    }

    IEnumEntry* CEnumerationNode::GetEntryByName(const gcstring& Symbolic)
    {
        COperation op(m_pMap);
        CNodeImpl* p = m_pMap->FindNode(std::string("EnumEntry_") + m_Name + "_" + std::string(Symbolic));
        if (p && p->Kind() == detail::ENodeKind::EnumEntry)
        {
            CEnumEntryNode* pEntry = static_cast<CEnumEntryNode*>(p);
            if (std::find(m_Entries.begin(), m_Entries.end(), pEntry) != m_Entries.end())
                return pEntry;
        }
        for (CEnumEntryNode* pEntry : m_Entries)
            if (Symbolic == pEntry->Symbolic())
                return pEntry;
        return nullptr;
    }

    IEnumEntry* CEnumerationNode::GetEntry(const int64_t IntValue)
    {
        COperation op(m_pMap);
        return FindEntry(IntValue);
    }

    IEnumEntry* CEnumerationNode::GetCurrentEntry(bool Verify, bool IgnoreCache)
    {
        COperation op(m_pMap);
        return FindEntry(GetIntValue(Verify, IgnoreCache));
    }

    gcstring CEnumerationNode::ToString(bool Verify, bool IgnoreCache)
    {
        COperation op(m_pMap);
        const int64_t value = GetIntValue(Verify, IgnoreCache);
        CEnumEntryNode* pEntry = FindEntry(value);
        if (!pEntry)
            throw RUNTIME_EXCEPTION("Node '%s': the current value %lld is the value of no entry", m_Name,
                                    static_cast<long long>(value));
        return pEntry->Symbolic();
    }

    void CEnumerationNode::FromString(const gcstring& ValueStr, bool Verify)
    {
        COperation op(m_pMap);
        IEnumEntry* p = GetEntryByName(ValueStr);
        if (!p)
            throw INVALID_ARGUMENT_EXCEPTION("Node '%s' has no entry '%s'", m_Name, ValueStr.c_str());
        CEnumEntryNode* pEntry = dynamic_cast<CEnumEntryNode*>(p);
        if (Verify && !IsAvailable(pEntry->GetAccessMode()))
            throw OUT_OF_RANGE_EXCEPTION("Node '%s': entry '%s' is not available", m_Name, ValueStr.c_str());
        SetIntValue(pEntry->m_Value, Verify);
    }

    bool CEnumerationNode::IsPollingActive()
    {
        // Polled only while the current entry clears itself
        try
        {
            const int64_t value = m_ValueCacheValid ? m_Cache : GetIntValue(false, false);
            CEnumEntryNode* pEntry = FindEntry(value);
            return pEntry && pEntry->m_IsSelfClearing;
        }
        catch (const GenICam::GenericException&)
        {
            return false;
        }
    }

    int64_t CEnumerationNode::InternalGetInt(bool Verify, bool IgnoreCache) { return GetIntValue(Verify, IgnoreCache); }
    double CEnumerationNode::InternalGetFloat(bool Verify, bool IgnoreCache)
    {
        return static_cast<double>(GetIntValue(Verify, IgnoreCache));
    }
    void CEnumerationNode::InternalSetInt(int64_t Value, bool Verify) { SetIntValue(Value, Verify); }
    void CEnumerationNode::InternalSetFloat(double Value, bool Verify)
    {
        SetIntValue(static_cast<int64_t>(Value), Verify);
    }

    // ================================================================ CEnumEntryNode

    void CEnumEntryNode::Setup()
    {
        CNodeImpl::Setup();
        m_Value = PropertyInt("Value", 0);
        m_NumericValue = PropertyFloat("NumericValue", static_cast<double>(m_Value));
        m_IsSelfClearing = PropertyText("IsSelfClearing") == "Yes";
    }

    gcstring CEnumEntryNode::ToString(bool, bool) { return Symbolic(); }

    void CEnumEntryNode::FromString(const gcstring&, bool)
    {
        throw ACCESS_EXCEPTION("Node '%s' is an enumeration entry and cannot be written", m_Name);
    }

    int64_t CEnumEntryNode::GetValue() { return m_Value; }
    gcstring CEnumEntryNode::GetSymbolic() const { return Symbolic(); }
    double CEnumEntryNode::GetNumericValue() { return m_NumericValue; }
    bool CEnumEntryNode::IsSelfClearing() { return m_IsSelfClearing; }
    int64_t CEnumEntryNode::InternalGetInt(bool, bool) { return m_Value; }
    double CEnumEntryNode::InternalGetFloat(bool, bool) { return m_NumericValue; }

    // ================================================================ CBooleanNode

    void CBooleanNode::Setup()
    {
        CNodeImpl::Setup();
        m_pValue = Link("pValue");
        m_OnValue = PropertyInt("OnValue", 1);
        m_OffValue = PropertyInt("OffValue", 0);
        m_Value = PropertyInt("Value", m_OffValue);
        if (!m_pValue && !HasProperty("Value"))
            throw RUNTIME_EXCEPTION("Node '%s': a Boolean needs Value or pValue", m_Name);
    }

    EAccessMode CBooleanNode::NaturalAccessMode() const { return m_pValue ? m_pValue->GetAccessMode() : RW; }

    bool CBooleanNode::IsValueCacheValid() const { return m_ValueCacheValid; }

    bool CBooleanNode::ReadBoolValue(bool Verify, bool IgnoreCache) const
    {
        const int64_t raw = m_pValue ? m_pValue->InternalGetInt(Verify, IgnoreCache) : m_Value;
        if (Verify && raw != m_OnValue && raw != m_OffValue)
            throw OUT_OF_RANGE_EXCEPTION("Node '%s': value %lld is neither OnValue %lld nor OffValue %lld",
                                         m_Name, static_cast<long long>(raw),
                                         static_cast<long long>(m_OnValue), static_cast<long long>(m_OffValue));
        return raw == m_OnValue;
    }

    void CBooleanNode::WriteBoolValue(bool Value, bool Verify)
    {
        const int64_t raw = Value ? m_OnValue : m_OffValue;
        if (m_pValue)
            m_pValue->InternalSetInt(raw, Verify);
        else
            m_Value = raw;
    }

    bool CBooleanNode::GetValue(bool Verify, bool IgnoreCache) const
    {
        COperation op(m_pMap);
        CheckReadable();
        if (!Verify && !IgnoreCache && m_ValueCacheValid)
            return m_Cache;
        CEvalGuard guard(this, aspValue);
        const bool value = ReadBoolValue(Verify, IgnoreCache);
        if (m_CachingMode != NoCache)
        {
            m_Cache = value;
            m_ValueCacheValid = true;
        }
        return value;
    }

    void CBooleanNode::SetValue(bool Value, bool Verify)
    {
        COperation op(m_pMap);
        CEvalGuard guard(this, aspValue);
        if (Verify)
            CheckWritable();
        m_ValueCacheValid = false;
        WriteBoolValue(Value, Verify);
        m_pMap->NotifyChanged(this);
        if (m_CachingMode == WriteThrough)
        {
            m_Cache = Value;
            m_ValueCacheValid = true;
        }
        CheckError();
    }

    gcstring CBooleanNode::ToString(bool Verify, bool IgnoreCache)
    {
        return detail::BooleanToString(GetValue(Verify, IgnoreCache));
    }

    void CBooleanNode::FromString(const gcstring& ValueStr, bool Verify)
    {
        SetValue(detail::BooleanFromString(ValueStr), Verify);
    }

    int64_t CBooleanNode::InternalGetInt(bool Verify, bool IgnoreCache) { return GetValue(Verify, IgnoreCache) ? 1 : 0; }
    double CBooleanNode::InternalGetFloat(bool Verify, bool IgnoreCache) { return GetValue(Verify, IgnoreCache) ? 1 : 0; }
    void CBooleanNode::InternalSetInt(int64_t Value, bool Verify) { SetValue(Value != 0, Verify); }
    void CBooleanNode::InternalSetFloat(double Value, bool Verify) { SetValue(Value != 0, Verify); }

    // ================================================================ CCommandNode

    void CCommandNode::Setup()
    {
        CNodeImpl::Setup();
        m_pValue = Link("pValue");
        m_Value = PropertyInt("Value", 0);
        m_CommandValue = PropertyInt("CommandValue", 1);
        m_pCommandValue = Link("pCommandValue");
        if (!m_pValue && !HasProperty("Value"))
            throw RUNTIME_EXCEPTION("Node '%s': a Command needs Value or pValue", m_Name);
    }

    EAccessMode CCommandNode::NaturalAccessMode() const { return m_pValue ? m_pValue->GetAccessMode() : RW; }

    void CCommandNode::Execute(bool Verify)
    {
        COperation op(m_pMap);
        CEvalGuard guard(this, aspValue);
        if (Verify)
            CheckWritable();
        const int64_t commandValue = m_pCommandValue ? m_pCommandValue->InternalGetInt(false, false) : m_CommandValue;
        if (m_pValue)
        {
            m_pValue->InternalSetInt(commandValue, Verify);
            m_Executing = true;
        }
        else
        {
            // A command without a device behind it completes at once
            m_Value = commandValue;
            m_Executing = false;
        }
        m_pMap->NotifyChanged(this);
        CheckError();
    }

    bool CCommandNode::InternalIsDone(bool)
    {
        if (!m_Executing)
            return true;
        bool done;
        if (!m_pValue || !IsReadable(m_pValue->GetAccessMode()))
            done = true;
        else
        {
            const int64_t commandValue =
                m_pCommandValue ? m_pCommandValue->InternalGetInt(false, false) : m_CommandValue;
            done = m_pValue->InternalGetInt(false, true) != commandValue;
        }
        if (done)
        {
            m_Executing = false;
            m_pMap->NotifyChanged(this);
        }
        return done;
    }

    bool CCommandNode::IsDone(bool Verify)
    {
        COperation op(m_pMap);
        if (Verify && !IsAvailable(GetAccessMode()))
            throw ACCESS_EXCEPTION("Node '%s' is not available", m_Name);
        CEvalGuard guard(this, aspValue);
        return InternalIsDone(Verify);
    }

    gcstring CCommandNode::ToString(bool Verify, bool)
    {
        COperation op(m_pMap);
        return detail::CommandToString(!IsDone(Verify));
    }

    void CCommandNode::FromString(const gcstring& ValueStr, bool Verify)
    {
        if (detail::CommandFromString(ValueStr))
            Execute(Verify);
    }

    // ================================================================ CStringNode

    void CStringNode::Setup()
    {
        CNodeImpl::Setup();
        m_IsRegister = m_Kind == detail::ENodeKind::StringReg;
        if (m_IsRegister)
        {
            m_Reg.Setup(this);
            const std::optional<detail::Property> p = FindProperty("Cachable");
            m_Reg.m_OwnCaching = p ? CNodeImpl::OwnCachingMode() : WriteThrough;
        }
        else
        {
            m_pValue = Link("pValue");
            if (m_pValue && !dynamic_cast<IString*>(m_pValue))
                throw RUNTIME_EXCEPTION("Node '%s': pValue refers to '%s', which is not a string", m_Name,
                                        m_pValue->Name());
            m_Value = PropertyText("Value");
        }
    }

    EAccessMode CStringNode::NaturalAccessMode() const
    {
        if (m_IsRegister)
            return m_Reg.AccessMode();
        return m_pValue ? m_pValue->GetAccessMode() : RW;
    }

    ECachingMode CStringNode::OwnCachingMode() const { return m_IsRegister ? m_Reg.m_OwnCaching : WriteThrough; }

    bool CStringNode::IsValueCacheValid() const { return m_ValueCacheValid; }

    std::string CStringNode::ReadString(bool Verify, bool IgnoreCache)
    {
        if (m_IsRegister)
        {
            const int64_t length = m_Reg.GetLength();
            if (length < 0 || length > (int64_t(1) << 24))
                throw RUNTIME_EXCEPTION("Node '%s': string register length %lld is not usable", m_Name,
                                        static_cast<long long>(length));
            std::string buffer(static_cast<size_t>(length), '\0');
            m_Reg.Read(this, reinterpret_cast<uint8_t*>(&buffer[0]), length);
            const size_t nul = buffer.find('\0');
            if (nul != std::string::npos)
                buffer.resize(nul);
            return buffer;
        }
        if (m_pValue)
            return dynamic_cast<IString*>(m_pValue)->GetValue(Verify, IgnoreCache);
        return m_Value;
    }

    void CStringNode::WriteString(const std::string& Value, bool Verify)
    {
        if (m_IsRegister)
        {
            const int64_t length = m_Reg.GetLength();
            if (static_cast<int64_t>(Value.size()) > length)
                throw OUT_OF_RANGE_EXCEPTION("Node '%s': a string of %zu characters does not fit %lld bytes",
                                             m_Name, Value.size(), static_cast<long long>(length));
            std::string buffer(static_cast<size_t>(length), '\0');
            std::memcpy(&buffer[0], Value.data(), Value.size());
            m_Reg.Write(this, reinterpret_cast<const uint8_t*>(buffer.data()), length);
        }
        else if (m_pValue)
            dynamic_cast<IString*>(m_pValue)->SetValue(Value, Verify);
        else
            m_Value = Value;
    }

    gcstring CStringNode::GetValue(bool Verify, bool IgnoreCache)
    {
        COperation op(m_pMap);
        CheckReadable();
        if (!Verify && !IgnoreCache && m_ValueCacheValid)
            return m_Cache;
        CEvalGuard guard(this, aspValue);
        std::string value = ReadString(Verify, IgnoreCache);
        if (m_CachingMode != NoCache)
        {
            m_Cache = value;
            m_ValueCacheValid = true;
        }
        return value;
    }

    void CStringNode::SetValue(const gcstring& Value, bool Verify)
    {
        COperation op(m_pMap);
        CEvalGuard guard(this, aspValue);
        if (Verify)
        {
            CheckWritable();
            if (static_cast<int64_t>(Value.size()) > GetMaxLength())
                throw OUT_OF_RANGE_EXCEPTION("Node '%s': the string is longer than %lld characters", m_Name,
                                             static_cast<long long>(GetMaxLength()));
        }
        m_ValueCacheValid = false;
        WriteString(Value, Verify);
        m_pMap->NotifyChanged(this);
        if (m_CachingMode == WriteThrough)
        {
            m_Cache = Value;
            m_ValueCacheValid = true;
        }
        CheckError();
    }

    int64_t CStringNode::GetMaxLength()
    {
        COperation op(m_pMap);
        if (m_IsRegister)
            return m_Reg.GetLength();
        if (m_pValue)
            return dynamic_cast<IString*>(m_pValue)->GetMaxLength();
        return 0x7fffffff;
    }

    gcstring CStringNode::ToString(bool Verify, bool IgnoreCache) { return GetValue(Verify, IgnoreCache); }
    void CStringNode::FromString(const gcstring& ValueStr, bool Verify) { SetValue(ValueStr, Verify); }

    // ================================================================ CRegisterNode

    void CRegisterNode::Setup()
    {
        CNodeImpl::Setup();
        m_Reg.Setup(this);
        const std::optional<detail::Property> p = FindProperty("Cachable");
        m_Reg.m_OwnCaching = p ? CNodeImpl::OwnCachingMode() : WriteThrough;
    }

    EAccessMode CRegisterNode::NaturalAccessMode() const { return m_Reg.AccessMode(); }

    bool CRegisterNode::IsValueCacheValid() const { return m_ValueCacheValid; }

    int64_t CRegisterNode::GetLength()
    {
        COperation op(m_pMap);
        return m_Reg.GetLength();
    }

    int64_t CRegisterNode::GetAddress()
    {
        COperation op(m_pMap);
        return m_Reg.GetAddress(this);
    }

    void CRegisterNode::ReadBytes(uint8_t* pBuffer, int64_t Length, bool IgnoreCache)
    {
        const int64_t registerLength = m_Reg.GetLength();
        if (Length < 0 || Length > registerLength)
            throw OUT_OF_RANGE_EXCEPTION("Node '%s': %lld bytes requested from a register of %lld bytes",
                                         m_Name, static_cast<long long>(Length),
                                         static_cast<long long>(registerLength));
        if (IgnoreCache || !m_ValueCacheValid || static_cast<int64_t>(m_Cache.size()) != registerLength)
        {
            std::vector<uint8_t> bytes(static_cast<size_t>(registerLength));
            m_Reg.Read(this, bytes.data(), registerLength);
            m_Cache.swap(bytes);
            m_ValueCacheValid = m_CachingMode != NoCache;
        }
        if (Length > 0)
            std::memcpy(pBuffer, m_Cache.data(), static_cast<size_t>(Length));
    }

    void CRegisterNode::Get(uint8_t* pBuffer, int64_t Length, bool Verify, bool IgnoreCache)
    {
        COperation op(m_pMap);
        CheckReadable();
        if (Length > 0)
            CHECK_NULL_ARGUMENT(pBuffer);
        CEvalGuard guard(this, aspValue);
        ReadBytes(pBuffer, Length, IgnoreCache || Verify);
    }

    void CRegisterNode::Set(const uint8_t* pBuffer, int64_t Length, bool Verify)
    {
        COperation op(m_pMap);
        CEvalGuard guard(this, aspValue);
        if (Verify)
            CheckWritable();
        const int64_t registerLength = m_Reg.GetLength();
        if (Length < 0 || Length > registerLength)
            throw OUT_OF_RANGE_EXCEPTION("Node '%s': %lld bytes written to a register of %lld bytes",
                                         m_Name, static_cast<long long>(Length),
                                         static_cast<long long>(registerLength));
        if (Length > 0)
            CHECK_NULL_ARGUMENT(pBuffer);
        m_ValueCacheValid = false;
        m_Reg.Write(this, pBuffer, Length);
        m_pMap->NotifyChanged(this);
        if (m_CachingMode == WriteThrough && Length == registerLength)
        {
            m_Cache.assign(pBuffer, pBuffer + Length);
            m_ValueCacheValid = true;
        }
        CheckError();
    }

    gcstring CRegisterNode::ToString(bool Verify, bool IgnoreCache)
    {
        COperation op(m_pMap);
        const int64_t length = GetLength();
        if (length < 0 || length > (int64_t(1) << 24))
            throw RUNTIME_EXCEPTION("Node '%s': register length %lld is not usable", m_Name,
                                    static_cast<long long>(length));
        std::vector<uint8_t> bytes(static_cast<size_t>(length));
        Get(bytes.data(), length, Verify, IgnoreCache);
        return detail::RegisterToString(bytes.data(), bytes.size());
    }

    void CRegisterNode::FromString(const gcstring& ValueStr, bool Verify)
    {
        COperation op(m_pMap);
        const int64_t length = GetLength();
        if (length < 0 || length > (int64_t(1) << 24))
            throw RUNTIME_EXCEPTION("Node '%s': register length %lld is not usable", m_Name,
                                    static_cast<long long>(length));
        std::vector<uint8_t> bytes(static_cast<size_t>(length));
        detail::RegisterFromString(ValueStr, bytes.data(), bytes.size());
        Set(bytes.data(), length, Verify);
    }

    int64_t CRegisterNode::InternalGetInt(bool Verify, bool IgnoreCache)
    {
        COperation op(m_pMap);
        CheckReadable();
        const int64_t length = std::min<int64_t>(m_Reg.GetLength(), 8);
        uint8_t bytes[8] = {};
        CEvalGuard guard(this, aspValue);
        ReadBytes(bytes, length, IgnoreCache || Verify);
        uint64_t raw = 0;
        for (int64_t i = length - 1; i >= 0; --i)
            raw = (raw << 8) | (m_Reg.m_Endianess == LittleEndian ? bytes[i] : bytes[length - 1 - i]);
        return static_cast<int64_t>(raw);
    }

    double CRegisterNode::InternalGetFloat(bool Verify, bool IgnoreCache)
    {
        return static_cast<double>(InternalGetInt(Verify, IgnoreCache));
    }

    // ================================================================ CCategoryNode

    void CCategoryNode::Setup()
    {
        CNodeImpl::Setup();
        m_Features = Links("pFeature");
    }

    void CCategoryNode::GetFeatures(FeatureList_t& Features) const
    {
        COperation op(m_pMap);
        Features.clear();
        for (CNodeImpl* p : m_Features)
            if (IValue* v = dynamic_cast<IValue*>(p))
                Features.push_back(v);
    }

    gcstring CCategoryNode::ToString(bool, bool) { return gcstring(); }

    void CCategoryNode::FromString(const gcstring&, bool)
    {
        throw ACCESS_EXCEPTION("Node '%s' is a category and has no value to write", m_Name);
    }

    // ================================================================ CPortNode

    EAccessMode CPortNode::NaturalAccessMode() const
    {
        if (!m_pPort)
            return NA;
        return m_pPort->GetAccessMode();
    }

    void CPortNode::Connect(IPort* pPort)
    {
        m_pPort = pPort;
    }

    void CPortNode::PortRead(void* pBuffer, int64_t Address, int64_t Length)
    {
        if (!m_pPort)
            throw ACCESS_EXCEPTION("Port '%s' is not connected", m_Name);
        m_pPort->Read(pBuffer, Address, Length);
    }

    void CPortNode::PortWrite(const void* pBuffer, int64_t Address, int64_t Length)
    {
        if (!m_pPort)
            throw ACCESS_EXCEPTION("Port '%s' is not connected", m_Name);
        m_pPort->Write(pBuffer, Address, Length);
    }

    void CPortNode::Read(void* pBuffer, int64_t Address, int64_t Length)
    {
        COperation op(m_pMap);
        PortRead(pBuffer, Address, Length);
    }

    void CPortNode::Write(const void* pBuffer, int64_t Address, int64_t Length)
    {
        COperation op(m_pMap);
        PortWrite(pBuffer, Address, Length);
        m_pMap->NotifyChanged(this);
    }
}
