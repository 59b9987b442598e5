#pragma once
// Hand-made nodes for the few cases that a well-behaved node map never produces, such as an
// increment of 0. They keep their callbacks like real nodes: the node owns them and calls
// Destroy() when it deregisters them or goes away.

#include <GenApi/GenApi.h>

#include <algorithm>
#include <vector>

namespace EditorTest
{
class FakeNode : public virtual GenApi::INode
{
public:
    explicit FakeNode(const char* name)
        : m_name(name)
    {
    }
    ~FakeNode() override
    {
        for (GenApi::CNodeCallback* c : m_callbacks)
            c->Destroy();
    }

    // Fires every callback as a real node does after a change: inside, then outside the lock.
    void fire()
    {
        const auto callbacks = m_callbacks;
        for (GenApi::CNodeCallback* c : callbacks)
            (*c)(GenApi::cbPostInsideLock);
        for (GenApi::CNodeCallback* c : callbacks)
            (*c)(GenApi::cbPostOutsideLock);
    }

    GenApi::EAccessMode accessMode = GenApi::RW;
    GenApi::INode* alias = nullptr;

    GenApi::EAccessMode GetAccessMode() const override { return accessMode; }
    GenICam::gcstring GetName(bool = false) const override { return m_name; }
    GenApi::ENameSpace GetNameSpace() const override { return GenApi::Custom; }
    GenApi::EVisibility GetVisibility() const override { return GenApi::Beginner; }
    void InvalidateNode() override { fire(); }
    bool IsCachable() const override { return false; }
    GenApi::EYesNo IsAccessModeCacheable() const override { return GenApi::No; }
    GenApi::ECachingMode GetCachingMode() const override { return GenApi::NoCache; }
    int64_t GetPollingTime() const override { return -1; }
    GenICam::gcstring GetToolTip() const override { return ""; }
    GenICam::gcstring GetDescription() const override { return ""; }
    GenICam::gcstring GetDisplayName() const override { return m_name; }
    GenICam::gcstring GetDeviceName() const override { return "Device"; }
    void GetChildren(GenApi::NodeList_t&, GenApi::ELinkType = GenApi::ctReadingChildren) const override {}
    void GetParents(GenApi::NodeList_t&, GenApi::ELinkType = GenApi::ctReadingChildren) const override {}
    GenApi::CallbackHandleType RegisterCallback(GenApi::CNodeCallback* pCallback) override
    {
        m_callbacks.push_back(pCallback);
        return reinterpret_cast<GenApi::CallbackHandleType>(pCallback);
    }
    bool DeregisterCallback(GenApi::CallbackHandleType hCallback) override
    {
        auto* c = reinterpret_cast<GenApi::CNodeCallback*>(hCallback);
        auto it = std::find(m_callbacks.begin(), m_callbacks.end(), c);
        if (it == m_callbacks.end())
            return false;
        m_callbacks.erase(it);
        c->Destroy();
        return true;
    }
    GenApi::INodeMap* GetNodeMap() const override { return nullptr; }
    GenICam::gcstring GetEventID() const override { return ""; }
    bool IsStreamable() const override { return false; }
    void GetPropertyNames(GenICam::gcstring_vector&) const override {}
    bool GetProperty(const GenICam::gcstring&, GenICam::gcstring&, GenICam::gcstring&) const override { return false; }
    void ImposeAccessMode(GenApi::EAccessMode) override {}
    void ImposeVisibility(GenApi::EVisibility) override {}
    GenApi::INode* GetAlias() const override { return alias; }
    GenApi::INode* GetCastAlias() const override { return nullptr; }
    GenICam::gcstring GetDocuURL() const override { return ""; }
    bool IsDeprecated() const override { return false; }
    GenApi::EInterfaceType GetPrincipalInterfaceType() const override { return GenApi::intfIBase; }
    bool IsFeature() const override { return true; }

    int callbackCount() const { return int(m_callbacks.size()); }

private:
    GenICam::gcstring m_name;
    std::vector<GenApi::CNodeCallback*> m_callbacks; // owned
};

class FakeInteger : public FakeNode, public GenApi::IInteger
{
public:
    using FakeNode::FakeNode;
    int64_t value = 0, min = 0, max = 100, inc = 1;
    bool refuseWrites = false; // the device turns every write down
    GenApi::ERepresentation representation = GenApi::Linear;

    GenApi::INode* GetNode() override { return this; }
    GenICam::gcstring ToString(bool = false, bool = false) override { return std::to_string(value).c_str(); }
    void FromString(const GenICam::gcstring& text, bool = true) override { SetValue(std::stoll(text.c_str())); }
    bool IsValueCacheValid() const override { return false; }
    void SetValue(int64_t v, bool = true) override
    {
        if (refuseWrites)
            throw ACCESS_EXCEPTION("The device refused the value %lld", static_cast<long long>(v));
        value = v;
        fire();
    }
    int64_t GetValue(bool = false, bool = false) override { return value; }
    int64_t GetMin() override { return min; }
    int64_t GetMax() override { return max; }
    GenApi::EIncMode GetIncMode() override { return GenApi::fixedIncrement; }
    int64_t GetInc() override { return inc; }
    GenApi::int64_autovector_t GetListOfValidValues(bool = true) override { return {}; }
    GenApi::ERepresentation GetRepresentation() override { return representation; }
    GenICam::gcstring GetUnit() override { return ""; }
    void ImposeMin(int64_t) override {}
    void ImposeMax(int64_t) override {}
};

class FakeFloat : public FakeNode, public GenApi::IFloat
{
public:
    using FakeNode::FakeNode;
    double value = 0, min = 0, max = 10, inc = 0;
    bool hasInc = false;
    int64_t precision = 2;

    GenApi::INode* GetNode() override { return this; }
    GenICam::gcstring ToString(bool = false, bool = false) override { return std::to_string(value).c_str(); }
    void FromString(const GenICam::gcstring& text, bool = true) override { SetValue(std::stod(text.c_str())); }
    bool IsValueCacheValid() const override { return false; }
    void SetValue(double v, bool = true) override
    {
        value = v;
        fire();
    }
    double GetValue(bool = false, bool = false) override { return value; }
    double GetMin() override { return min; }
    double GetMax() override { return max; }
    bool HasInc() override { return hasInc; }
    GenApi::EIncMode GetIncMode() override { return hasInc ? GenApi::fixedIncrement : GenApi::noIncrement; }
    double GetInc() override { return inc; }
    GenApi::double_autovector_t GetListOfValidValues(bool = true) override { return {}; }
    GenApi::ERepresentation GetRepresentation() override { return GenApi::Linear; }
    GenICam::gcstring GetUnit() const override { return ""; }
    GenApi::EDisplayNotation GetDisplayNotation() const override { return GenApi::fnAutomatic; }
    int64_t GetDisplayPrecision() const override { return precision; }
    void ImposeMin(double) override {}
    void ImposeMax(double) override {}
};
} // namespace EditorTest
