// Out-of-line destructors, so that each interface's type information lives once, in this
// library, and dynamic casts work across library boundaries.

#include <GenApi/GenApi.h>

namespace GenApi
{
    IBase::~IBase() = default;
    INode::~INode() = default;
    IValue::~IValue() = default;
    IInteger::~IInteger() = default;
    IFloat::~IFloat() = default;
    IEnumEntry::~IEnumEntry() = default;
    IEnumeration::~IEnumeration() = default;
    IBoolean::~IBoolean() = default;
    ICommand::~ICommand() = default;
    IString::~IString() = default;
    ICategory::~ICategory() = default;
    IRegister::~IRegister() = default;
    IPort::~IPort() = default;
    ISelector::~ISelector() = default;
    INodeMap::~INodeMap() = default;
    IDeviceInfo::~IDeviceInfo() = default;

    CPortImpl::CPortImpl() = default;
    CPortImpl::~CPortImpl() = default;
    EAccessMode CPortImpl::GetAccessMode() const { return RW; }
}
