#include <Vorlo/GrabResultPtr.h>

#include "GrabResultData.h"

namespace Vorlo
{
    CGrabResultPtr::CGrabResultPtr() = default;
    CGrabResultPtr::CGrabResultPtr(std::shared_ptr<CGrabResultData> data)
        : m_data(std::move(data))
    {
    }
    CGrabResultPtr::~CGrabResultPtr() = default;
    CGrabResultPtr::CGrabResultPtr(const CGrabResultPtr&) = default;
    CGrabResultPtr& CGrabResultPtr::operator=(const CGrabResultPtr&) = default;
    CGrabResultPtr::CGrabResultPtr(CGrabResultPtr&&) noexcept = default;
    CGrabResultPtr& CGrabResultPtr::operator=(CGrabResultPtr&&) noexcept = default;

    bool CGrabResultPtr::IsValid() const { return m_data != nullptr; }
    void CGrabResultPtr::Release() { m_data.reset(); }

    const CGrabResultData& CGrabResultPtr::Data() const
    {
        if (!m_data)
            throw LOGICAL_ERROR_EXCEPTION("NULL pointer dereferenced");
        return *m_data;
    }

    bool CGrabResultPtr::GrabSucceeded() const { return Data().succeeded; }
    size_t CGrabResultPtr::GetPayloadSize() const { return Data().payloadSize; }
    uint32_t CGrabResultPtr::GetErrorCode() const { return Data().errorCode; }
    gcstring CGrabResultPtr::GetErrorDescription() const { return gcstring(Data().errorDescription); }
    uint32_t CGrabResultPtr::GetWidth() const { return Data().width; }
    uint32_t CGrabResultPtr::GetHeight() const { return Data().height; }
    uint32_t CGrabResultPtr::GetOffsetX() const { return Data().offsetX; }
    uint32_t CGrabResultPtr::GetOffsetY() const { return Data().offsetY; }
    EPixelType CGrabResultPtr::GetPixelType() const { return Data().pixelType; }
    const void* CGrabResultPtr::GetBuffer() const { return Data().buffer; }
    size_t CGrabResultPtr::GetBufferSize() const { return Data().bufferSize; }
    uint64_t CGrabResultPtr::GetBlockID() const { return Data().blockId; }
    uint64_t CGrabResultPtr::GetTimeStamp() const { return Data().timeStamp; }
    size_t CGrabResultPtr::GetNumberOfSkippedImages() const { return Data().skippedImages; }
    long CGrabResultPtr::UseCount() const { return m_data.use_count(); }
}
