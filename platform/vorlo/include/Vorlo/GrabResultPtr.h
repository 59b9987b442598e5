#pragma once
// One grabbed image. The buffer goes back to its stream when the last pointer to it goes.

#include <memory>

#include <Vorlo/VorloBase.h>

namespace Vorlo
{
    class CGrabResultData;

    //! Shared pointer to a grab result; copies share the same buffer
    class VORLOBASE_EXPORT CGrabResultPtr
    {
    public:
        CGrabResultPtr();
        explicit CGrabResultPtr(std::shared_ptr<CGrabResultData> data);
        ~CGrabResultPtr();
        CGrabResultPtr(const CGrabResultPtr&);
        CGrabResultPtr& operator=(const CGrabResultPtr&);
        CGrabResultPtr(CGrabResultPtr&&) noexcept;
        CGrabResultPtr& operator=(CGrabResultPtr&&) noexcept;

        bool IsValid() const;
        explicit operator bool() const { return IsValid(); }
        //! Gives the buffer back (if this was the last pointer) and leaves this pointer empty
        void Release();

        // The accessors below raise the GenApi logical error on an empty pointer.
        bool GrabSucceeded() const;
        size_t GetPayloadSize() const;
        uint32_t GetErrorCode() const;
        gcstring GetErrorDescription() const;
        uint32_t GetWidth() const;
        uint32_t GetHeight() const;
        uint32_t GetOffsetX() const;
        uint32_t GetOffsetY() const;
        EPixelType GetPixelType() const;
        const void* GetBuffer() const;
        size_t GetBufferSize() const;
        uint64_t GetBlockID() const;
        //! Device timestamp, in ticks of the device clock (nanoseconds for emulated devices)
        uint64_t GetTimeStamp() const;
        //! Number of images that were skipped before this one under the latest-image strategy
        size_t GetNumberOfSkippedImages() const;

        //! How many pointers share this result
        long UseCount() const;

    private:
        friend class CInstantCamera;
        friend class CInstantCameraPrivate;
        const CGrabResultData& Data() const;
        std::shared_ptr<CGrabResultData> m_data;
    };
}
