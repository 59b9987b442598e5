// Float nodes: Float, FloatReg, SwissKnife, Converter.

#include "NodeImpl.h"
#include "NodeMapImpl.h"
#include "ValueText.h"

#include <cfloat>
#include <cmath>
#include <cstring>

namespace GenApi
{
    ERepresentation ParseRepresentationText(const std::string& s);
    int64_t RoundToInt64(double v);

    namespace
    {
        bool IsIntegerKind(const CNodeImpl* p)
        {
            switch (p->Kind())
            {
            case detail::ENodeKind::Integer:
            case detail::ENodeKind::IntReg:
            case detail::ENodeKind::MaskedIntReg:
            case detail::ENodeKind::IntConverter:
            case detail::ENodeKind::IntSwissKnife:
                return true;
            default:
                return false;
            }
        }

        EDisplayNotation ParseNotation(const std::string& s)
        {
            if (s == "Fixed")
                return fnFixed;
            if (s == "Scientific")
                return fnScientific;
            if (s == "Automatic")
                return fnAutomatic;
            return _UndefinedEDisplayNotation;
        }
    }

    // ================================================================ CFloatBase

    void CFloatBase::Setup()
    {
        CNodeImpl::Setup();
        SetupRangeAndUnit();
        if (const std::optional<detail::Property> p = FindProperty("ValidValueSet"))
        {
            std::vector<double> values;
            std::string cur;
            for (char c : std::string(p->Value()) + ";")
            {
                if (c == ';' || c == ',')
                {
                    if (!cur.empty())
                        values.push_back(detail::FloatFromString(cur));
                    cur.clear();
                }
                else if (c != ' ')
                    cur += c;
            }
            if (!values.empty())
                WritableRange().WritableLimits().ValidValueSet = std::move(values);
        }
        m_Representation = ParseRepresentationText(PropertyText("Representation"));
        m_DisplayNotation = ParseNotation(PropertyText("DisplayNotation"));
        m_DisplayPrecision = PropertyInt("DisplayPrecision", -1);
    }

    double CFloatBase::NaturalMin() { return -DBL_MAX; }
    double CFloatBase::NaturalMax() { return DBL_MAX; }
    bool CFloatBase::NaturalHasInc() { return false; }
    double CFloatBase::NaturalInc() { return 0; }
    ERepresentation CFloatBase::NaturalRepresentation() { return PureNumber; }
    std::string CFloatBase::NaturalUnit() const { return std::string(); }
    EDisplayNotation CFloatBase::NaturalDisplayNotation() const { return fnAutomatic; }
    int64_t CFloatBase::NaturalDisplayPrecision() const { return 6; }

    bool CFloatBase::IsValueCacheValid() const { return m_ValueCacheValid; }

    void CFloatBase::CheckRange(double Value)
    {
        if (std::isnan(Value))
            throw OUT_OF_RANGE_EXCEPTION("Node '%s': value is not a number", m_Name);
        const double min = GetMin();
        const double max = GetMax();
        if (Value < min)
            throw OUT_OF_RANGE_EXCEPTION("Node '%s': value %.17g must be equal or greater than Min = %.17g",
                                         m_Name, Value, min);
        if (Value > max)
            throw OUT_OF_RANGE_EXCEPTION("Node '%s': value %.17g must be equal or smaller than Max = %.17g",
                                         m_Name, Value, max);
    }

    double CFloatBase::GetMin() { return RangeBound(false); }

    double CFloatBase::GetMax() { return RangeBound(true); }

    bool CFloatBase::HasInc()
    {
        COperation op(m_pMap);
        return Range().pInc || Range().HasInc || NaturalHasInc();
    }

    EIncMode CFloatBase::GetIncMode()
    {
        COperation op(m_pMap);
        if (!Range().Limits().ValidValueSet.empty())
            return listIncrement;
        return HasInc() ? fixedIncrement : noIncrement;
    }

    double CFloatBase::GetInc()
    {
        COperation op(m_pMap);
        if (!IsAvailable(GetAccessMode()))
            throw ACCESS_EXCEPTION("Node '%s' is not available, so it has no increment", m_Name);
        if (!HasInc())
            throw ACCESS_EXCEPTION("Node '%s' has no increment", m_Name);
        CEvalGuard guard(this, aspInc);
        if (Range().pInc)
            return Range().pInc->InternalGetFloat(false, false);
        if (Range().HasInc)
            return Range().Inc;
        return NaturalInc();
    }

    double_autovector_t CFloatBase::GetListOfValidValues(bool bounded)
    {
        COperation op(m_pMap);
        double_autovector_t list;
        if (Range().Limits().ValidValueSet.empty())
            return list;
        double min = -DBL_MAX, max = DBL_MAX;
        if (bounded)
        {
            min = GetMin();
            max = GetMax();
        }
        for (double v : Range().Limits().ValidValueSet)
            if (v >= min && v <= max)
                list.push_back(v);
        return list;
    }

