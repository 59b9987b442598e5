#pragma once
// What a grab result holds. The release function gives the buffer back to where it came from
// and runs when the last CGrabResultPtr to the result goes.

#include <functional>
#include <string>

#include <Vorlo/GrabResultPtr.h>

namespace Vorlo
{
    class CGrabResultData
    {
    public:
        CGrabResultData() = default;
        ~CGrabResultData()
        {
            if (release)
                release();
        }
        CGrabResultData(const CGrabResultData&) = delete;
        CGrabResultData& operator=(const CGrabResultData&) = delete;

        bool succeeded = false;
        uint32_t errorCode = 0;
        std::string errorDescription;
        uint32_t width = 0;
        uint32_t height = 0;
        uint32_t offsetX = 0;
        uint32_t offsetY = 0;
        EPixelType pixelType = PixelType_Undefined;
        const void* buffer = nullptr;
        size_t bufferSize = 0;
        size_t payloadSize = 0;
        uint64_t blockId = 0;
        uint64_t timeStamp = 0;
        size_t skippedImages = 0;
        std::function<void()> release;
    };

    //! Error codes of failed grab results
    enum EGrabErrorCode : uint32_t
    {
        GrabError_Incomplete = 0xE1000014,
        GrabError_BufferTooSmall = 0xE1000015,
        GrabError_Aborted = 0xE1000016,
        GrabError_Timeout = 0xE1000017
    };
}
