#pragma once
// Common types of the camera SDK: strings, the enumerations that the instant camera takes, and
// pixel types.

#include <cstdint>

#include <GenApi/GenApi.h>
#include <Vorlo/vorlobase_export.h>

namespace Vorlo
{
    using GenICam::gcstring;
    using GenICam::gcstring_vector;

    //! Who deletes a handler or device given to the camera
    enum ECleanup
    {
        Cleanup_None = 0,   //!< the caller keeps ownership
        Cleanup_Delete = 1  //!< the camera deletes it when it no longer needs it
    };

    //! How a registration relates to the ones before it
    enum ERegistrationMode
    {
        RegistrationMode_Append = 0,      //!< added behind what is registered
        RegistrationMode_ReplaceAll = 1   //!< everything registered before is removed first
    };

    //! Order in which grabbed images are handed out
    enum EGrabStrategy
    {
        GrabStrategy_OneByOne = 0,        //!< in the order of arrival, none dropped by the camera
        GrabStrategy_LatestImageOnly = 1, //!< only the newest image waits; older ones are given back
        GrabStrategy_LatestImages = 2     //!< like one by one; kept for symmetry with other SDKs
    };

    //! Who runs the loop that retrieves images
    enum EGrabLoop
    {
        GrabLoop_ProvidedByInstantCamera = 0, //!< the camera's own grab loop thread
        GrabLoop_ProvidedByUser = 1           //!< the caller calls RetrieveResult
    };

    //! Whether the node of a camera event handler must exist
    enum ECameraEventAvailability
    {
        CameraEventAvailability_Mandatory = 0, //!< Open fails when the node is missing
        CameraEventAvailability_Optional = 1   //!< a missing node is ignored
    };

    //! What RetrieveResult does when the time runs out
    enum ETimeoutHandling
    {
        TimeoutHandling_Return = 0,        //!< returns false
        TimeoutHandling_ThrowException = 1 //!< raises a TimeoutException
    };

    //! Pixel formats, numbered as the GenICam pixel format naming convention does
    enum EPixelType
    {
        PixelType_Undefined = -1,
        PixelType_Mono8 = 0x01080001,
        PixelType_Mono10 = 0x01100003,
        PixelType_Mono12 = 0x01100005,
        PixelType_Mono16 = 0x01100007,
        PixelType_BayerRG8 = 0x01080009,
        PixelType_RGB8packed = 0x02180014,
        PixelType_YUV422packed = 0x0210001F
    };

    //! Bytes per pixel of the formats that the SDK produces itself; 0 for others
    VORLOBASE_EXPORT unsigned BytesPerPixel(EPixelType pixelType);

    //! Device classes of the transport layers
    VORLOBASE_EXPORT extern const char* const DeviceClassCamEmu;   // "KesdorCamEmu"
    VORLOBASE_EXPORT extern const char* const DeviceClassGigE;     // "KesdorGigE"
    VORLOBASE_EXPORT extern const char* const DeviceClassUsb;      // "KesdorUsb"
}