    ERepresentation CFloatBase::GetRepresentation()
    {
        COperation op(m_pMap);
        return m_Representation != _UndefinedRepresentation ? m_Representation : NaturalRepresentation();
    }

    gcstring CFloatBase::GetUnit() const
    {
        COperation op(m_pMap);
        return InternalGetUnit();
    }

    std::string CFloatBase::InternalGetUnit() const { return m_HasUnit ? std::string(m_Unit) : NaturalUnit(); }

    EDisplayNotation CFloatBase::GetDisplayNotation() const
    {
        COperation op(m_pMap);
        return m_DisplayNotation != _UndefinedEDisplayNotation ? m_DisplayNotation : NaturalDisplayNotation();
    }

    int64_t CFloatBase::GetDisplayPrecision() const
    {
        COperation op(m_pMap);
        return m_DisplayPrecision >= 0 ? m_DisplayPrecision : NaturalDisplayPrecision();
    }

    void CFloatBase::ImposeMin(double Value)
    {
        COperation op(m_pMap);
        WritableRange().WritableLimits().ImposedMin = Value;
        m_pMap->NotifyChanged(this);
    }

    void CFloatBase::ImposeMax(double Value)
    {
        COperation op(m_pMap);
        WritableRange().WritableLimits().ImposedMax = Value;
        m_pMap->NotifyChanged(this);
    }

    gcstring CFloatBase::ToString(bool Verify, bool IgnoreCache)
    {
        COperation op(m_pMap);
        const double value = GetValue(Verify, IgnoreCache);
        double min = -DBL_MAX, max = DBL_MAX;
        try
        {
            min = GetMin();
            max = GetMax();
        }
        catch (const GenICam::GenericException&)
        {
            // Without bounds the text is printed as it is
            min = -DBL_MAX;
            max = DBL_MAX;
        }
        return detail::FloatToString(value, GetDisplayNotation(), GetDisplayPrecision(), min, max);
    }

    void CFloatBase::FromString(const gcstring& ValueStr, bool Verify)
    {
        COperation op(m_pMap);
        SetValue(detail::FloatFromString(ValueStr), Verify);
    }

    int64_t CFloatBase::InternalGetInt(bool Verify, bool IgnoreCache)
    {
        return RoundToInt64(GetValue(Verify, IgnoreCache));
    }
    double CFloatBase::InternalGetFloat(bool Verify, bool IgnoreCache) { return GetValue(Verify, IgnoreCache); }
    void CFloatBase::InternalSetInt(int64_t Value, bool Verify) { SetValue(static_cast<double>(Value), Verify); }
    void CFloatBase::InternalSetFloat(double Value, bool Verify) { SetValue(Value, Verify); }
    int64_t CFloatBase::InternalGetIntMin() { return RoundToInt64(std::ceil(GetMin())); }
    int64_t CFloatBase::InternalGetIntMax() { return RoundToInt64(std::floor(GetMax())); }
    int64_t CFloatBase::InternalGetIntInc() { return HasInc() ? RoundToInt64(GetInc()) : 1; }
    double CFloatBase::InternalGetFloatMin() { return GetMin(); }
    double CFloatBase::InternalGetFloatMax() { return GetMax(); }
    double CFloatBase::InternalGetFloatInc() { return HasInc() ? GetInc() : 0; }
    ERepresentation CFloatBase::InternalGetRepresentation() { return GetRepresentation(); }

    // ================================================================ CFloatNode

    double CFloatNode::NaturalMin() { return m_pValue ? m_pValue->InternalGetFloatMin() : -DBL_MAX; }
    double CFloatNode::NaturalMax() { return m_pValue ? m_pValue->InternalGetFloatMax() : DBL_MAX; }

    bool CFloatNode::NaturalHasInc()
    {
        if (!m_pValue)
            return false;
        if (IsIntegerKind(m_pValue))
            return true;
        if (CFloatBase* p = dynamic_cast<CFloatBase*>(m_pValue))
            return p->HasInc();
        return false;
    }

    double CFloatNode::NaturalInc() { return m_pValue ? m_pValue->InternalGetFloatInc() : 0; }
    ERepresentation CFloatNode::NaturalRepresentation()
    {
        return m_pValue ? m_pValue->InternalGetRepresentation() : PureNumber;
    }
    std::string CFloatNode::NaturalUnit() const { return m_pValue ? m_pValue->InternalGetUnit() : std::string(); }

    // ================================================================ CFloatRegNode

    void CFloatRegNode::Setup()
    {
        CFloatBase::Setup();
        m_Reg.Setup(this);
        const std::optional<detail::Property> p = FindProperty("Cachable");
        m_Reg.m_OwnCaching = p ? CNodeImpl::OwnCachingMode() : WriteAround;
    }

    EAccessMode CFloatRegNode::NaturalAccessMode() const { return m_Reg.AccessMode(); }

