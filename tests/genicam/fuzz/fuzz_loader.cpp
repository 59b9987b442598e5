// libFuzzer target: arbitrary bytes as a description. Loading, walking every node, polling and
// invalidating may raise GenICam exceptions; anything else (a crash, a hang, another
// exception type) is a defect.

#include <GenApi/GenApi.h>

#include <cstddef>
#include <cstdint>

using namespace GenApi;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    CNodeMapRef map;
    try
    {
        map._LoadXMLFromString(GenICam::gcstring(reinterpret_cast<const char*>(data), size));
    }
    catch (const GenICam::GenericException&)
    {
        return 0;
    }
    CMemoryPort port(4096);
    map._Connect(&port);
    NodeList_t nodes;
    map._Ptr->GetNodes(nodes);
    for (INode* node : nodes)
    {
        try
        {
            const EAccessMode mode = node->GetAccessMode();
            node->GetVisibility();
            node->GetDisplayName();
            if (IValue* value = dynamic_cast<IValue*>(node))
            {
                if (IsReadable(mode))
                {
                    const GenICam::gcstring text = value->ToString();
                    if (IsWritable(mode))
                        value->FromString(text);
                }
            }
            if (IInteger* integer = dynamic_cast<IInteger*>(node))
            {
                if (IsAvailable(mode))
                {
                    integer->GetMin();
                    integer->GetMax();
                    integer->GetInc();
                }
            }
            node->InvalidateNode();
        }
        catch (const GenICam::GenericException&)
        {
        }
    }
    try
    {
        map._Poll(1000);
        map._InvalidateNodes();
    }
    catch (const GenICam::GenericException&)
    {
    }
    return 0;
}