    double CFloatRegNode::ReadValue(bool, bool)
    {
        const int64_t length = m_Reg.GetLength();
        if (length != 4 && length != 8)
            throw RUNTIME_EXCEPTION("Node '%s': a float register must be 4 or 8 bytes long, not %lld", m_Name,
                                    static_cast<long long>(length));
        uint8_t bytes[8] = {};
        m_Reg.Read(this, bytes, length);
        uint8_t ordered[8] = {};
        for (int64_t i = 0; i < length; ++i)
            ordered[i] = m_Reg.m_Endianess == LittleEndian ? bytes[i] : bytes[length - 1 - i];
        // ordered now holds the value least significant byte first
        uint64_t raw = 0;
        for (int64_t i = length - 1; i >= 0; --i)
            raw = (raw << 8) | ordered[i];
        if (length == 4)
        {
            const uint32_t raw32 = static_cast<uint32_t>(raw);
            float f;
            std::memcpy(&f, &raw32, 4);
            return f;
        }
        double d;
        std::memcpy(&d, &raw, 8);
        return d;
    }

    void CFloatRegNode::WriteValue(double Value, bool)
    {
        const int64_t length = m_Reg.GetLength();
        if (length != 4 && length != 8)
            throw RUNTIME_EXCEPTION("Node '%s': a float register must be 4 or 8 bytes long, not %lld", m_Name,
                                    static_cast<long long>(length));
        uint64_t raw = 0;
        if (length == 4)
        {
            const float f = static_cast<float>(Value);
            uint32_t raw32;
            std::memcpy(&raw32, &f, 4);
            raw = raw32;
        }
        else
            std::memcpy(&raw, &Value, 8);
        uint8_t bytes[8] = {};
        for (int64_t i = 0; i < length; ++i)
        {
            const uint8_t b = static_cast<uint8_t>(raw >> (8 * i));
            if (m_Reg.m_Endianess == LittleEndian)
                bytes[i] = b;
            else
                bytes[length - 1 - i] = b;
        }
        m_Reg.Write(this, bytes, length);
    }

    // ================================================================ CSwissKnifeNode

    void CSwissKnifeNode::Setup()
    {
        CFloatBase::Setup();
        SetupSwissKnife(this, "a SwissKnife", detail::EFormulaMode::Float, m_Set, m_Formula);
    }

    double CSwissKnifeNode::ReadValue(bool, bool IgnoreCache)
    {
        CFormulaSource source(m_Set, IgnoreCache, 0, 0);
        return m_Formula.EvaluateFloat(source);
    }

    void CSwissKnifeNode::WriteValue(double, bool)
    {
        throw ACCESS_EXCEPTION("Node '%s' is a SwissKnife and cannot be written", m_Name);
    }

    // ================================================================ CConverterNode

    void CConverterNode::Setup()
    {
        CFloatBase::Setup();
        SetupConverter(this, "a Converter", detail::EFormulaMode::Float, m_pValue, m_Set, m_FormulaTo,
                       m_FormulaFrom, m_Slope);
    }


    double CConverterNode::From(double To, bool IgnoreCache)
    {
        CFormulaSource source(m_Set, IgnoreCache, To, RoundToInt64(To));
        return m_FormulaFrom.EvaluateFloat(source);
    }

    double CConverterNode::ReadValue(bool Verify, bool IgnoreCache)
    {
        return From(m_pValue->InternalGetFloat(Verify, IgnoreCache), IgnoreCache);
    }

    void CConverterNode::WriteValue(double Value, bool Verify)
    {
        CFormulaSource source(m_Set, false, Value, RoundToInt64(Value));
        const double raw = m_FormulaTo.EvaluateFloat(source);
        m_pValue->InternalSetFloat(raw, Verify);
    }

    double CConverterNode::NaturalMin() { return NaturalBound(false); }
    double CConverterNode::NaturalMax() { return NaturalBound(true); }

    double CConverterNode::NaturalBound(bool Upper)
    {
        if (m_Slope == Varying)
            return Upper ? DBL_MAX : -DBL_MAX;
        return ConvertedBound<double>(m_Slope, Upper, From(m_pValue->InternalGetFloatMin(), false),
                                      From(m_pValue->InternalGetFloatMax(), false));
    }

    ERepresentation CConverterNode::NaturalRepresentation() { return m_pValue->InternalGetRepresentation(); }
    std::string CConverterNode::NaturalUnit() const { return m_pValue->InternalGetUnit(); }

    EDisplayNotation CConverterNode::NaturalDisplayNotation() const
    {
        if (const CFloatBase* p = dynamic_cast<const CFloatBase*>(m_pValue))
            return p->GetDisplayNotation();
        return fnAutomatic;
    }

    int64_t CConverterNode::NaturalDisplayPrecision() const
    {
        if (const CFloatBase* p = dynamic_cast<const CFloatBase*>(m_pValue))
            return p->GetDisplayPrecision();
        return 6;
    }
}
